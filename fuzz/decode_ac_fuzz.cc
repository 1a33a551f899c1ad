// Progressive AC first and refinement decoding of arbitrary bytes over
// arbitrary bands, the block carried from call to call as in a real scan.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vek::fuzz::FuzzInput in(data, size);
  std::vector<uint8_t> table;
  if (!in.DecodeTable(table)) return 0;
  const int ss = in.Byte() % 66, se = in.Byte() % 66, al = in.Byte() % 15;
  const bool refine = in.Byte() & 1;
  Vek16s block[64];
  for (Vek16s& v : block) v = static_cast<Vek16s>(in.Byte() % 5 == 0 ? in.Int16() : 0);
  std::vector<uint8_t> src = in.Rest();
  if (src.empty()) return 0;
  vek::fuzz::DecoderState state;
  int pos = 0, marker = 0;
  vek::fuzz::DecodeUntilDone(src.size(), marker, state, [&] {
    const int length = static_cast<int>(src.size());
    return refine ? vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src.data(), length, &pos, block, &marker, ss, se, al,
                                                                vek::fuzz::AsTable(table), state.Get())
                  : vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src.data(), length, &pos, block, &marker, ss, se, al,
                                                               vek::fuzz::AsTable(table), state.Get());
  });
  return 0;
}
