// Huffman symbol statistics: the symbols that the block coders would code,
// counted instead, so that optimal tables can be built before coding.
#include <cstdint>

#include "core/checks.h"
#include "jpeg/huffman_coding.h"
#include "vekj_impl.h"

namespace vek {
namespace {

// Baseline statistics refuse AC categories above 14; the progressive AC
// ones count whatever their encoders can code.
constexpr int kBaselineMaxAcCategory = 14;

template <class Walk>
VekStatus CountAc(const Vek16s* src, Vek32u* counts, int ss, int se, int al, EncodeHuffmanState* state, int flush,
                  const Walk& walk) {
  ArgCheck check;
  if (!flush) check.Ptr(src);
  if (VekStatus st = check.Ptr(counts).Ptr(state)) return st;
  CountSink sink(nullptr, counts, CodeSink<StuffingWriter>::kMaxAcCategory);
  if (flush) {
    CodeEndOfBandRun(sink, *state);
    ClearState(*state);
    return vekStsOk;
  }
  if (VekStatus st = ArgCheck().Arg(IsAcBand(ss, se, al))) return st;
  return walk(sink, *state, src, ss, se, al);
}

}  // namespace

VekStatus impl::vekiGetHuffmanStatistics8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pDcStatistics[256],
                                                        Vek32u pAcStatistics[256], Vek16s* pLastDC) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDcStatistics).Ptr(pAcStatistics).Ptr(pLastDC)) return st;
  CountSink sink(pDcStatistics, pAcStatistics, kBaselineMaxAcCategory);
  return CodeBlock(sink, pSrc, *pLastDC);
}

VekStatus impl::vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pDcStatistics[256],
                                                                Vek16s* pLastDC, int Al) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pDcStatistics).Ptr(pLastDC).Arg(IsPointTransform(Al))) return st;
  CountSink sink(pDcStatistics, nullptr, 0);
  return CodeDcFirst(sink, pSrc, *pLastDC, Al);
}

VekStatus impl::vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pAcStatistics[256], int Ss,
                                                                int Se, int Al, EncodeHuffmanState* pEncHuffState,
                                                                int bFlushState) {
  return CountAc(pSrc, pAcStatistics, Ss, Se, Al, pEncHuffState, bFlushState,
                 [](auto& sink, auto&... args) { return CodeAcFirst(sink, args...); });
}

VekStatus impl::vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pAcStatistics[256], int Ss,
                                                                 int Se, int Al, EncodeHuffmanState* pEncHuffState,
                                                                 int bFlushState) {
  return CountAc(pSrc, pAcStatistics, Ss, Se, Al, pEncHuffState, bFlushState,
                 [](auto& sink, auto&... args) { return CodeAcRefine(sink, args...); });
}

VekStatus impl::vekiGetHuffmanStatisticsOne_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pStatistics[256]) {
  if (VekStatus st = ArgCheck().Ptr(pSrc).Ptr(pStatistics)) return st;
  ++pStatistics[Category(*pSrc)];
  return vekStsOk;
}

}  // namespace vek
