// Whole-image 4:2:2 and 4:1:1 conversion and the 4:2:2 pairs: exact against
// the group formulas at every width and height around the edges, in every
// form; statuses and checks; and real photographs against libjpeg-turbo.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "colour_reference.h"
#include "simd_check.h"
#include "support/photo.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek {
namespace {

using test::Clamp8;
using test::RandomVector;
using test::Triple;

using ForwardFn = VekStatus (*)(const Vek8u*, int, Vek8u* const[3], const int[3], VekiRoiSize);
using InverseFn = VekStatus (*)(const Vek8u* const[3], const int[3], Vek8u*, int, VekiRoiSize);
using InverseFillFn = VekStatus (*)(const Vek8u* const[3], const int[3], Vek8u*, int, VekiRoiSize, Vek8u);

struct Layout {
  int bytes;     // 3 or 4
  bool bgr;      // channel order
};

struct ForwardCase {
  const char* name;
  ForwardFn fn;
  Layout layout;
  int rows;  // 1 for 4:2:2, 2 for 4:1:1
  int cbR;   // the Cb weight of R
};

const ForwardCase kForward[] = {
    {"RGB422_C3", vekiRGBToYCbCr422_JPEG_8u_C3P3R, {3, false}, 1, -2764},
    {"BGR422_C3", vekiBGRToYCbCr422_JPEG_8u_C3P3R, {3, true}, 1, -2764},
    {"RGB422_C4", vekiRGBToYCbCr422_JPEG_8u_C4P3R, {4, false}, 1, -2765},
    {"BGR422_C4", vekiBGRToYCbCr422_JPEG_8u_C4P3R, {4, true}, 1, -2765},
    {"RGB411_C3", vekiRGBToYCbCr411_JPEG_8u_C3P3R, {3, false}, 2, -2765},
    {"BGR411_C3", vekiBGRToYCbCr411_JPEG_8u_C3P3R, {3, true}, 2, -2765},
    {"RGB411_C4", vekiRGBToYCbCr411_JPEG_8u_C4P3R, {4, false}, 2, -2765},
    {"BGR411_C4", vekiBGRToYCbCr411_JPEG_8u_C4P3R, {4, true}, 2, -2765},
};

Triple ReadRgb(const Vek8u* p, Layout l) { return l.bgr ? Triple{p[2], p[1], p[0]} : Triple{p[0], p[1], p[2]}; }

VekStatus ExpectedStatus(int w, int h, int rows) {
  return (w % 2 != 0 || (rows == 2 && h % 2 != 0)) ? vekStsDoubleSize : vekStsOk;
}

// Planes with a margin of 0xEE after each row to catch writes past it.
struct PlanesOut {
  std::array<int, 3> steps;
  std::array<std::vector<Vek8u>, 3> data;
  std::array<Vek8u*, 3> ptr;
  PlanesOut(int w, int h, int cw, int ch) : steps{w + 3, cw + 5, cw + 7} {
    const int heights[3] = {h, ch, ch};
    for (int c = 0; c < 3; ++c) {
      data[c].assign(static_cast<std::size_t>(steps[c] * heights[c]), 0xEE);
      ptr[c] = data[c].data();
    }
  }
  int At(int c, int r, int x) const { return data[c][static_cast<std::size_t>(r * steps[c] + x)]; }
};

void CheckForward(const ForwardCase& fc, int w, int h) {
  const int bpp = fc.layout.bytes, step = w * bpp + 1;
  const auto src = RandomVector<Vek8u>(static_cast<std::size_t>(step * h), 0, 255);
  const int cw = (w + 1) / 2, ch = fc.rows == 2 ? (h + 1) / 2 : h;
  PlanesOut out(w, h, cw, ch);
  ASSERT_EQ(fc.fn(src.data(), step, out.ptr.data(), out.steps.data(), {w, h}), ExpectedStatus(w, h, fc.rows));
  const auto pixel = [&](int r, int x) { return ReadRgb(&src[static_cast<std::size_t>(r * step + x * bpp)], fc.layout); };
  for (int r = 0; r < h; ++r) {
    for (int x = 0; x < w; ++x) {
      const Triple p = pixel(r, x);
      ASSERT_EQ(out.At(0, r, x), test::RefForward14(p[0], p[1], p[2])[0]) << fc.name << " " << w << "x" << h;
    }
    ASSERT_EQ(out.At(0, r, w), 0xEE);
  }
  // One rounding of the group's summed terms; a group past the edge repeats
  // the last column or row.
  const int n = 2 * fc.rows, shift = fc.rows == 2 ? 16 : 15;
  for (int cy = 0; cy < ch; ++cy) {
    for (int cx = 0; cx < cw; ++cx) {
      int cb = 0, cr = 0;
      for (int dy = 0; dy < fc.rows; ++dy) {
        for (int dx = 0; dx < 2; ++dx) {
          const Triple p = pixel(std::min(cy * fc.rows + dy, h - 1), std::min(2 * cx + dx, w - 1));
          cb += fc.cbR * p[0] + (-8192 - fc.cbR) * p[1] + 8192 * p[2];
          cr += 8192 * p[0] - 6860 * p[1] - 1332 * p[2];
        }
      }
      const int offset = n * 128 * 16384 + n * 8192;
      ASSERT_EQ(out.At(1, cy, cx), Clamp8((cb + offset) >> shift)) << fc.name << " " << w << "x" << h;
      ASSERT_EQ(out.At(2, cy, cx), Clamp8((cr + offset) >> shift)) << fc.name << " " << w << "x" << h;
    }
    ASSERT_EQ(out.At(1, cy, cw), 0xEE);
  }
}

std::vector<int> Widths() {
  std::vector<int> widths;
  for (int w : test::BoundaryWidths())
    if (w >= 2) widths.push_back(w);
  return widths;
}

TEST(ColourSubsampled, ForwardFollowsTheGroupFormulaInEveryForm) {
  test::ForEachForm([] {
    for (const ForwardCase& fc : kForward) {
      for (int w : Widths()) {
        for (int h = fc.rows; h <= (w < 48 ? 5 : fc.rows + 1); ++h) CheckForward(fc, w, h);
      }
    }
  });
}

struct InverseCase {
  const char* name;
  InverseFn fn;
  InverseFillFn fill;
  Layout layout;
  int rows;
};

const InverseCase kInverse[] = {
    {"422ToRGB_C3", vekiYCbCr422ToRGB_JPEG_8u_P3C3R, nullptr, {3, false}, 1},
    {"422ToBGR_C3", vekiYCbCr422ToBGR_JPEG_8u_P3C3R, nullptr, {3, true}, 1},
    {"422ToRGB_C4", nullptr, vekiYCbCr422ToRGB_JPEG_8u_P3C4R, {4, false}, 1},
    {"422ToBGR_C4", nullptr, vekiYCbCr422ToBGR_JPEG_8u_P3C4R, {4, true}, 1},
    {"411ToRGB_C3", vekiYCbCr411ToRGB_JPEG_8u_P3C3R, nullptr, {3, false}, 2},
    {"411ToBGR_C3", vekiYCbCr411ToBGR_JPEG_8u_P3C3R, nullptr, {3, true}, 2},
    {"411ToRGB_C4", nullptr, vekiYCbCr411ToRGB_JPEG_8u_P3C4R, {4, false}, 2},
    {"411ToBGR_C4", nullptr, vekiYCbCr411ToBGR_JPEG_8u_P3C4R, {4, true}, 2},
};

void CheckInverse(const InverseCase& ic, int w, int h) {
  const int cw = (w + 1) / 2, ch = ic.rows == 2 ? (h + 1) / 2 : h;
  const int steps[3] = {w + 1, cw + 2, cw + 3};
  const auto y = RandomVector<Vek8u>(static_cast<std::size_t>(steps[0] * h), 0, 255);
  const auto cb = RandomVector<Vek8u>(static_cast<std::size_t>(steps[1] * ch), 0, 255);
  const auto cr = RandomVector<Vek8u>(static_cast<std::size_t>(steps[2] * ch), 0, 255);
  const Vek8u* planes[3] = {y.data(), cb.data(), cr.data()};
  const int bpp = ic.layout.bytes, step = w * bpp + 2;
  std::vector<Vek8u> out(static_cast<std::size_t>(step * h), 0xEE);
  const VekStatus st = ic.fn ? ic.fn(planes, steps, out.data(), step, {w, h})
                             : ic.fill(planes, steps, out.data(), step, {w, h}, 0x5A);
  ASSERT_EQ(st, ExpectedStatus(w, h, ic.rows));
  for (int r = 0; r < h; ++r) {
    for (int x = 0; x < w; ++x) {
      const int ci = r / ic.rows, c = x / 2;
      const Triple want = test::RefInverse14(y[static_cast<std::size_t>(r * steps[0] + x)],
                                             cb[static_cast<std::size_t>(ci * steps[1] + c)],
                                             cr[static_cast<std::size_t>(ci * steps[2] + c)]);
      const Vek8u* p = &out[static_cast<std::size_t>(r * step + x * bpp)];
      ASSERT_EQ(ReadRgb(p, ic.layout), want) << ic.name << " " << w << "x" << h << " at " << x << "," << r;
      if (bpp == 4) {
        ASSERT_EQ(p[3], 0x5A);
      }
    }
    ASSERT_EQ(out[static_cast<std::size_t>(r * step + w * bpp)], 0xEE);
  }
}

TEST(ColourSubsampled, InverseReplicatesChromaAtScale14InEveryForm) {
  test::ForEachForm([] {
    for (const InverseCase& ic : kInverse) {
      for (int w : Widths()) {
        for (int h = ic.rows; h <= (w < 48 ? 5 : ic.rows + 1); ++h) CheckInverse(ic, w, h);
      }
    }
  });
}

// Pairs Y0 Cb Y1 Cr: the first 8*floor(w/8) pixels at 2^14, the rest by the
// tables, pair by pair: an odd width writes one pixel past the region.
TEST(ColourSubsampled, PairsToRgbBodyTailAndOverrun) {
  test::ForEachForm([] {
    for (int w : Widths()) {
      const int h = 2, pairs = (w + 1) / 2, srcStep = 4 * pairs + 1, dstStep = 3 * (w + 1) + 2;
      const auto src = RandomVector<Vek8u>(static_cast<std::size_t>(srcStep * h), 0, 255);
      std::vector<Vek8u> out(static_cast<std::size_t>(dstStep * h), 0xEE);
      ASSERT_EQ(vekiYCbCr422ToRGB_JPEG_8u_C2C3R(src.data(), srcStep, out.data(), dstStep, {w, h}),
                w % 2 ? vekStsDoubleSize : vekStsOk);
      for (int r = 0; r < h; ++r) {
        for (int x = 0; x < w + w % 2; ++x) {
          const Vek8u* pair = &src[static_cast<std::size_t>(r * srcStep + 4 * (x / 2))];
          const int yv = pair[2 * (x % 2)], cb = pair[1], cr = pair[3];
          const Triple want = x < w / 8 * 8 ? test::RefInverse14(yv, cb, cr) : test::RefInverse16(yv, cb, cr);
          const Vek8u* p = &out[static_cast<std::size_t>(r * dstStep + 3 * x)];
          ASSERT_EQ((Triple{p[0], p[1], p[2]}), want) << "width " << w << " column " << x;
        }
        ASSERT_EQ(out[static_cast<std::size_t>(r * dstStep + 3 * (w + w % 2))], 0xEE);
      }
    }
  });
}

TEST(ColourSubsampled, PairsToRgbThreadCountDoesNotChangeTheResult) {
  const int w = 2001, h = 9, srcStep = 4 * 1001, dstStep = 3 * 2002;
  const auto src = RandomVector<Vek8u>(static_cast<std::size_t>(srcStep * h), 0, 255);
  std::vector<Vek8u> first;
  for (int threads : test::kThreadCounts) {
    vekSetNumThreads(threads);
    std::vector<Vek8u> out(static_cast<std::size_t>(dstStep * h));
    ASSERT_EQ(vekiYCbCr422ToRGB_JPEG_8u_C2C3R(src.data(), srcStep, out.data(), dstStep, {w, h}), vekStsDoubleSize);
    if (first.empty()) first = out;
    EXPECT_EQ(out, first) << threads << " threads";
  }
  vekSetNumThreads(0);
}

TEST(ColourSubsampled, SizesStatusesAndChecks) {
  std::vector<Vek8u> buf(4096, 0);
  Vek8u* planes[3] = {buf.data(), buf.data() + 1024, buf.data() + 2048};
  const Vek8u* cplanes[3] = {buf.data(), buf.data() + 1024, buf.data() + 2048};
  const int steps[3] = {64, 32, 32}, badSteps[3] = {0, -1, 0};
  Vek8u* holey[3] = {buf.data(), nullptr, buf.data()};
  // 4:2:2: width >= 2, height >= 1, no step check, odd width warns.
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {1, 1}), vekStsBadSize);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {2, 0}), vekStsBadSize);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {2, 1}), vekStsOk);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {5, 3}), vekStsDoubleSize);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 0, planes, badSteps, {4, 1}), vekStsOk);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, holey, steps, {1, 1}), vekStsNullPtr);
  EXPECT_EQ(vekiRGBToYCbCr422_JPEG_8u_C3P3R(buf.data(), 64, planes, nullptr, {1, 1}), vekStsNullPtr);
  EXPECT_EQ(vekiYCbCr422ToRGB_JPEG_8u_P3C3R(cplanes, steps, buf.data() + 3072, 64, {5, 1}), vekStsDoubleSize);
  EXPECT_EQ(vekiYCbCr422ToRGB_JPEG_8u_C2C3R(buf.data(), 0, buf.data() + 3072, 0, {1, 4}), vekStsBadSize);
  EXPECT_EQ(vekiYCbCr422ToRGB_JPEG_8u_C2C3R(nullptr, 0, buf.data() + 3072, 0, {1, 4}), vekStsNullPtr);
  // 4:1:1: width and height >= 2, odd sides warn.
  EXPECT_EQ(vekiRGBToYCbCr411_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {2, 1}), vekStsBadSize);
  EXPECT_EQ(vekiRGBToYCbCr411_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {2, 2}), vekStsOk);
  EXPECT_EQ(vekiRGBToYCbCr411_JPEG_8u_C3P3R(buf.data(), 64, planes, steps, {2, 3}), vekStsDoubleSize);
  EXPECT_EQ(vekiYCbCr411ToBGR_JPEG_8u_P3C4R(cplanes, badSteps, buf.data() + 3072, 0, {2, 2}, 0), vekStsOk);
  EXPECT_EQ(vekiYCbCr411ToBGR_JPEG_8u_P3C4R(cplanes, steps, nullptr, 64, {2, 2}, 0), vekStsNullPtr);
  std::vector<Vek8u> untouched(256, 0);
  Vek8u* out[3] = {untouched.data(), untouched.data(), untouched.data()};
  EXPECT_EQ(vekiBGRToYCbCr411_JPEG_8u_C4P3R(buf.data(), 64, out, steps, {7, 1}), vekStsBadSize);
  for (Vek8u b : untouched) EXPECT_EQ(b, 0) << "a refused call wrote";
}

// ---- Against libjpeg-turbo on real photographs --------------------------------------

// Differences ours - theirs, counted per value.
using Histogram = std::map<int, long>;

std::string Show(const Histogram& h) {
  std::string s;
  for (const auto& [diff, count] : h) s += (s.empty() ? "" : ", ") + std::to_string(diff) + ": " + std::to_string(count);
  return s;
}

void Count(Histogram& h, const Vek8u* ours, const Vek8u* theirs, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) ++h[int{ours[i]} - int{theirs[i]}];
}

int MaxAbs(const Histogram& h) {
  int m = 0;
  for (const auto& [diff, count] : h) m = std::max(m, std::abs(diff));
  return m;
}

struct Peer {
  tjhandle enc = tjInitCompress(), dec = tjInitDecompress();
  ~Peer() {
    tjDestroy(enc);
    tjDestroy(dec);
  }
};

// Forward: our planes and libjpeg-turbo's from the same RGB; inverse: both
// up-sample and convert libjpeg-turbo's planes (fast, replicating
// up-sampling). The photographs are also cropped to odd sizes.
TEST(ColourSubsampled, PhotographsAgreeWithLibjpegTurboWithinOne) {
  Peer peer;
  for (const char* file : {"cups-2048x1536.jpg", "water-1024x768.jpg"}) {
    const test::Photo photo = test::LoadJpeg(test::TestDataPath(file));
    for (const auto& [w, h] : {std::pair{photo.width, photo.height}, std::pair{photo.width - 1, photo.height - 1}}) {
      for (int rows : {2, 1}) {
        const int cw = (w + 1) / 2, ch = rows == 2 ? (h + 1) / 2 : h, step = 3 * photo.width;
        const int subsamp = rows == 2 ? TJSAMP_420 : TJSAMP_422;
        // libjpeg-turbo's planes, rows unpadded, one plane after another; its
        // luma plane is rounded up to whole chroma groups.
        const int yw = tjPlaneWidth(0, w, subsamp), yh = tjPlaneHeight(0, h, subsamp);
        ASSERT_EQ(tjPlaneWidth(1, w, subsamp), cw);
        ASSERT_EQ(tjPlaneHeight(1, h, subsamp), ch);
        std::vector<Vek8u> theirs(tjBufSizeYUV2(w, 1, h, subsamp));
        ASSERT_EQ(tjEncodeYUV3(peer.enc, photo.pixels.data(), w, step, h, TJPF_RGB, theirs.data(), 1, subsamp, 0), 0)
            << tjGetErrorStr();
        const Vek8u* tp[3] = {theirs.data(), theirs.data() + yw * yh, theirs.data() + yw * yh + cw * ch};
        const int tsteps[3] = {yw, cw, cw};
        PlanesOut ours(w, h, cw, ch);
        const auto fwd = rows == 2 ? vekiRGBToYCbCr411_JPEG_8u_C3P3R : vekiRGBToYCbCr422_JPEG_8u_C3P3R;
        ASSERT_GE(fwd(photo.pixels.data(), step, ours.ptr.data(), ours.steps.data(), {w, h}), 0);
        const char* names[3] = {"Y", "Cb", "Cr"};
        for (int c = 0; c < 3; ++c) {
          Histogram hist;
          const int pw = c == 0 ? w : cw, ph = c == 0 ? h : ch;
          for (int r = 0; r < ph; ++r) {
            Count(hist, ours.ptr[c] + r * ours.steps[c], tp[c] + r * tsteps[c], static_cast<std::size_t>(pw));
          }
          std::cout << "[ peer ] " << file << " " << w << "x" << h << (rows == 2 ? " 4:2:0 " : " 4:2:2 ") << names[c]
                    << " ours-theirs {" << Show(hist) << "}\n";
          EXPECT_LE(MaxAbs(hist), 1) << names[c];
        }
        // Inverse from libjpeg-turbo's planes.
        std::vector<Vek8u> rgbTheirs(static_cast<std::size_t>(3 * w * h)), rgbOurs(rgbTheirs.size());
        ASSERT_EQ(tjDecodeYUV(peer.dec, theirs.data(), 1, subsamp, rgbTheirs.data(), w, 3 * w, h, TJPF_RGB,
                              TJFLAG_FASTUPSAMPLE),
                  0)
            << tjGetErrorStr();
        const auto inv = rows == 2 ? vekiYCbCr411ToRGB_JPEG_8u_P3C3R : vekiYCbCr422ToRGB_JPEG_8u_P3C3R;
        ASSERT_GE(inv(tp, tsteps, rgbOurs.data(), 3 * w, {w, h}), 0);
        Histogram hist;
        Count(hist, rgbOurs.data(), rgbTheirs.data(), rgbOurs.size());
        std::cout << "[ peer ] " << file << " " << w << "x" << h << (rows == 2 ? " 4:2:0" : " 4:2:2")
                  << " RGB ours-theirs {" << Show(hist) << "}\n";
        EXPECT_LE(MaxAbs(hist), 1);
      }
    }
  }
}

}  // namespace
}  // namespace vek
