// Conversions with chroma at a lower resolution than luma: the 4:2:2 and
// 4:1:1 whole images and every MCU function. One chroma sample covers a group
// of kH x kV pixels. The forward direction sums the group's chroma terms and
// rounds once; the inverse replicates each chroma sample over its group. The
// same two loops serve planes and 8x8 blocks; only the storage differs.
#pragma once

#include <cstdint>

#include "core/row_parallel.h"
#include "core/unaligned.h"
#include "jpeg/colour_math.h"
#include "jpeg/pixel_layouts.h"

namespace vek::colour {

constexpr int Log2(int n) { return n == 4 ? 2 : n == 2 ? 1 : 0; }

// ---- Formulas: Terms(pixel) are summed over a group; Luma and Chroma make
// the stored values from a pixel's terms and from the group's sums. Channel 3
// is K where there is one (a luma-resolution component).

// Whole images at scale 2^14 with one of the two Cb weight sets.
template <int32_t kCbR>
struct PlaneForward {
  static constexpr Px Terms(const Px& p) {
    const Ycc s = Sums14({p[0], p[1], p[2]}, kCbR == kCb2764.r ? kCb2764 : kCb2765);
    return {s.y, s.cb, s.cr, 0};
  }
  static constexpr int32_t Luma(int32_t y) { return Sat8((y + 8192) >> 14); }
  static constexpr int32_t K(int32_t) { return 0; }
  static constexpr int32_t Chroma(int32_t sum, int log2n) { return Sat8(GroupChroma(sum, log2n, 128)); }
};

// Level-shifted blocks at scale 2^14; CMYK inverts C, M, Y first.
template <bool kCmyk>
struct BlockForward {
  static constexpr Px Terms(const Px& p) {
    const Rgb c = kCmyk ? Rgb{255 - p[0], 255 - p[1], 255 - p[2]} : Rgb{p[0], p[1], p[2]};
    const Ycc s = Sums14(c, kCb2764);
    return {s.y, s.cb, s.cr, p[3]};
  }
  static constexpr int32_t Luma(int32_t y) { return (y - 2088960) >> 14; }
  static constexpr int32_t K(int32_t k) { return k - 128; }
  static constexpr int32_t Chroma(int32_t sum, int log2n) { return GroupChroma(sum, log2n, 0); }
};

// No colour conversion: level shift, and a floor average of the chroma.
struct SampleForward {
  static constexpr Px Terms(const Px& p) { return p; }
  static constexpr int32_t Luma(int32_t y) { return y - 128; }
  static constexpr int32_t K(int32_t) { return 0; }
  static constexpr int32_t Chroma(int32_t sum, int log2n) { return (sum - (128 << log2n)) >> log2n; }
};

// Inverse formulas: At(y, cb, cr, k) -> pixel.
struct PlaneInverse {
  static constexpr Px At(int32_t y, int32_t cb, int32_t cr, int32_t) {
    const Rgb v = Inverse14(y, cb, cr, kPlaneOffsets);
    return {v.r, v.g, v.b, 0};
  }
};

template <bool kCmyk>
struct BlockInverse {
  static constexpr Px At(int32_t y, int32_t cb, int32_t cr, int32_t k) {
    const Rgb v = Inverse14(y, cb, cr, kBlockOffsets);
    return kCmyk ? Px{255 - v.r, 255 - v.g, 255 - v.b, Sat8(k + 128)} : Px{v.r, v.g, v.b, 0};
  }
};

struct SampleInverse {
  static constexpr Px At(int32_t y, int32_t cb, int32_t cr, int32_t) {
    return {Sat8(y + 128), Sat8(cb + 128), Sat8(cr + 128), 0};
  }
};

// ---- Storage of the components -----------------------------------------------

// Planes: Y (and K) at full size, Cb and Cr at group resolution; each plane
// with its own step.
template <class T>
struct PlaneStore {
  Image<std::conditional_t<std::is_const_v<T>, SrcRow, DstRow>, std::conditional_t<std::is_const_v<T>, const void, void>>
      planes;
  T& At(int c, int32_t row, int32_t x) const { return static_cast<T*>(RowAt(planes.base[c], planes.step[c], row))[x]; }
};

// One MCU of 8x8 blocks: Y (and K) in kH*kV blocks, left to right then top to
// bottom; Cb and Cr one block each. Block buffers are 2-byte aligned.
template <class T, int kH, int kV>
struct BlockStore {
  T* const* blocks;
  static int32_t Index(int c, int32_t row, int32_t x) {
    if (c == 1 || c == 2) return row * 8 + x;
    return ((row >> 3) * kH + (x >> 3)) * 64 + (row & 7) * 8 + (x & 7);
  }
  T& At(int c, int32_t row, int32_t x) const { return blocks[c][Index(c, row, x)]; }
};

template <class T, class Store>
void Put(const Store& store, int c, int32_t row, int32_t x, int32_t v) {
  store.At(c, row, x) = static_cast<T>(v);
}

// ---- The two loops ---------------------------------------------------------------

// Pixels of a w x h region in layout In, converted by F into `out`. A group
// that passes the right or bottom edge repeats the last column or row.
template <int kH, int kV, class In, class F, class T, class Store>
void ForwardGroups(const SrcImage& src, int32_t w, int32_t h, bool withK, const Store& out) {
  constexpr int log2n = Log2(kH * kV);
  for (int32_t cy = 0; cy * kV < h; ++cy) {
    for (int32_t cx = 0; cx * kH < w; ++cx) {
      int32_t cb = 0, cr = 0;
      for (int dy = 0; dy < kV; ++dy) {
        const int32_t row = std::min(cy * kV + dy, h - 1);
        const SrcRow line = src.At(row);
        for (int dx = 0; dx < kH; ++dx) {
          const int32_t x = std::min(cx * kH + dx, w - 1);
          const Px t = F::Terms(In::Get(line, x));
          cb += t[1];
          cr += t[2];
          if (row == cy * kV + dy && x == cx * kH + dx) {
            Put<T>(out, 0, row, x, F::Luma(t[0]));
            if (withK) Put<T>(out, 3, row, x, F::K(t[3]));
          }
        }
      }
      Put<T>(out, 1, cy, cx, F::Chroma(cb, log2n));
      Put<T>(out, 2, cy, cx, F::Chroma(cr, log2n));
    }
  }
}

// Rows [r0, r1) of a w-wide region: every pixel from its own Y (and K) and
// its group's Cb and Cr, converted by F into layout Out.
template <int kH, int kV, class F, class Out, class Store>
void InverseGroups(const Store& in, bool withK, int32_t w, int32_t r0, int32_t r1, const DstImage& dst,
                   uint8_t fill) {
  for (int32_t row = r0; row < r1; ++row) {
    const DstRow line = dst.At(row);
    for (int32_t x = 0; x < w; ++x) {
      const int32_t k = withK ? in.At(3, row, x) : 0;
      Out::Put(line, x, F::At(in.At(0, row, x), in.At(1, row / kV, x / kH), in.At(2, row / kV, x / kH), k), fill);
    }
  }
}

}  // namespace vek::colour
