// JPEG scans coded with vekj's Huffman coders: the MCU order of interleaved
// and single-component scans, restart intervals, baseline and progressive
// scans in both directions, optimal tables from vekj's statistics, and
// lossless rows. Throws std::runtime_error naming the failing status.
#pragma once

#include <cstdint>
#include <vector>

#include "support/coefficients.h"
#include "support/jpeg_markers.h"

namespace vek::test {

// Every scan of the file decoded into coefficients.
CoefImage DecodeWithVekj(const JpegFile& file);
// The same into an image of the frame's geometry that holds zeros wherever
// the scans do not clear blocks (progressive scans clear none; sequential
// ones clear every block they code).
void DecodeWithVekj(const JpegFile& file, CoefImage& image);

// The entropy-coded bytes of one scan of `image` (restart markers included),
// with the tables that scan carries.
std::vector<uint8_t> EncodeScanWithVekj(const JpegFrame& frame, const JpegScan& scan, const CoefImage& image);
// The same into `out`, grown when it may be too small; the byte count.
std::size_t EncodeScanWithVekj(const JpegFrame& frame, const JpegScan& scan, const CoefImage& image,
                               std::vector<uint8_t>& out);

// Tables that code the scan optimally, from vekj's statistics: each table
// the scan uses gets the optimal lists for the symbols its components code.
void SetOptimalTables(const JpegFrame& frame, JpegScan& scan, const CoefImage& image);

struct EncodeOptions {
  bool progressive = false;  // else baseline
  bool optimalTables = false;  // baseline: else the standard tables (progressive scans are always optimal)
  int restartInterval = 0;
};

// A whole file of the coefficients: SOF0 or SOF2 with libjpeg-turbo's
// standard progression, unit quantisation tables, luminance tables for the
// first component and chrominance tables for the others.
std::vector<uint8_t> EncodeFileWithVekj(const JpegFrame& frame, const CoefImage& image, const EncodeOptions& options);

// The frame of an image of this size: one component, or three with 4:2:0
// or 4:4:4 sampling.
JpegFrame MakeFrame(int width, int height, int components, bool subsample420);

// Lossless (SOF3): interleaved samples of `components` planes, each
// width x height, with precision P, point transform Pt and a predictor; the
// samples are coded as given (already shifted right by Pt).
struct LosslessImage {
  int width = 0, height = 0, precision = 8, pointTransform = 0, predictor = 1;
  std::vector<std::vector<int16_t>> planes;
};
std::vector<uint8_t> EncodeLosslessWithVekj(const LosslessImage& image);
// Decodes a file written by EncodeLosslessWithVekj (one scan, no restarts).
LosslessImage DecodeLosslessWithVekj(const JpegFile& file);

}  // namespace vek::test
