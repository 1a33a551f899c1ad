#include "jpeg_syntax.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace codec {

const std::array<uint8_t, 64> kLuminanceQuant = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99,
};

const std::array<uint8_t, 64> kChrominanceQuant = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
    99, 99, 47, 66, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
};

std::array<uint8_t, 64> ToZigzag(const std::array<uint8_t, 64>& natural) {
  static constexpr uint8_t kOrder[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                         12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                         35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                         58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
  std::array<uint8_t, 64> zigzag{};
  for (std::size_t k = 0; k < 64; ++k) zigzag[k] = natural[kOrder[k]];
  return zigzag;
}

const HuffmanTable kLuminanceDc = {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                                   {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
const HuffmanTable kChrominanceDc = {{0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                     {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
const HuffmanTable kLuminanceAc = {
    {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d},
    {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71,
     0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72,
     0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37,
     0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59,
     0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
     0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3,
     0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3,
     0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2,
     0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};
const HuffmanTable kChrominanceAc = {
    {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77},
    {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61, 0x71, 0x13, 0x22,
     0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33, 0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1,
     0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18, 0x19, 0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36,
     0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58,
     0x59, 0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a,
     0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a,
     0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba,
     0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda,
     0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};

int Frame::MaxH() const {
  int m = 1;
  for (const FrameComponent& c : components) m = std::max(m, c.h);
  return m;
}
int Frame::MaxV() const {
  int m = 1;
  for (const FrameComponent& c : components) m = std::max(m, c.v);
  return m;
}
int Frame::McusWide() const {
  const int unit = Lossless() ? MaxH() : 8 * MaxH();
  return (width + unit - 1) / unit;
}
int Frame::McusHigh() const {
  const int unit = Lossless() ? MaxV() : 8 * MaxV();
  return (height + unit - 1) / unit;
}

// ---- Writing -------------------------------------------------------------

void JpegWriter::Marker(uint8_t marker) {
  out_.push_back(0xFF);
  out_.push_back(marker);
}

void JpegWriter::Segment(uint8_t marker, const std::vector<uint8_t>& body) {
  Marker(marker);
  const std::size_t length = body.size() + 2;
  out_.push_back(static_cast<uint8_t>(length >> 8));
  out_.push_back(static_cast<uint8_t>(length));
  out_.insert(out_.end(), body.begin(), body.end());
}

void JpegWriter::Jfif() {
  Segment(kApp0, {'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0});
}

void JpegWriter::Adobe(int transform) {
  Segment(kApp14, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, static_cast<uint8_t>(transform)});
}

void JpegWriter::Dqt(int id, const std::array<uint8_t, 64>& zigzag) {
  std::vector<uint8_t> body = {static_cast<uint8_t>(id)};
  body.insert(body.end(), zigzag.begin(), zigzag.end());
  Segment(kDqt, body);
}

void JpegWriter::Sof(const Frame& frame) {
  std::vector<uint8_t> body = {static_cast<uint8_t>(frame.precision),
                               static_cast<uint8_t>(frame.height >> 8), static_cast<uint8_t>(frame.height),
                               static_cast<uint8_t>(frame.width >> 8),  static_cast<uint8_t>(frame.width),
                               static_cast<uint8_t>(frame.components.size())};
  for (const FrameComponent& c : frame.components) {
    body.insert(body.end(), {static_cast<uint8_t>(c.id), static_cast<uint8_t>(c.h << 4 | c.v), static_cast<uint8_t>(c.tq)});
  }
  Segment(frame.sof, body);
}

void JpegWriter::Dht(int table_class, int id, const HuffmanTable& table) {
  std::vector<uint8_t> body = {static_cast<uint8_t>(table_class << 4 | id)};
  body.insert(body.end(), table.bits.begin(), table.bits.end());
  body.insert(body.end(), table.values.begin(), table.values.end());
  Segment(kDht, body);
}

void JpegWriter::Dri(int interval) {
  Segment(kDri, {static_cast<uint8_t>(interval >> 8), static_cast<uint8_t>(interval)});
}

void JpegWriter::Sos(const Frame& frame, const Scan& scan) {
  std::vector<uint8_t> body = {static_cast<uint8_t>(scan.components.size())};
  for (const ScanComponent& c : scan.components) {
    body.push_back(static_cast<uint8_t>(frame.components[static_cast<std::size_t>(c.index)].id));
    body.push_back(static_cast<uint8_t>(c.dc << 4 | c.ac));
  }
  body.insert(body.end(), {static_cast<uint8_t>(scan.ss), static_cast<uint8_t>(scan.se),
                           static_cast<uint8_t>(scan.ah << 4 | scan.al)});
  Segment(kSos, body);
}

// ---- Reading -------------------------------------------------------------

namespace {
[[noreturn]] void Corrupt(const std::string& what) { throw std::runtime_error("corrupt JPEG data: " + what); }
}  // namespace

JpegReader::JpegReader(const uint8_t* data, std::size_t size) : data_(data), size_(size) {
  if (size < 2 || data[0] != 0xFF || data[1] != kSoi) Corrupt("no start-of-image marker");
  pos_ = 2;
}

int JpegReader::FindMarker(std::size_t position, std::size_t& after) const {
  for (std::size_t i = position; i + 1 < size_; ++i) {
    if (data_[i] != 0xFF) continue;
    std::size_t j = i + 1;
    while (j < size_ && data_[j] == 0xFF) ++j;  // fill bytes
    if (j == size_) break;
    if (data_[j] != 0x00) {
      after = j + 1;
      return data_[j];
    }
    i = j;  // a stuffed 0xFF data byte
  }
  after = size_;
  return 0;
}

int JpegReader::ReadMarker() {
  if (pending_marker_ != 0) return std::exchange(pending_marker_, 0);
  std::size_t after = 0;
  const int marker = FindMarker(pos_, after);
  pos_ = after;
  return marker;
}

std::vector<uint8_t> JpegReader::ReadSegmentBody() {
  if (pos_ + 2 > size_) Corrupt("segment length past the end");
  const std::size_t length = static_cast<std::size_t>(data_[pos_] << 8 | data_[pos_ + 1]);
  if (length < 2 || pos_ + length > size_) Corrupt("segment length past the end");
  std::vector<uint8_t> body(data_ + pos_ + 2, data_ + pos_ + length);
  pos_ += length;
  return body;
}

void JpegReader::ParseDqt(const std::vector<uint8_t>& body) {
  for (std::size_t i = 0; i < body.size();) {
    const int precision = body[i] >> 4, id = body[i] & 15;
    if (id > 3 || precision > 1) Corrupt("quantisation table id or precision");
    const std::size_t bytes = precision ? 128 : 64;
    if (i + 1 + bytes > body.size()) Corrupt("short quantisation table");
    for (std::size_t k = 0; k < 64; ++k) {
      // 16-bit entries are kept only when they fit the 8-bit tables the library takes.
      const int q = precision ? body[i + 1 + 2 * k] << 8 | body[i + 2 + 2 * k] : body[i + 1 + k];
      if (q > 255) Corrupt("quantiser above 255 is not supported");
      tables_.quant[static_cast<std::size_t>(id)][k] = static_cast<uint8_t>(q);
    }
    tables_.quant_defined[static_cast<std::size_t>(id)] = true;
    i += 1 + bytes;
  }
}

void JpegReader::ParseDht(const std::vector<uint8_t>& body) {
  for (std::size_t i = 0; i < body.size();) {
    const int table_class = body[i] >> 4, id = body[i] & 15;
    if (table_class > 1 || id > 3 || i + 17 > body.size()) Corrupt("Huffman table header");
    HuffmanTable table;
    std::copy_n(body.begin() + static_cast<std::ptrdiff_t>(i + 1), 16, table.bits.begin());
    const std::size_t count = std::accumulate(table.bits.begin(), table.bits.end(), std::size_t{0});
    if (count > 256 || i + 17 + count > body.size()) Corrupt("Huffman table size");
    table.values.assign(body.begin() + static_cast<std::ptrdiff_t>(i + 17),
                        body.begin() + static_cast<std::ptrdiff_t>(i + 17 + count));
    (table_class ? tables_.ac : tables_.dc)[static_cast<std::size_t>(id)] = table;
    (table_class ? tables_.ac_defined : tables_.dc_defined)[static_cast<std::size_t>(id)] = true;
    i += 17 + count;
  }
}

void JpegReader::ParseSof(uint8_t marker, const std::vector<uint8_t>& body) {
  if (has_frame_) Corrupt("second frame header");
  if (body.size() < 6) Corrupt("short frame header");
  frame_.sof = marker;
  frame_.precision = body[0];
  frame_.height = body[1] << 8 | body[2];
  frame_.width = body[3] << 8 | body[4];
  const std::size_t count = body[5];
  if (count < 1 || count > 4 || body.size() < 6 + 3 * count) Corrupt("frame component count");
  if (frame_.width < 1 || frame_.height < 1) Corrupt("image size 0 (a DNL segment is not supported)");
  for (std::size_t c = 0; c < count; ++c) {
    FrameComponent fc{body[6 + 3 * c], body[7 + 3 * c] >> 4, body[7 + 3 * c] & 15, body[8 + 3 * c]};
    if (fc.h < 1 || fc.h > 4 || fc.v < 1 || fc.v > 4 || fc.tq > 3) Corrupt("component sampling or table");
    frame_.components.push_back(fc);
  }
  has_frame_ = true;
}

void JpegReader::ParseSos(const std::vector<uint8_t>& body, Scan& scan) {
  if (!has_frame_) Corrupt("scan before the frame header");
  if (body.empty()) Corrupt("short scan header");
  const std::size_t count = body[0];
  if (count < 1 || count > 4 || body.size() != 4 + 2 * count) Corrupt("scan header size");
  scan.components.clear();
  for (std::size_t c = 0; c < count; ++c) {
    const int id = body[1 + 2 * c];
    const auto it = std::find_if(frame_.components.begin(), frame_.components.end(),
                                 [id](const FrameComponent& fc) { return fc.id == id; });
    if (it == frame_.components.end()) Corrupt("scan names an unknown component");
    scan.components.push_back({static_cast<int>(it - frame_.components.begin()), body[2 + 2 * c] >> 4,
                               body[2 + 2 * c] & 15});
    if (scan.components.back().dc > 3 || scan.components.back().ac > 3) Corrupt("Huffman table number");
  }
  scan.ss = body[1 + 2 * count];
  scan.se = body[2 + 2 * count];
  scan.ah = body[3 + 2 * count] >> 4;
  scan.al = body[3 + 2 * count] & 15;
}

bool JpegReader::NextScan(Scan& scan) {
  for (;;) {
    const int marker = ReadMarker();
    switch (marker) {
      case 0: Corrupt("the image ends without an end-of-image marker");
      case kEoi: return false;
      case kSos: ParseSos(ReadSegmentBody(), scan); return true;
      case kDqt: ParseDqt(ReadSegmentBody()); break;
      case kDht: ParseDht(ReadSegmentBody()); break;
      case kDri: {
        const std::vector<uint8_t> body = ReadSegmentBody();
        if (body.size() != 2) Corrupt("restart interval segment");
        tables_.restart_interval = body[0] << 8 | body[1];
        break;
      }
      case kSof0: case kSof1: case kSof2: case kSof3: ParseSof(static_cast<uint8_t>(marker), ReadSegmentBody()); break;
      default:
        if (marker >= kRst0 && marker < kRst0 + 8) break;  // a stray restart marker between scans
        if ((marker & 0xF0) == 0xC0) Corrupt("unsupported coding process (arithmetic or hierarchical)");
        const std::vector<uint8_t> body = ReadSegmentBody();
        if (marker == kApp14 && body.size() >= 12 && std::equal(body.begin(), body.begin() + 5, "Adobe")) {
          tables_.adobe_transform = body[11];
        }  // other APPn, COM and the rest carry nothing the codec needs
    }
  }
}

void JpegReader::ResumeAfterScan(std::size_t position, int marker_seen) {
  pos_ = std::min(position, size_);
  pending_marker_ = marker_seen;
}

}  // namespace codec
