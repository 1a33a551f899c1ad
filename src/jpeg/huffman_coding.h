// What the Huffman coders share above the bit stream: the walks over a
// block (baseline, progressive AC first and refinement) written once for
// both coding and counting symbols, the block decoders, the encoder flush
// and the choice between the put-by-put and the fast bit writer.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/checks.h"
#include "jpeg/huffman_bitstream.h"
#include "jpeg/huffman_records.h"
#include "jpeg/zigzag.h"
#include "vekj.h"

namespace vek {

inline void ClearState(EncodeHuffmanState& state) { std::memset(&state, 0, sizeof state); }
inline void ClearState(DecodeHuffmanState& state) { std::memset(&state, 0, sizeof state); }

// Destination, length, position and state, in this order.
inline ArgCheck CheckEncoderOutput(const void* dst, int length, const int* pos, const void* state) {
  ArgCheck check;
  check.Ptr(dst).Size(length >= 1).Ptr(pos).Ptr(state);
  return check;
}

// Runs code(bits) and stores the position and state back.
template <class Bits, class Code>
[[gnu::always_inline]] inline VekStatus RunAndFinish(Bits&& bits, const Code& code) {
  const VekStatus st = code(bits);
  bits.Finish();
  return st;
}

// Runs code(writer) with the fast writer when the call cannot run out of
// room, else with the put-by-put one.
template <class Code>
VekStatus WithStuffingWriter(Vek8u* dst, int32_t length, int32_t* pos, EncodeHuffmanState* state, const Code& code) {
  if (FastWriterFits(length, *pos)) return RunAndFinish(FastStuffingWriter(dst, pos, state), code);
  return RunAndFinish(StuffingWriter(dst, length, pos, state), code);
}

template <class Decode>
VekStatus WithStuffedReader(const Vek8u* src, int32_t length, int32_t* pos, int* marker, DecodeHuffmanState* state,
                            const Decode& decode) {
  return RunAndFinish(StuffedBitReader(src, length, pos, marker, state), decode);
}

// Pads the last byte with 1-bits (0x7F in 7 bits) and clears the state,
// whatever the put returned. A negative position is refused first.
inline VekStatus FlushBits(Vek8u* dst, int32_t length, int32_t* pos, EncodeHuffmanState* state) {
  if (*pos < 0) return vekStsBadArg;
  StuffingWriter writer(dst, length, pos, state);
  const VekStatus st = writer.Put(0x7F, 7);
  ClearState(*state);
  return st;
}

// Codes symbols through a writer.
template <class Writer>
class CodeSink {
 public:
  CodeSink(Writer& writer, const EncodeHuffmanSpec* dc, const EncodeHuffmanSpec* ac)
      : writer_(writer), dc_(dc), ac_(ac) {}
  static constexpr int kMaxDcCategory = 16;
  static constexpr int kMaxAcCategory = 15;  // -32768 has no AC symbol
  int MaxAcCategory() const { return kMaxAcCategory; }
  VekStatus Dc(int category, uint32_t extra) { return writer_.PutCode(dc_->entries[category], extra, category); }
  VekStatus Ac(int symbol, uint32_t extra, int extraLength) {
    return writer_.PutCode(ac_->entries[symbol], extra, extraLength);
  }
  // The symbol of a run and a value's category, then the value's extra bits.
  VekStatus AcValue(int run, int32_t v, int category) {
    return writer_.PutCodeAndValue(ac_->entries[run * 16 + category], v, category);
  }
  // The same with the extra bits given (already cut to `category` bits).
  VekStatus AcExtra(int run, uint32_t extra, int category) {
    return writer_.PutCodeAndExtra(ac_->entries[run * 16 + category], extra, category);
  }
  VekStatus Bit(uint32_t bit) { return writer_.Put(bit, 1); }

 private:
  Writer& writer_;
  const EncodeHuffmanSpec* dc_;
  const EncodeHuffmanSpec* ac_;
};

// Counts the symbols that a CodeSink would code.
class CountSink {
 public:
  CountSink(Vek32u* dc, Vek32u* ac, int maxAcCategory) : dc_(dc), ac_(ac), maxAcCategory_(maxAcCategory) {}
  static constexpr int kMaxDcCategory = 15;
  int MaxAcCategory() const { return maxAcCategory_; }
  VekStatus Dc(int category, uint32_t) { return Count(dc_, category); }
  VekStatus Ac(int symbol, uint32_t, int) { return Count(ac_, symbol); }
  VekStatus AcValue(int run, int32_t, int category) { return Count(ac_, run * 16 + category); }
  VekStatus Bit(uint32_t) { return vekStsOk; }

 private:
  static VekStatus Count(Vek32u* counts, int symbol) {
    ++counts[symbol];  // counters wrap
    return vekStsOk;
  }
  Vek32u* dc_;
  Vek32u* ac_;
  int maxAcCategory_;
};

// kNibbleToZigzag[h][m]: the zig-zag bits of the 4 coefficients of half-row
// h (row h / 2, columns 4 * (h % 2) on) whose bits are set in m.
inline constexpr auto kNibbleToZigzag = [] {
  std::array<std::array<uint64_t, 16>, 16> table{};
  for (int h = 0; h < 16; ++h) {
    for (int m = 0; m < 16; ++m) {
      for (int c = 0; c < 4; ++c) {
        if (m >> c & 1) table[h][m] |= uint64_t{1} << kNaturalToZigzag[h * 4 + c];
      }
    }
  }
  return table;
}();

// Bit c set for each non-zero coefficient c of each row, rows 0..7 in bytes
// 0..7. SSE2 is part of every x86-64 processor; elsewhere SWAR on 64 bits
// (a lane's top bit after adding 0x7FFF to its low 15 bits, or its sign).
inline uint64_t NonzeroRows(const int16_t* block) {
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  uint64_t rows = 0;
  for (int r = 0; r < 8; r += 2) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 8 * r));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 8 * r + 8));
    const __m128i zeros = _mm_packs_epi16(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero));
    rows |= static_cast<uint64_t>(~_mm_movemask_epi8(zeros) & 0xFFFF) << (8 * r);
  }
  return rows;
#else
  static_assert(std::endian::native == std::endian::little, "lane 0 of four is the low 16 bits");
  constexpr uint64_t kLow15 = 0x7FFF7FFF7FFF7FFFu;
  uint64_t rows = 0;
  for (int q = 0; q < 16; ++q) {
    uint64_t four;
    std::memcpy(&four, block + 4 * q, 8);
    const uint64_t top = (((four & kLow15) + kLow15) | four) & ~kLow15;
    // The tops of lanes 0..3 (bits 15, 31, 47, 63) gathered into bits 48..51.
    const uint64_t lanes = ((top >> 15) * (uint64_t{1} << 48 | uint64_t{1} << 33 | uint64_t{1} << 18 | 8u)) >> 48;
    rows |= (lanes & 15u) << (4 * q);
  }
  return rows;
#endif
}

// Bit k of the result is set when the k-th coefficient in zig-zag order is not 0.
inline uint64_t ZigzagNonzeroMask(const int16_t* block) {
  const uint64_t rows = NonzeroRows(block);
  uint64_t mask = 0;
  for (int h = 0; h < 16; ++h) mask |= kNibbleToZigzag[h][(rows >> (4 * h)) & 0xF];
  return mask;
}

// The AC values of a block in zig-zag order, read from the block as the
// coder reaches them.
class BlockAcTerms {
 public:
  explicit BlockAcTerms(const int16_t* block) : block_(block), nonzero_(ZigzagNonzeroMask(block)) {}
  uint64_t Nonzero() const { return nonzero_; }
  int Category(uint32_t k) const { return NonzeroCategory(block_[kZigzagToNatural[k]]); }
  template <class Sink>
  VekStatus Code(Sink& sink, int run, uint32_t k, int category) const {
    return sink.AcValue(run, block_[kZigzagToNatural[k]], category);
  }

 private:
  const int16_t* block_;
  uint64_t nonzero_;
};

// The same terms worked out beforehand for the whole block (by a SIMD form),
// in zig-zag order or in the block's own order: for each position, the mask
// of its extra bits (every bit below the top bit of |v|, so that its bit
// count is the category) and the extra bits.
template <bool kInZigzagOrder>
struct PrecomputedTerms {
  uint16_t categoryMask[64];  // -32768 gives 0xFFFF: category 16
  uint16_t extra[64];
  uint64_t nonzero;           // in zig-zag order

  static uint32_t At(uint32_t k) { return kInZigzagOrder ? k : kZigzagToNatural[k]; }
  uint64_t Nonzero() const { return nonzero; }
  int Category(uint32_t k) const { return std::popcount(categoryMask[At(k)]); }
  template <class Sink>
  VekStatus Code(Sink& sink, int run, uint32_t k, int category) const {
    return sink.AcExtra(run, extra[At(k)], category);
  }
};
using ZigzagTerms = PrecomputedTerms<true>;
using NaturalTerms = PrecomputedTerms<false>;

// A baseline block: the DC difference against lastDc (updated first), then
// the AC run/size symbols in zig-zag order and end of block.
template <class Sink, class Terms>
[[gnu::always_inline]] inline VekStatus CodeBlock(Sink& sink, const int16_t* block, const Terms& terms,
                                                  int16_t& lastDc) {
  const int32_t diff = int32_t{block[0]} - lastDc;
  lastDc = block[0];
  const int dcCategory = Category(diff);
  if (dcCategory > Sink::kMaxDcCategory) return vekStsJPEGBadData;
  if (VekStatus st = sink.Dc(dcCategory, ExtraBits(diff, dcCategory))) return st;
  uint32_t last = 0;
  // Clearing the lowest bit by its index: x & (x - 1) is much slower on some
  // processors.
  for (uint64_t nonzero = terms.Nonzero() & ~uint64_t{1}; nonzero != 0;) {
    const auto k = static_cast<uint32_t>(std::countr_zero(nonzero));
    nonzero &= ~(uint64_t{1} << k);
    int run = static_cast<int>(k - last - 1);
    last = k;
    if (run > 15) [[unlikely]] {
      for (; run > 15; run -= 16) {
        if (VekStatus st = sink.Ac(0xF0, 0, 0)) return st;
      }
    }
    const int category = terms.Category(k);
    if (category > sink.MaxAcCategory()) [[unlikely]] return vekStsJPEGBadData;
    if (VekStatus st = terms.Code(sink, run, k, category)) [[unlikely]] return st;
  }
  return last < 63 ? sink.Ac(0x00, 0, 0) : vekStsOk;
}

template <class Sink>
[[gnu::always_inline]] inline VekStatus CodeBlock(Sink& sink, const int16_t* block, int16_t& lastDc) {
  return CodeBlock(sink, block, BlockAcTerms(block), lastDc);
}

// A baseline block of the given terms through the fast writer, for calls
// with kFastWriterRoom bytes left. The writer is made here, so that its bits
// stay in registers. Everything down to the coding loop is inlined into each
// SIMD form: a copy left out of line would be one for all forms that use the
// same terms, compiled for none of them (a library call per popcount). The
// lambda takes the GNU spelling: [[gnu::always_inline]] after its parameters
// would apply to its type.
template <class Terms>
[[gnu::always_inline]] inline VekStatus CodeBlockFastWith(const Terms& terms, const int16_t* block, int16_t& lastDc,
                                                          const EncodeHuffmanSpec* dc, const EncodeHuffmanSpec* ac,
                                                          uint8_t* dst, int32_t* pos, EncodeHuffmanState* state) {
  const auto code = [&](FastStuffingWriter& writer) __attribute__((always_inline)) {
    CodeSink sink(writer, dc, ac);
    return CodeBlock(sink, block, terms, lastDc);
  };
  return RunAndFinish(FastStuffingWriter(dst, pos, state), code);
}

// The pending end-of-band run (symbol 16 * n with n low bits of the run),
// then its correction bits; the run stays pending if a put fails.
template <class Sink>
VekStatus CodeEndOfBandRun(Sink& sink, EncodeHuffmanState& state) {
  if (state.eobRun == 0) return vekStsOk;
  const int n = std::bit_width(static_cast<uint32_t>(state.eobRun)) - 1;
  if (VekStatus st = sink.Ac(n << 4, static_cast<uint32_t>(state.eobRun), n)) return st;
  for (int i = 0; i < state.correctionCount; ++i) {
    if (VekStatus st = sink.Bit(state.corrections[i])) return st;
  }
  state.eobRun = 0;
  state.correctionCount = 0;
  return vekStsOk;
}

inline bool IsPointTransform(int al) { return al >= 0 && al <= 13; }
inline bool IsAcBand(int ss, int se, int al) { return ss >= 1 && ss <= se && se <= 63 && IsPointTransform(al); }

// DC first: the difference of block[0] >> Al against lastDc (updated first);
// categories above 11 are refused.
template <class Sink>
VekStatus CodeDcFirst(Sink& sink, const int16_t* block, int16_t& lastDc, int al) {
  const int32_t v = block[0] >> al;
  const int32_t diff = v - lastDc;
  lastDc = static_cast<int16_t>(v);
  const int category = Category(diff);
  if (category > 11) return vekStsJPEGBadData;
  return sink.Dc(category, ExtraBits(diff, category));
}

inline constexpr int32_t kLongestEndOfBandRun = 0x7FFF;
// The refinement codes the run before a block could overflow the buffer.
inline constexpr int32_t kCorrectionBitsBeforeRun = kMaxCorrectionBits - 63;

// The magnitude |v| >> Al that a progressive AC scan codes.
inline int32_t ScaledMagnitude(int32_t v, int al) { return (v < 0 ? -v : v) >> al; }

// AC first: the band Ss..Se of one block (T.81 G.1.2.2).
template <class Sink>
VekStatus CodeAcFirst(Sink& sink, EncodeHuffmanState& state, const int16_t* block, int ss, int se, int al) {
  int run = 0;
  for (int k = ss; k <= se; ++k) {
    const int32_t v = block[kZigzagToNatural[k]];
    const int32_t magnitude = ScaledMagnitude(v, al);
    if (magnitude == 0) {
      ++run;
      continue;
    }
    const int category = Category(magnitude);
    if (category > sink.MaxAcCategory()) return vekStsJPEGBadData;
    if (VekStatus st = CodeEndOfBandRun(sink, state)) return st;
    for (; run > 15; run -= 16) {
      if (VekStatus st = sink.Ac(0xF0, 0, 0)) return st;
    }
    if (VekStatus st = sink.AcValue(run, v < 0 ? -magnitude : magnitude, category)) return st;
    run = 0;
  }
  if (run > 0 && ++state.eobRun == kLongestEndOfBandRun) return CodeEndOfBandRun(sink, state);
  return vekStsOk;
}

// AC refinement: the band Ss..Se of one block (T.81 G.1.2.3). Correction
// bits of coefficients that were already significant wait in the state
// until the next coded symbol, or go with the end-of-band run.
template <class Sink>
VekStatus CodeAcRefine(Sink& sink, EncodeHuffmanState& state, const int16_t* block, int ss, int se, int al) {
  int32_t magnitude[64];
  int lastNew = 0;  // the last band position that becomes significant now
  for (int k = ss; k <= se; ++k) {
    magnitude[k] = ScaledMagnitude(block[kZigzagToNatural[k]], al);
    if (magnitude[k] == 1) lastNew = k;
  }
  int run = 0, base = state.correctionCount, held = 0;
  const auto codeHeldBits = [&]() -> VekStatus {
    for (int i = 0; i < held; ++i) {
      if (VekStatus st = sink.Bit(state.corrections[base + i])) return st;
    }
    base = 0;
    held = 0;
    return vekStsOk;
  };
  for (int k = ss; k <= se; ++k) {
    const int32_t m = magnitude[k];
    if (m == 0) {
      ++run;
      continue;
    }
    for (; run > 15 && k <= lastNew; run -= 16) {
      if (VekStatus st = CodeEndOfBandRun(sink, state)) return st;
      if (VekStatus st = sink.Ac(0xF0, 0, 0)) return st;
      if (VekStatus st = codeHeldBits()) return st;
    }
    if (m > 1) {
      state.corrections[base + held++] = static_cast<uint8_t>(m & 1);
      continue;
    }
    if (VekStatus st = CodeEndOfBandRun(sink, state)) return st;
    if (VekStatus st = sink.Ac(run * 16 + 1, block[kZigzagToNatural[k]] < 0 ? 0 : 1, 1)) return st;
    if (VekStatus st = codeHeldBits()) return st;
    run = 0;
  }
  if (run > 0 || held > 0) {
    ++state.eobRun;
    state.correctionCount += held;
    if (state.eobRun == kLongestEndOfBandRun || state.correctionCount > kCorrectionBitsBeforeRun) {
      return CodeEndOfBandRun(sink, state);
    }
  }
  return vekStsOk;
}

// One difference or value: the code of its category (0..16), then for
// categories 1..15 the extra bits; -32768 (category 16) has none.
template <class Writer>
VekStatus CodeValue(Writer& writer, const EncodeHuffmanSpec& table, int32_t v) {
  const int category = Category(v);
  return writer.PutCode(table.entries[category], ExtraBits(v, category), category < 16 ? category : 0);
}

// ---- Decoding ----

// One value: symbol 0 is 0, 1..15 receive and extend that many bits, 16 or
// more give -32768 without bits.
template <class Reader>
VekStatus DecodeValue(Reader& reader, const DecodeHuffmanSpec& table, int16_t& value) {
  int s = 0;
  if (VekStatus st = DecodeSymbol(reader, table, s)) return st;
  int32_t v = s == 0 ? 0 : -32768;
  if (s >= 1 && s <= 15) {
    if (VekStatus st = ReceiveValue(reader, s, v)) return st;
  }
  value = static_cast<int16_t>(v);
  return vekStsOk;
}

// 128 bytes of zeros, stored inline (a library call costs more here).
[[gnu::always_inline]] inline void ClearBlock(int16_t* block) {
#if defined(__SSE2__)
  // Written out: as a loop the compiler turns it back into a string store.
  const __m128i zero = _mm_setzero_si128();
  auto* rows = reinterpret_cast<__m128i*>(block);
  _mm_storeu_si128(rows + 0, zero);
  _mm_storeu_si128(rows + 1, zero);
  _mm_storeu_si128(rows + 2, zero);
  _mm_storeu_si128(rows + 3, zero);
  _mm_storeu_si128(rows + 4, zero);
  _mm_storeu_si128(rows + 5, zero);
  _mm_storeu_si128(rows + 6, zero);
  _mm_storeu_si128(rows + 7, zero);
#else
  std::memset(block, 0, 64 * sizeof(int16_t));
#endif
}

// A baseline block into natural order; `end` is the zig-zag index reached
// (0 when the DC failed).
template <class Reader>
[[gnu::always_inline]] inline VekStatus DecodeBlockBits(Reader& reader, const DecodeHuffmanSpec& dc, const DecodeHuffmanSpec& ac, int16_t* block,
                          int16_t& lastDc, int32_t& end) {
  ClearBlock(block);
  int symbol = 0;
  if (VekStatus st = DecodeSymbol(reader, dc, symbol)) return st;
  int32_t diff = 0;
  if (const int s = symbol & 15; s != 0) [[likely]] {
    if (VekStatus st = ReceiveValue(reader, s, diff)) return st;
  }
  lastDc = Wrap16(lastDc + diff);
  block[0] = lastDc;
  for (int k = 1; k < 64;) {
    end = k;
    if (VekStatus st = DecodeSymbol(reader, ac, symbol)) return st;
    const int run = symbol >> 4, s = symbol & 15;
    if (s == 0) [[unlikely]] {
      if (run < 15) return vekStsOk;  // end of block
      if (k + 16 > 64) return vekStsErr;
      k += 16;
      continue;
    }
    if (k + run > 63) [[unlikely]] return vekStsErr;
    int32_t v = 0;
    if (VekStatus st = ReceiveValue(reader, s, v)) return st;
    k += run;
    block[kZigzagToNatural[static_cast<uint32_t>(k)]] = static_cast<int16_t>(v);
    ++k;
  }
  end = 64;
  return vekStsOk;
}

// DecodeBlockBits on a reader taken by value and on local copies of the
// last DC and the end position, which then live in registers rather than
// behind the block's stores; then stores them and the reader's position and
// state back. Inline, so that the reader is never copied as a whole.
template <class Reader>
[[gnu::always_inline]] inline VekStatus DecodeBlock(Reader reader, const DecodeHuffmanSpec& dc,
                                                    const DecodeHuffmanSpec& ac, int16_t* block, int16_t& lastDc,
                                                    int32_t& end) {
  int32_t reached = 0;
  int16_t dcValue = lastDc;
  const VekStatus st = DecodeBlockBits(reader, dc, ac, block, dcValue, reached);
  end = reached;
  lastDc = dcValue;
  reader.Finish();
  return st;
}

}  // namespace vek
