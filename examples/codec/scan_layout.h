// Where the blocks of a scan are: the block grid of each component and the
// order in which a scan visits them, MCU by MCU.
#pragma once

#include <vector>

#include "jpeg_syntax.h"

namespace codec {

// The blocks (or, for lossless, samples) of one component.
struct ComponentGrid {
  int stored_wide = 0, stored_high = 0;  // padded to whole MCUs: what the planes hold
  int coded_wide = 0, coded_high = 0;    // what a single-component scan visits
};

// Grids in 8x8 blocks for DCT frames and in samples for lossless frames.
ComponentGrid GridOf(const Frame& frame, int component);

struct BlockRef {
  int scan_component;  // index into Scan::components
  int row, col;        // in the component's grid
};

// The number of blocks a scan codes, and in each of its MCUs.
int BlocksInScan(const Frame& frame, const Scan& scan);
int BlocksPerMcu(const Frame& frame, const Scan& scan);

// A scan of every component, each with the Huffman tables numbered as its
// quantisation table.
Scan AllComponents(const Frame& frame, int ss, int se, int ah, int al);

// A common successive-approximation script: DC at reduced precision first,
// then the low and high luminance bands and the chroma bands, then
// refinement. DC scans take each component's tables; AC scans code one
// component with tables 0.
std::vector<Scan> ProgressiveScript(const Frame& frame);

// Calls visit(mcu_index, blocks) for the MCUs of MCU row `my` of an
// interleaved scan (or of a grey frame's one 1x1 component) in coding order;
// an MCU holds h x v blocks of each component.
template <class Visit>
void ForEachMcuInRow(const Frame& frame, const Scan& scan, int my, const Visit& visit) {
  std::vector<BlockRef> blocks;
  std::vector<std::pair<int, int>> offset;  // (row, col) of each block inside the MCU
  std::vector<std::pair<int, int>> size;    // (v, h) of its component
  for (int s = 0; s < static_cast<int>(scan.components.size()); ++s) {
    const FrameComponent& c = frame.components[static_cast<std::size_t>(scan.components[static_cast<std::size_t>(s)].index)];
    for (int v = 0; v < c.v; ++v) {
      for (int h = 0; h < c.h; ++h) {
        blocks.push_back({s, 0, 0});
        offset.push_back({v, h});
        size.push_back({c.v, c.h});
      }
    }
  }
  const int wide = frame.McusWide();
  for (int mx = 0; mx < wide; ++mx) {
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      blocks[i].row = my * size[i].first + offset[i].first;
      blocks[i].col = mx * size[i].second + offset[i].second;
    }
    visit(my * wide + mx, blocks);
  }
}

// Calls visit(mcu_index, blocks) for every MCU of the scan in coding order.
// A single-component scan's MCU is one unit of that component's coded grid.
template <class Visit>
void ForEachMcu(const Frame& frame, const Scan& scan, const Visit& visit) {
  if (scan.components.size() == 1) {
    const ComponentGrid grid = GridOf(frame, scan.components[0].index);
    std::vector<BlockRef> blocks(1, BlockRef{0, 0, 0});
    int mcu = 0;
    for (int row = 0; row < grid.coded_high; ++row) {
      for (int col = 0; col < grid.coded_wide; ++col) {
        blocks[0].row = row;
        blocks[0].col = col;
        visit(mcu++, blocks);
      }
    }
    return;
  }
  for (int my = 0; my < frame.McusHigh(); ++my) ForEachMcuInRow(frame, scan, my, visit);
}

}  // namespace codec
