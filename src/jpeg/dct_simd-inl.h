// Per-target helpers of the 8x8 DCT kernels: a row of 8 coefficients is one
// 128-bit vector; wider targets hold 2 or 4 consecutive rows per vector.
// Included once per target (Highway's toggle guard).
#if defined(VEK_JPEG_DCT_SIMD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VEK_JPEG_DCT_SIMD_INL_H_
#undef VEK_JPEG_DCT_SIMD_INL_H_
#else
#define VEK_JPEG_DCT_SIMD_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE::dct_simd {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using D8 = hn::FixedTag<int16_t, 8>;
using V8 = hn::Vec<D8>;

template <class D>
constexpr size_t RowsPerVector(D d) {
  return hn::MaxLanes(d) / 8;
}

// rows[0 .. RowsPerVector) as one vector, the first row in the lowest lanes.
template <class D>
HWY_INLINE hn::Vec<D> JoinRows(D d, const V8* rows) {
  if constexpr (RowsPerVector(D()) == 1) {
    return rows[0];
  } else {
    const hn::Half<D> dh;
    return hn::Combine(d, JoinRows(dh, rows + RowsPerVector(dh)), JoinRows(dh, rows));
  }
}

// The inverse of JoinRows.
template <class D>
HWY_INLINE void SplitRows(D, hn::Vec<D> v, V8* rows) {
  if constexpr (RowsPerVector(D()) == 1) {
    rows[0] = v;
  } else {
    const hn::Half<D> dh;
    SplitRows(dh, hn::LowerHalf(dh, v), rows);
    SplitRows(dh, hn::UpperHalf(dh, v), rows + RowsPerVector(dh));
  }
}

// The lanes of each row picked by a 16-byte pattern (aligned to 16).
template <class D>
HWY_INLINE hn::Vec<D> ShuffleEachRow(D d, hn::Vec<D> v, const uint8_t* pattern) {
  return hn::BitCast(d, hn::TableLookupBytes(v, hn::LoadDup128(hn::Repartition<uint8_t, D>(), pattern)));
}

// Lanes x of each row to 7 - x.
template <class D>
HWY_INLINE hn::Vec<D> ReverseEachRow(D d, hn::Vec<D> v) {
  alignas(16) static constexpr uint8_t kReversed[16] = {14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1};
  return ShuffleEachRow(d, v, kReversed);
}

// init + a0 w0 + a1 w1, products of 16-bit lanes summed in pairs into 32 bits.
template <class D32, class V16>
HWY_INLINE hn::Vec<D32> PairDot(D32 d32, V16 a0, V16 w0, V16 a1, V16 w1, hn::Vec<D32> init) {
  auto odd = hn::Zero(d32);
  auto sum = hn::ReorderWidenMulAccumulate(d32, a0, w0, init, odd);
  sum = hn::ReorderWidenMulAccumulate(d32, a1, w1, sum, odd);
  return hn::RearrangeToOddPlusEven(sum, odd);
}
#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace vek::HWY_NAMESPACE::dct_simd
HWY_AFTER_NAMESPACE();

#endif  // VEK_JPEG_DCT_SIMD_INL_H_
