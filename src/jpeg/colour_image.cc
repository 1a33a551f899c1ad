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
  if constexpr (kInverseMadd<F> && Out::kKind != Kind::kPacked) {
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
  if constexpr (kInverseMadd<F>) {
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

// The rows of one buffer (kPlanes 0) or of an array of kPlanes planes.
template <int kPlanes, class T>
auto RowsOf(T* p, int step) {
  if constexpr (kPlanes == 0) {
    return OneBuffer(p, step);
  } else {
    return PlaneArray(p, kPlanes, step);
  }
}

// A whole-image conversion: the checks, then every row through the kernel.
template <RowKernel kKernel, Threads kThreads, int kSrcPlanes, int kDstPlanes, class S, class D>
VekStatus ConvertImage(S* src, int srcStep, D* dst, int dstStep, VekiRoiSize roi) {
  if (VekStatus st = CheckPlanar(src, kSrcPlanes, srcStep, dst, kDstPlanes, dstStep, roi)) return st;
  return Convert(kKernel, kThreads, RowsOf<kSrcPlanes>(src, srcStep), RowsOf<kDstPlanes>(dst, dstStep), roi);
}

// Three planes to four-byte pixels with a constant fourth byte. No step
// check here: pointers, then the region.
template <RowKernel kKernel>
VekStatus ConvertToC4(const Vek8u* const* src, int srcStep, Vek8u* dst, int dstStep, VekiRoiSize roi, Vek8u fourth) {
  if (VekStatus st = ArgCheck().Ptr(src).Ptr(dst).Planes(src, 3).Roi(roi)) return st;
  return Convert(kKernel, Threads::kCaller, PlaneArray(src, 3, srcStep), OneBuffer(dst, dstStep), roi, fourth);
}

}  // namespace

// One export a line: source and destination types (one buffer, or an array
// of planes), the row kernel, whether rows are shared among threads, and the
// plane counts (0: one buffer).
#define VEK_CONVERT_IMAGE(EXPORT, SRC, DST, KERNEL, THREADS, SRC_PLANES, DST_PLANES)                            \
  VekStatus impl::EXPORT(SRC pSrc, int srcStep, DST pDst, int dstStep, VekiRoiSize roiSize) {                   \
    return ConvertImage<RowKernel::KERNEL, Threads::THREADS, SRC_PLANES, DST_PLANES>(pSrc, srcStep, pDst, dstStep, \
                                                                                    roiSize);                     \
  }

// Forward
VEK_CONVERT_IMAGE(vekiRGBToYCbCr_JPEG_8u_C3P3R, const Vek8u*, Vek8u* const*, kRgbC3ToYcc, kShared, 0, 3)
VEK_CONVERT_IMAGE(vekiBGRToYCbCr_JPEG_8u_C3P3R, const Vek8u*, Vek8u* const*, kBgrC3ToYcc, kShared, 0, 3)
VEK_CONVERT_IMAGE(vekiRGBToYCbCr_JPEG_8u_C4P3R, const Vek8u*, Vek8u* const*, kRgbC4ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiBGRToYCbCr_JPEG_8u_C4P3R, const Vek8u*, Vek8u* const*, kBgrC4ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiRGB555ToYCbCr_JPEG_16u8u_C3P3R, const Vek16u*, Vek8u* const*, kRgb555ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiRGB565ToYCbCr_JPEG_16u8u_C3P3R, const Vek16u*, Vek8u* const*, kRgb565ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiBGR555ToYCbCr_JPEG_16u8u_C3P3R, const Vek16u*, Vek8u* const*, kBgr555ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiBGR565ToYCbCr_JPEG_16u8u_C3P3R, const Vek16u*, Vek8u* const*, kBgr565ToYcc, kCaller, 0, 3)
VEK_CONVERT_IMAGE(vekiCMYKToYCCK_JPEG_8u_C4P4R, const Vek8u*, Vek8u* const*, kCmykC4ToYcck, kShared, 0, 4)
VEK_CONVERT_IMAGE(vekiRGBToY_JPEG_8u_C3C1R, const Vek8u*, Vek8u*, kRgbC3ToY, kShared, 0, 0)
VEK_CONVERT_IMAGE(vekiBGRToY_JPEG_8u_C3C1R, const Vek8u*, Vek8u*, kBgrC3ToY, kShared, 0, 0)
VEK_CONVERT_IMAGE(vekiRGBToY_JPEG_8u_P3C1R, const Vek8u* const*, Vek8u*, kRgbP3ToY, kShared, 3, 0)

// Planes to planes
VEK_CONVERT_IMAGE(vekiRGBToYCbCr_JPEG_8u_P3R, const Vek8u* const*, Vek8u* const*, kRgbP3ToYcc, kShared, 3, 3)
VEK_CONVERT_IMAGE(vekiYCbCrToRGB_JPEG_8u_P3R, const Vek8u* const*, Vek8u* const*, kYccToRgbP3, kShared, 3, 3)
VEK_CONVERT_IMAGE(vekiCMYKToYCCK_JPEG_8u_P4R, const Vek8u* const*, Vek8u* const*, kCmykP4ToYcck, kShared, 4, 4)
VEK_CONVERT_IMAGE(vekiYCCKToCMYK_JPEG_8u_P4R, const Vek8u* const*, Vek8u* const*, kYcckToCmykP4, kShared, 4, 4)

// Inverse
VEK_CONVERT_IMAGE(vekiYCbCrToRGB_JPEG_8u_P3C3R, const Vek8u* const*, Vek8u*, kYccToRgbC3, kShared, 3, 0)
VEK_CONVERT_IMAGE(vekiYCbCrToBGR_JPEG_8u_P3C3R, const Vek8u* const*, Vek8u*, kYccToBgrC3, kShared, 3, 0)
VEK_CONVERT_IMAGE(vekiYCbCrToRGB555_JPEG_8u16u_P3C3R, const Vek8u* const*, Vek16u*, kYccToRgb555, kCaller, 3, 0)
VEK_CONVERT_IMAGE(vekiYCbCrToRGB565_JPEG_8u16u_P3C3R, const Vek8u* const*, Vek16u*, kYccToRgb565, kCaller, 3, 0)
VEK_CONVERT_IMAGE(vekiYCbCrToBGR555_JPEG_8u16u_P3C3R, const Vek8u* const*, Vek16u*, kYccToBgr555, kCaller, 3, 0)
VEK_CONVERT_IMAGE(vekiYCbCrToBGR565_JPEG_8u16u_P3C3R, const Vek8u* const*, Vek16u*, kYccToBgr565, kCaller, 3, 0)
VEK_CONVERT_IMAGE(vekiYCCKToCMYK_JPEG_8u_P4C4R, const Vek8u* const*, Vek8u*, kYcckToCmykC4, kShared, 4, 0)
#undef VEK_CONVERT_IMAGE

VekStatus impl::vekiYCbCrToRGB_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                             VekiRoiSize roiSize, Vek8u aval) {
  return ConvertToC4<RowKernel::kYccToRgbC4>(pSrc, srcStep, pDst, dstStep, roiSize, aval);
}

VekStatus impl::vekiYCbCrToBGR_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                             VekiRoiSize roiSize, Vek8u aval) {
  return ConvertToC4<RowKernel::kYccToBgrC4>(pSrc, srcStep, pDst, dstStep, roiSize, aval);
}

}  // namespace vek
#endif  // HWY_ONCE
