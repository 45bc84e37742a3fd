// gvtool draw: a waveform picture of a WAVE file as a PNG. The draw data come
// from a peak data stream: its peak file when the view holds at least one
// element per pixel, the samples when zoomed in closer.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "waveform.h"
#include "wave.h"

namespace {

using gvtool::Error;
using gvtool::kFailed;

struct DrawArgs {
  std::string in, out, background = "ffffff", waveform = "1f5fbf";
  int width = 1800, height = 280;
  double start = 0, end = -1;
  bool split = false;
} args;

// What identifies the source's contents for the length of a draw.
bool Identity(const std::string &path, WIN32_FILE_ATTRIBUTE_DATA *id) {
  return GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, id) != 0;
}
bool SameIdentity(const WIN32_FILE_ATTRIBUTE_DATA &a, const WIN32_FILE_ATTRIBUTE_DATA &b) {
  return CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime) == 0 &&
         a.nFileSizeLow == b.nFileSizeLow && a.nFileSizeHigh == b.nFileSizeHigh;
}

int RunDraw() {
  gvtool::WaveformView view;
  if (!gvtool::ParseRgb(args.background, &view.background))
    return gvtool::UsageError("--background %s: not RRGGBB", args.background.c_str());
  if (!gvtool::ParseRgb(args.waveform, &view.waveform))
    return gvtool::UsageError("--waveform %s: not RRGGBB", args.waveform.c_str());
  if (double(args.width) * args.height > 16.0 * 1024 * 1024)
    return gvtool::UsageError("%d x %d: pictures are limited to 16 megapixels", args.width,
                              args.height);
  if (args.end >= 0 && args.end <= args.start)
    return gvtool::UsageError("--end %g is not after --start %g", args.end, args.start);

  gvtool::WaveFile wave;
  if (!gvtool::ProbeWave(args.in, &wave)) return kFailed;
  const DWORD rate = wave.wfx.nSamplesPerSec;
  const ULONGLONG frames = wave.info.nFrames;
  const double duration = double(frames) / rate;
  if (wave.info.dwFlags & GVWAVE_TRUNCATED) {
    Error("%s: damaged: the data chunk runs past the end of the file; not drawn", args.in.c_str());
    return kFailed;
  }
  // The view: whole frames from --start to --end (the file's end by
  // default); columns past the end of the data stay empty.
  const ULONGLONG first = ULONGLONG(std::llround(args.start * rate));
  if (first >= frames) {
    Error("%s: nothing to draw from %.3f s: the file holds %.3f s", args.in.c_str(), args.start,
          duration);
    return kFailed;
  }
  WIN32_FILE_ATTRIBUTE_DATA before{}, after{};
  if (!Identity(args.in, &before)) return gvtool::IoError(args.in, GetLastError());
  const double endSeconds = args.end >= 0 ? args.end : duration;
  const LONGLONG count = std::max(1LL, std::llround(endSeconds * rate) - LONGLONG(first));
  const double step = double(count) / args.width;
  view.width = args.width;
  view.height = args.height;
  view.channels = wave.wfx.nChannels == 1 ? 1 : 2;
  view.columns = int(std::min<double>(args.width, std::ceil((frames - first) / step)));
  view.split = args.split;
  view.startSeconds = double(first) / rate;
  view.endSeconds = double(first + count) / rate;

  tGVPEAKSTREAM *stream = nullptr;
  const HRESULT hr = GvPeakEx_CreateStream(&stream, args.in.c_str(), 0, 0);
  if (FAILED(hr) || !stream) {
    Error("%s: cannot be read for drawing (PCM and float WAVE data only)", args.in.c_str());
    return kFailed;
  }
  tGVAUDIOPEAK *peak = GvPeakEx_GetPeak(stream);
  const DWORD perElement = peak ? GvPeak_GetCellsPerElementEx(peak) : 0;
  const bool fromPeaks = peak && count / args.width >= LONGLONG(perElement);
  const std::string peakName = peak ? GvPeak_GetFileName(peak) : "";
  std::vector<short> data(size_t(args.width) * view.channels * 2);
  const BOOL drawn = GvPeakEx_GetDrawData(stream, first, count, data.data(), args.width);
  GvPeakEx_Free(stream);
  // A source replaced or cut while it was read would give a picture of
  // neither version, and a peak file stamped as the new one's.
  if (!Identity(args.in, &after) || !SameIdentity(before, after)) {
    if (!peakName.empty()) DeleteFileA(peakName.c_str());
    Error("%s: changed or vanished while it was drawn; no picture written", args.in.c_str());
    return kFailed;
  }
  if (!drawn) {
    if (fromPeaks)
      Error("%s: its peak file %s could not be read; no picture written", args.in.c_str(),
            peakName.c_str());
    else
      Error("%s: its samples could not be read; no picture written", args.in.c_str());
    return kFailed;
  }
  if (!gvtool::WritePng(args.out, gvtool::DrawWaveform(view, data.data()))) return kFailed;
  std::printf("%s: %d x %d, %s from %.3f to %.3f s, ", args.out.c_str(), args.width, args.height,
              args.in.c_str(), view.startSeconds, view.endSeconds);
  if (fromPeaks)
    std::printf("drawn from the peak file %s\n", peakName.c_str());
  else if (peak)
    std::printf("drawn from the samples (%.1f frames a pixel, closer than the %lu of an "
                "element)\n", step, static_cast<unsigned long>(perElement));
  else
    std::printf("drawn from the samples (no peak file could be made)\n");
  return gvtool::kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.set_help_flag("--help", "Print this help message and exit");  // -h is the height
  cmd.footer(
      "The peak file beside FILE (FILE.gvk) is used, or built first when it is\n"
      "missing or stale (in the temporary folder when FILE's folder cannot be\n"
      "written). Views closer than one element per pixel are drawn from the\n"
      "samples. Each pixel column is filled from its minimum to its maximum,\n"
      "mirror-symmetric about the centre line: silence is a flat line, full scale\n"
      "reaches the band's edge. Both channels of a stereo file share one band\n"
      "unless --split-channels; files of more channels show their first two.\n"
      "OUT appears only when complete; a source that changes while it is drawn\n"
      "fails with no picture. Pictures are limited to 16 megapixels.");
  cmd.add_option("FILE", args.in, "WAVE file to draw")->required();
  cmd.add_option("OUT", args.out, "PNG file to write (replaced when complete)")->required();
  cmd.add_option("-w,--width", args.width, "Width in pixels, 16 to 32768 (default 1800)")
      ->check(CLI::Number)->check(CLI::Range(16, 32768))
      ->option_text("PIXELS");
  cmd.add_option("-h,--height", args.height, "Height in pixels, 32 to 8192 (default 280)")
      ->check(CLI::Number)->check(CLI::Range(32, 8192))
      ->option_text("PIXELS");
  cmd.add_option("--start", args.start, "First second of the view (default 0)")
      ->check(CLI::Number)->check(CLI::Range(0.0, 1e9))
      ->option_text("SECONDS");
  cmd.add_option("--end", args.end, "Last second of the view (default the end of the file)")
      ->check(CLI::Number)->check(CLI::Range(0.0, 1e9))
      ->option_text("SECONDS");
  cmd.add_flag("--split-channels", args.split, "Each channel in a band of its own");
  cmd.add_option("--background", args.background, "Background colour RRGGBB (default ffffff)")
      ->option_text("RRGGBB");
  cmd.add_option("--waveform", args.waveform, "Waveform colour RRGGBB (default 1f5fbf)")
      ->option_text("RRGGBB");
  return RunDraw;
}

const gvtool::Registration reg{"draw", "Draw a WAVE file's waveform into a PNG picture.", Setup};

}  // namespace
