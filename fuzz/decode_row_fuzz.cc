// Lossless row decoding of arbitrary bytes with up to four components.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vek::fuzz::FuzzInput in(data, size);
  const int components = in.Byte() % 5 + 1;  // a fifth is ignored
  const int width = in.Byte() % 64 + 1;
  std::vector<std::vector<uint8_t>> tables(4);
  const DecodeHuffmanSpec* tablePtrs[5] = {};
  std::vector<std::vector<Vek16s>> rows(4, std::vector<Vek16s>(static_cast<std::size_t>(width)));
  Vek16s* rowPtrs[5] = {};
  for (int c = 0; c < std::min(components, 4); ++c) {
    if (!in.DecodeTable(tables[static_cast<std::size_t>(c)])) return 0;
    tablePtrs[c] = vek::fuzz::AsTable(tables[static_cast<std::size_t>(c)]);
    rowPtrs[c] = rows[static_cast<std::size_t>(c)].data();
  }
  std::vector<uint8_t> src = in.Rest();
  if (src.empty()) return 0;
  vek::fuzz::DecoderState state;
  int pos = 0, marker = 0;
  vek::fuzz::DecodeUntilDone(src.size(), marker, state, [&] {
    return vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(src.data(), static_cast<int>(src.size()), &pos, rowPtrs, width,
                                                components, &marker, tablePtrs, state.Get());
  });
  return 0;
}
