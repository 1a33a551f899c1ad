// One MCU of interleaved pixels to and from level-shifted 8x8 blocks: the
// colour-converting members and the sampling-only members share the two
// group loops of colour_groups.h and differ in formula and pixel layout.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/mcu_colour.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/colour_simd-inl.h"
#include "jpeg/mcu_colour.h"

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace {

using namespace colour;  // NOLINT

// Up to 8 pixels of a block row a vector (4 on 128-bit targets).
using DMcu = hn::CappedTag<int32_t, 8>;

// Pixels to blocks: per chroma row and run of n chroma samples, the Y (and
// K) of the group's pixels and the group sums of the chroma terms; a pair of
// pixels' terms is summed by adding the even lanes to the odd ones.
template <int kH, int kV, class In, class F>
void ForwardMcuSimd(const SrcImage& src, Vek16s* const* blocks) {
#if HWY_TARGET == HWY_SCALAR  // one-lane vectors: the plain form
  ForwardMcuScalar<kH, kV, In, F>(src, blocks);
#else
  {
    constexpr bool kWithK = In::kChannels == 4;
    using Store = BlockStore<int16_t, kH, kV>;
    const DMcu d;
    const hn::Rebind<int16_t, DMcu> d16;
    const auto n = static_cast<int32_t>(hn::Lanes(d));
    constexpr int log2n = Log2(kH * kV);
    for (int32_t cy = 0; cy < 8; ++cy) {
      for (int32_t cx = 0; cx < 8; cx += n) {
        auto cb = hn::Zero(d), cr = hn::Zero(d);
        for (int dy = 0; dy < kV; ++dy) {
          const int32_t row = cy * kV + dy;
          const SrcRow line = src.At(row);
          hn::Vec<DMcu> tcb[2], tcr[2];
          for (int half = 0; half < kH; ++half) {
            const int32_t x = cx * kH + half * n;
            const VPx<DMcu> t = GroupTerms(F{}, d, LoadPixels<In>(d, line, x));
            hn::StoreU(hn::DemoteTo(d16, GroupLuma(F{}, d, t.c[0])), d16, blocks[0] + Store::Index(0, row, x));
            if constexpr (kWithK) {
              hn::StoreU(hn::DemoteTo(d16, GroupK(F{}, d, t.c[3])), d16, blocks[3] + Store::Index(3, row, x));
            }
            tcb[half] = t.c[1];
            tcr[half] = t.c[2];
          }
          if constexpr (kH == 2) {
            cb = hn::Add(cb, hn::Add(hn::ConcatEven(d, tcb[1], tcb[0]), hn::ConcatOdd(d, tcb[1], tcb[0])));
            cr = hn::Add(cr, hn::Add(hn::ConcatEven(d, tcr[1], tcr[0]), hn::ConcatOdd(d, tcr[1], tcr[0])));
          } else {
            cb = hn::Add(cb, tcb[0]);
            cr = hn::Add(cr, tcr[0]);
          }
        }
        hn::StoreU(hn::DemoteTo(d16, GroupChroma(F{}, d, cb, log2n)), d16, blocks[1] + cy * 8 + cx);
        hn::StoreU(hn::DemoteTo(d16, GroupChroma(F{}, d, cr, log2n)), d16, blocks[2] + cy * 8 + cx);
      }
    }
  }
#endif
}

// Blocks to pixels: n pixels of a row a step; a 4:2:2/4:1:1 chroma value is
// spread over its two columns by a lane table.
template <int kH, int kV, class Out, class F>
void InverseMcuSimd(const Vek16s* const* blocks, const DstImage& dst) {
#if HWY_TARGET == HWY_SCALAR
  InverseMcuScalar<kH, kV, Out, F>(blocks, dst);
#else
  {
    constexpr bool kWithK = Out::kChannels == 4;
    using Store = BlockStore<const int16_t, kH, kV>;
    const DMcu d;
    const hn::Half<DMcu> dh;
    const hn::Rebind<int16_t, DMcu> d16;
    const hn::Rebind<int16_t, decltype(dh)> dh16;
    const auto n = static_cast<int32_t>(hn::Lanes(d));
    const auto spread = hn::SetTableIndices(d, PairIndices<DMcu>(false).data());
    const auto chroma = [&](const Vek16s* at) {
      if constexpr (kH == 1) return hn::PromoteTo(d, hn::LoadU(d16, at));
      const auto half = hn::PromoteTo(dh, hn::LoadU(dh16, at));
      return hn::TableLookupLanes(hn::Combine(d, half, half), spread);
    };
    for (int32_t row = 0; row < 8 * kV; ++row) {
      const DstRow line = dst.At(row);
      for (int32_t x = 0; x < 8 * kH; x += n) {
        VPx<DMcu> p;
        p.c[0] = hn::PromoteTo(d, hn::LoadU(d16, blocks[0] + Store::Index(0, row, x)));
        p.c[1] = chroma(blocks[1] + Store::Index(1, row / kV, x / kH));
        p.c[2] = chroma(blocks[2] + Store::Index(2, row / kV, x / kH));
        p.c[3] = kWithK ? hn::PromoteTo(d, hn::LoadU(d16, blocks[3] + Store::Index(3, row, x))) : hn::Zero(d);
        StorePixels<Out>(d, line, x, GroupInverse(F{}, d, p), 0);
      }
    }
  }
#endif
}

}  // namespace

McuForwardFn McuForwardKernel(McuForward kernel) {
  switch (kernel) {
#define VEK_CASE(NAME, H, V, LAYOUT, FORMULA) \
  case McuForward::k##NAME:                  \
    return &ForwardMcuSimd<H, V, colour::LAYOUT, colour::FORMULA>;
    VEK_MCU_FORWARD_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

McuInverseFn McuInverseKernel(McuInverse kernel) {
  switch (kernel) {
#define VEK_CASE(NAME, H, V, LAYOUT, FORMULA) \
  case McuInverse::k##NAME:                  \
    return &InverseMcuSimd<H, V, colour::LAYOUT, colour::FORMULA>;
    VEK_MCU_INVERSE_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "core/checks.h"
#include "core/dispatch.h"
#include "vekj_impl.h"

namespace vek {
namespace {

using namespace colour;  // NOLINT

McuForwardFn McuForwardKernelScalar(McuForward kernel) {
  switch (kernel) {
#define VEK_CASE(NAME, H, V, LAYOUT, FORMULA) \
  case McuForward::k##NAME:                  \
    return &ForwardMcuScalar<H, V, LAYOUT, FORMULA>;
    VEK_MCU_FORWARD_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

McuInverseFn McuInverseKernelScalar(McuInverse kernel) {
  switch (kernel) {
#define VEK_CASE(NAME, H, V, LAYOUT, FORMULA) \
  case McuInverse::k##NAME:                  \
    return &InverseMcuScalar<H, V, LAYOUT, FORMULA>;
    VEK_MCU_INVERSE_KERNELS(VEK_CASE)
#undef VEK_CASE
  }
  return nullptr;
}

}  // namespace

HWY_EXPORT(McuForwardKernel);
HWY_EXPORT(McuInverseKernel);

namespace {

// Pixels to blocks. Checks: source and block array, step, each block.
template <McuForward kKernel, int kBlocks, class T>
VekStatus ForwardMcu(const T* pSrc, int srcStep, Vek16s* const pDst[kBlocks]) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(srcStep).Planes(pDst, kBlocks)) return st;
  VEK_PICK(McuForwardKernelScalar, McuForwardKernel)(kKernel)(OneBuffer(pSrc, srcStep), pDst);
  return vekStsOk;
}

// Blocks to pixels, colour members. Checks: block array and destination,
// step, each block.
template <McuInverse kKernel, int kBlocks, class T>
VekStatus InverseColourMcu(const Vek16s* const pSrc[kBlocks], T* pDst, int dstStep) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(dstStep).Planes(pSrc, kBlocks)) return st;
  VEK_PICK(McuInverseKernelScalar, McuInverseKernel)(kKernel)(pSrc, OneBuffer(pDst, dstStep));
  return vekStsOk;
}

// Blocks to pixels, sampling members. Checks: every pointer, then the step.
template <McuInverse kKernel>
VekStatus InverseSampleMcu(const Vek16s* const pSrc[3], Vek8u* pDst, int dstStep) {
  if (VekStatus st = ArgCheck().Planes(pSrc, 3).Ptr(pDst).Step(dstStep)) return st;
  VEK_PICK(McuInverseKernelScalar, McuInverseKernel)(kKernel)(pSrc, OneBuffer(pDst, dstStep));
  return vekStsOk;
}

}  // namespace

// ---- Colour, forward -----------------------------------------------------------

#define VEK_FORWARD(EXPORT, KERNEL, SRC_T, BLOCKS)                                      \
  VekStatus impl::EXPORT(const SRC_T* pSrc, int srcStep, Vek16s* const pDstMCU[BLOCKS]) { \
    return ForwardMcu<McuForward::KERNEL, BLOCKS>(pSrc, srcStep, pDstMCU);                \
  }
VEK_FORWARD(vekiRGBToYCbCr444LS_MCU_8u16s_C3P3R, kRgb444, Vek8u, 3)
VEK_FORWARD(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R, kRgb422, Vek8u, 3)
VEK_FORWARD(vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R, kRgb411, Vek8u, 3)
VEK_FORWARD(vekiBGRToYCbCr444LS_MCU_8u16s_C3P3R, kBgr444, Vek8u, 3)
VEK_FORWARD(vekiBGRToYCbCr422LS_MCU_8u16s_C3P3R, kBgr422, Vek8u, 3)
VEK_FORWARD(vekiBGRToYCbCr411LS_MCU_8u16s_C3P3R, kBgr411, Vek8u, 3)
VEK_FORWARD(vekiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, kBgr555444, Vek16u, 3)
VEK_FORWARD(vekiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, kBgr555422, Vek16u, 3)
VEK_FORWARD(vekiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, kBgr555411, Vek16u, 3)
VEK_FORWARD(vekiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, kBgr565444, Vek16u, 3)
VEK_FORWARD(vekiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, kBgr565422, Vek16u, 3)
VEK_FORWARD(vekiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, kBgr565411, Vek16u, 3)
VEK_FORWARD(vekiCMYKToYCCK444LS_MCU_8u16s_C4P4R, kCmyk444, Vek8u, 4)
VEK_FORWARD(vekiCMYKToYCCK422LS_MCU_8u16s_C4P4R, kCmyk422, Vek8u, 4)
VEK_FORWARD(vekiCMYKToYCCK411LS_MCU_8u16s_C4P4R, kCmyk411, Vek8u, 4)
// Sampling only.
VEK_FORWARD(vekiSampleDown444LS_MCU_8u16s_C3P3R, kSampleDown444, Vek8u, 3)
VEK_FORWARD(vekiSampleDown422LS_MCU_8u16s_C3P3R, kSampleDown422, Vek8u, 3)
VEK_FORWARD(vekiSampleDown411LS_MCU_8u16s_C3P3R, kSampleDown411, Vek8u, 3)
VEK_FORWARD(vekiSplit422LS_MCU_8u16s_C2P3R, kSplit422, Vek8u, 3)
#undef VEK_FORWARD

// ---- Colour, inverse -----------------------------------------------------------

#define VEK_INVERSE(EXPORT, KERNEL, DST_T, BLOCKS)                                      \
  VekStatus impl::EXPORT(const Vek16s* const pSrcMCU[BLOCKS], DST_T* pDst, int dstStep) { \
    return InverseColourMcu<McuInverse::KERNEL, BLOCKS>(pSrcMCU, pDst, dstStep);          \
  }
VEK_INVERSE(vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, kRgb444, Vek8u, 3)
VEK_INVERSE(vekiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, kRgb422, Vek8u, 3)
VEK_INVERSE(vekiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, kRgb411, Vek8u, 3)
VEK_INVERSE(vekiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, kBgr444, Vek8u, 3)
VEK_INVERSE(vekiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, kBgr422, Vek8u, 3)
VEK_INVERSE(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, kBgr411, Vek8u, 3)
VEK_INVERSE(vekiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, kBgr555444, Vek16u, 3)
VEK_INVERSE(vekiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, kBgr555422, Vek16u, 3)
VEK_INVERSE(vekiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, kBgr555411, Vek16u, 3)
VEK_INVERSE(vekiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, kBgr565444, Vek16u, 3)
VEK_INVERSE(vekiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, kBgr565422, Vek16u, 3)
VEK_INVERSE(vekiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, kBgr565411, Vek16u, 3)
VEK_INVERSE(vekiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, kCmyk444, Vek8u, 4)
VEK_INVERSE(vekiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, kCmyk422, Vek8u, 4)
VEK_INVERSE(vekiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, kCmyk411, Vek8u, 4)
#undef VEK_INVERSE

// ---- Sampling only, inverse -------------------------------------------------------

VekStatus impl::vekiSampleUp444LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<McuInverse::kSampleUp444>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiSampleUp422LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<McuInverse::kSampleUp422>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiSampleUp411LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<McuInverse::kSampleUp411>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiJoin422LS_MCU_16s8u_P3C2R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<McuInverse::kJoin422>(pSrcMCU, pDst, dstStep);
}

}  // namespace vek
#endif  // HWY_ONCE
