// The 12-bit forward 8x8 DCT fused with level shift and quantisation, in
// float. Every sum runs in the same order in every form (products added one
// by one, never fused into multiply-adds), so all forms give the same bits.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dct_forward_float.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/row_parallel.h"
#include "jpeg/dct.h"
#include "jpeg/dct_fixed.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
// Highway's one-lane rounding differs from the processor's: the baseline
// runs the plain form.
void DctQuantFwd16u(const uint16_t* src, int srcStep, int16_t* dst, const float* fwdTable) {
  DctQuantFwd16uScalar(src, srcStep, dst, fwdTable);
}
#else
// Lanes are columns: the column pass weighs whole rows, the row pass weighs
// the basis by frequency with each intermediate value broadcast.
void DctQuantFwd16u(const uint16_t* src, int srcStep, int16_t* dst, const float* fwdTable) {
  const hn::CappedTag<float, 8> df;
  const hn::Rebind<int32_t, decltype(df)> di;
  const hn::Rebind<uint16_t, decltype(df)> du16;
  const hn::Rebind<int16_t, decltype(df)> d16;
  const size_t n = hn::Lanes(df);
  const auto& basis = dct::kFloatBasis;
  alignas(32) float columns[8][8];  // [u][x]
  for (size_t x = 0; x < 8; x += n) {
    hn::Vec<decltype(df)> s[8];
    for (int y = 0; y < 8; ++y) {
      const auto samples = hn::PromoteTo(di, hn::LoadU(du16, RowAt(src, srcStep, y) + x));
      s[y] = hn::ConvertTo(df, hn::Sub(samples, hn::Set(di, 2048)));
    }
    for (int u = 0; u < 8; ++u) {
      auto sum = hn::Mul(hn::Set(df, basis[u][0]), s[0]);
      for (int y = 1; y < 8; ++y) sum = hn::Add(sum, hn::Mul(hn::Set(df, basis[u][y]), s[y]));
      hn::Store(sum, df, &columns[u][x]);
    }
  }
  const auto& byPosition = dct::kFloatBasisByPosition;  // [x][v]
  const auto lowest = hn::Set(df, -32768.0f), highest = hn::Set(df, 32767.0f);
  for (int u = 0; u < 8; ++u) {
    for (size_t v = 0; v < 8; v += n) {
      auto sum = hn::Mul(hn::Set(df, columns[u][0]), hn::LoadU(df, &byPosition[0][v]));
      for (int x = 1; x < 8; ++x)
        sum = hn::Add(sum, hn::Mul(hn::Set(df, columns[u][x]), hn::LoadU(df, &byPosition[x][v])));
      const auto scaled = hn::Mul(sum, hn::LoadU(df, fwdTable + 8 * u + v));
      const auto clamped = hn::Min(hn::Max(scaled, lowest), highest);
      hn::StoreU(hn::DemoteTo(d16, hn::NearestInt(clamped)), d16, dst + 8 * u + v);
    }
  }
}
#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>
#include <cmath>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/unaligned.h"
#include "vekj_impl.h"

namespace vek {

void DctQuantFwd16uScalar(const uint16_t* src, int srcStep, int16_t* dst, const float* fwdTable) {
  const auto& basis = dct::kFloatBasis;
  float shifted[8][8];  // [y][x]
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) shifted[y][x] = static_cast<float>(Load(RowAt(src, srcStep, y) + x) - 2048);
  float columns[8][8];  // [u][x]
  for (int u = 0; u < 8; ++u) {
    for (int x = 0; x < 8; ++x) {
      float sum = basis[u][0] * shifted[0][x];
      for (int y = 1; y < 8; ++y) {
        const float product = basis[u][y] * shifted[y][x];
        sum = sum + product;
      }
      columns[u][x] = sum;
    }
  }
  for (int u = 0; u < 8; ++u) {
    for (int v = 0; v < 8; ++v) {
      float sum = columns[u][0] * basis[v][0];
      for (int x = 1; x < 8; ++x) {
        const float product = columns[u][x] * basis[v][x];
        sum = sum + product;
      }
      const float scaled = std::clamp(sum * fwdTable[8 * u + v], -32768.0f, 32767.0f);
      dst[8 * u + v] = static_cast<int16_t>(std::nearbyint(scaled));  // ties to even
    }
  }
}

HWY_EXPORT(DctQuantFwd16u);

VekStatus impl::vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const Vek16u* pSrc, int srcStep, Vek16s* pDst,
                                                     const Vek32f* pQuantFwdTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(srcStep).Ptr(pQuantFwdTable)) return st;
  VEK_PICK(DctQuantFwd16uScalar, DctQuantFwd16u)(pSrc, srcStep, pDst, pQuantFwdTable);
  return vekStsOk;
}

}  // namespace vek
#endif  // HWY_ONCE
