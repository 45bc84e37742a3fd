// gvtool metric / mru: settings and recent-file lists in the registry.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.h"
#include "gvtalc.h"

namespace {

DWORD ParseVersion(const char *text) {  // "1.0" -> 0x01000000
  unsigned major = 0, minor = 0;
  std::sscanf(text, "%u.%u", &major, &minor);
  return ((major & 0xFF) << 24) | ((minor & 0xFF) << 16);
}

// metric APP VERSION get ID | set ID VALUE | gets ID | sets ID TEXT | list FIRST LAST
int Metric(int argc, char **argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: metric APP VERSION get|set|gets|sets|list ...\n");
    return 2;
  }
  HGVMETRIC h = nullptr;
  if (GvMetric_Open(&h, argv[1], ParseVersion(argv[2]), nullptr) != S_OK) return 1;
  const char *op = argv[3];
  int id = std::atoi(argv[4]);
  int rc = 0;
  if (!std::strcmp(op, "get")) {
    if (GvDoesMetricExist(h, id, REG_DWORD) == S_OK)
      std::printf("%d = %lu\n", id, static_cast<unsigned long>(GvGetMetric(h, id)));
    else
      std::printf("%d is not set\n", id);
  } else if (!std::strcmp(op, "set") && argc >= 6) {
    rc = GvSetMetric(h, id, std::strtoul(argv[5], nullptr, 0)) == S_OK ? 0 : 1;
  } else if (!std::strcmp(op, "gets")) {
    char text[260];
    GvGetMetricStringEx(h, id, text, sizeof text, "(not set)", TRUE);
    std::printf("S%d = \"%s\"\n", id, text);
  } else if (!std::strcmp(op, "sets") && argc >= 6) {
    rc = GvSetMetricString(h, id, argv[5]) == S_OK ? 0 : 1;
  } else if (!std::strcmp(op, "list") && argc >= 6) {
    for (int i = id; i <= std::atoi(argv[5]); ++i) {
      if (GvDoesMetricExist(h, i, REG_DWORD) == S_OK)
        std::printf("%6d  dword  %lu\n", i, static_cast<unsigned long>(GvGetMetric(h, i)));
      if (GvDoesMetricExist(h, i, REG_SZ) == S_OK) {
        char text[260];
        GvGetMetricStringEx(h, i, text, sizeof text, nullptr, TRUE);
        std::printf("%6d  text   \"%s\"\n", i, text);
      }
    }
  } else {
    std::fprintf(stderr, "metric: unknown operation '%s'\n", op);
    rc = 2;
  }
  GvMetric_Close(h);
  return rc;
}

// mru LIST add NAME | show | size N
int Mru(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: mru LIST add NAME | show | size N\n");
    return 2;
  }
  const char *list = argv[1];
  const char *op = argv[2];
  if (!std::strcmp(op, "add") && argc >= 4) return GvAddMRUNames(list, argv[3]) ? 0 : 1;
  if (!std::strcmp(op, "size") && argc >= 4) return GvSetMRUNum(list, std::atoi(argv[3])) ? 1 : 0;
  if (!std::strcmp(op, "show")) {
    LPSTR names[300];
    int n = GvLoadMRUNames(list, names, 300);
    std::printf("%s (capacity %d):\n", list, GvGetMRUNum(list));
    for (int i = 0; i < n; ++i) {
      std::printf("  %d. %s\n", i + 1, names[i]);
      HGLOBAL block = GlobalHandle(names[i]);
      GlobalUnlock(block);
      GlobalFree(block);
    }
    return 0;
  }
  std::fprintf(stderr, "mru: unknown operation '%s'\n", op);
  return 2;
}

const gvtool::Registration metricReg{
    "metric", "metric APP VERSION get|set|gets|sets|list ID [VALUE|LAST]", Metric};
const gvtool::Registration mruReg{"mru", "mru LIST add NAME | show | size N", Mru};

}  // namespace
