// JPEG quantisation tables and block quantisation: the quality scaling, the
// tables' rounding and order, the asymmetric rounding of the forward
// quantiser and the wrap of the inverse one, on every target.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

#include "jpeg/quantization.h"
#include "jpeg/zigzag.h"
#include "simd_check.h"
#include "jpeg_syntax.h"
#include "vekj.h"

namespace vek {
namespace {

using test::ExpectEveryTargetMatchesScalar;
using test::RandomVector;

using Raw = std::array<Vek8u, 64>;
using Table = std::array<Vek16u, 64>;
using Block = std::array<Vek16s, 64>;

Raw Filled(Vek8u v) {
  Raw r;
  r.fill(v);
  return r;
}

// Quality scaling of every byte at qualities across the range, up to INT_MAX.
TEST(QuantRawTable, ScalesEveryByteWithTruncationAndClamp) {
  Raw all;
  for (int q : {1, 2, 10, 25, 49, 50, 51, 75, 99, 100, 101, 150, 300, 1 << 20, INT_MAX}) {
    for (int start = 0; start < 256; start += 64) {
      for (int i = 0; i < 64; ++i) all[i] = static_cast<Vek8u>(start + i);
      ASSERT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(all.data(), q), vekStsOk);
      const long long factor = q >= 50 ? 200 - 2LL * q : 5000 / q;
      for (int i = 0; i < 64; ++i) {
        const long long want = std::clamp((static_cast<long long>(start + i) * factor + 50) / 100, 1LL, 255LL);
        ASSERT_EQ(all[i], want) << "quality " << q << " byte " << start + i;
      }
    }
  }
}

// Raw 255 stays 255 at quality 1 (F = 5000); quality 0 and below is refused.
TEST(QuantRawTable, EdgeQualities) {
  Raw t = Filled(255);
  ASSERT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(t.data(), 1), vekStsOk);
  EXPECT_EQ(t, Filled(255));
  const Raw ramp = [] {
    Raw r;
    for (int i = 0; i < 64; ++i) r[i] = static_cast<Vek8u>(4 * i);
    return r;
  }();
  for (int q : {0, -1, INT_MIN}) {
    t = ramp;
    EXPECT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(t.data(), q), vekStsBadArg);
    EXPECT_EQ(t, ramp) << "a refused call wrote";
  }
  EXPECT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(nullptr, 0), vekStsNullPtr);
}

// The quantisation table libjpeg-turbo writes into its DQT segment for a
// grey image at `quality` (8-bit precision), in zig-zag order.
Raw PeerLuminanceTable(int quality) {
  tjhandle tj = tjInitCompress();
  const std::vector<unsigned char> pixels(64, 100);
  unsigned char* jpeg = nullptr;
  unsigned long size = 0;
  EXPECT_EQ(tjCompress2(tj, pixels.data(), 8, 8, 8, TJPF_GRAY, &jpeg, &size, TJSAMP_GRAY, quality, 0), 0);
  Raw table{};
  for (unsigned long i = 0; i + 5 + 64 <= size; ++i) {
    if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xDB && jpeg[i + 4] == 0) {
      std::copy_n(jpeg + i + 5, 64, table.begin());
      break;
    }
  }
  tjFree(jpeg);
  tjDestroy(tj);
  return table;
}

// The T.81 Annex K luminance table scaled as libjpeg-turbo scales it.
TEST(QuantRawTable, MatchesLibjpegTurboQualityScaling) {
  const Raw luminance = codec::ToZigzag(codec::kLuminanceQuant);
  for (int quality : {1, 5, 10, 25, 33, 49, 50, 51, 75, 90, 95, 99, 100}) {
    Raw ours = luminance;
    ASSERT_EQ(vekiQuantFwdRawTableInit_JPEG_8u(ours.data(), quality), vekStsOk);
    EXPECT_EQ(ours, PeerLuminanceTable(quality)) << "quality " << quality;
  }
}

// Every Q 1..255 at one zig-zag index each, read back at its natural position.
TEST(QuantTables, ForwardIsRoundedReciprocalInNaturalOrder) {
  for (int first = 1; first < 256; first += 64) {
    Raw raw;
    for (int z = 0; z < 64; ++z) raw[z] = static_cast<Vek8u>(std::min(first + z, 255));
    Table fwd, inv;
    ASSERT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), vekStsOk);
    ASSERT_EQ(vekiQuantInvTableInit_JPEG_8u16u(raw.data(), inv.data()), vekStsOk);
    for (int z = 0; z < 64; ++z) {
      const int n = kZigzagToNatural[z];
      EXPECT_EQ(inv[n], raw[z]);
      EXPECT_EQ(fwd[n], std::lround(32768.0 / raw[z])) << "Q " << int{raw[z]};
    }
  }
  const struct {
    Vek8u q;
    Vek16u r;
  } known[] = {{1, 32768}, {2, 16384}, {3, 10923}, {16, 2048}, {99, 331}, {255, 129}};
  for (const auto& s : known) {
    Table fwd;
    ASSERT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(Filled(s.q).data(), fwd.data()), vekStsOk);
    EXPECT_EQ(fwd[0], s.r);
  }
}

TEST(QuantTables, ZeroQuantiserWarnsAndWritesTheWholeTable) {
  Raw raw = Filled(16);
  raw[2] = 0;  // zig-zag 2 is natural 8
  Table fwd;
  fwd.fill(7);
  EXPECT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), vekStsDivByZero);
  for (int n = 0; n < 64; ++n) EXPECT_EQ(fwd[n], n == 8 ? 65535 : 2048) << n;
  Table inv;
  EXPECT_EQ(vekiQuantInvTableInit_JPEG_8u16u(raw.data(), inv.data()), vekStsOk);
  EXPECT_EQ(inv[8], 0);
}

// x / Q rounded to nearest, ties toward +infinity: -24 / 16 is -1, 24 / 16 is 2.
TEST(QuantFwd, TiesGoUpward) {
  const struct {
    int x, q, want;
  } cases[] = {{24, 16, 2}, {-24, 16, -1}, {100, 16, 6}, {-100, 16, -6}, {5, 3, 2},
               {-5, 3, -2}, {-8, 16, 0},   {8, 16, 1},   {0, 255, 0},    {4095, 1, 4095}};
  for (const auto& c : cases) {
    Raw raw = Filled(static_cast<Vek8u>(c.q));
    Table fwd;
    ASSERT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), vekStsOk);
    Block b;
    b.fill(static_cast<Vek16s>(c.x));
    ASSERT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(b.data(), fwd.data()), vekStsOk);
    EXPECT_EQ(b[63], c.want) << c.x << " / " << c.q;
  }
}

// With Q = 1 every |x| below 4096 comes back; 4096 wraps to -4096. For every
// Q, results stay within one half (plus the reciprocal's rounding) of x / Q.
TEST(QuantFwd, IdentityForUnitQuantiserAndNearestForEveryQ) {
  Table unit;
  unit.fill(32768);
  for (int x = -4096; x <= 4096; x += 64) {
    Block b;
    for (int i = 0; i < 64; ++i) b[i] = static_cast<Vek16s>(std::min(x + i, 4096));
    ASSERT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(b.data(), unit.data()), vekStsOk);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(b[i], std::min(x + i, 4096) == 4096 ? -4096 : x + i);
  }
  for (int q = 1; q < 256; ++q) {
    Table fwd;
    ASSERT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(Filled(static_cast<Vek8u>(q)).data(), fwd.data()), vekStsOk);
    for (int x = -4095; x <= 4095; x += 64) {
      Block b;
      for (int i = 0; i < 64; ++i) b[i] = static_cast<Vek16s>(std::min(x + i, 4095));
      ASSERT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(b.data(), fwd.data()), vekStsOk);
      for (int i = 0; i < 64; ++i) {
        const double exact = std::min(x + i, 4095) / static_cast<double>(q);
        ASSERT_LE(std::abs(b[i] - exact), 0.5 + 4095.0 * 4 / 32768) << x + i << " / " << q;
      }
    }
  }
}

// The low 16 bits of x Q, no saturation.
TEST(QuantInv, ProductWraps) {
  Block b{};
  b[0] = 300, b[1] = -300, b[2] = 32767, b[3] = 7;
  Table q;
  q.fill(255);
  q[3] = 65535;
  ASSERT_EQ(vekiQuantInv8x8_JPEG_16s_C1I(b.data(), q.data()), vekStsOk);
  EXPECT_EQ(b[0], static_cast<Vek16s>(300 * 255 - 65536));
  EXPECT_EQ(b[1], static_cast<Vek16s>(-300 * 255 + 65536));
  EXPECT_EQ(b[2], static_cast<Vek16s>(32767 * 255 % 65536 - 65536));
  EXPECT_EQ(b[3], -7);
}

// Random blocks and tables with every edge value, on every target.
TEST(QuantBlocks, EveryTargetMatchesScalar) {
  for (int i = 0; i < 200; ++i) {
    auto values = RandomVector<Vek16s>(64, i % 2 ? -32768 : -4096, i % 2 ? 32767 : 4095);
    const auto table = RandomVector<Vek16u>(64, 0, 65535);
    const Vek16s edges[] = {-32768, -4097, -1, 0, 4096, 32767};
    std::copy(std::begin(edges), std::end(edges), values.begin());
    ExpectEveryTargetMatchesScalar([&] {
      auto fwd = values, inv = values;
      EXPECT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(fwd.data(), table.data()), vekStsOk);
      EXPECT_EQ(vekiQuantInv8x8_JPEG_16s_C1I(inv.data(), table.data()), vekStsOk);
      return std::make_pair(fwd, inv);
    });
    auto plain = values;
    QuantFwdBlockScalar(plain.data(), table.data());
    for (int k = 0; k < 64; ++k) {
      const auto a = static_cast<int16_t>(values[static_cast<std::size_t>(k)] * 8);
      const int32_t h = (int32_t{a} * (table[static_cast<std::size_t>(k)] >> 1)) >> 16;
      ASSERT_EQ(plain[static_cast<std::size_t>(k)], (h + 1) >> 1);
    }
  }
}

TEST(QuantChecks, ArgumentChecksInParameterOrder) {
  Raw raw = Filled(3);
  Table t{};
  Block b{};
  EXPECT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiQuantInvTableInit_JPEG_8u16u(nullptr, t.data()), vekStsNullPtr);
  EXPECT_EQ(vekiQuantInvTableInit_JPEG_8u16u(raw.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(nullptr, t.data()), vekStsNullPtr);
  EXPECT_EQ(vekiQuantFwd8x8_JPEG_16s_C1I(b.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiQuantInv8x8_JPEG_16s_C1I(nullptr, t.data()), vekStsNullPtr);
  EXPECT_EQ(vekiQuantInv8x8_JPEG_16s_C1I(b.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(t, Table{});
}

}  // namespace
}  // namespace vek
