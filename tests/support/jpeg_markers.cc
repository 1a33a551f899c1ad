#include "support/jpeg_markers.h"

#include <stdexcept>
#include <string>

namespace vek::test {
namespace {

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
    for (int i = 0; i < total; ++i) t.values.push_back(in.Byte());
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
  body.insert(body.end(), table.values.begin(), table.values.end());
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
