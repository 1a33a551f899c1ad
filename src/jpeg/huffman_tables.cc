// JPEG Huffman table specifications: encode and decode tables from BITS and
// HUFFVAL lists (ITU-T T.81 Annex C), and optimal lists from symbol counts
// (Annex K.2).
#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include "core/alloc.h"
#include "core/checks.h"
#include "jpeg/huffman_records.h"
#include "vekj_impl.h"

namespace vek {
namespace {

struct CodeList {
  int count = 0;
  std::array<uint8_t, 257> sizes{};   // code lengths in code order, ended by 0
  std::array<uint32_t, 256> codes{};
};

// Code sizes from BITS; more than 256 codes is refused.
bool ListCodeSizes(const Vek8u* bits, CodeList& list) {
  for (int length = 1; length <= 16; ++length) {
    for (int i = 0; i < bits[length - 1]; ++i) {
      if (list.count == 256) return false;
      list.sizes[list.count++] = static_cast<uint8_t>(length);
    }
  }
  return true;
}

// Canonical codes of the listed sizes. With checkSpace, refuses lengths whose
// codes reach 2^length (over-full, or a code of all 1-bits).
bool AssignCodes(CodeList& list, bool checkSpace) {
  uint32_t code = 0;
  std::size_t k = 0;
  for (int length = list.sizes[0]; list.sizes[k] != 0; ++length) {
    while (list.sizes[k] == length) list.codes[k++] = code++;
    if (checkSpace && code >= (uint32_t{1} << length)) return false;
    code <<= 1;
  }
  return true;
}

VekStatus BuildEncodeTable(const Vek8u* bits, const Vek8u* vals, EncodeHuffmanSpec& table) {
  std::memset(&table, 0, sizeof table);
  CodeList list;
  if (!ListCodeSizes(bits, list) || !AssignCodes(list, true)) return vekStsJPEGBadTable;
  for (int k = 0; k < list.count; ++k) {
    const auto i = k;
    table.entries[vals[k]] = uint32_t{list.sizes[i]} << 16 | list.codes[i];
  }
  return vekStsOk;
}

// Fast lookup entries of one code of length <= 8.
bool AddFastEntries(DecodeHuffmanSpec& table, uint32_t code, int length, uint16_t symbol) {
  const uint32_t first = code << (8 - length), span = uint32_t{1} << (8 - length);
  if (first + span > 256) return false;
  for (uint32_t i = first; i < first + span; ++i) {
    table.fast[i][0] = symbol;
    table.fast[i][1] = static_cast<uint16_t>(length);
  }
  return true;
}

VekStatus BuildDecodeTable(const Vek8u* bits, const Vek8u* vals, DecodeHuffmanSpec& table) {
  std::memset(&table, 0, sizeof table);
  CodeList list;
  if (!ListCodeSizes(bits, list)) return vekStsJPEGBadTable;
  AssignCodes(list, false);
  int k = 0;
  for (int length = 1; length <= 16; ++length) {
    const int n = bits[length - 1];
    if (n == 0) {
      table.maxCode[length] = -1;
      continue;
    }
    table.firstIndex[length] = static_cast<uint16_t>(k);
    table.minCode[length] = static_cast<uint16_t>(list.codes[k]);
    for (int i = k; i < k + n; ++i) {
      const uint32_t code = list.codes[i];
      table.symbols[i] = vals[i];
      if (length <= 8 && !AddFastEntries(table, code, length, vals[i])) return vekStsJPEGBadTable;
    }
    k += n;
    table.maxCode[length] = static_cast<int16_t>(static_cast<uint16_t>(list.codes[k - 1]));
  }
  table.maxCode[17] = -1;
  return vekStsOk;
}

template <class Table, class Build>
VekStatus InitAlloc(const Vek8u* bits, const Vek8u* vals, Table** out, Build build) {
  if (VekStatus st = ArgCheck().Ptr(bits).Ptr(vals).Ptr(out)) return st;
  void* memory = Allocate(sizeof(Table));
  if (memory == nullptr) return vekStsNullPtr;
  auto* table = new (memory) Table;
  const VekStatus st = build(bits, vals, *table);
  if (st < 0) {  // a refused table is released, so that an error never leaves memory behind
    Release(table);
    table = nullptr;
  }
  *out = table;
  return st;
}

template <class Table>
VekStatus Free(Table* table) {
  if (table == nullptr) return vekStsNullPtr;
  Release(table);
  return vekStsOk;
}

// ---- Optimal lists from counts (T.81 K.2) ----

constexpr int kSymbols = 257;  // 256 and the reserved symbol
constexpr int64_t kLargestCount = 1000000000;

// The symbol with the smallest count that takes part, other than `except`;
// the highest symbol number wins a tie; -1 when there is none.
int SmallestCount(const std::array<int64_t, kSymbols>& freq, int except) {
  int best = -1;
  for (int i = 0; i < kSymbols; ++i) {
    const int64_t f = freq[i];
    if (i == except || f == 0 || f > kLargestCount) continue;
    if (best < 0 || f <= freq[best]) best = i;
  }
  return best;
}

// Code sizes of the Huffman tree over the counts (K.2, Figure K.1).
std::array<int, kSymbols> CodeSizes(const int* counts) {
  std::array<int64_t, kSymbols> freq{};
  std::array<int, kSymbols> size{}, next{};
  for (int i = 0; i < 256; ++i) freq[i] = counts[i];
  freq[256] = 1;
  next.fill(-1);
  for (;;) {
    const int v1 = SmallestCount(freq, -1);
    const int v2 = v1 < 0 ? -1 : SmallestCount(freq, v1);
    if (v2 < 0) return size;
    freq[v1] += freq[v2];
    freq[v2] = 0;
    int i = v1;
    for (++size[i]; next[i] >= 0; ++size[i]) {
      i = next[i];
    }
    next[i] = v2;
    for (i = v2, ++size[i]; next[i] >= 0; ++size[i]) {
      i = next[i];
    }
  }
}

// Moves codes longer than 16 bits up (K.2, Figure K.3) and drops the
// reserved symbol's code. False when a length is above 32 or the tree
// cannot be folded.
bool LimitLengths(std::array<int, 33>& count) {
  for (int i = 32; i > 16; --i) {
    while (count[i] > 0) {
      int j = i - 2;
      while (j > 0 && count[j] == 0) --j;
      if (j == 0) return false;
      count[i] -= 2;
      count[i - 1] += 1;
      count[j + 1] += 2;
      count[j] -= 1;
    }
  }
  int longest = 16;
  while (longest > 0 && count[longest] == 0) --longest;
  if (longest > 0) --count[longest];  // none: all counts were 0
  return true;
}

}  // namespace

VekStatus impl::vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(int* size) {
  if (size == nullptr) return vekStsNullPtr;
  *size = sizeof(EncodeHuffmanSpec);
  return vekStsOk;
}

VekStatus impl::vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(int* size) {
  if (size == nullptr) return vekStsNullPtr;
  *size = sizeof(DecodeHuffmanSpec);
  return vekStsOk;
}

VekStatus impl::vekiEncodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                  EncodeHuffmanSpec* pEncHuffSpec) {
  if (VekStatus st = ArgCheck().Ptr(pListBits).Ptr(pListVals).Ptr(pEncHuffSpec)) return st;
  return BuildEncodeTable(pListBits, pListVals, *pEncHuffSpec);
}

VekStatus impl::vekiDecodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                  DecodeHuffmanSpec* pDecHuffSpec) {
  if (VekStatus st = ArgCheck().Ptr(pListBits).Ptr(pListVals).Ptr(pDecHuffSpec)) return st;
  return BuildDecodeTable(pListBits, pListVals, *pDecHuffSpec);
}

VekStatus impl::vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                       EncodeHuffmanSpec** ppEncHuffSpec) {
  return InitAlloc(pListBits, pListVals, ppEncHuffSpec, BuildEncodeTable);
}

VekStatus impl::vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                       DecodeHuffmanSpec** ppDecHuffSpec) {
  return InitAlloc(pListBits, pListVals, ppDecHuffSpec, BuildDecodeTable);
}

VekStatus impl::vekiEncodeHuffmanSpecFree_JPEG_8u(EncodeHuffmanSpec* pEncHuffSpec) { return Free(pEncHuffSpec); }

VekStatus impl::vekiDecodeHuffmanSpecFree_JPEG_8u(DecodeHuffmanSpec* pDecHuffSpec) { return Free(pDecHuffSpec); }

VekStatus impl::vekiEncodeHuffmanRawTableInit_JPEG_8u(const int pStatistics[256], Vek8u* pListBits,
                                                      Vek8u* pListVals) {
  if (VekStatus st = ArgCheck().Ptr(pStatistics).Ptr(pListBits).Ptr(pListVals)) return st;
  const std::array<int, kSymbols> size = CodeSizes(pStatistics);
  std::array<int, 33> count{};
  for (int s : size) {
    if (s > 32) return vekStsJPEGBadTable;
    if (s > 0) ++count[s];
  }
  if (!LimitLengths(count)) return vekStsJPEGBadTable;
  for (int length = 1; length <= 16; ++length) {
    if (count[length] > 255) return vekStsJPEGBadTable;
    pListBits[length - 1] = static_cast<Vek8u>(count[length]);
  }
  int k = 0;
  for (int s = 1; s <= 32; ++s) {
    for (int symbol = 0; symbol < 256; ++symbol) {
      if (size[symbol] == s) pListVals[k++] = static_cast<Vek8u>(symbol);
    }
  }
  return vekStsOk;
}

}  // namespace vek
