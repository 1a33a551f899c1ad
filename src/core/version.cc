// The version record: constant for the life of the library.
#include "vekj.h"

namespace {
constexpr VekLibraryVersion kVersion = {
    7, 0, 205, 998, {'t', '3', '\0', '\0'}, "vekjt3-7.0.dll", "7.0 build 205.23", "Sep  2 2010",
};
}  // namespace

extern "C" const VekLibraryVersion* vekjGetLibVersion(void) { return &kVersion; }
