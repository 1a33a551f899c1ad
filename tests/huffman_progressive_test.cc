// Progressive Huffman coding: DC edge cases, end-of-band runs at their
// limit and correction bits past the buffer's size read back by libjpeg-turbo,
// statistics, and the argument checks of the AC coders.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "jpeg/huffman_records.h"
#include "jpeg/zigzag.h"
#include "simd_check.h"
#include "support/coefficients.h"
#include "support/libjpeg_peer.h"
#include "support/vekj_entropy.h"
#include "vekj.h"

namespace vek {
namespace {

struct States {
  EncodeHuffmanState enc{};
  DecodeHuffmanState dec{};
  States() {
    vekiEncodeHuffmanStateInit_JPEG_8u(&enc);
    vekiDecodeHuffmanStateInit_JPEG_8u(&dec);
  }
};

// A DC table of categories 0..11 with 4-bit codes: symbol s is code s.
struct DcTables {
  EncodeHuffmanSpec enc;
  DecodeHuffmanSpec dec;
  DcTables() {
    const uint8_t bits[16] = {0, 0, 0, 12};
    uint8_t vals[256] = {};
    for (int i = 0; i < 12; ++i) vals[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(bits, vals, &enc), vekStsOk);
    EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(bits, vals, &dec), vekStsOk);
  }
};

TEST(HuffmanProgressive, DcEdgeCases) {
  DcTables t;
  States s;
  uint8_t out[8] = {};
  int pos = 0;
  Vek16s lastDc = 0;
  int16_t block[64] = {};
  block[0] = -3;
  // Al = 1: -3 >> 1 = -2: category 2 (0010) and extra bits 01; last DC -2.
  ASSERT_EQ(vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, out, 8, &pos, &lastDc, 1, &t.enc, &s.enc, 0), vekStsOk);
  EXPECT_EQ(lastDc, -2);
  EXPECT_EQ(s.enc.count, 6);
  EXPECT_EQ(s.enc.bits >> 18, 0b001001u);
  // Refinement with Al = 0 sends bit 0 of -3: 1.
  ASSERT_EQ(vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, out, 8, &pos, 0, &s.enc, 0), vekStsOk);
  EXPECT_EQ(s.enc.count, 7);
  EXPECT_EQ(s.enc.bits >> 17, 0b0010011u);
  ASSERT_EQ(vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, out, 8, &pos, 0, &s.enc, 1), vekStsOk);
  ASSERT_EQ(pos, 1);
  EXPECT_EQ(out[0], 0b00100111);

  // Decoding writes only block[0]: last DC << Al, then the refinement bit.
  int16_t back[64];
  for (int16_t& v : back) v = 5;
  int in = 0, marker = 0;
  Vek16s dc = 0;
  ASSERT_EQ(vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(out, 1, &in, back, &dc, &marker, 1, &t.dec, &s.dec), vekStsOk);
  EXPECT_EQ(dc, -2);
  EXPECT_EQ(back[0], -4);
  EXPECT_EQ(back[1], 5);
  ASSERT_EQ(vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(out, 1, &in, back, &marker, 0, &s.dec), vekStsOk);
  EXPECT_EQ(back[0], -3);

  // Categories above 11 are refused after the last DC is updated.
  block[0] = 4096;
  lastDc = 0;
  EXPECT_EQ(vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, out, 8, &pos, &lastDc, 0, &t.enc, &s.enc, 0),
            vekStsJPEGBadData);
  EXPECT_EQ(lastDc, 4096);
  Vek32u counts[256] = {};
  lastDc = 0;
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counts, &lastDc, 1), vekStsJPEGBadData);
  EXPECT_EQ(lastDc, 2048);
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counts, &lastDc, 2), vekStsOk);
  EXPECT_EQ(counts[11], 1u) << "1024 - 2048";
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counts, &lastDc, 14), vekStsBadArg);
}

TEST(HuffmanStatistics, BaselineAndOneValue) {
  Vek32u dc[256] = {}, ac[256] = {};
  Vek16s lastDc = 0;
  int16_t block[64] = {};
  block[0] = 5;
  block[kZigzagToNatural[20]] = -1;  // run 19: one ZRL, then 0x31
  block[kZigzagToNatural[63]] = 2;   // run 42: two ZRL, then 0xA2; no end of block
  ASSERT_EQ(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, ac, &lastDc), vekStsOk);
  EXPECT_EQ(dc[3], 1u);
  EXPECT_EQ(ac[0xF0], 3u);
  EXPECT_EQ(ac[0x31], 1u);
  EXPECT_EQ(ac[0xA2], 1u);
  EXPECT_EQ(ac[0x00], 0u);
  EXPECT_EQ(lastDc, 5);
  block[kZigzagToNatural[63]] = 0;
  ASSERT_EQ(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, ac, &lastDc), vekStsOk);
  EXPECT_EQ(dc[0], 1u);
  EXPECT_EQ(ac[0x00], 1u);
  // Magnitude 16384 (category 15) is refused by the statistics.
  block[1] = 16384;
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, ac, &lastDc), vekStsJPEGBadData);
  block[1] = 8192;
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, ac, &lastDc), vekStsOk);
  EXPECT_EQ(ac[0x0E], 1u);
  Vek32u one[256] = {};
  for (int v : {0, 1, -1, 255, -32768, 32767}) {
    const Vek16s value = static_cast<Vek16s>(v);
    ASSERT_EQ(vekiGetHuffmanStatisticsOne_JPEG_16s_C1(&value, one), vekStsOk);
  }
  EXPECT_EQ(one[0], 1u);
  EXPECT_EQ(one[1], 2u);
  EXPECT_EQ(one[8], 1u);
  EXPECT_EQ(one[15], 1u);
  EXPECT_EQ(one[16], 1u);
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, nullptr, &lastDc), vekStsNullPtr);
  EXPECT_EQ(vekiGetHuffmanStatisticsOne_JPEG_16s_C1(nullptr, one), vekStsNullPtr);
}

// Coefficient images that push the progressive coders to their limits:
// end-of-band runs longer than 32767 blocks, blocks with only correction
// bits (the buffer of 1024 fills), large magnitudes, and restarts.
test::CoefImage StressImage(int width, int height, int kind) {
  const test::JpegFrame frame = test::MakeFrame(width, height, 1, false);
  test::CoefImage image = test::MakeCoefImage(frame);
  auto& rng = test::Rng();
  for (std::size_t i = 0; i < image.components[0].coefs.size(); ++i) {
    int16_t& c = image.components[0].coefs[i];
    const bool dc = i % 64 == 0;
    switch (kind) {
      case 0:  // DC only: every AC band ends in one long run
        c = dc ? static_cast<int16_t>(rng() % 2001) - 1000 : 0;
        break;
      case 1:  // every coefficient significant from the first pass: refinement is all correction bits
        c = static_cast<int16_t>((rng() % 2 ? 1 : -1) * static_cast<int>(4 + rng() % 60));
        break;
      default:  // sparse, with magnitudes up to 2^14
        c = rng() % 9 == 0 ? static_cast<int16_t>(static_cast<int>(rng() % 32767) - 16383) : 0;
        if (dc) c = static_cast<int16_t>(c / 16);  // DC differences of progressive scans stay within category 11
    }
  }
  return image;
}

TEST(HuffmanProgressive, RunLimitsAndCorrectionBitsReadBackByLibjpeg) {
  struct Case { int width, height, kind, restart; };
  for (const Case& k : {Case{2048, 1040, 0, 0}, Case{256, 256, 1, 0}, Case{200, 96, 2, 0}, Case{256, 256, 1, 5},
                        Case{200, 96, 2, 3}}) {
    SCOPED_TRACE("kind " + std::to_string(k.kind) + " restart " + std::to_string(k.restart));
    const test::CoefImage image = StressImage(k.width, k.height, k.kind);
    const test::JpegFrame frame = test::MakeFrame(k.width, k.height, 1, false);
    const auto file = test::EncodeFileWithVekj(frame, image, {true, true, k.restart});
    EXPECT_EQ(test::CompareCoefficients(test::ReadCoefficientsWithLibjpeg(file), image), "");
    EXPECT_EQ(test::CompareCoefficients(test::DecodeWithVekj(test::ParseJpeg(file)), image), "");
    if (k.kind != 0) {
      const auto baseline = test::EncodeFileWithVekj(frame, image, {false, true, k.restart});
      EXPECT_EQ(test::CompareCoefficients(test::ReadCoefficientsWithLibjpeg(baseline), image), "");
    }
  }
}

// The AC statistics count what the AC encoders code: an optimal table from
// them codes every block, and a table missing one counted symbol does not.
TEST(HuffmanProgressive, AcStatisticsCountTheCodedSymbols) {
  const test::CoefImage image = StressImage(64, 64, 2);
  for (int refine = 0; refine < 2; ++refine) {
    Vek32u counts[256] = {};
    EncodeHuffmanState stats;
    vekiEncodeHuffmanStateInit_JPEG_8u(&stats);
    const auto& coefs = image.components[0].coefs;
    const int blocks = static_cast<int>(coefs.size() / 64);
    for (int b = 0; b < blocks; ++b) {
      const int16_t* block = &coefs[static_cast<std::size_t>(b) * 64];
      ASSERT_EQ(refine ? vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, counts, 3, 40, 1, &stats, 0)
                       : vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counts, 3, 40, 1, &stats, 0),
                vekStsOk);
    }
    ASSERT_EQ(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, counts, 0, 0, 0, &stats, 1), vekStsOk);
    std::array<int, 256> ints{};
    for (int i = 0; i < 256; ++i) ints[static_cast<std::size_t>(i)] = static_cast<int>(counts[i]);
    uint8_t bits[16], vals[256] = {};
    ASSERT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(ints.data(), bits, vals), vekStsOk);
    EncodeHuffmanSpec table;
    ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(bits, vals, &table), vekStsOk);
    std::vector<uint8_t> out(1 << 20);
    for (int drop = -1; drop < 256; ++drop) {
      if (drop >= 0 && counts[drop] == 0) continue;
      EncodeHuffmanSpec t = table;
      if (drop >= 0) t.entries[drop] = 0;
      EncodeHuffmanState enc;
      vekiEncodeHuffmanStateInit_JPEG_8u(&enc);
      int pos = 0;
      VekStatus st = vekStsOk;
      for (int b = 0; b < blocks && st == vekStsOk; ++b) {
        const int16_t* block = &coefs[static_cast<std::size_t>(b) * 64];
        st = refine ? vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, out.data(), 1 << 20, &pos, 3, 40, 1, &t, &enc, 0)
                    : vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, out.data(), 1 << 20, &pos, 3, 40, 1, &t, &enc, 0);
      }
      if (st == vekStsOk) st = vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, out.data(), 1 << 20, &pos, 0, 0, 0, &t, &enc, 1);
      EXPECT_EQ(st, drop < 0 ? vekStsOk : vekStsJPEGBadTable) << "refine " << refine << " without symbol " << drop;
    }
  }
}

TEST(HuffmanProgressive, AcArgumentChecksInParameterOrder) {
  EncodeHuffmanSpec table{};
  DecodeHuffmanSpec dtable{};
  States s;
  int16_t block[64] = {};
  uint8_t out[8] = {};
  int pos = 0, marker = 0;
  for (auto* encode : {vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1}) {
    EXPECT_EQ(encode(block, nullptr, 0, nullptr, 0, 0, 0, nullptr, nullptr, 0), vekStsNullPtr);
    EXPECT_EQ(encode(block, out, 0, nullptr, 0, 0, 0, nullptr, nullptr, 0), vekStsBadSize);
    EXPECT_EQ(encode(block, out, 8, nullptr, 0, 0, 0, nullptr, nullptr, 0), vekStsNullPtr);
    EXPECT_EQ(encode(block, out, 8, &pos, 0, 0, 0, nullptr, nullptr, 0), vekStsNullPtr);
    EXPECT_EQ(encode(block, out, 8, &pos, 0, 0, 0, nullptr, &s.enc, 0), vekStsNullPtr);
    EXPECT_EQ(encode(nullptr, out, 8, &pos, 0, 0, 0, &table, &s.enc, 0), vekStsNullPtr);
    EXPECT_EQ(encode(block, out, 8, &pos, 0, 5, 0, &table, &s.enc, 0), vekStsBadArg);
    EXPECT_EQ(encode(block, out, 8, &pos, 6, 5, 0, &table, &s.enc, 0), vekStsBadArg);
    EXPECT_EQ(encode(block, out, 8, &pos, 1, 64, 0, &table, &s.enc, 0), vekStsBadArg);
    EXPECT_EQ(encode(block, out, 8, &pos, 1, 63, 14, &table, &s.enc, 0), vekStsBadArg);
    EXPECT_EQ(encode(block, out, 8, &pos, 1, 63, 13, &table, &s.enc, 0), vekStsOk) << "a zero band joins the run";
    EXPECT_EQ(s.enc.eobRun, 1);
    EXPECT_EQ(encode(nullptr, out, 8, &pos, 0, 0, 0, &table, &s.enc, 1), vekStsJPEGBadTable) << "the run has no code";
    EXPECT_EQ(s.enc.eobRun, 0) << "the flush clears the state";
  }
  for (auto* decode : {vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1}) {
    EXPECT_EQ(decode(nullptr, 0, nullptr, nullptr, nullptr, 0, 0, 0, nullptr, nullptr), vekStsNullPtr);
    EXPECT_EQ(decode(out, 0, nullptr, nullptr, nullptr, 0, 0, 0, nullptr, nullptr), vekStsBadSize);
    EXPECT_EQ(decode(out, 8, nullptr, nullptr, nullptr, 0, 0, 0, nullptr, nullptr), vekStsNullPtr);
    EXPECT_EQ(decode(out, 8, &pos, nullptr, nullptr, 0, 0, 0, nullptr, nullptr), vekStsNullPtr);
    EXPECT_EQ(decode(out, 8, &pos, block, nullptr, 0, 0, 0, nullptr, nullptr), vekStsNullPtr);
    EXPECT_EQ(decode(out, 8, &pos, block, &marker, 0, 0, 0, nullptr, nullptr), vekStsBadArg);
    EXPECT_EQ(decode(out, 8, &pos, block, &marker, 1, 63, 0, nullptr, nullptr), vekStsNullPtr);
    EXPECT_EQ(decode(out, 8, &pos, block, &marker, 1, 63, 0, &dtable, nullptr), vekStsNullPtr);
  }
  Vek32u counts[256] = {};
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, counts, 1, 63, 0, &s.enc, 0), vekStsNullPtr);
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counts, 1, 63, 0, nullptr, 0), vekStsNullPtr);
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, counts, 0, 63, 0, &s.enc, 0), vekStsBadArg);
  EXPECT_EQ(vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, counts, 0, 63, 0, &s.enc, 1), vekStsOk);
}

// AC refinement symbols of size other than 0 or 1 are corrupt, and a run
// past the band's end is vekStsErr.
TEST(HuffmanProgressive, CorruptAcData) {
  uint8_t bits[16] = {};
  bits[7] = 255;
  bits[8] = 1;
  uint8_t vals[256];
  for (int i = 0; i < 256; ++i) vals[i] = static_cast<uint8_t>(i);
  DecodeHuffmanSpec t;
  ASSERT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(bits, vals, &t), vekStsOk);
  const uint8_t refineSize2[] = {0x02, 0, 0, 0};
  States s;
  int16_t block[64] = {};
  int pos = 0, marker = 0;
  EXPECT_EQ(vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(refineSize2, 4, &pos, block, &marker, 1, 63, 0, &t, &s.dec),
            vekStsJPEGBadData);
  const uint8_t runPastBand[] = {0x51, 0x80, 0, 0};  // run 5 and a value in a band of 3
  States fresh;
  pos = 0;
  EXPECT_EQ(vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(runPastBand, 4, &pos, block, &marker, 1, 3, 0, &t, &fresh.dec),
            vekStsErr);
  // An end-of-band run of 2^3 + 5: this block and 12 more.
  const uint8_t run13[] = {0x30, 0b10100000, 0, 0};
  States r;
  pos = 0;
  ASSERT_EQ(vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(run13, 4, &pos, block, &marker, 1, 63, 0, &t, &r.dec), vekStsOk);
  EXPECT_EQ(r.dec.eobRun, 12);
}

}  // namespace
}  // namespace vek
