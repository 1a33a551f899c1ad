// The JPEG file syntax the example codec writes and reads: markers, table
// and frame segments, scan headers. The library does none of this: it codes
// the pixels; the caller owns the syntax.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace codec {

enum Marker : uint8_t {
  kSof0 = 0xC0, kSof1 = 0xC1, kSof2 = 0xC2, kSof3 = 0xC3, kDht = 0xC4,
  kRst0 = 0xD0, kSoi = 0xD8, kEoi = 0xD9, kSos = 0xDA, kDqt = 0xDB, kDri = 0xDD, kApp0 = 0xE0, kApp14 = 0xEE,
};

struct HuffmanTable {
  std::array<uint8_t, 16> bits{};  // number of codes of each length 1..16
  std::vector<uint8_t> values;     // symbols in code order
};

// The tables of ITU-T T.81 Annex K.
extern const std::array<uint8_t, 64> kLuminanceQuant;    // natural order
extern const std::array<uint8_t, 64> kChrominanceQuant;  // natural order
extern const HuffmanTable kLuminanceDc, kLuminanceAc, kChrominanceDc, kChrominanceAc;

// A natural-order table in the zig-zag order of a DQT segment.
std::array<uint8_t, 64> ToZigzag(const std::array<uint8_t, 64>& natural);

struct FrameComponent {
  int id = 0;
  int h = 1, v = 1;  // sampling factors
  int tq = 0;        // quantisation table
};

struct Frame {
  uint8_t sof = kSof0;  // kSof0/kSof1 baseline or extended, kSof2 progressive, kSof3 lossless
  int precision = 8;
  int width = 0, height = 0;
  std::vector<FrameComponent> components;
  int MaxH() const;
  int MaxV() const;
  // MCUs across and down in an interleaved scan.
  int McusWide() const;
  int McusHigh() const;
  bool Progressive() const { return sof == kSof2; }
  bool Lossless() const { return sof == kSof3; }
};

struct ScanComponent {
  int index = 0;   // into Frame::components
  int dc = 0, ac = 0;  // Huffman table numbers
};

struct Scan {
  std::vector<ScanComponent> components;
  int ss = 0, se = 63, ah = 0, al = 0;  // for lossless: ss = predictor, al = point transform
};

// Appends segments to a byte vector.
class JpegWriter {
 public:
  explicit JpegWriter(std::vector<uint8_t>& out) : out_(out) {}
  void Marker(uint8_t marker);
  void Jfif();
  // Adobe's marker: transform 0 says three components are RGB, not YCbCr.
  void Adobe(int transform);
  void Dqt(int id, const std::array<uint8_t, 64>& zigzag);
  void Sof(const Frame& frame);
  void Dht(int table_class, int id, const HuffmanTable& table);
  void Dri(int interval);
  void Sos(const Frame& frame, const Scan& scan);
  // Any segment: the marker, the length and the body.
  void Segment(uint8_t marker, const std::vector<uint8_t>& body);

 private:
  std::vector<uint8_t>& out_;
};

// Everything the segments before a scan have defined.
struct DecoderTables {
  std::array<std::array<uint8_t, 64>, 4> quant{};  // zig-zag order
  std::array<bool, 4> quant_defined{};
  std::array<HuffmanTable, 4> dc, ac;
  std::array<bool, 4> dc_defined{}, ac_defined{};
  int restart_interval = 0;
  int adobe_transform = -1;  // -1: no Adobe marker
};

// Walks the segments of a file. Throws std::runtime_error on malformed data.
class JpegReader {
 public:
  JpegReader(const uint8_t* data, std::size_t size);
  // Reads segments from the current position up to the next scan header or
  // the end of the image. Returns false at EOI.
  bool NextScan(Scan& scan);
  // Sets the position where the scan's entropy-coded data ended (the caller's
  // decoder reports it) and, if that decoder already met a marker, the marker
  // so that the reader takes up from there.
  void ResumeAfterScan(std::size_t position, int marker_seen);
  // Finds the next marker at or after `position`, passing over entropy-coded
  // bytes; returns the marker and sets `after` just past it, or 0 at the end.
  int FindMarker(std::size_t position, std::size_t& after) const;

  const Frame& frame() const { return frame_; }
  const DecoderTables& tables() const { return tables_; }
  bool has_frame() const { return has_frame_; }
  std::size_t position() const { return pos_; }
  const uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  int ReadMarker();
  std::vector<uint8_t> ReadSegmentBody();
  void ParseDqt(const std::vector<uint8_t>& body);
  void ParseDht(const std::vector<uint8_t>& body);
  void ParseSof(uint8_t marker, const std::vector<uint8_t>& body);
  void ParseSos(const std::vector<uint8_t>& body, Scan& scan);

  const uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  int pending_marker_ = 0;
  bool has_frame_ = false;
  Frame frame_;
  DecoderTables tables_;
};

}  // namespace codec
