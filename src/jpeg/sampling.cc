// Chroma down-sampling by box filters and up-sampling by triangle filters,
// for single rows and whole planes. The row box filters alternate their
// rounding bias from output to output; the whole-plane ones use one bias.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/sampling.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/sampling.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace {

// Outputs [0, n) of a 2:1 box filter; out[k] = (sum of its 2 or 4 inputs +
// bias[k & 1]) >> shift, in 16-bit lanes.
template <int kRows>
int32_t BoxVectors(const uint8_t* a, const uint8_t* b, int32_t n, uint8_t* out, int evenBias, int oddBias) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d16));
  // Lanes alternate even and odd outputs: lane i holds output k + i, k even.
  // A one-lane target leaves the alternating biases to the plain form.
  if (lanes % 2 != 0 && evenBias != oddBias) return 0;
  const auto iota = hn::Iota(d16, 0);
  const auto odd = hn::And(iota, hn::Set(d16, 1));
  const auto bias = hn::IfThenElse(hn::Eq(odd, hn::Zero(d16)), hn::Set(d16, static_cast<int16_t>(evenBias)),
                                   hn::Set(d16, static_cast<int16_t>(oddBias)));
  int32_t k = 0;
  for (; k + lanes <= n; k += lanes) {
    hn::Vec<decltype(d8)> e, o;
    hn::LoadInterleaved2(d8, a + 2 * k, e, o);
    auto sum = hn::Add(hn::PromoteTo(d16, e), hn::PromoteTo(d16, o));
    if constexpr (kRows == 2) {
      hn::LoadInterleaved2(d8, b + 2 * k, e, o);
      sum = hn::Add(sum, hn::Add(hn::PromoteTo(d16, e), hn::PromoteTo(d16, o)));
    }
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<kRows>(hn::Add(sum, bias))), d8, out + k);
  }
  return k;
}

}  // namespace

void DownRowH2V1(const uint8_t* in, int32_t width, uint8_t* out) {
  const int32_t n = (width + 1) / 2, done = BoxVectors<1>(in, nullptr, n, out, 0, 1);
  DownRowH2V1Scalar(in + 2 * done, 2 * (n - done), out + done);  // done is even: the biases line up
}

void DownRowH2V2(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out) {
  const int32_t n = (width + 1) / 2, done = BoxVectors<2>(a, b, n, out, 1, 2);
  DownRowH2V2Scalar(a + 2 * done, b + 2 * done, 2 * (n - done), out + done);
}

void DownPlaneRowH2V1(const uint8_t* in, int32_t srcWidth, uint8_t* out, int32_t n) {
  // Outputs whose two inputs lie inside the source row go by vectors.
  const int32_t inside = std::min(n, srcWidth / 2), done = BoxVectors<1>(in, nullptr, inside, out, 1, 1);
  DownPlaneRowH2V1Scalar(in, srcWidth, out, done, n);
}

void DownPlaneRowH2V2(const uint8_t* a, const uint8_t* b, int32_t srcWidth, uint8_t* out, int32_t n) {
  const int32_t inside = std::min(n, srcWidth / 2), done = BoxVectors<2>(a, b, inside, out, 3, 3);
  DownPlaneRowH2V2Scalar(a, b, srcWidth, out, done, n);
}

// Triangle up-sampling of the interior inputs k in [1, w-2] by vectors, in
// 16-bit lanes: even outputs from (3 c[k] + c[k-1] + e) >> s, odd from
// (3 c[k] + c[k+1] + o) >> s, where c is the input row (H2V1) or the column
// sums 3 a + b (H2V2). Returns the first input k left to the plain form.
template <int kRows>
int32_t TriangleVectors(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out, int32_t outCount) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d16));
  const auto column = [&](int32_t k) {
    const auto near = hn::PromoteTo(d16, hn::LoadU(d8, a + k));
    if constexpr (kRows == 1) return near;
    return hn::Add(hn::Mul(near, hn::Set(d16, 3)), hn::PromoteTo(d16, hn::LoadU(d8, b + k)));
  };
  constexpr int kShift = kRows == 1 ? 2 : 4;
  const auto evenBias = hn::Set(d16, kRows == 1 ? 1 : 8), oddBias = hn::Set(d16, kRows == 1 ? 2 : 7);
  const auto three = hn::Set(d16, 3);
  const auto step = [&](int32_t k) {
    const auto c = hn::Mul(column(k), three);
    const auto even = hn::ShiftRight<kShift>(hn::Add(hn::Add(c, column(k - 1)), evenBias));
    const auto odd = hn::ShiftRight<kShift>(hn::Add(hn::Add(c, column(k + 1)), oddBias));
    hn::StoreInterleaved2(hn::DemoteTo(d8, even), hn::DemoteTo(d8, odd), d8, out + 2 * k);
  };
  int32_t k = 1;
  // Inputs k-1 .. k+lanes must exist and outputs up to 2(k+lanes) must fit.
  const auto fits = [&](int32_t at) { return at >= 1 && at + lanes <= width - 1 && 2 * (at + lanes) <= outCount; };
  for (; fits(k); k += lanes) step(k);
  // The interior's last inputs by one more step that overlaps the previous
  // one (it rewrites the same values), rather than one by one.
  if (k > 1 && k < width - 1 && fits(width - 1 - lanes)) {
    step(width - 1 - lanes);
    k = width - 1;
  }
  return k;
}

void UpRowH2V1(const uint8_t* in, int32_t width, uint8_t* out, int32_t outCount) {
  UpRowH2V1Scalar(in, width, out, outCount, 0, 1);
  const int32_t k = TriangleVectors<1>(in, nullptr, width, out, outCount);
  UpRowH2V1Scalar(in, width, out, outCount, k, width);
}

void UpRowH2V2(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out, int32_t outCount) {
  UpRowH2V2Scalar(a, b, width, out, outCount, 0, 1);
  const int32_t k = TriangleVectors<2>(a, b, width, out, outCount);
  UpRowH2V2Scalar(a, b, width, out, outCount, k, width);
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/row_parallel.h"
#include "vekj_impl.h"

namespace vek {

// ---- Plain forms ---------------------------------------------------------------

void DownRowH2V1Scalar(const uint8_t* in, int32_t width, uint8_t* out) {
  for (int32_t k = 0; k < (width + 1) / 2; ++k) out[k] = static_cast<uint8_t>((in[2 * k] + in[2 * k + 1] + (k & 1)) >> 1);
}

void DownRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out) {
  for (int32_t k = 0; k < (width + 1) / 2; ++k) {
    out[k] = static_cast<uint8_t>((a[2 * k] + a[2 * k + 1] + b[2 * k] + b[2 * k + 1] + 1 + (k & 1)) >> 2);
  }
}

// Outputs [k0, n) of a plane row; inputs past the source width repeat the
// last one.
void DownPlaneRowH2V1Scalar(const uint8_t* in, int32_t srcWidth, uint8_t* out, int32_t k0, int32_t n) {
  for (int32_t k = k0; k < n; ++k) {
    const int32_t x0 = std::min(2 * k, srcWidth - 1), x1 = std::min(2 * k + 1, srcWidth - 1);
    out[k] = static_cast<uint8_t>((in[x0] + in[x1] + 1) >> 1);
  }
}

void DownPlaneRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t srcWidth, uint8_t* out, int32_t k0,
                            int32_t n) {
  for (int32_t k = k0; k < n; ++k) {
    const int32_t x0 = std::min(2 * k, srcWidth - 1), x1 = std::min(2 * k + 1, srcWidth - 1);
    out[k] = static_cast<uint8_t>((a[x0] + a[x1] + b[x0] + b[x1] + 3) >> 2);
  }
}

// Outputs 2k and 2k+1 for the inputs k in [k0, k1) of a w-wide row, the
// first outCount outputs only. The first and last inputs have no outer
// neighbour and take the end rules.
template <class Column, class Even, class Odd, class EndEven, class EndOdd>
void Triangle(int32_t width, uint8_t* out, int32_t outCount, int32_t k0, int32_t k1, const Column& c,
              const Even& even, const Odd& odd, const EndEven& first, const EndOdd& last) {
  for (int32_t k = k0; k < k1; ++k) {
    if (2 * k < outCount) out[2 * k] = static_cast<uint8_t>(k == 0 ? first(c(0)) : even(c(k), c(k - 1)));
    if (2 * k + 1 < outCount) out[2 * k + 1] = static_cast<uint8_t>(k == width - 1 ? last(c(k)) : odd(c(k), c(k + 1)));
  }
}

void UpRowH2V1Scalar(const uint8_t* in, int32_t width, uint8_t* out, int32_t outCount, int32_t k0, int32_t k1) {
  Triangle(
      width, out, outCount, k0, k1, [&](int32_t k) { return int32_t{in[k]}; },
      [](int32_t c, int32_t left) { return (3 * c + left + 1) >> 2; },
      [](int32_t c, int32_t right) { return (3 * c + right + 2) >> 2; }, [](int32_t c) { return c; },
      [](int32_t c) { return c; });
}

void UpRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out, int32_t outCount,
                     int32_t k0, int32_t k1) {
  Triangle(
      width, out, outCount, k0, k1, [&](int32_t k) { return 3 * a[k] + b[k]; },
      [](int32_t c, int32_t left) { return (3 * c + left + 8) >> 4; },
      [](int32_t c, int32_t right) { return (3 * c + right + 7) >> 4; }, [](int32_t c) { return (4 * c + 8) >> 4; },
      [](int32_t c) { return (4 * c + 7) >> 4; });
}

void UpRowH2V1Whole(const uint8_t* in, int32_t width, uint8_t* out, int32_t outCount) {
  UpRowH2V1Scalar(in, width, out, outCount, 0, width);
}
void UpRowH2V2Whole(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out, int32_t outCount) {
  UpRowH2V2Scalar(a, b, width, out, outCount, 0, width);
}
void DownPlaneRowH2V1Whole(const uint8_t* in, int32_t srcWidth, uint8_t* out, int32_t n) {
  DownPlaneRowH2V1Scalar(in, srcWidth, out, 0, n);
}
void DownPlaneRowH2V2Whole(const uint8_t* a, const uint8_t* b, int32_t srcWidth, uint8_t* out, int32_t n) {
  DownPlaneRowH2V2Scalar(a, b, srcWidth, out, 0, n);
}

HWY_EXPORT(DownRowH2V1);
HWY_EXPORT(DownRowH2V2);
HWY_EXPORT(DownPlaneRowH2V1);
HWY_EXPORT(DownPlaneRowH2V2);
HWY_EXPORT(UpRowH2V1);
HWY_EXPORT(UpRowH2V2);

// ---- Rows --------------------------------------------------------------------------

VekStatus impl::vekiSampleDownRowH2V1_Box_JPEG_8u_C1(const Vek8u* pSrc, int srcWidth, Vek8u* pDst) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Size(srcWidth >= 1)) return st;
  VEK_PICK(DownRowH2V1Scalar, DownRowH2V1)(pSrc, srcWidth, pDst);
  return vekStsOk;
}

VekStatus impl::vekiSampleDownRowH2V2_Box_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, int srcWidth,
                                                     Vek8u* pDst) {
  if (VekStatus st = ArgCheck().Ptr(pSrc1).Ptr(pSrc2).Ptr(pDst).Size(srcWidth >= 1)) return st;
  VEK_PICK(DownRowH2V2Scalar, DownRowH2V2)(pSrc1, pSrc2, srcWidth, pDst);
  return vekStsOk;
}

VekStatus impl::vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const Vek8u* pSrc, int srcWidth, Vek8u* pDst) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Size(srcWidth >= 1)) return st;
  VEK_PICK(UpRowH2V1Whole, UpRowH2V1)(pSrc, srcWidth, pDst, 2 * srcWidth);
  return vekStsOk;
}

VekStatus impl::vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, int srcWidth,
                                                        Vek8u* pDst) {
  if (VekStatus st = ArgCheck().Ptr(pSrc1).Ptr(pSrc2).Ptr(pDst).Size(srcWidth >= 1)) return st;
  VEK_PICK(UpRowH2V2Whole, UpRowH2V2)(pSrc1, pSrc2, srcWidth, pDst, 2 * srcWidth);
  return vekStsOk;
}

// ---- Whole planes --------------------------------------------------------------------

namespace {

VekStatus CheckPlanes(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, const Vek8u* pDst, int dstStep,
                      VekiRoiSize dstSize) {
  return ArgCheck().Ptr(pSrc).Step(srcStep).Roi(srcSize).Ptr(pDst).Step(dstStep).Roi(dstSize);
}

}  // namespace

VekStatus impl::vekiSampleDownH2V1_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                               int dstStep, VekiRoiSize dstSize) {
  if (VekStatus st = CheckPlanes(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)) return st;
  const auto row = VEK_PICK(DownPlaneRowH2V1Whole, DownPlaneRowH2V1);
  ForEachRow(dstSize.width, dstSize.height, [&](int32_t r) {
    row(RowAt(pSrc, srcStep, std::min(r, srcSize.height - 1)), srcSize.width, RowAt(pDst, dstStep, r),
        dstSize.width);
  });
  return vekStsOk;
}

VekStatus impl::vekiSampleDownH2V2_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                               int dstStep, VekiRoiSize dstSize) {
  if (VekStatus st = CheckPlanes(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)) return st;
  const auto row = VEK_PICK(DownPlaneRowH2V2Whole, DownPlaneRowH2V2);
  ForEachRow(dstSize.width, dstSize.height, [&](int32_t r) {
    row(RowAt(pSrc, srcStep, std::min(2 * r, srcSize.height - 1)),
        RowAt(pSrc, srcStep, std::min(2 * r + 1, srcSize.height - 1)), srcSize.width, RowAt(pDst, dstStep, r),
        dstSize.width);
  });
  return vekStsOk;
}

VekStatus impl::vekiSampleUpH2V1_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                             int dstStep, VekiRoiSize dstSize) {
  if (VekStatus st = CheckPlanes(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)) return st;
  const auto row = VEK_PICK(UpRowH2V1Whole, UpRowH2V1);
  const int32_t outCount = std::min(dstSize.width, 2 * srcSize.width);
  for (int32_t r = 0; r < std::min(dstSize.height, srcSize.height); ++r) {
    row(RowAt(pSrc, srcStep, r), srcSize.width, RowAt(pDst, dstStep, r), outCount);
  }
  return vekStsOk;
}

// Destination row r: source row r/2 is the nearer row, the one a step above
// (r even) or below (r odd) the farther; no clamping at the region's edges.
VekStatus impl::vekiSampleUpH2V2_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                             int dstStep, VekiRoiSize dstSize) {
  if (VekStatus st = CheckPlanes(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)) return st;
  const auto row = VEK_PICK(UpRowH2V2Whole, UpRowH2V2);
  const int32_t outCount = std::min(dstSize.width, 2 * srcSize.width);
  const int32_t rows = std::min(dstSize.height, 2 * srcSize.height);
  ForEachRow(dstSize.width, dstSize.height, [&](int32_t r) {
    if (r >= rows) return;
    const Vek8u* near = RowAt(pSrc, srcStep, r / 2);
    row(near, RowAt(near, srcStep, r % 2 == 0 ? -1 : 1), srcSize.width, RowAt(pDst, dstStep, r), outCount);
  });
  return vekStsOk;
}

}  // namespace vek
#endif  // HWY_ONCE
