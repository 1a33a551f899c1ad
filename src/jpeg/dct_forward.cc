// The forward 8x8 DCT in 16-bit fixed point fused with quantisation (and, for
// 8-bit samples, the level shift).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dct_forward.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/row_parallel.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"
#include "jpeg/dct_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// round(x r / 2^15), ties to even, saturated: with p = x r = hi 2^16 + lo
// (x signed, r unsigned, so p fits 32 bits), p / 2^15 = 2 hi + k + f / 2^15
// where lo = k 2^15 + f; f + 16383 + k carries into bit 15 exactly when f
// passes one half, or equals it with 2 hi + k odd.
template <class D>
HWY_INLINE hn::Vec<D> QuantizeTiesToEven(D d, hn::Vec<D> x, hn::Vec<D> r) {
  const hn::RebindToUnsigned<D> du;
  const auto lo = hn::BitCast(du, hn::Mul(x, r));
  const auto hi = hn::Add(hn::MulHigh(x, r), hn::And(x, hn::BroadcastSignBit(r)));  // r read as unsigned
  const auto k = hn::ShiftRight<15>(lo);
  const auto f = hn::And(lo, hn::Set(du, 0x7FFF));
  const auto g = hn::ShiftRight<15>(hn::Add(f, hn::Add(k, hn::Set(du, 16383))));
  return hn::SaturatedAdd(hi, hn::SaturatedAdd(hi, hn::BitCast(d, hn::Add(k, g))));
}

template <class D>
HWY_INLINE hn::Vec<D> LoadTable(D d, const uint16_t* table) {
  return hn::BitCast(d, hn::LoadU(hn::RebindToUnsigned<D>(), table));
}

void QuantizeTiesToEvenBlockSimd(int16_t* block, const uint16_t* fwdTable) {
  const hn::ScalableTag<int16_t> d;
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    hn::StoreU(QuantizeTiesToEven(d, hn::LoadU(d, block + i), LoadTable(d, fwdTable + i)), d, block + i);
  }
}

#if HWY_TARGET == HWY_SCALAR
// One lane cannot hold a row: the baseline runs the plain forms.
void DctQuantFwd16s(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
  DctQuantFwd16sScalar(src, dst, fwdTable);
}
void DctQuantFwd8u(const uint8_t* src, int srcStep, int16_t* dst, const uint16_t* fwdTable) {
  DctQuantFwd8uScalar(src, srcStep, dst, fwdTable);
}
#else
using dct_simd::D8;
using dct_simd::V8;

// c4 (d1 + d2) at 2^4 with the Q15 constant, c4 (d1 - d2) at 2^3 with the
// constant less 2^16 added back; tan(3 pi/16) likewise.
HWY_INLINE V8 MulHighPlus(V8 v, int16_t lessOne) { return hn::Add(v, hn::MulHigh(v, hn::Set(D8(), lessOne))); }
HWY_INLINE V8 MulHighBy(V8 v, int16_t k) { return hn::MulHigh(v, hn::Set(D8(), k)); }

// The column pass o = A f on eight rows at 2^3: tangent butterflies.
HWY_INLINE void ForwardColumns(V8 (&f)[8]) {
  using hn::Add, hn::Sub;
  const V8 s0 = Add(f[0], f[7]), d0 = Sub(f[0], f[7]);
  const V8 s1 = Add(f[1], f[6]), d1 = Sub(f[1], f[6]);
  const V8 s2 = Add(f[2], f[5]), d2 = Sub(f[2], f[5]);
  const V8 s3 = Add(f[3], f[4]), d3 = Sub(f[3], f[4]);
  const V8 p03 = Add(s0, s3), m03 = Sub(s0, s3), p12 = Add(s1, s2), m12 = Sub(s1, s2);
  f[0] = Add(p03, p12);
  f[4] = Sub(p03, p12);
  f[2] = Add(m03, MulHighBy(m12, dct::kTan2));
  f[6] = Sub(MulHighBy(m03, dct::kTan2), m12);
  const V8 p = MulHighBy(hn::ShiftLeft<1>(Add(d1, d2)), dct::kCos4Q15);
  const V8 m = MulHighPlus(Sub(d1, d2), dct::kCos4Less1);
  const V8 tp7 = Add(d0, p), tm7 = Sub(d0, p), tp4 = Add(d3, m), tm4 = Sub(d3, m);
  f[1] = Add(tp7, MulHighBy(tp4, dct::kTan1));
  f[7] = Sub(MulHighBy(tp7, dct::kTan1), tp4);
  f[5] = Add(tm4, MulHighPlus(tm7, dct::kTan3Less1));
  f[3] = Sub(tm7, MulHighPlus(tm4, dct::kTan3Less1));
}

// The row pass on the rows u0.. of o held in one vector: sums and
// differences of x and 7 - x, multiplied in pairs by the row weights,
// + 2^19 >> 20, saturated to 16 bits.
template <class D>
HWY_INLINE hn::Vec<D> ForwardRows(D d, hn::Vec<D> o, size_t u0) {
  const hn::Repartition<int32_t, D> d32;
  const hn::Repartition<int64_t, D> d64;
  const auto mirrored = dct_simd::ReverseEachRow(d, o);
  const auto a = hn::BitCast(d32, hn::Add(o, mirrored)), b = hn::BitCast(d32, hn::Sub(o, mirrored));
  const auto ab = hn::BitCast(d64, hn::InterleaveLower(d32, a, b));  // (a0 a1)(b0 b1)(a2 a3)(b2 b3)
  const auto pairs01 = hn::BitCast(d, hn::InterleaveLower(d64, ab, ab));
  const auto pairs23 = hn::BitCast(d, hn::InterleaveUpper(d64, ab, ab));
  const auto round = hn::Set(d32, 1 << 19);
  const auto& w = dct::kFwdPairs;
  const auto low =
      dct_simd::PairDot(d32, pairs01, hn::LoadU(d, &w[0][8 * u0]), pairs23, hn::LoadU(d, &w[1][8 * u0]), round);
  const auto high =
      dct_simd::PairDot(d32, pairs01, hn::LoadU(d, &w[2][8 * u0]), pairs23, hn::LoadU(d, &w[3][8 * u0]), round);
  return hn::ReorderDemote2To(d, hn::ShiftRight<20>(low), hn::ShiftRight<20>(high));
}

// Rows at 2^3 from load(r), transformed and quantised into dst. A bias that
// load left on every sample reaches only the column pass's DC row (sums of
// 8); dcBias removes it there.
template <class LoadRow>
HWY_INLINE void DctQuantFwdRows(const LoadRow& load, int16_t dcBias, int16_t* dst, const uint16_t* fwdTable) {
  V8 f[8];
  for (int r = 0; r < 8; ++r) f[r] = load(r);
  ForwardColumns(f);
  f[0] = hn::Sub(f[0], hn::Set(D8(), dcBias));
  const hn::ScalableTag<int16_t> d;
  constexpr size_t kRows = dct_simd::RowsPerVector(d);
  for (size_t u = 0; u < 8; u += kRows) {
    const auto y = ForwardRows(d, dct_simd::JoinRows(d, f + u), u);
    hn::StoreU(QuantizeTiesToEven(d, y, LoadTable(d, fwdTable + 8 * u)), d, dst + 8 * u);
  }
}

void DctQuantFwd16s(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
  DctQuantFwdRows([&](int r) { return hn::ShiftLeft<3>(hn::LoadU(D8(), src + 8 * r)); }, 0, dst, fwdTable);
}

// The level shift of 128 per sample becomes 8 x 8 x 128 at 2^3 on the DC row.
void DctQuantFwd8u(const uint8_t* src, int srcStep, int16_t* dst, const uint16_t* fwdTable) {
  const hn::Rebind<uint8_t, D8> d8;
  DctQuantFwdRows([&](int r) { return hn::ShiftLeft<3>(hn::PromoteTo(D8(), hn::LoadU(d8, RowAt(src, srcStep, r)))); },
                  8 * 8 * 128, dst, fwdTable);
}
#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "core/checks.h"
#include "core/dispatch.h"
#include "core/unaligned.h"
#include "vekj_impl.h"

namespace vek {

using dct::Add16;
using dct::MulHigh16;
using dct::Sub16;

namespace {

int16_t QuantizeTiesToEven(int16_t x, uint16_t r) {
  const int32_t s = (r >> 1) * int32_t{x} + (r & 1) * (x >> 1);
  const int32_t b = ((r & x) & 1) | ((s >> 14) & 1);
  return dct::Saturate16((s + 8191 + b) >> 14);
}

// v + high(v k) for the constants stored 2^16 less than their factor.
int16_t MulHighPlus16(int16_t v, int16_t lessOne) { return Add16(v, MulHigh16(v, lessOne)); }

// The column pass o = A f on one column at 2^3: tangent butterflies.
void ForwardColumn(int16_t (&f)[8]) {
  const int16_t s0 = Add16(f[0], f[7]), d0 = Sub16(f[0], f[7]);
  const int16_t s1 = Add16(f[1], f[6]), d1 = Sub16(f[1], f[6]);
  const int16_t s2 = Add16(f[2], f[5]), d2 = Sub16(f[2], f[5]);
  const int16_t s3 = Add16(f[3], f[4]), d3 = Sub16(f[3], f[4]);
  const int16_t p03 = Add16(s0, s3), m03 = Sub16(s0, s3), p12 = Add16(s1, s2), m12 = Sub16(s1, s2);
  f[0] = Add16(p03, p12);
  f[4] = Sub16(p03, p12);
  f[2] = Add16(m03, MulHigh16(m12, dct::kTan2));
  f[6] = Sub16(MulHigh16(m03, dct::kTan2), m12);
  const int16_t p = MulHigh16(dct::Wrap16(Add16(d1, d2) * 2), dct::kCos4Q15);  // c4 (d1 + d2) at 2^4
  const int16_t m = MulHighPlus16(Sub16(d1, d2), dct::kCos4Less1);             // c4 (d1 - d2) at 2^3
  const int16_t tp7 = Add16(d0, p), tm7 = Sub16(d0, p), tp4 = Add16(d3, m), tm4 = Sub16(d3, m);
  f[1] = Add16(tp7, MulHigh16(tp4, dct::kTan1));
  f[7] = Sub16(MulHigh16(tp7, dct::kTan1), tp4);
  f[5] = Add16(tm4, MulHighPlus16(tm7, dct::kTan3Less1));
  f[3] = Sub16(tm7, MulHighPlus16(tm4, dct::kTan3Less1));
}

// Row u of the column pass's output to coefficients:
// sum over x < 4 of W(u, v, x) (o[x] +- o[7 - x]), + 2^19 >> 20, saturated.
void ForwardRow(int u, const int16_t* o, int16_t* y) {
  int16_t sums[4], differences[4];
  for (int x = 0; x < 4; ++x) {
    sums[x] = Add16(o[x], o[7 - x]);
    differences[x] = Sub16(o[x], o[7 - x]);
  }
  for (int v = 0; v < 8; ++v) {
    const int16_t* folded = v % 2 == 0 ? sums : differences;
    uint32_t sum = 1u << 19;
    for (int x = 0; x < 4; ++x) sum += dct::Product32(folded[x], dct::kRowWeights[u][v][x]);
    y[v] = dct::Saturate16(dct::ShiftRight32(sum, 20));
  }
}

// sample(r, c) gives the block's values; the transform scales them by 2^3.
template <class Sample>
void DctQuantFwdPlain(const Sample& sample, int16_t* dst, const uint16_t* fwdTable) {
  int16_t o[64];
  for (int c = 0; c < 8; ++c) {
    int16_t f[8];
    for (int r = 0; r < 8; ++r) f[r] = dct::Wrap16(sample(r, c) * 8);
    ForwardColumn(f);
    for (int u = 0; u < 8; ++u) o[8 * u + c] = f[u];
  }
  for (int u = 0; u < 8; ++u) ForwardRow(u, o + 8 * u, dst + 8 * u);
  QuantizeTiesToEvenScalar(dst, fwdTable);
}

}  // namespace

void QuantizeTiesToEvenScalar(int16_t* block, const uint16_t* fwdTable) {
  for (int k = 0; k < 64; ++k) block[k] = QuantizeTiesToEven(block[k], fwdTable[k]);
}

void DctQuantFwd16sScalar(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
  DctQuantFwdPlain([src](int r, int c) { return int32_t{src[8 * r + c]}; }, dst, fwdTable);
}

void DctQuantFwd8uScalar(const uint8_t* src, int srcStep, int16_t* dst, const uint16_t* fwdTable) {
  DctQuantFwdPlain([&](int r, int c) { return RowAt(src, srcStep, r)[c] - 128; }, dst, fwdTable);
}

HWY_EXPORT(QuantizeTiesToEvenBlockSimd);
HWY_EXPORT(DctQuantFwd16s);
HWY_EXPORT(DctQuantFwd8u);

void QuantizeTiesToEvenBlock(int16_t* block, const uint16_t* fwdTable) {
  VEK_PICK(QuantizeTiesToEvenScalar, QuantizeTiesToEvenBlockSimd)(block, fwdTable);
}

VekStatus impl::vekiDCTQuantFwd8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, const Vek16u* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Ptr(pQuantFwdTable)) return st;
  VEK_PICK(DctQuantFwd16sScalar, DctQuantFwd16s)(pSrc, pDst, pQuantFwdTable);
  return vekStsOk;
}

VekStatus impl::vekiDCTQuantFwd8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrcDst).Ptr(pQuantFwdTable)) return st;
  VEK_PICK(DctQuantFwd16sScalar, DctQuantFwd16s)(pSrcDst, pSrcDst, pQuantFwdTable);
  return vekStsOk;
}

VekStatus impl::vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const Vek8u* pSrc, int srcStep, Vek16s* pDst,
                                                    const Vek16u* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(srcStep).Ptr(pQuantFwdTable)) return st;
  VEK_PICK(DctQuantFwd8uScalar, DctQuantFwd8u)(pSrc, srcStep, pDst, pQuantFwdTable);
  return vekStsOk;
}

}  // namespace vek
#endif  // HWY_ONCE
