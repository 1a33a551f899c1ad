// The export table: one constant slot per exported image function, sorted
// byte-wise by export name. The build generates its contents from vekj.h.
#pragma once

#include <cstddef>

#include "export_count.h"

namespace vek {

using ExportSlot = void (*)();

inline constexpr std::size_t kExportCount = VEK_EXPORT_COUNT;

extern const ExportSlot kExportTable[kExportCount];
// The export name of each slot, for the checks of the table's order.
extern const char* const kExportNames[kExportCount];

}  // namespace vek
