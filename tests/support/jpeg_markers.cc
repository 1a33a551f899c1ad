#include "support/jpeg_markers.h"

#include <cstddef>

namespace vek::test {
namespace {

template <class Table>
std::array<std::optional<Table>, 4> Defined(const std::array<Table, 4>& tables, const std::array<bool, 4>& defined) {
  std::array<std::optional<Table>, 4> out;
  for (std::size_t i = 0; i < 4; ++i) {
    if (defined[i]) out[i] = tables[i];
  }
  return out;
}

// The end of the entropy-coded bytes from `begin`: the first 0xFF of the
// next marker that is not a restart. Sets `marker` and `after` (just past it).
std::size_t ScanDataEnd(const codec::JpegReader& reader, std::size_t begin, int& marker, std::size_t& after) {
  after = begin;
  do marker = reader.FindMarker(after, after);
  while (marker >= codec::kRst0 && marker < codec::kRst0 + 8);
  std::size_t end = marker != 0 ? after - 1 : after;
  while (end > begin && reader.data()[end - 1] == 0xFF) --end;  // the marker's 0xFF and fill bytes
  return end;
}

}  // namespace

JpegFile ParseJpeg(const std::vector<uint8_t>& bytes) {
  codec::JpegReader reader(bytes.data(), bytes.size());
  JpegFile file;
  JpegScan scan;
  while (reader.NextScan(scan)) {
    const codec::DecoderTables& tables = reader.tables();
    scan.restartInterval = tables.restart_interval;
    scan.dc = Defined(tables.dc, tables.dc_defined);
    scan.ac = Defined(tables.ac, tables.ac_defined);
    int marker = 0;
    std::size_t after = 0;
    const std::size_t begin = reader.position(), end = ScanDataEnd(reader, begin, marker, after);
    scan.data.assign(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end));
    file.scans.push_back(scan);
    reader.ResumeAfterScan(after, marker);
  }
  file.frame = reader.frame();
  return file;
}

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

void JpegWriter::Frame(const JpegFrame& frame) { writer_.Sof(frame); }

void JpegWriter::HuffmanTable(int tableClass, int id, const JpegHuffmanTable& table) {
  writer_.Dht(tableClass, id, table);
}

void JpegWriter::RestartInterval(int interval) { writer_.Dri(interval); }

void JpegWriter::Scan(const JpegFrame& frame, const JpegScan& scan) {
  writer_.Sos(frame, scan);
  out_.insert(out_.end(), scan.data.begin(), scan.data.end());
}

std::vector<uint8_t> JpegWriter::Finish() {
  writer_.Marker(codec::kEoi);
  return std::move(out_);
}

}  // namespace vek::test
