// The JPEG level shift between 8-bit samples and signed 16-bit values.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/level_shift.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/level_shift.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void Sub128Row(const uint8_t* src, int16_t* dst, int32_t width) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto bias = hn::Set(d16, 128);
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d16));
  int32_t x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::StoreU(hn::Sub(hn::PromoteTo(d16, hn::LoadU(d8, src + x)), bias), d16, dst + x);
  }
  Sub128RowScalar(src + x, dst + x, width - x);
}

void Add128Row(const int16_t* src, uint8_t* dst, int32_t width) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto bias = hn::Set(d16, 128);
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d16));
  int32_t x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::StoreU(hn::DemoteTo(d8, hn::SaturatedAdd(hn::LoadU(d16, src + x), bias)), d8, dst + x);
  }
  Add128RowScalar(src + x, dst + x, width - x);
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/row_parallel.h"
#include "core/unaligned.h"
#include "vekj_impl.h"

namespace vek {

// 16-bit rows may be unaligned: their elements go through Load and Store.
void Sub128RowScalar(const uint8_t* src, int16_t* dst, int32_t width) {
  for (int32_t i = 0; i < width; ++i) Store(dst + i, static_cast<int16_t>(src[i] - 128));
}

void Add128RowScalar(const int16_t* src, uint8_t* dst, int32_t width) {
  for (int32_t i = 0; i < width; ++i) dst[i] = static_cast<uint8_t>(std::clamp(Load(src + i) + 128, 0, 255));
}

HWY_EXPORT(Sub128Row);
HWY_EXPORT(Add128Row);

// Checks the arguments in parameter order, then runs `row` over the region.
template <class Src, class Dst>
VekStatus ShiftRows(const Src* pSrc, int srcStep, Dst* pDst, int dstStep, VekiRoiSize roiSize,
                    void (*row)(const Src*, Dst*, int32_t)) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Step(srcStep).Ptr(pDst).Step(dstStep).Roi(roiSize)) return st;
  ForEachRow(roiSize.width, roiSize.height, [&](int32_t r) {
    row(RowAt(pSrc, srcStep, r), RowAt(pDst, dstStep, r), roiSize.width);
  });
  return vekStsOk;
}

VekStatus impl::vekiSub128_JPEG_8u16s_C1R(const Vek8u* pSrc, int srcStep, Vek16s* pDst, int dstStep,
                                          VekiRoiSize roiSize) {
  return ShiftRows(pSrc, srcStep, pDst, dstStep, roiSize, VEK_PICK(Sub128RowScalar, Sub128Row));
}

VekStatus impl::vekiAdd128_JPEG_16s8u_C1R(const Vek16s* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                          VekiRoiSize roiSize) {
  return ShiftRows(pSrc, srcStep, pDst, dstStep, roiSize, VEK_PICK(Add128RowScalar, Add128Row));
}

}  // namespace vek
#endif  // HWY_ONCE
