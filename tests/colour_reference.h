// Reference formulas of the colour families, written out from the header's
// documentation for the tests, and a helper that runs a check in every form.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

#include <gtest/gtest.h>

#include "core/dispatch.h"
#include "simd_check.h"

namespace vek::test {

using Triple = std::array<int, 3>;

inline int Clamp8(int v) { return std::clamp(v, 0, 255); }
inline int Clamp16(int v) { return std::clamp(v, -32768, 32767); }

// Forward, scale 2^15 (whole groups of 8 in C3 rows, and the C3C1 Y).
inline Triple RefForward15(int r, int g, int b) {
  return {Clamp8((9798 * r + 19235 * g + 3736 * b + 16266) >> 15),
          Clamp8((-5529 * r - 10855 * g + 16384 * b + 4210688) >> 15),
          Clamp8((16384 * r - 13720 * g - 2664 * b + 4210704) >> 15)};
}

// Forward, scale 2^14; cbR is -2764 or -2765 (then G's weight is -8192 - cbR).
inline Triple RefForward14(int r, int g, int b, int cbR = -2764) {
  return {Clamp8((4899 * r + 9617 * g + 1868 * b + 8192) >> 14),
          Clamp8((cbR * r + (-8192 - cbR) * g + 8192 * b + 2105344) >> 14),
          Clamp8((8192 * r - 6860 * g - 1332 * b + 2105344) >> 14)};
}

// Inverse, scale 2^14 (whole groups of 4).
inline Triple RefInverse14(int y, int cb, int cr) {
  return {Clamp8(y + Clamp16((22970 * cr - 2932015) >> 14)),
          Clamp8(y + Clamp16((-5638 * cb - 11700 * cr + 2227566) >> 14)),
          Clamp8(y + Clamp16((29032 * cb - 3707961) >> 14))};
}

// Inverse, scale 2^16 (row tails).
inline Triple RefInverse16(int y, int cb, int cr) {
  const int xb = cb - 128, xr = cr - 128;
  return {Clamp8(y + ((91881 * xr + 32768) >> 16)), Clamp8(y + ((-22554 * xb + 32768 - 46802 * xr) >> 16)),
          Clamp8(y + ((116130 * xb + 32768) >> 16))};
}

inline Triple RefInverseAt(int x, int width, int y, int cb, int cr) {
  return x < width / 4 * 4 ? RefInverse14(y, cb, cr) : RefInverse16(y, cb, cr);
}

// CMYK to YCCK from R' G' B' = 255 - C, M, Y.
inline Triple RefCmyk(int c, int m, int yel) {
  const int r = 255 - c, g = 255 - m, b = 255 - yel;
  return {Clamp8((19595 * r + 38470 * g + 7471 * b + 32768) >> 16),
          Clamp8((-11059 * r - 21709 * g + 32768 * b + 8421375) >> 16),
          Clamp8((32768 * r - 27439 * g - 5329 * b + 8421375) >> 16)};
}

// Runs check() with the plain forms, then on every SIMD target.
inline void ForEachForm(const std::function<void()>& check) {
  ForceScalarForms(true);
  {
    SCOPED_TRACE("plain form");
    check();
  }
  ForceScalarForms(false);
  ForEachSimdTarget(check);
}

}  // namespace vek::test
