// Quantised DCT coefficients of a whole JPEG image, one array of 8x8 blocks
// (natural order) per component, laid out as a codec stores them: padded to
// whole MCUs, of which widthInBlocks x heightInBlocks hold image data.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/jpeg_markers.h"

namespace vek::test {

// Leaves elements uninitialised on resize: coefficients that a decoder
// writes in full need no zeros first.
template <class T>
struct UninitializedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitializedAllocator<U>;
  };
  UninitializedAllocator() = default;
  template <class U>
  UninitializedAllocator(const UninitializedAllocator<U>&) {}
  template <class U>
  void construct(U* p) {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};

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

// Coefficients with the geometry of the frame, zeroed unless asked not to.
CoefImage MakeCoefImage(const JpegFrame& frame, bool zeroed = true);

// "" when the image-data blocks of a and b are equal, else where they differ.
std::string CompareCoefficients(const CoefImage& a, const CoefImage& b);

}  // namespace vek::test
