// The fixed-point colour formulas of the JPEG colour families, per pixel, in
// the plain form every SIMD form is checked against. Which formula a column
// gets depends on its position in the row; the callers decide that.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace vek::colour {

struct Rgb {
  int32_t r, g, b;
};
struct Ycc {
  int32_t y, cb, cr;
};

constexpr int32_t Sat8(int32_t v) { return std::clamp(v, 0, 255); }
constexpr int32_t Sat16(int32_t v) { return std::clamp(v, -32768, 32767); }

// ---- Forward -------------------------------------------------------------

// Scale 2^15, with the whole-image group-of-8 constants.
constexpr Ycc Forward15(Rgb p) {
  return {(9798 * p.r + 19235 * p.g + 3736 * p.b + 16266) >> 15,
          (-5529 * p.r - 10855 * p.g + 16384 * p.b + 4210688) >> 15,
          (16384 * p.r - 13720 * p.g - 2664 * p.b + 4210704) >> 15};
}

// The Cb weights of R and G at scale 2^14: two roundings of 0.16874 and
// 0.33126 are in use (both sum to -8192 with B's weight).
struct CbWeights {
  int32_t r, g;
};
inline constexpr CbWeights kCb2764 = {-2764, -5428};
inline constexpr CbWeights kCb2765 = {-2765, -5427};

// The weighted sums at scale 2^14, without constants.
constexpr Ycc Sums14(Rgb p, CbWeights cb) {
  return {4899 * p.r + 9617 * p.g + 1868 * p.b,  //
          cb.r * p.r + cb.g * p.g + 8192 * p.b,  //
          8192 * p.r - 6860 * p.g - 1332 * p.b};
}

// A group of 2^log2n pixels' summed chroma sums, rounded once; `offset` is
// the chroma offset of the result (128 for planes, 0 for level-shifted
// blocks).
constexpr int32_t GroupChroma(int32_t sum, int log2n, int32_t offset) {
  const int shift = 14 + log2n;
  return (sum + (offset << shift) + (1 << (shift - 1))) >> shift;
}

// Scale 2^14, 8-bit planes: Y + 8192, chroma + 128*2^14 + 8192.
constexpr Ycc Forward14(Rgb p, CbWeights cb = kCb2764) {
  const Ycc s = Sums14(p, cb);
  return {(s.y + 8192) >> 14, GroupChroma(s.cb, 0, 128), GroupChroma(s.cr, 0, 128)};
}

constexpr Ycc Saturated(Ycc v) { return {Sat8(v.y), Sat8(v.cb), Sat8(v.cr)}; }

// CMYK to YCCK at scale 2^16 from R' G' B' (the inverted C, M, Y).
constexpr Ycc Forward16(Rgb p) {
  return {(19595 * p.r + 38470 * p.g + 7471 * p.b + 32768) >> 16,
          (-11059 * p.r - 21709 * p.g + 32768 * p.b + 8421375) >> 16,
          (32768 * p.r - 27439 * p.g - 5329 * p.b + 8421375) >> 16};
}

// ---- Inverse -------------------------------------------------------------

// The constants added to the scale-2^14 chroma products: whole images
// (unsigned chroma, 128 folded in) and level-shifted blocks.
struct InverseOffsets {
  int32_t r, g, b;
};
inline constexpr InverseOffsets kPlaneOffsets = {-2932015, 2227566, -3707961};
inline constexpr InverseOffsets kBlockOffsets = {2105344, 2105344, 2105344};

// Scale 2^14: each chroma term saturated to 16 bits, each sum to 0..255.
constexpr Rgb Inverse14(int32_t y, int32_t cb, int32_t cr, InverseOffsets k) {
  return {Sat8(y + Sat16((22970 * cr + k.r) >> 14)),  //
          Sat8(y + Sat16((-5638 * cb - 11700 * cr + k.g) >> 14)),
          Sat8(y + Sat16((29032 * cb + k.b) >> 14))};
}

// The scale-2^16 chroma tables of the row tails, indexed by the unsigned
// chroma value.
struct InverseTables {
  std::array<int32_t, 256> crR, cbB, crG, cbG;
};
constexpr InverseTables MakeInverseTables() {
  InverseTables t{};
  for (int i = 0; i < 256; ++i) {
    const int32_t x = i - 128;
    t.crR[i] = (91881 * x + 32768) >> 16;
    t.cbB[i] = (116130 * x + 32768) >> 16;
    t.crG[i] = -46802 * x;
    t.cbG[i] = -22554 * x + 32768;
  }
  return t;
}
inline constexpr InverseTables kInverseTables = MakeInverseTables();

constexpr Rgb Inverse16(int32_t y, int32_t cb, int32_t cr) {
  const InverseTables& t = kInverseTables;
  return {Sat8(y + t.crR[cr]), Sat8(y + ((t.cbG[cb] + t.crG[cr]) >> 16)), Sat8(y + t.cbB[cb])};
}

// ---- Column positions ----------------------------------------------------

// Forward C3 rows: whole groups of 8 at scale 2^15, the rest at 2^14.
constexpr int32_t ForwardBodyEnd(int32_t width) { return width & ~7; }
// Inverse rows: whole groups of 4 at scale 2^14, the rest through the tables.
constexpr int32_t InverseBodyEnd(int32_t width) { return width & ~3; }

constexpr Rgb InverseAt(int32_t x, int32_t width, int32_t y, int32_t cb, int32_t cr) {
  return x < InverseBodyEnd(width) ? Inverse14(y, cb, cr, kPlaneOffsets) : Inverse16(y, cb, cr);
}

}  // namespace vek::colour
