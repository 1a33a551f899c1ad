// JPEG Huffman bit states and baseline coding: one 8x8 block or one value
// per call, byte-stuffed through a bit state or raw at a bit position.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffman_baseline.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "jpeg/huffman_coding.h"

namespace vek {

// A block through the fast writer, its terms read from the block as the coder
// reaches them.
VekStatus CodeBlockFastScalar(const int16_t* block, int16_t& lastDc, const EncodeHuffmanSpec* dc,
                              const EncodeHuffmanSpec* ac, uint8_t* dst, int32_t* pos, EncodeHuffmanState* state);

}  // namespace vek

HWY_BEFORE_NAMESPACE();
namespace vek::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The category mask and the extra bits of the values in v: all bits below
// the top bit of |v|, and v (v - 1 when negative) cut to them.
template <class D>
HWY_INLINE void TermsOf(D, hn::Vec<D> v, uint16_t* categoryMask, uint16_t* extra) {
  const hn::RebindToUnsigned<D> du;
  const auto magnitude = hn::BitCast(du, hn::Abs(v));
  auto below = hn::Or(magnitude, hn::ShiftRight<1>(magnitude));
  below = hn::Or(below, hn::ShiftRight<2>(below));
  below = hn::Or(below, hn::ShiftRight<4>(below));
  below = hn::Or(below, hn::ShiftRight<8>(below));
  hn::StoreU(below, du, categoryMask);
  hn::StoreU(hn::And(hn::BitCast(du, hn::Add(v, hn::ShiftRight<15>(v))), below), du, extra);
}

#if HWY_TARGET == HWY_AVX3
using BlockTerms = ZigzagTerms;

// kZigzagToNatural as 16-bit lane indices.
alignas(64) inline constexpr auto kZigzagLanes = [] {
  std::array<uint16_t, 64> lanes{};
  for (std::size_t k = 0; k < 64; ++k) lanes[k] = kZigzagToNatural[k];
  return lanes;
}();

// The block's terms in zig-zag order, 32 lanes at a time: both halves of the
// block are the table of a two-source lane permutation (Highway has no
// 16-bit one here), which the coder then reads in order.
HWY_ATTR void TermsOfBlock(const int16_t* block, BlockTerms& terms) {
  const hn::ScalableTag<int16_t> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  const auto low = hn::LoadU(d, block).raw, high = hn::LoadU(d, block + 32).raw;
  terms.nonzero = 0;
  for (std::size_t h = 0; h < 2; ++h) {
    const auto lanes = hn::BitCast(d, hn::Load(du, kZigzagLanes.data() + 32 * h)).raw;
    const hn::Vec<decltype(d)> v{_mm512_permutex2var_epi16(low, lanes, high)};
    TermsOf(d, v, terms.categoryMask + 32 * h, terms.extra + 32 * h);
    terms.nonzero |= uint64_t{_mm512_test_epi16_mask(v.raw, v.raw)} << (32 * h);
  }
}
#elif HWY_TARGET != HWY_SCALAR
using BlockTerms = NaturalTerms;

// The block's terms in its own order; the coder looks each position up.
HWY_ATTR void TermsOfBlock(const int16_t* block, BlockTerms& terms) {
  const hn::ScalableTag<int16_t> d;
  for (std::size_t i = 0; i < 64; i += hn::Lanes(d)) {
    TermsOf(d, hn::LoadU(d, block + i), terms.categoryMask + i, terms.extra + i);
  }
  terms.nonzero = ZigzagNonzeroMask(block);
}
#endif

#if HWY_TARGET == HWY_SCALAR
VekStatus CodeBlockFast(const int16_t* block, int16_t& lastDc, const EncodeHuffmanSpec* dc,
                        const EncodeHuffmanSpec* ac, uint8_t* dst, int32_t* pos, EncodeHuffmanState* state) {
  return CodeBlockFastScalar(block, lastDc, dc, ac, dst, pos, state);
}
#else
HWY_ATTR VekStatus CodeBlockFast(const int16_t* block, int16_t& lastDc, const EncodeHuffmanSpec* dc,
                                 const EncodeHuffmanSpec* ac, uint8_t* dst, int32_t* pos, EncodeHuffmanState* state) {
  BlockTerms terms;
  TermsOfBlock(block, terms);
  return CodeBlockFastWith(terms, block, lastDc, dc, ac, dst, pos, state);
}
#endif

}  // namespace vek::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <cstdint>
#include <new>

#include "core/alloc.h"
#include "core/checks.h"
#include "core/dispatch.h"
#include "vekj_impl.h"

namespace vek {

VekStatus CodeBlockFastScalar(const int16_t* block, int16_t& lastDc, const EncodeHuffmanSpec* dc,
                              const EncodeHuffmanSpec* ac, uint8_t* dst, int32_t* pos, EncodeHuffmanState* state) {
  return CodeBlockFastWith(BlockAcTerms(block), block, lastDc, dc, ac, dst, pos, state);
}

HWY_EXPORT(CodeBlockFast);

// A block through the put-by-put writer, near the end of the buffer: out of
// line, so that the fast path's call needs no frame for it.
[[gnu::noinline]] VekStatus CodeBlockPutByPut(const int16_t* block, int16_t& lastDc, const EncodeHuffmanSpec* dc,
                                              const EncodeHuffmanSpec* ac, uint8_t* dst, int32_t length, int32_t* pos,
                                              EncodeHuffmanState* state) {
  StuffingWriter writer(dst, length, pos, state);
  CodeSink sink(writer, dc, ac);
  return CodeBlock(sink, block, lastDc);
}

namespace {

template <class State>
VekStatus GetStateSize(int* size) {
  if (size == nullptr) return vekStsNullPtr;
  *size = sizeof(State);
  return vekStsOk;
}

template <class State>
VekStatus InitState(State* state) {
  if (state == nullptr) return vekStsNullPtr;
  ClearState(*state);
  return vekStsOk;
}

template <class State>
VekStatus InitAllocState(State** out) {
  if (out == nullptr) return vekStsNullPtr;
  void* memory = Allocate(sizeof(State));
  if (memory == nullptr) return vekStsNullPtr;
  *out = new (memory) State;
  ClearState(**out);
  return vekStsOk;
}

template <class State>
VekStatus FreeState(State* state) {
  if (state == nullptr) return vekStsNullPtr;
  Release(state);
  return vekStsOk;
}

}  // namespace

VekStatus impl::vekiEncodeHuffmanStateGetBufSize_JPEG_8u(int* size) { return GetStateSize<EncodeHuffmanState>(size); }
VekStatus impl::vekiDecodeHuffmanStateGetBufSize_JPEG_8u(int* size) { return GetStateSize<DecodeHuffmanState>(size); }
VekStatus impl::vekiEncodeHuffmanStateInit_JPEG_8u(EncodeHuffmanState* pEncHuffState) { return InitState(pEncHuffState); }
VekStatus impl::vekiDecodeHuffmanStateInit_JPEG_8u(DecodeHuffmanState* pDecHuffState) { return InitState(pDecHuffState); }
VekStatus impl::vekiEncodeHuffmanStateInitAlloc_JPEG_8u(EncodeHuffmanState** ppEncHuffState) {
  return InitAllocState(ppEncHuffState);
}
VekStatus impl::vekiDecodeHuffmanStateInitAlloc_JPEG_8u(DecodeHuffmanState** ppDecHuffState) {
  return InitAllocState(ppDecHuffState);
}
VekStatus impl::vekiEncodeHuffmanStateFree_JPEG_8u(EncodeHuffmanState* pEncHuffState) { return FreeState(pEncHuffState); }
VekStatus impl::vekiDecodeHuffmanStateFree_JPEG_8u(DecodeHuffmanState* pDecHuffState) { return FreeState(pDecHuffState); }

VekStatus impl::vekiEncodeHuffman8x8_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes, int* pDstCurrPos,
                                                   Vek16s* pLastDC, const EncodeHuffmanSpec* pDcTable,
                                                   const EncodeHuffmanSpec* pAcTable, EncodeHuffmanState* pEncHuffState,
                                                   int bFlushState) {
  if (VekStatus st = CheckEncoderOutput(pDst, dstLenBytes, pDstCurrPos, pEncHuffState)) return st;
  if (bFlushState) return FlushBits(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pLastDC).Ptr(pDcTable).Ptr(pAcTable).Position(pDstCurrPos)) return st;
  if (FastWriterFits(dstLenBytes, *pDstCurrPos)) {
    return VEK_PICK(CodeBlockFastScalar, CodeBlockFast)(pSrc, *pLastDC, pDcTable, pAcTable, pDst, pDstCurrPos,
                                                         pEncHuffState);
  }
  return CodeBlockPutByPut(pSrc, *pLastDC, pDcTable, pAcTable, pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
}

VekStatus impl::vekiDecodeHuffman8x8_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos, Vek16s* pDst,
                                                   Vek16s* pLastDC, int* pMarker, const DecodeHuffmanSpec* pDcTable,
                                                   const DecodeHuffmanSpec* pAcTable,
                                                   DecodeHuffmanState* pDecHuffState) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Arg(srcLenBytes >= 0).Ptr(pSrcCurrPos).Ptr(pDst).Ptr(pLastDC).Ptr(pMarker)
                         .Ptr(pDcTable).Ptr(pAcTable).Ptr(pDecHuffState).Position(pSrcCurrPos)) {
    return st;
  }
  return DecodeBlock(StuffedBitReader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState), *pDcTable, *pAcTable,
                     pDst, *pLastDC, pDecHuffState->endPosition);
}

VekStatus impl::vekiEncodeHuffmanOne_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes, int* pDstCurrPos,
                                                   const EncodeHuffmanSpec* pEncHuffTable,
                                                   EncodeHuffmanState* pEncHuffState, int bFlushState) {
  if (VekStatus st = CheckEncoderOutput(pDst, dstLenBytes, pDstCurrPos, pEncHuffState)) return st;
  if (bFlushState) return FlushBits(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pEncHuffTable).Position(pDstCurrPos)) return st;
  StuffingWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  return CodeValue(writer, *pEncHuffTable, *pSrc);
}

VekStatus impl::vekiDecodeHuffmanOne_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos, Vek16s* pDst,
                                                   int* pMarker, const DecodeHuffmanSpec* pDecHuffTable,
                                                   DecodeHuffmanState* pDecHuffState) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Size(srcLenBytes >= 1).Ptr(pSrcCurrPos).Ptr(pDst).Ptr(pMarker)
                         .Ptr(pDecHuffTable).Ptr(pDecHuffState).Position(pSrcCurrPos)) {
    return st;
  }
  return WithStuffedReader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState,
                           [&](auto& reader) { return DecodeValue(reader, *pDecHuffTable, *pDst); });
}

VekStatus impl::vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                          int* pDstBitPos, Vek16s* pLastDC,
                                                          const EncodeHuffmanSpec* pDcTable,
                                                          const EncodeHuffmanSpec* pAcTable) {
  if (VekStatus st = ArgCheck().Ptr(pDst).Size(dstLenBytes >= 1).Ptr(pDstBitPos).Ptr(pSrc).Ptr(pLastDC)
                         .Ptr(pDcTable).Ptr(pAcTable).Position(pDstBitPos)) {
    return st;
  }
  RawBitWriter writer(pDst, dstLenBytes, pDstBitPos);
  CodeSink sink(writer, pDcTable, pAcTable);
  return CodeBlock(sink, pSrc, *pLastDC);
}

VekStatus impl::vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcBitPos,
                                                          Vek16s* pDst, Vek16s* pLastDC,
                                                          const DecodeHuffmanSpec* pDcTable,
                                                          const DecodeHuffmanSpec* pAcTable) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Arg(srcLenBytes >= 0).Ptr(pSrcBitPos).Ptr(pDst).Ptr(pLastDC)
                         .Ptr(pDcTable).Ptr(pAcTable).Position(pSrcBitPos)) {
    return st;
  }
  int32_t end = 0;
  return DecodeBlock(RawBitReader(pSrc, srcLenBytes, pSrcBitPos), *pDcTable, *pAcTable, pDst, *pLastDC, end);
}

}  // namespace vek
#endif  // HWY_ONCE
