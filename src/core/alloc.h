// The library's only way to allocate: every InitAlloc goes through these.
#pragma once

#include <cstdint>

#include "vekcore.h"

namespace vek {

// Null for a length below 1, without asking vekMalloc; else vekMalloc(length).
inline void* Allocate(int32_t length) { return length < 1 ? nullptr : vekMalloc(length); }

inline void Release(void* ptr) { vekFree(ptr); }

}  // namespace vek
