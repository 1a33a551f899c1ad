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

namespace {

codec::Frame CodecFrame(const JpegFrame& frame) {
  codec::Frame f;
  f.sof = static_cast<uint8_t>(frame.marker);
  f.precision = frame.precision;
  f.width = frame.width;
  f.height = frame.height;
  f.components = frame.components;
  return f;
}

codec::Scan CodecScan(const JpegScan& scan) {
  codec::Scan s{{}, scan.ss, scan.se, scan.ah, scan.al};
  for (const JpegScanComponent& c : scan.components) s.components.push_back({c.index, c.dcTable, c.acTable});
  return s;
}

}  // namespace

JpegWriter::JpegWriter() { writer_.Marker(codec::kSoi); }

void JpegWriter::AdobeNoColourTransform() { writer_.Adobe(0); }

// 16-bit values when any is above 255 (the codec's own tables are 8-bit).
void JpegWriter::QuantTable(int id, const std::array<uint16_t, 64>& zigzagValues) {
  bool wide = false;
  for (uint16_t q : zigzagValues) wide |= q > 255;
  std::vector<uint8_t> body{static_cast<uint8_t>((wide ? 0x10 : 0) | id)};
  for (uint16_t q : zigzagValues) {
    if (wide) body.push_back(static_cast<uint8_t>(q >> 8));
    body.push_back(static_cast<uint8_t>(q));
  }
  writer_.Segment(codec::kDqt, body);
}

void JpegWriter::Frame(const JpegFrame& frame) { writer_.Sof(CodecFrame(frame)); }

void JpegWriter::HuffmanTable(int tableClass, int id, const JpegHuffmanTable& table) {
  writer_.Dht(tableClass, id, table);
}

void JpegWriter::RestartInterval(int interval) { writer_.Dri(interval); }

void JpegWriter::Scan(const JpegFrame& frame, const JpegScan& scan) {
  writer_.Sos(CodecFrame(frame), CodecScan(scan));
  out_.insert(out_.end(), scan.data.begin(), scan.data.end());
}

std::vector<uint8_t> JpegWriter::Finish() {
  writer_.Marker(codec::kEoi);
  return std::move(out_);
}

}  // namespace vek::test
