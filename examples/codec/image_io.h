// Reading and writing the pictures the example codec works on: PNG through
// libpng, binary PPM (P6) and PGM (P5) with 8-bit samples.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <string>
#include <vector>

namespace codec {

// Leaves new bytes uninitialised: every stage that makes a picture writes
// all of it, so clearing first would only cost time.
template <class T>
struct UninitialisedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };
  UninitialisedAllocator() = default;
  template <class U>
  UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept {}
  template <class U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};
using Pixels = std::vector<uint8_t, UninitialisedAllocator<uint8_t>>;

struct Image {
  int width = 0;
  int height = 0;
  int channels = 0;  // 1 grey, 3 RGB
  Pixels pixels;     // rows of width * channels bytes, no padding
};

// By the file's extension (.png, .ppm, .pgm, .pnm); throws std::runtime_error.
Image ReadImage(const std::string& path);
void WriteImage(const std::string& path, const Image& image);

// Peak signal-to-noise ratio in dB over all samples of two images of one
// size and channel count; infinity when they are equal.
double Psnr(const Image& a, const Image& b);

}  // namespace codec
