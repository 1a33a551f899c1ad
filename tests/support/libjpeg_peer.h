// libjpeg-turbo as the peer of the Huffman coders: it writes JPEG files from
// pixels, and reads and writes quantised coefficients without the DCT
// (jpeg_read_coefficients / jpeg_write_coefficients), which compares and
// times entropy coding alone.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "support/coefficients.h"
#include "support/photo.h"

namespace vek::test {

struct LibjpegOptions {
  int quality = 90;
  bool subsample420 = true;   // else 4:4:4 (grey photos have one component)
  int restartInterval = 0;    // in MCUs
  bool optimize = false;      // optimal Huffman tables
  bool progressive = false;   // libjpeg-turbo's standard progression
};

std::vector<uint8_t> CompressWithLibjpeg(const Photo& photo, const LibjpegOptions& options);

// The coefficients of a file, as jpeg_read_coefficients gives them.
CoefImage ReadCoefficientsWithLibjpeg(const std::vector<uint8_t>& jpeg);

// libjpeg-turbo's optimal table (jpeg_gen_optimal_table) for 256 counts;
// nullopt when it refuses them.
std::optional<JpegHuffmanTable> OptimalTableWithLibjpeg(const std::vector<long>& counts);

// jpeg_read_coefficients of a whole file, for timing.
void ReadCoefficientsOnlyWithLibjpeg(const std::vector<uint8_t>& jpeg);

// A file's coefficients held by libjpeg-turbo, for timing its entropy coders.
class LibjpegCoefficients {
 public:
  explicit LibjpegCoefficients(const std::vector<uint8_t>& jpeg);
  ~LibjpegCoefficients();
  LibjpegCoefficients(const LibjpegCoefficients&) = delete;
  LibjpegCoefficients& operator=(const LibjpegCoefficients&) = delete;
  // jpeg_write_coefficients with the standard tables into `into` (libjpeg
  // takes a buffer of its own when it does not suffice); the file size.
  std::size_t Write(std::vector<uint8_t>& into) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vek::test
