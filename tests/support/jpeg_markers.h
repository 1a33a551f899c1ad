// A small JPEG marker parser and writer for tests, benchmarks and examples:
// frames (baseline, extended, progressive, lossless), Huffman and
// quantisation tables, restart intervals and scans with their entropy-coded
// bytes. It checks only what it needs to find its way through a file.
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

using JpegComponent = codec::FrameComponent;

struct JpegScanComponent {
  int index = 0;      // into JpegFrame::components
  int dcTable = 0, acTable = 0;
};

struct JpegScan {
  std::vector<JpegScanComponent> components;
  int ss = 0, se = 63, ah = 0, al = 0;  // lossless: ss is the predictor, al the point transform
  int restartInterval = 0;              // in MCUs (lossless: in MCU rows times width)
  std::array<std::optional<JpegHuffmanTable>, 4> dc, ac;  // tables in force for the scan
  std::vector<uint8_t> data;            // entropy-coded bytes, restart markers included
};

struct JpegFrame {
  int marker = 0xC0;                    // SOF0, SOF1, SOF2 or SOF3
  int precision = 8, width = 0, height = 0;
  std::vector<JpegComponent> components;
};

struct JpegFile {
  JpegFrame frame;
  std::vector<JpegScan> scans;
};

// Throws std::runtime_error on what it cannot follow.
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
