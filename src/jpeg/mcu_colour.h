// The MCU kernels: X(name, kH, kV, pixel layout, formula), one chroma sample
// per kH x kV pixels, and their plain forms on the group loops.
#pragma once

#include <cstdint>

#include "jpeg/colour_groups.h"

namespace vek::colour {

#define VEK_MCU_FORWARD_KERNELS(X)                 \
  X(Rgb444, 1, 1, RgbC3, BlockForward<false>)      \
  X(Rgb422, 2, 1, RgbC3, BlockForward<false>)      \
  X(Rgb411, 2, 2, RgbC3, BlockForward<false>)      \
  X(Bgr444, 1, 1, BgrC3, BlockForward<false>)      \
  X(Bgr422, 2, 1, BgrC3, BlockForward<false>)      \
  X(Bgr411, 2, 2, BgrC3, BlockForward<false>)      \
  X(Bgr555444, 1, 1, Bgr555, BlockForward<false>)  \
  X(Bgr555422, 2, 1, Bgr555, BlockForward<false>)  \
  X(Bgr555411, 2, 2, Bgr555, BlockForward<false>)  \
  X(Bgr565444, 1, 1, Bgr565, BlockForward<false>)  \
  X(Bgr565422, 2, 1, Bgr565, BlockForward<false>)  \
  X(Bgr565411, 2, 2, Bgr565, BlockForward<false>)  \
  X(Cmyk444, 1, 1, CmykC4, BlockForward<true>)     \
  X(Cmyk422, 2, 1, CmykC4, BlockForward<true>)     \
  X(Cmyk411, 2, 2, CmykC4, BlockForward<true>)     \
  X(SampleDown444, 1, 1, RgbC3, SampleForward)     \
  X(SampleDown422, 2, 1, RgbC3, SampleForward)     \
  X(SampleDown411, 2, 2, RgbC3, SampleForward)     \
  X(Split422, 2, 1, Pairs422, SampleForward)

#define VEK_MCU_INVERSE_KERNELS(X)                 \
  X(Rgb444, 1, 1, RgbC3, BlockInverse<false>)      \
  X(Rgb422, 2, 1, RgbC3, BlockInverse<false>)      \
  X(Rgb411, 2, 2, RgbC3, BlockInverse<false>)      \
  X(Bgr444, 1, 1, BgrC3, BlockInverse<false>)      \
  X(Bgr422, 2, 1, BgrC3, BlockInverse<false>)      \
  X(Bgr411, 2, 2, BgrC3, BlockInverse<false>)      \
  X(Bgr555444, 1, 1, Bgr555, BlockInverse<false>)  \
  X(Bgr555422, 2, 1, Bgr555, BlockInverse<false>)  \
  X(Bgr555411, 2, 2, Bgr555, BlockInverse<false>)  \
  X(Bgr565444, 1, 1, Bgr565, BlockInverse<false>)  \
  X(Bgr565422, 2, 1, Bgr565, BlockInverse<false>)  \
  X(Bgr565411, 2, 2, Bgr565, BlockInverse<false>)  \
  X(Cmyk444, 1, 1, CmykC4, BlockInverse<true>)     \
  X(Cmyk422, 2, 1, CmykC4, BlockInverse<true>)     \
  X(Cmyk411, 2, 2, CmykC4, BlockInverse<true>)     \
  X(SampleUp444, 1, 1, RgbC3, SampleInverse)       \
  X(SampleUp422, 2, 1, RgbC3, SampleInverse)       \
  X(SampleUp411, 2, 2, RgbC3, SampleInverse)       \
  X(Join422, 2, 1, Pairs422, SampleInverse)

enum class McuForward {
#define VEK_ENUM(NAME, H, V, LAYOUT, FORMULA) k##NAME,
  VEK_MCU_FORWARD_KERNELS(VEK_ENUM)
#undef VEK_ENUM
};
enum class McuInverse {
#define VEK_ENUM(NAME, H, V, LAYOUT, FORMULA) k##NAME,
  VEK_MCU_INVERSE_KERNELS(VEK_ENUM)
#undef VEK_ENUM
};

using McuForwardFn = void (*)(const SrcImage& src, int16_t* const* blocks);
using McuInverseFn = void (*)(const int16_t* const* blocks, const DstImage& dst);

// The MCU's pixels (the layout has a fourth channel: K in block 3).
template <int kH, int kV, class In, class F>
void ForwardMcuScalar(const SrcImage& src, int16_t* const* blocks) {
  ForwardGroups<kH, kV, In, F, int16_t>(src, 8 * kH, 8 * kV, In::kChannels == 4, BlockStore<int16_t, kH, kV>{blocks});
}

template <int kH, int kV, class Out, class F>
void InverseMcuScalar(const int16_t* const* blocks, const DstImage& dst) {
  InverseGroups<kH, kV, F, Out>(BlockStore<const int16_t, kH, kV>{blocks}, Out::kChannels == 4, 8 * kH, 0, 8 * kV,
                                dst, 0);
}

}  // namespace vek::colour
