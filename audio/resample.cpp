// The resampler's methods: repetition, linear interpolation over one buffer
// and streaming linear interpolation.
#include "audio/resample.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "audio/resample_rules.h"
#include "audio/resample_simd.h"

namespace gv::audio {

using resample::kHasStereoSimd;
using resample::Lerp;
using resample::Load2;
using resample::Read;
using resample::Store2;
using resample::Write;
using resample::u8;

namespace {
bool g_stereoSimd = true;
}  // namespace

void ForceResampleScalar(bool scalar) { g_stereoSimd = !scalar; }

namespace {
struct Nothing {
  template <DWORD T> void operator()() const {}
};
}  // namespace

bool IsLinearType(DWORD type) { return resample::WithLinearType(type, Nothing{}); }

// ---- Method 0 -------------------------------------------------------------

namespace {

// One frame copied; a fixed size lets the copy be a plain load and store.
// Frames lie on whole-frame boundaries, so a copy is either onto itself
// (in place) or between frames that do not overlap.
template <size_t N> struct FrameCopy {
  size_t bytes() const { return N; }
  void operator()(u8 *to, const u8 *from) const {
    unsigned char tmp[N];
    std::memcpy(tmp, from, N);
    std::memcpy(to, tmp, N);
  }
};
template <> struct FrameCopy<0> {
  size_t n;
  size_t bytes() const { return n; }
  void operator()(u8 *to, const u8 *from) const { std::memmove(to, from, n); }
};

template <class Copy> void Repeat(u8 *out, long D, const u8 *in, long S, Copy copy) {
  const size_t frameBytes = copy.bytes();
  if (S <= D) {
    long err = D / 2, di = D - 1, si = S - 1, written = 0, used = 0;
    const u8 *last = in + size_t(si) * frameBytes;
    while (used < S && written < D) {
      last = in + size_t(si) * frameBytes;
      copy(out + size_t(di) * frameBytes, last);
      --di, ++written;
      if (written < D) {
        err -= S;
        if (err >= 0) continue;
      }
      err += D;
      --si, ++used;
    }
    for (; written < D; --di, ++written) copy(out + size_t(di) * frameBytes, last);
  } else {
    long err = S / 2, written = 0;
    for (long si = 0; si < S && written < D; ++si) {
      err -= D;
      if (err < 0) {
        err += S;
        copy(out + size_t(written++) * frameBytes, in + size_t(si) * frameBytes);
      }
    }
    const u8 *last = in + size_t(S - 1) * frameBytes;
    for (; written < D; ++written) copy(out + size_t(written) * frameBytes, last);
  }
}

}  // namespace

void RepeatFrames(void *dst, long D, const void *src, long S, size_t frameBytes) {
  u8 *out = static_cast<u8 *>(dst);
  const u8 *in = static_cast<const u8 *>(src);
  switch (frameBytes) {
    case 1: return Repeat(out, D, in, S, FrameCopy<1>{});
    case 2: return Repeat(out, D, in, S, FrameCopy<2>{});
    case 3: return Repeat(out, D, in, S, FrameCopy<3>{});
    case 4: return Repeat(out, D, in, S, FrameCopy<4>{});
    case 6: return Repeat(out, D, in, S, FrameCopy<6>{});
    case 8: return Repeat(out, D, in, S, FrameCopy<8>{});
    case 16: return Repeat(out, D, in, S, FrameCopy<16>{});
  }
  Repeat(out, D, in, S, FrameCopy<0>{frameBytes});
}

// ---- Method 1 -------------------------------------------------------------

namespace {

template <DWORD T> struct SampleIO {
  static constexpr size_t kBytes = SampleType<T>::kBytes;
};

struct LinearJob {
  int channels;
  u8 *dst;
  long D;
  const u8 *src;
  long S;

  // C: the channel count when known at compile time (1 or 2), else 0.
  template <DWORD T, int C> void Frame(long j, double p) const {
    const int channels = C ? C : this->channels;
    const size_t fb = SampleIO<T>::kBytes * channels;
    long i = long(p);  // toward zero, as the position's whole part
    i = std::min(std::max(i, 0L), S - 1);
    const double f = p - double(i);
    const u8 *a = src + size_t(i) * fb;
    const u8 *b = i + 1 < S ? a + fb : a;  // never past the source
    u8 *o = dst + size_t(j) * fb;
    if constexpr (C == 2 && kHasStereoSimd<T>) {
      if (g_stereoSimd) return Store2<T>(o, Lerp(Load2<T>(a), Load2<T>(b), f));
    }
    for (int c = 0; c < channels; ++c) {
      const size_t at = size_t(c) * SampleIO<T>::kBytes;
      const double x = Read<T>(a + at), y = Read<T>(b + at);
      Write<T>(o + at, f * (y - x) + x);
    }
  }

  template <DWORD T, int C> void Go() const {
    const double step = double(S - 1) / double(D - 1);
    if (step < 1.0) {
      double p = double(S - 1);
      for (long j = D - 1; j >= 0; --j, p -= step) Frame<T, C>(j, p);
    } else {
      double p = 0.0;
      for (long j = 0; j < D; ++j, p += step) Frame<T, C>(j, p);
    }
  }

  template <DWORD T> void operator()() const {
    if (channels == 2) return Go<T, 2>();
    if (channels == 1) return Go<T, 1>();
    Go<T, 0>();
  }
};

}  // namespace

void LinearFrames(DWORD type, int channels, void *dst, long D, const void *src, long S) {
  const LinearJob job{channels, static_cast<u8 *>(dst), D, static_cast<const u8 *>(src), S};
  resample::WithLinearType(type, job);
}

// ---- Method 2 -------------------------------------------------------------

std::int64_t StreamFrameCount(double pos, double step, long S) {
  const double limit = double(S - 1);
  if (!(pos < limit)) return 0;
  double n = std::ceil((limit - pos) / step);
  if (!(n < 9.0e15)) return INT64_MAX;
  // The division may be a step off the positions the frames use.
  while (n > 0 && pos + (n - 1) * step >= limit) n -= 1;
  while (pos + n * step < limit) n += 1;
  return std::int64_t(n);
}

bool StreamUsable(const tGVRESAMPLEINSTANCE &inst, int channels) {
  return channels >= 1 && channels <= GVRESAMPLE_MAXSTREAMCHANNELS && inst.dStep > 0.0 &&
         std::isfinite(inst.dStep) && std::isfinite(inst.dPos);
}

namespace {

struct StreamJob {
  tGVRESAMPLEINSTANCE &inst;
  int channels;
  u8 *dst;
  long count;  // frames to write
  const u8 *src;
  long S;

  // Output frame k from the source, or from dLast before the buffer.
  // `saved` stands in for source frame savedAt once dst has covered it.
  template <DWORD T, int C> void Frame(long k, const double *saved, long savedAt) const {
    const int channels = C ? C : this->channels;
    constexpr size_t kB = SampleType<T>::kBytes;
    const size_t fb = kB * channels;
    const double p = inst.dPos + double(k) * inst.dStep;
    u8 *o = dst + size_t(k) * fb;
    if (p < 0.0) {
      const double f = p + 1.0;
      for (int c = 0; c < channels; ++c) {
        const double a = inst.dLast[c];
        const double b = savedAt == 0 ? saved[c] : Read<T>(src + c * kB);
        Write<T>(o + c * kB, f * (b - a) + a);
      }
      return;
    }
    const long i = long(p);
    const double f = p - double(i);
    const u8 *a = src + size_t(i) * fb;
    if constexpr (C == 2 && kHasStereoSimd<T>) {
      if (g_stereoSimd && i != savedAt) {
        const __m128d x = Load2<T>(a);
        return Store2<T>(o, f == 0.0 ? x : Lerp(x, Load2<T>(a + fb), f));
      }
    }
    for (int c = 0; c < channels; ++c) {
      const double x = i == savedAt ? saved[c] : Read<T>(a + c * kB);
      if (f == 0.0) {
        Write<T>(o + c * kB, x);
      } else {
        const double y = Read<T>(a + fb + c * kB);
        Write<T>(o + c * kB, f * (y - x) + x);
      }
    }
  }

  template <DWORD T> void operator()() const {
    if (channels == 2) return Go<T, 2>();
    if (channels == 1) return Go<T, 1>();
    Go<T, 0>();
  }

  template <DWORD T, int C> void Go() const {
    constexpr size_t kB = SampleType<T>::kBytes;
    const size_t fb = kB * channels;
    double last[GVRESAMPLE_MAXSTREAMCHANNELS];
    for (int c = 0; c < channels; ++c) last[c] = Read<T>(src + size_t(S - 1) * fb + c * kB);
    if (inst.dStep < 1.0) {
      // Frame k reads source frames up to k only, so last first is safe in
      // place; frame 0 of the source is overwritten last.
      for (long k = count - 1; k >= 0; --k) Frame<T, C>(k, nullptr, -1);
    } else if (static_cast<const void *>(dst) != src) {
      for (long k = 0; k < count; ++k) Frame<T, C>(k, nullptr, -1);
    } else {
      // In place: frame k reads source frames from k - 1 on, and frame k - 1
      // has been overwritten by then; keep its samples.
      double saved[GVRESAMPLE_MAXSTREAMCHANNELS];
      long savedAt = -1;
      for (long k = 0; k < count; ++k) {
        double next[GVRESAMPLE_MAXSTREAMCHANNELS];
        const bool cover = k < S;
        if (cover)
          for (int c = 0; c < channels; ++c) next[c] = Read<T>(src + size_t(k) * fb + c * kB);
        Frame<T, C>(k, saved, savedAt);
        if (cover) {
          std::memcpy(saved, next, sizeof(double) * channels);
          savedAt = k;
        }
      }
    }
    std::memcpy(inst.dLast, last, sizeof(double) * channels);
  }
};

}  // namespace

long StreamFrames(tGVRESAMPLEINSTANCE &inst, DWORD type, int channels, void *dst,
                  long dstCapacity, const void *src, long S) {
  const std::int64_t made = StreamFrameCount(inst.dPos, inst.dStep, S);
  const long count = long(std::min<std::int64_t>(made, std::max(dstCapacity, 0L)));
  const StreamJob job{inst, channels, static_cast<u8 *>(dst), count,
                      static_cast<const u8 *>(src), S};
  if (!resample::WithLinearType(type, job))
    for (int c = 0; c < channels; ++c) inst.dLast[c] = -1.0;  // what such types read as
  inst.dPos = inst.dPos + double(made) * inst.dStep - double(S);
  return count;
}

// ---- StreamResampler ------------------------------------------------------

bool StreamResampler::Start(DWORD type, int channels, double srcRate, double dstRate) {
  inst_ = tGVRESAMPLEINSTANCE{};
  type_ = 0;
  channels_ = 0;
  if (!IsLinearType(type) || !(srcRate > 0.0) || !(dstRate > 0.0)) return false;
  inst_.dStep = 1.0 / (dstRate / srcRate);
  if (!StreamUsable(inst_, channels)) return false;
  type_ = type;
  channels_ = channels;
  return true;
}

long StreamResampler::OutputFrames(long srcFrames) const {
  if (!channels_ || srcFrames < 1) return 0;
  return long(std::min<std::int64_t>(StreamFrameCount(inst_.dPos, inst_.dStep, srcFrames), LONG_MAX));
}

long StreamResampler::Process(void *dst, long dstCapacity, const void *src, long srcFrames) {
  if (!channels_ || srcFrames < 1 || !src || (!dst && dstCapacity > 0)) return 0;
  return StreamFrames(inst_, type_, channels_, dst, dstCapacity, src, srcFrames);
}

}  // namespace gv::audio
