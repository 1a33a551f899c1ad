// Progressive DC first and refinement decoding of arbitrary bytes.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vek::fuzz::FuzzInput in(data, size);
  std::vector<uint8_t> table;
  if (!in.DecodeTable(table)) return 0;
  const int al = in.Byte() % 16;  // out-of-range values too
  const bool refine = in.Byte() & 1;
  std::vector<uint8_t> src = in.Rest();
  if (src.empty()) return 0;
  vek::fuzz::DecoderState state;
  int pos = 0, marker = 0;
  Vek16s lastDc = 0, block[64] = {};
  vek::fuzz::DecodeUntilDone(src.size(), marker, state, [&] {
    const int length = static_cast<int>(src.size());
    return refine ? vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src.data(), length, &pos, block, &marker, al, state.Get())
                  : vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src.data(), length, &pos, block, &lastDc, &marker, al,
                                                               vek::fuzz::AsTable(table), state.Get());
  });
  return 0;
}
