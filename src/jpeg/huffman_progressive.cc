// JPEG progressive Huffman coding (ITU-T T.81 Annex G): DC first and
// refinement, AC first and refinement over a spectral band, with the
// end-of-band run and correction bits kept in the bit states.
#include <cstdint>

#include "core/checks.h"
#include "jpeg/huffman_coding.h"
#include "vekj_impl.h"

namespace vek {
namespace {

// AC first: clears the band, then decodes it; a pending run only counts down.
template <class Reader>
VekStatus DecodeAcFirst(Reader& reader, const DecodeHuffmanSpec& table, int16_t* block, int ss, int se, int al,
                        int32_t& eobRun) {
  for (int k = ss; k <= se; ++k) block[kZigzagToNatural[k]] = 0;
  if (eobRun > 0) {
    --eobRun;
    return vekStsOk;
  }
  for (int k = ss; k <= se;) {
    int symbol = 0;
    if (VekStatus st = DecodeSymbol(reader, table, symbol)) return st;
    const int run = symbol >> 4, s = symbol & 15;
    if (s == 0 && run < 15) {
      uint32_t extra = 0;
      if (VekStatus st = ReceiveBits(reader, run, extra)) return st;
      eobRun = static_cast<int32_t>((uint32_t{1} << run) + extra) - 1;
      return vekStsOk;
    }
    if (s == 0) {
      if (k + 16 > se + 1) return vekStsErr;
      k += 16;
      continue;
    }
    if (k + run > se) return vekStsErr;
    int32_t v = 0;
    if (VekStatus st = ReceiveValue(reader, s, v)) return st;
    k += run;
    block[kZigzagToNatural[k]] = ShiftLeft16(v, al);
    ++k;
  }
  return vekStsOk;
}

// Reads the correction bit of an already significant coefficient.
template <class Reader>
VekStatus RefineCoefficient(Reader& reader, int16_t& coef, int al) {
  uint32_t bit = 0;
  if (VekStatus st = ReceiveBits(reader, 1, bit)) return st;
  const int32_t step = int32_t{1} << al;
  if (bit != 0 && (coef & step) == 0) coef = Wrap16(coef >= 0 ? coef + step : coef - step);
  return vekStsOk;
}

// AC refinement (T.81 G.2): refines the significant coefficients it passes
// and places newly significant ones at +-1 << Al.
template <class Reader>
VekStatus DecodeAcRefine(Reader& reader, const DecodeHuffmanSpec& table, int16_t* block, int ss, int se, int al,
                         int32_t& eobRun) {
  int k = ss;
  for (; eobRun == 0 && k <= se; ++k) {
    int symbol = 0;
    if (VekStatus st = DecodeSymbol(reader, table, symbol)) return st;
    int run = symbol >> 4;
    const int s = symbol & 15;
    int32_t newValue = 0;
    if (s > 1) return vekStsJPEGBadData;
    if (s == 1) {
      uint32_t sign = 0;
      if (VekStatus st = ReceiveBits(reader, 1, sign)) return st;
      newValue = sign ? int32_t{1} << al : -(int32_t{1} << al);
    } else if (run < 15) {
      uint32_t extra = 0;
      if (VekStatus st = ReceiveBits(reader, run, extra)) return st;
      eobRun = static_cast<int32_t>((uint32_t{1} << run) + extra);
      break;
    }
    // Pass `run` zero-history coefficients, refining the significant ones.
    for (; k <= se; ++k) {
      int16_t& coef = block[kZigzagToNatural[k]];
      if (coef != 0) {
        if (VekStatus st = RefineCoefficient(reader, coef, al)) return st;
      } else if (run-- == 0) {
        break;
      }
    }
    if (newValue != 0) {
      if (k > se) return vekStsErr;
      block[kZigzagToNatural[k]] = static_cast<int16_t>(newValue);
    }
  }
  if (eobRun > 0) {
    for (; k <= se; ++k) {
      int16_t& coef = block[kZigzagToNatural[k]];
      if (coef != 0) {
        if (VekStatus st = RefineCoefficient(reader, coef, al)) return st;
      }
    }
    --eobRun;
  }
  return vekStsOk;
}

// The AC encoders: a flush codes the pending run with its correction bits
// before the padding.
template <class Walk>
VekStatus EncodeAc(const Vek16s* src, Vek8u* dst, int length, int* pos, int ss, int se, int al,
                   const EncodeHuffmanSpec* table, EncodeHuffmanState* state, int flush, const Walk& walk) {
  if (VekStatus st = CheckEncoderOutput(dst, length, pos, state).Ptr(table)) return st;
  if (flush) {
    if (*pos < 0) return vekStsBadArg;
    const VekStatus st = WithStuffingWriter(dst, length, pos, state, [&](auto& writer) -> VekStatus {
      CodeSink sink(writer, nullptr, table);
      return CodeEndOfBandRun(sink, *state);
    });
    if (st != vekStsOk) {
      ClearState(*state);
      return st;
    }
    return FlushBits(dst, length, pos, state);
  }
  if (VekStatus st = ArgCheck().Ptr(src).Arg(IsAcBand(ss, se, al)).Position(pos)) return st;
  return WithStuffingWriter(dst, length, pos, state, [&](auto& writer) -> VekStatus {
    CodeSink sink(writer, nullptr, table);
    return walk(sink, *state, src, ss, se, al);
  });
}

template <class Decode>
VekStatus DecodeAc(const Vek8u* src, int length, int* pos, Vek16s* block, int* marker, int ss, int se, int al,
                   const DecodeHuffmanSpec* table, DecodeHuffmanState* state, const Decode& decode) {
  if (VekStatus st = ArgCheck().Ptr(src).Size(length >= 1).Ptr(pos).Ptr(block).Ptr(marker)
                         .Arg(IsAcBand(ss, se, al)).Ptr(table).Ptr(state).Position(pos)) {
    return st;
  }
  return WithStuffedReader(src, length, pos, marker, state, [&](auto& reader) -> VekStatus {
    return decode(reader, *table, block, ss, se, al, state->eobRun);
  });
}

}  // namespace

VekStatus impl::vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                           int* pDstCurrPos, Vek16s* pLastDC, int Al,
                                                           const EncodeHuffmanSpec* pDcTable,
                                                           EncodeHuffmanState* pEncHuffState, int bFlushState) {
  if (VekStatus st = CheckEncoderOutput(pDst, dstLenBytes, pDstCurrPos, pEncHuffState)) return st;
  if (bFlushState) return FlushBits(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pLastDC).Arg(IsPointTransform(Al)).Ptr(pDcTable)
                         .Position(pDstCurrPos)) {
    return st;
  }
  StuffingWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  CodeSink sink(writer, pDcTable, nullptr);
  return CodeDcFirst(sink, pSrc, *pLastDC, Al);
}

VekStatus impl::vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                            int* pDstCurrPos, int Al,
                                                            EncodeHuffmanState* pEncHuffState, int bFlushState) {
  if (VekStatus st = CheckEncoderOutput(pDst, dstLenBytes, pDstCurrPos, pEncHuffState)) return st;
  if (bFlushState) return FlushBits(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  if (VekStatus st = ArgCheck().Ptr(pSrc).Arg(IsPointTransform(Al)).Position(pDstCurrPos)) return st;
  StuffingWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
  return writer.Put(static_cast<uint32_t>(static_cast<uint16_t>(pSrc[0]) >> Al) & 1u, 1);
}

VekStatus impl::vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                           int* pDstCurrPos, int Ss, int Se, int Al,
                                                           const EncodeHuffmanSpec* pAcTable,
                                                           EncodeHuffmanState* pEncHuffState, int bFlushState) {
  return EncodeAc(pSrc, pDst, dstLenBytes, pDstCurrPos, Ss, Se, Al, pAcTable, pEncHuffState, bFlushState,
                  [](auto& sink, auto&... args) { return CodeAcFirst(sink, args...); });
}

VekStatus impl::vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                            int* pDstCurrPos, int Ss, int Se, int Al,
                                                            const EncodeHuffmanSpec* pAcTable,
                                                            EncodeHuffmanState* pEncHuffState, int bFlushState) {
  return EncodeAc(pSrc, pDst, dstLenBytes, pDstCurrPos, Ss, Se, Al, pAcTable, pEncHuffState, bFlushState,
                  [](auto& sink, auto&... args) { return CodeAcRefine(sink, args...); });
}

VekStatus impl::vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                           Vek16s* pDst, Vek16s* pLastDC, int* pMarker, int Al,
                                                           const DecodeHuffmanSpec* pDcTable,
                                                           DecodeHuffmanState* pDecHuffState) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Size(srcLenBytes >= 1).Ptr(pSrcCurrPos).Ptr(pDst).Ptr(pLastDC)
                         .Ptr(pMarker).Arg(IsPointTransform(Al)).Ptr(pDcTable).Ptr(pDecHuffState)
                         .Position(pSrcCurrPos)) {
    return st;
  }
  return WithStuffedReader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState, [&](auto& reader) -> VekStatus {
    int symbol = 0;
    if (VekStatus st = DecodeSymbol(reader, *pDcTable, symbol)) return st;
    int32_t diff = 0;
    if (const int s = symbol & 15; s != 0) {
      if (VekStatus st = ReceiveValue(reader, s, diff)) return st;
    }
    *pLastDC = Wrap16(*pLastDC + diff);
    pDst[0] = ShiftLeft16(*pLastDC, Al);
    return vekStsOk;
  });
}

VekStatus impl::vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                            Vek16s* pDst, int* pMarker, int Al,
                                                            DecodeHuffmanState* pDecHuffState) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Size(srcLenBytes >= 1).Ptr(pSrcCurrPos).Ptr(pDst).Ptr(pMarker)
                         .Arg(IsPointTransform(Al)).Ptr(pDecHuffState).Position(pSrcCurrPos)) {
    return st;
  }
  return WithStuffedReader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState, [&](auto& reader) -> VekStatus {
    uint32_t bit = 0;
    if (VekStatus st = ReceiveBits(reader, 1, bit)) return st;
    if (bit != 0) pDst[0] = Wrap16(pDst[0] | int32_t{1} << Al);
    return vekStsOk;
  });
}

VekStatus impl::vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                           Vek16s* pDst, int* pMarker, int Ss, int Se, int Al,
                                                           const DecodeHuffmanSpec* pAcTable,
                                                           DecodeHuffmanState* pDecHuffState) {
  return DecodeAc(pSrc, srcLenBytes, pSrcCurrPos, pDst, pMarker, Ss, Se, Al, pAcTable, pDecHuffState,
                  [](auto& reader, auto&... args) { return DecodeAcFirst(reader, args...); });
}

VekStatus impl::vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                            Vek16s* pDst, int* pMarker, int Ss, int Se, int Al,
                                                            const DecodeHuffmanSpec* pAcTable,
                                                            DecodeHuffmanState* pDecHuffState) {
  return DecodeAc(pSrc, srcLenBytes, pSrcCurrPos, pDst, pMarker, Ss, Se, Al, pAcTable, pDecHuffState,
                  [](auto& reader, auto&... args) { return DecodeAcRefine(reader, args...); });
}

}  // namespace vek
