#include "support/jpeg_markers.h"

#include <stdexcept>
#include <string>

namespace vek::test {
namespace {

JpegHuffmanTable Table(std::array<uint8_t, 16> bits, std::vector<uint8_t> vals) { return {bits, std::move(vals)}; }

class Reader {
 public:
  explicit Reader(const std::vector<uint8_t>& bytes) : bytes_(bytes) {}
  bool AtEnd() const { return pos_ >= bytes_.size(); }
  std::size_t Pos() const { return pos_; }
  uint8_t Byte() {
    if (AtEnd()) throw std::runtime_error("JPEG ends early");
    return bytes_[pos_++];
  }
  int Word() { int hi = Byte(); return hi << 8 | Byte(); }
  void Skip(std::size_t n) {
    if (bytes_.size() - pos_ < n) throw std::runtime_error("JPEG segment runs past the end");
    pos_ += n;
  }
  // The entropy-coded bytes up to the next marker that is not a restart.
  std::vector<uint8_t> EntropyData() {
    const std::size_t begin = pos_;
    while (pos_ + 1 < bytes_.size()) {
      if (bytes_[pos_] == 0xFF) {
        const uint8_t next = bytes_[pos_ + 1];
        if (next != 0 && next != 0xFF && (next < 0xD0 || next > 0xD7)) break;
      }
      ++pos_;
    }
    return {bytes_.begin() + static_cast<std::ptrdiff_t>(begin), bytes_.begin() + static_cast<std::ptrdiff_t>(pos_)};
  }

 private:
  const std::vector<uint8_t>& bytes_;
  std::size_t pos_ = 0;
};

void ReadHuffmanTables(Reader& in, int length, std::array<std::optional<JpegHuffmanTable>, 4>& dc,
                       std::array<std::optional<JpegHuffmanTable>, 4>& ac) {
  const std::size_t end = in.Pos() + static_cast<std::size_t>(length);
  while (in.Pos() < end) {
    const int tcth = in.Byte();
    JpegHuffmanTable t;
    int total = 0;
    for (auto& b : t.bits) total += b = in.Byte();
    for (int i = 0; i < total; ++i) t.vals.push_back(in.Byte());
    auto& slot = (tcth >> 4) == 0 ? dc : ac;
    slot.at(static_cast<std::size_t>(tcth & 15)) = t;
  }
}

void ReadFrame(Reader& in, int marker, JpegFrame& frame) {
  frame.marker = marker;
  frame.precision = in.Byte();
  frame.height = in.Word();
  frame.width = in.Word();
  const int n = in.Byte();
  frame.components.clear();
  for (int i = 0; i < n; ++i) {
    JpegComponent c;
    c.id = in.Byte();
    const int hv = in.Byte();
    c.h = hv >> 4;
    c.v = hv & 15;
    c.tq = in.Byte();
    frame.components.push_back(c);
  }
}

int ComponentIndex(const JpegFrame& frame, int id) {
  for (std::size_t i = 0; i < frame.components.size(); ++i) {
    if (frame.components[i].id == id) return static_cast<int>(i);
  }
  throw std::runtime_error("scan names an unknown component " + std::to_string(id));
}

}  // namespace

JpegHuffmanTable StandardLuminanceDc() {
  return Table({0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
}

JpegHuffmanTable StandardChrominanceDc() {
  return Table({0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
}

JpegHuffmanTable StandardLuminanceAc() {
  return Table({0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d},
               {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
                         0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
                         0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25,
                         0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
                         0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64,
                         0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
                         0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
                         0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
                         0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3,
                         0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8,
                         0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa});
}

JpegHuffmanTable StandardChrominanceAc() {
  return Table({0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77},
               {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
                         0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33,
                         0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1, 0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18,
                         0x19, 0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44,
                         0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63,
                         0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a,
                         0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
                         0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4,
                         0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca,
                         0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7,
                         0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa});
}

JpegFile ParseJpeg(const std::vector<uint8_t>& bytes) {
  Reader in(bytes);
  if (in.Byte() != 0xFF || in.Byte() != 0xD8) throw std::runtime_error("no SOI");
  JpegFile file;
  std::array<std::optional<JpegHuffmanTable>, 4> dc, ac;
  int restartInterval = 0;
  while (!in.AtEnd()) {
    if (in.Byte() != 0xFF) throw std::runtime_error("marker expected");
    int marker = in.Byte();
    while (marker == 0xFF) marker = in.Byte();
    if (marker == 0xD9) break;
    const int length = in.Word() - 2;
    if (length < 0) throw std::runtime_error("bad segment length");
    if (marker == 0xC4) {
      ReadHuffmanTables(in, length, dc, ac);
    } else if (marker == 0xC0 || marker == 0xC1 || marker == 0xC2 || marker == 0xC3) {
      ReadFrame(in, marker, file.frame);
    } else if (marker == 0xDD) {
      restartInterval = in.Word();
    } else if (marker == 0xDA) {
      JpegScan scan;
      const int n = in.Byte();
      for (int i = 0; i < n; ++i) {
        JpegScanComponent c;
        c.index = ComponentIndex(file.frame, in.Byte());
        const int t = in.Byte();
        c.dcTable = t >> 4;
        c.acTable = t & 15;
        scan.components.push_back(c);
      }
      scan.ss = in.Byte();
      scan.se = in.Byte();
      const int a = in.Byte();
      scan.ah = a >> 4;
      scan.al = a & 15;
      scan.restartInterval = restartInterval;
      scan.dc = dc;
      scan.ac = ac;
      scan.data = in.EntropyData();
      file.scans.push_back(std::move(scan));
    } else if ((marker >= 0xC5 && marker <= 0xCF && marker != 0xC8 && marker != 0xCC)) {
      throw std::runtime_error("unsupported frame type");
    } else {
      in.Skip(static_cast<std::size_t>(length));
    }
  }
  return file;
}

JpegWriter::JpegWriter() { Marker(0xD8); }

void JpegWriter::Marker(int code) {
  out_.push_back(0xFF);
  out_.push_back(static_cast<uint8_t>(code));
}

void JpegWriter::Segment(int code, const std::vector<uint8_t>& body) {
  Marker(code);
  const std::size_t length = body.size() + 2;
  out_.push_back(static_cast<uint8_t>(length >> 8));
  out_.push_back(static_cast<uint8_t>(length));
  out_.insert(out_.end(), body.begin(), body.end());
}

void JpegWriter::AdobeNoColourTransform() { Segment(0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0}); }

void JpegWriter::QuantTable(int id, const std::array<uint16_t, 64>& zigzagValues) {
  bool wide = false;
  for (uint16_t q : zigzagValues) wide |= q > 255;
  std::vector<uint8_t> body{static_cast<uint8_t>((wide ? 0x10 : 0) | id)};
  for (uint16_t q : zigzagValues) {
    if (wide) body.push_back(static_cast<uint8_t>(q >> 8));
    body.push_back(static_cast<uint8_t>(q));
  }
  Segment(0xDB, body);
}

void JpegWriter::Frame(const JpegFrame& frame) {
  std::vector<uint8_t> body{static_cast<uint8_t>(frame.precision), static_cast<uint8_t>(frame.height >> 8),
                            static_cast<uint8_t>(frame.height), static_cast<uint8_t>(frame.width >> 8),
                            static_cast<uint8_t>(frame.width), static_cast<uint8_t>(frame.components.size())};
  for (const JpegComponent& c : frame.components) {
    body.insert(body.end(), {static_cast<uint8_t>(c.id), static_cast<uint8_t>(c.h << 4 | c.v), static_cast<uint8_t>(c.tq)});
  }
  Segment(frame.marker, body);
}

void JpegWriter::HuffmanTable(int tableClass, int id, const JpegHuffmanTable& table) {
  std::vector<uint8_t> body{static_cast<uint8_t>(tableClass << 4 | id)};
  body.insert(body.end(), table.bits.begin(), table.bits.end());
  body.insert(body.end(), table.vals.begin(), table.vals.end());
  Segment(0xC4, body);
}

void JpegWriter::RestartInterval(int interval) {
  Segment(0xDD, {static_cast<uint8_t>(interval >> 8), static_cast<uint8_t>(interval)});
}

void JpegWriter::Scan(const JpegFrame& frame, const JpegScan& scan) {
  std::vector<uint8_t> body{static_cast<uint8_t>(scan.components.size())};
  for (const JpegScanComponent& c : scan.components) {
    body.push_back(static_cast<uint8_t>(frame.components.at(static_cast<std::size_t>(c.index)).id));
    body.push_back(static_cast<uint8_t>(c.dcTable << 4 | c.acTable));
  }
  body.insert(body.end(), {static_cast<uint8_t>(scan.ss), static_cast<uint8_t>(scan.se),
                           static_cast<uint8_t>(scan.ah << 4 | scan.al)});
  Segment(0xDA, body);
  out_.insert(out_.end(), scan.data.begin(), scan.data.end());
}

std::vector<uint8_t> JpegWriter::Finish() {
  Marker(0xD9);
  return std::move(out_);
}

}  // namespace vek::test
