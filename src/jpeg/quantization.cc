// JPEG quantisation tables and the quantisation of 8x8 blocks.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/quantization.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/quantization.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void QuantFwdBlock(int16_t* block, const uint16_t* fwdTable) {
  const hn::ScalableTag<int16_t> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    const auto a = hn::ShiftLeft<3>(hn::LoadU(d, block + i));
    const auto b = hn::BitCast(d, hn::ShiftRight<1>(hn::LoadU(du, fwdTable + i)));
    const auto h = hn::MulHigh(a, b);
    hn::StoreU(hn::ShiftRight<1>(hn::Add(h, hn::Set(d, 1))), d, block + i);
  }
}

void QuantInvBlock(int16_t* block, const uint16_t* invTable) {
  const hn::ScalableTag<int16_t> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    const auto q = hn::BitCast(d, hn::LoadU(du, invTable + i));
    hn::StoreU(hn::Mul(hn::LoadU(d, block + i), q), d, block + i);
  }
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

#include "core/checks.h"
#include "core/dispatch.h"
#include "jpeg/zigzag.h"
#include "vekj_impl.h"

namespace vek {

void QuantFwdBlockScalar(int16_t* block, const uint16_t* fwdTable) {
  for (int k = 0; k < 64; ++k) {
    const auto a = static_cast<int16_t>(block[k] * 8);  // wraps: |x| < 4096 is exact
    const auto b = static_cast<int16_t>(fwdTable[k] >> 1);
    const int32_t h = (int32_t{a} * b) >> 16;
    block[k] = static_cast<int16_t>((h + 1) >> 1);
  }
}

void QuantInvBlockScalar(int16_t* block, const uint16_t* invTable) {
  for (int k = 0; k < 64; ++k) block[k] = static_cast<int16_t>(block[k] * int32_t{invTable[k]});
}

HWY_EXPORT(QuantFwdBlock);
HWY_EXPORT(QuantInvBlock);

namespace {

// The quality factor of the IJG tables: 64 bits, so that every quality
// from 100 up gives a factor of at most 0.
int64_t QualityFactor(int quality) { return quality >= 50 ? 200 - 2 * int64_t{quality} : 5000 / quality; }

// Applies q(Q) to the raw table's quantisers, taken in natural order.
template <class Fn>
void NaturalOrderTable(const Vek8u* raw, Vek16u* table, const Fn& q) {
  for (int n = 0; n < 64; ++n) table[n] = q(raw[kNaturalToZigzag[n]]);
}

}  // namespace

VekStatus impl::vekiQuantFwdRawTableInit_JPEG_8u(Vek8u* pQuantRawTable, int qualityFactor) {
  if (VekStatus st = ArgCheck().Ptr(pQuantRawTable).Arg(qualityFactor >= 1)) return st;
  const int64_t factor = QualityFactor(qualityFactor);
  for (int i = 0; i < 64; ++i) {
    const int64_t v = (pQuantRawTable[i] * factor + 50) / 100;  // truncates toward zero
    pQuantRawTable[i] = static_cast<Vek8u>(std::clamp<int64_t>(v, 1, 255));
  }
  return vekStsOk;
}

VekStatus impl::vekiQuantFwdTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pQuantRawTable).Ptr(pQuantFwdTable)) return st;
  bool zero = false;
  // round(32768 / Q) = (65536 + Q) / 2Q; no ties occur for Q in 1..255.
  NaturalOrderTable(pQuantRawTable, pQuantFwdTable, [&](int q) {
    zero |= q == 0;
    return static_cast<Vek16u>(q == 0 ? 65535 : (65536 + q) / (2 * q));
  });
  return zero ? vekStsDivByZero : vekStsOk;
}

VekStatus impl::vekiQuantInvTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantInvTable) {
  if (VekStatus st = ArgCheck().Ptr(pQuantRawTable).Ptr(pQuantInvTable)) return st;
  NaturalOrderTable(pQuantRawTable, pQuantInvTable, [](int q) { return static_cast<Vek16u>(q); });
  return vekStsOk;
}

VekStatus impl::vekiQuantFwd8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrcDst).Ptr(pQuantFwdTable)) return st;
  VEK_PICK(QuantFwdBlockScalar, QuantFwdBlock)(pSrcDst, pQuantFwdTable);
  return vekStsOk;
}

VekStatus impl::vekiQuantInv8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantInvTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrcDst).Ptr(pQuantInvTable)) return st;
  VEK_PICK(QuantInvBlockScalar, QuantInvBlock)(pSrcDst, pQuantInvTable);
  return vekStsOk;
}

}  // namespace vek
#endif  // HWY_ONCE
