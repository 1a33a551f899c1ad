#include "support/photo.h"

#include <turbojpeg.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace vek::test {

std::string TestDataPath(const std::string& name) { return std::string(VEKJ_TESTDATA_DIR) + "/" + name; }

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot open " + path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Photo LoadJpeg(const std::string& path, int channels) {
  const std::vector<uint8_t> jpeg = ReadFile(path);
  std::unique_ptr<void, int (*)(tjhandle)> tj(tjInitDecompress(), tjDestroy);
  int width = 0, height = 0, subsampling = 0, colorspace = 0;
  if (!tj || tjDecompressHeader3(tj.get(), jpeg.data(), jpeg.size(), &width, &height, &subsampling, &colorspace) != 0) {
    throw std::runtime_error("cannot read the header of " + path);
  }
  Photo photo{width, height, channels, std::vector<uint8_t>(static_cast<std::size_t>(width) * height * channels)};
  const int format = channels == 1 ? TJPF_GRAY : TJPF_RGB;
  if (tjDecompress2(tj.get(), jpeg.data(), jpeg.size(), photo.pixels.data(), width, 0, height, format, 0) != 0) {
    throw std::runtime_error("cannot decode " + path);
  }
  return photo;
}

}  // namespace vek::test
