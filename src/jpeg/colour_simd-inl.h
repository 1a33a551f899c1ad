// Per-target vector forms of the colour layouts and formulas, on 32-bit lanes
// or as pairwise 16-bit multiply-adds into 32 bits: every product and sum of
// the fixed-point formulas fits, so each lane computes exactly what the plain
// form computes for its column.
// Included once per target from the kernel files (hwy/foreach_target.h).
#if defined(VEK_JPEG_COLOUR_SIMD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VEK_JPEG_COLOUR_SIMD_INL_H_
#undef VEK_JPEG_COLOUR_SIMD_INL_H_
#else
#define VEK_JPEG_COLOUR_SIMD_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

#include "jpeg/colour_groups.h"
#include "jpeg/colour_rows.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
struct VPx {
  hn::Vec<D> c[4];
};

// ---- Layouts ---------------------------------------------------------------------

// Interleaved pixels as byte vectors, channel i at byte kOffset[i] of a pixel;
// a three-channel 4-byte pixel gets `fill` in its fourth byte.
template <class Layout, class D8>
HWY_INLINE void LoadChannels(D8 d8, const uint8_t* p, hn::Vec<D8> (&v)[4]) {
  hn::Vec<D8> raw[4];
  if constexpr (Layout::kPixelBytes == 3) {
    hn::LoadInterleaved3(d8, p, raw[0], raw[1], raw[2]);
    raw[3] = raw[0];
  } else {
    hn::LoadInterleaved4(d8, p, raw[0], raw[1], raw[2], raw[3]);
  }
  for (int c = 0; c < 4; ++c) v[c] = raw[Layout::kOffset[c]];
}

template <class Layout, class D8>
HWY_INLINE void StoreChannels(D8 d8, const hn::Vec<D8> (&v)[4], uint8_t fill, uint8_t* p) {
  hn::Vec<D8> raw[4];
  for (int c = 0; c < Layout::kChannels; ++c) raw[Layout::kOffset[c]] = v[c];
  if constexpr (Layout::kPixelBytes == 3) {
    hn::StoreInterleaved3(raw[0], raw[1], raw[2], d8, p);
  } else {
    if constexpr (Layout::kChannels == 3) raw[Layout::kOffset[3]] = hn::Set(d8, fill);
    hn::StoreInterleaved4(raw[0], raw[1], raw[2], raw[3], d8, p);
  }
}

// The channel bytes of pixels [x, x + lanes) into an interleaved or planar
// destination row.
template <class Out, class D8>
HWY_INLINE void StoreBytes(D8 d8, const hn::Vec<D8> (&v)[4], uint8_t fill, const colour::DstRow& row, int32_t x) {
  if constexpr (Out::kKind == colour::Kind::kInterleaved) {
    StoreChannels<Out>(d8, v, fill, colour::Ptr<uint8_t>(row, 0) + Out::kPixelBytes * x);
  } else {
    static_assert(Out::kKind == colour::Kind::kPlanes);
    for (int c = 0; c < Out::kChannels; ++c) hn::StoreU(v[c], d8, colour::Ptr<uint8_t>(row, c) + x);
  }
}

// Lane tables for pairs of pixels: alternating between the two halves
// (0, n/2, 1, n/2 + 1, ...), or each lane twice (0, 0, 1, 1, ...).
template <class D>
std::array<int32_t, 16> PairIndices(bool alternate) {
  const auto n = static_cast<int32_t>(hn::Lanes(D()));
  std::array<int32_t, 16> idx{};
  for (int32_t i = 0; i < n; ++i) idx[static_cast<std::size_t>(i)] = alternate ? (i % 2) * (n / 2) + i / 2 : i / 2;
  return idx;
}

// The fields of 16-bit pixels px (unsigned lanes of 16 or 32 bits) moved to
// the top of a byte as the plain form unpacks them, G kGShift bits further.
template <class Layout, int kGShift = 0, class V>
HWY_INLINE void UnpackFields(V px, V& r, V& g, V& b) {
  const hn::DFromV<V> du;
  const auto field = [&](uint32_t mask) { return hn::And(px, hn::Set(du, static_cast<hn::TFromV<V>>(mask))); };
  const V low = hn::ShiftLeft<3>(field(31));
  const V high = Layout::kIs565 ? hn::ShiftRight<8>(field(63488)) : hn::ShiftRight<7>(field(31744));
  r = Layout::kIsRedFirst ? low : high;
  g = Layout::kIs565 ? hn::ShiftRight<3 - kGShift>(field(2016)) : hn::ShiftRight<2 - kGShift>(field(992));
  b = Layout::kIsRedFirst ? high : low;
}

// The 16-bit pixels of channel values 0..255 (lanes of 16 or 32 bits),
// packed from the top bits of each.
template <class Layout, class V>
HWY_INLINE V PackFields(V r, V g, V b) {
  const V low = Layout::kIsRedFirst ? r : b, high = Layout::kIsRedFirst ? b : r;
  return Layout::kIs565 ? hn::Or(hn::Or(hn::ShiftRight<3>(low), hn::ShiftLeft<5>(hn::ShiftRight<2>(g))),
                                 hn::ShiftLeft<11>(hn::ShiftRight<3>(high)))
                        : hn::Or(hn::Or(hn::ShiftRight<3>(low), hn::ShiftLeft<5>(hn::ShiftRight<3>(g))),
                                 hn::ShiftLeft<10>(hn::ShiftRight<3>(high)));
}

template <class In, class D>
HWY_INLINE VPx<D> LoadPixels(D d, const colour::SrcRow& row, int32_t x) {
  using colour::Kind;
  const hn::Rebind<uint8_t, D> d8;
  VPx<D> v;
  if constexpr (In::kKind == Kind::kInterleaved) {
    hn::Vec<decltype(d8)> bytes[4];
    LoadChannels<In>(d8, colour::Ptr<uint8_t>(row, 0) + In::kPixelBytes * x, bytes);
    for (int c = 0; c < 4; ++c) v.c[c] = hn::PromoteTo(d, bytes[c]);
  } else if constexpr (In::kKind == Kind::kPlanes) {
    for (int c = 0; c < In::kChannels; ++c) v.c[c] = hn::PromoteTo(d, hn::LoadU(d8, colour::Ptr<uint8_t>(row, c) + x));
    for (int c = In::kChannels; c < 4; ++c) v.c[c] = hn::Zero(d);
#if HWY_TARGET != HWY_SCALAR
  } else if constexpr (In::kKind == Kind::kPairs) {
    // n pixels are n/2 pairs Y0 Cb Y1 Cr: the Ys take turns, the chroma of a
    // pair serves both its pixels.
    const hn::Half<D> dh;
    const hn::Rebind<uint8_t, decltype(dh)> dh8;
    hn::Vec<decltype(dh8)> y0, cb, y1, cr;
    hn::LoadInterleaved4(dh8, colour::Ptr<uint8_t>(row, 0) + 2 * x, y0, cb, y1, cr);
    const auto both = [&](hn::Vec<decltype(dh8)> a, hn::Vec<decltype(dh8)> b) {
      return hn::Combine(d, hn::PromoteTo(dh, b), hn::PromoteTo(dh, a));
    };
    v.c[0] = hn::TableLookupLanes(both(y0, y1), hn::SetTableIndices(d, PairIndices<D>(true).data()));
    v.c[1] = hn::TableLookupLanes(both(cb, cb), hn::SetTableIndices(d, PairIndices<D>(false).data()));
    v.c[2] = hn::TableLookupLanes(both(cr, cr), hn::SetTableIndices(d, PairIndices<D>(false).data()));
    v.c[3] = hn::Zero(d);
#endif
  } else {
    static_assert(In::kKind == Kind::kPacked);
    const hn::Rebind<uint16_t, D> d16;
    const hn::RebindToUnsigned<D> du32;
    hn::Vec<decltype(du32)> r, g, b;
    UnpackFields<In>(hn::PromoteTo(du32, hn::LoadU(d16, colour::Ptr<uint16_t>(row, 0) + x)), r, g, b);
    v.c[0] = hn::BitCast(d, r);
    v.c[1] = hn::BitCast(d, g);
    v.c[2] = hn::BitCast(d, b);
    v.c[3] = hn::Zero(d);
  }
  return v;
}

// Values are saturated to 0..255 on the way out.
template <class Out, class D>
HWY_INLINE void StorePixels(D d, const colour::DstRow& row, int32_t x, const VPx<D>& v, uint8_t fill) {
  using colour::Kind;
  const hn::Rebind<uint8_t, D> d8;
  if constexpr (Out::kKind == Kind::kInterleaved || Out::kKind == Kind::kPlanes) {
    hn::Vec<decltype(d8)> bytes[4];
    for (int c = 0; c < Out::kChannels; ++c) bytes[c] = hn::DemoteTo(d8, v.c[c]);
    StoreBytes<Out>(d8, bytes, fill, row, x);
#if HWY_TARGET != HWY_SCALAR
  } else if constexpr (Out::kKind == Kind::kPairs) {
    // Even pixels give Y0 and the pair's chroma, odd pixels Y1.
    const hn::Half<D> dh;
    const hn::Rebind<uint8_t, decltype(dh)> dh8;
    const auto even = [&](hn::Vec<D> a) { return hn::DemoteTo(dh8, hn::LowerHalf(dh, hn::ConcatEven(d, a, a))); };
    const auto odd = hn::DemoteTo(dh8, hn::LowerHalf(dh, hn::ConcatOdd(d, v.c[0], v.c[0])));
    hn::StoreInterleaved4(even(v.c[0]), even(v.c[1]), odd, even(v.c[2]), dh8, colour::Ptr<uint8_t>(row, 0) + 2 * x);
#endif
  } else {
    static_assert(Out::kKind == Kind::kPacked);
    const auto zero = hn::Zero(d), max = hn::Set(d, 255);
    const auto byte = [&](int c) { return hn::Min(hn::Max(v.c[c], zero), max); };
    const hn::Rebind<uint16_t, D> d16;
    hn::StoreU(hn::DemoteTo(d16, PackFields<Out>(byte(0), byte(1), byte(2))), d16, colour::Ptr<uint16_t>(row, 0) + x);
  }
}

// ---- Formulas --------------------------------------------------------------------

// a*ka + b*kb + c*kc + k
template <class D, class V = hn::Vec<D>>
HWY_INLINE V Dot(D d, V a, int32_t ka, V b, int32_t kb, V c, int32_t kc, int32_t k) {
  return hn::Add(hn::Add(hn::Mul(a, hn::Set(d, ka)), hn::Mul(b, hn::Set(d, kb))),
                 hn::Add(hn::Mul(c, hn::Set(d, kc)), hn::Set(d, k)));
}

template <class D>
HWY_INLINE VPx<D> Forward15(D d, const VPx<D>& p) {
  VPx<D> o;
  o.c[0] = hn::ShiftRight<15>(Dot(d, p.c[0], 9798, p.c[1], 19235, p.c[2], 3736, 16266));
  o.c[1] = hn::ShiftRight<15>(Dot(d, p.c[0], -5529, p.c[1], -10855, p.c[2], 16384, 4210688));
  o.c[2] = hn::ShiftRight<15>(Dot(d, p.c[0], 16384, p.c[1], -13720, p.c[2], -2664, 4210704));
  o.c[3] = p.c[3];
  return o;
}

template <class D>
HWY_INLINE VPx<D> Forward14(D d, const VPx<D>& p, colour::CbWeights cb) {
  VPx<D> o;
  o.c[0] = hn::ShiftRight<14>(Dot(d, p.c[0], 4899, p.c[1], 9617, p.c[2], 1868, 8192));
  o.c[1] = hn::ShiftRight<14>(Dot(d, p.c[0], cb.r, p.c[1], cb.g, p.c[2], 8192, 2105344));
  o.c[2] = hn::ShiftRight<14>(Dot(d, p.c[0], 8192, p.c[1], -6860, p.c[2], -1332, 2105344));
  o.c[3] = p.c[3];
  return o;
}

// The scale-2^14 inverse. With 8-bit chroma every chroma term lies within
// -227..226, so the 16-bit saturation of the plain form never acts here.
template <class D>
HWY_INLINE VPx<D> Inverse14(D d, const VPx<D>& p, colour::InverseOffsets k) {
  const auto zero = hn::Zero(d);
  VPx<D> o;
  o.c[0] = hn::Add(p.c[0], hn::ShiftRight<14>(Dot(d, p.c[2], 22970, zero, 0, zero, 0, k.r)));
  o.c[1] = hn::Add(p.c[0], hn::ShiftRight<14>(Dot(d, p.c[1], -5638, p.c[2], -11700, zero, 0, k.g)));
  o.c[2] = hn::Add(p.c[0], hn::ShiftRight<14>(Dot(d, p.c[1], 29032, zero, 0, zero, 0, k.b)));
  o.c[3] = p.c[3];
  return o;
}

template <class D>
HWY_INLINE VPx<D> VectorFormula(colour::ForwardGroupsOf8, D d, const VPx<D>& p) {
  return Forward15(d, p);
}
template <class D>
HWY_INLINE VPx<D> VectorFormula(colour::Forward15Everywhere, D d, const VPx<D>& p) {
  return Forward15(d, p);
}
template <int32_t kCbR, class D>
HWY_INLINE VPx<D> VectorFormula(colour::Forward14Everywhere<kCbR>, D d, const VPx<D>& p) {
  return Forward14(d, p, colour::Forward14Everywhere<kCbR>::kCb);
}
template <class D>
HWY_INLINE VPx<D> VectorFormula(colour::ForwardCmyk, D d, const VPx<D>& p) {
  const auto max = hn::Set(d, 255);
  const auto r = hn::Sub(max, p.c[0]), g = hn::Sub(max, p.c[1]), b = hn::Sub(max, p.c[2]);
  VPx<D> o;
  o.c[0] = hn::ShiftRight<16>(Dot(d, r, 19595, g, 38470, b, 7471, 32768));
  o.c[1] = hn::ShiftRight<16>(Dot(d, r, -11059, g, -21709, b, 32768, 8421375));
  o.c[2] = hn::ShiftRight<16>(Dot(d, r, 32768, g, -27439, b, -5329, 8421375));
  o.c[3] = p.c[3];
  return o;
}
template <class D>
HWY_INLINE VPx<D> VectorFormula(colour::InverseGroupsOf4, D d, const VPx<D>& p) {
  return Inverse14(d, p, colour::kPlaneOffsets);
}
template <class D>
HWY_INLINE VPx<D> VectorFormula(colour::InverseCmyk, D d, const VPx<D>& p) {
  VPx<D> o = Inverse14(d, p, colour::kPlaneOffsets);
  const auto zero = hn::Zero(d), max = hn::Set(d, 255);
  for (int c = 0; c < 3; ++c) o.c[c] = hn::Sub(max, hn::Min(hn::Max(o.c[c], zero), max));
  return o;
}

// ---- Forward formulas on 16-bit pairs ------------------------------------------------
//
// Each output of the forward 8-bit formulas is two pairwise 16-bit
// multiply-adds, (R, G) . (wR, wG) + (B, 2) . (wB, c), whose sum holds the
// output byte as (sum >> shift) XOR flip, saturated to a signed byte where
// flip is not 0 and to an unsigned one where it is:
//  - luma keeps the plain form's scale, weights and constant (2c);
//  - chroma v = (S + k) >> s moves to scale 2^16 with its weights negated
//    (at 2^16 the weight of R or B would be 32768): 2^24 - 1 - 2^(16-s) (S + k)
//    has 255 - v in bits 16-23, and without 2^23 its upper half is 127 - v,
//    which the signed saturation and XOR 0x7F turn back into v, saturated as
//    in the plain form.
// Where all weights are even the sums are even, so a constant's lowest bit
// never changes where they cross a multiple of the scale: 2c drops it.
// Sources that give G doubled at no cost (gShift 1) halve its weights, and
// then luma at scale 2^14 moves to 2^16 as well, where its weights fit.
// In the 16-bit steps pixels are paired with their neighbours by
// interleaving the lower and the upper lanes of each 128-bit block;
// narrowing the two halves back block by block restores the pixel order.

#if HWY_TARGET != HWY_SCALAR

inline constexpr int16_t kPairConstant = 2;

// One output: the weights of R, G and B, and the constant 2c, whose lowest
// bit c drops.
struct MaddOutput {
  int32_t wr, wg, wb, k;
  int shift;
  uint8_t flip;
};
struct MaddFormula {
  MaddOutput out[3];
};

// The plain form's (wr R + wg G + wb B + k) >> scale.
struct PlainOutput {
  int32_t wr, wg, wb, k;
};

constexpr MaddOutput LumaMadd(PlainOutput plain, int scale, int gShift = 0) {
  const int32_t m = gShift == 0 ? 1 : 1 << (16 - scale);
  return {m * plain.wr, (m * plain.wg) >> gShift, m * plain.wb, m * plain.k, gShift == 0 ? scale : 16, 0};
}

constexpr MaddOutput ChromaMadd(PlainOutput plain, int scale, int gShift = 0) {
  const int32_t m = 1 << (16 - scale);
  return {-m * plain.wr, (-m * plain.wg) >> gShift, -m * plain.wb, (1 << 23) - 1 - m * plain.k, 16, 0x7F};
}

inline constexpr MaddFormula kMadd15 = {{LumaMadd({9798, 19235, 3736, 16266}, 15),
                                         ChromaMadd({-5529, -10855, 16384, 4210688}, 15),
                                         ChromaMadd({16384, -13720, -2664, 4210704}, 15)}};
constexpr MaddFormula Madd14(colour::CbWeights cb, int gShift = 0) {
  return {{LumaMadd({4899, 9617, 1868, 8192}, 14, gShift), ChromaMadd({cb.r, cb.g, 8192, 2105344}, 14, gShift),
           ChromaMadd({8192, -6860, -1332, 2105344}, 14, gShift)}};
}

// Every weight and c fit 16 bits, and dropping the constant's lowest bit
// changes nothing.
constexpr bool FitsPairs(const MaddFormula& f) {
  const auto fits = [](int32_t v) { return v >= -32768 && v <= 32767; };
  for (const MaddOutput& o : f.out) {
    const bool even = o.k % 2 == 0 || (o.wr | o.wg | o.wb) % 2 == 0;
    if (!fits(o.wr) || !fits(o.wg) || !fits(o.wb) || !fits(o.k >> 1) || !even) return false;
  }
  return true;
}
static_assert(FitsPairs(kMadd15) && FitsPairs(Madd14(colour::kCb2764)) && FitsPairs(Madd14(colour::kCb2765)) &&
              FitsPairs(Madd14(colour::kCb2764, 1)));

// Which forward kernels take this path: RGB sources (not CMYK).
template <class In, class F>
constexpr bool kForwardMadd =
    (In::kKind == colour::Kind::kInterleaved || In::kKind == colour::Kind::kPlanes ||
     In::kKind == colour::Kind::kPacked) &&
    In::kChannels == 3 &&
    !std::is_same_v<F, colour::ForwardCmyk> && !std::is_same_v<F, colour::InverseGroupsOf4> &&
    !std::is_same_v<F, colour::InverseCmyk>;

template <class F, int kGShift = 0>
constexpr MaddFormula MaddOf() {
  if constexpr (std::is_same_v<F, colour::ForwardGroupsOf8> || std::is_same_v<F, colour::Forward15Everywhere>) {
    static_assert(kGShift == 0);
    return kMadd15;
  } else {
    return Madd14(F::kCb, kGShift);
  }
}

// A 16-bit vector of (first, second) pairs.
template <class D16>
HWY_INLINE hn::Vec<D16> WeightPair(D16 d16, int16_t first, int16_t second) {
  const hn::Repartition<int32_t, D16> d32;
  return hn::BitCast(d16, hn::Set(d32, static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(first)) |
                                                           static_cast<uint32_t>(static_cast<uint16_t>(second)) << 16)));
}

// Lane k: a[2k] w[2k] + a[2k+1] w[2k+1], exactly, in 32 bits.
template <class D16>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D16>> PairDot(D16, hn::Vec<D16> a, hn::Vec<D16> w) {
  const hn::Repartition<int32_t, D16> d32;
  auto odd = hn::Zero(d32);
  const auto even = hn::ReorderWidenMulAccumulate(d32, a, w, hn::Zero(d32), odd);
  return hn::RearrangeToOddPlusEven(even, odd);
}

// Output o's sum for the pairs (R, G) and (B, 2) in each 32-bit lane.
template <class D16>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D16>> MaddSum(D16 d16, const MaddOutput& o, hn::Vec<D16> rg,
                                                         hn::Vec<D16> bk) {
  return hn::Add(PairDot(d16, rg, WeightPair(d16, o.wr, o.wg)), PairDot(d16, bk, WeightPair(d16, o.wb, o.k >> 1)));
}

// The lanes of the lower (half 0) or the upper (half 1) half of each 128-bit
// block of a, interleaved with those of b.
template <class D>
HWY_INLINE hn::Vec<D> InterleaveHalf(D d, int half, hn::Vec<D> a, hn::Vec<D> b) {
  return half == 0 ? hn::InterleaveLower(d, a, b) : hn::InterleaveUpper(d, a, b);
}

// The bytes that narrow(T()) saturates to type T: unsigned ones for kFlip 0,
// else signed ones XOR kFlip.
template <uint8_t kFlip, class DU8, class Narrow>
HWY_INLINE hn::Vec<DU8> SaturatedBytes(DU8 du8, const Narrow& narrow) {
  if constexpr (kFlip == 0) {
    return narrow(uint8_t());
  } else {
    return hn::Xor(hn::BitCast(du8, narrow(int8_t())), hn::Set(du8, kFlip));
  }
}

// Output kC of formula F for the 16-bit pixels r, g, b, as bytes in pixel
// order.
template <class F, int kC, class D16>
HWY_INLINE hn::Vec<hn::Rebind<uint8_t, D16>> ForwardBytes(D16 d16, hn::Vec<D16> r, hn::Vec<D16> g, hn::Vec<D16> b) {
  constexpr MaddOutput o = MaddOf<F>().out[kC];
  const auto k = hn::Set(d16, kPairConstant);
  const auto sum = [&](hn::Vec<D16> rg, hn::Vec<D16> bk) { return hn::ShiftRight<o.shift>(MaddSum(d16, o, rg, bk)); };
  const auto lo = sum(hn::InterleaveLower(d16, r, g), hn::InterleaveLower(d16, b, k));
  const auto hi = sum(hn::InterleaveUpper(d16, r, g), hn::InterleaveUpper(d16, b, k));
  const auto v = hn::ReorderDemote2To(d16, lo, hi);
  return SaturatedBytes<o.flip>(hn::Rebind<uint8_t, D16>(),
                                [&](auto t) { return hn::DemoteTo(hn::Rebind<decltype(t), D16>(), v); });
}

// ---- Reading ahead ------------------------------------------------------------------

// Software prefetch of one source row (or plane) of rowBytes bytes, 2 KiB
// ahead of the steps and never past the row's last byte (none for rowBytes
// 0): one source read by wide steps outruns the hardware prefetcher, and so
// do the planes of one interleaved destination. The row's first 2 KiB are
// asked for at once.
class RowPrefetch {
 public:
  RowPrefetch(const uint8_t* row, int32_t rowBytes) : row_(row), rowBytes_(rowBytes) { Lines(0, kAhead); }
  // The cache lines kAhead past bytes [offset, offset + bytes).
  HWY_INLINE void Step(int32_t offset, int32_t bytes) const { Lines(offset + kAhead, offset + kAhead + bytes); }

 private:
  static constexpr int32_t kAhead = 2048, kLine = 64;
  HWY_INLINE void Lines(int32_t from, int32_t to) const {
    for (int32_t i = from; i < std::min(to, rowBytes_); i += kLine) hwy::Prefetch(row_ + i);
  }
  const uint8_t* row_;
  int32_t rowBytes_;
};

// ---- Four vectors of pixels to one of bytes -----------------------------------------
//
// Four vectors of N pixels each in row order, narrowed block by block into
// one vector of bytes, give block b the 4-byte groups of pixels 4b..4b+3 of
// each vector in turn; one lane permutation puts the groups back in row order.

// A lane permutation of 32-bit lanes.
template <class D32>
using LaneOrder = decltype(hn::SetTableIndices(hn::RebindToUnsigned<D32>(), static_cast<const uint32_t*>(nullptr)));

// Lane 4b + j (block b, vector j) goes to lane (N / 4) j + b.
template <class D32>
LaneOrder<D32> BlocksInRowOrder(D32) {
  const hn::RebindToUnsigned<D32> du32;
  const size_t blocks = hn::Lanes(du32) / 4;
  alignas(64) uint32_t idx[16] = {};
  for (size_t b = 0; b < blocks; ++b) {
    for (size_t j = 0; j < 4; ++j) idx[blocks * j + b] = static_cast<uint32_t>(4 * b + j);
  }
  return hn::SetTableIndices(du32, idx);
}

// Bytes gathered block by block from four vectors of pixels, in row order.
template <class D8, class Order>
HWY_INLINE hn::Vec<D8> InRowOrder(D8 d8, const Order& order, hn::Vec<D8> bytes) {
  if (hn::Lanes(d8) == 16) return bytes;
  const hn::Repartition<uint32_t, D8> du32;
  return hn::BitCast(d8, hn::TableLookupLanes(hn::BitCast(du32, bytes), order));
}

// Where the 4N pixels of a step lie in its four vectors of sums, four
// lanes a block: pixels 16j..16j+15 in vector j (kRuns); or the halves of
// the step each interleaved once from 16-bit lanes, block b of vector 2h + q
// holding pixels 32h + 8b + 4q.. (kHalfQuads); or planes of bytes
// interleaved twice, block b of vector 2h + q holding pixels
// 16b + 8h + 4q.. (kQuads); or half h of the runs of 16 pixels 2s and
// 2s + 1 in vector 2h + s (kHalfRuns).
enum class SumLayout { kRuns, kHalfQuads, kQuads, kHalfRuns };

#if HWY_TARGET <= HWY_AVX3
// ---- Sums to bytes on AVX-512 ----------------------------------------------------------
//
// The upper halves of four vectors of 32-bit sums are narrowed by two
// two-table permutes of 16-bit lanes and one pack; the permutes' word indices
// put each pixel where the pack leaves it at the byte wanted.

using Gather = std::array<std::array<uint16_t, 32>, 2>;

// The indices for the sum of pixel p in lane vecLane(p) % 16 of vector
// vecLane(p) / 16 to end at byte at(p) of the pack: vectors 0 and 1 feed the
// first permute, whose words the pack puts in bytes 0-7 of each block.
template <class VecLane, class At>
constexpr Gather MakeGather(VecLane vecLane, At at) {
  Gather g{};
  for (int p = 0; p < 64; ++p) {
    const int t = at(p), v = vecLane(p) / 16;
    g[t % 16 / 8][8 * (t / 16) + t % 8] = static_cast<uint16_t>(32 * (v % 2) + 2 * (vecLane(p) % 16) + 1);
  }
  return g;
}

constexpr int VecLaneOf(SumLayout layout, int p) {
  switch (layout) {
    case SumLayout::kRuns:
      return p;
    case SumLayout::kHalfQuads:
      return 16 * (2 * (p / 32) + p % 8 / 4) + 4 * (p % 32 / 8) + p % 4;
    case SumLayout::kQuads:
      return 16 * (2 * (p % 16 / 8) + p % 8 / 4) + 4 * (p / 16) + p % 4;
    case SumLayout::kHalfRuns:
      break;
  }
  return 16 * (2 * (p % 16 / 8) + p / 32) + 4 * (2 * (p / 16 % 2) + p % 8 / 4) + p % 4;
}

// Whether the permutes each take half of every run of 16, so that the pack
// leaves the pixels in row order; else it leaves eighths b and b + 4 of the
// row in block b, for one 64-bit lane permutation to put in order.
constexpr bool PacksInRowOrder(SumLayout layout) {
  return layout == SumLayout::kQuads || layout == SumLayout::kHalfRuns;
}

constexpr int PackedAt(SumLayout layout, int p) {
  return PacksInRowOrder(layout) ? p : 16 * (p % 32 / 8) + 8 * (p / 32) + p % 8;
}

template <SumLayout kLayout>
inline constexpr Gather kGatherOf =
    MakeGather([](int p) { return VecLaneOf(kLayout, p); }, [](int p) { return PackedAt(kLayout, p); });

template <class D32>
struct SumOrder {
  hn::Vec<hn::Repartition<uint16_t, D32>> gather[2];
  bool eighths;
};

template <class D32>
SumOrder<D32> SumsInRowOrder(D32, SumLayout layout) {
  const hn::Repartition<uint16_t, D32> du16;
  const Gather& g = layout == SumLayout::kRuns       ? kGatherOf<SumLayout::kRuns>
                    : layout == SumLayout::kHalfQuads ? kGatherOf<SumLayout::kHalfQuads>
                    : layout == SumLayout::kQuads     ? kGatherOf<SumLayout::kQuads>
                                                      : kGatherOf<SumLayout::kHalfRuns>;
  return {{hn::LoadU(du16, g[0].data()), hn::LoadU(du16, g[1].data())}, !PacksInRowOrder(layout)};
}
#else
template <class D32>
using SumOrder = LaneOrder<D32>;

// Only kRuns here.
template <class D32>
SumOrder<D32> SumsInRowOrder(D32 d32, SumLayout) {
  return BlocksInRowOrder(d32);
}
#endif

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
// Two vectors of 16-bit lanes saturated to bytes of type T (uint8_t or
// int8_t) block by block: Highway has no two-input 16-to-8-bit narrowing, the
// x86 packs do it.
template <class T, class D16>
HWY_INLINE hn::Vec<hn::Repartition<T, D16>> PackBlocks(D16, hn::Vec<D16> lo, hn::Vec<D16> hi) {
#if HWY_TARGET <= HWY_AVX3
  return {hwy::IsSigned<T>() ? _mm512_packs_epi16(lo.raw, hi.raw) : _mm512_packus_epi16(lo.raw, hi.raw)};
#elif HWY_TARGET == HWY_AVX2
  return {hwy::IsSigned<T>() ? _mm256_packs_epi16(lo.raw, hi.raw) : _mm256_packus_epi16(lo.raw, hi.raw)};
#else
  return {hwy::IsSigned<T>() ? _mm_packs_epi16(lo.raw, hi.raw) : _mm_packus_epi16(lo.raw, hi.raw)};
#endif
}
#endif

// v[0..3] >> kShift, each within -32768..32767, saturated to bytes of type T
// (uint8_t or int8_t), in row order.
template <class T, int kShift, class D32>
HWY_INLINE hn::Vec<hn::Repartition<T, D32>> NarrowToBytes(D32, const SumOrder<D32>& order,
                                                          const hn::Vec<D32> (&v)[4]) {
  const hn::Repartition<int16_t, D32> d16;
  const hn::Repartition<T, D32> d8;
#if HWY_TARGET <= HWY_AVX3
  // Without shifts down: bits kShift.. of each lane moved to its upper half.
  const auto upper = [&](int j) { return hn::ShiftLeft<16 - kShift>(v[j]).raw; };
  const auto gather = [&](int h) {
    return hn::Vec<decltype(d16)>{_mm512_permutex2var_epi16(upper(2 * h), order.gather[h].raw, upper(2 * h + 1))};
  };
  const auto packed = PackBlocks<T>(d16, gather(0), gather(1));
  if (!order.eighths) return packed;
  const hn::Repartition<uint64_t, D32> du64;
  alignas(64) static constexpr uint64_t kEighths[8] = {0, 2, 4, 6, 1, 3, 5, 7};
  return hn::BitCast(d8, hn::TableLookupLanes(hn::BitCast(du64, packed), hn::SetTableIndices(du64, kEighths)));
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
  const auto narrow = [&](int j) {
    return hn::ReorderDemote2To(d16, hn::ShiftRight<kShift>(v[j]), hn::ShiftRight<kShift>(v[j + 1]));
  };
  return InRowOrder(d8, order, PackBlocks<T>(d16, narrow(0), narrow(2)));
#else
  (void)order;
  const hn::Half<decltype(d16)> dh16;
  const hn::Half<decltype(d8)> dh8;
  const auto half = [&](int j) { return hn::DemoteTo(dh16, hn::ShiftRight<kShift>(v[j])); };
  const auto lo = hn::Combine(d16, half(1), half(0)), hi = hn::Combine(d16, half(3), half(2));
  return hn::Combine(d8, hn::DemoteTo(dh8, hi), hn::DemoteTo(dh8, lo));
#endif
}

// ---- CMYK to YCCK on 32-bit pixels ------------------------------------------------
//
// Each pixel is one 32-bit lane C | M << 8 | Y << 16 | K << 24. Masks and
// shifts make the 16-bit pairs (C, Y) and (M, 1), and the inversion 255 - x
// is folded into the weights, so each output is two multiply-adds (Y adds
// the second one twice, for the M weight 38470 above 2^15):
//   Y  = (C, Y) . (-19595, -7471) + 2 (M, 1) . (-19235, -16384) + 2^24
//   Cb = (C, Y) . (11059, -32768) + (M, 1) . (21709, 32767) + 128 * 2^16
//   Cr = (C, Y) . (-32768, 5329) + (M, 1) . (27439, 32767) + 128 * 2^16
// Every sum of the plain form lies in 0 .. 2^24 - 1, so its result is byte 2
// of the sum: leaving out 2^24 does not change that byte, and leaving out
// 128 * 2^16 flips its top bit.

// The pairs (C, Y) and (M, 1) of the pixels.
template <class DU32, class D16 = hn::Repartition<int16_t, DU32>>
HWY_INLINE void CmykPairs(DU32 du32, hn::Vec<DU32> px, hn::Vec<D16>& cy, hn::Vec<D16>& m1) {
  cy = hn::BitCast(D16(), hn::And(px, hn::Set(du32, 0x00FF00FFu)));
  m1 = hn::BitCast(D16(), hn::Or(hn::And(hn::ShiftRight<8>(px), hn::Set(du32, 0xFFu)), hn::Set(du32, 0x10000u)));
}

// Output c (Y, Cb or Cr) of the pairs, less 2^24 or 128 * 2^16 as above.
template <class D16>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D16>> CmykSum(D16 d16, int c, hn::Vec<D16> cy, hn::Vec<D16> m1) {
  if (c == 0) {
    const auto halfM = PairDot(d16, m1, WeightPair(d16, -19235, -16384));
    return hn::Add(PairDot(d16, cy, WeightPair(d16, -19595, -7471)), hn::Add(halfM, halfM));
  }
  return c == 1 ? hn::Add(PairDot(d16, cy, WeightPair(d16, 11059, -32768)), PairDot(d16, m1, WeightPair(d16, 21709, 32767)))
                : hn::Add(PairDot(d16, cy, WeightPair(d16, -32768, 5329)), PairDot(d16, m1, WeightPair(d16, 27439, 32767)));
}

// 4x4 transposes of the 32-bit lanes within each 128-bit block: lane j of a
// block of v[m] becomes lane m of that block of v[j].
template <class DU32>
HWY_INLINE void TransposeInBlocks(DU32 du32, hn::Vec<DU32> (&v)[4]) {
  const hn::Repartition<uint64_t, DU32> du64;
  const auto t0 = hn::BitCast(du64, hn::InterleaveLower(du32, v[0], v[1]));
  const auto t1 = hn::BitCast(du64, hn::InterleaveUpper(du32, v[0], v[1]));
  const auto t2 = hn::BitCast(du64, hn::InterleaveLower(du32, v[2], v[3]));
  const auto t3 = hn::BitCast(du64, hn::InterleaveUpper(du32, v[2], v[3]));
  v[0] = hn::BitCast(du32, hn::InterleaveLower(du64, t0, t2));
  v[1] = hn::BitCast(du32, hn::InterleaveUpper(du64, t0, t2));
  v[2] = hn::BitCast(du32, hn::InterleaveLower(du64, t1, t3));
  v[3] = hn::BitCast(du32, hn::InterleaveUpper(du64, t1, t3));
}

// Byte kByte (2 or 3) of each 32-bit lane of v[0], v[1], v[2], v[3] as bytes
// 0, 1, 2, 3 of that lane, by 16-bit and 8-bit blends.
template <int kByte, class D32>
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, D32>> ByteOfLanes(D32, const hn::Vec<D32> (&v)[4]) {
  const hn::RebindToUnsigned<D32> du32;
  const hn::Repartition<uint16_t, D32> du16;
  const hn::Repartition<uint8_t, D32> du8;
  const auto upper = [&](int i, int j) {  // the upper halves of v[i] and v[j] as even and odd 16-bit lanes
    return hn::OddEven(hn::BitCast(du16, v[j]), hn::BitCast(du16, hn::ShiftRight<16>(hn::BitCast(du32, v[i]))));
  };
  const auto even = upper(0, 2), odd = upper(1, 3);
  if constexpr (kByte == 2) return hn::OddEven(hn::BitCast(du8, hn::ShiftLeft<8>(odd)), hn::BitCast(du8, even));
  return hn::OddEven(hn::BitCast(du8, odd), hn::BitCast(du8, hn::ShiftRight<8>(even)));
}

// Output c of the pixels from its sums (less 2^24 or 128 * 2^16). AVX-512:
// the narrowing's permutes take each pixel's sum where it lies, and Y's sum
// gets 2^23 so that, as for Cb and Cr, its upper half is the output less
// 128. Elsewhere the pixels are transposed first, so that each lane's four
// pixels are consecutive for ByteOfLanes.
template <class D32>
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, D32>> CmykBytes(D32 d32, const SumOrder<D32>& order, int c,
                                                            hn::Vec<D32> (&sums)[4]) {
  const hn::Repartition<uint8_t, D32> du8;
#if HWY_TARGET <= HWY_AVX3
  if (c == 0) {
    for (hn::Vec<D32>& s : sums) s = hn::Add(s, hn::Set(d32, 1 << 23));
  }
  return SaturatedBytes<0x80>(du8, [&](auto t) { return NarrowToBytes<decltype(t), 16>(d32, order, sums); });
#else
  (void)order;
  const auto bytes = ByteOfLanes<2>(d32, sums);
  return c == 0 ? bytes : hn::Xor(bytes, hn::Set(du8, 0x80));
#endif
}

// Pixels [x, x + 4N) of a CMYK row, N the 32-bit lane count, into the four
// planes, one output at a time. Interleaved pixels are loaded a vector at a
// time (SumLayout::kRuns); planes are interleaved by bytes, then by 16-bit
// lanes (SumLayout::kQuads).
template <class In, class D32>
HWY_INLINE void CmykStep(D32 d32, const SumOrder<D32>& order, const colour::SrcRow& src, const colour::DstRow& dst,
                         int32_t x) {
  const hn::RebindToUnsigned<D32> du32;
  const hn::Repartition<uint8_t, D32> du8;
  const hn::Repartition<uint16_t, D32> du16;
  const hn::Repartition<int16_t, D32> d16;
  const auto n = static_cast<int32_t>(hn::Lanes(du32));
  hn::Vec<decltype(du32)> px[4];
  hn::Vec<decltype(du8)> out[4];
  hn::Vec<decltype(d16)> cy[4], m1[4];
  if constexpr (In::kKind == colour::Kind::kInterleaved) {
    for (int j = 0; j < 4; ++j) px[j] = hn::BitCast(du32, hn::LoadU(du8, colour::Ptr<uint8_t>(src, 0) + 4 * (x + n * j)));
  } else {
    hn::Vec<decltype(du8)> planes[4];
    for (int c = 0; c < 4; ++c) planes[c] = hn::LoadU(du8, colour::Ptr<uint8_t>(src, c) + x);
    out[3] = planes[3];
#if HWY_TARGET <= HWY_AVX3
    // The pairs straight from the planes, widened by interleaving with zero
    // bytes, then C with Y and M with the constant 1.
    const auto zero = hn::Zero(du8);
    const auto one = hn::Set(d16, 1);
    for (int h = 0; h < 2; ++h) {
      const auto widen = [&](int c) { return hn::BitCast(d16, InterleaveHalf(du8, h, planes[c], zero)); };
      const auto c16 = widen(0), m16 = widen(1), y16 = widen(2);
      for (int q = 0; q < 2; ++q) {
        cy[2 * h + q] = InterleaveHalf(d16, q, c16, y16);
        m1[2 * h + q] = InterleaveHalf(d16, q, m16, one);
      }
    }
#else
    const auto bytePairs = [&](bool upper, int c) {  // planes c and c + 1 as 16-bit lanes
      return hn::BitCast(du16, upper ? hn::InterleaveUpper(du8, planes[c], planes[c + 1])
                                     : hn::InterleaveLower(du8, planes[c], planes[c + 1]));
    };
    for (int j = 0; j < 4; ++j) {
      const auto cm = bytePairs(j >= 2, 0), yk = bytePairs(j >= 2, 2);
      px[j] = hn::BitCast(du32, j % 2 ? hn::InterleaveUpper(du16, cm, yk) : hn::InterleaveLower(du16, cm, yk));
    }
#endif
  }
#if HWY_TARGET <= HWY_AVX3
  if constexpr (In::kKind == colour::Kind::kInterleaved) {
    hn::Vec<D32> k[4];
    for (int j = 0; j < 4; ++j) {
      k[j] = hn::BitCast(d32, hn::ShiftRight<8>(px[j]));
      CmykPairs(du32, px[j], cy[j], m1[j]);
    }
    out[3] = NarrowToBytes<uint8_t, 16>(d32, order, k);
  }
#else
  TransposeInBlocks(du32, px);
  for (int j = 0; j < 4; ++j) CmykPairs(du32, px[j], cy[j], m1[j]);
#endif
  for (int c = 0; c < 3; ++c) {  // one output at a time, for fewer live sums
    hn::Vec<D32> sums[4];
    for (int j = 0; j < 4; ++j) sums[j] = CmykSum(d16, c, cy[j], m1[j]);
    out[c] = CmykBytes(d32, order, c, sums);
  }
#if HWY_TARGET > HWY_AVX3
  if constexpr (In::kKind == colour::Kind::kInterleaved) {
    out[3] = ByteOfLanes<3>(du32, px);
    for (int c = 0; c < 4; ++c) out[c] = InRowOrder(du8, order, out[c]);
  }
#endif
  for (int c = 0; c < 4; ++c) hn::StoreU(out[c], du8, colour::Ptr<uint8_t>(dst, c) + x);
}

// ---- Interleaved bytes straight to multiply-add pairs ------------------------------
//
// 4N interleaved pixels (N the 32-bit lane count) become one 32-bit lane
// each, as the 16-bit pairs (R, G) and (B, 2): 3-byte pixels are first moved
// four to a 128-bit block (pixels 4k..4k+3 are the 32-bit words 3k..3k+2),
// then byte shuffles within each block widen the channels. A vector load
// serves N pixels, so it reads 4N bytes (SumLayout::kRuns); AVX-512 loads the
// 192 bytes of 64 3-byte pixels once and fills each vector with four groups
// of four from two of the loads (SumLayout::kHalfRuns), and merges the
// shuffle for (B, 2) into a vector of the 2s.

template <class In, class D>
class PairLoader {
 public:
  using D32 = D;
  using D16 = hn::Repartition<int16_t, D32>;
  static constexpr bool kThreeLoads = HWY_TARGET <= HWY_AVX3 && In::kPixelBytes == 3;
  static constexpr SumLayout kLayout = kThreeLoads ? SumLayout::kHalfRuns : SumLayout::kRuns;
  static constexpr int kGShift = 0;

  PairLoader() : rg_(Shuffle(0, 1)), b_(Shuffle(2, -1)), two_(hn::Set(D32(), kPairConstant << 16)) {
    const hn::RebindToUnsigned<D32> du;
    for (int j = 0; j < 4; ++j) {
      alignas(64) uint32_t idx[16] = {};
      for (size_t i = 0; i < hn::Lanes(du); ++i) idx[i] = WordOf(j, static_cast<int>(i));
#if HWY_TARGET <= HWY_AVX3
      if constexpr (kThreeLoads) {  // indices into two tables, which SetTableIndices does not take
        groups_[j] = hn::Load(du, idx).raw;
        continue;
      }
#endif
      if (j == 0 && In::kPixelBytes == 3) blocks_ = hn::SetTableIndices(du, idx);
    }
  }

  // The bytes a step reads from its first pixel's.
  static int32_t BytesRead(int32_t n) { return kThreeLoads ? 12 * n : In::kPixelBytes * 3 * n + 4 * n; }

  HWY_INLINE void Pairs(const colour::SrcRow& src, int32_t x, hn::Vec<D16> (&rg)[4], hn::Vec<D16> (&bk)[4]) const {
    const D8 d8;
    const uint8_t* p = colour::Ptr<uint8_t>(src, 0) + In::kPixelBytes * x;
#if HWY_TARGET <= HWY_AVX3
    if constexpr (kThreeLoads) {
      __m512i loads[3];
      for (int i = 0; i < 3; ++i) loads[i] = hn::LoadU(d8, p + 64 * i).raw;
      for (int j = 0; j < 4; ++j) {
        Widen(hn::Vec<D8>{_mm512_permutex2var_epi32(loads[j % 2], groups_[j], loads[j % 2 + 1])}, rg[j], bk[j]);
      }
      return;
    }
#endif
    const hn::RebindToUnsigned<D32> du;
    const auto n = static_cast<int32_t>(hn::Lanes(D32()));
    for (int j = 0; j < 4; ++j) {
      auto bytes = hn::LoadU(d8, p + In::kPixelBytes * n * j);
      if constexpr (In::kPixelBytes == 3) bytes = hn::BitCast(d8, hn::TableLookupLanes(hn::BitCast(du, bytes), blocks_));
      Widen(bytes, rg[j], bk[j]);
    }
  }

 private:
  using D8 = hn::Repartition<uint8_t, D32>;

  // The 32-bit word of the step's bytes (of two loads, from load j % 2, for
  // three loads) that lane i of vector j takes.
  static uint32_t WordOf(int j, int i) {
    const int k = std::min(i % 4, 2);
    if (!kThreeLoads) return static_cast<uint32_t>(In::kPixelBytes == 3 ? 3 * (i / 4) + k : i);
    const int pixel = 16 * (2 * (j % 2) + i / 8) + 8 * (j / 2) + 4 * (i / 4 % 2);
    return static_cast<uint32_t>(3 * (pixel / 4) + k - 16 * (j % 2));
  }

  // Byte k of block j of the shuffle: channel `first` (and `second`, -1 for
  // none) of pixel k / 4 as the low bytes of 16-bit lanes, 0x80 for zero.
  static hn::Vec<D8> Shuffle(int first, int second) {
    alignas(16) uint8_t idx[16];
    for (int k = 0; k < 16; ++k) {
      const int channel = k % 4 == 0 ? first : k % 4 == 2 ? second : -1;
      idx[k] = static_cast<uint8_t>(channel < 0 ? 0x80 : In::kPixelBytes * (k / 4) + In::kOffset[channel]);
    }
    return hn::LoadDup128(D8(), idx);
  }

  HWY_INLINE void Widen(hn::Vec<D8> bytes, hn::Vec<D16>& rg, hn::Vec<D16>& bk) const {
    rg = hn::BitCast(D16(), hn::TableLookupBytesOr0(bytes, rg_));
#if HWY_TARGET <= HWY_AVX3
    bk = hn::BitCast(D16(), hn::Vec<D8>{_mm512_mask_shuffle_epi8(hn::BitCast(D8(), two_).raw, 0x3333333333333333ull,
                                                                 bytes.raw, b_.raw)});  // B's 16 bits from the shuffle
#else
    bk = hn::BitCast(D16(), hn::Or(hn::BitCast(D32(), hn::TableLookupBytesOr0(bytes, b_)), two_));
#endif
  }

  hn::Vec<D8> rg_, b_;
  hn::Vec<D32> two_;
#if HWY_TARGET <= HWY_AVX3
  __m512i groups_[4];
#endif
  LaneOrder<D32> blocks_;
};

// f(integral_constant<int, 0>), ..., f(integral_constant<int, kN - 1>):
// formula outputs as constants.
template <int kN, class Fn>
HWY_INLINE void ForEachOutput(const Fn& f) {
  [&]<int... kC>(std::integer_sequence<int, kC...>) { (f(std::integral_constant<int, kC>()), ...); }(
      std::make_integer_sequence<int, kN>());
}

// Pixels [x, x + 4N) of a row, as the loader pairs them, into Out::kChannels
// planes: each output by two multiply-adds per lane, narrowed to bytes.
template <class Out, class F, class Loader>
HWY_INLINE void ForwardPairsStep(const Loader& loader, const SumOrder<typename Loader::D32>& order,
                                 const colour::SrcRow& src, const colour::DstRow& dst, int32_t x) {
  using D32 = typename Loader::D32;
  const D32 d32;
  const hn::Repartition<int16_t, D32> d16;
  const hn::Repartition<uint8_t, D32> du8;
  hn::Vec<decltype(d16)> rg[4], bk[4];
  loader.Pairs(src, x, rg, bk);
  ForEachOutput<Out::kChannels>([&](auto c) {
    constexpr MaddOutput o = MaddOf<F, Loader::kGShift>().out[c];
    hn::Vec<D32> sum[4];
    for (int j = 0; j < 4; ++j) sum[j] = MaddSum(d16, o, rg[j], bk[j]);
    const auto bytes =
        SaturatedBytes<o.flip>(du8, [&](auto t) { return NarrowToBytes<decltype(t), o.shift>(d32, order, sum); });
    hn::StoreU(bytes, du8, colour::Ptr<uint8_t>(dst, c) + x);
  });
}

// UnpackFields of the 16-bit pixels at p, as signed 16-bit lanes.
template <class In, int kGShift = 0, class D16>
HWY_INLINE void PackedFields(D16 d16, const uint16_t* p, hn::Vec<D16>& r, hn::Vec<D16>& g, hn::Vec<D16>& b) {
  const hn::RebindToUnsigned<D16> du16;
  hn::Vec<decltype(du16)> ur, ug, ub;
  UnpackFields<In, kGShift>(hn::LoadU(du16, p), ur, ug, ub);
  r = hn::BitCast(d16, ur);
  g = hn::BitCast(d16, ug);
  b = hn::BitCast(d16, ub);
}

#if HWY_TARGET <= HWY_AVX3
// Planes and 16-bit pixels to multiply-add pairs on AVX-512: a step's 64
// pixels as two halves of 16-bit channel values, each half interleaved R
// with G and B with the constant 2. Planes' halves are the lower and upper
// halves of each block, widened by interleaving with zero bytes (kQuads);
// 16-bit pixels' halves are 32 pixels each (kHalfQuads).
template <class In>
struct FieldPairLoader {
  using D32 = hn::ScalableTag<int32_t>;
  using D16 = hn::Repartition<int16_t, D32>;
  static constexpr SumLayout kLayout = In::kKind == colour::Kind::kPlanes ? SumLayout::kQuads : SumLayout::kHalfQuads;
  static constexpr int kGShift = 1;  // G doubled, for luma without a shift
  static constexpr int32_t kPixels = 64;

  HWY_INLINE void Pairs(const colour::SrcRow& src, int32_t x, hn::Vec<D16> (&rg)[4], hn::Vec<D16> (&bk)[4]) const {
    const D16 d16;
    const auto k = hn::Set(d16, kPairConstant);
    for (int h = 0; h < 2; ++h) {
      hn::Vec<D16> r, g, b;
      Channels(src, x, h, r, g, b);
      for (int q = 0; q < 2; ++q) {
        rg[2 * h + q] = InterleaveHalf(d16, q, r, g);
        bk[2 * h + q] = InterleaveHalf(d16, q, b, k);
      }
    }
  }

 private:
  HWY_INLINE static void Channels(const colour::SrcRow& src, int32_t x, int h, hn::Vec<D16>& r, hn::Vec<D16>& g,
                                  hn::Vec<D16>& b) {
    if constexpr (In::kKind == colour::Kind::kPlanes) {
      const hn::Repartition<uint8_t, D16> d8;
      const auto widen = [&](int c) {
        const auto bytes = hn::LoadU(d8, colour::Ptr<uint8_t>(src, c) + x), zero = hn::Zero(d8);
        return hn::BitCast(D16(), InterleaveHalf(d8, h, bytes, zero));
      };
      const auto g1 = widen(1);
      r = widen(0);
      g = hn::Add(g1, g1);
      b = widen(2);
    } else {
      PackedFields<In, kGShift>(D16(), colour::Ptr<uint16_t>(src, 0) + x + 32 * h, r, g, b);
    }
  }
};
#endif

// Pixels [x, x + L) of a row, L the 16-bit lane count; Out::kChannels of the
// outputs stored.
template <class In, class Out, class F>
HWY_INLINE void ForwardMaddStep(const colour::SrcRow& src, const colour::DstRow& dst, int32_t x) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  hn::Vec<decltype(d16)> r, g, b;
  if constexpr (In::kKind == colour::Kind::kPacked) {
    PackedFields<In>(d16, colour::Ptr<uint16_t>(src, 0) + x, r, g, b);
  } else {
    hn::Vec<decltype(d8)> bytes[4];
    if constexpr (In::kKind == colour::Kind::kInterleaved) {
      LoadChannels<In>(d8, colour::Ptr<uint8_t>(src, 0) + In::kPixelBytes * x, bytes);
    } else {
      for (int c = 0; c < 3; ++c) bytes[c] = hn::LoadU(d8, colour::Ptr<uint8_t>(src, c) + x);
    }
    r = hn::PromoteTo(d16, bytes[0]);
    g = hn::PromoteTo(d16, bytes[1]);
    b = hn::PromoteTo(d16, bytes[2]);
  }
  ForEachOutput<Out::kChannels>(
      [&](auto c) { hn::StoreU(ForwardBytes<F, c>(d16, r, g, b), d8, colour::Ptr<uint8_t>(dst, c) + x); });
}

// Which inverse kernels take this path: YCbCr and YCCK planes.
template <class F>
constexpr bool kInverseMadd = std::is_same_v<F, colour::InverseGroupsOf4> || std::is_same_v<F, colour::InverseCmyk>;

// The scale-2^14 inverse on 16-bit pairs: the chroma terms as
// (Cr, 1) . (22970, 721) >> 14 - 179, (Cb, Cr) . (-5638, -11700) + 2227566 >> 14
// and (Cb, 1) . (29032, 11207) >> 14 - 227 (the constants split into a
// multiple of 2^14, which passes the shift, and a 16-bit rest), in pixel
// order; each is then added to Y in 16 bits and saturated to a byte. With
// 8-bit chroma the terms never reach the 16-bit saturation of the plain form.
template <class D16>
HWY_INLINE void InverseTerms(D16 d16, hn::Vec<D16> cb, hn::Vec<D16> cr, hn::Vec<D16> (&t)[3]) {
  const hn::Repartition<int32_t, D16> d32;
  const auto one = hn::Set(d16, 1);
  const auto term = [&](hn::Vec<D16> a, hn::Vec<D16> b, int16_t wa, int16_t wb, int32_t k, int16_t after) {
    const auto w = WeightPair(d16, wa, wb);
    const auto kk = hn::Set(d32, k);
    const auto lo = hn::ShiftRight<14>(hn::Add(PairDot(d16, hn::InterleaveLower(d16, a, b), w), kk));
    const auto hi = hn::ShiftRight<14>(hn::Add(PairDot(d16, hn::InterleaveUpper(d16, a, b), w), kk));
    return hn::Add(hn::ReorderDemote2To(d16, lo, hi), hn::Set(d16, after));
  };
  t[0] = term(cr, one, 22970, 721, 0, -179);
  t[1] = term(cb, cr, -5638, -11700, 2227566, 0);
  t[2] = term(cb, one, 29032, 11207, 0, -227);
}

// For YCCK sources, C, M and Y as 255 less R, G and B, and K from its plane.
template <class F, class D8>
HWY_INLINE void CmykOfInverse(D8 d8, const colour::SrcRow& src, int32_t x, hn::Vec<D8> (&v)[4]) {
  if constexpr (std::is_same_v<F, colour::InverseCmyk>) {
    for (int c = 0; c < 3; ++c) v[c] = hn::Not(v[c]);  // 255 - v
    v[3] = hn::LoadU(d8, colour::Ptr<uint8_t>(src, 3) + x);
  }
}

// The output bytes of pixels [x, x + M), M the 16-bit lane count: R, G, B,
// or C, M, Y and K.
template <class F, class D8>
HWY_INLINE void InverseBytes(D8 d8, const colour::SrcRow& src, int32_t x, hn::Vec<D8> (&v)[4]) {
  const hn::Rebind<int16_t, D8> d16;
  const auto y = hn::PromoteTo(d16, hn::LoadU(d8, colour::Ptr<uint8_t>(src, 0) + x));
  const auto cb = hn::PromoteTo(d16, hn::LoadU(d8, colour::Ptr<uint8_t>(src, 1) + x));
  const auto cr = hn::PromoteTo(d16, hn::LoadU(d8, colour::Ptr<uint8_t>(src, 2) + x));
  hn::Vec<decltype(d16)> t[3];
  InverseTerms(d16, cb, cr, t);
  for (int c = 0; c < 3; ++c) v[c] = hn::DemoteTo(d8, hn::Add(y, t[c]));
  v[3] = hn::Zero(d8);
  CmykOfInverse<F>(d8, src, x, v);
}

// Pixels [x, x + 2M) into an interleaved layout: the bytes of two steps
// joined, so that the interleaving works on whole vectors.
template <class Out, class F>
HWY_INLINE void InverseInterleavedPairStep(const colour::SrcRow& src, const colour::DstRow& dst, int32_t x,
                                           uint8_t fill) {
  const hn::Rebind<uint8_t, hn::ScalableTag<int16_t>> d8;
  const hn::Twice<decltype(d8)> d8x2;
  const auto m = static_cast<int32_t>(hn::Lanes(d8));
  hn::Vec<decltype(d8)> lo[4], hi[4];
  InverseBytes<F>(d8, src, x, lo);
  InverseBytes<F>(d8, src, x + m, hi);
  hn::Vec<decltype(d8x2)> v[4];
  for (int c = 0; c < 4; ++c) v[c] = hn::Combine(d8x2, hi[c], lo[c]);
  StoreChannels<Out>(d8x2, v, fill, colour::Ptr<uint8_t>(dst, 0) + Out::kPixelBytes * x);
}

template <class In, class Out, class F>
HWY_INLINE void InverseMaddStep(const colour::SrcRow& src, const colour::DstRow& dst, int32_t x, uint8_t fill) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  hn::Vec<decltype(d8)> v[4];
  InverseBytes<F>(d8, src, x, v);
  if constexpr (Out::kKind != colour::Kind::kPacked) {
    StoreBytes<Out>(d8, v, fill, dst, x);
  } else {
    const hn::RebindToUnsigned<decltype(d16)> du16;
    const auto wide = [&](int c) { return hn::PromoteTo(du16, v[c]); };
    hn::StoreU(PackFields<Out>(wide(0), wide(1), wide(2)), du16, colour::Ptr<uint16_t>(dst, 0) + x);
  }
}

#if HWY_TARGET <= HWY_AVX3
// ---- The inverse on AVX-512: Y inside the multiply-adds -----------------------------
//
// R, G and B of 64 pixels a step, each the upper half of a 32-bit sum of
// 16-bit pairs built from the elements
//   Cr' = 8 Cr - 927, Cb' = 4 Cb - 240, Yr = 4 Y - 66, Yb = 4 Y - 480:
//   R = (Cr', Yr) . (11485, 16384)
//   B = (Cb', Yb) . (29032, 16384)
//   G = (Cb', Yb) . (-5638, -7767) + (Cr', Yr) . (-5850, 24151)
// Each sum is 2^16 Y plus 4 times the plain form's chroma products plus a
// constant, which the offsets place where the upper half is Y plus the plain
// form's term for every Cb and Cr (no term reaches the 16-bit saturation).
// Each element is one multiply-add of the byte pair (X, k) by (m, e). The
// upper halves are gathered by two-table permutes in the order the
// destination wants, and packed to bytes with saturation.

struct InverseElement {
  int8_t m;
  uint8_t k;
  int8_t e;
};
inline constexpr InverseElement kInverseCr{8, 9, -103}, kInverseCb{4, 2, -120}, kInverseYr{4, 6, -11},
    kInverseYb{4, 6, -80};

// Where the 64 pixels of a step go: row order; for 3-byte pixels, block p of
// channel c's vector holds the pixels whose c bytes lie in blocks p, p + 4
// and p + 8 of the destination, so that byte shuffles within blocks
// interleave them. `gather` picks the upper halves of the sums for the
// lower and upper half of each block (the pixels 0-7 and 8-15 of a run of
// 16, which the lower and upper sums hold), `shuffle` the bytes of each
// destination vector.
struct InverseOrder {
  std::array<std::array<uint16_t, 32>, 2> gather[3];
  std::array<uint8_t, 64> shuffle[3][3];
};

template <class Layout>
constexpr bool IsThreeBytePixels() {
  if constexpr (Layout::kKind == colour::Kind::kInterleaved) return Layout::kPixelBytes == 3;
  return false;
}

template <class Out>
constexpr InverseOrder MakeInverseOrder() {
  constexpr bool kThreeBytes = IsThreeBytePixels<Out>();
  // The byte of channel c of pixel q in the destination's 192 bytes, or -1.
  const auto byteOf = [](int c, int q) {
    if constexpr (IsThreeBytePixels<Out>()) return 3 * q + Out::kOffset[c];
    return -1;
  };
  InverseOrder order{};
  for (int c = 0; c < 3; ++c) {
    int at[64] = {};  // pixel -> its byte in channel c's vector
    for (int p = 0; p < 4; ++p) {
      int lo = 0, hi = 8;
      for (int q = 0; q < 64; ++q) {
        const int block = kThreeBytes ? byteOf(c, q) / 16 % 4 : q / 16;
        if (block == p) at[q] = 16 * p + (q % 16 < 8 ? lo++ : hi++);
      }
    }
    for (int q = 0; q < 64; ++q) {
      const int r = q % 8, lane = 4 * (q / 16) + r % 4;
      order.gather[c][q % 16 / 8][(at[q] / 16) * 8 + at[q] % 8] = static_cast<uint16_t>((r < 4 ? 0 : 32) + 2 * lane + 1);
    }
    for (int j = 0; j < 3 && kThreeBytes; ++j) {
      for (int n = 0; n < 64; ++n) {
        const int k = 64 * j + n;
        order.shuffle[j][c][n] = static_cast<uint8_t>(byteOf(c, k / 3) == k ? at[k / 3] % 16 : 0x80);
      }
    }
  }
  return order;
}

template <class Out>
class InverseWide {
  using D8 = hn::ScalableTag<uint8_t>;
  using D16 = hn::Repartition<int16_t, D8>;
  using D32 = hn::Repartition<int32_t, D8>;
  static constexpr bool kThreeBytes = IsThreeBytePixels<Out>();

 public:
  static constexpr int32_t kPixels = 64;

  InverseWide() {
    static constexpr InverseOrder kOrder = MakeInverseOrder<Out>();
    const hn::Repartition<uint16_t, D8> du16;
    for (int c = 0; c < 3; ++c) {
      for (int h = 0; h < 2; ++h) gather_[c][h] = hn::LoadU(du16, kOrder.gather[c][h].data()).raw;
      for (int j = 0; j < 3 && kThreeBytes; ++j) interleave_[j][c] = hn::LoadU(D8(), kOrder.shuffle[j][c].data());
    }
  }

  // Pixels [x, x + 64) into Out, for formula F.
  template <class F>
  HWY_INLINE void Step(const colour::SrcRow& src, const colour::DstRow& dst, int32_t x, uint8_t fill) const {
    const D8 d8;
    hn::Vec<D8> v[4];
    Bytes(src, x, v);
    CmykOfInverse<F>(d8, src, x, v);
    if constexpr (kThreeBytes) {
      uint8_t* out = colour::Ptr<uint8_t>(dst, 0) + 3 * x;
      for (int j = 0; j < 3; ++j) {
        const auto part = [&](int c) { return hn::TableLookupBytesOr0(v[c], interleave_[j][c]); };
        hn::StoreU(hn::Or(hn::Or(part(0), part(1)), part(2)), d8, out + 64 * j);
      }
    } else {
      StoreBytes<Out>(d8, v, fill, dst, x);
    }
  }

 private:
  // The elements m X + k e of the byte pairs (X, k).
  static hn::Vec<D16> Element(hn::Vec<D8> bytePairs, InverseElement el) {
    const auto me = hn::Set(D16(), static_cast<int16_t>(static_cast<uint8_t>(el.m) | static_cast<uint8_t>(el.e) << 8));
    return {_mm512_maddubs_epi16(bytePairs.raw, me.raw)};
  }

  // R, G and B of pixels [x, x + 64), saturated, in this class's pixel
  // order; v[3] zero.
  HWY_INLINE void Bytes(const colour::SrcRow& src, int32_t x, hn::Vec<D8> (&v)[4]) const {
    const D8 d8;
    const D16 d16;
    const auto load = [&](int c) { return hn::LoadU(d8, colour::Ptr<uint8_t>(src, c) + x); };
    const auto y = load(0), cb = load(1), cr = load(2);
    hn::Vec<D16> pr[4], pb[4];
    for (int h = 0; h < 2; ++h) {
      const auto half = [&](hn::Vec<D8> bytes, uint8_t k) { return InterleaveHalf(d8, h, bytes, hn::Set(d8, k)); };
      const auto yk = half(y, kInverseYr.k);
      const auto yr = Element(yk, kInverseYr), yb = Element(yk, kInverseYb);
      const auto crE = Element(half(cr, kInverseCr.k), kInverseCr), cbE = Element(half(cb, kInverseCb.k), kInverseCb);
      for (int q = 0; q < 2; ++q) {
        pr[2 * h + q] = InterleaveHalf(d16, q, crE, yr);
        pb[2 * h + q] = InterleaveHalf(d16, q, cbE, yb);
      }
    }
    const auto wr = WeightPair(d16, 11485, 16384), wb = WeightPair(d16, 29032, 16384),
               wgb = WeightPair(d16, -5638, -7767), wgr = WeightPair(d16, -5850, 24151);
    hn::Vec<D32> sums[3][4];
    for (int i = 0; i < 4; ++i) {
      sums[0][i] = PairDot(d16, pr[i], wr);
      sums[1][i] = hn::Add(PairDot(d16, pb[i], wgb), PairDot(d16, pr[i], wgr));
      sums[2][i] = PairDot(d16, pb[i], wb);
    }
    for (int c = 0; c < 3; ++c) {
      const auto upper = [&](int h) {
        return hn::Vec<D16>{_mm512_permutex2var_epi16(sums[c][2 * h].raw, gather_[c][h], sums[c][2 * h + 1].raw)};
      };
      v[c] = PackBlocks<uint8_t>(d16, upper(0), upper(1));
    }
    v[3] = hn::Zero(d8);
  }

  __m512i gather_[3][2];
  hn::Vec<D8> interleave_[3][3];
};
#endif  // HWY_TARGET <= HWY_AVX3

#endif  // HWY_TARGET != HWY_SCALAR

// ---- Group formulas (colour_groups.h) on vectors ------------------------------------

template <class D>
HWY_INLINE hn::Vec<D> Clamp(D d, hn::Vec<D> v, int32_t lo, int32_t hi) {
  return hn::Min(hn::Max(v, hn::Set(d, lo)), hn::Set(d, hi));
}

template <bool kCmyk, class D>
HWY_INLINE VPx<D> GroupTerms(colour::BlockForward<kCmyk>, D d, const VPx<D>& p) {
  const auto max = hn::Set(d, 255);
  const auto r = kCmyk ? hn::Sub(max, p.c[0]) : p.c[0], g = kCmyk ? hn::Sub(max, p.c[1]) : p.c[1],
             b = kCmyk ? hn::Sub(max, p.c[2]) : p.c[2];
  VPx<D> t;
  t.c[0] = Dot(d, r, 4899, g, 9617, b, 1868, 0);
  t.c[1] = Dot(d, r, colour::kCb2764.r, g, colour::kCb2764.g, b, 8192, 0);
  t.c[2] = Dot(d, r, 8192, g, -6860, b, -1332, 0);
  t.c[3] = p.c[3];
  return t;
}
template <bool kCmyk, class D>
HWY_INLINE hn::Vec<D> GroupLuma(colour::BlockForward<kCmyk>, D d, hn::Vec<D> y) {
  return hn::ShiftRight<14>(hn::Add(y, hn::Set(d, -2088960)));
}
template <bool kCmyk, class D>
HWY_INLINE hn::Vec<D> GroupK(colour::BlockForward<kCmyk>, D d, hn::Vec<D> k) {
  return hn::Sub(k, hn::Set(d, 128));
}
template <bool kCmyk, class D>
HWY_INLINE hn::Vec<D> GroupChroma(colour::BlockForward<kCmyk>, D d, hn::Vec<D> sum, int log2n) {
  return hn::ShiftRightSame(hn::Add(sum, hn::Set(d, 1 << (13 + log2n))), 14 + log2n);
}

template <class D>
HWY_INLINE VPx<D> GroupTerms(colour::SampleForward, D, const VPx<D>& p) {
  return p;
}
template <class D>
HWY_INLINE hn::Vec<D> GroupLuma(colour::SampleForward, D d, hn::Vec<D> y) {
  return hn::Sub(y, hn::Set(d, 128));
}
template <class D>
HWY_INLINE hn::Vec<D> GroupK(colour::SampleForward, D d, hn::Vec<D>) {
  return hn::Zero(d);
}
template <class D>
HWY_INLINE hn::Vec<D> GroupChroma(colour::SampleForward, D d, hn::Vec<D> sum, int log2n) {
  return hn::ShiftRightSame(hn::Sub(sum, hn::Set(d, 128 << log2n)), log2n);
}

// Level-shifted block values to pixels; inputs may be any 16-bit value, so
// the chroma terms are saturated to 16 bits as in the plain form.
template <bool kCmyk, class D>
HWY_INLINE VPx<D> GroupInverse(colour::BlockInverse<kCmyk>, D d, const VPx<D>& p) {
  const auto zero = hn::Zero(d);
  const auto term = [&](hn::Vec<D> sum) {
    return Clamp(d, hn::ShiftRight<14>(hn::Add(sum, hn::Set(d, 2105344))), -32768, 32767);
  };
  VPx<D> o;
  o.c[0] = Clamp(d, hn::Add(p.c[0], term(Dot(d, p.c[2], 22970, zero, 0, zero, 0, 0))), 0, 255);
  o.c[1] = Clamp(d, hn::Add(p.c[0], term(Dot(d, p.c[1], -5638, p.c[2], -11700, zero, 0, 0))), 0, 255);
  o.c[2] = Clamp(d, hn::Add(p.c[0], term(Dot(d, p.c[1], 29032, zero, 0, zero, 0, 0))), 0, 255);
  o.c[3] = zero;
  if constexpr (kCmyk) {
    const auto max = hn::Set(d, 255);
    for (int c = 0; c < 3; ++c) o.c[c] = hn::Sub(max, o.c[c]);
    o.c[3] = Clamp(d, hn::Add(p.c[3], hn::Set(d, 128)), 0, 255);
  }
  return o;
}
template <class D>
HWY_INLINE VPx<D> GroupInverse(colour::SampleInverse, D d, const VPx<D>& p) {
  VPx<D> o;
  for (int c = 0; c < 4; ++c) o.c[c] = Clamp(d, hn::Add(p.c[c], hn::Set(d, 128)), 0, 255);
  return o;
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // VEK_JPEG_COLOUR_SIMD_INL_H_
