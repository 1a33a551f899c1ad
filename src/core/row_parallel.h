// Rows of a region: addressing, and the one rule by which whole-image
// functions share their rows among threads.
#pragma once

#include <omp.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "vekcore.h"

namespace vek {

// Row r of an image at `base` with `step` bytes between row starts.
template <class T>
T* RowAt(T* base, int step, int row) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + static_cast<std::ptrdiff_t>(row) * step);
}

// Regions of at most this many pixels never pay for starting threads.
inline constexpr int32_t kSerialPixels = 8192;

// Calls row(r) for every r in [0, height). Up to kSerialPixels pixels (the
// product taken in signed 32 bits, as the caller's region promises) the rows
// run in order on the calling thread. Above that, one OpenMP region with
// ownGetNumThreads() threads shares them by the static schedule: one
// contiguous run of rows per thread. Inside another parallel region the
// runtime gives that region one thread, so the rows run serially. Rows are
// independent, so the result never depends on the thread count.
template <class RowFn>
void ForEachRow(int32_t width, int32_t height, const RowFn& row) {
  const int threads = ownGetNumThreads();
  const auto pixels = static_cast<int32_t>(static_cast<uint32_t>(width) * static_cast<uint32_t>(height));
  if (pixels <= kSerialPixels) {
    for (int32_t r = 0; r < height; ++r) row(r);
    return;
  }
#pragma omp parallel for schedule(static) num_threads(threads)
  for (int32_t r = 0; r < height; ++r) row(r);
}

}  // namespace vek
