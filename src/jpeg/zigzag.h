// The JPEG zig-zag order of an 8x8 block (ITU-T T.81, Figure A.6).
#pragma once

#include <array>
#include <cstdint>

namespace vek {

// kZigzagToNatural[k]: the row-major position of the k-th coefficient in zig-zag order.
inline constexpr std::array<uint8_t, 64> kZigzagToNatural = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

// kNaturalToZigzag[n]: the zig-zag index of row-major position n.
inline constexpr std::array<uint8_t, 64> kNaturalToZigzag = [] {
  std::array<uint8_t, 64> inverse{};
  for (uint8_t k = 0; k < 64; ++k) inverse[kZigzagToNatural[k]] = k;
  return inverse;
}();

}  // namespace vek
