// A JPEG file held whole for tests and benchmarks: the frame and every scan
// with its tables, restart interval and entropy-coded bytes, read and written
// through the example codec's segment reader and writer.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "jpeg_syntax.h"

namespace vek::test {

// BITS and HUFFVAL; codec::kLuminanceDc and its siblings are the tables of
// ITU-T T.81 Annex K.3.
using JpegHuffmanTable = codec::HuffmanTable;
using JpegFrame = codec::Frame;

// A scan header with what the file gives the scan.
struct JpegScan : codec::Scan {
  int restartInterval = 0;                                // in MCUs (lossless: in MCU rows times width)
  std::array<std::optional<JpegHuffmanTable>, 4> dc, ac;  // tables in force for the scan
  std::vector<uint8_t> data;                              // entropy-coded bytes, restart markers included
};

struct JpegFile {
  JpegFrame frame;
  std::vector<JpegScan> scans;
};

// Throws std::runtime_error on what the codec's reader refuses.
JpegFile ParseJpeg(const std::vector<uint8_t>& bytes);

// Writes markers in the order of the calls, through the example codec's
// segment writer.
class JpegWriter {
 public:
  JpegWriter();  // SOI
  JpegWriter(const JpegWriter&) = delete;  // the codec's writer refers to out_
  JpegWriter& operator=(const JpegWriter&) = delete;
  // An Adobe APP14 segment saying that three components are not YCbCr.
  void AdobeNoColourTransform();
  void QuantTable(int id, const std::array<uint16_t, 64>& zigzagValues);
  void Frame(const JpegFrame& frame);
  void HuffmanTable(int tableClass, int id, const JpegHuffmanTable& table);  // class 0 DC, 1 AC
  void RestartInterval(int interval);
  // The scan header and its entropy-coded bytes.
  void Scan(const JpegFrame& frame, const JpegScan& scan);
  std::vector<uint8_t> Finish();  // EOI

 private:
  std::vector<uint8_t> out_;
  codec::JpegWriter writer_{out_};
};

}  // namespace vek::test
