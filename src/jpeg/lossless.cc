// Lossless JPEG (ITU-T T.81 Annex H): sample prediction and its inverse on
// rows of signed 16-bit values (wrapping modulo 2^16), and Huffman coding of
// difference rows with up to four components interleaved sample by sample.
#include <algorithm>
#include <cstdint>

#include "core/checks.h"
#include "jpeg/huffman_coding.h"
#include "vekj_impl.h"

namespace vek {
namespace {

// The prediction of the first sample of the first row: 2^(P - Pt - 1), or 0
// when that exponent is negative.
int32_t FirstPrediction(int p, int pt) {
  const int exponent = p - pt - 1;
  return exponent < 0 ? 0 : int32_t{1} << exponent;
}

// Px of predictors 1..7 (T.81 Table H.1); the halvings are exact in 32 bits.
template <int kPredictor>
int32_t Predict(int32_t ra, int32_t rb, int32_t rc) {
  if constexpr (kPredictor == 1) return ra;
  if constexpr (kPredictor == 2) return rb;
  if constexpr (kPredictor == 3) return rc;
  if constexpr (kPredictor == 4) return ra + rb - rc;
  if constexpr (kPredictor == 5) return ra + ((rb - rc) >> 1);
  if constexpr (kPredictor == 6) return rb + ((ra - rc) >> 1);
  if constexpr (kPredictor == 7) return (ra + rb) >> 1;
}

template <int kPredictor>
void DiffRow(const int16_t* src, const int16_t* prev, int16_t* dst, int32_t width) {
  dst[0] = Wrap16(src[0] - prev[0]);
  for (int32_t i = 1; i < width; ++i) dst[i] = Wrap16(src[i] - Predict<kPredictor>(src[i - 1], prev[i], prev[i - 1]));
}

template <int kPredictor>
void ReconstructRow(const int16_t* diff, const int16_t* prev, int16_t* dst, int32_t width) {
  dst[0] = Wrap16(diff[0] + prev[0]);
  for (int32_t i = 1; i < width; ++i) dst[i] = Wrap16(diff[i] + Predict<kPredictor>(dst[i - 1], prev[i], prev[i - 1]));
}

using RowFn = void (*)(const int16_t*, const int16_t*, int16_t*, int32_t);


constexpr RowFn kDiffRows[] = {DiffRow<1>, DiffRow<2>, DiffRow<3>, DiffRow<4>, DiffRow<5>, DiffRow<6>, DiffRow<7>};
constexpr RowFn kReconstructRows[] = {ReconstructRow<1>, ReconstructRow<2>, ReconstructRow<3>, ReconstructRow<4>,
                                      ReconstructRow<5>, ReconstructRow<6>, ReconstructRow<7>};

ArgCheck CheckFirstRow(const void* src, const void* dst, int width, int p, int pt) {
  ArgCheck check;
  check.Ptr(src).Ptr(dst).Size(width >= 1).Arg(p >= 2 && p <= 16 && pt >= 0);
  return check;
}

ArgCheck CheckRow(const void* src, const void* prev, const void* dst, int width, int predictor) {
  ArgCheck check;
  check.Ptr(src).Ptr(prev).Ptr(dst).Size(width >= 1).Arg(predictor >= 1 && predictor <= 7);
  return check;
}

// Each of the first min(count, 4) rows and tables, once the arrays passed.
template <class Row, class Table>
ArgCheck& CheckComponents(ArgCheck& check, Row const* rows, Table const* tables, int count) {
  if (check != vekStsOk) return check;
  for (int c = 0; c < std::min(count, 4); ++c) check.Ptr(rows[c]).Ptr(tables[c]);
  return check;
}

// Samples per chunk of a coded row: 4 components of 16 samples need at most
// 64 codes of 31 bits, twice that with stuffing, within kFastWriterRoom.
constexpr int32_t kRowChunk = 16;

}  // namespace

VekStatus impl::vekiDiffPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, int width, int P, int Pt) {
  if (VekStatus st = CheckFirstRow(pSrc, pDst, width, P, Pt)) return st;
  pDst[0] = Wrap16(pSrc[0] - FirstPrediction(P, Pt));
  for (int32_t i = 1; i < width; ++i) pDst[i] = Wrap16(pSrc[i] - pSrc[i - 1]);
  return vekStsOk;
}

VekStatus impl::vekiReconstructPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, int width, int P, int Pt) {
  if (VekStatus st = CheckFirstRow(pSrc, pDst, width, P, Pt)) return st;
  pDst[0] = Wrap16(pSrc[0] + FirstPrediction(P, Pt));
  for (int32_t i = 1; i < width; ++i) pDst[i] = Wrap16(pSrc[i] + pDst[i - 1]);
  return vekStsOk;
}

VekStatus impl::vekiDiffPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, int width,
                                            int predictor) {
  if (VekStatus st = CheckRow(pSrc, pPrevRow, pDst, width, predictor)) return st;
  kDiffRows[predictor - 1](pSrc, pPrevRow, pDst, width);
  return vekStsOk;
}

VekStatus impl::vekiReconstructPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst,
                                                   int width, int predictor) {
  if (VekStatus st = CheckRow(pSrc, pPrevRow, pDst, width, predictor)) return st;
  kReconstructRows[predictor - 1](pSrc, pPrevRow, pDst, width);
  return vekStsOk;
}

VekStatus impl::vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(const Vek16s* const pSrc[4], int width, int nComps, Vek8u* pDst,
                                                     int nDstLenBytes, int* pDstCurrPos,
                                                     const EncodeHuffmanSpec* const pEncHuffTable[4],
                                                     EncodeHuffmanState* pEncHuffState, int bFlushState) {
  if (VekStatus st = CheckEncoderOutput(pDst, nDstLenBytes, pDstCurrPos, pEncHuffState)) return st;
  if (bFlushState) return FlushBits(pDst, nDstLenBytes, pDstCurrPos, pEncHuffState);
  ArgCheck check;
  check.Ptr(pSrc).Size(width >= 1 && nComps >= 1).Ptr(pEncHuffTable);
  if (VekStatus st = CheckComponents(check, pSrc, pEncHuffTable, nComps).Position(pDstCurrPos)) return st;
  const int components = std::min(nComps, 4);
  for (int32_t first = 0; first < width; first += kRowChunk) {
    const int32_t last = std::min(width, first + kRowChunk);
    const VekStatus st = WithStuffingWriter(pDst, nDstLenBytes, pDstCurrPos, pEncHuffState, [&](auto& writer) -> VekStatus {
      for (int32_t i = first; i < last; ++i) {
        for (int c = 0; c < components; ++c) {
          if (VekStatus s = CodeValue(writer, *pEncHuffTable[c], pSrc[c][i])) return s;
        }
      }
      return vekStsOk;
    });
    if (st != vekStsOk) return st;
  }
  return vekStsOk;
}

VekStatus impl::vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(const Vek8u* pSrc, int nSrcLenBytes, int* pSrcCurrPos,
                                                     Vek16s* const pDst[4], int width, int nComps, int* pMarker,
                                                     const DecodeHuffmanSpec* const pDecHuffTable[4],
                                                     DecodeHuffmanState* pDecHuffState) {
  ArgCheck check;
  check.Ptr(pSrc).Size(nSrcLenBytes >= 1).Ptr(pSrcCurrPos).Ptr(pDst).Size(width >= 1 && nComps >= 1).Ptr(pMarker)
      .Ptr(pDecHuffTable).Ptr(pDecHuffState);
  if (VekStatus st = CheckComponents(check, pDst, pDecHuffTable, nComps).Position(pSrcCurrPos)) return st;
  const int components = std::min(nComps, 4);
  return WithStuffedReader(pSrc, nSrcLenBytes, pSrcCurrPos, pMarker, pDecHuffState, [&](auto& reader) -> VekStatus {
    for (int32_t i = 0; i < width; ++i) {
      for (int c = 0; c < components; ++c) {
        if (VekStatus st = DecodeValue(reader, *pDecHuffTable[c], pDst[c][i])) return st;
      }
    }
    return vekStsOk;
  });
}

}  // namespace vek
