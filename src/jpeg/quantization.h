// Quantisation of 8x8 coefficient blocks, in their plain C++ forms (the SIMD
// forms are chosen inside the exports).
#pragma once

#include <cstdint>

namespace vek {

// h = high half of ((x << 3) wrapped to 16 bits) * (r >> 1); (h + 1) >> 1:
// x / Q to nearest, ties toward +infinity.
void QuantFwdBlockScalar(int16_t* block, const uint16_t* fwdTable);
// x = low 16 bits of x * Q.
void QuantInvBlockScalar(int16_t* block, const uint16_t* invTable);

}  // namespace vek
