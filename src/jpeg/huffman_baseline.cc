// JPEG Huffman bit states and baseline coding: one 8x8 block or one value
// per call, byte-stuffed through a bit state or raw at a bit position.
#include <cstdint>
#include <new>

#include "core/alloc.h"
#include "core/checks.h"
#include "jpeg/huffman_coding.h"
#include "vekj_impl.h"

namespace vek {
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
  return WithStuffingWriter(pDst, dstLenBytes, pDstCurrPos, pEncHuffState, [&](auto& writer) -> VekStatus {
    CodeSink sink(writer, pDcTable, pAcTable);
    return CodeBlock(sink, pSrc, *pLastDC);
  });
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
