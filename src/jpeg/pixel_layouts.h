// How the colour families' pixels sit in memory: interleaved bytes in a named
// channel order, planes, 555/565 words and 4:2:2 pairs. Each layout reads a
// pixel as up to four channel values, in the order the function's name gives
// them (R, G, B or C, M, Y, K or Y, Cb, Cr, K), and writes them back.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

#include "core/row_parallel.h"
#include "core/unaligned.h"

namespace vek::colour {

using Px = std::array<int32_t, 4>;

// One row of an image: its buffer, or its planes (up to four).
struct SrcRow {
  std::array<const void*, 4> p;
};
struct DstRow {
  std::array<void*, 4> p;
};

template <class T>
const T* Ptr(const SrcRow& row, int c) { return static_cast<const T*>(row.p[c]); }
template <class T>
T* Ptr(const DstRow& row, int c) { return static_cast<T*>(row.p[c]); }

enum class Kind { kInterleaved, kPlanes, kPacked, kPairs };

// Interleaved pixels of kBytes bytes; channel i at byte offset kOffset[i].
// A 4-byte pixel with three channels gets `fill` in its fourth byte.
template <int kBytes, int k0, int k1, int k2, int k3 = -1>
struct Interleaved {
  static constexpr Kind kKind = Kind::kInterleaved;
  static constexpr int kPixelBytes = kBytes;
  static constexpr int kChannels = k3 < 0 ? 3 : 4;
  static constexpr int kOffset[4] = {k0, k1, k2, k3 < 0 ? 6 - k0 - k1 - k2 : k3};
  using Elem = uint8_t;

  static Px Get(const SrcRow& row, int32_t x) {
    const uint8_t* p = Ptr<uint8_t>(row, 0) + kBytes * x;
    return {p[k0], p[k1], p[k2], k3 < 0 ? 0 : p[kOffset[3]]};
  }
  static void Put(const DstRow& row, int32_t x, const Px& v, uint8_t fill) {
    uint8_t* p = Ptr<uint8_t>(row, 0) + kBytes * x;
    p[k0] = static_cast<uint8_t>(v[0]);
    p[k1] = static_cast<uint8_t>(v[1]);
    p[k2] = static_cast<uint8_t>(v[2]);
    if constexpr (k3 >= 0) {
      p[k3] = static_cast<uint8_t>(v[3]);
    } else if constexpr (kBytes == 4) {
      p[kOffset[3]] = fill;
    }
  }
};

using RgbC3 = Interleaved<3, 0, 1, 2>;
using BgrC3 = Interleaved<3, 2, 1, 0>;
using RgbC4 = Interleaved<4, 0, 1, 2>;
using BgrC4 = Interleaved<4, 2, 1, 0>;
using CmykC4 = Interleaved<4, 0, 1, 2, 3>;

// N planes sharing one row index.
template <int N>
struct Planes {
  static constexpr Kind kKind = Kind::kPlanes;
  static constexpr int kChannels = N;
  using Elem = uint8_t;

  static Px Get(const SrcRow& row, int32_t x) {
    Px v{};
    for (int c = 0; c < N; ++c) v[c] = Ptr<uint8_t>(row, c)[x];
    return v;
  }
  static void Put(const DstRow& row, int32_t x, const Px& v, uint8_t /*fill*/) {
    for (int c = 0; c < N; ++c) Ptr<uint8_t>(row, c)[x] = static_cast<uint8_t>(v[c]);
  }
};

// One little-endian 16-bit word a pixel: the first-named colour in bits 0-4;
// 555: the second in 5-9, the third in 10-14, bit 15 zero; 565: the second
// in 5-10, the third in 11-15. Fields unpack to the top of a byte (low bits
// zero) and pack from the top bits of a byte.
template <bool kRedFirst, bool k565>
struct Packed {
  static constexpr Kind kKind = Kind::kPacked;
  static constexpr int kChannels = 3;
  static constexpr bool kIsRedFirst = kRedFirst;
  static constexpr bool kIs565 = k565;
  using Elem = uint16_t;

  static Px Get(const SrcRow& row, int32_t x) {
    const int32_t p = Load(Ptr<uint16_t>(row, 0) + x);
    const int32_t low = (p & 31) << 3;
    const int32_t mid = k565 ? (p & 2016) >> 3 : (p & 992) >> 2;
    const int32_t high = k565 ? (p & 63488) >> 8 : (p & 31744) >> 7;
    return kRedFirst ? Px{low, mid, high, 0} : Px{high, mid, low, 0};
  }
  static void Put(const DstRow& row, int32_t x, const Px& v, uint8_t /*fill*/) {
    const int32_t low = kRedFirst ? v[0] : v[2], high = kRedFirst ? v[2] : v[0];
    const int32_t word = k565 ? (low >> 3) | (v[1] >> 2) << 5 | (high >> 3) << 11
                              : (low >> 3) | (v[1] >> 3) << 5 | (high >> 3) << 10;
    Store(Ptr<uint16_t>(row, 0) + x, static_cast<uint16_t>(word));
  }
};

using Rgb555 = Packed<true, false>;
using Rgb565 = Packed<true, true>;
using Bgr555 = Packed<false, false>;
using Bgr565 = Packed<false, true>;

// Interleaved 4:2:2 pairs Y0 Cb Y1 Cr: pixel x reads its own Y and its pair's
// chroma; writing a pixel writes its Y and its pair's chroma.
struct Pairs422 {
  static constexpr Kind kKind = Kind::kPairs;
  static constexpr int kChannels = 3;
  using Elem = uint8_t;

  static Px Get(const SrcRow& row, int32_t x) {
    const uint8_t* pair = Ptr<uint8_t>(row, 0) + 4 * (x >> 1);
    return {pair[2 * (x & 1)], pair[1], pair[3], 0};
  }
  static void Put(const DstRow& row, int32_t x, const Px& v, uint8_t /*fill*/) {
    uint8_t* pair = Ptr<uint8_t>(row, 0) + 4 * (x >> 1);
    pair[2 * (x & 1)] = static_cast<uint8_t>(v[0]);
    pair[1] = static_cast<uint8_t>(v[1]);
    pair[3] = static_cast<uint8_t>(v[2]);
  }
};

// ---- Images ------------------------------------------------------------------

// An image: one buffer or up to four planes, each with its own step (the
// 4:4:4 functions give all planes the one shared step).
template <class Row, class Void>
struct Image {
  std::array<Void*, 4> base{};
  std::array<int, 4> step{};
  int count = 0;

  Row At(int32_t r) const {
    Row row{};
    for (int c = 0; c < count; ++c) row.p[c] = RowAt(base[c], step[c], r);
    return row;
  }
};
using SrcImage = Image<SrcRow, const void>;
using DstImage = Image<DstRow, void>;

// One buffer.
template <class T>
auto OneBuffer(T* p, int step) {
  Image<std::conditional_t<std::is_const_v<T>, SrcRow, DstRow>, std::conditional_t<std::is_const_v<T>, const void, void>> img;
  img.base[0] = p;
  img.step[0] = step;
  img.count = 1;
  return img;
}

// n planes with one step each.
template <class T>
auto PlaneArray(T* const* planes, int n, const int* steps) {
  Image<std::conditional_t<std::is_const_v<T>, SrcRow, DstRow>, std::conditional_t<std::is_const_v<T>, const void, void>> img;
  for (int c = 0; c < n; ++c) {
    img.base[c] = planes[c];
    img.step[c] = steps[c];
  }
  img.count = n;
  return img;
}

// n planes sharing one step.
template <class T>
auto PlaneArray(T* const* planes, int n, int step) {
  const int steps[4] = {step, step, step, step};
  return PlaneArray(planes, n, steps);
}

}  // namespace vek::colour
