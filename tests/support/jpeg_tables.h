// The luminance quantisation table of ITU-T T.81 Annex K (Table K.1), in
// zig-zag order as a DQT segment holds it, for tests and benchmarks.
#pragma once

#include <array>
#include <cstdint>

#include "jpeg/zigzag.h"
#include "jpeg_syntax.h"

namespace vek::test {

inline std::array<uint8_t, 64> LuminanceQuantZigzag() {
  std::array<uint8_t, 64> zigzag{};
  for (std::size_t k = 0; k < 64; ++k) zigzag[k] = codec::kLuminanceQuant[kZigzagToNatural[k]];
  return zigzag;
}

}  // namespace vek::test
