// gvtool peaks: builds or reuses the peak file of each WAVE file and says
// which, with its size in elements and the time it took. The files are
// worked on by a queued-I/O pool of 1 to 4 workers, one operation node per
// file; each file's lines are shown as its node comes back.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "wave.h"

namespace {

struct PeaksArgs {
  std::vector<std::string> files;
  bool rebuild = false;
  int jobs = 1;
} args;

// One file's operation node: what the worker was given and what it found.
struct PeaksJob {
  GVQUEUENODE link;  // first: the pool links the job through it
  int worker = 0;
  const std::string *path = nullptr;
  std::string peakName;  // the peak file beside it, by full path
  bool given = false;
  std::string out, errors;  // its line on stdout, its error lines
  bool done = false;
};
static_assert(offsetof(PeaksJob, link) == 0, "a job begins with its node");

const char *HowText(DWORD how) {
  if (how & GVPEAK_REUSED) return "reused";
  if (how & GVPEAK_INTEMP)
    return how & GVPEAK_STALE ? "rebuilt in the temporary folder (the one beside it was stale; "
                                "its folder cannot be written), deleted again"
                              : "built in the temporary folder (its folder cannot be written), "
                                "deleted again";
  return how & GVPEAK_STALE ? "rebuilt (the old one was stale or damaged)" : "built";
}

// Builds or reuses one file's peak file; its line goes to `out`, its errors
// to stderr (or to the caller's capture).
bool PeaksOne(const std::string &path, std::string *out) {
  gvtool::WaveFile wave;  // the reason when it is missing or not a WAVE file
  if (!gvtool::ProbeWave(path, &wave)) return false;
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
    return false;
  }
  tGVPEAKHEADER header{};
  GvPeak_GetHeader(peak, &header);
  const std::string name = GvPeak_GetFileName(peak);
  GvPeak_FreeEx(peak, FALSE);  // stamps a new file; a temporary one goes
  QueryPerformanceCounter(&t1);
  const ULONGLONG frames = (ULONGLONG(header.dwFramesHigh) << 32) | header.dwFramesLow;
  const DWORD per = header.nFramesPerElement;
  const ULONGLONG elements = per ? (frames + per - 1) / per : 0;
  char line[96];
  std::snprintf(line, sizeof line, ": %llu element%s of %lu frames, %.3f s\n", elements,
                elements == 1 ? "" : "s", static_cast<unsigned long>(per),
                double(t1.QuadPart - t0.QuadPart) / double(hz.QuadPart));
  *out = path + ": " + HowText(how) + " " + name + line;
  return true;
}

// The operation, on a worker's thread.
DWORD CALLBACK RunJob(GVQUEUENODE *node, DWORD) {
  auto *job = reinterpret_cast<PeaksJob *>(node);
  gvtool::ErrorCapture capture(&job->errors);
  job->done = PeaksOne(*job->path, &job->out);
  return 0;
}

// The peak file a file's job writes beside it, by full path. Two jobs on one
// peak file (a file named twice; a.wav and a.bwf) must not run at once: the
// file is opened unshared, so the second would take it for stale and build
// its own in the temporary folder.
std::string PeakNameOf(const std::string &path) {
  char full[MAX_PATH], name[MAX_PATH];
  if (GvQualifyPath(path.c_str(), full, MAX_PATH) &&
      SUCCEEDED(GvPeak_CreateDirectPeakName(full, name, MAX_PATH)))
    return name;
  return path;  // it fails in its job; compared as given meanwhile
}

// Each worker is given one file at a time, and the next one as soon as its
// node comes back, so that a long file holds up only its own worker. A file
// whose peak file another worker is writing waits for that one to come back.
int RunPeaks() {
  GVQUEUE finished{};
  if (!GvQueueInitialize(&finished)) {
    gvtool::Error("cannot make the completion queue: %s",
                  gvtool::SystemReason(GetLastError()).c_str());
    return gvtool::kFailed;
  }
  tGVQIO *pool = nullptr;
  const HRESULT hr = GvQio_Create(&pool, &finished, args.jobs, 0, RunJob);
  if (FAILED(hr)) {
    gvtool::Error("cannot start the workers: %s", gvtool::HresultReason(hr).c_str());
    GvQueueDelete(&finished);
    return gvtool::kFailed;
  }
  std::vector<PeaksJob> jobs(args.files.size());
  for (size_t i = 0; i < jobs.size(); ++i) {
    jobs[i].path = &args.files[i];
    jobs[i].peakName = PeakNameOf(args.files[i]);
  }
  std::vector<PeaksJob *> busy(size_t(GvQio_GetWorkerCount(pool)));  // null: idle
  auto canGive = [&](const PeaksJob &job) {
    if (job.given) return false;
    for (const PeaksJob *other : busy)
      if (other && lstrcmpiA(other->peakName.c_str(), job.peakName.c_str()) == 0) return false;
    return true;
  };
  size_t running = 0;
  auto giveIdle = [&] {
    for (size_t k = 0; k < busy.size(); ++k) {
      if (busy[k]) continue;
      const auto job = std::find_if(jobs.begin(), jobs.end(), canGive);
      if (job == jobs.end() || gvtool::Interrupted()) return;
      job->given = true;
      job->worker = int(k);
      busy[k] = &*job;
      ++running;
      GvQio_InsertOperation(pool, int(k), &job->link);
    }
  };
  giveIdle();
  int rc = gvtool::kDone;
  while (running) {
    auto *job = reinterpret_cast<PeaksJob *>(GvQueueRemove(&finished, INFINITE));
    if (!job) continue;
    busy[size_t(job->worker)] = nullptr;
    --running;
    std::fputs(job->errors.c_str(), stderr);
    std::fputs(job->out.c_str(), stdout);
    std::fflush(stdout);
    if (!job->done) rc = gvtool::kFailed;
    giveIdle();
  }
  GvQio_Destroy(pool);
  GvQueueDelete(&finished);
  const auto left = static_cast<unsigned long>(
      std::count_if(jobs.begin(), jobs.end(), [](const PeaksJob &job) { return !job.given; }));
  if (left) {
    gvtool::Error("interrupted: %lu file%s not done", left, left == 1 ? "" : "s");
    rc = gvtool::kFailed;
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
  cmd.add_option("-j,--jobs", args.jobs, "Files worked on at once, 1 to 4 (default 1); the lines "
                                         "come in the order the files are finished")
      ->check(CLI::Range(1, 4))
      ->option_text("N");
  return RunPeaks;
}

const gvtool::Registration reg{"peaks", "Build or reuse the peak files of WAVE files.", Setup};

}  // namespace
