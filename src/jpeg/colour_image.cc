// Whole-image 4:4:4 colour conversion and CMYK/YCCK: one row kernel per
// (source layout, destination layout, formula), listed once in
// colour_rows.h, in a plain form and a SIMD form. The SIMD form runs the
// forward, CMYK to YCCK and YCbCr/YCCK inverse rows by pairwise 16-bit
// multiply-adds, and the columns those steps leave on 32-bit lanes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/colour_image.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/colour_rows.h"
#include "jpeg/colour_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace {

using namespace colour;  // NOLINT

// Whole vectors over the columns that share one formula (16-bit pairs where
// the kernel has them, then 32-bit lanes), then the plain form for the rest
// of the row.
template <class In, class Out, class F>
void ConvertRowSimd(const SrcRow& src, const DstRow& dst, int32_t width, uint8_t fill) {
  const hn::ScalableTag<int32_t> d;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  const int32_t end = F::VectorEnd(width);
  int32_t x = 0;
#if HWY_TARGET != HWY_SCALAR
  if constexpr (kForwardMadd<In, F> && In::kKind == Kind::kInterleaved) {
    // Stop where a step's loads would pass the row.
    using Loader = PairLoader<In, hn::ScalableTag<int32_t>>;
    const Loader loader;
    const auto order = SumsInRowOrder(d, Loader::kLayout);
    const RowPrefetch prefetch(Ptr<uint8_t>(src, 0), In::kPixelBytes * width);
    for (; x + 4 * lanes <= end && In::kPixelBytes * x + Loader::BytesRead(lanes) <= In::kPixelBytes * width;
         x += 4 * lanes) {
      prefetch.Step(In::kPixelBytes * x, In::kPixelBytes * 4 * lanes);
      ForwardPairsStep<Out, F>(loader, order, src, dst, x);
    }
  }
#if HWY_TARGET <= HWY_AVX3
  if constexpr (kForwardMadd<In, F> && In::kKind != Kind::kInterleaved) {
    const FieldPairLoader<In> loader;
    const auto order = SumsInRowOrder(d, loader.kLayout);
    for (; x + loader.kPixels <= end; x += loader.kPixels) ForwardPairsStep<Out, F>(loader, order, src, dst, x);
  }
#endif
  if constexpr (kForwardMadd<In, F>) {
    const auto pairs = static_cast<int32_t>(hn::Lanes(hn::ScalableTag<int16_t>()));
    for (; x + pairs <= end; x += pairs) ForwardMaddStep<In, Out, F>(src, dst, x);
  }
  if constexpr (std::is_same_v<F, ForwardCmyk>) {
    const auto order = SumsInRowOrder(d, In::kKind == Kind::kInterleaved ? SumLayout::kRuns : SumLayout::kQuads);
    // Four planes are four streams the hardware prefetcher keeps up with.
    const RowPrefetch prefetch(Ptr<uint8_t>(src, 0), In::kKind == Kind::kInterleaved ? 4 * width : 0);
    for (; x + 4 * lanes <= end; x += 4 * lanes) {
      prefetch.Step(4 * x, 16 * lanes);
      CmykStep<In>(d, order, src, dst, x);
    }
  }
#if HWY_TARGET <= HWY_AVX3
  if constexpr (kInverseMadd<In, Out, F> && Out::kKind != Kind::kPacked) {
    const InverseWide<Out> wide;
    // Y, Cb and Cr read for an interleaved destination; planes out, and K,
    // the hardware prefetcher keeps up with.
    const int32_t ahead = Out::kKind == Kind::kInterleaved ? width : 0;
    const RowPrefetch y(Ptr<uint8_t>(src, 0), ahead), cb(Ptr<uint8_t>(src, 1), ahead), cr(Ptr<uint8_t>(src, 2), ahead);
    for (; x + wide.kPixels <= end; x += wide.kPixels) {
      y.Step(x, wide.kPixels);
      cb.Step(x, wide.kPixels);
      cr.Step(x, wide.kPixels);
      wide.template Step<F>(src, dst, x, fill);
    }
  }
#endif
  if constexpr (kInverseMadd<In, Out, F>) {
    const auto pairs = static_cast<int32_t>(hn::Lanes(hn::ScalableTag<int16_t>()));
    if constexpr (Out::kKind == Kind::kInterleaved) {
      for (; x + 2 * pairs <= end; x += 2 * pairs) InverseInterleavedPairStep<Out, F>(src, dst, x, fill);
    }
    for (; x + pairs <= end; x += pairs) InverseMaddStep<In, Out, F>(src, dst, x, fill);
  }
#endif
  for (; x + lanes <= end; x += lanes) StorePixels<Out>(d, dst, x, VectorFormula(F{}, d, LoadPixels<In>(d, src, x)), fill);
  ConvertColumns<In, Out, F>(src, dst, x, width, fill);
}

}  // namespace

RowFn ColourRowKernel(colour::RowKernel kernel) {
  switch (kernel) {
#define VEK_CASE(name, in, out, formula) \
  case colour::RowKernel::k##name:       \
    return &ConvertRowSimd<colour::in, colour::out, colour::formula>;
    VEK_COLOUR_ROW_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <type_traits>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/row_parallel.h"
#include "vekj_impl.h"

namespace vek {
namespace {

using namespace colour;  // NOLINT

RowFn ColourRowKernelScalar(RowKernel kernel) {
  switch (kernel) {
#define VEK_CASE(name, in, out, formula) \
  case RowKernel::k##name:               \
    return &ConvertRowScalar<in, out, formula>;
    VEK_COLOUR_ROW_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

}  // namespace

HWY_EXPORT(ColourRowKernel);

namespace {

enum class Threads { kCaller, kShared };

// Every row of the region through one kernel; the threaded members share
// their rows by the 8192-pixel rule.
VekStatus Convert(RowKernel kernel, Threads threads, const SrcImage& src, const DstImage& dst, VekiRoiSize roi,
                  uint8_t fill = 0) {
  const RowFn row = VEK_PICK(ColourRowKernelScalar, ColourRowKernel)(kernel);
  const auto one = [&](int32_t r) { row(src.At(r), dst.At(r), roi.width, fill); };
  if (threads == Threads::kShared) {
    ForEachRow(roi.width, roi.height, one);
  } else {
    for (int32_t r = 0; r < roi.height; ++r) one(r);
  }
  return vekStsOk;
}

// The checks of the 4:4:4 and CMYK/YCCK functions: every pointer (arrays,
// then their planes), both steps, the region.
template <class T>
void CheckPointers(ArgCheck& check, T* p, int planes) {
  if constexpr (std::is_pointer_v<std::remove_cv_t<T>>) {
    check.Planes(p, planes);
  } else {
    check.Ptr(p);
  }
}

template <class S, class D>
VekStatus CheckPlanar(S* src, int srcPlanes, int srcStep, D* dst, int dstPlanes, int dstStep, VekiRoiSize roi) {
  ArgCheck check;
  CheckPointers(check, src, srcPlanes);
  CheckPointers(check, dst, dstPlanes);
  return check.Step(srcStep).Step(dstStep).Roi(roi);
}

}  // namespace

// ---- Forward ------------------------------------------------------------------

#define VEK_FORWARD_C_P(EXPORT, KERNEL, THREADS, SRC_T, PLANES)                                             \
  VekStatus impl::EXPORT(const SRC_T* pSrc, int srcStep, Vek8u* const pDst[PLANES], int dstStep,            \
                         VekiRoiSize roiSize) {                                                             \
    if (VekStatus st = CheckPlanar(pSrc, 0, srcStep, pDst, PLANES, dstStep, roiSize)) return st;           \
    return Convert(RowKernel::KERNEL, Threads::THREADS, OneBuffer(pSrc, srcStep), PlaneArray(pDst, PLANES, dstStep), \
                   roiSize);                                                                                \
  }

VEK_FORWARD_C_P(vekiRGBToYCbCr_JPEG_8u_C3P3R, kRgbC3ToYcc, kShared, Vek8u, 3)
VEK_FORWARD_C_P(vekiBGRToYCbCr_JPEG_8u_C3P3R, kBgrC3ToYcc, kShared, Vek8u, 3)
VEK_FORWARD_C_P(vekiRGBToYCbCr_JPEG_8u_C4P3R, kRgbC4ToYcc, kCaller, Vek8u, 3)
VEK_FORWARD_C_P(vekiBGRToYCbCr_JPEG_8u_C4P3R, kBgrC4ToYcc, kCaller, Vek8u, 3)
VEK_FORWARD_C_P(vekiRGB555ToYCbCr_JPEG_16u8u_C3P3R, kRgb555ToYcc, kCaller, Vek16u, 3)
VEK_FORWARD_C_P(vekiRGB565ToYCbCr_JPEG_16u8u_C3P3R, kRgb565ToYcc, kCaller, Vek16u, 3)
VEK_FORWARD_C_P(vekiBGR555ToYCbCr_JPEG_16u8u_C3P3R, kBgr555ToYcc, kCaller, Vek16u, 3)
VEK_FORWARD_C_P(vekiBGR565ToYCbCr_JPEG_16u8u_C3P3R, kBgr565ToYcc, kCaller, Vek16u, 3)
VEK_FORWARD_C_P(vekiCMYKToYCCK_JPEG_8u_C4P4R, kCmykC4ToYcck, kShared, Vek8u, 4)
#undef VEK_FORWARD_C_P

VekStatus impl::vekiRGBToY_JPEG_8u_C3C1R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                         VekiRoiSize roiSize) {
  if (VekStatus st = CheckPlanar(pSrc, 0, srcStep, pDst, 0, dstStep, roiSize)) return st;
  return Convert(RowKernel::kRgbC3ToY, Threads::kShared, OneBuffer(pSrc, srcStep), OneBuffer(pDst, dstStep), roiSize);
}

VekStatus impl::vekiBGRToY_JPEG_8u_C3C1R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                         VekiRoiSize roiSize) {
  if (VekStatus st = CheckPlanar(pSrc, 0, srcStep, pDst, 0, dstStep, roiSize)) return st;
  return Convert(RowKernel::kBgrC3ToY, Threads::kShared, OneBuffer(pSrc, srcStep), OneBuffer(pDst, dstStep), roiSize);
}

VekStatus impl::vekiRGBToY_JPEG_8u_P3C1R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                         VekiRoiSize roiSize) {
  if (VekStatus st = CheckPlanar(pSrc, 3, srcStep, pDst, 0, dstStep, roiSize)) return st;
  return Convert(RowKernel::kRgbP3ToY, Threads::kShared, PlaneArray(pSrc, 3, srcStep), OneBuffer(pDst, dstStep),
                 roiSize);
}

// ---- Planes to planes -----------------------------------------------------------

#define VEK_PLANES(EXPORT, KERNEL, PLANES)                                                                   \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[PLANES], int srcStep, Vek8u* const pDst[PLANES], int dstStep,  \
                         VekiRoiSize roiSize) {                                                              \
    if (VekStatus st = CheckPlanar(pSrc, PLANES, srcStep, pDst, PLANES, dstStep, roiSize)) return st;        \
    return Convert(RowKernel::KERNEL, Threads::kShared, PlaneArray(pSrc, PLANES, srcStep),                   \
                   PlaneArray(pDst, PLANES, dstStep), roiSize);                                              \
  }
VEK_PLANES(vekiRGBToYCbCr_JPEG_8u_P3R, kRgbP3ToYcc, 3)
VEK_PLANES(vekiYCbCrToRGB_JPEG_8u_P3R, kYccToRgbP3, 3)
VEK_PLANES(vekiCMYKToYCCK_JPEG_8u_P4R, kCmykP4ToYcck, 4)
VEK_PLANES(vekiYCCKToCMYK_JPEG_8u_P4R, kYcckToCmykP4, 4)
#undef VEK_PLANES

// ---- Inverse ------------------------------------------------------------------

#define VEK_INVERSE_P_C(EXPORT, KERNEL, THREADS, DST_T, PLANES)                                             \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[PLANES], int srcStep, DST_T* pDst, int dstStep,            \
                         VekiRoiSize roiSize) {                                                             \
    if (VekStatus st = CheckPlanar(pSrc, PLANES, srcStep, pDst, 0, dstStep, roiSize)) return st;           \
    return Convert(RowKernel::KERNEL, Threads::THREADS, PlaneArray(pSrc, PLANES, srcStep), OneBuffer(pDst, dstStep), \
                   roiSize);                                                                                \
  }

VEK_INVERSE_P_C(vekiYCbCrToRGB_JPEG_8u_P3C3R, kYccToRgbC3, kShared, Vek8u, 3)
VEK_INVERSE_P_C(vekiYCbCrToBGR_JPEG_8u_P3C3R, kYccToBgrC3, kShared, Vek8u, 3)
VEK_INVERSE_P_C(vekiYCbCrToRGB555_JPEG_8u16u_P3C3R, kYccToRgb555, kCaller, Vek16u, 3)
VEK_INVERSE_P_C(vekiYCbCrToRGB565_JPEG_8u16u_P3C3R, kYccToRgb565, kCaller, Vek16u, 3)
VEK_INVERSE_P_C(vekiYCbCrToBGR555_JPEG_8u16u_P3C3R, kYccToBgr555, kCaller, Vek16u, 3)
VEK_INVERSE_P_C(vekiYCbCrToBGR565_JPEG_8u16u_P3C3R, kYccToBgr565, kCaller, Vek16u, 3)
VEK_INVERSE_P_C(vekiYCCKToCMYK_JPEG_8u_P4C4R, kYcckToCmykC4, kShared, Vek8u, 4)
#undef VEK_INVERSE_P_C

// No step check here: pointers, then the region.
#define VEK_INVERSE_P_C4(EXPORT, KERNEL)                                                                     \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep, VekiRoiSize roiSize, \
                         Vek8u aval) {                                                                       \
    if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Planes(pSrc, 3).Roi(roiSize)) return st;             \
    return Convert(RowKernel::KERNEL, Threads::kCaller, PlaneArray(pSrc, 3, srcStep), OneBuffer(pDst, dstStep), \
                   roiSize, aval);                                                                           \
  }

VEK_INVERSE_P_C4(vekiYCbCrToRGB_JPEG_8u_P3C4R, kYccToRgbC4)
VEK_INVERSE_P_C4(vekiYCbCrToBGR_JPEG_8u_P3C4R, kYccToBgrC4)
#undef VEK_INVERSE_P_C4

}  // namespace vek
#endif  // HWY_ONCE
