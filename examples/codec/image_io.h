// Reading and writing the pictures the example codec works on: PNG through
// libpng, binary PPM (P6) and PGM (P5) with 8-bit samples.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace codec {

struct Image {
  int width = 0;
  int height = 0;
  int channels = 0;             // 1 grey, 3 RGB
  std::vector<uint8_t> pixels;  // rows of width * channels bytes, no padding
};

// By the file's extension (.png, .ppm, .pgm, .pnm); throws std::runtime_error.
Image ReadImage(const std::string& path);
void WriteImage(const std::string& path, const Image& image);

// Peak signal-to-noise ratio in dB over all samples of two images of one
// size and channel count; infinity when they are equal.
double Psnr(const Image& a, const Image& b);

}  // namespace codec
