// Lossless JPEG: the predictors against T.81 Table H.1 over extreme and
// random rows, the row coders' bit-exact round trip and argument checks,
// and files written with the row coder decoded by the ISO reference decoder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "simd_check.h"
#include "support/jpeg_markers.h"
#include "support/vekj_entropy.h"
#include "vekj.h"

namespace vek {
namespace {

using test::RandomVector;

// Table H.1 in plain integers, wrapped to 16 bits at the end.
int16_t Prediction(int predictor, int ra, int rb, int rc) {
  const int px[] = {0, ra, rb, rc, ra + rb - rc, ra + ((rb - rc) >> 1), rb + ((ra - rc) >> 1), (ra + rb) >> 1};
  return static_cast<int16_t>(px[predictor]);
}

std::vector<int16_t> RowWithExtremes(int width) {
  auto row = RandomVector<int16_t>(static_cast<std::size_t>(width), -32768, 32767);
  const int16_t extremes[] = {-32768, 32767, -1, 0, 1, -32767};
  for (std::size_t i = 0; i < row.size(); i += 3) row[i] = extremes[(i / 3) % 6];
  return row;
}

TEST(LosslessPrediction, EveryPredictorFollowsTableH1AndInvertsExactly) {
  for (int width : {1, 2, 3, 17, 64}) {
    const auto prev = RowWithExtremes(width), src = RowWithExtremes(width);
    for (int predictor = 1; predictor <= 7; ++predictor) {
      std::vector<int16_t> diff(static_cast<std::size_t>(width)), back(static_cast<std::size_t>(width));
      ASSERT_EQ(vekiDiffPredRow_JPEG_16s_C1(src.data(), prev.data(), diff.data(), width, predictor), vekStsOk);
      EXPECT_EQ(diff[0], static_cast<int16_t>(src[0] - prev[0]));
      for (std::size_t i = 1; i < diff.size(); ++i) {
        const int16_t px = Prediction(predictor, src[i - 1], prev[i], prev[i - 1]);
        ASSERT_EQ(diff[i], static_cast<int16_t>(src[i] - px)) << "predictor " << predictor << " at " << i;
      }
      ASSERT_EQ(vekiReconstructPredRow_JPEG_16s_C1(diff.data(), prev.data(), back.data(), width, predictor), vekStsOk);
      EXPECT_EQ(back, src) << "predictor " << predictor;
    }
  }
}

TEST(LosslessPrediction, EdgePredictions) {
  const int16_t prev[2] = {0, 4}, src[2] = {3, 3};
  int16_t diff[2];
  ASSERT_EQ(vekiDiffPredRow_JPEG_16s_C1(src, prev, diff, 2, 7), vekStsOk);
  EXPECT_EQ(diff[1], 3 - 3);  // (3 + 4) >> 1 = 3
  const int16_t prev2[2] = {0, 0}, src2[2] = {-3, 0};
  ASSERT_EQ(vekiDiffPredRow_JPEG_16s_C1(src2, prev2, diff, 2, 7), vekStsOk);
  EXPECT_EQ(diff[1], 0 - (-2));  // (-3 + 0) >> 1 = -2

  const int16_t x[3] = {130, 131, 129};
  int16_t d[3], back[3];
  ASSERT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(x, d, 3, 8, 0), vekStsOk);
  EXPECT_EQ(d[0], 2);
  EXPECT_EQ(d[1], 1);
  EXPECT_EQ(d[2], -2);
  ASSERT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(x, d, 1, 8, 2), vekStsOk);
  EXPECT_EQ(d[0], 130 - 32);
  ASSERT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(x, d, 1, 16, 0), vekStsOk);
  EXPECT_EQ(d[0], static_cast<int16_t>(130 - 32768));
  ASSERT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(x, d, 1, 8, 9), vekStsOk);  // 2^-2: no prediction
  EXPECT_EQ(d[0], 130);
  for (int p = 2; p <= 16; ++p) {
    for (int pt : {0, 1, 5}) {
      const auto row = RowWithExtremes(9);
      std::vector<int16_t> diff(9), out(9);
      ASSERT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(row.data(), diff.data(), 9, p, pt), vekStsOk);
      ASSERT_EQ(vekiReconstructPredFirstRow_JPEG_16s_C1(diff.data(), out.data(), 9, p, pt), vekStsOk);
      EXPECT_EQ(out, row);
    }
  }
  (void)back;
}

TEST(LosslessPrediction, ArgumentChecksInParameterOrder) {
  int16_t a[4] = {}, b[4] = {}, c[4] = {7, 7, 7, 7};
  EXPECT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(nullptr, c, 0, 1, -1), vekStsNullPtr);
  EXPECT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(a, nullptr, 0, 1, -1), vekStsNullPtr);
  EXPECT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(a, c, 0, 1, -1), vekStsBadSize);
  EXPECT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(a, c, 4, 1, 0), vekStsBadArg);
  EXPECT_EQ(vekiDiffPredFirstRow_JPEG_16s_C1(a, c, 4, 17, 0), vekStsBadArg);
  EXPECT_EQ(vekiReconstructPredFirstRow_JPEG_16s_C1(a, c, 4, 8, -1), vekStsBadArg);
  EXPECT_EQ(vekiDiffPredRow_JPEG_16s_C1(a, nullptr, c, 0, 0), vekStsNullPtr);
  EXPECT_EQ(vekiDiffPredRow_JPEG_16s_C1(a, b, nullptr, 0, 0), vekStsNullPtr);
  EXPECT_EQ(vekiDiffPredRow_JPEG_16s_C1(a, b, c, 0, 0), vekStsBadSize);
  EXPECT_EQ(vekiDiffPredRow_JPEG_16s_C1(a, b, c, 4, 0), vekStsBadArg);
  EXPECT_EQ(vekiReconstructPredRow_JPEG_16s_C1(a, b, c, 4, 8), vekStsBadArg);
  for (int16_t v : c) EXPECT_EQ(v, 7) << "a refused call wrote";
}

// ---- Row coding ----

struct RowCoder {
  std::array<uint8_t, 256> vals{};
  std::vector<uint8_t> encodeTable = std::vector<uint8_t>(1024), decodeTable = std::vector<uint8_t>(1644);
  std::vector<uint8_t> encState = std::vector<uint8_t>(1048), decState = std::vector<uint8_t>(24);
  auto* Enc() { return reinterpret_cast<EncodeHuffmanSpec*>(encodeTable.data()); }
  auto* Dec() { return reinterpret_cast<DecodeHuffmanSpec*>(decodeTable.data()); }
  auto* EncState() { return reinterpret_cast<EncodeHuffmanState*>(encState.data()); }
  auto* DecState() { return reinterpret_cast<DecodeHuffmanState*>(decState.data()); }
  RowCoder() {
    // Categories 0..16 with codes of 5 bits (17 codes, the last of 6 bits).
    const uint8_t bits[16] = {0, 0, 0, 0, 15, 2};
    for (int i = 0; i < 17; ++i) vals[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
    EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(bits, vals.data(), Enc()), vekStsOk);
    EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(bits, vals.data(), Dec()), vekStsOk);
    vekiEncodeHuffmanStateInit_JPEG_8u(EncState());
    vekiDecodeHuffmanStateInit_JPEG_8u(DecState());
  }
};

TEST(LosslessRows, InterleavedComponentsRoundTripWithCategory16) {
  for (int components = 1; components <= 5; ++components) {
    RowCoder coder;
    const int width = 37;
    std::vector<std::vector<int16_t>> rows;
    std::array<const Vek16s*, 5> src{};
    std::array<const EncodeHuffmanSpec*, 5> enc{};
    std::array<const DecodeHuffmanSpec*, 5> dec{};
    for (int c = 0; c < components; ++c) {
      rows.push_back(RowWithExtremes(width));
      src[static_cast<std::size_t>(c)] = c < 4 ? rows.back().data() : nullptr;  // a fifth is not even checked
      enc[static_cast<std::size_t>(c)] = c < 4 ? coder.Enc() : nullptr;
      dec[static_cast<std::size_t>(c)] = c < 4 ? coder.Dec() : nullptr;
    }
    std::vector<Vek8u> bytes(4096);
    int pos = 0;
    ASSERT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src.data(), width, components, bytes.data(), 4096, &pos, enc.data(),
                                                   coder.EncState(), 0),
              vekStsOk);
    ASSERT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, bytes.data(), 4096, &pos, nullptr, coder.EncState(), 1),
              vekStsOk);
    std::vector<std::vector<int16_t>> back(static_cast<std::size_t>(components), std::vector<int16_t>(width, 99));
    std::array<Vek16s*, 5> dst{};
    for (int c = 0; c < std::min(components, 4); ++c) dst[static_cast<std::size_t>(c)] = back[static_cast<std::size_t>(c)].data();
    int readPos = 0, marker = 0;
    ASSERT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(bytes.data(), pos, &readPos, dst.data(), width, components, &marker,
                                                   dec.data(), coder.DecState()),
              vekStsOk);
    for (int c = 0; c < std::min(components, 4); ++c) EXPECT_EQ(back[static_cast<std::size_t>(c)], rows[static_cast<std::size_t>(c)]);
    // Each sample costs its 5- or 6-bit code plus its category in extra bits,
    // except -32768 (category 16), which has none.
    int bits = 0;
    for (int c = 0; c < std::min(components, 4); ++c) {
      for (int16_t v : rows[static_cast<std::size_t>(c)]) {
        const int cat = v == 0 ? 0 : 32 - __builtin_clz(static_cast<unsigned>(v < 0 ? -v : v));
        bits += (cat >= 15 ? 6 : 5) + (cat < 16 ? cat : 0);
      }
    }
    EXPECT_GE(pos, (bits + 7) / 8);
  }
}

TEST(LosslessRows, ArgumentChecksInParameterOrder) {
  RowCoder coder;
  int16_t row[4] = {};
  const Vek16s* src[2] = {row, nullptr};
  const EncodeHuffmanSpec* enc[2] = {coder.Enc(), coder.Enc()};
  Vek8u out[16];
  int pos = 0;
  auto* st = coder.EncState();
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, nullptr, 0, &pos, enc, st, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, out, 0, nullptr, enc, st, 0), vekStsBadSize);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, out, 16, nullptr, enc, st, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, out, 16, &pos, enc, nullptr, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, out, 16, &pos, nullptr, st, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 0, 2, out, 16, &pos, nullptr, st, 0), vekStsBadSize);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 0, out, 16, &pos, nullptr, st, 0), vekStsBadSize);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, out, 16, &pos, nullptr, st, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 2, out, 16, &pos, enc, st, 0), vekStsNullPtr);  // row 1
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 1, out, 16, &pos, enc, st, 0), vekStsOk);
  pos = -1;
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(src, 4, 1, out, 16, &pos, enc, st, 0), vekStsBadArg);
  EXPECT_EQ(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, out, 16, &pos, nullptr, st, 1), vekStsBadArg);

  Vek16s* dst[2] = {row, nullptr};
  const DecodeHuffmanSpec* dec[2] = {coder.Dec(), coder.Dec()};
  int marker = 0, in = 0;
  auto* ds = coder.DecState();
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(nullptr, 0, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 0, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr), vekStsBadSize);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, nullptr, 0, 0, nullptr, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, dst, 0, 2, nullptr, nullptr, nullptr), vekStsBadSize);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, dst, 4, 2, nullptr, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, dst, 4, 2, &marker, nullptr, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, dst, 4, 2, &marker, dec, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(out, 4, &in, dst, 4, 2, &marker, dec, ds), vekStsNullPtr);
}

// ---- The ISO reference decoder ----

std::string TempPath(const std::string& name) {
  const char* dir = std::getenv("TMPDIR");
  return std::string(dir ? dir : "/tmp") + "/vekj-" + std::to_string(getpid()) + "-" + name;
}

// Samples of a PGM/PPM file, interleaved; 16-bit ones are big-endian.
std::vector<int> ReadPnm(const std::string& path, int& maxval) {
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  int w = 0, h = 0;
  in >> magic >> w >> h >> maxval;
  in.get();
  const std::vector<uint8_t> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<int> samples;
  const bool wide = maxval > 255;
  for (std::size_t i = 0; i + (wide ? 1 : 0) < raw.size(); i += wide ? 2 : 1) {
    samples.push_back(wide ? raw[i] << 8 | raw[i + 1] : raw[i]);
  }
  return samples;
}

// Predictors 5 to 7 halve sums of sign-extended 16-bit samples, which is
// T.81's arithmetic only while 16-bit samples stay below 32768.
// With a point transform Pt the samples are P - Pt bits wide (already shifted).
test::LosslessImage RandomSmoothImage(int width, int height, int components, int precision, int predictor,
                                      int pointTransform = 0) {
  test::LosslessImage image{width, height, precision, pointTransform, predictor, {}};
  const int top = (1 << std::min(precision - pointTransform, predictor >= 5 ? 15 : 16)) - 1;
  for (int c = 0; c < components; ++c) {
    std::vector<int16_t> plane(static_cast<std::size_t>(width) * height);
    const auto noise = RandomVector<int>(plane.size(), -(top / 8) - 1, top / 8 + 1);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const std::size_t i = static_cast<std::size_t>(y) * width + x;
        const int smooth = (x * 7 + y * 3 + c * 50) * top / (7 * width + 3 * height + 100);
        plane[i] = static_cast<int16_t>(static_cast<uint16_t>(std::clamp(smooth + noise[i], 0, top)));
      }
    }
    if (c == 0) plane[0] = static_cast<int16_t>(static_cast<uint16_t>(top));  // a jump from the start value
    image.planes.push_back(std::move(plane));
  }
  return image;
}

TEST(LosslessPeer, IsoReferenceDecoderReadsTheSamples) {
  struct Case { int precision, predictor, components, pointTransform = 0; };
  const Case cases[] = {{8, 1, 1}, {8, 2, 3}, {8, 3, 1}, {8, 4, 3}, {8, 5, 1}, {8, 6, 3}, {8, 7, 1},
                        {12, 4, 1}, {12, 7, 3}, {16, 1, 1}, {16, 4, 3}, {16, 5, 1}, {16, 7, 3}, {8, 1, 1, 2}, {12, 6, 3, 3}, {16, 2, 1, 5}, {2, 6, 1}, {10, 2, 1}};
  for (const Case& k : cases) {
    SCOPED_TRACE("P " + std::to_string(k.precision) + " predictor " + std::to_string(k.predictor) + " components " +
                 std::to_string(k.components) + " Pt " + std::to_string(k.pointTransform));
    const auto image = RandomSmoothImage(45, 21, k.components, k.precision, k.predictor, k.pointTransform);
    const auto file = test::EncodeLosslessWithVekj(image);
    const auto back = test::DecodeLosslessWithVekj(test::ParseJpeg(file));
    EXPECT_EQ(back.planes, image.planes);
    // The reference decoder's output for Pt > 0 is offset from T.81 H.1.2.1's
    // (its first prediction is not 2^(P - Pt - 1)), so it checks Pt = 0 only.
    if (k.pointTransform != 0) continue;

    const std::string jpg = TempPath("lossless.jpg"), pnm = TempPath("lossless.pnm");
    std::ofstream(jpg, std::ios::binary).write(reinterpret_cast<const char*>(file.data()),
                                               static_cast<std::streamsize>(file.size()));
    const std::string command = "jpeg '" + jpg + "' '" + pnm + "' > /dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    int maxval = 0;
    const std::vector<int> samples = ReadPnm(pnm, maxval);
    std::remove(jpg.c_str());
    std::remove(pnm.c_str());
    ASSERT_EQ(samples.size(), image.planes[0].size() * static_cast<std::size_t>(k.components));
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const auto c = i % static_cast<std::size_t>(k.components), at = i / static_cast<std::size_t>(k.components);
      ASSERT_EQ(samples[i], static_cast<uint16_t>(image.planes[c][at])) << "sample " << at << " component " << c;
    }
  }
}

}  // namespace
}  // namespace vek
