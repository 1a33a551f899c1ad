// Whole-image 4:2:2 and 4:1:1 colour conversion, and the interleaved 4:2:2
// pairs to RGB. Every column at scale 2^14 (the pairs: the first whole
// groups of 8), so the SIMD forms work on whole chroma groups: N chroma
// samples and 2N pixels a row per step.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/colour_subsampled.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/colour_simd-inl.h"
#include "jpeg/colour_subsampled.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using colour::DstImage;
using colour::PlaneStore;
using colour::SrcImage;

#if HWY_TARGET != HWY_SCALAR  // one-lane vectors cannot pair lanes: the plain forms serve
namespace {

using D32 = hn::ScalableTag<int32_t>;
using D16 = hn::Repartition<int16_t, D32>;  // 2N lanes
using D8 = hn::Rebind<uint8_t, D16>;        // 2N bytes
using D8Half = hn::Rebind<uint8_t, D32>;    // N bytes

template <class Layout>
HWY_INLINE void LoadRgb(const uint8_t* p, hn::Vec<D8>& r, hn::Vec<D8>& g, hn::Vec<D8>& b) {
  hn::Vec<D8> c[4];
  LoadChannels<Layout>(D8(), p, c);
  r = c[0];
  g = c[1];
  b = c[2];
}

}  // namespace
#endif

// One chroma row forward: whole groups by vectors, the rest by the plain form.
template <int kV, class In, int32_t kCbR>
void ForwardChromaRow(const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out) {
  int32_t cx = 0;
#if HWY_TARGET != HWY_SCALAR
  const D32 d32;
  const D8 d8;
  const auto n = static_cast<int32_t>(hn::Lanes(d32));
  const int rows = std::min(kV, h);
  const uint8_t* line[2] = {static_cast<const uint8_t*>(src.base[0]),
                            static_cast<const uint8_t*>(RowAt(src.base[0], src.step[0], rows - 1))};
  uint8_t* luma[2] = {static_cast<uint8_t*>(out.planes.base[0]),
                      static_cast<uint8_t*>(RowAt(out.planes.base[0], out.planes.step[0], rows - 1))};
  auto* cb = static_cast<uint8_t*>(out.planes.base[1]);
  auto* cr = static_cast<uint8_t*>(out.planes.base[2]);
  constexpr int kShift = kV == 2 ? 16 : 15;
  constexpr int32_t kGroup = 2 * kV;
  const auto offset = hn::Set(d32, kGroup * 128 * 16384 + kGroup * 8192);
  // A pair of pixels' chroma terms in one multiply-add per channel: (R0, R1)
  // . (wR, wR) is wR (R0 + R1); the group sums one or two rows of them.
  const D16 d16;
  const auto wr = WeightPair(d16, kCbR, kCbR), wg = WeightPair(d16, -8192 - kCbR, -8192 - kCbR),
             w8192 = WeightPair(d16, 8192, 8192), wgr = WeightPair(d16, -6860, -6860),
             wbr = WeightPair(d16, -1332, -1332);
  for (; 2 * (cx + n) <= w; cx += n) {
    hn::Vec<D32> cbSum = offset, crSum = offset;
    for (int k = 0; k < kV; ++k) {
      hn::Vec<D8> r8, g8, b8;
      LoadRgb<In>(line[k == 0 ? 0 : 1] + In::kPixelBytes * 2 * cx, r8, g8, b8);
      const auto r = hn::PromoteTo(d16, r8), g = hn::PromoteTo(d16, g8), b = hn::PromoteTo(d16, b8);
      if (k < rows) {
        hn::StoreU(ForwardBytes<colour::Forward14Everywhere<colour::kCb2764.r>, 0>(d16, r, g, b), d8, luma[k] + 2 * cx);
      }
      cbSum = hn::Add(cbSum, hn::Add(hn::Add(PairDot(d16, r, wr), PairDot(d16, g, wg)), PairDot(d16, b, w8192)));
      crSum = hn::Add(crSum, hn::Add(hn::Add(PairDot(d16, r, w8192), PairDot(d16, g, wgr)), PairDot(d16, b, wbr)));
    }
    hn::StoreU(hn::DemoteTo(D8Half(), hn::ShiftRight<kShift>(cbSum)), D8Half(), cb + cx);
    hn::StoreU(hn::DemoteTo(D8Half(), hn::ShiftRight<kShift>(crSum)), D8Half(), cr + cx);
  }
#endif
  colour::ForwardChromaRowFrom<kV, In, kCbR>(src, w, h, out, 2 * cx);
}

// Luma rows [r0, r1) of one chroma row. The chroma terms are computed once
// per sample; with 8-bit chroma each lies within -227..226, so Y + term
// saturated to 0..255 equals Y plus the term's positive part minus its
// negative part, both in saturating 8-bit arithmetic. That runs on whole
// byte vectors: 2N chroma samples and 4N pixels a row per step.
template <int kV, class Out>
void InverseRows(const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1, const DstImage& dst,
                 uint8_t fill) {
  int32_t cx = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int16_t, decltype(d8)> d16;
  const hn::Rebind<uint8_t, decltype(d16)> dc8;
  const auto samples = static_cast<int32_t>(hn::Lanes(d16));
  const auto* cb = static_cast<const uint8_t*>(RowAt(in.planes.base[1], in.planes.step[1], r0 / kV));
  const auto* cr = static_cast<const uint8_t*>(RowAt(in.planes.base[2], in.planes.step[2], r0 / kV));
  // A 16-bit lane of 0..255 as two equal bytes: the sample's value for both
  // pixels of its pair.
  const auto twice = [&](hn::Vec<decltype(d16)> v) { return hn::BitCast(d8, hn::Or(v, hn::ShiftLeft<8>(v))); };
  const auto zero = hn::Zero(d16);
  for (; 2 * (cx + samples) <= w; cx += samples) {
    hn::Vec<decltype(d16)> t[3];
    InverseTerms(d16, hn::PromoteTo(d16, hn::LoadU(dc8, cb + cx)), hn::PromoteTo(d16, hn::LoadU(dc8, cr + cx)), t);
    hn::Vec<decltype(d8)> plus[3], minus[3];
    for (int c = 0; c < 3; ++c) {
      plus[c] = twice(hn::Max(t[c], zero));
      minus[c] = twice(hn::Max(hn::Neg(t[c]), zero));
    }
    for (int32_t row = r0; row < r1; ++row) {
      const auto y = hn::LoadU(d8, static_cast<const uint8_t*>(RowAt(in.planes.base[0], in.planes.step[0], row)) + 2 * cx);
      hn::Vec<decltype(d8)> c[4];
      for (int k = 0; k < 3; ++k) c[k] = hn::SaturatedSub(hn::SaturatedAdd(y, plus[k]), minus[k]);
      c[3] = c[0];
      StoreChannels<Out>(d8, c, fill, static_cast<uint8_t*>(RowAt(dst.base[0], dst.step[0], row)) + Out::kPixelBytes * 2 * cx);
    }
  }
#endif
  colour::InverseRowsFrom<kV, Out>(in, w, r0, r1, dst, fill, 2 * cx);
}

// Pairs Y0 Cb Y1 Cr: whole groups of 8 pixels at scale 2^14 by vectors of
// M pixels (M the 16-bit lane count), the rest by the plain form. Read as
// 16-bit words, each pixel's Y is the low byte of its word and a pair's Cb and
// Cr are the high bytes of its 32-bit lane, so one multiply-add per channel
// gives the pair's chroma term, which both its pixels add to their Y.
void PairsRow(const uint8_t* src, uint8_t* dst, int32_t width) {
  int32_t x = 0;
#if HWY_TARGET != HWY_SCALAR
  const D32 d32;
  const D16 d16;
  const hn::RebindToUnsigned<D16> du16;
  const hn::Repartition<uint8_t, D16> dbytes;
  const auto m = static_cast<int32_t>(hn::Lanes(d16));
  const int32_t body = width & ~7;
  const auto term = [&](hn::Vec<D16> chroma, int16_t wCb, int16_t wCr, int32_t k) {
    const auto t = hn::ShiftRight<14>(hn::Add(PairDot(d16, chroma, WeightPair(d16, wCb, wCr)), hn::Set(d32, k)));
    return hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(t)), hn::BitCast(d16, t));
  };
  for (; x + m <= body; x += m) {
    const auto words = hn::BitCast(du16, hn::LoadU(dbytes, src + 2 * x));
    const auto y = hn::BitCast(d16, hn::And(words, hn::Set(du16, 0xFF)));
    const auto chroma = hn::BitCast(d16, hn::ShiftRight<8>(words));
    const hn::Vec<D8> r = hn::DemoteTo(D8(), hn::Add(y, term(chroma, 0, 22970, -2932015)));
    const hn::Vec<D8> c[4] = {r, hn::DemoteTo(D8(), hn::Add(y, term(chroma, -5638, -11700, 2227566))),
                              hn::DemoteTo(D8(), hn::Add(y, term(chroma, 29032, 0, -3707961))), r};
    StoreChannels<colour::RgbC3>(D8(), c, 0, dst + 3 * x);
  }
#endif
  colour::PairsRowFrom(src, dst, width, x);
}

colour::ForwardRowFn SubsampledForwardRow(colour::ForwardKernel kernel) {
  switch (kernel) {
#define VEK_CASE(V, LAYOUT, CB)                 \
  case colour::ForwardKernel::k##V##LAYOUT: \
    return &ForwardChromaRow<V, colour::LAYOUT, CB>;
    VEK_SUBSAMPLED_FORWARD_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

colour::InverseRowFn SubsampledInverseRows(colour::InverseKernel kernel) {
  switch (kernel) {
#define VEK_CASE(V, LAYOUT)                     \
  case colour::InverseKernel::k##V##LAYOUT: \
    return &InverseRows<V, colour::LAYOUT>;
    VEK_SUBSAMPLED_INVERSE_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>
#include <cstdint>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/row_parallel.h"
#include "vekj_impl.h"

namespace vek {
namespace colour {

ForwardRowFn SubsampledForwardRowScalar(ForwardKernel kernel) {
  switch (kernel) {
#define VEK_CASE(V, LAYOUT, CB)     \
  case ForwardKernel::k##V##LAYOUT: \
    return [](const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out) { \
      ForwardChromaRowFrom<V, LAYOUT, CB>(src, w, h, out, 0);                              \
    };
    VEK_SUBSAMPLED_FORWARD_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

InverseRowFn SubsampledInverseRowsScalar(InverseKernel kernel) {
  switch (kernel) {
#define VEK_CASE(V, LAYOUT)                                                                        \
  case InverseKernel::k##V##LAYOUT:                                                                \
    return [](const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1, const DstImage& dst, \
              uint8_t fill) { InverseRowsFrom<V, LAYOUT>(in, w, r0, r1, dst, fill, 0); };
    VEK_SUBSAMPLED_INVERSE_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

// Pairs Y0 Cb Y1 Cr to RGB: the first 8*floor(w/8) pixels at scale 2^14, the
// rest pair by pair through the tables, so that an odd width converts the
// whole last pair, one pixel past the region.
void PairsRowFrom(const uint8_t* src, uint8_t* dst, int32_t width, int32_t x0) {
  const SrcRow in{{src}};
  const DstRow out{{dst}};
  const int32_t body = width & ~7;
  for (int32_t x = x0; x < width + (width & 1); ++x) {
    const Px p = Pairs422::Get(in, x);
    const Rgb v = x < body ? Inverse14(p[0], p[1], p[2], kPlaneOffsets) : Inverse16(p[0], p[1], p[2]);
    RgbC3::Put(out, x, {v.r, v.g, v.b, 0}, 0);
  }
}

void PairsRowScalar(const uint8_t* src, uint8_t* dst, int32_t width) { PairsRowFrom(src, dst, width, 0); }

}  // namespace colour

HWY_EXPORT(SubsampledForwardRow);
HWY_EXPORT(SubsampledInverseRows);
HWY_EXPORT(PairsRow);

namespace colour {

// The 4:2:2 functions need two columns, the 4:1:1 functions two columns and
// two rows; an odd side is converted with a warning.
template <int kV>
VekStatus SubsampledSize(VekiRoiSize roi) {
  if (roi.width < 2 || roi.height < kV) return vekStsBadSize;
  return (roi.width % 2 != 0 || (kV == 2 && roi.height % 2 != 0)) ? vekStsDoubleSize : vekStsOk;
}

template <ForwardKernel kKernel, int kV>
VekStatus ForwardSubsampled(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], const int dstStep[3],
                            VekiRoiSize roi) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Planes(pDst, 3).Ptr(dstStep)) return st;
  const VekStatus status = SubsampledSize<kV>(roi);
  if (status < 0) return status;
  const ForwardRowFn row = VEK_PICK(SubsampledForwardRowScalar, SubsampledForwardRow)(kKernel);
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

template <InverseKernel kKernel, int kV>
VekStatus InverseSubsampled(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,
                            VekiRoiSize roi, uint8_t fill) {
  if (VekStatus st = ArgCheck().Planes(pSrc, 3).Ptr(srcStep).Ptr(pDst)) return st;
  const VekStatus status = SubsampledSize<kV>(roi);
  if (status < 0) return status;
  const InverseRowFn rows = VEK_PICK(SubsampledInverseRowsScalar, SubsampledInverseRows)(kKernel);
  const PlaneStore<const uint8_t> in{PlaneArray(pSrc, 3, srcStep)};
  const DstImage dst = OneBuffer(pDst, dstStep);
  for (int32_t r = 0; r < roi.height; r += kV) rows(in, roi.width, r, std::min(r + kV, roi.height), dst, fill);
  return status;
}

}  // namespace colour

using colour::ForwardKernel;
using colour::ForwardSubsampled;
using colour::InverseKernel;
using colour::InverseSubsampled;

#define VEK_FORWARD(EXPORT, V, IN)                                                                       \
  VekStatus impl::EXPORT(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], const int dstStep[3],         \
                         VekiRoiSize roiSize) {                                                              \
    return ForwardSubsampled<ForwardKernel::k##V##IN, V>(pSrc, srcStep, pDst, dstStep, roiSize);                              \
  }
VEK_FORWARD(vekiRGBToYCbCr422_JPEG_8u_C3P3R, 1, RgbC3)
VEK_FORWARD(vekiBGRToYCbCr422_JPEG_8u_C3P3R, 1, BgrC3)
VEK_FORWARD(vekiRGBToYCbCr422_JPEG_8u_C4P3R, 1, RgbC4)
VEK_FORWARD(vekiBGRToYCbCr422_JPEG_8u_C4P3R, 1, BgrC4)
VEK_FORWARD(vekiRGBToYCbCr411_JPEG_8u_C3P3R, 2, RgbC3)
VEK_FORWARD(vekiBGRToYCbCr411_JPEG_8u_C3P3R, 2, BgrC3)
VEK_FORWARD(vekiRGBToYCbCr411_JPEG_8u_C4P3R, 2, RgbC4)
VEK_FORWARD(vekiBGRToYCbCr411_JPEG_8u_C4P3R, 2, BgrC4)
#undef VEK_FORWARD

#define VEK_INVERSE(EXPORT, V, OUT)                                                                          \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,         \
                         VekiRoiSize roiSize) {                                                              \
    return InverseSubsampled<InverseKernel::k##V##OUT, V>(pSrc, srcStep, pDst, dstStep, roiSize, 0);                              \
  }
#define VEK_INVERSE_FILL(EXPORT, V, OUT)                                                                     \
  VekStatus impl::EXPORT(const Vek8u* const pSrc[3], const int srcStep[3], Vek8u* pDst, int dstStep,         \
                         VekiRoiSize roiSize, Vek8u aval) {                                                  \
    return InverseSubsampled<InverseKernel::k##V##OUT, V>(pSrc, srcStep, pDst, dstStep, roiSize, aval);                           \
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
  const auto row = VEK_PICK(colour::PairsRowScalar, PairsRow);
  ForEachRow(roiSize.width, roiSize.height, [&](int32_t r) {
    row(RowAt(pSrc, srcStep, r), RowAt(pDst, dstStep, r), roiSize.width);
  });
  return status;
}

}  // namespace vek
#endif  // HWY_ONCE
