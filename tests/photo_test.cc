// The shared test photographs load, and the zig-zag tables are inverse permutations.
#include <gtest/gtest.h>

#include "jpeg/zigzag.h"
#include "support/photo.h"

namespace vek {
namespace {

TEST(TestData, BenchPhotoDecodes) {
  const test::Photo photo = test::LoadJpeg(test::TestDataPath(test::kBenchPhoto));
  EXPECT_EQ(photo.width, 2048);
  EXPECT_EQ(photo.height, 1536);
  EXPECT_EQ(photo.pixels.size(), 2048u * 1536u * 3u);
}

TEST(Zigzag, TablesAreInversePermutations) {
  for (int k = 0; k < 64; ++k) EXPECT_EQ(kNaturalToZigzag[kZigzagToNatural[k]], k);
  EXPECT_EQ(kZigzagToNatural[2], 8);   // the third coefficient is the one below DC
  EXPECT_EQ(kZigzagToNatural[63], 63);
}

}  // namespace
}  // namespace vek
