// One MCU of interleaved pixels to and from level-shifted 8x8 blocks: the
// colour-converting members and the sampling-only members share the two
// group loops of colour_groups.h and differ in formula and pixel layout.
#include <cstdint>

#include "core/checks.h"
#include "jpeg/colour_groups.h"
#include "vekj_impl.h"

namespace vek {
namespace {

using namespace colour;  // NOLINT

// Pixels to blocks. Checks: source and block array, step, each block.
template <int kH, int kV, class In, class F, int kBlocks>
VekStatus ForwardMcu(const typename In::Elem* pSrc, int srcStep, Vek16s* const pDst[kBlocks]) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(srcStep).Planes(pDst, kBlocks)) return st;
  ForwardGroups<kH, kV, In, F, int16_t>(OneBuffer(pSrc, srcStep), 8 * kH, 8 * kV, kBlocks == 4,
                                        BlockStore<int16_t, kH, kV>{pDst});
  return vekStsOk;
}

template <int kH, int kV, class Out, class F, int kBlocks>
void InverseMcu(const Vek16s* const pSrc[kBlocks], typename Out::Elem* pDst, int dstStep) {
  InverseGroups<kH, kV, F, Out>(BlockStore<const int16_t, kH, kV>{pSrc}, kBlocks == 4, 8 * kH, 0, 8 * kV,
                                OneBuffer(pDst, dstStep), 0);
}

// Blocks to pixels, colour members. Checks: block array and destination,
// step, each block.
template <int kH, int kV, class Out, class F, int kBlocks>
VekStatus InverseColourMcu(const Vek16s* const pSrc[kBlocks], typename Out::Elem* pDst, int dstStep) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDst).Step(dstStep).Planes(pSrc, kBlocks)) return st;
  InverseMcu<kH, kV, Out, F, kBlocks>(pSrc, pDst, dstStep);
  return vekStsOk;
}

// Blocks to pixels, sampling members. Checks: every pointer, then the step.
template <int kH, int kV, class Out>
VekStatus InverseSampleMcu(const Vek16s* const pSrc[3], Vek8u* pDst, int dstStep) {
  if (VekStatus st = ArgCheck().Planes(pSrc, 3).Ptr(pDst).Step(dstStep)) return st;
  InverseMcu<kH, kV, Out, SampleInverse, 3>(pSrc, pDst, dstStep);
  return vekStsOk;
}

}  // namespace

// ---- Colour, forward -----------------------------------------------------------

#define VEK_FORWARD(EXPORT, H, V, IN, SRC_T, F, BLOCKS)                                       \
  VekStatus impl::EXPORT(const SRC_T* pSrc, int srcStep, Vek16s* const pDstMCU[BLOCKS]) {      \
    return ForwardMcu<H, V, IN, F, BLOCKS>(pSrc, srcStep, pDstMCU);                            \
  }
VEK_FORWARD(vekiRGBToYCbCr444LS_MCU_8u16s_C3P3R, 1, 1, RgbC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R, 2, 1, RgbC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R, 2, 2, RgbC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGRToYCbCr444LS_MCU_8u16s_C3P3R, 1, 1, BgrC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGRToYCbCr422LS_MCU_8u16s_C3P3R, 2, 1, BgrC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGRToYCbCr411LS_MCU_8u16s_C3P3R, 2, 2, BgrC3, Vek8u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, 1, 1, Bgr555, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, 2, 1, Bgr555, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, 2, 2, Bgr555, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, 1, 1, Bgr565, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, 2, 1, Bgr565, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, 2, 2, Bgr565, Vek16u, BlockForward<false>, 3)
VEK_FORWARD(vekiCMYKToYCCK444LS_MCU_8u16s_C4P4R, 1, 1, CmykC4, Vek8u, BlockForward<true>, 4)
VEK_FORWARD(vekiCMYKToYCCK422LS_MCU_8u16s_C4P4R, 2, 1, CmykC4, Vek8u, BlockForward<true>, 4)
VEK_FORWARD(vekiCMYKToYCCK411LS_MCU_8u16s_C4P4R, 2, 2, CmykC4, Vek8u, BlockForward<true>, 4)
// Sampling only.
VEK_FORWARD(vekiSampleDown444LS_MCU_8u16s_C3P3R, 1, 1, RgbC3, Vek8u, SampleForward, 3)
VEK_FORWARD(vekiSampleDown422LS_MCU_8u16s_C3P3R, 2, 1, RgbC3, Vek8u, SampleForward, 3)
VEK_FORWARD(vekiSampleDown411LS_MCU_8u16s_C3P3R, 2, 2, RgbC3, Vek8u, SampleForward, 3)
VEK_FORWARD(vekiSplit422LS_MCU_8u16s_C2P3R, 2, 1, Pairs422, Vek8u, SampleForward, 3)
#undef VEK_FORWARD

// ---- Colour, inverse -----------------------------------------------------------

#define VEK_INVERSE(EXPORT, H, V, OUT, DST_T, F, BLOCKS)                                      \
  VekStatus impl::EXPORT(const Vek16s* const pSrcMCU[BLOCKS], DST_T* pDst, int dstStep) {      \
    return InverseColourMcu<H, V, OUT, F, BLOCKS>(pSrcMCU, pDst, dstStep);                     \
  }
VEK_INVERSE(vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, 1, 1, RgbC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, 2, 1, RgbC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, 2, 2, RgbC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, 1, 1, BgrC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, 2, 1, BgrC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, 2, 2, BgrC3, Vek8u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, 1, 1, Bgr555, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, 2, 1, Bgr555, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, 2, 2, Bgr555, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, 1, 1, Bgr565, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, 2, 1, Bgr565, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, 2, 2, Bgr565, Vek16u, BlockInverse<false>, 3)
VEK_INVERSE(vekiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, 1, 1, CmykC4, Vek8u, BlockInverse<true>, 4)
VEK_INVERSE(vekiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, 2, 1, CmykC4, Vek8u, BlockInverse<true>, 4)
VEK_INVERSE(vekiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, 2, 2, CmykC4, Vek8u, BlockInverse<true>, 4)
#undef VEK_INVERSE

// ---- Sampling only, inverse -------------------------------------------------------

VekStatus impl::vekiSampleUp444LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<1, 1, RgbC3>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiSampleUp422LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<2, 1, RgbC3>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiSampleUp411LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<2, 2, RgbC3>(pSrcMCU, pDst, dstStep);
}
VekStatus impl::vekiJoin422LS_MCU_16s8u_P3C2R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep) {
  return InverseSampleMcu<2, 1, Pairs422>(pSrcMCU, pDst, dstStep);
}

}  // namespace vek
