// One-value decoding of arbitrary bytes with an arbitrary valid table.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vek::fuzz::FuzzInput in(data, size);
  std::vector<uint8_t> table;
  if (!in.DecodeTable(table)) return 0;
  std::vector<uint8_t> src = in.Rest();
  if (src.empty()) return 0;
  vek::fuzz::DecoderState state;
  int pos = 0, marker = 0;
  Vek16s value = 0;
  vek::fuzz::DecodeUntilDone(src.size(), marker, state, [&] {
    return vekiDecodeHuffmanOne_JPEG_1u16s_C1(src.data(), static_cast<int>(src.size()), &pos, &value, &marker,
                                              vek::fuzz::AsTable(table), state.Get());
  });
  return 0;
}
