// Whole-image 4:4:4 colour conversion and CMYK/YCCK: every export against the
// per-column reference formulas, in every form, at every width around the
// vector and group boundaries, with unaligned rows; every combination of end
// levels in a pixel; every 555/565 word; the two inverse scales over every
// (Cb, Cr) pair; thread counts; argument-check orders.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "colour_reference.h"
#include "simd_check.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek {
namespace {

using test::Clamp8;
using test::RandomVector;
using test::Triple;

using Bytes = std::array<int, 4>;
using Planes = const Vek8u* const*;

// One export: its source and destination as planes of pixels of so many
// bytes (an interleaved buffer is one plane), and the destination bytes of
// pixel x of a w-wide row from the source bytes of that pixel.
struct Case {
  std::string name;
  int srcPlanes, srcBytes, dstPlanes, dstBytes;
  bool threaded;
  std::function<VekStatus(Planes src, int srcStep, Vek8u* const* dst, int dstStep, VekiRoiSize roi)> run;
  std::function<Bytes(const Bytes& src, int x, int w)> expect;
};

Triple Rgb(const Bytes& p) { return {p[0], p[1], p[2]}; }
Triple Bgr(const Bytes& p) { return {p[2], p[1], p[0]}; }
// A 16-bit word's fields, each moved to the top of a byte.
Triple Unpack(const Bytes& p, bool redFirst, bool is565) {
  const int w = p[0] | p[1] << 8;
  const int first = (w & 0x1F) << 3, second = is565 ? ((w >> 5) & 0x3F) << 2 : ((w >> 5) & 0x1F) << 3,
            third = is565 ? (w >> 11) << 3 : ((w >> 10) & 0x1F) << 3;
  return redFirst ? Triple{first, second, third} : Triple{third, second, first};
}
Bytes Pack(const Triple& rgb, bool redFirst, bool is565) {
  const int low = redFirst ? rgb[0] : rgb[2], high = redFirst ? rgb[2] : rgb[0];
  const int w = is565 ? (low / 8) + (rgb[1] / 4) * 32 + (high / 8) * 2048 : (low / 8) + (rgb[1] / 8) * 32 + (high / 8) * 1024;
  return {w & 0xFF, w >> 8, 0, 0};
}
Bytes Of(const Triple& t, int fourth = 0) { return {t[0], t[1], t[2], fourth}; }
Bytes Reversed(const Triple& t, int fourth = 0) { return {t[2], t[1], t[0], fourth}; }

Triple Forward3(const Triple& rgb, int x, int w) {
  return x < w / 8 * 8 ? test::RefForward15(rgb[0], rgb[1], rgb[2]) : test::RefForward14(rgb[0], rgb[1], rgb[2]);
}
Triple Forward14(const Triple& rgb, int cbR = -2764) { return test::RefForward14(rgb[0], rgb[1], rgb[2], cbR); }
Triple Inverse(const Bytes& p, int x, int w) { return test::RefInverseAt(x, w, p[0], p[1], p[2]); }

template <class T>
const T* As(const Vek8u* p) {
  return reinterpret_cast<const T*>(p);
}
template <class T>
T* As(Vek8u* p) {
  return reinterpret_cast<T*>(p);
}

// Every export under test with its reference.
std::vector<Case> Cases() {
  using S = Planes;
  using D = Vek8u* const*;
  std::vector<Case> c;
  // Interleaved or packed source, 3 planes out.
  auto toPlanes = [&](const char* name, int bytes, bool threaded, auto fn, std::function<Triple(const Bytes&, int, int)> e) {
    c.push_back({name, 1, bytes, 3, 1, threaded, fn, [e](const Bytes& p, int x, int w) { return Of(e(p, x, w)); }});
  };
  toPlanes("RGBToYCbCr_C3P3R", 3, true, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGBToYCbCr_JPEG_8u_C3P3R(s[0], ss, d, ds, r); },
           [](const Bytes& p, int x, int w) { return Forward3(Rgb(p), x, w); });
  toPlanes("BGRToYCbCr_C3P3R", 3, true, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiBGRToYCbCr_JPEG_8u_C3P3R(s[0], ss, d, ds, r); },
           [](const Bytes& p, int x, int w) { return Forward3(Bgr(p), x, w); });
  toPlanes("RGBToYCbCr_C4P3R", 4, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGBToYCbCr_JPEG_8u_C4P3R(s[0], ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Rgb(p), -2765); });
  toPlanes("BGRToYCbCr_C4P3R", 4, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiBGRToYCbCr_JPEG_8u_C4P3R(s[0], ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Bgr(p), -2765); });
  toPlanes("RGB555ToYCbCr", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGB555ToYCbCr_JPEG_16u8u_C3P3R(As<Vek16u>(s[0]), ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Unpack(p, true, false)); });
  toPlanes("RGB565ToYCbCr", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGB565ToYCbCr_JPEG_16u8u_C3P3R(As<Vek16u>(s[0]), ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Unpack(p, true, true)); });
  toPlanes("BGR555ToYCbCr", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiBGR555ToYCbCr_JPEG_16u8u_C3P3R(As<Vek16u>(s[0]), ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Unpack(p, false, false)); });
  toPlanes("BGR565ToYCbCr", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiBGR565ToYCbCr_JPEG_16u8u_C3P3R(As<Vek16u>(s[0]), ss, d, ds, r); },
           [](const Bytes& p, int, int) { return Forward14(Unpack(p, false, true)); });
  c.push_back({"RGBToYCbCr_P3R", 3, 1, 3, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGBToYCbCr_JPEG_8u_P3R(s, ss, d, ds, r); },
               [](const Bytes& p, int, int) { return Of(Forward14(Rgb(p))); }});
  c.push_back({"RGBToY_C3C1R", 1, 3, 1, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGBToY_JPEG_8u_C3C1R(s[0], ss, d[0], ds, r); },
               [](const Bytes& p, int, int) { return Bytes{test::RefForward15(p[0], p[1], p[2])[0]}; }});
  c.push_back({"BGRToY_C3C1R", 1, 3, 1, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiBGRToY_JPEG_8u_C3C1R(s[0], ss, d[0], ds, r); },
               [](const Bytes& p, int, int) { return Bytes{test::RefForward15(p[2], p[1], p[0])[0]}; }});
  c.push_back({"RGBToY_P3C1R", 3, 1, 1, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiRGBToY_JPEG_8u_P3C1R(s, ss, d[0], ds, r); },
               [](const Bytes& p, int, int) { return Bytes{Forward14(Rgb(p))[0]}; }});
  // 3 planes in, interleaved or packed out.
  auto fromPlanes = [&](const char* name, int bytes, bool threaded, auto fn, std::function<Bytes(const Bytes&, int, int)> e) {
    c.push_back({name, 3, 1, 1, bytes, threaded, fn, e});
  };
  fromPlanes("YCbCrToRGB_P3C3R", 3, true, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToRGB_JPEG_8u_P3C3R(s, ss, d[0], ds, r); },
             [](const Bytes& p, int x, int w) { return Of(Inverse(p, x, w)); });
  fromPlanes("YCbCrToBGR_P3C3R", 3, true, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToBGR_JPEG_8u_P3C3R(s, ss, d[0], ds, r); },
             [](const Bytes& p, int x, int w) { return Reversed(Inverse(p, x, w)); });
  fromPlanes("YCbCrToRGB_P3C4R", 4, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToRGB_JPEG_8u_P3C4R(s, ss, d[0], ds, r, 0x80); },
             [](const Bytes& p, int x, int w) { return Of(Inverse(p, x, w), 0x80); });
  fromPlanes("YCbCrToBGR_P3C4R", 4, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToBGR_JPEG_8u_P3C4R(s, ss, d[0], ds, r, 7); },
             [](const Bytes& p, int x, int w) { return Reversed(Inverse(p, x, w), 7); });
  fromPlanes("YCbCrToRGB555", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToRGB555_JPEG_8u16u_P3C3R(s, ss, As<Vek16u>(d[0]), ds, r); },
             [](const Bytes& p, int x, int w) { return Pack(Inverse(p, x, w), true, false); });
  fromPlanes("YCbCrToRGB565", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToRGB565_JPEG_8u16u_P3C3R(s, ss, As<Vek16u>(d[0]), ds, r); },
             [](const Bytes& p, int x, int w) { return Pack(Inverse(p, x, w), true, true); });
  fromPlanes("YCbCrToBGR555", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToBGR555_JPEG_8u16u_P3C3R(s, ss, As<Vek16u>(d[0]), ds, r); },
             [](const Bytes& p, int x, int w) { return Pack(Inverse(p, x, w), false, false); });
  fromPlanes("YCbCrToBGR565", 2, false, [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToBGR565_JPEG_8u16u_P3C3R(s, ss, As<Vek16u>(d[0]), ds, r); },
             [](const Bytes& p, int x, int w) { return Pack(Inverse(p, x, w), false, true); });
  c.push_back({"YCbCrToRGB_P3R", 3, 1, 3, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCbCrToRGB_JPEG_8u_P3R(s, ss, d, ds, r); },
               [](const Bytes& p, int x, int w) { return Of(Inverse(p, x, w)); }});
  // CMYK and YCCK.
  const auto ycck = [](const Bytes& p, int, int) { return Of(test::RefCmyk(p[0], p[1], p[2]), p[3]); };
  const auto cmyk = [](const Bytes& p, int x, int w) {
    const Triple v = Inverse(p, x, w);
    return Bytes{255 - v[0], 255 - v[1], 255 - v[2], p[3]};
  };
  c.push_back({"CMYKToYCCK_C4P4R", 1, 4, 4, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiCMYKToYCCK_JPEG_8u_C4P4R(s[0], ss, d, ds, r); }, ycck});
  c.push_back({"CMYKToYCCK_P4R", 4, 1, 4, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiCMYKToYCCK_JPEG_8u_P4R(s, ss, d, ds, r); }, ycck});
  c.push_back({"YCCKToCMYK_P4C4R", 4, 1, 1, 4, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCCKToCMYK_JPEG_8u_P4C4R(s, ss, d[0], ds, r); }, cmyk});
  c.push_back({"YCCKToCMYK_P4R", 4, 1, 4, 1, true,
               [](S s, int ss, D d, int ds, VekiRoiSize r) { return vekiYCCKToCMYK_JPEG_8u_P4R(s, ss, d, ds, r); }, cmyk});
  return c;
}

// Planes of w x h pixels of `bytes` bytes, rows `step` apart, the first row
// starting at an odd offset so that 16-bit rows are unaligned. A random
// (source) image ends where its last row ends, so that the address sanitizer
// sees any vector load past the region; a destination keeps bytes after it.
struct TestImage {
  int step;
  std::vector<std::vector<Vek8u>> storage;
  std::vector<Vek8u*> planes;
  TestImage(int planeCount, int bytes, int w, int h, bool random) : step(w * bytes + 3) {
    for (int c = 0; c < planeCount; ++c) {
      storage.push_back(random ? RandomVector<Vek8u>(static_cast<std::size_t>(1 + step * (h - 1) + w * bytes), 0, 255)
                               : std::vector<Vek8u>(static_cast<std::size_t>(step * h + 8), 0xEE));
    }
    for (auto& s : storage) planes.push_back(s.data() + 1);
  }
  Bytes Pixel(int bytes, int r, int x) const {
    Bytes b{};
    int i = 0;
    for (const Vek8u* p : planes)
      for (int k = 0; k < bytes; ++k) b[static_cast<std::size_t>(i++)] = p[r * step + x * bytes + k];
    return b;
  }
};

// Runs a case on a w x h source and checks every pixel, and that nothing
// past the row end was written.
void CheckCase(const Case& c, const TestImage& src, int w, int h) {
  TestImage dst(c.dstPlanes, c.dstBytes, w, h, false);
  ASSERT_EQ(c.run(src.planes.data(), src.step, dst.planes.data(), dst.step, {w, h}), vekStsOk);
  for (int r = 0; r < h; ++r) {
    for (int x = 0; x < w; ++x) {
      const Bytes want = c.expect(src.Pixel(c.srcBytes, r, x), x, w);
      ASSERT_EQ(dst.Pixel(c.dstBytes, r, x), want) << c.name << " width " << w << " row " << r << " column " << x;
    }
    for (const Vek8u* p : dst.planes) ASSERT_EQ(p[r * dst.step + w * c.dstBytes], 0xEE) << c.name << " wrote past the row";
  }
}

TEST(Colour444, EveryExportFollowsItsFormulaPerColumnInEveryForm) {
  const std::vector<Case> cases = Cases();
  ASSERT_EQ(cases.size(), 25u);
  test::ForEachForm([&] {
    for (const Case& c : cases) {
      for (int w : test::BoundaryWidths()) {
        const int h = w < 64 ? 3 : 1;
        CheckCase(c, TestImage(c.srcPlanes, c.srcBytes, w, h, true), w, h);
      }
    }
  });
}

// One row with every combination of the end and middle levels in the bytes
// of a pixel: the sums reach the ends of their ranges and chroma saturates.
TEST(Colour444, EndLevelsInEveryForm) {
  constexpr int kLevels[] = {0, 1, 127, 128, 254, 255};
  const std::vector<Case> cases = Cases();
  test::ForEachForm([&] {
    for (const Case& c : cases) {
      const int bytes = c.srcPlanes * c.srcBytes;
      int w = 1;
      for (int i = 0; i < bytes; ++i) w *= 6;
      TestImage src(c.srcPlanes, c.srcBytes, w, 1, true);
      for (int x = 0; x < w; ++x) {
        for (int i = 0, rest = x; i < bytes; ++i, rest /= 6) {
          src.planes[static_cast<std::size_t>(i / c.srcBytes)][x * c.srcBytes + i % c.srcBytes] =
              static_cast<Vek8u>(kLevels[rest % 6]);
        }
      }
      CheckCase(c, src, w, 1);
    }
  });
}

// Every 555 and 565 word, a row per high byte: each field at every value.
TEST(Colour444, EveryPackedPixelInEveryForm) {
  const std::vector<Case> cases = Cases();
  test::ForEachForm([&] {
    for (const Case& c : cases) {
      if (c.srcPlanes != 1 || c.srcBytes != 2) continue;
      TestImage src(1, 2, 256, 256, true);
      for (int r = 0; r < 256; ++r) {
        for (int x = 0; x < 256; ++x) {
          src.planes[0][r * src.step + 2 * x] = static_cast<Vek8u>(x);
          src.planes[0][r * src.step + 2 * x + 1] = static_cast<Vek8u>(r);
        }
      }
      CheckCase(c, src, 256, 256);
    }
  });
}

TEST(Colour444, ThreadCountDoesNotChangeTheResult) {
  for (const Case& c : Cases()) {
    const int w = 1031, h = 9;  // above the serial limit
    const TestImage src(c.srcPlanes, c.srcBytes, w, h, true);
    std::vector<std::vector<Vek8u>> first;
    for (int threads : test::kThreadCounts) {
      vekSetNumThreads(threads);
      TestImage dst(c.dstPlanes, c.dstBytes, w, h, false);
      ASSERT_EQ(c.run(src.planes.data(), src.step, dst.planes.data(), dst.step, {w, h}), vekStsOk);
      if (first.empty()) first = dst.storage;
      EXPECT_EQ(dst.storage, first) << c.name << ", " << threads << " threads";
    }
    vekSetNumThreads(0);
  }
}

// The two inverse scales over every (Cb, Cr) pair: a 256-wide row runs all
// its columns at 2^14, a 3-wide row all of them through the tables.
TEST(Colour444, InverseScalesOverEveryChromaPair) {
  test::ForEachForm([] {
    for (int w : {256, 3}) {
      const int h = 65536 / w + 1;
      std::vector<Vek8u> y(static_cast<std::size_t>(w * h)), cb(y.size()), cr(y.size()), out(y.size() * 3);
      for (std::size_t i = 0; i < y.size(); ++i) {
        cb[i] = static_cast<Vek8u>(i & 0xFF);
        cr[i] = static_cast<Vek8u>((i >> 8) & 0xFF);
        y[i] = static_cast<Vek8u>((i * 37) & 0xFF);
      }
      const Vek8u* planes[3] = {y.data(), cb.data(), cr.data()};
      ASSERT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(planes, w, out.data(), 3 * w, {w, h}), vekStsOk);
      for (std::size_t i = 0; i < y.size(); ++i) {
        const Triple want = w == 3 ? test::RefInverse16(y[i], cb[i], cr[i]) : test::RefInverse14(y[i], cb[i], cr[i]);
        ASSERT_EQ((Triple{out[3 * i], out[3 * i + 1], out[3 * i + 2]}), want) << "Cb " << int{cb[i]} << " Cr " << int{cr[i]};
      }
    }
  });
}

// The documented disagreement of the two scales, which pins their constants.
TEST(Colour444, TheTwoInverseScalesDisagreeWhereDocumented) {
  EXPECT_EQ(test::RefInverse14(0, 128, 179)[0], 71);
  EXPECT_EQ(test::RefInverse16(0, 128, 179)[0], 72);
  const Vek8u y4[4] = {0, 0, 0, 0}, cb4[4] = {128, 128, 128, 128}, cr4[4] = {179, 179, 179, 179};
  const Vek8u* planes[3] = {y4, cb4, cr4};
  Vek8u out[12];
  ASSERT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(planes, 4, out, 12, {4, 1}), vekStsOk);
  EXPECT_EQ(out[0], 71);
  ASSERT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(planes, 4, out, 12, {3, 1}), vekStsOk);
  EXPECT_EQ(out[0], 72);
  // The green offsets before they are added to Y: Y = 0 and Y = 255 show
  // both signs unclamped.
  int greenDiffers = 0;
  for (int cb = 0; cb < 256; ++cb) {
    for (int cr = 0; cr < 256; ++cr) {
      const bool low = test::RefInverse14(0, cb, cr)[1] != test::RefInverse16(0, cb, cr)[1];
      const bool high = test::RefInverse14(255, cb, cr)[1] != test::RefInverse16(255, cb, cr)[1];
      greenDiffers += low || high;
    }
  }
  EXPECT_EQ(greenDiffers, 448);
}

TEST(Colour444, FourthByteAndGreyLevels) {
  const Vek8u y[5] = {0, 50, 128, 200, 255}, c[5] = {128, 128, 128, 128, 128};
  const Vek8u* planes[3] = {y, c, c};
  Vek8u out[20];
  ASSERT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C4R(planes, -5, out, 20, {5, 1}, 0x80), vekStsOk);  // no step check
  for (int x = 0; x < 5; ++x) {
    EXPECT_EQ(out[4 * x + 3], 0x80);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(out[4 * x + k], y[x]) << "grey stays grey";
  }
}

TEST(Colour444, ArgumentChecksInOrder) {
  Vek8u buf[64] = {};
  Vek8u* planes[3] = {buf, buf + 16, buf + 32};
  Vek8u* holey[3] = {buf, nullptr, buf};
  const Vek8u* cplanes[3] = {buf, buf, buf};
  const VekiRoiSize ok = {2, 2}, bad = {0, 2};
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(nullptr, 0, planes, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 0, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 0, holey, 0, bad), vekStsNullPtr);  // before the steps
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 0, planes, 8, bad), vekStsBadStep);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 8, planes, 0, bad), vekStsBadStep);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 8, planes, 8, bad), vekStsBadSize);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 8, planes, 8, {2, -1}), vekStsBadSize);
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_C3P3R(buf, 8, planes, 8, {1, 1}), vekStsOk);
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(cplanes, 0, nullptr, 0, bad), vekStsNullPtr);
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(cplanes, 0, buf, 8, bad), vekStsBadStep);
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C3R(cplanes, 8, buf, 8, bad), vekStsBadSize);
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C4R(cplanes, 0, buf, 0, bad, 0), vekStsBadSize);  // no step check
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C4R(cplanes, 0, buf, 0, ok, 0), vekStsOk);
  EXPECT_EQ(vekiYCbCrToRGB_JPEG_8u_P3C4R(cplanes, 0, nullptr, 0, bad, 0), vekStsNullPtr);
  const Vek8u* choley[4] = {buf, buf, buf, nullptr};
  EXPECT_EQ(vekiYCCKToCMYK_JPEG_8u_P4R(choley, 0, planes, 0, bad), vekStsNullPtr);
  Vek8u untouched[16] = {};
  Vek8u* out[3] = {untouched, untouched, untouched};
  EXPECT_EQ(vekiRGBToYCbCr_JPEG_8u_P3R(cplanes, 8, out, 8, bad), vekStsBadSize);
  for (Vek8u b : untouched) EXPECT_EQ(b, 0) << "a refused call wrote";
}

}  // namespace
}  // namespace vek
