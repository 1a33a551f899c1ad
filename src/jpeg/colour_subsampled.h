// The row kernels of the 4:2:2 and 4:1:1 whole-image conversions and of the
// 4:2:2 pairs, and their plain forms from a given column on (the SIMD forms
// leave the columns after their last whole vector to them).
#pragma once

#include <cstdint>

#include "jpeg/colour_groups.h"

namespace vek::colour {

// One chroma row forward: the kV source rows from src.At(0), h of them left
// in the image (1 or 2), into Y rows from out's row 0 and chroma row 0.
using ForwardRowFn = void (*)(const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out);
// Luma rows [r0, r1) of one chroma row, inverse.
using InverseRowFn = void (*)(const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1,
                              const DstImage& dst, uint8_t fill);
using PairsRowFn = void (*)(const uint8_t* src, uint8_t* dst, int32_t width);

// The kernels: X(rows per chroma row, pixel layout, Cb weight of R).
#define VEK_SUBSAMPLED_FORWARD_KERNELS(X) \
  X(1, RgbC3, -2764)                      \
  X(1, BgrC3, -2764)                      \
  X(1, RgbC4, -2765)                      \
  X(1, BgrC4, -2765)                      \
  X(2, RgbC3, -2765)                      \
  X(2, BgrC3, -2765)                      \
  X(2, RgbC4, -2765)                      \
  X(2, BgrC4, -2765)
#define VEK_SUBSAMPLED_INVERSE_KERNELS(X) \
  X(1, RgbC3)                             \
  X(1, BgrC3)                             \
  X(1, RgbC4)                             \
  X(1, BgrC4)                             \
  X(2, RgbC3)                             \
  X(2, BgrC3)                             \
  X(2, RgbC4)                             \
  X(2, BgrC4)

enum class ForwardKernel {
#define VEK_ENUM(V, LAYOUT, CB) k##V##LAYOUT,
  VEK_SUBSAMPLED_FORWARD_KERNELS(VEK_ENUM)
#undef VEK_ENUM
};
enum class InverseKernel {
#define VEK_ENUM(V, LAYOUT) k##V##LAYOUT,
  VEK_SUBSAMPLED_INVERSE_KERNELS(VEK_ENUM)
#undef VEK_ENUM
};

// Columns [x0, w) of a chroma row, x0 even.
template <int kV, class In, int32_t kCbR>
void ForwardChromaRowFrom(const SrcImage& src, int32_t w, int32_t h, const PlaneStore<uint8_t>& out, int32_t x0) {
  if (x0 >= w) return;
  SrcImage from = src;
  from.base[0] = static_cast<const uint8_t*>(src.base[0]) + In::kPixelBytes * x0;
  PlaneStore<uint8_t> to = out;
  to.planes.base[0] = static_cast<uint8_t*>(out.planes.base[0]) + x0;
  for (int c = 1; c < 3; ++c) to.planes.base[c] = static_cast<uint8_t*>(out.planes.base[c]) + x0 / 2;
  ForwardGroups<2, kV, In, PlaneForward<kCbR>, uint8_t>(from, w - x0, h, false, to);
}

template <int kV, class Out>
void InverseRowsFrom(const PlaneStore<const uint8_t>& in, int32_t w, int32_t r0, int32_t r1, const DstImage& dst,
                     uint8_t fill, int32_t x0) {
  if (x0 >= w) return;
  PlaneStore<const uint8_t> from = in;
  from.planes.base[0] = static_cast<const uint8_t*>(in.planes.base[0]) + x0;
  for (int c = 1; c < 3; ++c) from.planes.base[c] = static_cast<const uint8_t*>(in.planes.base[c]) + x0 / 2;
  DstImage to = dst;
  to.base[0] = static_cast<uint8_t*>(dst.base[0]) + Out::kPixelBytes * x0;
  InverseGroups<2, kV, PlaneInverse, Out>(from, false, w - x0, r0, r1, to, fill);
}

// Pixels [x0, w) of a pairs row, x0 a multiple of 8 or w's group-of-8 end.
void PairsRowFrom(const uint8_t* src, uint8_t* dst, int32_t width, int32_t x0);

}  // namespace vek::colour
