// The inverse 8x8 DCT in 16-bit fixed point fused with dequantisation and
// the output stage: 16-bit samples, or level-shifted and saturated 8-bit and
// 12-bit samples. Also the reduced members whose corner of non-zero
// coefficients makes them cheaper or trivial.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dct_inverse.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/row_parallel.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"
#include "jpeg/dct_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
// One lane cannot hold a row: the baseline runs the plain forms.
void DctQuantInv16s(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
  DctQuantInv16sScalar(src, dst, invTable);
}
void DctQuantInv8u(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInv8uScalar(src, dst, dstStep, invTable);
}
void DctQuantInv16u(const int16_t* src, uint16_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInv16uScalar(src, dst, dstStep, invTable);
}
void DctQuantInvCorner2(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvCorner2Scalar(src, dst, dstStep, invTable);
}
void DctQuantInvCorner4(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvCorner4Scalar(src, dst, dstStep, invTable);
}
#else
using dct_simd::D8;
using dct_simd::V8;

// The row pass on the dequantised rows u0.. held in one vector: even and odd
// frequencies multiplied in pairs by the row weights give x and 7 - x as
// their sum and difference; rounded to kFrac fractional bits, saturated.
template <int kFrac, class D>
HWY_INLINE hn::Vec<D> InverseRows(D d, hn::Vec<D> c, size_t u0) {
  const hn::Repartition<int32_t, D> d32;
  alignas(16) static constexpr uint8_t kEvenThenOdd[16] = {0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15};
  const auto pairs = hn::BitCast(d32, dct_simd::ShuffleEachRow(d, c, kEvenThenOdd));  // (c0 c2)(c4 c6)(c1 c3)(c5 c7)
  const auto& w = dct::kInvPairs;
  const auto even = dct_simd::PairDot(d32, hn::BitCast(d, hn::Broadcast<0>(pairs)), hn::LoadU(d, &w[0][8 * u0]),
                                      hn::BitCast(d, hn::Broadcast<1>(pairs)), hn::LoadU(d, &w[1][8 * u0]),
                                      hn::Set(d32, 1 << (16 - kFrac)));
  const auto odd =
      dct_simd::PairDot(d32, hn::BitCast(d, hn::Broadcast<2>(pairs)), hn::LoadU(d, &w[2][8 * u0]),
                        hn::BitCast(d, hn::Broadcast<3>(pairs)), hn::LoadU(d, &w[3][8 * u0]), hn::Zero(d32));
  const auto low = hn::ShiftRight<17 - kFrac>(hn::Add(even, odd));                    // x = 0..3
  const auto high = hn::ShiftRight<17 - kFrac>(hn::Shuffle0123(hn::Sub(even, odd)));  // x = 4..7
  return hn::ReorderDemote2To(d, low, high);
}

HWY_INLINE V8 MulQ15(V8 v, int16_t k) { return hn::MulFixedPoint15(v, hn::Set(D8(), k)); }

// The column pass f = A^T g on eight rows at 2^kFrac, rounded to integers.
template <int kFrac>
HWY_INLINE void InverseColumns(V8 (&g)[8]) {
  using hn::Add, hn::Sub;
  const V8 g0 = Add(g[0], hn::Set(D8(), 1 << (kFrac - 1)));  // rounds the final shift
  const V8 e0 = Add(g0, g[4]), e1 = Sub(g0, g[4]);
  const V8 a = Add(g[2], MulQ15(g[6], dct::kTan2Q15)), b = Sub(MulQ15(g[2], dct::kTan2Q15), g[6]);
  const V8 ev[4] = {Add(e0, a), Add(e1, b), Sub(e1, b), Sub(e0, a)};
  const V8 p7 = Add(g[1], MulQ15(g[7], dct::kTan1Q15)), p4 = Sub(MulQ15(g[1], dct::kTan1Q15), g[7]);
  const V8 m7 = Add(g[3], MulQ15(g[5], dct::kTan3Q15)), m4 = Sub(g[5], MulQ15(g[3], dct::kTan3Q15));
  const V8 u = MulQ15(Sub(p7, m7), dct::kCos4Q15), w = MulQ15(Sub(p4, m4), dct::kCos4Q15);
  const V8 od[4] = {Add(p7, m7), Add(u, w), Sub(u, w), Add(p4, m4)};
  for (int k = 0; k < 4; ++k) {
    g[k] = hn::ShiftRight<kFrac>(Add(ev[k], od[k]));
    g[7 - k] = hn::ShiftRight<kFrac>(Sub(ev[k], od[k]));
  }
}

// Dequantises and transforms the top-left kCorner x kCorner coefficients of
// src (8: all); store(r, samples) takes the rows. Rows of zero coefficients
// give zero rows in the row pass (the rounding term stays below one unit), so
// the corner forms skip them and equal the full transform.
template <int kFrac, int kCorner, class StoreRow>
HWY_INLINE void DctQuantInvRows(const int16_t* src, const uint16_t* invTable, const StoreRow& store) {
  const hn::ScalableTag<int16_t> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  constexpr size_t kRows = dct_simd::RowsPerVector(d);
  V8 g[8];
  for (size_t u = 0; u < 8; u += kRows) {
    if (u >= kCorner) {
      for (size_t i = 0; i < kRows; ++i) g[u + i] = hn::Zero(D8());
      continue;
    }
    auto c = hn::Mul(hn::LoadU(d, src + 8 * u), hn::BitCast(d, hn::LoadU(du, invTable + 8 * u)));
    if constexpr (kCorner < 8) c = hn::And(c, hn::LoadU(d, &dct::kCornerMask<kCorner>[8 * u]));
    dct_simd::SplitRows(d, InverseRows<kFrac>(d, c, u), g + u);
  }
  InverseColumns<kFrac>(g);
  for (int r = 0; r < 8; ++r) store(r, g[r]);
}

void DctQuantInv16s(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
  DctQuantInvRows<dct::kInvFracBits8, 8>(src, invTable, [dst](int r, V8 v) { hn::StoreU(v, D8(), dst + 8 * r); });
}

template <int kCorner>
HWY_INLINE void DctQuantInv8uCorner(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  const hn::Rebind<uint8_t, D8> d8;
  DctQuantInvRows<dct::kInvFracBits8, kCorner>(src, invTable, [&](int r, V8 v) {
    hn::StoreU(hn::DemoteTo(d8, hn::SaturatedAdd(v, hn::Set(D8(), 128))), d8, RowAt(dst, dstStep, r));
  });
}

void DctQuantInv8u(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInv8uCorner<8>(src, dst, dstStep, invTable);
}
void DctQuantInvCorner2(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInv8uCorner<2>(src, dst, dstStep, invTable);
}
void DctQuantInvCorner4(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInv8uCorner<4>(src, dst, dstStep, invTable);
}

void DctQuantInv16u(const int16_t* src, uint16_t* dst, int dstStep, const uint16_t* invTable) {
  const hn::RebindToUnsigned<D8> du;
  DctQuantInvRows<dct::kInvFracBits12, 8>(src, invTable, [&](int r, V8 v) {
    const V8 shifted = hn::SaturatedAdd(v, hn::Set(D8(), 2048));
    const V8 clamped = hn::Min(hn::Max(shifted, hn::Zero(D8())), hn::Set(D8(), 4095));
    hn::StoreU(hn::BitCast(du, clamped), du, RowAt(dst, dstStep, r));
  });
}
#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>
#include <cstring>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/unaligned.h"
#include "vekj_impl.h"

namespace vek {

using dct::Add16;
using dct::MulQ15;
using dct::Sub16;

namespace {

// Row u of dequantised coefficients to g_u at 2^frac:
// sum over v of W(u, v, x) c[v], rounded, saturated to 16 bits.
void InverseRow(int u, const int16_t* c, int16_t* g, int frac) {
  for (int x = 0; x < 8; ++x) {
    uint32_t sum = 1u << (16 - frac);
    for (int v = 0; v < 8; ++v) sum += dct::Product32(c[v], dct::kRowWeights[u][v][x]);
    g[x] = dct::Saturate16(dct::ShiftRight32(sum, 17 - frac));
  }
}

// The column pass f = A^T g on one column at 2^frac, rounded to integers.
void InverseColumn(int16_t (&g)[8], int frac) {
  const int16_t g0 = Add16(g[0], static_cast<int16_t>(1 << (frac - 1)));  // rounds the final shift
  const int16_t e0 = Add16(g0, g[4]), e1 = Sub16(g0, g[4]);
  const int16_t a = Add16(g[2], MulQ15(g[6], dct::kTan2Q15)), b = Sub16(MulQ15(g[2], dct::kTan2Q15), g[6]);
  const int16_t ev[4] = {Add16(e0, a), Add16(e1, b), Sub16(e1, b), Sub16(e0, a)};
  const int16_t p7 = Add16(g[1], MulQ15(g[7], dct::kTan1Q15)), p4 = Sub16(MulQ15(g[1], dct::kTan1Q15), g[7]);
  const int16_t m7 = Add16(g[3], MulQ15(g[5], dct::kTan3Q15)), m4 = Sub16(g[5], MulQ15(g[3], dct::kTan3Q15));
  const int16_t u = MulQ15(Sub16(p7, m7), dct::kCos4Q15), w = MulQ15(Sub16(p4, m4), dct::kCos4Q15);
  const int16_t od[4] = {Add16(p7, m7), Add16(u, w), Sub16(u, w), Add16(p4, m4)};
  for (int k = 0; k < 4; ++k) {
    g[k] = static_cast<int16_t>(Add16(ev[k], od[k]) >> frac);
    g[7 - k] = static_cast<int16_t>(Sub16(ev[k], od[k]) >> frac);
  }
}

// Dequantises and transforms src; store(r, c, sample) takes the samples.
template <class Store>
void DctQuantInvPlain(const int16_t* src, const uint16_t* invTable, int frac, const Store& store) {
  int16_t c[64], g[64];
  for (int k = 0; k < 64; ++k) c[k] = dct::Wrap16(src[k] * int32_t{invTable[k]});
  for (int u = 0; u < 8; ++u) InverseRow(u, c + 8 * u, g + 8 * u, frac);
  for (int x = 0; x < 8; ++x) {
    int16_t column[8];
    for (int u = 0; u < 8; ++u) column[u] = g[8 * u + x];
    InverseColumn(column, frac);
    for (int y = 0; y < 8; ++y) store(y, x, column[y]);
  }
}

}  // namespace

void DctQuantInv16sScalar(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
  int16_t out[64];  // dst may be src
  DctQuantInvPlain(src, invTable, dct::kInvFracBits8, [&](int r, int c, int16_t v) { out[8 * r + c] = v; });
  std::memcpy(dst, out, sizeof(out));
}

void DctQuantInv8uScalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvPlain(src, invTable, dct::kInvFracBits8, [&](int r, int c, int16_t v) {
    RowAt(dst, dstStep, r)[c] = static_cast<uint8_t>(std::clamp(v + 128, 0, 255));
  });
}

void DctQuantInv16uScalar(const int16_t* src, uint16_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvPlain(src, invTable, dct::kInvFracBits12, [&](int r, int c, int16_t v) {
    Store(RowAt(dst, dstStep, r) + c, static_cast<uint16_t>(std::clamp(v + 2048, 0, 4095)));
  });
}

namespace {

// The full 8u inverse of a block holding only the top-left n x n coefficients.
template <int N>
void DctQuantInvCornerScalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  int16_t corner[64] = {};
  for (int r = 0; r < N; ++r) std::memcpy(corner + 8 * r, src + 8 * r, sizeof(int16_t) * N);
  DctQuantInv8uScalar(corner, dst, dstStep, invTable);
}

}  // namespace

void DctQuantInvCorner2Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvCornerScalar<2>(src, dst, dstStep, invTable);
}

void DctQuantInvCorner4Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable) {
  DctQuantInvCornerScalar<4>(src, dst, dstStep, invTable);
}

HWY_EXPORT(DctQuantInv16s);
HWY_EXPORT(DctQuantInv8u);
HWY_EXPORT(DctQuantInv16u);
HWY_EXPORT(DctQuantInvCorner2);
HWY_EXPORT(DctQuantInvCorner4);

VekStatus impl::vekiDCTQuantInv8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, const Vek16u* pQuantInvTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Ptr(pQuantInvTable)) return st;
  VEK_PICK(DctQuantInv16sScalar, DctQuantInv16s)(pSrc, pDst, pQuantInvTable);
  return vekStsOk;
}

VekStatus impl::vekiDCTQuantInv8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantInvTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrcDst).Ptr(pQuantInvTable)) return st;
  VEK_PICK(DctQuantInv16sScalar, DctQuantInv16s)(pSrcDst, pSrcDst, pQuantInvTable);
  return vekStsOk;
}

VekStatus impl::vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                    const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInv8uScalar, DctQuantInv8u), pSrc, pDst, dstStep, pQuantInvTable);
}

VekStatus impl::vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const Vek16s* pSrc, Vek16u* pDst, int dstStep,
                                                     const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInv16uScalar, DctQuantInv16u), pSrc, pDst, dstStep, pQuantInvTable);
}

VekStatus impl::vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                        const Vek16u* pQuantInvTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(dstStep).Ptr(pQuantInvTable)) return st;
  // DC / 8 truncated; the sum with 128 is cut to 16 bits before saturating.
  const int32_t product = pSrc[0] * int32_t{pQuantInvTable[0]};
  const auto shifted = static_cast<int16_t>((product >> 3) + 128);
  const auto sample = static_cast<uint8_t>(std::clamp<int>(shifted, 0, 255));
  for (int r = 0; r < 8; ++r) std::memset(RowAt(pDst, dstStep, r), sample, 8);
  return vekStsOk;
}

VekStatus impl::vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                        const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInvCorner2Scalar, DctQuantInvCorner2), pSrc, pDst, dstStep, pQuantInvTable);
}

VekStatus impl::vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                        const Vek16u* pQuantInvTable) {
  return RunInverse(VEK_PICK(DctQuantInvCorner4Scalar, DctQuantInvCorner4), pSrc, pDst, dstStep, pQuantInvTable);
}

}  // namespace vek
#endif  // HWY_ONCE
