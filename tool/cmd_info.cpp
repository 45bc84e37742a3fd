// gvtool info: what a sound-file inspector shows about WAVE files, with each
// channel's peak found by GvAudio_FindPeaks over the whole stream.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "infotext.h"
#include "wave.h"

namespace {

using gvtool::WaveFile;

struct InfoArgs {
  std::vector<std::string> files;
  int clipRun = 3;
  bool progress = false;
} args;

std::string SpeakerNames(DWORD mask) {
  static const char *const kNames[] = {"FL", "FR", "FC", "LFE", "BL", "BR", "FLC", "FRC", "BC",
                                       "SL", "SR", "TC", "TFL", "TFC", "TFR", "TBL", "TBC", "TBR"};
  std::string names;
  for (int i = 0; i < 18; ++i)
    if (mask & (1u << i)) names += std::string(names.empty() ? "" : " ") + kNames[i];
  return names;
}

// The client a stream reads the file through for the peak search: one whose
// finder searches (the 8-bit and packed 24-bit finders report zeros), and
// for float data the 64-bit finder, which gives positions and clip runs.
void PeakClient(const WAVEFORMATEX &f, DWORD *bits, DWORD *flags, WAVEFORMATEX *client) {
  const WORD ch = f.nChannels;
  const DWORD rate = f.nSamplesPerSec;
  if (f.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    *bits = 64, *flags = GVAA_FLOAT64;
    *client = gvtool::MakeWfx(WAVE_FORMAT_IEEE_FLOAT, 64, ch, rate);
  } else if (f.wBitsPerSample <= 16) {
    *bits = 16, *flags = 0;
    *client = gvtool::MakeWfx(WAVE_FORMAT_PCM, 16, ch, rate);
  } else if (f.wBitsPerSample == 24 || f.wFormatTag == GV_WAVE_FORMAT_UNPACKED) {
    *bits = 24, *flags = 0;  // 24 bits in 4 bytes
    *client = gvtool::MakeWfx(GV_WAVE_FORMAT_UNPACKED, 32, ch, rate);
  } else {
    *bits = 32, *flags = 0;
    *client = gvtool::MakeWfx(WAVE_FORMAT_PCM, 32, ch, rate);
  }
}

// Each channel's peak over the whole data. Pieces overlap by the clip run
// less one frame so that a run across two pieces is still seen.
bool FindPeaks(const WaveFile &wave, std::vector<tGVCHANNELPEAK> *peaks) {
  DWORD bits, flags;
  WAVEFORMATEX client;
  PeakClient(wave.wfx, &bits, &flags, &client);
  HGVAUDIOSTREAM s = gvtool::OpenRead(wave, bits, flags);
  if (!s) return false;
  const size_t align = client.nBlockAlign, piece = 0x40000 / align;
  const size_t overlap = size_t(args.clipRun - 1);
  std::vector<unsigned char> buffer((overlap + piece) * align);
  std::vector<tGVCHANNELPEAK> found(client.nChannels), &best = *peaks;
  best.assign(client.nChannels, tGVCHANNELPEAK{-1.0f, 0, 0});
  gvtool::Progress progress("info " + wave.path, wave.info.nFrames, args.progress);
  ULONGLONG done = 0;
  size_t kept = 0;  // frames carried over at the front of the buffer
  bool ok = true;
  while (done < wave.info.nFrames) {
    DWORD got = 0;
    const HRESULT hr = GvAudioStream_Read(s, &buffer[kept * align], DWORD(piece), &got);
    if (hr != S_OK || got == 0 || gvtool::Interrupted()) {
      gvtool::Error("%s: %s", wave.path.c_str(),
                    gvtool::Interrupted() ? "interrupted"
                    : hr != S_OK          ? gvtool::HresultReason(hr).c_str()
                                          : "the data end early");
      ok = false;
      break;
    }
    const ULONGLONG base = done - kept;
    GvAudio_FindPeaks(&client, args.clipRun, buffer.data(), int(kept + got), found.data());
    for (size_t c = 0; c < found.size(); ++c) {
      tGVCHANNELPEAK &b = best[c];
      if (b.bClipped) continue;  // one search stops at the first clip
      if (found[c].fPeak >= b.fPeak) {  // a later equal peak wins, as in one search
        b.fPeak = found[c].fPeak;
        b.nPosition = int(base + found[c].nPosition);
      }
      b.bClipped = found[c].bClipped;
    }
    done += got;
    const size_t total = kept + got, carry = std::min(overlap, total);
    std::memmove(buffer.data(), &buffer[(total - carry) * align], carry * align);
    kept = carry;
    progress.Update(done);
  }
  GvAudioStream_Close(s);
  return ok;
}

// The file's INFO items under the summary table's names (in the library's
// language); false after an error naming the file.
bool ShowInfo(const std::string &path) {
  HANDLE file = gvtool::OpenForReading(path);
  if (file == INVALID_HANDLE_VALUE) return false;
  tGVINFOLIST list;
  const HRESULT hr = gvtool::LoadFileInfo(file, &list);
  CloseHandle(file);
  if (hr != S_OK) {
    gvtool::Error("%s: INFO list: %s", path.c_str(), gvtool::HresultReason(hr).c_str());
    return false;
  }
  const char *label = "info";
  for (DWORD i = 0; i < list.nCount; ++i) {
    const tGVINFOITEM &item = list.pItems[i];
    if (!item.pszText) continue;
    std::printf("  %-12s %s (%s): %s\n", label,
                gvtool::Utf8FromAnsi(gvtool::InfoDisplayName(item.fcc).c_str()).c_str(),
                gvtool::CodeText(item.fcc).c_str(), gvtool::Utf8FromAnsi(item.pszText).c_str());
    label = "";
  }
  infolist_Free(&list);
  return true;
}

int ShowOne(const std::string &path) {
  WaveFile wave;
  if (!gvtool::ProbeWave(path, &wave)) return gvtool::kFailed;
  const WAVEFORMATEX &f = wave.wfx;
  const tGVWAVEINFO &info = wave.info;
  char text[256];
  GvAudio_GetAttribsText(&f, text, sizeof text);
  std::printf("%s\n", path.c_str());
  std::printf("  format       %s\n", text);
  std::printf("  encoding     %s\n", gvtool::EncodingText(f));
  if (info.dwFlags & GVWAVE_EXTENSIBLE) {
    GvAudio_GetTagText(f.wFormatTag, text, sizeof text);
    std::printf("  extensible   sub-format %s, channel mask 0x%lX (%s)\n", text,
                static_cast<unsigned long>(info.dwChannelMask),
                SpeakerNames(info.dwChannelMask).c_str());
  }
  std::printf("  channels     %u\n", f.nChannels);
  std::printf("  rate         %lu Hz\n", static_cast<unsigned long>(f.nSamplesPerSec));
  std::printf("  bits         %u\n", f.wBitsPerSample);
  std::printf("  frames       %llu\n", static_cast<unsigned long long>(info.nFrames));
  std::printf("  duration     %.3f s\n", double(info.nFrames) / f.nSamplesPerSec);
  std::printf("  data offset  %llu\n", static_cast<unsigned long long>(info.nDataOffset));
  if (info.dwFlags & GVWAVE_STREAMED)
    std::printf("  data size    unset (written to a pipe): read to the end of the file\n");
  if (!ShowInfo(path)) return gvtool::kFailed;
  std::vector<tGVCHANNELPEAK> peaks;
  const bool read = FindPeaks(wave, &peaks);
  for (size_t c = 0; read && c < peaks.size(); ++c) {
    const tGVCHANNELPEAK &p = peaks[c];
    if (p.fPeak <= 0) {
      std::printf("  peak %-7zu silent\n", c + 1);
      continue;
    }
    std::printf("  peak %-7zu %.2f dBFS at frame %d%s\n", c + 1, 20.0 * std::log10(p.fPeak),
                p.nPosition, p.bClipped ? ", clipped" : "");
  }
  if (info.dwFlags & GVWAVE_TRUNCATED) {
    gvtool::Error("%s: damaged: the data chunk says %llu bytes, the file holds %llu frames",
                  path.c_str(), static_cast<unsigned long long>(info.nDataSize),
                  static_cast<unsigned long long>(info.nFrames));
    return gvtool::kFailed;
  }
  return read ? gvtool::kDone : gvtool::kFailed;
}

int RunInfo() {
  int rc = gvtool::kDone;
  for (size_t i = 0; i < args.files.size(); ++i) {
    if (i) std::printf("\n");
    if (ShowOne(args.files[i]) != gvtool::kDone) rc = gvtool::kFailed;
    std::fflush(stdout);
  }
  return rc;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer("A channel clipped when RUN full-scale samples follow each other (for float\n"
             "data: |x| >= 1.0); its frame is then the one before the run. Exit 1 when any\n"
             "file could not be read, is not a PCM WAVE file or is damaged (the others are\n"
             "still shown). A data size left unset by a program writing to a pipe is fine.");
  cmd.add_option("FILE", args.files, "WAVE files")->required();
  cmd.add_option("--clip-run", args.clipRun, "Full-scale samples in a row that count as a clip "
                                             "(1 to 1000, default 3)")
      ->check(CLI::Number)->check(CLI::Range(1, 1000))
      ->option_text("RUN");
  cmd.add_flag("--progress", args.progress, "Show progress on stderr (shown anyway on a "
                                            "terminal after a second)");
  return RunInfo;
}

const gvtool::Registration reg{"info", "Format, length and channel peaks of WAVE files.", Setup};

}  // namespace
