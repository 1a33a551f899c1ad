// Element access for rows reached through byte steps: a 16-bit row may start
// at an odd address, so its elements are read and written byte-wise (the
// compiler emits plain moves).
#pragma once

#include <cstring>

namespace vek {

template <class T>
inline T Load(const T* p) {
  T v;
  std::memcpy(&v, p, sizeof(T));
  return v;
}

template <class T>
inline void Store(T* p, T v) {
  std::memcpy(p, &v, sizeof(T));
}

}  // namespace vek
