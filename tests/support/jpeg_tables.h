// The example tables of ITU-T T.81 Annex K, for tests and benchmarks.
#pragma once

#include <array>
#include <cstdint>

namespace vek::test {

// Table K.1, the luminance quantisation table, in zig-zag order as a DQT
// segment holds it.
inline constexpr std::array<uint8_t, 64> kLuminanceQuantZigzag = {
    16, 11,  12, 14, 12, 10, 16,  14,  13,  14, 18, 17,  16,  19,  24,  40,  26, 24,  22,  22, 24, 49,
    35, 37,  29, 40, 58, 51, 61,  60,  57,  51, 56, 55,  64,  72,  92,  78,  64, 68,  87,  69, 55, 56,
    80, 109, 81, 87, 95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};

}  // namespace vek::test
