// Shared by the decoder fuzz targets: parameters and Huffman tables taken
// from the front of the fuzz input, the rest as the coded data in a buffer
// of exactly its size (so that any read past it is caught).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "vekj.h"

namespace vek::fuzz {

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  int Int16() { return static_cast<int16_t>(Byte() << 8 | Byte()); }

  // A decode table from the input: mostly an optimal table for counts of
  // the symbols the input names (always valid, any symbols), else raw BITS
  // and HUFFVAL bytes (tables the decode builder accepts, over-full ones
  // included); false when the builder refuses it.
  bool DecodeTable(std::vector<uint8_t>& storage) {
    std::array<uint8_t, 16> bits{};
    std::array<uint8_t, 256> vals{};
    if (Byte() % 4 != 0) {
      std::array<int, 256> counts{};
      const int n = Byte() % 64 + 1;
      for (int i = 0; i < n; ++i) {
        const uint8_t symbol = Byte();
        counts[symbol] += 1 + Byte();
      }
      if (vekiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits.data(), vals.data()) != vekStsOk) return false;
    } else {
      int total = 0;
      for (uint8_t& b : bits) {
        b = static_cast<uint8_t>(Byte() % 17);  // mostly tables of a plausible size
        total += b;
      }
      for (int i = 0; i < std::min(total, 256); ++i) vals[static_cast<std::size_t>(i)] = Byte();
    }
    int size = 0;
    vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    storage.assign(static_cast<std::size_t>(size), 0);
    return vekiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(),
                                             reinterpret_cast<DecodeHuffmanSpec*>(storage.data())) == vekStsOk;
  }

  // The rest of the input, in a buffer of its own size.
  std::vector<uint8_t> Rest() { return {data_ + std::min(pos_, size_), data_ + size_}; }

 private:
  const uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

inline DecodeHuffmanSpec* AsTable(std::vector<uint8_t>& storage) {
  return reinterpret_cast<DecodeHuffmanSpec*>(storage.data());
}

// A decoder state, initialised.
struct DecoderState {
  std::vector<uint8_t> bytes;
  DecoderState() {
    int size = 0;
    vekiDecodeHuffmanStateGetBufSize_JPEG_8u(&size);
    bytes.assign(static_cast<std::size_t>(size), 0);
    vekiDecodeHuffmanStateInit_JPEG_8u(Get());
  }
  DecodeHuffmanState* Get() { return reinterpret_cast<DecodeHuffmanState*>(bytes.data()); }
};

// Calls decode() until it fails or has been called for every byte and then
// some (decoders may succeed without reading: runs, held bits); a marker
// found is reset now and then as a caller would after a restart.
template <class Decode>
void DecodeUntilDone(std::size_t length, int& marker, DecoderState& state, const Decode& decode) {
  const std::size_t calls = 4 * length + 64;
  for (std::size_t i = 0; i < calls; ++i) {
    if (decode() != vekStsOk) return;
    if (marker != 0 && i % 7 == 0) {
      marker = 0;
      vekiDecodeHuffmanStateInit_JPEG_8u(state.Get());
    }
  }
}

}  // namespace vek::fuzz
