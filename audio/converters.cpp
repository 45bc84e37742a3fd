// The 64 converters, generated from the rules of each (destination, source)
// pair. The gain is tested once per buffer: exactly 1.0 takes the fast rule,
// anything else the general rule.
#include <array>
#include <atomic>
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
// over the remaining 0-15 samples; with kScalarOnly the scalar form runs
// over everything. Inlined into each loop below, so the AVX2 loop compiles
// the rule's AVX2 forms inline.
template <class D, class S, bool kScalarOnly, class Rule>
GV_FORCEINLINE void RunBody(u8 *d, const u8 *s, DWORD n, const Rule &rule) {
  constexpr DWORD db = D::kBytes, sb = S::kBytes;
  const DWORD bulk = kScalarOnly ? 0 : n & ~DWORD(15);
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

// The rule is passed by value: stores through d cannot alias it.
template <class D, class S, class Rule>
void RunScalar(u8 *d, const u8 *s, DWORD n, const Rule rule) {
  RunBody<D, S, true>(d, s, n, rule);
}
template <class D, class S, class Rule>
void Run(u8 *d, const u8 *s, DWORD n, const Rule rule) {
  RunBody<D, S, false>(d, s, n, rule);
}
template <class D, class S, class Rule>
GV_AVX2 void RunAvx2(u8 *d, const u8 *s, DWORD n, const Rule rule) {
  RunBody<D, S, false>(d, s, n, rule);
}

// The loop every converter runs: chosen by the processor unless a test has
// forced one.
std::atomic<ConvertPath> g_forcedPath{ConvertPath::Auto};

ConvertPath ActivePath() {
  ConvertPath p = g_forcedPath.load(std::memory_order_relaxed);
  if (p != ConvertPath::Auto) return p;
  return HasAvx2() ? ConvertPath::Avx2 : ConvertPath::Sse2;
}

template <class D, class S, class Rule, class RuleAvx2>
void Dispatch(u8 *d, const u8 *s, DWORD n, const Rule &rule, const RuleAvx2 &ruleAvx2) {
  switch (ActivePath()) {
    case ConvertPath::Avx2: RunAvx2<D, S>(d, s, n, ruleAvx2); break;
    case ConvertPath::Scalar: RunScalar<D, S>(d, s, n, rule); break;
    default: Run<D, S>(d, s, n, rule); break;
  }
}

template <class D, class S>
void WINAPI Convert(void *pDst, const void *pSrc, DWORD nSamples, float gain) {
  u8 *d = static_cast<u8 *>(pDst);
  const u8 *s = static_cast<const u8 *>(pSrc);
  if (gain == 1.0f) {
    if constexpr (D::kCode == S::kCode) {
      if (d != s) std::memmove(d, s, size_t(nSamples) * D::kBytes);
    } else if constexpr (kNarrowIntPair<D, S>) {
      Dispatch<D, S>(d, s, nSamples, NarrowIntRule<D, S>{}, NarrowIntRuleAvx2<D, S>{});
    } else {
      Dispatch<D, S>(d, s, nSamples, FastRule<D, S>{}, FastRuleAvx2<D, S>{});
    }
  } else {
    Dispatch<D, S>(d, s, nSamples, GeneralRule<D, S>(gain), GeneralRuleAvx2<D, S>(gain));
  }
}

template <size_t... I>
constexpr std::array<GVCONVERTFUNC, 64> MakeConverters(std::index_sequence<I...>) {
  return {{&Convert<SampleType<kComputableTypes[I / 8]>, SampleType<kComputableTypes[I % 8]>>...}};
}

constexpr std::array<GVCONVERTFUNC, 64> kConverters =
    MakeConverters(std::make_index_sequence<64>{});

}  // namespace

bool HasAvx2() {
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return has;
}

bool ForceConvertPath(ConvertPath path) {
  if (path == ConvertPath::Avx2 && !HasAvx2()) return false;
  g_forcedPath.store(path, std::memory_order_relaxed);
  return true;
}

GVCONVERTFUNC GetConverter(DWORD dstType, DWORD srcType) {
  const int d = ComputableIndex(dstType), s = ComputableIndex(srcType);
  if (d < 0 || s < 0) return nullptr;
  return kConverters[d * 8 + s];
}

}  // namespace gv::audio
