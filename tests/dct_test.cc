// The 8x8 DCT with quantisation and level shift: the row weights and the
// quantisation rounding exactly, the transforms against a double-precision
// DCT within measured bounds, every target bit for bit against the plain
// forms, the reduced members against the full inverse and a reduced DCT,
// and the order of argument checks.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dct_reference.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"
#include "simd_check.h"
#include "jpeg_syntax.h"
#include "support/photo.h"
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

// `random` random 8u blocks, then every 7th block of the photograph.
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
  // Kept in the test report (--gtest_output=xml) for the record.
  void Record(const std::string& what) const {
    ::testing::Test::RecordProperty(what + " max error", std::to_string(max));
    ::testing::Test::RecordProperty(what + " mean error", std::to_string(Mean()));
  }
};

// ---- Row weights ------------------------------------------------------------

// Among them the tables of outputs 0 and 1: 16384, 22725, 21407, 19266,
// 12873, 8867, 4520 and 22725, 31521, 29692, 26722, 17855, 12299, 6270.
TEST(DctTables, RowWeightsAreScaledCosineProducts) {
  const int factor[8] = {4, 1, 2, 3, 4, 3, 2, 1};
  for (int u = 0; u < 8; ++u)
    for (int v = 0; v < 8; ++v)
      for (int x = 0; x < 8; ++x) {
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
    const Table16 table = Filled(static_cast<Vek16u>(r));
    const auto quantiseAll = [&] {
      std::vector<int16_t> all(65536);
      for (int i = 0; i < 65536; ++i) all[static_cast<std::size_t>(i)] = static_cast<int16_t>(i - 32768);
      for (std::size_t b = 0; b < all.size(); b += 64) QuantizeTiesToEvenBlock(all.data() + b, table.data());
      return all;
    };
    ExpectEveryTargetMatchesScalar(quantiseAll);
    ForceScalarForms(true);
    const auto all = quantiseAll();
    ForceScalarForms(false);
    for (int i = 0; i < 65536; ++i)
      ASSERT_EQ(all[static_cast<std::size_t>(i)], RoundTiesToEven(i - 32768, r)) << "x " << i - 32768 << " r " << r;
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
// measured max 0.76, mean 0.24 (rounding to integers alone gives 0.5, 0.25).
TEST(DctForward, WithinItsRoundingOfTheExactDct) {
  ErrorStats stats;
  for (const auto& s : SampleBlocks(20000)) {
    Coefs out;
    ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(s.data(), 8, out.data(), kUnitFwd.data()), vekStsOk);
    const Block exact = test::ForwardDct(Shifted(s));
    for (int k = 0; k < 64; ++k) stats.Add(out[k] - exact[k]);
  }
  stats.Record("forward DCT");
  EXPECT_LT(stats.max, 0.8);
  EXPECT_LT(stats.Mean(), 0.25);
}

// ---- Inverse transform accuracy --------------------------------------------

// The exact DCT of each level-shifted block, rounded, through `inverse`
// (level shift undone) against the exact inverse of those coefficients,
// clamped to the sample range.
template <class Inverse>
ErrorStats InverseErrors(const std::vector<Block>& blocks, double range, const Inverse& inverse) {
  ErrorStats stats;
  for (const Block& f : blocks) {
    const Block exact = test::ForwardDct(f);
    Coefs coef;
    Block rounded;
    for (int k = 0; k < 64; ++k) rounded[k] = coef[k] = static_cast<Vek16s>(std::lround(exact[k]));
    const std::array<int, 64> out = inverse(coef);
    const auto back = test::InverseDct(rounded, 8);
    for (int k = 0; k < 64; ++k) stats.Add(out[k] - std::clamp(back[static_cast<std::size_t>(k)], -range, range - 1));
  }
  return stats;
}

// Random and photographic 8-bit blocks: measured max 0.75, mean 0.21.
TEST(DctInverse, WithinItsRoundingOfTheExactInverse) {
  std::vector<Block> blocks;
  for (const auto& s : SampleBlocks(20000)) blocks.push_back(Shifted(s));
  const ErrorStats stats = InverseErrors(blocks, 32768, [](const Coefs& coef) {
    Coefs out;
    EXPECT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(coef.data(), out.data(), kUnitInv.data()), vekStsOk);
    std::array<int, 64> samples;
    std::copy(out.begin(), out.end(), samples.begin());
    return samples;
  });
  stats.Record("inverse DCT");
  EXPECT_LT(stats.max, 1.0);
  EXPECT_LT(stats.Mean(), 0.3);
}

// Random 12-bit blocks: measured max 0.96, mean 0.22.
TEST(DctInverse, TwelveBitWithinItsRoundingOfTheExactInverse) {
  std::vector<Block> blocks(5000);
  for (Block& f : blocks)
    for (double& v : f) v = RandomVector<int>(1, 0, 4095)[0] - 2048.0;
  const ErrorStats stats = InverseErrors(blocks, 2048, [](const Coefs& coef) {
    std::array<Vek16u, 64> out;
    EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(coef.data(), out.data(), 16, kUnitInv.data()), vekStsOk);
    std::array<int, 64> samples;
    for (int k = 0; k < 64; ++k) samples[k] = out[k] - 2048;
    return samples;
  });
  stats.Record("12-bit inverse DCT");
  EXPECT_LT(stats.max, 1.0);
  EXPECT_LT(stats.Mean(), 0.3);
}

// The float forward against the exact DCT quantised with the same
// reciprocals: off by one only where the exact value is within float
// rounding of a half.
TEST(DctForward, TwelveBitFloatMatchesTheExactDctQuantised) {
  std::array<float, 64> table;
  for (int k = 0; k < 64; ++k) table[k] = 1.0f / static_cast<float>(1 + k % 7);
  long offByOne = 0;
  for (int i = 0; i < 5000; ++i) {
    const auto samples = RandomVector<Vek16u>(64, 0, 4095);
    Block f;
    for (int k = 0; k < 64; ++k) f[k] = samples[static_cast<std::size_t>(k)] - 2048.0;
    const Block exact = test::ForwardDct(f);
    Coefs out;
    ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples.data(), 16, out.data(), table.data()), vekStsOk);
    for (int k = 0; k < 64; ++k) {
      const double want = exact[k] * table[k];
      ASSERT_LE(std::abs(out[k] - want), 0.5 + 1e-3) << k;
      offByOne += out[k] != std::nearbyint(want);
    }
  }
  EXPECT_LT(offByOne, 5000 * 64 / 100);  // measured 0.19%
}

TEST(DctForward, TwelveBitSaturatesAndShiftsBy2048) {
  std::vector<Vek16u> samples(64, 2048);
  std::array<float, 64> table;
  table.fill(1.0f);
  Coefs out;
  ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples.data(), 16, out.data(), table.data()), vekStsOk);
  EXPECT_EQ(out, Coefs{});
  samples.assign(64, 4095);
  table.fill(100.0f);
  ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples.data(), 16, out.data(), table.data()), vekStsOk);
  EXPECT_EQ(out[0], 32767);
  table.fill(-100.0f);
  ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples.data(), 16, out.data(), table.data()), vekStsOk);
  EXPECT_EQ(out[0], -32768);
}

// ---- Members agree with each other ------------------------------------------

TEST(DctMembers, SixteenBitFormsAgreeWithTheLevelShiftedOnes) {
  const auto fwd = RandomVector<Vek16u>(64, 1, 65535);
  const auto inv = RandomVector<Vek16u>(64, 1, 20);
  for (const auto& s : SampleBlocks(200)) {
    Coefs shifted, viaLs, viaValues, inPlace;
    for (int k = 0; k < 64; ++k) shifted[k] = inPlace[k] = static_cast<Vek16s>(s[k] - 128);
    ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(s.data(), 8, viaLs.data(), fwd.data()), vekStsOk);
    ASSERT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1(shifted.data(), viaValues.data(), fwd.data()), vekStsOk);
    ASSERT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1I(inPlace.data(), fwd.data()), vekStsOk);
    EXPECT_EQ(viaLs, viaValues);
    EXPECT_EQ(viaLs, inPlace);

    // Inverse: samples + 128, saturated, are the 16s samples.
    Coefs samples, samplesInPlace = viaLs;
    std::array<Vek8u, 64> bytes;
    ASSERT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(viaLs.data(), samples.data(), inv.data()), vekStsOk);
    ASSERT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1I(samplesInPlace.data(), inv.data()), vekStsOk);
    ASSERT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(viaLs.data(), bytes.data(), 8, inv.data()), vekStsOk);
    EXPECT_EQ(samples, samplesInPlace);
    for (int k = 0; k < 64; ++k) ASSERT_EQ(bytes[k], std::clamp(samples[k] + 128, 0, 255)) << k;
  }
}

// The photograph through forward and inverse at quality 75 against the same
// round trip through libjpeg-turbo (its own DCTs, the same tables): measured
// 50.2 dB between the two decodes, 94% of samples within 1, and 42.21 dB to
// the original for ours against 42.15 dB for the peer's.
TEST(DctMembers, RoundTripOfThePhotographMatchesLibjpegTurbo) {
  const test::Photo photo = test::LoadJpeg(test::TestDataPath(test::kBenchPhoto), 1);
  const int w = photo.width, h = photo.height;
  std::array<Vek8u, 64> raw = codec::ToZigzag(codec::kLuminanceQuant);
  Table16 fwd, inv;
  ASSERT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), 75), vekStsOk);
  ASSERT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), vekStsOk);
  ASSERT_EQ(vekiQuantInvTableInit_JPEG_8u16u(raw.data(), inv.data()), vekStsOk);
  std::vector<Vek8u> ours(photo.pixels.size());
  for (int y = 0; y < h; y += 8)
    for (int x = 0; x < w; x += 8) {
      Coefs coef;
      const std::size_t at = static_cast<std::size_t>(y * w + x);
      ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&photo.pixels[at], w, coef.data(), fwd.data()), vekStsOk);
      ASSERT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(coef.data(), &ours[at], w, inv.data()), vekStsOk);
    }

  tjhandle encoder = tjInitCompress(), decoder = tjInitDecompress();
  unsigned char* jpeg = nullptr;
  unsigned long size = 0;
  std::vector<unsigned char> peer(photo.pixels.size());
  ASSERT_EQ(tjCompress2(encoder, photo.pixels.data(), w, w, h, TJPF_GRAY, &jpeg, &size, TJSAMP_GRAY, 75, 0), 0);
  ASSERT_EQ(tjDecompress2(decoder, jpeg, size, peer.data(), w, w, h, TJPF_GRAY, 0), 0);
  tjFree(jpeg);
  tjDestroy(encoder);
  tjDestroy(decoder);

  const auto psnr = [&](const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    double squared = 0;
    for (std::size_t i = 0; i < a.size(); ++i) squared += (a[i] - b[i]) * (a[i] - b[i]);
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / squared);
  };
  long close = 0;
  for (std::size_t i = 0; i < ours.size(); ++i) close += std::abs(ours[i] - peer[i]) <= 1;
  EXPECT_GT(psnr(ours, peer), 48.0);
  EXPECT_GT(static_cast<double>(close) / static_cast<double>(ours.size()), 0.9);
  EXPECT_GT(psnr(ours, photo.pixels), psnr(peer, photo.pixels) - 0.1);
}

TEST(DctMembers, ZeroBlocksGiveMidGrey) {
  const Coefs zero{};
  std::array<Vek8u, 64> bytes;
  for (auto inverse : {vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R, vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
                       vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R}) {
    bytes.fill(0);
    ASSERT_EQ(inverse(zero.data(), bytes.data(), 8, kUnitInv.data()), vekStsOk);
    for (Vek8u b : bytes) ASSERT_EQ(b, 128);
  }
  std::array<Vek16u, 64> wide;
  ASSERT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(zero.data(), wide.data(), 16, kUnitInv.data()), vekStsOk);
  for (Vek16u w : wide) ASSERT_EQ(w, 2048);
}

// Dequantisation wraps in 16 bits before the transform.
TEST(DctMembers, DequantisationWraps) {
  Coefs coef{}, wrapped{};
  coef[0] = 300;
  wrapped[0] = static_cast<Vek16s>(300 * 250 - 65536);
  const Table16 q = Filled(250);
  Coefs a, b;
  ASSERT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(coef.data(), a.data(), q.data()), vekStsOk);
  ASSERT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(wrapped.data(), b.data(), kUnitInv.data()), vekStsOk);
  EXPECT_EQ(a, b);
}

// The strongest blocks of each basis pattern (samples at the range's ends
// with the sign of the basis function) run without overflow in both
// directions: 8-bit and 12-bit samples.
TEST(DctMembers, ExtremePatternsDoNotOverflow) {
  for (int v = 0; v < 8; ++v)
    for (int u = 0; u < 8; ++u) {
      test::SampleBlock s;
      std::array<Vek16u, 64> twelve;
      Block f8, f12;
      for (int k = 0; k < 64; ++k) {
        const bool high = test::Basis(8, v, k / 8) * test::Basis(8, u, k % 8) >= 0;
        s[k] = high ? 255 : 0;
        twelve[k] = high ? 4095 : 0;
        f8[k] = s[k] - 128.0;
        f12[k] = twelve[k] - 2048.0;
      }
      Coefs coef;
      ASSERT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(s.data(), 8, coef.data(), kUnitFwd.data()), vekStsOk);
      const Block exact8 = test::ForwardDct(f8);
      for (int k = 0; k < 64; ++k) ASSERT_NEAR(coef[k], exact8[k], 1.0) << u << v;
      std::array<Vek8u, 64> back;
      ASSERT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(coef.data(), back.data(), 8, kUnitInv.data()), vekStsOk);
      for (int k = 0; k < 64; ++k) ASSERT_NEAR(back[k], s[k], 1) << u << v;

      const Block exact12 = test::ForwardDct(f12);
      for (int k = 0; k < 64; ++k) coef[k] = static_cast<Vek16s>(std::lround(exact12[k]));
      std::array<Vek16u, 64> back12;
      ASSERT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(coef.data(), back12.data(), 16, kUnitInv.data()), vekStsOk);
      for (int k = 0; k < 64; ++k) ASSERT_NEAR(back12[k], twelve[k], 1) << u << v;
    }
}

// ---- Reduced inverses ------------------------------------------------------------

TEST(DctReduced, OneByOneTruncatesTo16BitsBeforeSaturating) {
  const struct {
    Vek16s dc;
    Vek16u q;
    int want;
  } cases[] = {
      {8, 1, 129},
      {-8, 1, 127},
      {-9, 1, 126},
      {-2000, 1, 0},
      {2000, 1, 255},
      {0, 65535, 128},
      // 32767 * 65535 >> 3 = 268423168; + 128 = 0x0FFF8080, whose low 16 bits read as -32640: 0.
      {32767, 65535, 0},
      // 4096 * 128 >> 3 = 65536; + 128 cut to 16 bits is 128.
      {4096, 128, 128},
  };
  for (const auto& c : cases) {
    Coefs coef{};
    coef[0] = c.dc;
    coef[1] = 999;  // not read
    Table16 q = Filled(7);
    q[0] = c.q;
    std::vector<Vek8u> out(8 * 10, 1);
    ASSERT_EQ(vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(coef.data(), out.data(), 10, q.data()), vekStsOk);
    for (int r = 0; r < 8; ++r)
      for (int x = 0; x < 10; ++x) ASSERT_EQ(out[static_cast<std::size_t>(10 * r + x)], x < 8 ? c.want : 1) << c.dc;
  }
}

// LS_2x2 and LS_4x4 equal the full inverse of the block with the other
// coefficients zeroed, and never read them.
TEST(DctReduced, CornerMembersAreTheFullInverseOfTheCorner) {
  const auto q = RandomVector<Vek16u>(64, 1, 40);
  for (int n : {2, 4}) {
    const auto inverse = n == 2 ? vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R : vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R;
    for (int i = 0; i < 500; ++i) {
      const auto noisy = RandomVector<Vek16s>(64, -2000, 2000);
      Coefs corner{};
      for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
          corner[8 * r + c] = static_cast<Vek16s>(noisy[static_cast<std::size_t>(8 * r + c)] / 20);
      Coefs padded = corner;
      for (int k = 0; k < 64; ++k)
        if (k / 8 >= n || k % 8 >= n) padded[k] = noisy[static_cast<std::size_t>(k)];
      ExpectEveryTargetMatchesScalar([&] {
        std::array<Vek8u, 64> reduced, full;
        EXPECT_EQ(inverse(padded.data(), reduced.data(), 8, q.data()), vekStsOk);
        EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(corner.data(), full.data(), 8, q.data()), vekStsOk);
        EXPECT_EQ(reduced, full);
        return reduced;
      });
    }
  }
}

// To4x4 and To2x2 against the exact reduced inverse: measured max 0.53
// (4x4) and 0.50 (2x2), mean 0.24.
TEST(DctReduced, ScaledImagesWithinRoundingOfTheExactReducedInverse) {
  for (int n : {2, 4}) {
    const auto inverse = n == 2 ? vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R : vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R;
    ErrorStats stats;
    for (const auto& s : SampleBlocks(3000)) {
      const Block exact = test::ForwardDct(Shifted(s));
      Coefs coef;
      Block rounded;
      for (int k = 0; k < 64; ++k) rounded[k] = coef[k] = static_cast<Vek16s>(std::lround(exact[k]));
      const int step = n + 3;
      std::vector<Vek8u> out(static_cast<std::size_t>(step * 8), 7);
      ASSERT_EQ(inverse(coef.data(), out.data(), step, kUnitInv.data()), vekStsOk);
      const auto want = test::InverseDct(rounded, n);
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < step; ++x) {
          const Vek8u got = out[static_cast<std::size_t>(y * step + x)];
          if (y >= n || x >= n) {
            ASSERT_EQ(got, 7) << "wrote outside the " << n << "x" << n << " image";
          } else {
            stats.Add(got - std::clamp(want[static_cast<std::size_t>(y * n + x)] + 128, 0.0, 255.0));
          }
        }
    }
    stats.Record(n == 2 ? "2x2 reduced inverse" : "4x4 reduced inverse");
    EXPECT_LT(stats.max, 0.55);
  }
}

// ---- Every target against the plain forms ------------------------------------

// Random blocks over the full 16-bit range (so that every wrap and
// saturation is reached), random tables with the edge values.
TEST(DctTargets, EveryTargetMatchesScalar) {
  for (int i = 0; i < 300; ++i) {
    const int spread = i % 3 == 0 ? 32767 : i % 3 == 1 ? 2000 : 128;
    auto values = RandomVector<Vek16s>(64, -spread - 1, spread);
    auto fwd = RandomVector<Vek16u>(64, 0, 65535);
    auto inv = RandomVector<Vek16u>(64, 0, i % 2 ? 65535 : 30);
    fwd[0] = 0, fwd[1] = 65535, fwd[2] = 32768, inv[3] = 65535;
    const auto bytes = RandomVector<Vek8u>(8 * 11, 0, 255);
    const auto twelve = RandomVector<Vek16u>(8 * 9 + 1, 0, i % 2 ? 4095 : 65535);
    const auto* twelveRows = reinterpret_cast<const Vek16u*>(reinterpret_cast<const uint8_t*>(twelve.data()) + 1);
    std::array<float, 64> ftable;
    for (int k = 0; k < 64; ++k) ftable[k] = static_cast<float>(values[static_cast<std::size_t>(k)]) / 997.0f;
    ExpectEveryTargetMatchesScalar([&] {
      std::vector<Vek16s> out(64 * 4);
      EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1(values.data(), &out[0], fwd.data()), vekStsOk);
      EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(bytes.data(), 11, &out[64], fwd.data()), vekStsOk);
      EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(twelveRows, 18, &out[128], ftable.data()), vekStsOk);
      EXPECT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(values.data(), &out[192], inv.data()), vekStsOk);
      std::vector<uint8_t> samples(8 * 11 + 8 * 19 + 1, 0xEE);
      auto* wide = reinterpret_cast<Vek16u*>(samples.data() + 8 * 11 + 1);  // odd address
      EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(values.data(), samples.data(), 11, inv.data()), vekStsOk);
      EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(values.data(), wide, 19, inv.data()), vekStsOk);
      std::vector<Vek8u> reduced(4 * 5 + 2 * 3, 0xEE);
      EXPECT_EQ(vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(values.data(), reduced.data(), 5, inv.data()), vekStsOk);
      EXPECT_EQ(vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(values.data(), reduced.data() + 20, 3, inv.data()), vekStsOk);
      return std::make_tuple(out, samples, reduced);
    });
  }
}

// ---- Argument checks ------------------------------------------------------------------

TEST(DctChecks, ArgumentChecksInFamilyOrder) {
  Coefs block{};
  const Table16 table = Filled(1);
  const float ftable[64] = {};
  Vek8u bytes[64] = {};
  Vek16u wide[64] = {};
  const Vek16u sample16[64] = {};
  // Without a step: every pointer left to right.
  EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1(nullptr, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1(block.data(), nullptr, table.data()), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1(block.data(), block.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1I(nullptr, table.data()), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8_JPEG_16s_C1I(block.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(block.data(), nullptr, table.data()), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1(block.data(), block.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantInv8x8_JPEG_16s_C1I(block.data(), nullptr), vekStsNullPtr);
  // Forward with a step: source, destination, then the step, then the table.
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(bytes, 0, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(bytes, 0, block.data(), nullptr), vekStsBadStep);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(bytes, 8, block.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(nullptr, 16, block.data(), ftable), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(sample16, -2, nullptr, ftable), vekStsNullPtr);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(sample16, -2, block.data(), nullptr), vekStsBadStep);
  EXPECT_EQ(vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(sample16, 16, block.data(), nullptr), vekStsNullPtr);
  // Inverse with a step: source, destination, step, table; nothing written.
  for (auto inverse : {vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R, vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
                       vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R,
                       vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R}) {
    EXPECT_EQ(inverse(nullptr, bytes, 0, nullptr), vekStsNullPtr);
    EXPECT_EQ(inverse(block.data(), nullptr, 0, table.data()), vekStsNullPtr);
    EXPECT_EQ(inverse(block.data(), bytes, 0, nullptr), vekStsBadStep);
    EXPECT_EQ(inverse(block.data(), bytes, 8, nullptr), vekStsNullPtr);
  }
  EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block.data(), wide, 0, table.data()), vekStsBadStep);
  EXPECT_EQ(vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block.data(), wide, 16, nullptr), vekStsNullPtr);
  for (Vek8u b : bytes) EXPECT_EQ(b, 0) << "a refused call wrote";
  for (Vek16u w : wide) EXPECT_EQ(w, 0) << "a refused call wrote";
  EXPECT_EQ(block, Coefs{});
}

}  // namespace
}  // namespace vek
