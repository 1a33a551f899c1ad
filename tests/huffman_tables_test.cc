// Huffman table specifications: the record layouts, refusals and acceptances,
// canonical codes that decode to their symbols, and optimal lists against
// libjpeg-turbo's jpeg_gen_optimal_table.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "jpeg/huffman_bitstream.h"
#include "jpeg/huffman_records.h"
#include "simd_check.h"
#include "support/jpeg_markers.h"
#include "support/libjpeg_peer.h"
#include "vekj.h"

namespace vek {
namespace {

using test::JpegHuffmanTable;

std::array<uint8_t, 256> Vals(const JpegHuffmanTable& t) {
  std::array<uint8_t, 256> vals{};
  std::copy(t.values.begin(), t.values.end(), vals.begin());
  return vals;
}

TEST(HuffmanSpec, SizesAndLifeCycle) {
  int size = 0;
  EXPECT_EQ(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size), vekStsOk);
  EXPECT_EQ(size, 1024);
  EXPECT_EQ(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size), vekStsOk);
  EXPECT_EQ(size, 1644);
  EXPECT_EQ(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), vekStsNullPtr);
  const JpegHuffmanTable dc = codec::kLuminanceDc;
  const auto vals = Vals(dc);
  EncodeHuffmanSpec* enc = nullptr;
  DecodeHuffmanSpec* dec = nullptr;
  ASSERT_EQ(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(dc.bits.data(), vals.data(), &enc), vekStsOk);
  ASSERT_EQ(vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(dc.bits.data(), vals.data(), &dec), vekStsOk);
  EXPECT_EQ(vekiEncodeHuffmanSpecFree_JPEG_8u(enc), vekStsOk);
  EXPECT_EQ(vekiDecodeHuffmanSpecFree_JPEG_8u(dec), vekStsOk);
  EXPECT_EQ(vekiEncodeHuffmanSpecFree_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanSpecFree_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(nullptr, vals.data(), &enc), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(dc.bits.data(), nullptr, &enc), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(dc.bits.data(), vals.data(), nullptr), vekStsNullPtr);
  // A refused table leaves nothing allocated (the sanitizer build checks for leaks).
  const std::array<Vek8u, 16> twoOneBitCodes = {2};
  const std::array<Vek8u, 256> symbols = {};
  enc = reinterpret_cast<EncodeHuffmanSpec*>(&size);
  EXPECT_EQ(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(twoOneBitCodes.data(), symbols.data(), &enc), vekStsJPEGBadTable);
  EXPECT_EQ(enc, nullptr);
  std::array<Vek8u, 16> over = {};  // 257 codes
  over[8] = 2;
  over[15] = 255;
  EXPECT_EQ(vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(over.data(), symbols.data(), &dec), vekStsJPEGBadTable);
  EXPECT_EQ(dec, nullptr);
  EncodeHuffmanSpec e;
  DecodeHuffmanSpec d;
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), vals.data(), nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(nullptr, vals.data(), &d), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), nullptr, &e), vekStsNullPtr);
}

TEST(HuffmanSpec, StandardLuminanceDcCodesOfTableK3) {
  const JpegHuffmanTable dc = codec::kLuminanceDc;
  const auto vals = Vals(dc);
  EncodeHuffmanSpec e;
  DecodeHuffmanSpec d;
  ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), vals.data(), &e), vekStsOk);
  ASSERT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), vals.data(), &d), vekStsOk);
  const uint32_t length[12] = {2, 3, 3, 3, 3, 3, 4, 5, 6, 7, 8, 9};
  const uint32_t code[12] = {0b00, 0b010, 0b011, 0b100, 0b101, 0b110, 0b1110, 0b11110, 0b111110, 0b1111110,
                             0b11111110, 0b111111110};
  for (int s = 0; s < 256; ++s) {
    EXPECT_EQ(e.entries[s], s < 12 ? length[s] << 16 | code[s] : 0u) << "symbol " << s;
  }
  // The decode record: fast entries for every 8-bit prefix of a short code.
  EXPECT_EQ(d.fast[0b00000000][0], 0);
  EXPECT_EQ(d.fast[0b00111111][1], 2);
  EXPECT_EQ(d.fast[0b01011111][0], 1);
  EXPECT_EQ(d.fast[0b11111110][0], 10);
  EXPECT_EQ(d.fast[0b11111111][1], 0);  // 9 bits: longer than the lookup
  EXPECT_EQ(d.maxCode[1], -1);
  EXPECT_EQ(d.maxCode[2], 0);
  EXPECT_EQ(d.minCode[3], 2);
  EXPECT_EQ(d.maxCode[3], 6);
  EXPECT_EQ(d.firstIndex[3], 1);
  EXPECT_EQ(d.maxCode[9], 0b111111110);
  EXPECT_EQ(d.maxCode[10], -1);
  EXPECT_EQ(d.maxCode[17], -1);
}

TEST(HuffmanSpec, RefusalsAndAcceptances) {
  std::array<uint8_t, 256> vals{};
  for (int i = 0; i < 256; ++i) vals[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
  EncodeHuffmanSpec e;
  DecodeHuffmanSpec d;
  const uint8_t empty[16] = {};
  ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(empty, vals.data(), &e), vekStsOk);
  ASSERT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(empty, vals.data(), &d), vekStsOk);
  for (uint32_t entry : e.entries) EXPECT_EQ(entry, 0u);
  for (int length = 1; length <= 17; ++length) EXPECT_EQ(d.maxCode[length], -1);

  const uint8_t twoOfOneBit[16] = {2};
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(twoOfOneBit, vals.data(), &e), vekStsJPEGBadTable);
  EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(twoOfOneBit, vals.data(), &d), vekStsOk);
  const uint8_t threeOfOneBit[16] = {3};  // the third code falls outside the fast lookup
  EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(threeOfOneBit, vals.data(), &d), vekStsJPEGBadTable);
  const uint8_t overFullLong[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255};
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(overFullLong, vals.data(), &e), vekStsOk);
  const uint8_t allOnes16[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2};  // the last code is all 1-bits
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(allOnes16, vals.data(), &e), vekStsJPEGBadTable);
  const uint8_t gap[16] = {1, 0, 0, 2};  // lengths without codes are checked too
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(gap, vals.data(), &e), vekStsOk);
  EXPECT_EQ(e.entries[1], 4u << 16 | 0b1000);
  const uint8_t sum257[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 255};
  EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(sum257, vals.data(), &e), vekStsJPEGBadTable);
  EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(sum257, vals.data(), &d), vekStsJPEGBadTable);
  // A symbol named twice keeps its later code.
  const uint8_t three[16] = {0, 3};
  const uint8_t twice[3] = {7, 9, 7};
  ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(three, twice, &e), vekStsOk);
  EXPECT_EQ(e.entries[7], 2u << 16 | 0b10);
}

std::vector<long> RandomCounts(int kind) {
  std::vector<long> counts(256, 0);
  auto& rng = test::Rng();
  switch (kind % 5) {
    case 0:  // dense, small counts with many ties
      for (long& c : counts) c = static_cast<long>(rng() % 5);
      break;
    case 1: {  // sparse and skewed
      for (int i = 0; i < 40; ++i) counts[rng() % 256] = static_cast<long>(rng() % 100000);
      break;
    }
    case 2: {  // Fibonacci counts: lengths far above 16 must be folded
      long a = 1, b = 1;
      for (int i = 0; i < 28; ++i) {
        counts[static_cast<std::size_t>(rng() % 256)] += a;
        const long c = a + b;
        a = b;
        b = c;
      }
      break;
    }
    case 3:  // counts beyond the limit never take part
      for (int i = 0; i < 30; ++i) counts[rng() % 256] = static_cast<long>(rng() % 3 == 0 ? 1500000000 : rng() % 1000 + 1);
      break;
    default:
      counts[rng() % 256] = static_cast<long>(rng() % 1000 + 1);  // a single symbol
  }
  return counts;
}

TEST(HuffmanRawTable, MatchesLibjpegOptimalTables) {
  for (int trial = 0; trial < 500; ++trial) {
    const std::vector<long> counts = RandomCounts(trial);
    std::array<int, 256> stats{};
    bool any = false;
    for (std::size_t i = 0; i < 256; ++i) {
      stats[i] = static_cast<int>(counts[i]);
      any |= counts[i] != 0 && counts[i] <= 1000000000;
    }
    if (!any) continue;
    std::array<uint8_t, 16> bits{};
    std::array<uint8_t, 256> vals{};
    const VekStatus st = vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits.data(), vals.data());
    const auto want = test::OptimalTableWithLibjpeg(counts);
    ASSERT_EQ(st == vekStsOk, want.has_value()) << "trial " << trial << " status " << st;
    if (!want) continue;
    ASSERT_EQ(bits, want->bits) << "trial " << trial;
    ASSERT_TRUE(std::equal(want->values.begin(), want->values.end(), vals.begin())) << "trial " << trial;
    EncodeHuffmanSpec e;
    EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), &e), vekStsOk) << "trial " << trial;
  }
}

TEST(HuffmanRawTable, EdgeCounts) {
  std::array<int, 256> stats{};
  std::array<uint8_t, 16> bits;
  std::array<uint8_t, 256> vals;
  bits.fill(9);
  vals.fill(9);
  EXPECT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits.data(), vals.data()), vekStsOk);
  for (uint8_t b : bits) EXPECT_EQ(b, 0);  // nothing to code: the empty table
  EXPECT_EQ(vals[0], 9) << "no HUFFVAL for the empty table";
  stats[77] = 5;
  ASSERT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits.data(), vals.data()), vekStsOk);
  EXPECT_EQ(bits[0], 1);
  EXPECT_EQ(vals[0], 77);
  for (int i = 1; i < 16; ++i) EXPECT_EQ(bits[static_cast<std::size_t>(i)], 0);
  EXPECT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(nullptr, bits.data(), vals.data()), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), nullptr, vals.data()), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits.data(), nullptr), vekStsNullPtr);
}

// Every code of random optimal tables decodes to its symbol, fast or long.
TEST(HuffmanSpec, EveryCodeDecodesToItsSymbol) {
  for (int trial = 0; trial < 200; ++trial) {
    std::vector<long> counts = RandomCounts(trial % 3);
    std::array<int, 256> stats{};
    for (std::size_t i = 0; i < 256; ++i) stats[i] = static_cast<int>(counts[i]);
    std::array<uint8_t, 16> bits{};
    std::array<uint8_t, 256> vals{};
    if (vekiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits.data(), vals.data()) != vekStsOk) continue;
    EncodeHuffmanSpec e;
    DecodeHuffmanSpec d;
    ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), &e), vekStsOk);
    ASSERT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), &d), vekStsOk);
    for (int s = 0; s < 256; ++s) {
      if (CodeLength(e.entries[s]) == 0) continue;
      uint8_t buffer[8] = {};
      int32_t pos = 0;
      RawBitWriter writer(buffer, 8, &pos);
      ASSERT_EQ(writer.PutCode(e.entries[s], 0, 0), vekStsOk);
      int32_t readPos = 0;
      RawBitReader reader(buffer, 8, &readPos);
      int symbol = -1;
      ASSERT_EQ(DecodeSymbol(reader, d, symbol), vekStsOk);
      reader.Finish();
      EXPECT_EQ(symbol, s);
      EXPECT_EQ(readPos, static_cast<int32_t>(CodeLength(e.entries[s])));
    }
  }
}

}  // namespace
}  // namespace vek
