// Owners for the library's state records, optimal tables from the library's
// symbol counts, and the coefficient and sample planes the codec keeps
// between stages.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "codec.h"
#include "jpeg_syntax.h"
#include "vekj.h"

namespace codec {

struct EncodeSpecFree {
  void operator()(EncodeHuffmanSpec* p) const { vekiEncodeHuffmanSpecFree_JPEG_8u(p); }
};
struct DecodeSpecFree {
  void operator()(DecodeHuffmanSpec* p) const { vekiDecodeHuffmanSpecFree_JPEG_8u(p); }
};
struct EncodeStateFree {
  void operator()(EncodeHuffmanState* p) const { vekiEncodeHuffmanStateFree_JPEG_8u(p); }
};
struct DecodeStateFree {
  void operator()(DecodeHuffmanState* p) const { vekiDecodeHuffmanStateFree_JPEG_8u(p); }
};
using EncodeSpec = std::unique_ptr<EncodeHuffmanSpec, EncodeSpecFree>;
using DecodeSpec = std::unique_ptr<DecodeHuffmanSpec, DecodeSpecFree>;
using EncodeState = std::unique_ptr<EncodeHuffmanState, EncodeStateFree>;
using DecodeState = std::unique_ptr<DecodeHuffmanState, DecodeStateFree>;

// Inline, so that whoever includes them builds them against the library it
// links (the shared one, or the tests' static one).
inline EncodeSpec MakeEncodeSpec(const HuffmanTable& table) {
  EncodeHuffmanSpec* spec = nullptr;
  Check(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &spec),
        "building a Huffman encode table");
  return EncodeSpec(spec);
}

inline DecodeSpec MakeDecodeSpec(const HuffmanTable& table) {
  DecodeHuffmanSpec* spec = nullptr;
  Check(vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &spec),
        "building a Huffman decode table");
  return DecodeSpec(spec);
}

inline EncodeState MakeEncodeState() {
  EncodeHuffmanState* state = nullptr;
  Check(vekiEncodeHuffmanStateInitAlloc_JPEG_8u(&state), "allocating an encoder state");
  return EncodeState(state);
}

inline DecodeState MakeDecodeState() {
  DecodeHuffmanState* state = nullptr;
  Check(vekiDecodeHuffmanStateInitAlloc_JPEG_8u(&state), "allocating a decoder state");
  return DecodeState(state);
}

// Optimal Huffman lists from symbol counts (counts above INT_MAX taken as
// INT_MAX).
inline HuffmanTable OptimalTable(const std::array<Vek32u, 256>& counts) {
  std::array<int, 256> frequencies{};
  std::transform(counts.begin(), counts.end(), frequencies.begin(),
                 [](Vek32u n) { return static_cast<int>(std::min<Vek32u>(n, 0x7FFFFFFF)); });
  HuffmanTable table;
  std::array<Vek8u, 256> values{};
  Check(vekiEncodeHuffmanRawTableInit_JPEG_8u(frequencies.data(), table.bits.data(), values.data()),
        "deriving an optimal table");
  std::size_t n = 0;
  for (uint8_t b : table.bits) n += b;
  table.values.assign(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(n));
  return table;
}

// An 8-bit sample plane; `rows_above` extra rows precede row 0 so that the
// up-samplers can read one row of context above (and, with one spare row
// at the bottom, below) the picture.
// Its samples start uninitialised: every stage that makes a plane writes all of it.
struct Plane {
  int width = 0, height = 0;
  std::unique_ptr<uint8_t[]> storage;
  Plane() = default;
  Plane(int w, int h) : width(w), height(h), storage(new uint8_t[static_cast<std::size_t>(w) * (h + 2)]) {}
  uint8_t* Row(int r) { return storage.get() + static_cast<std::ptrdiff_t>(r + 1) * width; }
  const uint8_t* Row(int r) const { return storage.get() + static_cast<std::ptrdiff_t>(r + 1) * width; }
  // Copies the first and last rows into the context rows around the plane.
  void ReplicateContextRows();
};

// The quantised coefficients of one component: 64 per block, blocks in
// row-major order over the component's stored grid; zeroed or left
// uninitialised for a stage that writes every block.
struct Coefficients {
  enum Start { kZeroed, kUninitialised };
  int blocks_wide = 0, blocks_high = 0;
  std::unique_ptr<int16_t[]> values;
  Coefficients(int wide, int high, Start start)
      : blocks_wide(wide), blocks_high(high),
        values(start == kZeroed ? new int16_t[static_cast<std::size_t>(wide) * high * 64]()
                                : new int16_t[static_cast<std::size_t>(wide) * high * 64]) {}
  int16_t* Block(int row, int col) {
    return values.get() + (static_cast<std::ptrdiff_t>(row) * blocks_wide + col) * 64;
  }
};

}  // namespace codec
