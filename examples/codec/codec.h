// A small, complete JPEG codec built from the library's exports: the
// library does all pixel work (colour conversion, sampling, DCT and
// quantisation, Huffman coding, lossless prediction); this code owns only the
// file syntax and the order of the stages.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "image_io.h"

namespace codec {

enum class Mode { kBaseline, kProgressive, kLossless };
enum class Subsampling { k444, k422, k420 };

struct EncodeOptions {
  Mode mode = Mode::kBaseline;
  int quality = 90;                         // 1..100, lossy modes
  Subsampling subsampling = Subsampling::k420;
  bool optimize = false;                    // baseline: optimal Huffman tables from statistics
  int restart_interval = 0;                 // MCUs between restart markers, 0 for none
  int predictor = 1;                        // lossless: 1..7
  int precision = 8;                        // lossless: 2..16 bits per sample
};

// Encodes a grey or RGB picture. Throws std::invalid_argument for bad
// options and std::runtime_error when the library reports an error.
std::vector<uint8_t> Encode(const Image& image, const EncodeOptions& options);

// Decodes a baseline, extended (8-bit), progressive or lossless file to grey
// or RGB; lossless files of another precision are scaled to 8 bits. Throws
// std::runtime_error with a message on corrupt or truncated data, and for
// pictures of more than max_pixels (so that a damaged size field cannot make
// it allocate gigabytes).
inline constexpr long kDefaultMaxPixels = 1L << 27;
Image Decode(const uint8_t* data, std::size_t size, long max_pixels = kDefaultMaxPixels);

// The names used on the command line and in tables.
const char* ModeName(Mode mode);
const char* SubsamplingName(Subsampling subsampling);

// Throws std::runtime_error naming the failing step when status < 0.
[[noreturn]] inline void ThrowFailure(int status, const char* what) {
  throw std::runtime_error(std::string(what) + " failed with status " + std::to_string(status));
}
inline void Check(int status, const char* what) {
  if (status < 0) ThrowFailure(status, what);
}

}  // namespace codec
