// Baseline block decoding of arbitrary bytes with arbitrary valid tables.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vek::fuzz::FuzzInput in(data, size);
  std::vector<uint8_t> dc, ac;
  if (!in.DecodeTable(dc) || !in.DecodeTable(ac)) return 0;
  Vek16s lastDc = static_cast<Vek16s>(in.Int16());
  std::vector<uint8_t> src = in.Rest();
  vek::fuzz::DecoderState state;
  int pos = 0, marker = 0;
  Vek16s block[64];
  vek::fuzz::DecodeUntilDone(src.size(), marker, state, [&] {
    return vekiDecodeHuffman8x8_JPEG_1u16s_C1(src.data(), static_cast<int>(src.size()), &pos, block, &lastDc, &marker,
                                              vek::fuzz::AsTable(dc), vek::fuzz::AsTable(ac), state.Get());
  });
  int bitPos = 0;
  lastDc = 0;
  for (std::size_t i = 0; i < src.size() + 8; ++i) {
    if (vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(src.data(), static_cast<int>(src.size()), &bitPos, block, &lastDc,
                                                  vek::fuzz::AsTable(dc), vek::fuzz::AsTable(ac)) != vekStsOk) {
      break;
    }
  }
  return 0;
}
