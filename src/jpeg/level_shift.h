// Row kernels of the JPEG level shift, in their plain C++ forms (the SIMD
// forms are chosen inside the exports).
#pragma once

#include <cstdint>

namespace vek {

// dst[i] = src[i] - 128
void Sub128RowScalar(const uint8_t* src, int16_t* dst, int32_t width);
// dst[i] = clamp(src[i] + 128, 0, 255)
void Add128RowScalar(const int16_t* src, uint8_t* dst, int32_t width);

}  // namespace vek
