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

int BlocksPerMcu(const Frame& frame, const Scan& scan) {
  if (scan.components.size() == 1) return 1;
  int blocks = 0;
  for (const ScanComponent& s : scan.components) {
    const FrameComponent& c = frame.components[static_cast<std::size_t>(s.index)];
    blocks += c.h * c.v;
  }
  return blocks;
}

int BlocksInScan(const Frame& frame, const Scan& scan) {
  if (scan.components.size() == 1) {
    const ComponentGrid grid = GridOf(frame, scan.components[0].index);
    return grid.coded_wide * grid.coded_high;
  }
  return BlocksPerMcu(frame, scan) * frame.McusWide() * frame.McusHigh();
}

Scan AllComponents(const Frame& frame, int ss, int se, int ah, int al) {
  Scan scan{{}, ss, se, ah, al};
  for (int c = 0; c < static_cast<int>(frame.components.size()); ++c) {
    const int t = frame.components[static_cast<std::size_t>(c)].tq;
    scan.components.push_back({c, t, t});
  }
  return scan;
}

std::vector<Scan> ProgressiveScript(const Frame& frame) {
  std::vector<Scan> script = {AllComponents(frame, 0, 0, 0, 1)};
  const auto band = [](int c, int ss, int se, int ah, int al) { return Scan{{{c, 0, 0}}, ss, se, ah, al}; };
  const bool colour = frame.components.size() == 3;
  script.push_back(band(0, 1, 5, 0, 2));
  if (colour) {
    script.push_back(band(2, 1, 63, 0, 1));
    script.push_back(band(1, 1, 63, 0, 1));
  }
  script.push_back(band(0, 6, 63, 0, 2));
  script.push_back(band(0, 1, 63, 2, 1));
  script.push_back(AllComponents(frame, 0, 0, 1, 0));
  if (colour) {
    script.push_back(band(2, 1, 63, 1, 0));
    script.push_back(band(1, 1, 63, 1, 0));
  }
  script.push_back(band(0, 1, 63, 1, 0));
  return script;
}

}  // namespace codec
