// Peak finders: one per sample type. The integer and double searches follow
// one scalar rule per channel; 16-bit data with 1, 2, 4 or 8 channels and
// all float32 data take an SSE2 path that gives exactly the same records.
#include <emmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "gvsamples.h"
#include "sampletypes.h"

namespace gv::audio {
namespace {

// The state of one channel's search.
struct Search {
  double max = 0;
  int pos = 0, run = 0;
  bool clipped = false, stopped = false;
};

// One sample of the integer or double search: `a` is |sample|, `full` the
// full-scale value, `overRange` true for a 24-in-32 value beyond 24 bits.
template <class T>
inline void Step(Search &s, T a, T full, bool overRange, int k, int clipRun) {
  if (a >= s.max) {
    s.max = double(a);
    s.pos = k;
  }
  if (a < full) s.run = 0;
  if (overRange) {
    s.clipped = s.stopped = true;
    return;
  }
  if (a >= full) {  // equals full scale for integers, at or beyond 1.0 for doubles
    if (++s.run >= clipRun) s.clipped = s.stopped = true;
  }
}

inline void Finish(const Search &s, double scale, tGVCHANNELPEAK &peak) {
  peak.fPeak = float(s.max * scale);
  peak.nPosition = s.pos - s.run;
  peak.bClipped = s.clipped ? 1 : 0;
}

// |v| with the most negative value of the container read as its largest
// positive value (-32768 gives 32767, 0x80000000 gives 0x7FFFFFFF).
template <DWORD C> inline std::int64_t IntMagnitude(const unsigned char *p) {
  const std::int64_t v = ReadInt<C>(p);
  const std::int64_t most = C == GV_SAMPLE_INT16 ? 32767 : 0x7FFFFFFF;
  return v < 0 ? (-v > most ? most : -v) : v;
}

template <DWORD C, std::int64_t kFull>
void WINAPI FindIntPeaks(int nChannels, int nClipRun, const void *pData, int nFrames,
                         tGVCHANNELPEAK *pPeaks) {
  constexpr int kBytes = SampleType<C>::kBytes;
  const unsigned char *p = static_cast<const unsigned char *>(pData);
  for (int c = 0; c < nChannels; ++c) {
    Search st;
    for (int k = 0; k < nFrames && !st.stopped; ++k) {
      const std::int64_t a = IntMagnitude<C>(p + (size_t(k) * nChannels + c) * kBytes);
      // A 24-in-32 container holding more than 24 bits stops the search.
      const bool over = C == GV_SAMPLE_INT24IN32 && a > kFull;
      Step<std::int64_t>(st, a, kFull, over, k, nClipRun);
    }
    Finish(st, 1.0 / (double(kFull) + 1.0), pPeaks[c]);
  }
}

// 16-bit: blocks of kBlock frames. A block without a full-scale sample in a
// channel resets its run and can only raise its maximum, found by an SSE2
// max and placed by a backward scan for its last occurrence; blocks with a
// full-scale sample go through the scalar rule.
constexpr int kBlock = 2048;

void FindInt16Simd(int nChannels, int nClipRun, const std::int16_t *d, int nFrames,
                   tGVCHANNELPEAK *pPeaks) {
  Search s[8];
  const int lanesPerFrame = nChannels;  // 1, 2, 4 or 8: lane i holds channel i % nChannels
  const __m128i zero = _mm_setzero_si128(), full = _mm_set1_epi16(32767);
  int active = nChannels;
  for (int k0 = 0; k0 < nFrames && active; k0 += kBlock) {
    const int k1 = nFrames - k0 < kBlock ? nFrames : k0 + kBlock;
    const size_t first = size_t(k0) * nChannels, last = size_t(k1) * nChannels;
    const size_t bulkEnd = first + ((last - first) & ~size_t(7));
    __m128i vmax = zero, vfull = zero;
    for (size_t i = first; i < bulkEnd; i += 8) {
      __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(d + i));
      __m128i a = _mm_max_epi16(x, _mm_subs_epi16(zero, x));  // -32768 reads 32767
      vmax = _mm_max_epi16(vmax, a);
      vfull = _mm_or_si128(vfull, _mm_cmpeq_epi16(a, full));
    }
    alignas(16) std::int16_t lm[8], lf[8];
    _mm_store_si128(reinterpret_cast<__m128i *>(lm), vmax);
    _mm_store_si128(reinterpret_cast<__m128i *>(lf), vfull);
    for (int c = 0; c < nChannels; ++c) {
      Search &st = s[c];
      if (st.stopped) continue;
      int m = 0;
      bool anyFull = false;
      for (int l = c; l < 8; l += lanesPerFrame) {
        if (lm[l] > m) m = lm[l];
        anyFull |= lf[l] != 0;
      }
      for (size_t i = bulkEnd + c; i < last; i += nChannels) {  // the tail
        int v = d[i], a = v < 0 ? (v == -32768 ? 32767 : -v) : v;
        if (a > m) m = a;
        anyFull |= a == 32767;
      }
      if (anyFull) {
        for (int k = k0; k < k1 && !st.stopped; ++k) {
          int v = d[size_t(k) * nChannels + c];
          std::int64_t a = v < 0 ? (v == -32768 ? 32767 : -v) : v;
          Step<std::int64_t>(st, a, 32767, false, k, nClipRun);
        }
        if (st.stopped) --active;
        continue;
      }
      st.run = 0;
      if (m >= st.max) {
        st.max = m;
        for (int k = k1; k-- > k0;) {
          int v = d[size_t(k) * nChannels + c];
          if ((v < 0 ? -v : v) == m) {
            st.pos = k;
            break;
          }
        }
      }
    }
  }
  for (int c = 0; c < nChannels; ++c) Finish(s[c], 1.0 / 32768.0, pPeaks[c]);
}

void WINAPI FindInt16Peaks(int nChannels, int nClipRun, const void *pData, int nFrames,
                           tGVCHANNELPEAK *pPeaks) {
  if (nChannels == 1 || nChannels == 2 || nChannels == 4 || nChannels == 8)
    FindInt16Simd(nChannels, nClipRun, static_cast<const std::int16_t *>(pData), nFrames, pPeaks);
  else
    FindIntPeaks<GV_SAMPLE_INT16, 32767>(nChannels, nClipRun, pData, nFrames, pPeaks);
}

void WINAPI FindDoublePeaks(int nChannels, int nClipRun, const void *pData, int nFrames,
                            tGVCHANNELPEAK *pPeaks) {
  const unsigned char *p = static_cast<const unsigned char *>(pData);
  for (int c = 0; c < nChannels; ++c) {
    Search st;
    for (int k = 0; k < nFrames && !st.stopped; ++k) {
      double x = ReadFloat<SampleType<GV_SAMPLE_FLOAT64>>(p + (size_t(k) * nChannels + c) * 8);
      Step<double>(st, std::fabs(x), 1.0, false, k, nClipRun);
    }
    pPeaks[c].fPeak = float(st.max);
    pPeaks[c].nPosition = st.pos - st.run;
    pPeaks[c].bClipped = st.clipped ? 1 : 0;
  }
}

// Float32: only each channel's largest |x| and whether any exceeded 1.0
// matter, so the search is a plain SSE2 reduction. NaN lanes read as 0,
// which is what the scalar rule gives them (they never become the peak).
void WINAPI FindFloatPeaks(int nChannels, int, const void *pData, int nFrames,
                           tGVCHANNELPEAK *pPeaks) {
  const float *d = static_cast<const float *>(pData);
  const int position = nFrames > 0 ? nFrames : 0;
  const size_t total = nFrames > 0 ? size_t(nFrames) * nChannels : 0;
  auto scalar = [&](int c) {
    float m = 0;
    bool clipped = false;
    for (size_t i = c; i < total; i += nChannels) {
      float a = std::fabs(d[i]);
      if (a >= m) m = a;
      clipped |= a > 1.0f;
    }
    pPeaks[c] = {m, position, clipped ? 1 : 0};
  };
  if (nChannels != 1 && nChannels != 2 && nChannels != 4) {
    for (int c = 0; c < nChannels; ++c) scalar(c);
    return;
  }
  const __m128 absMask = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF)), one = _mm_set1_ps(1.0f);
  // Four independent accumulators keep the max chains from waiting on each
  // other; lane l of each still holds channel l % nChannels.
  __m128 vmax[4], vclip[4];
  for (int j = 0; j < 4; ++j) vmax[j] = vclip[j] = _mm_setzero_ps();
  const size_t bulk = total & ~size_t(15), quad = total & ~size_t(3);
  auto step = [&](int j, size_t i) {
    __m128 a = _mm_and_ps(_mm_loadu_ps(d + i), absMask);
    a = _mm_and_ps(a, _mm_cmpord_ps(a, a));
    vmax[j] = _mm_max_ps(vmax[j], a);
    vclip[j] = _mm_or_ps(vclip[j], _mm_cmpgt_ps(a, one));
  };
  for (size_t i = 0; i < bulk; i += 16)
    for (int j = 0; j < 4; ++j) step(j, i + 4 * j);
  for (size_t i = bulk; i < quad; i += 4) step(0, i);
  for (int j = 1; j < 4; ++j) {
    vmax[0] = _mm_max_ps(vmax[0], vmax[j]);
    vclip[0] = _mm_or_ps(vclip[0], vclip[j]);
  }
  alignas(16) float lm[4], lc[4];
  _mm_store_ps(lm, vmax[0]);
  _mm_store_ps(lc, vclip[0]);
  for (int c = 0; c < nChannels; ++c) {
    float m = 0;
    bool clipped = false;
    for (int l = c; l < 4; l += nChannels) {
      if (lm[l] > m) m = lm[l];
      std::uint32_t bits;
      std::memcpy(&bits, &lc[l], 4);
      clipped |= bits != 0;
    }
    for (size_t i = quad + c; i < total; i += nChannels) {
      float a = std::fabs(d[i]);
      if (a >= m) m = a;
      clipped |= a > 1.0f;
    }
    pPeaks[c] = {m, position, clipped ? 1 : 0};
  }
}

void WINAPI FindNoPeaks(int nChannels, int, const void *, int, tGVCHANNELPEAK *pPeaks) {
  for (int c = 0; c < nChannels; ++c) pPeaks[c] = {0.0f, 0, 0};
}

GVFINDPEAKSFUNC GetPeakFinder(DWORD sampleType) {
  switch (sampleType) {
    case GV_SAMPLE_UINT8:
    case GV_SAMPLE_INT8:
    case GV_SAMPLE_INT24: return FindNoPeaks;
    case GV_SAMPLE_INT16: return FindInt16Peaks;
    case GV_SAMPLE_INT32: return FindIntPeaks<GV_SAMPLE_INT32, 0x7FFFFFFF>;
    case GV_SAMPLE_INT24IN32: return FindIntPeaks<GV_SAMPLE_INT24IN32, 0x7FFFFF>;
    case GV_SAMPLE_FLOAT32: return FindFloatPeaks;
    case GV_SAMPLE_FLOAT64: return FindDoublePeaks;
  }
  return nullptr;
}

}  // namespace
}  // namespace gv::audio

GVAPI(GVFINDPEAKSFUNC) GvAudio_GetFindPeaksFunction(const WAVEFORMATEX *pwfx) {
  return pwfx ? gv::audio::GetPeakFinder(GvAudio_GetSampleType(pwfx)) : nullptr;
}

GVAPI(HRESULT) GvAudio_FindPeaks(const WAVEFORMATEX *pwfx, int nClipRun, const void *pData,
                                 int nFrames, tGVCHANNELPEAK *pPeaks) {
  if (!pwfx) return E_INVALIDARG;
  if (nFrames == 0) return S_OK;
  GVFINDPEAKSFUNC find = GvAudio_GetFindPeaksFunction(pwfx);
  if (!find) return E_NOTIMPL;
  if (!pPeaks || (!pData && nFrames > 0)) return E_INVALIDARG;
  find(pwfx->nChannels, nClipRun, pData, nFrames, pPeaks);
  return S_OK;
}
