// Chroma sampling of rows and planes: exact against the filter rules in every
// form, at every width around the vector boundaries; the stated examples; the
// context rows of the H2V2 up-sampler; thread counts; checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "colour_reference.h"
#include "simd_check.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek {
namespace {

using test::RandomVector;
using Row = std::vector<Vek8u>;

// ---- References ---------------------------------------------------------------------

// The row box filters alternate their bias; width w gives ceil(w/2) outputs
// and an odd width reads in[w] too.
Row BoxRow(const Row& a, const Row* b, int w) {
  Row out(static_cast<std::size_t>((w + 1) / 2));
  for (std::size_t k = 0; k < out.size(); ++k) {
    const int s = a[2 * k] + a[2 * k + 1];
    out[k] = static_cast<Vek8u>(b ? (s + (*b)[2 * k] + (*b)[2 * k + 1] + 1 + static_cast<int>(k % 2)) >> 2
                                  : (s + static_cast<int>(k % 2)) >> 1);
  }
  return out;
}

// Triangle filters: weights 3:1 towards the nearer input; the ends copy (H2V1)
// or weight 4 (H2V2).
Row TriangleRow(const Row& a, const Row* b, int w) {
  std::vector<int> c(static_cast<std::size_t>(w));
  for (std::size_t k = 0; k < c.size(); ++k) c[k] = b ? 3 * a[k] + (*b)[k] : a[k];
  const int shift = b ? 4 : 2, evenBias = b ? 8 : 1, oddBias = b ? 7 : 2;
  Row out(static_cast<std::size_t>(2 * w));
  for (int k = 0; k < w; ++k) {
    const int ck = c[static_cast<std::size_t>(k)];
    const int left = k > 0 ? c[static_cast<std::size_t>(k - 1)] : -1, right = k < w - 1 ? c[static_cast<std::size_t>(k + 1)] : -1;
    out[static_cast<std::size_t>(2 * k)] =
        static_cast<Vek8u>(left < 0 ? (b ? (4 * ck + 8) >> 4 : ck) : (3 * ck + left + evenBias) >> shift);
    out[static_cast<std::size_t>(2 * k + 1)] =
        static_cast<Vek8u>(right < 0 ? (b ? (4 * ck + 7) >> 4 : ck) : (3 * ck + right + oddBias) >> shift);
  }
  return out;
}

TEST(Sampling, StatedExamples) {
  const Row r = {10, 11, 10, 11};
  Row out(2);
  ASSERT_EQ(vekiSampleDownRowH2V1_Box_JPEG_8u_C1(r.data(), 4, out.data()), vekStsOk);
  EXPECT_EQ(out, (Row{10, 11}));
  ASSERT_EQ(vekiSampleDownH2V1_JPEG_8u_C1R(r.data(), 4, {4, 1}, out.data(), 2, {2, 1}), vekStsOk);
  EXPECT_EQ(out, (Row{11, 11}));
  const Row a = {0, 1, 0, 1}, b = {0, 0, 0, 0};
  ASSERT_EQ(vekiSampleDownRowH2V2_Box_JPEG_8u_C1(a.data(), b.data(), 4, out.data()), vekStsOk);
  EXPECT_EQ(out, (Row{0, 0}));
  Row two = a;
  two.insert(two.end(), b.begin(), b.end());
  ASSERT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(two.data(), 4, {4, 2}, out.data(), 2, {2, 1}), vekStsOk);
  EXPECT_EQ(out, (Row{1, 1}));
  const Row ramp = {0, 255};
  Row up(4);
  ASSERT_EQ(vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(ramp.data(), 2, up.data()), vekStsOk);
  EXPECT_EQ(up, (Row{0, 64, 191, 255}));
}

TEST(Sampling, RowsFollowTheRulesInEveryForm) {
  test::ForEachForm([] {
    for (int w : test::BoundaryWidths()) {
      const Row a = RandomVector<Vek8u>(static_cast<std::size_t>(w + 1), 0, 255);
      const Row b = RandomVector<Vek8u>(static_cast<std::size_t>(w + 1), 0, 255);
      Row out(static_cast<std::size_t>(2 * w + 1), 0xEE);
      ASSERT_EQ(vekiSampleDownRowH2V1_Box_JPEG_8u_C1(a.data(), w, out.data()), vekStsOk);
      ASSERT_TRUE(std::equal(out.begin(), out.begin() + (w + 1) / 2, BoxRow(a, nullptr, w).begin())) << w;
      ASSERT_EQ(out[static_cast<std::size_t>((w + 1) / 2)], 0xEE);
      ASSERT_EQ(vekiSampleDownRowH2V2_Box_JPEG_8u_C1(a.data(), b.data(), w, out.data()), vekStsOk);
      ASSERT_TRUE(std::equal(out.begin(), out.begin() + (w + 1) / 2, BoxRow(a, &b, w).begin())) << w;
      if (w < 2) continue;  // the triangle rows want two inputs
      ASSERT_EQ(vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(a.data(), w, out.data()), vekStsOk);
      ASSERT_TRUE(std::equal(out.begin(), out.begin() + 2 * w, TriangleRow(a, nullptr, w).begin())) << w;
      ASSERT_EQ(out[static_cast<std::size_t>(2 * w)], 0xEE);
      ASSERT_EQ(vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(a.data(), b.data(), w, out.data()), vekStsOk);
      ASSERT_TRUE(std::equal(out.begin(), out.begin() + 2 * w, TriangleRow(a, &b, w).begin())) << w;
    }
  });
}

// A plane of w x h random samples with a 0xEE-filled margin, rows `step`
// apart, starting `above` rows into the buffer.
struct Plane {
  int w, h, step, above;
  Row data;
  Plane(int w_, int h_, bool random, int above_ = 0, int below = 0)
      : w(w_), h(h_), step(w_ + 3), above(above_),
        data(random ? RandomVector<Vek8u>(static_cast<std::size_t>((w_ + 3) * (h_ + above_ + below)), 0, 255)
                    : Row(static_cast<std::size_t>((w_ + 3) * (h_ + above_ + below)), 0xEE)) {}
  Vek8u* Base() { return data.data() + above * step; }
  Row RowAt(int r) const {  // r may be -1 or h: the context rows
    const auto start = data.begin() + (r + above) * step;
    return Row(start, start + w + 1);
  }
  int At(int r, int x) const { return data[static_cast<std::size_t>((r + above) * step + x)]; }
};

TEST(Sampling, PlanesFollowTheRulesInEveryForm) {
  test::ForEachForm([] {
    for (int dw : test::BoundaryWidths()) {
      if (dw > 600) continue;
      const int dh = 3;
      // Down: the source exactly twice the destination, and one column and row
      // short (the last column and row are repeated).
      for (int shortBy : {0, 1}) {
        Plane src(2 * dw - shortBy, 2 * dh - shortBy, true), dst(dw, dh, false);
        ASSERT_EQ(vekiSampleDownH2V1_JPEG_8u_C1R(src.Base(), src.step, {src.w, src.h}, dst.Base(), dst.step, {dw, dh}), vekStsOk);
        for (int r = 0; r < dh; ++r) {
          for (int k = 0; k < dw; ++k) {
            const int x0 = std::min(2 * k, src.w - 1), x1 = std::min(2 * k + 1, src.w - 1), rr = std::min(r, src.h - 1);
            ASSERT_EQ(dst.At(r, k), (src.At(rr, x0) + src.At(rr, x1) + 1) >> 1) << dw << " " << k;
          }
          ASSERT_EQ(dst.At(r, dw), 0xEE);
        }
        ASSERT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(src.Base(), src.step, {src.w, src.h}, dst.Base(), dst.step, {dw, dh}), vekStsOk);
        for (int r = 0; r < dh; ++r) {
          const int r0 = std::min(2 * r, src.h - 1), r1 = std::min(2 * r + 1, src.h - 1);
          for (int k = 0; k < dw; ++k) {
            const int x0 = std::min(2 * k, src.w - 1), x1 = std::min(2 * k + 1, src.w - 1);
            ASSERT_EQ(dst.At(r, k), (src.At(r0, x0) + src.At(r0, x1) + src.At(r1, x0) + src.At(r1, x1) + 3) >> 2) << dw;
          }
        }
      }
      // Up: H2V1 row by row; H2V2 with the context rows above and below.
      const int sw = std::max(dw, 2), sh = 3;
      Plane src(sw, sh, true, 1, 1), dst(2 * sw, 2 * sh, false);
      ASSERT_EQ(vekiSampleUpH2V1_JPEG_8u_C1R(src.Base(), src.step, {sw, sh}, dst.Base(), dst.step, {2 * sw, sh}), vekStsOk);
      for (int r = 0; r < sh; ++r) {
        const Row want = TriangleRow(src.RowAt(r), nullptr, sw);
        for (int x = 0; x < 2 * sw; ++x) ASSERT_EQ(dst.At(r, x), want[static_cast<std::size_t>(x)]) << sw;
        ASSERT_EQ(dst.At(r, 2 * sw), 0xEE);
      }
      ASSERT_EQ(vekiSampleUpH2V2_JPEG_8u_C1R(src.Base(), src.step, {sw, sh}, dst.Base(), dst.step, {2 * sw, 2 * sh}), vekStsOk);
      for (int r = 0; r < 2 * sh; ++r) {
        const Row far = src.RowAt(r % 2 == 0 ? r / 2 - 1 : r / 2 + 1);
        const Row want = TriangleRow(src.RowAt(r / 2), &far, sw);
        for (int x = 0; x < 2 * sw; ++x) ASSERT_EQ(dst.At(r, x), want[static_cast<std::size_t>(x)]) << sw << " row " << r;
        ASSERT_EQ(dst.At(r, 2 * sw), 0xEE);
      }
    }
  });
}

TEST(Sampling, ThreadCountDoesNotChangeTheResult) {
  Plane src(1030, 66, true, 1, 1);
  for (int which = 0; which < 3; ++which) {
    Row first;
    for (int threads : test::kThreadCounts) {
      vekSetNumThreads(threads);
      Plane dst(2060, 132, false);
      const VekStatus st = which == 0   ? vekiSampleDownH2V1_JPEG_8u_C1R(src.Base(), src.step, {1030, 66}, dst.Base(), dst.step, {515, 66})
                           : which == 1 ? vekiSampleDownH2V2_JPEG_8u_C1R(src.Base(), src.step, {1030, 66}, dst.Base(), dst.step, {515, 33})
                                        : vekiSampleUpH2V2_JPEG_8u_C1R(src.Base(), src.step, {1030, 66}, dst.Base(), dst.step, {2060, 132});
      ASSERT_EQ(st, vekStsOk);
      if (first.empty()) first = dst.data;
      EXPECT_EQ(dst.data, first) << which << ", " << threads << " threads";
    }
  }
  vekSetNumThreads(0);
}

TEST(Sampling, ArgumentChecksInOrder) {
  Row buf(64, 0);
  const VekiRoiSize ok = {4, 2}, bad = {0, 2};
  EXPECT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(nullptr, 0, bad, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(buf.data(), 0, bad, nullptr, 0, bad), vekStsBadStep);
  EXPECT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(buf.data(), 4, bad, nullptr, 0, bad), vekStsBadSize);
  EXPECT_EQ(vekiSampleDownH2V2_JPEG_8u_C1R(buf.data(), 4, ok, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiSampleUpH2V1_JPEG_8u_C1R(buf.data(), 4, ok, buf.data(), 0, bad), vekStsBadStep);
  EXPECT_EQ(vekiSampleUpH2V2_JPEG_8u_C1R(buf.data(), 4, ok, buf.data(), 8, bad), vekStsBadSize);
  EXPECT_EQ(vekiSampleDownRowH2V1_Box_JPEG_8u_C1(buf.data(), 0, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiSampleDownRowH2V1_Box_JPEG_8u_C1(buf.data(), 0, buf.data()), vekStsBadSize);
  EXPECT_EQ(vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(buf.data(), nullptr, 4, buf.data()), vekStsNullPtr);
  EXPECT_EQ(vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(buf.data(), -3, buf.data()), vekStsBadSize);
  for (Vek8u b : buf) EXPECT_EQ(b, 0) << "a refused call wrote";
}

}  // namespace
}  // namespace vek
