// The JPEG entropy-coded bit stream shared by every Huffman coder: values
// and their categories, the bit writers (byte-stuffed through an encoder
// state, or raw at a bit position) and the bit readers (byte-stuffed with
// marker detection through a decoder state, or raw), and the symbol decoder.
//
// Writers and readers work on local copies of the position and state and
// store them back in Finish(), which every coder calls on every exit.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "jpeg/huffman_records.h"
#include "vekj.h"

namespace vek {

inline constexpr uint32_t LowMask(int n) { return (uint32_t{1} << n) - 1; }  // n < 32

// The magnitude category (JPEG SSSS) of v != 0: the number of bits of |v|;
// the low bit set changes nothing and spares the test for 0.
inline int NonzeroCategory(int32_t v) { return std::bit_width(static_cast<uint32_t>(v < 0 ? -v : v) | 1u); }
// The same for any v, 0 giving 0, without a branch on it (DC differences
// are 0 often enough to mispredict).
inline int Category(int32_t v) { return NonzeroCategory(v) - static_cast<int>(v == 0); }

// The bits sent after a category's code: v, or v - 1 when v is negative,
// cut to `category` low bits.
inline uint32_t ExtraBits(int32_t v, int category) {
  return (static_cast<uint32_t>(v) + static_cast<uint32_t>(v >> 31)) & LowMask(category);  // no branch on the sign
}

// The value of `category` received bits (1..15): a top bit of 0 means
// negative. Without a branch: signs are as good as random.
inline int32_t Extend(uint32_t bits, int category) {  // bits < 2^category
  const uint32_t positive = bits >> (category - 1);    // the top bit
  return static_cast<int32_t>(bits - (LowMask(category) & (positive - 1u)));
}

// 16-bit wrap-around arithmetic on coefficients, written out as such.
inline int16_t Wrap16(int32_t v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(v))); }
inline int16_t ShiftLeft16(int32_t v, int shift) { return Wrap16(static_cast<int32_t>(static_cast<uint32_t>(v) << shift)); }

template <class Word>
inline bool HasByteFF(Word w) {
  constexpr Word kOnes = ~Word{0} / 0xFF;  // 0x01 in every byte
  const Word inverted = ~w;                // a 0xFF byte of w is a zero byte here
  return ((inverted - kOnes) & ~inverted & kOnes << 7) != 0;
}

inline uint32_t LoadBigEndian32(const uint8_t* p) {
  uint32_t word;
  std::memcpy(&word, p, 4);
  return std::endian::native == std::endian::little ? __builtin_bswap32(word) : word;
}

inline uint32_t CodeLength(uint32_t entry) { return entry >> 16; }
inline uint32_t CodeBits(uint32_t entry) { return entry & 0xFFFF; }

// Room that any one block coder call (or a chunk of a lossless row) needs at
// most, stuffing and a pending end-of-band run with 1024 correction bits
// included; with this much left the fast writer cannot run out.
inline constexpr int32_t kFastWriterRoom = 1024;
inline bool FastWriterFits(int32_t length, int32_t pos) { return length - pos >= kFastWriterRoom; }

// A code and its extra bits as two puts, for writers whose puts store at
// once: a failing second put leaves the first one's effect.
template <class Writer>
class PutsOneByOne {
 public:
  VekStatus PutCode(uint32_t entry, uint32_t extra, int extraLength) {
    auto& writer = static_cast<Writer&>(*this);
    if (VekStatus st = writer.Put(CodeBits(entry), static_cast<int>(CodeLength(entry)))) return st;
    return extraLength ? writer.Put(extra, extraLength) : vekStsOk;
  }
  // A code and the extra bits of v, a value of `category` (1..15).
  VekStatus PutCodeAndValue(uint32_t entry, int32_t v, int category) {
    return PutCode(entry, ExtraBits(v, category), category);
  }
  void Finish() {}
};

// The put-by-put writer: each put stores its whole bytes at once, stuffing a
// 0x00 after every 0xFF. A put that runs out of room keeps the bytes it
// stored and the advanced position, and leaves the bit buffer as it was.
class StuffingWriter : public PutsOneByOne<StuffingWriter> {
 public:
  StuffingWriter(uint8_t* dst, int32_t length, int32_t* pos, EncodeHuffmanState* state)
      : dst_(dst), length_(length), pos_(pos), state_(state) {}

  VekStatus Put(uint32_t bits, int length) {
    if (length == 0) return vekStsJPEGBadTable;
    int n = state_->count + length;
    uint32_t buffer = state_->bits | (bits & LowMask(length)) << (24 - n);
    int32_t p = *pos_;
    for (; n >= 8; n -= 8) {
      const uint8_t byte = static_cast<uint8_t>(buffer >> 16);
      if (!StoreByte(p, byte) || (byte == 0xFF && !StoreByte(p, 0))) {
        *pos_ = p;
        return vekStsJPEGOutOfBuffer;
      }
      buffer = (buffer << 8) & 0xFFFFFF;
    }
    *pos_ = p;
    state_->bits = buffer;
    state_->count = n;
    return vekStsOk;
  }

 private:
  bool StoreByte(int32_t& p, uint8_t byte) {
    if (p >= length_) return false;
    dst_[p++] = byte;
    return true;
  }

  uint8_t* dst_;
  int32_t length_;
  int32_t* pos_;
  EncodeHuffmanState* state_;
};

// The same bytes, position and state as StuffingWriter, gathered 64 bits at
// a time; only for calls that have kFastWriterRoom bytes left.
class FastStuffingWriter {
 public:
  FastStuffingWriter(uint8_t* dst, int32_t* pos, EncodeHuffmanState* state)
      : begin_(dst), out_(dst + *pos), pos_(pos), state_(state), nbits_(state->count),
        acc_(state->bits >> (24 - state->count)) {}

  VekStatus Put(uint32_t bits, int length) {
    if (length == 0) return vekStsJPEGBadTable;
    Append(bits & LowMask(length), length);
    return vekStsOk;
  }

  VekStatus PutCode(uint32_t entry, uint32_t extra, int extraLength) {
    const int length = static_cast<int>(CodeLength(entry));
    if (length == 0) return vekStsJPEGBadTable;
    Append(uint64_t{CodeBits(entry)} << extraLength | (extra & LowMask(extraLength)), length + extraLength);
    return vekStsOk;
  }

  // The same for extra bits that hold no bits above extraLength.
  VekStatus PutCodeAndExtra(uint32_t entry, uint32_t extra, int extraLength) {
    const int length = static_cast<int>(CodeLength(entry));
    if (length == 0) [[unlikely]] return vekStsJPEGBadTable;
    Append(uint64_t{CodeBits(entry)} << extraLength | extra, length + extraLength);
    return vekStsOk;
  }

  // The code then the extra bits of v as one number: the code plus the sign
  // bit, shifted, plus v minus the sign bit (so a negative v borrows from the
  // code instead of being masked to v - 1).
  VekStatus PutCodeAndValue(uint32_t entry, int32_t v, int category) {
    const int length = static_cast<int>(CodeLength(entry));
    if (length == 0) return vekStsJPEGBadTable;
    const uint64_t negative = static_cast<uint32_t>(v) >> 31;
    Append(((CodeBits(entry) + negative) << category) + static_cast<uint64_t>(int64_t{v}) - negative, length + category);
    return vekStsOk;
  }

  // Stores the whole bytes; the rest (below 8 bits) goes back to the state.
  void Finish() {
    const int whole = nbits_ >> 3;
    nbits_ &= 7;
    if (whole > 0) EmitBytes(acc_ >> nbits_ << (64 - 8 * whole), whole);
    state_->bits = (static_cast<uint32_t>(acc_) & LowMask(nbits_)) << (24 - nbits_);
    state_->count = nbits_;
    *pos_ = static_cast<int32_t>(out_ - begin_);
  }

 private:
  // Bits that fill the 64 pending ones store them; the bits that did not
  // fit stay pending (acc_ keeps stored bits above them).
  void Append(uint64_t bits, int length) {  // 1 <= length <= 32
    if (nbits_ + length <= 64) [[likely]] {
      acc_ = acc_ << length | bits;  // length < 64
      nbits_ += length;
      return;
    }
    const int room = 64 - nbits_;
    nbits_ = length - room;
    EmitWord(acc_ << room | bits >> nbits_);  // room < 32
    acc_ = bits;
  }

  void EmitWord(uint64_t word) {
    if (!HasByteFF(word)) {
      const uint64_t big = __builtin_bswap64(word);
      std::memcpy(out_, &big, 8);
      out_ += 8;
      return;
    }
    for (int shift = 56; shift >= 0; shift -= 8) EmitByte(static_cast<uint8_t>(word >> shift));
  }

  // The `count` (1..8) top bytes of `bytes`. Without stuffing, by two
  // overlapping stores of 4 bytes, or three of 1 byte below 4, so that
  // nothing is stored past them.
  void EmitBytes(uint64_t bytes, int count) {
    if (HasByteFF(bytes)) {
      for (int i = 0; i < count; ++i) EmitByte(static_cast<uint8_t>(bytes >> (56 - 8 * i)));
      return;
    }
    const uint64_t inOrder = __builtin_bswap64(bytes);  // the first byte lowest
    const auto byteAt = [&](int i) { return inOrder >> (8 * i); };
    if (count >= 4) {
      const auto head = static_cast<uint32_t>(inOrder), tail = static_cast<uint32_t>(byteAt(count - 4));
      std::memcpy(out_, &head, 4);
      std::memcpy(out_ + count - 4, &tail, 4);
    } else {
      out_[0] = static_cast<uint8_t>(inOrder);
      out_[count >> 1] = static_cast<uint8_t>(byteAt(count >> 1));
      out_[count - 1] = static_cast<uint8_t>(byteAt(count - 1));
    }
    out_ += count;
  }

  void EmitByte(uint8_t byte) {
    *out_++ = byte;
    if (byte == 0xFF) *out_++ = 0;
  }

  uint8_t* begin_;
  uint8_t* out_;
  int32_t* pos_;
  EncodeHuffmanState* state_;
  int nbits_;      // pending bits (0..64) in the low end of acc_
  uint64_t acc_;
};

// Writes bits at a bit position, most significant first, without stuffing;
// each put clears the rest of the last byte it touches. A put that does not
// fit writes nothing.
class RawBitWriter : public PutsOneByOne<RawBitWriter> {
 public:
  RawBitWriter(uint8_t* dst, int32_t length, int32_t* bitPos)
      : dst_(dst), limit_(int64_t{length} * 8), bitPos_(bitPos), pos_(*bitPos) {}

  VekStatus Put(uint32_t bits, int length) {
    if (length == 0) return vekStsJPEGBadTable;
    if (pos_ + length > limit_) return vekStsJPEGOutOfBuffer;
    for (int left = length; left > 0;) {
      const int offset = static_cast<int>(pos_ & 7);
      const int take = std::min(8 - offset, left);
      const uint32_t chunk = (bits >> (left - take)) & LowMask(take);
      uint8_t& byte = dst_[pos_ >> 3];
      const uint32_t kept = offset ? byte & ~LowMask(8 - offset) : 0;
      byte = static_cast<uint8_t>(kept | chunk << (8 - offset - take));
      pos_ += take;
      left -= take;
    }
    *bitPos_ = static_cast<int32_t>(pos_);
    return vekStsOk;
  }

 private:
  uint8_t* dst_;
  int64_t limit_;
  int32_t* bitPos_;
  int64_t pos_;
};

// Where a byte-stuffed read stands: position, the last four bytes read,
// how many of their low bits are unread, and the marker found (0: none).
struct StuffedPosition {
  int32_t pos;
  uint32_t bits;
  int count;
  int marker;
};

struct StuffedFill {
  StuffedPosition at;
  VekStatus status;
};

// The fill, byte by byte: bytes until more than 24 bits are held; a
// 0xFF 0x00 pair is the data byte 0xFF, further 0xFF are fill, any other byte
// after 0xFF is a marker, after which nothing is read. The status says
// whether `needed` bits are then held; the end of the source inside a run of
// 0xFF is out of buffer at once (the position stays at the first 0xFF).
[[gnu::noinline]] inline StuffedFill FillByBytes(const uint8_t* src, int32_t length, StuffedPosition at, int needed) {
  const auto held = [&](VekStatus missing) { return StuffedFill{at, at.count >= needed ? vekStsOk : missing}; };
  if (at.marker != 0) return held(vekStsJPEGBadData);
  while (at.count <= 24) {
    if (at.pos >= length) return held(vekStsJPEGOutOfBuffer);
    const uint8_t byte = src[at.pos];
    int32_t next = at.pos + 1;
    if (byte == 0xFF) {
      while (next < length && src[next] == 0xFF) ++next;  // fill bytes
      if (next >= length) return {at, vekStsJPEGOutOfBuffer};
      if (src[next] != 0) {
        at.marker = src[next];
        at.pos = next + 1;
        return held(vekStsJPEGBadData);
      }
      ++next;
    }
    at.bits = at.bits << 8 | byte;
    at.count += 8;
    at.pos = next;
  }
  return {at, vekStsOk};
}

// Reads byte-stuffed data through a decoder state: fills take bytes until
// more than 24 bits are held, and stop at a marker (stored in *marker,
// nothing read after it) and at the end of the source. The read position is
// kept by value so that it lives in registers.
class StuffedBitReader {
 public:
  StuffedBitReader(const uint8_t* src, int32_t length, int32_t* pos, int* marker, DecodeHuffmanState* state)
      : src_(src), length_(length), posOut_(pos), markerOut_(marker), state_(state),
        at_{*pos, state->bits, state->count, *marker}, wordEnd_(*marker != 0 ? -1 : length - 4) {}

  int Held() const { return at_.count; }
  uint32_t Peek(int n) const { return (at_.bits >> (at_.count - n)) & LowMask(n); }  // 1 <= n <= Held()
  void Skip(int n) { at_.count -= n; }
  // Branches on the count: the bits of a value are mostly held already.
  VekStatus Need(int n) {
    if (at_.count >= n) [[likely]] return vekStsOk;
    return Fill(n);
  }
  // Before a symbol: a fill when fewer than 8 bits are held, which need not
  // reach 8.
  VekStatus BeforeSymbol() {
    if (at_.count >= 8) [[likely]] return vekStsOk;
    return Fill(0);
  }

  void Finish() {
    *posOut_ = at_.pos;
    *markerOut_ = at_.marker;
    state_->bits = at_.bits;
    state_->count = at_.count;
  }

 private:
  // Whole bytes up to 32 bits held: in the common case (no marker, 4 bytes
  // left, none of the bytes taken is 0xFF) at once, else byte by byte.
  [[gnu::always_inline]] VekStatus Fill(int needed) {
    const int take = (32 - at_.count) >> 3;
    if (at_.pos <= wordEnd_) {
      const uint64_t word = LoadBigEndian32(src_ + at_.pos);
      const int dropped = 32 - 8 * take;
      if (!HasByteFF(static_cast<uint32_t>(word >> dropped << dropped))) {
        at_.bits = static_cast<uint32_t>(uint64_t{at_.bits} << (8 * take) | word >> dropped);
        at_.count += 8 * take;
        at_.pos += take;
        return vekStsOk;
      }
    }
    const StuffedFill filled = FillByBytes(src_, length_, at_, needed);
    at_ = filled.at;
    if (at_.marker != 0) wordEnd_ = -1;
    return filled.status;
  }

  const uint8_t* src_;
  int32_t length_;
  int32_t* posOut_;
  int* markerOut_;
  DecodeHuffmanState* state_;
  StuffedPosition at_;
  int32_t wordEnd_;  // the last position with 4 bytes left, -1 after a marker
};

// Reads raw bits at a bit position; the end of the source ends the data.
class RawBitReader {
 public:
  RawBitReader(const uint8_t* src, int32_t length, int32_t* bitPos)
      : src_(src), limit_(int64_t{length} * 8), bitPosOut_(bitPos), pos_(*bitPos) {}

  int Held() const { return static_cast<int>(std::clamp<int64_t>(limit_ - pos_, 0, 32)); }
  uint32_t Peek(int n) const {
    uint32_t bits = 0;
    for (int64_t p = pos_; p < pos_ + n; ++p) bits = bits << 1 | ((src_[p >> 3] >> (7 - (p & 7))) & 1u);
    return bits;
  }
  void Skip(int n) { pos_ += n; }
  VekStatus Need(int n) const { return Held() >= n ? vekStsOk : vekStsJPEGOutOfBuffer; }
  VekStatus BeforeSymbol() const { return vekStsOk; }
  void Finish() { *bitPosOut_ = static_cast<int32_t>(pos_); }

 private:
  const uint8_t* src_;
  int64_t limit_;
  int32_t* bitPosOut_;
  int64_t pos_;
};

template <class Reader>
[[gnu::always_inline]] inline VekStatus ReceiveBits(Reader& reader, int n, uint32_t& bits) {
  bits = 0;
  if (n == 0) return vekStsOk;
  if (VekStatus st = reader.Need(n)) return st;
  bits = reader.Peek(n);
  reader.Skip(n);
  return vekStsOk;
}

// Receives `category` (1..15) bits and extends them to a value.
template <class Reader>
[[gnu::always_inline]] inline VekStatus ReceiveValue(Reader& reader, int category, int32_t& value) {
  uint32_t bits = 0;
  if (VekStatus st = ReceiveBits(reader, category, bits)) return st;
  value = Extend(bits, category);
  return vekStsOk;
}

inline bool CodeEndsAt(const DecodeHuffmanSpec& table, uint32_t code, int length) {
  const int16_t largest = table.maxCode[length];
  return largest != -1 && code <= static_cast<uint16_t>(largest);
}

// Codes longer than the fast lookup, bit by bit from `length` on; no match
// within 16 bits gives symbol 0 and vekStsJPEGBadData after a 17th bit.
// Inline, so that the reader never leaves registers for a call.
inline VekStatus SymbolOfCode(const DecodeHuffmanSpec& table, uint32_t code, int length, int& symbol) {
  symbol = 0;
  if (length > 16) return vekStsJPEGBadData;
  const uint32_t index = table.firstIndex[length] + code - table.minCode[length];
  if (index > 255) return vekStsJPEGBadData;
  symbol = table.symbols[index];
  return vekStsOk;
}

template <class Reader>
[[gnu::always_inline]] inline VekStatus DecodeLongSymbol(Reader& reader, const DecodeHuffmanSpec& table, int length, int& symbol) {
  if (reader.Held() >= 17) {  // the search below then never fills: the same bits, found at once
    const uint32_t window = reader.Peek(16);
    while (length <= 16 && !CodeEndsAt(table, window >> (16 - length), length)) ++length;
    reader.Skip(std::min(length, 17));
    return SymbolOfCode(table, window >> (16 - std::min(length, 16)), length, symbol);
  }
  uint32_t code = 0;
  if (VekStatus st = ReceiveBits(reader, length, code)) return st;
  while (length <= 16 && !CodeEndsAt(table, code, length)) {
    uint32_t bit = 0;
    if (VekStatus st = ReceiveBits(reader, 1, bit)) return st;
    code = code << 1 | bit;
    ++length;
  }
  return SymbolOfCode(table, code, length, symbol);
}

template <class Reader>
[[gnu::always_inline]] inline VekStatus DecodeSymbol(Reader& reader, const DecodeHuffmanSpec& table, int& symbol) {
  if (VekStatus st = reader.BeforeSymbol()) [[unlikely]] return st;
  if (reader.Held() < 8) [[unlikely]] return DecodeLongSymbol(reader, table, 1, symbol);
  const uint16_t* entry = table.fast[reader.Peek(8)];
  if (entry[1] == 0) [[unlikely]] return DecodeLongSymbol(reader, table, 9, symbol);
  reader.Skip(entry[1]);
  symbol = entry[0];
  return vekStsOk;
}

}  // namespace vek
