// Quantised DCT coefficients of a whole JPEG image, one array of 8x8 blocks
// (natural order) per component, laid out as a codec stores them: padded to
// whole MCUs, of which widthInBlocks x heightInBlocks hold image data.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/jpeg_markers.h"

namespace vek::test {

struct CoefComponent {
  int h = 1, v = 1;
  int widthInBlocks = 0, heightInBlocks = 0;  // blocks that hold image data
  int stride = 0, rows = 0;                   // blocks stored (whole MCUs)
  std::vector<int16_t> coefs;                 // 64 per block

  int16_t* Block(int bx, int by) { return coefs.data() + (static_cast<std::size_t>(by) * stride + bx) * 64; }
  const int16_t* Block(int bx, int by) const {
    return coefs.data() + (static_cast<std::size_t>(by) * stride + bx) * 64;
  }
};

struct CoefImage {
  int width = 0, height = 0;
  std::vector<CoefComponent> components;
};

// Zeroed coefficients with the geometry of the frame.
CoefImage MakeCoefImage(const JpegFrame& frame);

// "" when the image-data blocks of a and b are equal, else where they differ.
std::string CompareCoefficients(const CoefImage& a, const CoefImage& b);

}  // namespace vek::test
