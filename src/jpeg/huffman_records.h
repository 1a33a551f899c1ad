// The Huffman table and bit-state records whose layouts the public header
// states; the caller sizes them with the GetBufSize functions.
#pragma once

#include <cstdint>

#include "vekj.h"

// 256 entries indexed by symbol: code length << 16 | code; length 0: no code.
struct EncodeHuffmanSpec {
  uint32_t entries[256];
};

struct DecodeHuffmanSpec {
  uint16_t symbols[256];      // HUFFVAL, in code order
  uint16_t fast[256][2];      // by the next 8 bits: symbol, code length (0: longer)
  uint16_t minCode[18];       // by code length
  int16_t maxCode[18];        // -1: no code of that length; else read as unsigned
  uint16_t firstIndex[18];    // index into symbols of the first code of a length
};

struct EncodeHuffmanState {
  uint32_t bits;              // pending bits, left-aligned below bit 24
  int32_t count;              // pending bit count
  int32_t eobRun;             // end-of-band run of a progressive AC scan
  int32_t correctionCount;    // correction bits held for that run
  uint8_t corrections[1024];  // one bit a byte
  uint8_t reserved[8];
};

struct DecodeHuffmanState {
  uint32_t bits;              // the last four bytes read, the newest lowest
  int32_t count;              // the low `count` bits are unread
  int32_t eobRun;
  int32_t endPosition;        // zig-zag index the last block reached
  uint8_t reserved[8];
};

static_assert(sizeof(EncodeHuffmanSpec) == 1024);
static_assert(sizeof(DecodeHuffmanSpec) == 1644);
static_assert(sizeof(EncodeHuffmanState) == 1048);
static_assert(sizeof(DecodeHuffmanState) == 24);

namespace vek {

inline constexpr int kMaxCorrectionBits = 1024;

}  // namespace vek
