// Row kernels of chroma sampling in their plain forms (the SIMD forms call
// them for the outputs their vectors leave).
#pragma once

#include <cstdint>

namespace vek {

// out[k] = (in[2k] + in[2k+1] + (k & 1)) >> 1, k < ceil(width/2)
void DownRowH2V1Scalar(const uint8_t* in, int32_t width, uint8_t* out);
// out[k] = (a[2k] + a[2k+1] + b[2k] + b[2k+1] + 1 + (k & 1)) >> 2
void DownRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out);
// Plane rows, outputs [k0, n): bias 1 (H2V1) or 3 (H2V2); inputs past
// srcWidth repeat the last one.
void DownPlaneRowH2V1Scalar(const uint8_t* in, int32_t srcWidth, uint8_t* out, int32_t k0, int32_t n);
void DownPlaneRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t srcWidth, uint8_t* out, int32_t k0,
                            int32_t n);
// Triangle up-sampling of inputs [k0, k1) of a width-wide row into the first
// outCount of its 2*width outputs.
void UpRowH2V1Scalar(const uint8_t* in, int32_t width, uint8_t* out, int32_t outCount, int32_t k0, int32_t k1);
void UpRowH2V2Scalar(const uint8_t* a, const uint8_t* b, int32_t width, uint8_t* out, int32_t outCount,
                     int32_t k0, int32_t k1);

}  // namespace vek
