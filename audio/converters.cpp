// The 64 converters, generated from the rules of each (destination, source)
// pair. The gain is tested once per buffer: exactly 1.0 takes the fast rule,
// anything else the general rule.
#include <array>
#include <cstring>
#include <utility>

#include "convert.h"
#include "convert_rules.h"

namespace gv::audio {
namespace {

// Converters whose destination sample is wider, and float-from-integer of
// equal width, run from the last sample down so that they work in place.
template <class D, class S>
constexpr bool kBackward =
    D::kBytes > S::kBytes || (kIsFloat<D> && kIsInt<S> && D::kBytes == S::kBytes);

// The sixteen-sample form of a rule runs over the bulk, the scalar form
// over the remaining 0-15 samples.
template <class D, class S, class Rule>
void Run(u8 *d, const u8 *s, DWORD n, const Rule rule) {  // a copy: stores cannot alias it
  constexpr DWORD db = D::kBytes, sb = S::kBytes;
  const DWORD bulk = n & ~DWORD(15);
  if constexpr (kBackward<D, S>) {
    for (DWORD i = n; i-- > bulk;) rule.One(d + i * db, s + i * sb);
    for (DWORD i = bulk; i != 0;) {
      i -= 16;
      rule.Sixteen(d + i * db, s + i * sb);
    }
  } else {
    for (DWORD i = 0; i < bulk; i += 16) rule.Sixteen(d + i * db, s + i * sb);
    for (DWORD i = bulk; i < n; ++i) rule.One(d + i * db, s + i * sb);
  }
}

// The same loop compiled for AVX2, for rules with a wider sixteen-sample form.
template <class D, class S, class Rule>
GV_AVX2 void RunAvx2(u8 *d, const u8 *s, DWORD n, const Rule rule) {
  constexpr DWORD db = D::kBytes, sb = S::kBytes;
  const DWORD bulk = n & ~DWORD(15);
  if constexpr (kBackward<D, S>) {
    for (DWORD i = n; i-- > bulk;) rule.One(d + i * db, s + i * sb);
    for (DWORD i = bulk; i != 0;) {
      i -= 16;
      rule.Sixteen(d + i * db, s + i * sb);
    }
  } else {
    for (DWORD i = 0; i < bulk; i += 16) rule.Sixteen(d + i * db, s + i * sb);
    for (DWORD i = bulk; i < n; ++i) rule.One(d + i * db, s + i * sb);
  }
}

// Whether the processor and the system support AVX2; asked once.
bool HasAvx2() {
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return has;
}

template <class D, class S>
void WINAPI Convert(void *pDst, const void *pSrc, DWORD nSamples, float gain) {
  u8 *d = static_cast<u8 *>(pDst);
  const u8 *s = static_cast<const u8 *>(pSrc);
  if (gain == 1.0f) {
    if constexpr (D::kCode == S::kCode) {
      if (d != s) std::memmove(d, s, size_t(nSamples) * D::kBytes);
    } else if constexpr (kNarrowIntPair<D, S>) {
      if (HasAvx2()) RunAvx2<D, S>(d, s, nSamples, NarrowIntRuleAvx2<D, S>{});
      else Run<D, S>(d, s, nSamples, NarrowIntRule<D, S>{});
    } else {
      if (HasAvx2()) RunAvx2<D, S>(d, s, nSamples, FastRuleAvx2<D, S>{});
      else Run<D, S>(d, s, nSamples, FastRule<D, S>{});
    }
  } else {
    if (HasAvx2()) RunAvx2<D, S>(d, s, nSamples, GeneralRuleAvx2<D, S>(gain));
    else Run<D, S>(d, s, nSamples, GeneralRule<D, S>(gain));
  }
}

template <size_t... I>
constexpr std::array<GVCONVERTFUNC, 64> MakeConverters(std::index_sequence<I...>) {
  return {{&Convert<SampleType<kComputableTypes[I / 8]>, SampleType<kComputableTypes[I % 8]>>...}};
}

constexpr std::array<GVCONVERTFUNC, 64> kConverters =
    MakeConverters(std::make_index_sequence<64>{});

}  // namespace

GVCONVERTFUNC GetConverter(DWORD dstType, DWORD srcType) {
  const int d = ComputableIndex(dstType), s = ComputableIndex(srcType);
  if (d < 0 || s < 0) return nullptr;
  return kConverters[d * 8 + s];
}

}  // namespace gv::audio
