// The 8x8 blocks of a real photograph, for tests and benchmarks that need
// image statistics rather than random data.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support/photo.h"

namespace vek::test {

using SampleBlock = std::array<uint8_t, 64>;

// Every 8x8 block of the grey benchmark photograph, in raster order, each
// block's samples row-major.
inline const std::vector<SampleBlock>& PhotoBlocks() {
  static const std::vector<SampleBlock> blocks = [] {
    const Photo photo = LoadJpeg(TestDataPath(kBenchPhoto), 1);
    std::vector<SampleBlock> all;
    for (int by = 0; by + 8 <= photo.height; by += 8)
      for (int bx = 0; bx + 8 <= photo.width; bx += 8) {
        SampleBlock b;
        for (int y = 0; y < 8; ++y)
          for (int x = 0; x < 8; ++x)
            b[8 * y + x] = photo.pixels[static_cast<std::size_t>((by + y) * photo.width + bx + x)];
        all.push_back(b);
      }
    return all;
  }();
  return blocks;
}

}  // namespace vek::test
