// The 8x8 DCT with quantisation and level shift, in their plain C++ forms
// (the SIMD forms are chosen inside the exports), plus the entry points that
// tests use to reach single stages.
#pragma once

#include <cstdint>

#include "core/checks.h"

namespace vek {

// The fused forward quantisation: round(x r / 2^15), ties to even, saturated,
// written as s = (r >> 1) x + (r & 1)(x >> 1); b = ((r & x) & 1) | ((s >> 14) & 1);
// (s + 8191 + b) >> 14.
void QuantizeTiesToEvenScalar(int16_t* block, const uint16_t* fwdTable);
// The same stage in the form that dispatch picks.
void QuantizeTiesToEvenBlock(int16_t* block, const uint16_t* fwdTable);

// Forward: DCT then quantisation of the source block (values) or of the
// level-shifted 8u region.
void DctQuantFwd16sScalar(const int16_t* src, int16_t* dst, const uint16_t* fwdTable);
void DctQuantFwd8uScalar(const uint8_t* src, int srcStep, int16_t* dst, const uint16_t* fwdTable);
// 12-bit: float DCT of sample - 2048, times the table, rounded and saturated.
void DctQuantFwd16uScalar(const uint16_t* src, int srcStep, int16_t* dst, const float* fwdTable);

// Inverse: dequantisation and DCT to 16-bit samples, 8u samples + 128,
// 12-bit samples + 2048.
void DctQuantInv16sScalar(const int16_t* src, int16_t* dst, const uint16_t* invTable);
void DctQuantInv8uScalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable);
void DctQuantInv16uScalar(const int16_t* src, uint16_t* dst, int dstStep, const uint16_t* invTable);

// The 8u inverse of the top-left n x n coefficients (n = 2, 4), the others
// taken as zero and never read.
void DctQuantInvCorner2Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable);
void DctQuantInvCorner4Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable);

// Reduced inverse images: 4x4 and 2x2 samples + 128.
void DctQuantInvTo4x4Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable);
void DctQuantInvTo2x2Scalar(const int16_t* src, uint8_t* dst, int dstStep, const uint16_t* invTable);

// The inverse members with a destination step: checks the source and
// destination, the step, then the table, and runs the kernel.
template <class Sample>
VekStatus RunInverse(void (*kernel)(const int16_t*, Sample*, int, const uint16_t*), const int16_t* src, Sample* dst,
                     int dstStep, const uint16_t* invTable) {
  if (VekStatus st = ArgCheck().Ptr(src).Ptr(dst).Step(dstStep).Ptr(invTable)) return st;
  kernel(src, dst, dstStep, invTable);
  return vekStsOk;
}

}  // namespace vek
