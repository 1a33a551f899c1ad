#include "scan_layout.h"

namespace codec {

ComponentGrid GridOf(const Frame& frame, int component) {
  const FrameComponent& c = frame.components[static_cast<std::size_t>(component)];
  const int unit = frame.Lossless() ? 1 : 8;
  // The component's own size: ceil(X * h / hmax) by ceil(Y * v / vmax).
  const int samples_wide = (frame.width * c.h + frame.MaxH() - 1) / frame.MaxH();
  const int samples_high = (frame.height * c.v + frame.MaxV() - 1) / frame.MaxV();
  ComponentGrid grid;
  grid.coded_wide = (samples_wide + unit - 1) / unit;
  grid.coded_high = (samples_high + unit - 1) / unit;
  grid.stored_wide = frame.McusWide() * c.h;
  grid.stored_high = frame.McusHigh() * c.v;
  return grid;
}

int BlocksInScan(const Frame& frame, const Scan& scan) {
  if (scan.components.size() == 1) {
    const ComponentGrid grid = GridOf(frame, scan.components[0].index);
    return grid.coded_wide * grid.coded_high;
  }
  int per_mcu = 0;
  for (const ScanComponent& s : scan.components) {
    const FrameComponent& c = frame.components[static_cast<std::size_t>(s.index)];
    per_mcu += c.h * c.v;
  }
  return per_mcu * frame.McusWide() * frame.McusHigh();
}

}  // namespace codec
