// The JPEG level shift: exact over all inputs, on every target, width and
// thread count, with the stated order of argument checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "jpeg/level_shift.h"
#include "simd_check.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek {
namespace {

using test::BoundaryWidths;
using test::ForEachSimdTarget;
using test::RandomVector;

TEST(LevelShift, ScalarFormsFollowTheFormulaForEveryValue) {
  std::vector<uint8_t> bytes(256);
  for (int i = 0; i < 256; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
  std::vector<int16_t> shifted(256);
  Sub128RowScalar(bytes.data(), shifted.data(), 256);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(shifted[static_cast<std::size_t>(i)], i - 128);

  std::vector<int16_t> values(65536);
  for (int i = 0; i < 65536; ++i) values[static_cast<std::size_t>(i)] = static_cast<int16_t>(i - 32768);
  std::vector<uint8_t> back(65536);
  Add128RowScalar(values.data(), back.data(), 65536);
  for (int i = 0; i < 65536; ++i) {
    EXPECT_EQ(back[static_cast<std::size_t>(i)], std::clamp(i - 32768 + 128, 0, 255)) << i - 32768;
  }
}

TEST(LevelShift, StatedEdgeValues) {
  const Vek16s src[2] = {-200, 200};
  Vek8u dst[2] = {9, 9};
  ASSERT_EQ(vekiAdd128_JPEG_16s8u_C1R(src, 4, dst, 2, {2, 1}), vekStsOk);
  EXPECT_EQ(dst[0], 0);
  EXPECT_EQ(dst[1], 255);
}

// Both exports over random images with padded, odd steps, against the plain
// forms row by row; every target, every boundary width.
TEST(LevelShift, EveryTargetMatchesScalarAtEveryWidth) {
  ForEachSimdTarget([] {
    for (int32_t w : BoundaryWidths()) {
      const int32_t h = 3, pad = 5;
      const int srcStep = w + pad, dstStep = 2 * w + 2 * pad + 1;  // odd: rows start unaligned
      auto src = RandomVector<uint8_t>(static_cast<std::size_t>(srcStep * h), 0, 255);
      std::vector<uint8_t> dstBytes(static_cast<std::size_t>(dstStep * h + 1), 0xEE);
      auto* dst = reinterpret_cast<Vek16s*>(dstBytes.data() + 1);
      ASSERT_EQ(vekiSub128_JPEG_8u16s_C1R(src.data(), srcStep, dst, dstStep, {w, h}), vekStsOk);
      std::vector<int16_t> want(static_cast<std::size_t>(w));
      for (int32_t r = 0; r < h; ++r) {
        Sub128RowScalar(src.data() + r * srcStep, want.data(), w);  // aligned: the reference
        ASSERT_EQ(std::memcmp(dstBytes.data() + 1 + r * dstStep, want.data(), 2 * static_cast<std::size_t>(w)), 0)
            << "width " << w << " row " << r;
      }
      EXPECT_EQ(dstBytes[static_cast<std::size_t>(1 + 2 * w)], 0xEE) << "wrote past the row, width " << w;

      // The 16-bit source rows start at odd addresses too.
      auto wide = RandomVector<uint8_t>(static_cast<std::size_t>(dstStep * h + 1), 0, 255);
      const auto* wideRows = reinterpret_cast<const Vek16s*>(wide.data() + 1);
      std::vector<uint8_t> out(static_cast<std::size_t>((w + pad) * h), 0xEE);
      ASSERT_EQ(vekiAdd128_JPEG_16s8u_C1R(wideRows, dstStep, out.data(), w + pad, {w, h}), vekStsOk);
      std::vector<uint8_t> expect(static_cast<std::size_t>(w));
      for (int32_t r = 0; r < h; ++r) {
        Add128RowScalar(reinterpret_cast<const int16_t*>(wide.data() + 1 + r * dstStep), expect.data(), w);
        ASSERT_TRUE(std::equal(expect.begin(), expect.end(), out.begin() + r * (w + pad))) << "width " << w;
        EXPECT_EQ(out[static_cast<std::size_t>(r * (w + pad) + w)], 0xEE);
      }
    }
  });
}

TEST(LevelShift, ResultDoesNotDependOnThreadCount) {
  const VekiRoiSize roi = {333, 100};  // above the serial limit
  auto src = RandomVector<Vek16s>(static_cast<std::size_t>(roi.width * roi.height), -400, 400);
  std::vector<Vek8u> first;
  for (int threads : test::kThreadCounts) {
    vekSetNumThreads(threads);
    std::vector<Vek8u> dst(src.size());
    ASSERT_EQ(vekiAdd128_JPEG_16s8u_C1R(src.data(), 2 * roi.width, dst.data(), roi.width, roi), vekStsOk);
    if (first.empty()) first = dst;
    EXPECT_EQ(dst, first) << threads << " threads";
  }
  vekSetNumThreads(0);
}

TEST(LevelShift, ArgumentChecksInParameterOrder) {
  Vek8u bytes[4] = {};
  Vek16s values[4] = {};
  const VekiRoiSize ok = {2, 2}, bad = {0, 2};
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(nullptr, 0, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(bytes, 0, nullptr, 0, bad), vekStsBadStep);
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(bytes, 2, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(bytes, 2, values, 0, bad), vekStsBadStep);
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(bytes, 2, values, 4, bad), vekStsBadSize);
  EXPECT_EQ(vekiSub128_JPEG_8u16s_C1R(bytes, 2, values, 4, {2, -1}), vekStsBadSize);
  EXPECT_EQ(vekiAdd128_JPEG_16s8u_C1R(nullptr, 4, bytes, 2, ok), vekStsNullPtr);
  EXPECT_EQ(vekiAdd128_JPEG_16s8u_C1R(values, -4, nullptr, 2, ok), vekStsBadStep);
  EXPECT_EQ(vekiAdd128_JPEG_16s8u_C1R(values, 4, nullptr, 2, ok), vekStsNullPtr);
  EXPECT_EQ(vekiAdd128_JPEG_16s8u_C1R(values, 4, bytes, 0, ok), vekStsBadStep);
  for (Vek8u b : bytes) EXPECT_EQ(b, 0) << "a refused call wrote";
}

}  // namespace
}  // namespace vek
