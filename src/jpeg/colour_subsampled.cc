// Whole-image 4:2:2 and 4:1:1 colour conversion, and the interleaved 4:2:2
// pairs to RGB.
#include <algorithm>
#include <cstdint>

#include "core/checks.h"
#include "core/row_parallel.h"
#include "jpeg/colour_groups.h"
#include "vekj_impl.h"

namespace vek {
namespace colour {

// One chroma row of a forward conversion: the kV source rows from src.At(0),
// h of them left in the image (1 or 2), into Y rows from out's row 0 and the
// chroma row 0.
using ForwardRowFn = void (*)(const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out);
// Luma rows [r0, r1) of an inverse conversion.
using InverseRowFn = void (*)(const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1,
                              const DstImage& dst, uint8_t fill);

template <int kV, class In, int32_t kCbR>
void ForwardChromaRowScalar(const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out) {
  ForwardGroups<2, kV, In, PlaneForward<kCbR>, uint8_t>(src, w, h, false, out);
}

template <int kV, class Out>
void InverseRowsScalar(const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1, const DstImage& dst,
                       uint8_t fill) {
  InverseGroups<2, kV, PlaneInverse, Out>(in, false, w, r0, r1, dst, fill);
}

template <int kV, class In, int32_t kCbR>
ForwardRowFn SubsampledForwardKernel() {
  return &ForwardChromaRowScalar<kV, In, kCbR>;
}

template <int kV, class Out>
InverseRowFn SubsampledInverseKernel() {
  return &InverseRowsScalar<kV, Out>;
}

// Pairs Y0 Cb Y1 Cr to RGB: the first 8*floor(w/8) pixels at scale 2^14, the
// rest pair by pair through the tables, so that an odd width converts the
// whole last pair, one pixel past the region.
void PairsRowScalar(const uint8_t* src, uint8_t* dst, int32_t width) {
  const SrcRow in{{src}};
  const DstRow out{{dst}};
  const int32_t body = width & ~7;
  for (int32_t x = 0; x < width + (width & 1); ++x) {
    const Px p = Pairs422::Get(in, x);
    const Rgb v = x < body ? Inverse14(p[0], p[1], p[2], kPlaneOffsets) : Inverse16(p[0], p[1], p[2]);
    RgbC3::Put(out, x, {v.r, v.g, v.b, 0}, 0);
  }
}

using PairsRowFn = void (*)(const uint8_t* src, uint8_t* dst, int32_t width);
PairsRowFn PairsRowKernel() { return &PairsRowScalar; }

// The 4:2:2 functions need two columns, the 4:1:1 functions two columns and
// two rows; an odd side is converted with a warning.
template <int kV>
VekStatus SubsampledSize(VekiRoiSize roi) {
  if (roi.width < 2 || roi.height < kV) return vekStsBadSize;
  return (roi.width % 2 != 0 || (kV == 2 && roi.height % 2 != 0)) ? vekStsDoubleSize : vekStsOk;
}

template <int kV, class In, int32_t kCbR>
VekStatus ForwardSubsampled(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], const int dstStep[3],
                            VekiRoiSize roi) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Planes(pDst, 3).Ptr(dstStep)) return st;
  const VekStatus status = SubsampledSize<kV>(roi);
  if (status < 0) return status;
  const ForwardRowFn row = SubsampledForwardKernel<kV, In, kCbR>();
  const SrcImage src = OneBuffer(pSrc, srcStep);
  const PlaneStore<uint8_t> out{PlaneArray(pDst, 3, dstStep)};
  for (int32_t cy = 0; cy * kV < roi.height; ++cy) {
    SrcImage rows = src;
    rows.base[0] = RowAt(src.base[0], src.step[0], cy * kV);
    PlaneStore<uint8_t> at = out;
    at.planes.base[0] = RowAt(out.planes.base[0], out.planes.step[0], cy * kV);
    for (int c = 1; c < 3; ++c) at.planes.base[c] = RowAt(out.planes.base[c], out.planes.step[c], cy);
    row(rows, roi.width, std::min(kV, roi.height - cy * kV), at);
  }
  return status;
}

template <int kV, class Out>
VekStatus InverseSubsampled(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,
                            VekiRoiSize roi, uint8_t fill) {
  if (VekStatus st = ArgCheck().Planes(pSrc, 3).Ptr(srcStep).Ptr(pDst)) return st;
  const VekStatus status = SubsampledSize<kV>(roi);
  if (status < 0) return status;
  const InverseRowFn rows = SubsampledInverseKernel<kV, Out>();
  const PlaneStore<const uint8_t> in{PlaneArray(pSrc, 3, srcStep)};
  const DstImage dst = OneBuffer(pDst, dstStep);
  for (int32_t r = 0; r < roi.height; r += kV) rows(in, roi.width, r, std::min(r + kV, roi.height), dst, fill);
  return status;
}

}  // namespace colour

using colour::BgrC3;
using colour::BgrC4;
using colour::ForwardSubsampled;
using colour::InverseSubsampled;
using colour::RgbC3;
using colour::RgbC4;

#define VEK_FORWARD(EXPORT, V, IN, CB)                                                                       \
  VekStatus impl::EXPORT(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], const int dstStep[3],         \
                         VekiRoiSize roiSize) {                                                              \
    return ForwardSubsampled<V, IN, CB>(pSrc, srcStep, pDst, dstStep, roiSize);                              \
  }
VEK_FORWARD(vekiRGBToYCbCr422_JPEG_8u_C3P3R, 1, RgbC3, -2764)
VEK_FORWARD(vekiBGRToYCbCr422_JPEG_8u_C3P3R, 1, BgrC3, -2764)
VEK_FORWARD(vekiRGBToYCbCr422_JPEG_8u_C4P3R, 1, RgbC4, -2765)
VEK_FORWARD(vekiBGRToYCbCr422_JPEG_8u_C4P3R, 1, BgrC4, -2765)
VEK_FORWARD(vekiRGBToYCbCr411_JPEG_8u_C3P3R, 2, RgbC3, -2765)
VEK_FORWARD(vekiBGRToYCbCr411_JPEG_8u_C3P3R, 2, BgrC3, -2765)
VEK_FORWARD(vekiRGBToYCbCr411_JPEG_8u_C4P3R, 2, RgbC4, -2765)
VEK_FORWARD(vekiBGRToYCbCr411_JPEG_8u_C4P3R, 2, BgrC4, -2765)
#undef VEK_FORWARD

#define VEK_INVERSE(EXPORT, V, OUT)                                                                          \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,         \
                         VekiRoiSize roiSize) {                                                              \
    return InverseSubsampled<V, OUT>(pSrc, srcStep, pDst, dstStep, roiSize, 0);                              \
  }
#define VEK_INVERSE_FILL(EXPORT, V, OUT)                                                                     \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,         \
                         VekiRoiSize roiSize, Vek8u aval) {                                                  \
    return InverseSubsampled<V, OUT>(pSrc, srcStep, pDst, dstStep, roiSize, aval);                           \
  }
VEK_INVERSE(vekiYCbCr422ToRGB_JPEG_8u_P3C3R, 1, RgbC3)
VEK_INVERSE(vekiYCbCr422ToBGR_JPEG_8u_P3C3R, 1, BgrC3)
VEK_INVERSE_FILL(vekiYCbCr422ToRGB_JPEG_8u_P3C4R, 1, RgbC4)
VEK_INVERSE_FILL(vekiYCbCr422ToBGR_JPEG_8u_P3C4R, 1, BgrC4)
VEK_INVERSE(vekiYCbCr411ToRGB_JPEG_8u_P3C3R, 2, RgbC3)
VEK_INVERSE(vekiYCbCr411ToBGR_JPEG_8u_P3C3R, 2, BgrC3)
VEK_INVERSE_FILL(vekiYCbCr411ToRGB_JPEG_8u_P3C4R, 2, RgbC4)
VEK_INVERSE_FILL(vekiYCbCr411ToBGR_JPEG_8u_P3C4R, 2, BgrC4)
#undef VEK_INVERSE
#undef VEK_INVERSE_FILL

VekStatus impl::vekiYCbCr422ToRGB_JPEG_8u_C2C3R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                                VekiRoiSize roiSize) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst)) return st;
  const VekStatus status = colour::SubsampledSize<1>(roiSize);
  if (status < 0) return status;
  const auto row = colour::PairsRowKernel();
  ForEachRow(roiSize.width, roiSize.height, [&](int32_t r) {
    row(RowAt(pSrc, srcStep, r), RowAt(pDst, dstStep, r), roiSize.width);
  });
  return status;
}

}  // namespace vek
