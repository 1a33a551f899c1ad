// The whole-image 4:4:4 and CMYK/YCCK conversions, row by row: which
// formula each column of a row gets, and the list of (source layout,
// destination layout, formula) kernels the exports use.
#pragma once

#include <cstdint>

#include "jpeg/colour_math.h"
#include "jpeg/pixel_layouts.h"

namespace vek::colour {

constexpr Rgb AsRgb(const Px& p) { return {p[0], p[1], p[2]}; }
constexpr Px AsPx(Ycc v, int32_t k = 0) { return {Sat8(v.y), Sat8(v.cb), Sat8(v.cr), k}; }
constexpr Px AsPx(Rgb v, int32_t k = 0) { return {v.r, v.g, v.b, k}; }

// Each formula: At(x, width, pixel) for column x of a row of `width`, and
// VectorEnd(width): the columns [0, VectorEnd) share the one formula that the
// SIMD forms compute; the columns after it are left to At.

// RGB/BGR C3P3R: groups of 8 at scale 2^15, the rest at 2^14.
struct ForwardGroupsOf8 {
  static constexpr int32_t VectorEnd(int32_t width) { return ForwardBodyEnd(width); }
  static constexpr Px At(int32_t x, int32_t width, const Px& p) {
    return AsPx(x < ForwardBodyEnd(width) ? Forward15(AsRgb(p)) : Forward14(AsRgb(p)));
  }
};

// RGB/BGRToY C3C1R: scale 2^15 in every column.
struct Forward15Everywhere {
  static constexpr int32_t VectorEnd(int32_t width) { return width; }
  static constexpr Px At(int32_t, int32_t, const Px& p) { return AsPx(Forward15(AsRgb(p))); }
};

// Scale 2^14 in every column, with one of the two Cb weight sets.
template <int32_t kCbR>
struct Forward14Everywhere {
  static constexpr CbWeights kCb = kCbR == kCb2764.r ? kCb2764 : kCb2765;
  static constexpr int32_t VectorEnd(int32_t width) { return width; }
  static constexpr Px At(int32_t, int32_t, const Px& p) { return AsPx(Forward14(AsRgb(p), kCb)); }
};

// CMYK to YCCK at scale 2^16 from the inverted C, M, Y; K copied.
struct ForwardCmyk {
  static constexpr int32_t VectorEnd(int32_t width) { return width; }
  static constexpr Px At(int32_t, int32_t, const Px& p) {
    return AsPx(Forward16({255 - p[0], 255 - p[1], 255 - p[2]}), p[3]);
  }
};

// YCbCr to RGB: whole groups of 4 at scale 2^14, the rest by the tables.
struct InverseGroupsOf4 {
  static constexpr int32_t VectorEnd(int32_t width) { return InverseBodyEnd(width); }
  static constexpr Px At(int32_t x, int32_t width, const Px& p) { return AsPx(InverseAt(x, width, p[0], p[1], p[2])); }
};

// YCCK to CMYK: as InverseGroupsOf4, then C = 255 - R etc.; K copied.
struct InverseCmyk {
  static constexpr int32_t VectorEnd(int32_t width) { return InverseBodyEnd(width); }
  static constexpr Px At(int32_t x, int32_t width, const Px& p) {
    const Rgb v = InverseAt(x, width, p[0], p[1], p[2]);
    return {255 - v.r, 255 - v.g, 255 - v.b, p[3]};
  }
};

// The kernels: X(name, source layout, destination layout, formula).
#define VEK_COLOUR_ROW_KERNELS(X)                                      \
  X(RgbC3ToYcc, RgbC3, Planes<3>, ForwardGroupsOf8)                    \
  X(BgrC3ToYcc, BgrC3, Planes<3>, ForwardGroupsOf8)                    \
  X(RgbC4ToYcc, RgbC4, Planes<3>, Forward14Everywhere<-2765>)          \
  X(BgrC4ToYcc, BgrC4, Planes<3>, Forward14Everywhere<-2765>)          \
  X(RgbP3ToYcc, Planes<3>, Planes<3>, Forward14Everywhere<-2764>)      \
  X(Rgb555ToYcc, Rgb555, Planes<3>, Forward14Everywhere<-2764>)        \
  X(Rgb565ToYcc, Rgb565, Planes<3>, Forward14Everywhere<-2764>)        \
  X(Bgr555ToYcc, Bgr555, Planes<3>, Forward14Everywhere<-2764>)        \
  X(Bgr565ToYcc, Bgr565, Planes<3>, Forward14Everywhere<-2764>)        \
  X(RgbC3ToY, RgbC3, Planes<1>, Forward15Everywhere)                   \
  X(BgrC3ToY, BgrC3, Planes<1>, Forward15Everywhere)                   \
  X(RgbP3ToY, Planes<3>, Planes<1>, Forward14Everywhere<-2764>)        \
  X(YccToRgbC3, Planes<3>, RgbC3, InverseGroupsOf4)                    \
  X(YccToBgrC3, Planes<3>, BgrC3, InverseGroupsOf4)                    \
  X(YccToRgbC4, Planes<3>, RgbC4, InverseGroupsOf4)                    \
  X(YccToBgrC4, Planes<3>, BgrC4, InverseGroupsOf4)                    \
  X(YccToRgbP3, Planes<3>, Planes<3>, InverseGroupsOf4)                \
  X(YccToRgb555, Planes<3>, Rgb555, InverseGroupsOf4)                  \
  X(YccToRgb565, Planes<3>, Rgb565, InverseGroupsOf4)                  \
  X(YccToBgr555, Planes<3>, Bgr555, InverseGroupsOf4)                  \
  X(YccToBgr565, Planes<3>, Bgr565, InverseGroupsOf4)                  \
  X(CmykC4ToYcck, CmykC4, Planes<4>, ForwardCmyk)                      \
  X(CmykP4ToYcck, Planes<4>, Planes<4>, ForwardCmyk)                   \
  X(YcckToCmykC4, Planes<4>, CmykC4, InverseCmyk)                      \
  X(YcckToCmykP4, Planes<4>, Planes<4>, InverseCmyk)

enum class RowKernel {
#define VEK_ENUM(name, in, out, formula) k##name,
  VEK_COLOUR_ROW_KERNELS(VEK_ENUM)
#undef VEK_ENUM
};

using RowFn = void (*)(const SrcRow& src, const DstRow& dst, int32_t width, uint8_t fill);

// Columns [x0, width) of a row in the plain form.
template <class In, class Out, class F>
void ConvertColumns(const SrcRow& src, const DstRow& dst, int32_t x0, int32_t width, uint8_t fill) {
  for (int32_t x = x0; x < width; ++x) Out::Put(dst, x, F::At(x, width, In::Get(src, x)), fill);
}

template <class In, class Out, class F>
void ConvertRowScalar(const SrcRow& src, const DstRow& dst, int32_t width, uint8_t fill) {
  ConvertColumns<In, Out, F>(src, dst, 0, width, fill);
}

}  // namespace vek::colour
