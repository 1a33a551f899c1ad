// Reduced inverse DCTs: the 4x4 or 2x2 image of an 8x8 block (for 1/2 and
// 1/4 scale decoding), from its top-left 4x4 or 2x2 coefficients.
//
// Sample (x, y) is the block's inverse DCT at the centre of its pixel group,
// with the higher frequencies dropped: sum over u, v < N of C(u) C(v) / 4
// F(v, u) cos((2x + 1) u pi/2N) cos((2y + 1) v pi/2N). Both passes sum in 32
// bits (wrapping) with 13-bit weights; 3 fractional bits pass between them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dct_reduced.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/row_parallel.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
// One lane cannot hold a row: the baseline runs the plain forms.
void DctQuantInvTo4x4(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvTo4x4Scalar(src, dst, dstStep, invTable);
}
void DctQuantInvTo2x2(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvTo2x2Scalar(src, dst, dstStep, invTable);
}
#else
// Lanes are positions x; pass 1 weighs each row's coefficients broadcast
// across lanes, pass 2 each row's result by one weight per output row.
template <int N>
HWY_INLINE void DctQuantInvReduced(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  const hn::FixedTag<int32_t, N> d32;
  const hn::Rebind<int16_t, decltype(d32)> d16;
  const hn::Rebind<uint16_t, decltype(d32)> du16;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const auto& k = dct::kReducedBasis<N>;
  constexpr int kFrac = dct::kReducedFracBits;
  hn::Vec<decltype(d32)> rows[N];
  for (int v = 0; v < N; ++v) {
    const auto q = hn::BitCast(d16, hn::LoadU(du16, invTable + 8 * v));
    const auto c = hn::PromoteTo(d32, hn::Mul(hn::LoadU(d16, src + 8 * v), q));
    alignas(16) int32_t coefficient[N];
    hn::Store(c, d32, coefficient);
    auto sum = hn::Set(d32, 1 << (12 - kFrac));
    for (int u = 0; u < N; ++u) {
      const auto weights = hn::PromoteTo(d32, hn::LoadU(d16, k[u]));
      sum = hn::Add(sum, hn::Mul(hn::Set(d32, coefficient[u]), weights));
    }
    rows[v] = hn::ShiftRight<13 - kFrac>(sum);
  }
  for (int y = 0; y < N; ++y) {
    auto sum = hn::Set(d32, 1 << (12 + kFrac));
    for (int v = 0; v < N; ++v) sum = hn::Add(sum, hn::Mul(rows[v], hn::Set(d32, k[v][y])));
    const auto samples = hn::Add(hn::ShiftRight<13 + kFrac>(sum), hn::Set(d32, 128));
    hn::StoreU(hn::DemoteTo(d8, samples), d8, RowAt(dst, dstStep, y));
  }
}

void DctQuantInvTo4x4(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvReduced<4>(src, dst, dstStep, invTable);
}
void DctQuantInvTo2x2(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvReduced<2>(src, dst, dstStep, invTable);
}
#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

#include "core/checks.h"
#include "core/dispatch.h"
#include "vekj_impl.h"

namespace vek {

namespace {

template <int N>
void DctQuantInvReducedPlain(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  const auto& k = dct::kReducedBasis<N>;
  constexpr int kFrac = dct::kReducedFracBits;
  int32_t rows[N][N];  // rows[v][x] at 2^kFrac
  for (int v = 0; v < N; ++v) {
    for (int x = 0; x < N; ++x) {
      uint32_t sum = 1u << (12 - kFrac);
      for (int u = 0; u < N; ++u) {
        const int16_t c = dct::Wrap16(src[8 * v + u] * int32_t{invTable[8 * v + u]});
        sum += static_cast<uint32_t>(c * k[u][x]);
      }
      rows[v][x] = dct::ShiftRight32(sum, 13 - kFrac);
    }
  }
  for (int y = 0; y < N; ++y) {
    for (int x = 0; x < N; ++x) {
      uint32_t sum = 1u << (12 + kFrac);
      for (int v = 0; v < N; ++v) sum += static_cast<uint32_t>(rows[v][x]) * static_cast<uint32_t>(k[v][y]);
      RowAt(dst, dstStep, y)[x] = static_cast<uint8_t>(std::clamp(dct::ShiftRight32(sum, 13 + kFrac) + 128, 0, 255));
    }
  }
}

}  // namespace

void DctQuantInvTo4x4Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvReducedPlain<4>(src, dst, dstStep, invTable);
}

void DctQuantInvTo2x2Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvReducedPlain<2>(src, dst, dstStep, invTable);
}

HWY_EXPORT(DctQuantInvTo4x4);
HWY_EXPORT(DctQuantInvTo2x2);

VekStatus impl::vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                         const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInvTo4x4Scalar, DctQuantInvTo4x4), pSrc, pDst, dstStep, pQuantInvTable);
}

VekStatus impl::vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                         const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInvTo2x2Scalar, DctQuantInvTo2x2), pSrc, pDst, dstStep, pQuantInvTable);
}

}  // namespace vek
#endif  // HWY_ONCE
