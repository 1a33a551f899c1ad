#include "library_records.h"

#include <cstring>

namespace codec {

void ThrowFailure(int status, const char* what) {
  throw std::runtime_error(std::string(what) + " failed with status " + std::to_string(status));
}

EncodeSpec MakeEncodeSpec(const HuffmanTable& table) {
  EncodeHuffmanSpec* spec = nullptr;
  Check(vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &spec),
        "building a Huffman encode table");
  return EncodeSpec(spec);
}

DecodeSpec MakeDecodeSpec(const HuffmanTable& table) {
  DecodeHuffmanSpec* spec = nullptr;
  Check(vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &spec),
        "building a Huffman decode table");
  return DecodeSpec(spec);
}

EncodeState MakeEncodeState() {
  EncodeHuffmanState* state = nullptr;
  Check(vekiEncodeHuffmanStateInitAlloc_JPEG_8u(&state), "allocating an encoder state");
  return EncodeState(state);
}

DecodeState MakeDecodeState() {
  DecodeHuffmanState* state = nullptr;
  Check(vekiDecodeHuffmanStateInitAlloc_JPEG_8u(&state), "allocating a decoder state");
  return DecodeState(state);
}

void Plane::ReplicateContextRows() {
  std::memcpy(Row(-1), Row(0), static_cast<std::size_t>(width));
  std::memcpy(Row(height), Row(height - 1), static_cast<std::size_t>(width));
}

}  // namespace codec
