#include "library_records.h"

#include <cstring>

namespace codec {

void Plane::ReplicateContextRows() {
  std::memcpy(Row(-1), Row(0), static_cast<std::size_t>(width));
  std::memcpy(Row(height), Row(height - 1), static_cast<std::size_t>(width));
}

}  // namespace codec
