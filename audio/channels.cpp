// The 64 channel routines: one channel of an interleaved buffer into one
// channel of another, converting by the fast (gain 1.0) rule of the pair.
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "convert.h"
#include "convert_rules.h"

namespace gv::audio {
namespace {

template <class D, class S>
void WINAPI CopyChannel(void *pDst, int nDstChannels, int iDstChannel, const void *pSrc,
                        int nSrcChannels, int iSrcChannel, int nFrames) {
  u8 *d = static_cast<u8 *>(pDst);
  const u8 *s = static_cast<const u8 *>(pSrc);
  constexpr std::ptrdiff_t db = D::kBytes, sb = S::kBytes;
  const std::ptrdiff_t nd = nDstChannels, ns = nSrcChannels;
  if constexpr (D::kCode == S::kCode) {
    u8 *dp = d + iDstChannel * db;
    const u8 *sp = s + iSrcChannel * sb;
    if (dp == sp) return;
    for (std::ptrdiff_t k = 0; k < nFrames; ++k) std::memcpy(dp + k * nd * db, sp + k * ns * sb, db);
  } else if constexpr (D::kCode == GV_SAMPLE_UINT8 || D::kCode == GV_SAMPLE_INT8) {
    // Kept from the first release, whose results callers depend on: the
    // frame pointer advances by the channel count and is also indexed by the
    // frame number, so frame k lands on sample i + k * (n + 1).
    for (std::ptrdiff_t k = 0; k < nFrames; ++k)
      FastRule<D, S>::One(d + (iDstChannel + k * (nd + 1)) * db,
                          s + (iSrcChannel + k * (ns + 1)) * sb);
  } else {
    // The same historic stride, walking the index down: frame k lands on
    // sample i + k * n + (nFrames - 1 - k).
    for (std::ptrdiff_t k = 0; k < nFrames; ++k) {
      const std::ptrdiff_t j = nFrames - 1 - k;
      FastRule<D, S>::One(d + (iDstChannel + k * nd + j) * db, s + (iSrcChannel + k * ns + j) * sb);
    }
  }
}

template <size_t... I>
constexpr std::array<GVCOPYCHANNELSFUNC, 64> MakeCopiers(std::index_sequence<I...>) {
  return {{&CopyChannel<SampleType<kComputableTypes[I / 8]>,
                        SampleType<kComputableTypes[I % 8]>>...}};
}

constexpr std::array<GVCOPYCHANNELSFUNC, 64> kCopiers =
    MakeCopiers(std::make_index_sequence<64>{});

}  // namespace

GVCOPYCHANNELSFUNC GetChannelCopier(DWORD dstType, DWORD srcType) {
  const int d = ComputableIndex(dstType), s = ComputableIndex(srcType);
  if (d < 0 || s < 0) return nullptr;
  return kCopiers[d * 8 + s];
}

}  // namespace gv::audio
