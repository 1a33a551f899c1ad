// Real photographs for tests and benchmarks, decoded with libjpeg-turbo.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vek::test {

struct Photo {
  int width = 0;
  int height = 0;
  int channels = 0;             // 3 (RGB) or 1 (grey)
  std::vector<uint8_t> pixels;  // rows of width * channels bytes, no padding
};

// The path of a file in testdata/.
std::string TestDataPath(const std::string& name);

// Decodes a JPEG file to interleaved RGB (channels 3) or grey (channels 1);
// throws std::runtime_error when the file cannot be read or decoded.
Photo LoadJpeg(const std::string& path, int channels = 3);

// The 2048x1536 photograph used by the benchmarks.
inline const char kBenchPhoto[] = "cups-2048x1536.jpg";

// The whole file's bytes; throws std::runtime_error when it cannot be read.
std::vector<uint8_t> ReadFile(const std::string& path);

}  // namespace vek::test
