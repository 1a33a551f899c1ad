// The MCU functions: colour conversion with level shift and the sampling-only
// members, exact against the formulas for random MCUs in every block layout,
// the stated edge values, and the check orders.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "colour_reference.h"
#include "simd_check.h"
#include "vekj.h"

namespace vek {
namespace {

using test::Clamp16;
using test::Clamp8;
using test::RandomVector;
using test::Triple;

// MCU geometry: kH x kV pixels per chroma sample.
struct Geometry {
  int h, v;
  int width() const { return 8 * h; }
  int height() const { return 8 * v; }
  // Index of pixel (r, x) in a full-resolution (Y or K) buffer.
  int Luma(int r, int x) const { return ((r / 8) * h + x / 8) * 64 + (r % 8) * 8 + x % 8; }
};
constexpr Geometry k444{1, 1}, k422{2, 1}, k411{2, 2};

// Pixel formats of the MCU functions: bytes per pixel, and a decoder to the
// three (or four) channel values in the order of the name.
enum class Format { kRgb, kBgr, kBgr555, kBgr565, kCmyk, kPairs };

int Bytes(Format f) { return f == Format::kCmyk ? 4 : f == Format::kBgr555 || f == Format::kBgr565 ? 2 : 3; }

std::array<int, 4> Read(Format f, const Vek8u* row, int x) {
  const Vek8u* p = row + Bytes(f) * x;
  switch (f) {
    case Format::kRgb: return {p[0], p[1], p[2], 0};
    case Format::kBgr: return {p[2], p[1], p[0], 0};
    case Format::kCmyk: return {p[0], p[1], p[2], p[3]};
    case Format::kPairs: {
      const Vek8u* pair = row + 4 * (x / 2);
      return {pair[2 * (x % 2)], pair[1], pair[3], 0};
    }
    default: {
      const int w = p[0] | p[1] << 8;
      const bool is565 = f == Format::kBgr565;
      const int b = (w & 31) << 3, g = is565 ? ((w >> 5) & 63) << 2 : ((w >> 5) & 31) << 3,
                r = is565 ? (w >> 11) << 3 : ((w >> 10) & 31) << 3;
      return {r, g, b, 0};
    }
  }
}

using Blocks = std::array<std::vector<Vek16s>, 4>;

// ---- Forward ---------------------------------------------------------------------

struct ForwardCase {
  std::string name;
  Geometry g;
  Format format;
  bool colour;  // colour conversion, or sampling only
  std::function<VekStatus(const Vek8u* src, int step, Vek16s* const* blocks)> run;
};

#define VEK_FWD(FN, G, FORMAT, COLOUR, T)                                                   \
  ForwardCase {                                                                             \
    #FN, G, FORMAT, COLOUR, [](const Vek8u* s, int step, Vek16s* const* b) {                \
      return FN(reinterpret_cast<const T*>(s), step, b);                                    \
    }                                                                                       \
  }

std::vector<ForwardCase> ForwardCases() {
  return {
      VEK_FWD(vekiRGBToYCbCr444LS_MCU_8u16s_C3P3R, k444, Format::kRgb, true, Vek8u),
      VEK_FWD(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R, k422, Format::kRgb, true, Vek8u),
      VEK_FWD(vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R, k411, Format::kRgb, true, Vek8u),
      VEK_FWD(vekiBGRToYCbCr444LS_MCU_8u16s_C3P3R, k444, Format::kBgr, true, Vek8u),
      VEK_FWD(vekiBGRToYCbCr422LS_MCU_8u16s_C3P3R, k422, Format::kBgr, true, Vek8u),
      VEK_FWD(vekiBGRToYCbCr411LS_MCU_8u16s_C3P3R, k411, Format::kBgr, true, Vek8u),
      VEK_FWD(vekiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, k444, Format::kBgr555, true, Vek16u),
      VEK_FWD(vekiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, k422, Format::kBgr555, true, Vek16u),
      VEK_FWD(vekiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, k411, Format::kBgr555, true, Vek16u),
      VEK_FWD(vekiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, k444, Format::kBgr565, true, Vek16u),
      VEK_FWD(vekiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, k422, Format::kBgr565, true, Vek16u),
      VEK_FWD(vekiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, k411, Format::kBgr565, true, Vek16u),
      VEK_FWD(vekiCMYKToYCCK444LS_MCU_8u16s_C4P4R, k444, Format::kCmyk, true, Vek8u),
      VEK_FWD(vekiCMYKToYCCK422LS_MCU_8u16s_C4P4R, k422, Format::kCmyk, true, Vek8u),
      VEK_FWD(vekiCMYKToYCCK411LS_MCU_8u16s_C4P4R, k411, Format::kCmyk, true, Vek8u),
      VEK_FWD(vekiSampleDown444LS_MCU_8u16s_C3P3R, k444, Format::kRgb, false, Vek8u),
      VEK_FWD(vekiSampleDown422LS_MCU_8u16s_C3P3R, k422, Format::kRgb, false, Vek8u),
      VEK_FWD(vekiSampleDown411LS_MCU_8u16s_C3P3R, k411, Format::kRgb, false, Vek8u),
      VEK_FWD(vekiSplit422LS_MCU_8u16s_C2P3R, k422, Format::kPairs, false, Vek8u),
  };
}

// The expected blocks of one MCU.
Blocks ExpectForward(const ForwardCase& c, const std::vector<Vek8u>& src, int step) {
  const Geometry g = c.g;
  const bool cmyk = c.format == Format::kCmyk;
  Blocks want;
  want[0].assign(static_cast<std::size_t>(64 * g.h * g.v), 0);
  want[1].assign(64, 0);
  want[2].assign(64, 0);
  if (cmyk) want[3] = want[0];
  const int n = g.h * g.v, log2n = n == 4 ? 2 : n == 2 ? 1 : 0;
  for (int cy = 0; cy < 8; ++cy) {
    for (int cx = 0; cx < 8; ++cx) {
      int cb = 0, cr = 0;
      for (int dy = 0; dy < g.v; ++dy) {
        for (int dx = 0; dx < g.h; ++dx) {
          const int r = cy * g.v + dy, x = cx * g.h + dx;
          auto p = Read(c.format, src.data() + r * step, x);
          const auto at = static_cast<std::size_t>(g.Luma(r, x));
          if (!c.colour) {
            want[0][at] = static_cast<Vek16s>(p[0] - 128);
            cb += p[1];
            cr += p[2];
            continue;
          }
          if (cmyk) {
            want[3][at] = static_cast<Vek16s>(p[3] - 128);
            for (int k = 0; k < 3; ++k) p[k] = 255 - p[k];
          }
          want[0][at] = static_cast<Vek16s>((4899 * p[0] + 9617 * p[1] + 1868 * p[2] - 2088960) >> 14);
          cb += -2764 * p[0] - 5428 * p[1] + 8192 * p[2];
          cr += 8192 * p[0] - 6860 * p[1] - 1332 * p[2];
        }
      }
      const auto at = static_cast<std::size_t>(cy * 8 + cx);
      if (c.colour) {
        want[1][at] = static_cast<Vek16s>((cb + n * 8192) >> (14 + log2n));
        want[2][at] = static_cast<Vek16s>((cr + n * 8192) >> (14 + log2n));
      } else {
        want[1][at] = static_cast<Vek16s>((cb - 128 * n) >> log2n);
        want[2][at] = static_cast<Vek16s>((cr - 128 * n) >> log2n);
      }
    }
  }
  return want;
}

Blocks RunForward(const ForwardCase& c, const std::vector<Vek8u>& src, int step) {
  Blocks got;
  got[0].assign(static_cast<std::size_t>(64 * c.g.h * c.g.v), 0x5555);
  got[1].assign(64, 0x5555);
  got[2].assign(64, 0x5555);
  got[3] = got[0];
  Vek16s* blocks[4] = {got[0].data(), got[1].data(), got[2].data(), got[3].data()};
  EXPECT_EQ(c.run(src.data(), step, blocks), vekStsOk) << c.name;
  if (c.format != Format::kCmyk) got[3].clear();
  return got;
}

TEST(McuColour, ForwardFollowsTheFormulasInEveryLayoutAndForm) {
  test::ForEachForm([] {
    for (const ForwardCase& c : ForwardCases()) {
      const int pixelBytes = c.format == Format::kPairs ? 2 : Bytes(c.format);
      for (int trial = 0; trial < 20; ++trial) {
        const int step = c.g.width() * pixelBytes + 2 * trial + 2;  // even: 16-bit rows stay aligned
        auto src = RandomVector<Vek8u>(static_cast<std::size_t>(step * c.g.height()), 0, 255);
        if (trial == 0) std::fill(src.begin(), src.end(), 255);
        if (trial == 1) std::fill(src.begin(), src.end(), 0);
        ASSERT_EQ(RunForward(c, src, step), ExpectForward(c, src, step)) << c.name << " trial " << trial;
      }
    }
  });
}

TEST(McuColour, WhiteAndBlackMcus) {
  for (Vek8u v : {Vek8u{255}, Vek8u{0}}) {
    const std::vector<Vek8u> src(16 * 16 * 3, v);
    std::vector<Vek16s> y(256), cb(64), cr(64);
    Vek16s* blocks[3] = {y.data(), cb.data(), cr.data()};
    ASSERT_EQ(vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R(src.data(), 48, blocks), vekStsOk);
    for (Vek16s s : y) EXPECT_EQ(s, v == 255 ? 127 : -128);
    for (Vek16s s : cb) EXPECT_EQ(s, 0);
    for (Vek16s s : cr) EXPECT_EQ(s, 0);
  }
  // Chroma samples 0 and 1 average down to -128, 255 and 255 to 127.
  std::vector<Vek8u> src(16 * 8 * 3, 0);
  for (int i = 0; i < 16 * 8; ++i) src[static_cast<std::size_t>(3 * i + 1)] = static_cast<Vek8u>(i % 2);
  for (int i = 0; i < 16 * 8; ++i) src[static_cast<std::size_t>(3 * i + 2)] = 255;
  std::vector<Vek16s> y(128), cb(64), cr(64);
  Vek16s* blocks[3] = {y.data(), cb.data(), cr.data()};
  ASSERT_EQ(vekiSampleDown422LS_MCU_8u16s_C3P3R(src.data(), 48, blocks), vekStsOk);
  for (Vek16s s : cb) EXPECT_EQ(s, -128);
  for (Vek16s s : cr) EXPECT_EQ(s, 127);
}

// ---- Inverse ---------------------------------------------------------------------

struct InverseCase {
  std::string name;
  Geometry g;
  Format format;
  int kind;  // 0 colour, 1 sampling, 2 CMYK
  std::function<VekStatus(const Vek16s* const* blocks, Vek8u* dst, int step)> run;
};

#define VEK_INV(FN, G, FORMAT, KIND, T)                                                     \
  InverseCase {                                                                             \
    #FN, G, FORMAT, KIND, [](const Vek16s* const* b, Vek8u* d, int step) {                  \
      return FN(b, reinterpret_cast<T*>(d), step);                                          \
    }                                                                                       \
  }

std::vector<InverseCase> InverseCases() {
  return {
      VEK_INV(vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, k444, Format::kRgb, 0, Vek8u),
      VEK_INV(vekiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, k422, Format::kRgb, 0, Vek8u),
      VEK_INV(vekiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, k411, Format::kRgb, 0, Vek8u),
      VEK_INV(vekiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, k444, Format::kBgr, 0, Vek8u),
      VEK_INV(vekiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, k422, Format::kBgr, 0, Vek8u),
      VEK_INV(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, k411, Format::kBgr, 0, Vek8u),
      VEK_INV(vekiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, k444, Format::kBgr555, 0, Vek16u),
      VEK_INV(vekiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, k422, Format::kBgr555, 0, Vek16u),
      VEK_INV(vekiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, k411, Format::kBgr555, 0, Vek16u),
      VEK_INV(vekiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, k444, Format::kBgr565, 0, Vek16u),
      VEK_INV(vekiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, k422, Format::kBgr565, 0, Vek16u),
      VEK_INV(vekiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, k411, Format::kBgr565, 0, Vek16u),
      VEK_INV(vekiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, k444, Format::kCmyk, 2, Vek8u),
      VEK_INV(vekiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, k422, Format::kCmyk, 2, Vek8u),
      VEK_INV(vekiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, k411, Format::kCmyk, 2, Vek8u),
      VEK_INV(vekiSampleUp444LS_MCU_16s8u_P3C3R, k444, Format::kRgb, 1, Vek8u),
      VEK_INV(vekiSampleUp422LS_MCU_16s8u_P3C3R, k422, Format::kRgb, 1, Vek8u),
      VEK_INV(vekiSampleUp411LS_MCU_16s8u_P3C3R, k411, Format::kRgb, 1, Vek8u),
      VEK_INV(vekiJoin422LS_MCU_16s8u_P3C2R, k422, Format::kPairs, 1, Vek8u),
  };
}

std::array<int, 4> ExpectPixel(const InverseCase& c, int y, int cb, int cr, int k) {
  if (c.kind == 1) return {Clamp8(y + 128), Clamp8(cb + 128), Clamp8(cr + 128), 0};
  const int r = Clamp8(y + Clamp16((22970 * cr + 2105344) >> 14));
  const int g = Clamp8(y + Clamp16((-5638 * cb - 11700 * cr + 2105344) >> 14));
  const int b = Clamp8(y + Clamp16((29032 * cb + 2105344) >> 14));
  if (c.kind == 2) return {255 - r, 255 - g, 255 - b, Clamp8(k + 128)};
  if (c.format == Format::kBgr555) return {r & ~7, g & ~7, b & ~7, 0};  // what survives packing
  if (c.format == Format::kBgr565) return {r & ~7, g & ~3, b & ~7, 0};
  return {r, g, b, 0};
}

TEST(McuColour, InverseFollowsTheFormulasInEveryLayoutAndForm) {
  test::ForEachForm([] {
    for (const InverseCase& c : InverseCases()) {
      for (int trial = 0; trial < 20; ++trial) {
        // Block values over the whole 16-bit range and near the colour range.
        const int lo = trial % 2 ? -32768 : -300, hi = trial % 2 ? 32767 : 300;
        Blocks in;
        in[0] = RandomVector<Vek16s>(static_cast<std::size_t>(64 * c.g.h * c.g.v), lo, hi);
        in[1] = RandomVector<Vek16s>(64, lo, hi);
        in[2] = RandomVector<Vek16s>(64, lo, hi);
        in[3] = RandomVector<Vek16s>(in[0].size(), lo, hi);
        const Vek16s* blocks[4] = {in[0].data(), in[1].data(), in[2].data(), in[3].data()};
        const int pixelBytes = c.format == Format::kPairs ? 2 : Bytes(c.format);
        const int step = c.g.width() * pixelBytes + 2 * trial + 2;
        std::vector<Vek8u> out(static_cast<std::size_t>(step * c.g.height()), 0xEE);
        ASSERT_EQ(c.run(blocks, out.data(), step), vekStsOk);
        for (int r = 0; r < c.g.height(); ++r) {
          for (int x = 0; x < c.g.width(); ++x) {
            const auto li = static_cast<std::size_t>(c.g.Luma(r, x)), ci = static_cast<std::size_t>((r / c.g.v) * 8 + x / c.g.h);
            const auto want = ExpectPixel(c, in[0][li], in[1][ci], in[2][ci], in[3][li]);
            ASSERT_EQ(Read(c.format, out.data() + r * step, x), want) << c.name << " at " << x << "," << r;
          }
          ASSERT_EQ(out[static_cast<std::size_t>(r * step + c.g.width() * pixelBytes)], 0xEE) << c.name;
        }
      }
    }
  });
}

TEST(McuColour, EdgeValues) {
  std::vector<Vek16s> y(64, 127), zero(64, 0);
  const Vek16s* blocks[3] = {y.data(), zero.data(), zero.data()};
  std::vector<Vek8u> out(8 * 24);
  ASSERT_EQ(vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(blocks, out.data(), 24), vekStsOk);
  for (Vek8u v : out) EXPECT_EQ(v, 255);
  std::fill(y.begin(), y.end(), -128);
  ASSERT_EQ(vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(blocks, out.data(), 24), vekStsOk);
  for (Vek8u v : out) EXPECT_EQ(v, 0);
  y[0] = 200;
  y[1] = -300;
  ASSERT_EQ(vekiSampleUp444LS_MCU_16s8u_P3C3R(blocks, out.data(), 24), vekStsOk);
  EXPECT_EQ(out[0], 255);
  EXPECT_EQ(out[3], 0);
}

TEST(McuColour, ArgumentChecksInOrder) {
  std::vector<Vek8u> px(16 * 16 * 4, 0);
  std::vector<Vek16s> b0(256), b1(64), b2(64);
  Vek16s* holey[3] = {b0.data(), b1.data(), nullptr};
  const Vek16s* choley[3] = {b0.data(), nullptr, b2.data()};
  // Forward: outer pointers, step, then the block pointers.
  EXPECT_EQ(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(nullptr, 0, holey), vekStsNullPtr);
  EXPECT_EQ(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(px.data(), 48, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(px.data(), 0, holey), vekStsBadStep);
  EXPECT_EQ(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(px.data(), 48, holey), vekStsNullPtr);
  EXPECT_EQ(vekiSplit422LS_MCU_8u16s_C2P3R(px.data(), -1, holey), vekStsBadStep);
  EXPECT_EQ(vekiSampleDown411LS_MCU_8u16s_C3P3R(px.data(), 48, holey), vekStsNullPtr);
  // Inverse colour: outer pointers, step, then the block pointers.
  EXPECT_EQ(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(choley, nullptr, 0), vekStsNullPtr);
  EXPECT_EQ(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(choley, px.data(), 0), vekStsBadStep);
  EXPECT_EQ(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(choley, px.data(), 48), vekStsNullPtr);
  const Vek16s* choley4[4] = {b0.data(), b1.data(), b2.data(), nullptr};
  EXPECT_EQ(vekiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(choley4, px.data(), 32), vekStsNullPtr);
  // Inverse sampling: every pointer before the step.
  EXPECT_EQ(vekiSampleUp422LS_MCU_16s8u_P3C3R(choley, px.data(), 0), vekStsNullPtr);
  EXPECT_EQ(vekiJoin422LS_MCU_16s8u_P3C2R(choley, px.data(), 0), vekStsNullPtr);
  const Vek16s* ok[3] = {b0.data(), b1.data(), b2.data()};
  EXPECT_EQ(vekiJoin422LS_MCU_16s8u_P3C2R(ok, px.data(), 0), vekStsBadStep);
  for (Vek8u v : px) EXPECT_EQ(v, 0) << "a refused call wrote";
}

}  // namespace
}  // namespace vek
