// Whole JPEG files through the example codec's decoder: every failure must be
// an exception with a message, never a crash, a read outside the input or a hang.
#include <cstddef>
#include <cstdint>
#include <exception>

#include "codec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    codec::Decode(data, size, 1L << 18);
  } catch (const std::exception&) {
  }
  return 0;
}
