// gvtool peaks: builds or reuses the peak file of each WAVE file and says
// which, with its size in elements and the time it took.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "wave.h"

namespace {

struct PeaksArgs {
  std::vector<std::string> files;
  bool rebuild = false;
} args;

const char *HowText(DWORD how) {
  if (how & GVPEAK_REUSED) return "reused";
  if (how & GVPEAK_INTEMP)
    return how & GVPEAK_STALE ? "rebuilt in the temporary folder (the one beside it was stale; "
                                "its folder cannot be written), deleted again"
                              : "built in the temporary folder (its folder cannot be written), "
                                "deleted again";
  return how & GVPEAK_STALE ? "rebuilt (the old one was stale or damaged)" : "built";
}

int PeaksOne(const std::string &path) {
  gvtool::WaveFile wave;  // the reason when it is missing or not a WAVE file
  if (!gvtool::ProbeWave(path, &wave)) return gvtool::kFailed;
  LARGE_INTEGER t0, t1, hz;
  QueryPerformanceFrequency(&hz);
  QueryPerformanceCounter(&t0);
  tGVAUDIOPEAK *peak = nullptr;
  DWORD how = 0;
  const HRESULT hr = GvPeak_OpenDataFromWaveFile(&peak, path.c_str(),
                                                 args.rebuild ? GVPEAK_REBUILD : 0, &how);
  if (FAILED(hr)) {
    gvtool::Error("%s: no peak data: %s", path.c_str(),
                  hr == E_FAIL ? "not PCM or float WAVE data, or its data are cut short"
                               : gvtool::HresultReason(hr).c_str());
    return gvtool::kFailed;
  }
  tGVPEAKHEADER header{};
  GvPeak_GetHeader(peak, &header);
  const std::string name = GvPeak_GetFileName(peak);
  GvPeak_FreeEx(peak, FALSE);  // stamps a new file; a temporary one goes
  QueryPerformanceCounter(&t1);
  const ULONGLONG frames = (ULONGLONG(header.dwFramesHigh) << 32) | header.dwFramesLow;
  const DWORD per = header.nFramesPerElement;
  const ULONGLONG elements = per ? (frames + per - 1) / per : 0;
  std::printf("%s: %s %s: %llu element%s of %lu frames, %.3f s\n", path.c_str(), HowText(how),
              name.c_str(), elements, elements == 1 ? "" : "s", static_cast<unsigned long>(per),
              double(t1.QuadPart - t0.QuadPart) / double(hz.QuadPart));
  return gvtool::kDone;
}

int RunPeaks() {
  int rc = gvtool::kDone;
  for (const std::string &file : args.files) {
    if (PeaksOne(file) != gvtool::kDone) rc = gvtool::kFailed;
    std::fflush(stdout);
  }
  return rc;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer(
      "The peak file of FILE is FILE.gvk beside it (its extension replaced); when\n"
      "that folder cannot be written it is built in the temporary folder and\n"
      "deleted again when done. A peak file whose source has changed since it was\n"
      "made is stale and built anew. Exit 1 when any file failed (the others are\n"
      "still done).");
  cmd.add_option("FILE", args.files, "WAVE files")->required();
  cmd.add_flag("--rebuild", args.rebuild, "Build anew even when a valid peak file is there");
  return RunPeaks;
}

const gvtool::Registration reg{"peaks", "Build or reuse the peak files of WAVE files.", Setup};

}  // namespace
