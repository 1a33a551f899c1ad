// Baseline Huffman coding and the bit-stream conventions: bytes against a
// bit-by-bit model of the coding rules, stuffing, padding, markers and fill
// bytes, partial effects of a full buffer or short input (the fast path
// giving the same bytes, positions and states), argument checks, the
// one-value coders and the Direct variants.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "jpeg/huffman_records.h"
#include "jpeg/zigzag.h"
#include "simd_check.h"
#include "support/jpeg_markers.h"
#include "vekj.h"

namespace vek {
namespace {

using test::JpegHuffmanTable;
using test::ForEachForm;

struct Tables {
  EncodeHuffmanSpec dcEnc, acEnc;
  DecodeHuffmanSpec dcDec, acDec;
  explicit Tables(const JpegHuffmanTable& dc, const JpegHuffmanTable& ac) {
    std::array<uint8_t, 256> dv{}, av{};
    std::copy(dc.values.begin(), dc.values.end(), dv.begin());
    std::copy(ac.values.begin(), ac.values.end(), av.begin());
    EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), dv.data(), &dcEnc), vekStsOk);
    EXPECT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(ac.bits.data(), av.data(), &acEnc), vekStsOk);
    EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), dv.data(), &dcDec), vekStsOk);
    EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(ac.bits.data(), av.data(), &acDec), vekStsOk);
  }
};

Tables StandardTables() { return Tables(codec::kLuminanceDc, codec::kLuminanceAc); }

// Tables with a code for every symbol, of lengths 8 and 9 (some codes are
// long enough to need the bit-by-bit search).
Tables FullTables() {
  JpegHuffmanTable t;
  t.bits[7] = 255;  // 255 codes of 8 bits...
  t.bits[8] = 1;    // ...and one of 9
  for (int i = 0; i < 256; ++i) t.values.push_back(static_cast<uint8_t>((i * 37 + 11) & 255));
  return Tables(t, t);
}

// ---- A bit-by-bit model of the encoder ----

struct BitModel {
  std::vector<bool> bits;
  void Put(uint32_t code, int length) {
    for (int i = length - 1; i >= 0; --i) bits.push_back((code >> i) & 1);
  }
  void PutSymbol(const EncodeHuffmanSpec& t, int symbol) { Put(t.entries[symbol] & 0xFFFF, static_cast<int>(t.entries[symbol] >> 16)); }
  void PutValue(int v, int category) { Put(static_cast<uint32_t>(v < 0 ? v - 1 : v) & ((1u << category) - 1), category); }
  static int Category(int v) { return v == 0 ? 0 : 32 - __builtin_clz(static_cast<unsigned>(v < 0 ? -v : v)); }
  void Block(const int16_t* block, int& lastDc, const Tables& t) {
    const int diff = block[0] - lastDc;
    lastDc = block[0];
    PutSymbol(t.dcEnc, Category(diff));
    PutValue(diff, Category(diff));
    int run = 0;
    for (int k = 1; k < 64; ++k) {
      const int v = block[kZigzagToNatural[k]];
      if (v == 0) {
        ++run;
        continue;
      }
      for (; run > 15; run -= 16) PutSymbol(t.acEnc, 0xF0);
      PutSymbol(t.acEnc, run * 16 + Category(v));
      PutValue(v, Category(v));
      run = 0;
    }
    if (run > 0) PutSymbol(t.acEnc, 0);
  }
  // Whole bytes with stuffing; with pad, the last byte filled with 1-bits.
  std::vector<uint8_t> Bytes(bool pad) const {
    std::vector<bool> b = bits;
    if (pad) while (b.size() % 8) b.push_back(true);
    std::vector<uint8_t> out;
    for (std::size_t i = 0; i + 8 <= b.size(); i += 8) {
      uint8_t byte = 0;
      for (std::size_t j = 0; j < 8; ++j) byte = static_cast<uint8_t>(byte << 1 | b[i + j]);
      out.push_back(byte);
      if (byte == 0xFF) out.push_back(0);
    }
    return out;
  }
};

std::vector<int16_t> RandomBlocks(int n, int maxCategory, int density) {
  std::vector<int16_t> blocks(static_cast<std::size_t>(n) * 64);
  auto& rng = test::Rng();
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (i % 64 != 0 && static_cast<int>(rng() % 100) >= density) continue;
    const int category = static_cast<int>(rng() % static_cast<unsigned>(maxCategory + 1));
    const int magnitude = category == 0 ? 0 : (1 << (category - 1)) + static_cast<int>(rng() % (1u << (category - 1)));
    blocks[i] = static_cast<int16_t>(rng() % 2 ? magnitude : -magnitude);
  }
  for (int b = 0; b < n; b += 5) blocks[static_cast<std::size_t>(b) * 64 + 63] = 3;  // no end of block
  return blocks;
}

struct Encoder {
  std::vector<uint8_t> state = std::vector<uint8_t>(1048);
  EncodeHuffmanState* St() { return reinterpret_cast<EncodeHuffmanState*>(state.data()); }
  Encoder() { vekiEncodeHuffmanStateInit_JPEG_8u(St()); }
};

TEST(HuffmanBaseline, BytesFollowTheBitModel) {
  for (int pass = 0; pass < 2; ++pass) {
    const Tables t = pass == 0 ? StandardTables() : FullTables();
    const int n = 300;
    // DC differences stay within the table's categories.
    auto blocks = RandomBlocks(n, pass == 0 ? 10 : 15, pass == 0 ? 30 : 60);
    for (int b = 0; b < n; ++b) blocks[static_cast<std::size_t>(b) * 64] = static_cast<int16_t>(blocks[static_cast<std::size_t>(b) * 64] / 2);
    BitModel model;
    int modelDc = 0;
    for (int b = 0; b < n; ++b) model.Block(&blocks[static_cast<std::size_t>(b) * 64], modelDc, t);
    const std::vector<uint8_t> want = model.Bytes(true);
    // A roomy buffer (fast path) and one of exactly the size (put-by-put writer at the end).
    for (std::size_t room : {want.size() + 4096, want.size()}) {
      Encoder enc;
      std::vector<uint8_t> out(room + 8, 0xAB);
      int pos = 0;
      Vek16s lastDc = 0;
      for (int b = 0; b < n; ++b) {
        ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(&blocks[static_cast<std::size_t>(b) * 64], out.data(), static_cast<int>(room),
                                                     &pos, &lastDc, &t.dcEnc, &t.acEnc, enc.St(), 0),
                  vekStsOk)
            << "block " << b;
        ASSERT_LE(enc.St()->count, 7);
        ASSERT_EQ(enc.St()->bits & ~(0xFFFFFFu << (24 - enc.St()->count) & 0xFFFFFFu), 0u) << "bits outside the pending ones";
      }
      EXPECT_EQ(lastDc, blocks[static_cast<std::size_t>(n - 1) * 64]);
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), static_cast<int>(room), &pos, nullptr, nullptr,
                                                   nullptr, enc.St(), 1),
                vekStsOk);
      ASSERT_EQ(static_cast<std::size_t>(pos), want.size());
      EXPECT_TRUE(std::equal(want.begin(), want.end(), out.begin()));
      EXPECT_EQ(out[room], 0xAB);
      for (uint8_t byte : enc.state) EXPECT_EQ(byte, 0) << "flush clears the state";

      // The decoder gives the blocks back and reads exactly the bytes.
      std::vector<uint8_t> ds(24);
      auto* dst = reinterpret_cast<DecodeHuffmanState*>(ds.data());
      vekiDecodeHuffmanStateInit_JPEG_8u(dst);
      int readPos = 0, marker = 0;
      Vek16s dc = 0;
      for (int b = 0; b < n; ++b) {
        int16_t block[64];
        ASSERT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out.data(), pos, &readPos, block, &dc, &marker, &t.dcDec, &t.acDec, dst),
                  vekStsOk);
        ASSERT_TRUE(std::equal(block, block + 64, &blocks[static_cast<std::size_t>(b) * 64])) << "block " << b;
        int end = 64;
        while (end > 1 && block[kZigzagToNatural[end - 1]] == 0) --end;
        ASSERT_EQ(reinterpret_cast<int32_t*>(ds.data())[3], end) << "end position";
      }
    }
  }
}

// Calls with room for the fast writer and calls just short of it (the
// put-by-put writer) agree after every call: bytes, position, state; the
// fast writer stores nothing past the final position. In every form.
TEST(HuffmanBaseline, FastAndPutByPutWritersAgreeCallByCall) {
  const Tables t = FullTables();
  const int n = 200;
  const auto blocks = RandomBlocks(n, 15, 50);
  ForEachForm([&] {
    Encoder fast, slow;
    std::vector<uint8_t> a(1 << 18, 0xAB), b(1 << 18);
    int posA = 0, posB = 0;
    Vek16s dcA = 0, dcB = 0;
    for (int i = 0; i < n; ++i) {
      const int16_t* block = &blocks[static_cast<std::size_t>(i) * 64];
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, a.data(), 1 << 18, &posA, &dcA, &t.dcEnc, &t.acEnc,
                                                   fast.St(), 0),
                vekStsOk);
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, b.data(), posB + 1023, &posB, &dcB, &t.dcEnc, &t.acEnc,
                                                   slow.St(), 0),
                vekStsOk);
      ASSERT_EQ(posA, posB) << "block " << i;
      ASSERT_EQ(fast.state, slow.state) << "block " << i;
      ASSERT_TRUE(std::all_of(a.begin() + posA, a.begin() + posA + 1024, [](uint8_t x) { return x == 0xAB; }))
          << "stored past the final position, block " << i;
    }
    EXPECT_TRUE(std::equal(a.begin(), a.begin() + posA, b.begin()));
  });
}

// Every AC value, the ends of each category included, through both writers
// (the fast one forms the extra bits of a negative value by a borrow from
// the code, or takes them from the SIMD forms' terms), at the positions
// right after the DC and last; -32768 and a symbol without a code fail alike
// in both, after the same puts.
TEST(HuffmanBaseline, EveryAcValueAgreesInBothWriters) {
  const Tables t = FullTables();
  Tables missing = FullTables();
  missing.acEnc.entries[0x12] = 0;  // run 1, category 2
  ForEachForm([&] {
    Encoder fast, slow;
    const int size = 1 << 21;
    std::vector<uint8_t> a(size), b(size);
    int posA = 0, posB = 0;
    Vek16s dcA = 0, dcB = 0;
    const auto both = [&](const std::array<int16_t, 64>& block, const Tables& tables, VekStatus want) {
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block.data(), a.data(), size, &posA, &dcA, &tables.dcEnc,
                                                   &tables.acEnc, fast.St(), 0),
                want);
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block.data(), b.data(), posB + 1023, &posB, &dcB, &tables.dcEnc,
                                                   &tables.acEnc, slow.St(), 0),
                want);
      ASSERT_EQ(posA, posB);
      ASSERT_EQ(fast.state, slow.state);
    };
    for (const int position : {1, 63}) {
      for (int v = -32767; v <= 32767; ++v) {
        std::array<int16_t, 64> block{};
        block[kZigzagToNatural[position]] = static_cast<int16_t>(v);
        ASSERT_NO_FATAL_FAILURE(both(block, t, vekStsOk)) << "value " << v << " at " << position;
      }
    }
    std::array<int16_t, 64> failing{};
    for (const int16_t v : {int16_t{3}, int16_t{-32768}}) {
      failing[kZigzagToNatural[5]] = 9;
      failing[kZigzagToNatural[7]] = v;
      failing[kZigzagToNatural[9]] = 2;
      ASSERT_NO_FATAL_FAILURE(both(failing, v == 3 ? missing : t, v == 3 ? vekStsJPEGBadTable : vekStsJPEGBadData))
          << "value " << v;
    }
    EXPECT_TRUE(std::equal(a.begin(), a.begin() + posA, b.begin()));
  });
}

TEST(HuffmanBaseline, EdgeCases) {
  const Tables t = StandardTables();
  Encoder enc;
  uint8_t out[64] = {};
  int pos = 0;
  Vek16s lastDc = 0;
  int16_t zero[64] = {};
  // All zero with last DC 0: DC category 0 (00) and end of block (1010), then the pad.
  ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(zero, out, 64, &pos, &lastDc, &t.dcEnc, &t.acEnc, enc.St(), 0), vekStsOk);
  EXPECT_EQ(pos, 0);
  EXPECT_EQ(enc.St()->count, 6);
  EXPECT_EQ(enc.St()->bits, 0b001010u << 18);
  ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out, 64, &pos, nullptr, nullptr, nullptr, enc.St(), 1), vekStsOk);
  EXPECT_EQ(pos, 1);
  EXPECT_EQ(out[0], 0b00101011);

  // A run of 32 zeros before a value: two ZRL codes, then 0x01 and its bit.
  int16_t runs[64] = {};
  runs[kZigzagToNatural[33]] = 1;
  BitModel want;
  for (auto [code, length] : {std::pair{0b00u, 2}, {0b11111111001u, 11}, {0b11111111001u, 11}, {0b00u, 2}, {1u, 1},
                              {0b1010u, 4}}) {
    want.Put(code, length);
  }
  Encoder zrl;
  pos = 0;
  lastDc = 0;
  ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(runs, out, 64, &pos, &lastDc, &t.dcEnc, &t.acEnc, zrl.St(), 0), vekStsOk);
  ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out, 64, &pos, nullptr, nullptr, nullptr, zrl.St(), 1), vekStsOk);
  const auto bytes = want.Bytes(true);
  ASSERT_EQ(static_cast<std::size_t>(pos), bytes.size());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), out));

  // Flush with 3 pending bits writes one byte whose low 5 bits are 1.
  Encoder three;
  pos = 0;
  three.St()->bits = 0b101u << 21;
  three.St()->count = 3;
  ASSERT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out, 64, &pos, nullptr, three.St(), 1), vekStsOk);
  EXPECT_EQ(pos, 1);
  EXPECT_EQ(out[0], 0b10111111);
}

// 0xFF is always followed by 0x00; with one byte of room for it the put
// fails, keeps the byte and the position, and leaves the state as before it.
TEST(HuffmanBaseline, StuffingAndFullBuffer) {
  JpegHuffmanTable ff;
  ff.bits[7] = 2;  // codes 00000000 and 00000001 of 8 bits
  ff.values = {0, 1};
  JpegHuffmanTable wide;
  wide.bits[15] = 1;  // one code of 16 bits for symbol 0: 0000000000000000
  wide.values = {0};
  std::array<uint8_t, 256> v{};
  EncodeHuffmanSpec e;
  v[0] = 0;
  v[1] = 1;
  ASSERT_EQ(vekiEncodeHuffmanSpecInit_JPEG_8u(ff.bits.data(), v.data(), &e), vekStsOk);
  // A value of category 8 has 8 extra bits: 255 -> 0xFF.
  e.entries[8] = 8u << 16 | 0x00;
  Encoder enc;
  uint8_t out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
  int pos = 0;
  const Vek16s v255 = 255;
  ASSERT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(&v255, out, 4, &pos, &e, enc.St(), 0), vekStsOk);
  EXPECT_EQ(pos, 3);
  EXPECT_EQ(out[0], 0x00);
  EXPECT_EQ(out[1], 0xFF);
  EXPECT_EQ(out[2], 0x00);
  // One byte of room left: the 0xFF goes in, its 0x00 does not.
  pos = 3;
  const EncodeHuffmanState before = *enc.St();
  EXPECT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(&v255, out, 4, &pos, &e, enc.St(), 0), vekStsJPEGOutOfBuffer);
  EXPECT_EQ(pos, 4);
  EXPECT_EQ(out[3], 0x00);  // the code's byte went in; the extra bits' put failed
  EXPECT_EQ(std::memcmp(&before, enc.St(), sizeof before), 0);
  pos = 4;
  EXPECT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(&v255, out, 4, &pos, &e, enc.St(), 0), vekStsJPEGOutOfBuffer);
  EXPECT_EQ(pos, 4);
  // A symbol without a code writes nothing.
  const Vek16s v3 = 3;
  pos = 0;
  EXPECT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(&v3, out, 4, &pos, &e, enc.St(), 0), vekStsJPEGBadTable);
  EXPECT_EQ(pos, 0);
}

// Every buffer length: the bytes are a prefix of the whole stream, nothing
// is written past the length, and a failing call leaves the state as the
// last successful put made it, exactly as a byte-by-byte model predicts.
TEST(HuffmanBaseline, EveryBufferLengthGivesAPrefix) {
  const Tables t = FullTables();
  const auto blocks = RandomBlocks(6, 15, 50);
  std::vector<uint8_t> full(8192);
  int fullPos = 0;
  {
    Encoder enc;
    Vek16s dc = 0;
    for (int b = 0; b < 6; ++b) {
      ASSERT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(&blocks[static_cast<std::size_t>(b) * 64], full.data(), 8192, &fullPos, &dc,
                                                   &t.dcEnc, &t.acEnc, enc.St(), 0),
                vekStsOk);
    }
  }
  for (int length = 1; length < fullPos + 2; ++length) {
    Encoder enc;
    std::vector<uint8_t> out(static_cast<std::size_t>(length) + 4, 0xAB);
    int pos = 0;
    Vek16s dc = 0;
    VekStatus st = vekStsOk;
    for (int b = 0; b < 6 && st == vekStsOk; ++b) {
      st = vekiEncodeHuffman8x8_JPEG_16s1u_C1(&blocks[static_cast<std::size_t>(b) * 64], out.data(), length, &pos, &dc,
                                              &t.dcEnc, &t.acEnc, enc.St(), 0);
    }
    ASSERT_EQ(st, length >= fullPos ? vekStsOk : vekStsJPEGOutOfBuffer) << length;
    ASSERT_LE(pos, length);
    ASSERT_TRUE(std::equal(out.begin(), out.begin() + pos, full.begin())) << length;
    ASSERT_EQ(out[static_cast<std::size_t>(length)], 0xAB) << "wrote past the length " << length;
    if (st != vekStsOk) {
      // Bytes stored before the failure (pos) cover the state's pending bits.
      EXPECT_GE(pos, length - 1) << length;
    }
  }
}

// ---- Decoder fill rules ----

struct Decoder {
  std::vector<uint8_t> state = std::vector<uint8_t>(24);
  DecodeHuffmanState* St() { return reinterpret_cast<DecodeHuffmanState*>(state.data()); }
  int32_t Field(int i) const { int32_t v; std::memcpy(&v, state.data() + 4 * i, 4); return v; }
  Decoder() { vekiDecodeHuffmanStateInit_JPEG_8u(St()); }
};

// A table of 256 symbols of 8 bits: symbol s is the byte s, so the decoded
// values show the bytes the decoder took.
DecodeHuffmanSpec ByteTable() {
  uint8_t bits[16] = {};
  bits[7] = 255;
  bits[8] = 1;
  std::array<uint8_t, 256> vals{};
  for (int i = 0; i < 256; ++i) vals[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
  DecodeHuffmanSpec d;
  EXPECT_EQ(vekiDecodeHuffmanSpecInit_JPEG_8u(bits, vals.data(), &d), vekStsOk);
  return d;
}

TEST(HuffmanDecoder, StuffingFillBytesMarkersAndEnd) {
  const DecodeHuffmanSpec d = ByteTable();  // symbol s < 255 -> category s & 15... value decoding
  // Symbols 0..15 are categories; use the One decoder with category-0 symbols
  // to watch only the fill: 0x00 (symbol 0) bytes and a stuffed 0xFF.
  const uint8_t data[] = {0x00, 0xFF, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xD0, 0x00};
  Decoder dec;
  int pos = 0, marker = 0;
  Vek16s value = 7;
  ASSERT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(data, 9, &pos, &value, &marker, &d, dec.St()), vekStsOk);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(marker, 0xD0) << "fill bytes before the marker are passed over";
  EXPECT_EQ(pos, 8);
  EXPECT_EQ(dec.Field(1), 24 - 8) << "0x00, 0xFF (stuffed), 0x00 held, one byte used";
  EXPECT_EQ(dec.Field(0), 0x00FF00u);
  // Symbol 0xFF is 9 bits (1111 1111 0): read 0xFF then 0x00.
  ASSERT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(data, 9, &pos, &value, &marker, &d, dec.St()), vekStsOk);
  EXPECT_EQ(value, -32768) << "symbol 255 is category 16 or more";
  // 7 bits left: more than held after the marker -> bad data, nothing read.
  EXPECT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(data, 9, &pos, &value, &marker, &d, dec.St()), vekStsJPEGBadData);
  EXPECT_EQ(pos, 8);

  // The end of the source: out of buffer, position at the end.
  Decoder end;
  pos = 0;
  marker = 0;
  const uint8_t two[] = {0x01, 0x02};
  ASSERT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(two, 2, &pos, &value, &marker, &d, end.St()), vekStsOk);
  EXPECT_EQ(value, -1) << "symbol 1: category 1, next bit 0";
  ASSERT_EQ(end.Field(1), 7);
  EXPECT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(two, 2, &pos, &value, &marker, &d, end.St()), vekStsJPEGOutOfBuffer);
  EXPECT_EQ(pos, 2);

  // The end inside a run of 0xFF: out of buffer at once, position at the first 0xFF.
  Decoder ff;
  pos = 0;
  const uint8_t tail[] = {0x00, 0xFF, 0xFF};
  EXPECT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(tail, 3, &pos, &value, &marker, &d, ff.St()), vekStsJPEGOutOfBuffer);
  EXPECT_EQ(pos, 1);
  EXPECT_EQ(ff.Field(1), 8);
}

TEST(HuffmanDecoder, CorruptData) {
  const Tables t = StandardTables();
  Decoder dec;
  int pos = 0, marker = 0;
  Vek16s dc = 0;
  int16_t block[64];
  // 16 bits of 1: no DC code matches (the longest is 9 bits).
  const uint8_t ones[] = {0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00};
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(ones, 8, &pos, block, &dc, &marker, &t.dcDec, &t.acDec, dec.St()),
            vekStsJPEGBadData);
  EXPECT_EQ(dec.Field(3), 0);
  EXPECT_EQ(dec.Field(1), 32 - 17) << "17 bits consumed";

  // A run that carries the position past 63: DC 00, then 63 x "0xF0 at 49".
  BitModel m;
  m.Put(0b00, 2);
  for (int i = 0; i < 3; ++i) m.PutSymbol(t.acEnc, 0xF0);  // to 49
  m.PutSymbol(t.acEnc, 0xF1);                              // 15 zeros and a value: 49 + 15 = 64
  m.Put(1, 1);
  const auto bytes = m.Bytes(true);
  Decoder d2;
  pos = 0;
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(bytes.data(), static_cast<int>(bytes.size()), &pos, block, &dc, &marker,
                                               &t.dcDec, &t.acDec, d2.St()),
            vekStsErr);
  EXPECT_EQ(d2.Field(3), 49);
}

TEST(HuffmanBaseline, ArgumentChecksInParameterOrder) {
  const Tables t = StandardTables();
  Encoder enc;
  int16_t block[64] = {};
  uint8_t out[8] = {};
  int pos = 0;
  Vek16s dc = 0;
  auto* s = enc.St();
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, nullptr, 0, nullptr, &dc, &t.dcEnc, &t.acEnc, s, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 0, nullptr, &dc, &t.dcEnc, &t.acEnc, s, 0), vekStsBadSize);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, nullptr, &dc, &t.dcEnc, &t.acEnc, s, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, &dc, &t.dcEnc, &t.acEnc, nullptr, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out, 8, &pos, nullptr, nullptr, nullptr, s, 1), vekStsOk);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out, 8, &pos, &dc, &t.dcEnc, &t.acEnc, s, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, nullptr, &t.dcEnc, &t.acEnc, s, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, &dc, nullptr, &t.acEnc, s, 0), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, &dc, &t.dcEnc, nullptr, s, 0), vekStsNullPtr);
  pos = -1;
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, &dc, &t.dcEnc, &t.acEnc, s, 0), vekStsBadArg);
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, 8, &pos, &dc, &t.dcEnc, &t.acEnc, s, 1), vekStsBadArg);
  EXPECT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out, 8, &pos, &t.dcEnc, s, 0), vekStsNullPtr);
  pos = 0;
  EXPECT_EQ(vekiEncodeHuffmanOne_JPEG_16s1u_C1(block, out, 8, &pos, nullptr, s, 0), vekStsNullPtr);

  Decoder dec;
  int marker = 0;
  auto* d = dec.St();
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(nullptr, -1, nullptr, block, &dc, &marker, &t.dcDec, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, -1, nullptr, block, &dc, &marker, &t.dcDec, &t.acDec, d), vekStsBadArg);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, nullptr, block, &dc, &marker, &t.dcDec, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, nullptr, &dc, &marker, &t.dcDec, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, nullptr, &marker, &t.dcDec, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, &dc, nullptr, &t.dcDec, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, &dc, &marker, nullptr, &t.acDec, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, &dc, &marker, &t.dcDec, nullptr, d), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, &dc, &marker, &t.dcDec, &t.acDec, nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffman8x8_JPEG_1u16s_C1(out, 0, &pos, block, &dc, &marker, &t.dcDec, &t.acDec, d), vekStsJPEGOutOfBuffer);
  EXPECT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(out, 0, &pos, block, &marker, &t.dcDec, d), vekStsBadSize);
  EXPECT_EQ(vekiDecodeHuffmanOne_JPEG_1u16s_C1(out, 8, &pos, block, nullptr, &t.dcDec, d), vekStsNullPtr);

  int size = 0;
  EXPECT_EQ(vekiEncodeHuffmanStateGetBufSize_JPEG_8u(&size), vekStsOk);
  EXPECT_EQ(size, 1048);
  EXPECT_EQ(vekiDecodeHuffmanStateGetBufSize_JPEG_8u(&size), vekStsOk);
  EXPECT_EQ(size, 24);
  EncodeHuffmanState* es = nullptr;
  DecodeHuffmanState* ds = nullptr;
  ASSERT_EQ(vekiEncodeHuffmanStateInitAlloc_JPEG_8u(&es), vekStsOk);
  ASSERT_EQ(vekiDecodeHuffmanStateInitAlloc_JPEG_8u(&ds), vekStsOk);
  EXPECT_EQ(es->count, 0);
  EXPECT_EQ(ds->count, 0);
  EXPECT_EQ(vekiEncodeHuffmanStateFree_JPEG_8u(es), vekStsOk);
  EXPECT_EQ(vekiDecodeHuffmanStateFree_JPEG_8u(ds), vekStsOk);
  EXPECT_EQ(vekiEncodeHuffmanStateFree_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanStateFree_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiEncodeHuffmanStateInit_JPEG_8u(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekiDecodeHuffmanStateInitAlloc_JPEG_8u(nullptr), vekStsNullPtr);
}

// An AC value of -32768 has no symbol; a DC difference of category 16 is
// coded when the table holds a code for it.
TEST(HuffmanBaseline, Category16) {
  const Tables full = FullTables();
  Encoder enc;
  std::vector<uint8_t> out(256);
  int pos = 0;
  Vek16s dc = 0;
  int16_t block[64] = {};
  block[1] = -32768;
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out.data(), 256, &pos, &dc, &full.dcEnc, &full.acEnc, enc.St(), 0),
            vekStsJPEGBadData);
  block[1] = 0;
  block[0] = -32768;
  dc = 32767;
  const int before = pos;
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out.data(), 256, &pos, &dc, &full.dcEnc, &full.acEnc, enc.St(), 0),
            vekStsOk);
  EXPECT_EQ(dc, -32768);
  EXPECT_GE((pos - before) * 8 + enc.St()->count, 8 + 16 + 8) << "code, 16 extra bits, end of block";
  const Tables std = StandardTables();
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out.data(), 256, &pos, &dc, &std.dcEnc, &std.acEnc, enc.St(), 0),
            vekStsOk) << "a difference of 0";
  dc = 0;
  EXPECT_EQ(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out.data(), 256, &pos, &dc, &std.dcEnc, &std.acEnc, enc.St(), 0),
            vekStsJPEGBadTable) << "category 16 has no code in a baseline table";
}

// The Direct variants write the stuffed stream's bits without the stuffing.
TEST(HuffmanDirect, SameBitsWithoutStuffingAndRoundTrip) {
  const Tables t = FullTables();
  const int n = 40;
  const auto blocks = RandomBlocks(n, 15, 40);
  BitModel model;
  int modelDc = 0;
  for (int b = 0; b < n; ++b) model.Block(&blocks[static_cast<std::size_t>(b) * 64], modelDc, t);
  std::vector<uint8_t> out(model.bits.size() / 8 + 1, 0xFF);
  int bitPos = 0;
  Vek16s dc = 0;
  for (int b = 0; b < n; ++b) {
    ASSERT_EQ(vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(&blocks[static_cast<std::size_t>(b) * 64], out.data(),
                                                        static_cast<int>(out.size()), &bitPos, &dc, &t.dcEnc, &t.acEnc),
              vekStsOk);
  }
  ASSERT_EQ(static_cast<std::size_t>(bitPos), model.bits.size());
  for (std::size_t i = 0; i < model.bits.size(); ++i) {
    ASSERT_EQ(((out[i / 8] >> (7 - i % 8)) & 1) != 0, model.bits[i]) << "bit " << i;
  }
  for (std::size_t i = model.bits.size(); i < out.size() * 8; ++i) ASSERT_EQ((out[i / 8] >> (7 - i % 8)) & 1, 0) << "cleared";
  int readPos = 0;
  dc = 0;
  for (int b = 0; b < n; ++b) {
    int16_t block[64];
    ASSERT_EQ(vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(out.data(), static_cast<int>(out.size()), &readPos, block, &dc,
                                                        &t.dcDec, &t.acDec),
              vekStsOk);
    ASSERT_TRUE(std::equal(block, block + 64, &blocks[static_cast<std::size_t>(b) * 64])) << b;
  }
  EXPECT_EQ(readPos, bitPos);
  // Too little room: nothing of the failing put, the position at it.
  int16_t block[64];
  readPos = bitPos;
  EXPECT_EQ(vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(out.data(), static_cast<int>(out.size()), &readPos, block, &dc,
                                                      &t.dcDec, &t.acDec),
            vekStsJPEGOutOfBuffer);
  uint8_t small[2] = {0x5A, 0x5A};
  int pos = 3;
  dc = 0;
  EXPECT_EQ(vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(blocks.data(), small, 2, &pos, &dc, &t.dcEnc, &t.acEnc),
            vekStsJPEGOutOfBuffer);
  EXPECT_EQ(small[0] >> 5, 0x5A >> 5) << "bits before the position are kept";
  EXPECT_EQ(vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(blocks.data(), small, 0, &pos, &dc, &t.dcEnc, &t.acEnc), vekStsBadSize);
  EXPECT_EQ(vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(small, -1, &pos, block, &dc, &t.dcDec, &t.acDec), vekStsBadArg);
  pos = -1;
  EXPECT_EQ(vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(small, 2, &pos, block, &dc, &t.dcDec, &t.acDec), vekStsBadArg);
}

}  // namespace
}  // namespace vek
