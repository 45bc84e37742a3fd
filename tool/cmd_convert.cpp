// gvtool convert: a WAVE file to another sample format, channel count,
// level and sample rate, read and written through audio streams. The output is made under a
// temporary name beside the target and renamed over it only when complete.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "eq.h"
#include "files/wave_header.h"
#include "wave.h"

namespace {

using gvtool::Error;
using gvtool::kFailed;
using gvtool::WaveFile;

struct ConvertArgs {
  std::string in, out, encoding, method = "linear";
  std::vector<std::string> eq;
  int bits = 0, channels = 0;
  unsigned rate = 0;
  double gainDb = 0;
  bool progress = false;
} args;

const DWORD kHeaderBytes = gv::kPlainWaveHeaderBytes;
const DWORD kPiece = 32768;     // frames per read

// Bits and encoding of the output: what was asked, the rest from the input.
bool OutputFormat(const WAVEFORMATEX &in, int *bits, std::string *encoding) {
  const bool inFloat = in.wFormatTag == WAVE_FORMAT_IEEE_FLOAT;
  *bits = args.bits;
  *encoding = args.encoding;
  if (!*bits) {
    if (*encoding == "float") *bits = 32;
    else if (*encoding == "unsigned") *bits = 8;
    else if (*encoding == "signed") *bits = (inFloat || in.wBitsPerSample == 8) ? 16 : in.wBitsPerSample;
    else *bits = inFloat ? 32 : in.wBitsPerSample;
  }
  if (encoding->empty())
    *encoding = *bits == 8 ? "unsigned" : (*bits == 32 && inFloat) ? "float" : "signed";
  return (*bits == 8) == (*encoding == "unsigned") && (*encoding != "float" || *bits == 32) &&
         (*bits == 8 || *bits == 16 || *bits == 24 || *bits == 32);
}

// The rate change, piece by piece: the streaming method carries its state
// from one piece to the next; repetition gives each piece the share of the
// output its end calls for.
class RateChange {
 public:
  RateChange(DWORD from, DWORD to, int channels)
      : wfx_(gvtool::MakeWfx(WAVE_FORMAT_IEEE_FLOAT, 32, WORD(channels), from)), to_(to),
        active_(from != to) {}
  bool active() const { return active_; }
  // The output frames for `frames` input frames; out is resized to hold them.
  DWORD Run(const float *in, DWORD frames, std::vector<float> &out) {
    const bool repeat = args.method == "repeat";
    long made;
    if (repeat) {
      const ULONGLONG end = (seen_ + frames) * to_ / wfx_.nSamplesPerSec;
      made = long(end - (seen_ * to_ / wfx_.nSamplesPerSec));
    } else {
      if (first_) inst_.dStep = 1.0 / (double(to_) / wfx_.nSamplesPerSec);  // the library's step, for the count only
      made = GvAudio_ResampleFrames(&inst_, long(frames));
    }
    out.resize(size_t(made + 1) * wfx_.nChannels);
    DWORD flags = repeat ? GVRESAMPLE_REPEAT : GVRESAMPLE_STREAM;
    if (first_ && !repeat) flags |= GVRESAMPLE_RESET;
    first_ = false;
    seen_ += frames;
    if (made < 1) return 0;
    const long got = GvAudio_ResampleEx(&wfx_, to_, out.data(), made, in, long(frames), &inst_, flags);
    return DWORD(got);
  }

 private:
  WAVEFORMATEX wfx_;
  DWORD to_;
  bool active_, first_ = true;
  ULONGLONG seen_ = 0;
  tGVRESAMPLEINSTANCE inst_{};
};

// Reads `in`, applies the gain, the channel change, the rate change and
// the IIR stages, writes `out`; *written counts the frames written.
bool Copy(const WaveFile &wave, HGVAUDIOSTREAM in, HGVAUDIOSTREAM out, int outChannels,
          DWORD outRate, std::vector<gv::audio::iir::Stage> &stages, ULONGLONG *written) {
  const int inChannels = wave.wfx.nChannels;
  const WAVEFORMATEX inFloat =
      gvtool::MakeWfx(WAVE_FORMAT_IEEE_FLOAT, 32, WORD(inChannels), wave.wfx.nSamplesPerSec);
  const float gain = float(std::pow(10.0, args.gainDb / 20.0));
  std::vector<float> src(size_t(kPiece) * inChannels), dst(size_t(kPiece) * outChannels), rated;
  RateChange rate(wave.wfx.nSamplesPerSec, outRate, outChannels);
  *written = 0;
  gvtool::Progress progress("convert " + args.in, wave.info.nFrames, args.progress);
  ULONGLONG done = 0;
  while (done < wave.info.nFrames) {
    if (gvtool::Interrupted()) {
      Error("%s: interrupted; nothing written", args.out.c_str());
      return false;
    }
    DWORD got = 0, put = 0;
    HRESULT hr = GvAudioStream_Read(in, src.data(), kPiece, &got);
    if (hr != S_OK || got == 0) {
      Error("%s: %s", args.in.c_str(),
            hr != S_OK ? gvtool::HresultReason(hr).c_str() : "the data end early");
      return false;
    }
    if (gain != 1.0f)
      for (size_t i = 0; i < size_t(got) * inChannels; ++i) src[i] *= gain;
    float *frames = src.data();
    if (outChannels != inChannels) {
      GvAudio_ChannelChange(dst.data(), outChannels, src.data(), &inFloat, int(got));
      frames = dst.data();
    }
    DWORD outFrames = got;
    if (rate.active()) {
      outFrames = rate.Run(frames, got, rated);
      frames = rated.data();
    }
    for (gv::audio::iir::Stage &stage : stages) stage.Process(frames, long(outFrames));
    hr = outFrames ? GvAudioStream_Write(out, frames, outFrames, &put) : S_OK;
    if (hr != S_OK || put != outFrames) {
      Error("%s: %s", args.out.c_str(),
            hr != S_OK ? gvtool::HresultReason(hr).c_str() : "short write");
      return false;
    }
    done += got;
    *written += outFrames;
    progress.Update(done);
  }
  return true;
}

int RunConvert() {
  std::vector<gv::audio::iir::StageSettings> eqs(args.eq.size());
  for (size_t i = 0; i < eqs.size(); ++i)
    if (!gvtool::ParseEq(args.eq[i], &eqs[i]))
      return gvtool::UsageError("--eq %s: %s", args.eq[i].c_str(), gvtool::kEqUsage);
  int bits = 0;
  std::string encoding;
  if (!args.encoding.empty() || args.bits) {
    // The combination alone is checked before any file is touched.
    WAVEFORMATEX any = gvtool::MakeWfx(WAVE_FORMAT_PCM, 16, 1, 8000);
    if (!OutputFormat(any, &bits, &encoding))
      return gvtool::UsageError("-b %d with -e %s: 8-bit data are unsigned, float data 32-bit, "
                                "the others signed", bits, encoding.c_str());
  }
  WaveFile wave;
  if (!gvtool::ProbeWave(args.in, &wave)) return kFailed;
  if (wave.info.dwFlags & GVWAVE_TRUNCATED) {
    Error("%s: damaged: the data chunk runs past the end of the file; not converted",
          args.in.c_str());
    return kFailed;
  }
  OutputFormat(wave.wfx, &bits, &encoding);
  const int inChannels = wave.wfx.nChannels;
  const int outChannels = args.channels ? args.channels : inChannels;
  if (outChannels != inChannels && outChannels != 1 && inChannels != 1) {
    Error("%s: %d channels cannot become %d: channels are mixed to mono or mono is spread",
          args.in.c_str(), inChannels, outChannels);
    return kFailed;
  }
  const DWORD outRate = args.rate ? args.rate : wave.wfx.nSamplesPerSec;
  if (outRate != wave.wfx.nSamplesPerSec && outChannels > GVRESAMPLE_MAXSTREAMCHANNELS) {
    Error("%s: %d channels: the rate can be changed for at most %d", args.in.c_str(),
          outChannels, GVRESAMPLE_MAXSTREAMCHANNELS);
    return kFailed;
  }
  const bool isFloat = encoding == "float";
  const WAVEFORMATEX outWfx =
      gvtool::MakeWfx(isFloat ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM, WORD(bits),
                      WORD(outChannels), outRate);
  // The most frames the rate change can make (it makes a frame or so fewer).
  const ULONGLONG outFrames = wave.info.nFrames * outRate / wave.wfx.nSamplesPerSec + 1;
  const ULONGLONG dataBytesMost = outFrames * outWfx.nBlockAlign;
  if (dataBytesMost > 0xFFFFFFFFull - kHeaderBytes) {
    Error("%s: the output would pass the 4 GiB limit of a WAVE file", args.out.c_str());
    return kFailed;
  }
  tGVAUDIOATTRIBS outAttr;
  const DWORD outFlags = isFloat ? GVAA_FLOAT32 : bits == 8 ? GVAA_UNSIGNED8
                                                : bits == 24 ? GVAA_PACKED24 : 0;
  GvAudio_InitAttribs(&outAttr, sizeof outAttr, 0, outFlags, outRate, DWORD(bits),
                      DWORD(outChannels));

  // The temporary file sits in the target's folder, so the rename stays
  // on one volume.
  const size_t slash = args.out.find_last_of("\\/:");
  const std::string folder = slash == std::string::npos ? "." : args.out.substr(0, slash + 1);
  char temp[MAX_PATH];
  if (!GetTempFileNameA(folder.c_str(), "gvt", 0, temp))
    return gvtool::IoError(args.out, GetLastError());
  HGVAUDIOSTREAM in = gvtool::OpenRead(wave, 32, GVAA_FLOAT32), out = nullptr;
  HRESULT hr = E_FAIL;
  if (in) {
    hr = GvAudioStream_OpenFile(&out, temp, kHeaderBytes, 0, 0, &outAttr, 32, GVAA_FLOAT32,
                                GVAS_VIEW_NONE, GVAS_CREATE);
    if (hr != S_OK) Error("%s: %s", args.out.c_str(), gvtool::HresultReason(hr).c_str());
  }
  std::vector<gv::audio::iir::Stage> stages(eqs.size());
  for (size_t i = 0; i < eqs.size(); ++i) stages[i].Start(eqs[i], outRate, outChannels);
  ULONGLONG written = 0;
  bool ok = in && out && Copy(wave, in, out, outChannels, outRate, stages, &written);
  const DWORD dataBytes = DWORD(written * outWfx.nBlockAlign);
  GvAudioStream_Close(in);
  if (out) GvAudioStream_Close(out);
  if (ok && !gv::WritePlainWaveHeaders(temp, outWfx, DWORD(dataBytes))) {
    gvtool::IoError(args.out, GetLastError());
    ok = false;
  }
  if (ok && !MoveFileExA(temp, args.out.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    gvtool::IoError(args.out, GetLastError());
    ok = false;
  }
  if (!ok) {
    DeleteFileA(temp);
    return kFailed;
  }
  char from[128], to[128];
  GvAudio_GetAttribsText(&wave.wfx, from, sizeof from);
  GvAudio_GetAttribsText(&outWfx, to, sizeof to);
  std::printf("%s (%s, %s) -> %s (%s, %s): %llu frames", args.in.c_str(), from,
              gvtool::EncodingText(wave.wfx), args.out.c_str(), to, gvtool::EncodingText(outWfx),
              static_cast<unsigned long long>(wave.info.nFrames));
  if (outRate != wave.wfx.nSamplesPerSec)
    std::printf(" -> %llu frames (%s)", static_cast<unsigned long long>(written),
                args.method == "repeat" ? "repeated" : "interpolated");
  std::printf(" at %+.2f dB", args.gainDb);
  if (!eqs.empty()) std::printf(", %zu IIR stage%s", eqs.size(), eqs.size() > 1 ? "s" : "");
  std::printf("\n");
  return gvtool::kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer(
      "Samples are read as 32-bit float, scaled by the gain, mixed or spread, and\n"
      "written in the output format (integer outputs are clipped to full scale).\n"
      "-c 1 sums the channels (it does not average them: lower the gain to keep\n"
      "headroom); -c 2 copies a mono file to both channels. Unset -b and -e follow\n"
      "the input. OUT appears only when complete; damaged (truncated) input is\n"
      "refused. -r changes the rate after the channel change, piece by piece through\n"
      "the streaming interpolator (its state carried between pieces), or with\n"
      "--method repeat by repeating or dropping frames; at most 32 channels.\n"
      "--eq runs an IIR stage after all that, at the output's rate (repeat it for\n"
      "several): low or high shelf (a cut for a negative GAIN) or band, FREQ in Hz.\n"
      "For headerless sample data see convert-raw.");
  cmd.add_option("IN", args.in, "WAVE file to read")->required();
  cmd.add_option("OUT", args.out, "WAVE file to write (replaced when complete)")->required();
  cmd.add_option("-b,--bits", args.bits, "Bits per sample: 8, 16, 24 or 32")
      ->check(CLI::Number)
      ->check(CLI::IsMember({8, 16, 24, 32}));
  cmd.add_option("-e,--encoding", args.encoding, "signed, unsigned (8-bit only) or float (32-bit)")
      ->check(CLI::IsMember({"signed", "unsigned", "float"}));
  cmd.add_option("-c,--channels", args.channels, "Channels of the output: 1 or 2")
      ->check(CLI::Number)
      ->check(CLI::IsMember({1, 2}));
  cmd.add_option("--gain", args.gainDb, "Gain in dB, -200 to 200, applied to the float samples (default 0)")
      ->check(CLI::Number)->check(CLI::Range(-200.0, 200.0))
      ->option_text("DB");
  cmd.add_option("-r,--rate", args.rate, "Sample rate of the output, 1000 to 768000 (default the input's)")
      ->check(CLI::Number)->check(CLI::Range(1000u, 768000u))->option_text("HZ");
  cmd.add_option("--method", args.method, "Rate change: linear (streaming interpolation, the "
                                          "default) or repeat (nearest frame)")
      ->check(CLI::IsMember({"linear", "repeat"}));
  cmd.add_option("--eq", args.eq, "IIR stage TYPE:FREQ:GAIN:Q (low, high or band; Hz, dB, Q)")
      ->option_text("TYPE:FREQ:GAIN:Q");
  cmd.add_flag("--progress", args.progress, "Show progress on stderr (shown anyway on a "
                                            "terminal after a second)");
  return RunConvert;
}

const gvtool::Registration reg{"convert", "Convert a WAVE file: bits, encoding, channels, gain, rate.",
                               Setup};

}  // namespace
