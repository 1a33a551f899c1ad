#include "support/vekj_entropy.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <utility>

#include "library_records.h"
#include "scan_layout.h"
#include "vekj.h"

namespace vek::test {
namespace {

[[noreturn]] [[gnu::noinline]] void Fail(VekStatus st, const char* what) {
  throw std::runtime_error(std::string(what) + " returned " + std::to_string(st));
}

inline void Check(VekStatus st, const char* what) {
  if (st != vekStsOk) [[unlikely]] Fail(st, what);
}

using codec::DecodeState;
using codec::EncodeState;
using codec::MakeDecodeState;
using codec::MakeEncodeState;
using codec::OptimalTable;
using EncodeTable = codec::EncodeSpec;
using DecodeTable = codec::DecodeSpec;

// The tables a scan carries; none where it carries none.
EncodeTable MakeEncodeTable(const std::optional<JpegHuffmanTable>& t) {
  return t ? codec::MakeEncodeSpec(*t) : nullptr;
}

DecodeTable MakeDecodeTable(const std::optional<JpegHuffmanTable>& t) {
  return t ? codec::MakeDecodeSpec(*t) : nullptr;
}

enum class ScanKind { kSequential, kDcFirst, kDcRefine, kAcFirst, kAcRefine };

ScanKind KindOf(const JpegFrame& frame, const JpegScan& scan) {
  if (!frame.Progressive()) return ScanKind::kSequential;
  if (scan.ss == 0) return scan.ah == 0 ? ScanKind::kDcFirst : ScanKind::kDcRefine;
  return scan.ah == 0 ? ScanKind::kAcFirst : ScanKind::kAcRefine;
}

bool UsesDcTables(ScanKind kind) { return kind == ScanKind::kSequential || kind == ScanKind::kDcFirst; }
bool UsesAcTables(ScanKind kind) {
  return kind == ScanKind::kSequential || kind == ScanKind::kAcFirst || kind == ScanKind::kAcRefine;
}

// The tables a scan uses, built once each, and those of each scan component.
template <class Table>
struct ScanTableSet {
  std::array<Table, 4> dc, ac;
  std::vector<const typename Table::element_type*> dcOf, acOf;
};

template <class Table, class Make>
ScanTableSet<Table> ScanTables(const JpegScan& scan, ScanKind kind, const Make& make) {
  ScanTableSet<Table> set;
  for (const codec::ScanComponent& sc : scan.components) {
    const auto d = static_cast<std::size_t>(sc.dc), a = static_cast<std::size_t>(sc.ac);
    if (UsesDcTables(kind) && !set.dc.at(d)) set.dc[d] = make(scan.dc[d]);
    if (UsesAcTables(kind) && !set.ac.at(a)) set.ac[a] = make(scan.ac[a]);
    set.dcOf.push_back(set.dc[d].get());
    set.acOf.push_back(set.ac[a].get());
  }
  return set;
}

// Calls block(scanComponent, coefs) for the blocks of a scan in coding
// order (MCU by MCU when interleaved), and restart(n) before the n-th
// restart interval after the first.
template <class Block, class Restart>
void ForEachBlock(const JpegScan& scan, CoefImage& image, const Block& block, const Restart& restart) {
  const auto component = [&](std::size_t s) -> CoefComponent& {
    return image.components.at(static_cast<std::size_t>(scan.components[s].index));
  };
  int mcu = 0, restarts = 0;
  const auto startMcu = [&] {
    if (scan.restartInterval != 0 && mcu != 0 && mcu % scan.restartInterval == 0) restart(restarts++);
    ++mcu;
  };
  if (scan.components.size() == 1) {
    CoefComponent& comp = component(0);
    for (int by = 0; by < comp.heightInBlocks; ++by) {
      for (int bx = 0; bx < comp.widthInBlocks; ++bx) {
        startMcu();
        block(0, comp.Block(bx, by));
      }
    }
    return;
  }
  // The blocks of one MCU in coding order: scan component and place from
  // that component's MCU origin, which moves on by h blocks per MCU and by v
  // block rows per MCU row.
  struct McuBlock {
    int s;
    std::ptrdiff_t offset;
  };
  std::array<McuBlock, 10> mcuBlocks{};
  std::size_t count = 0;
  std::array<int16_t*, 4> rowOrigin{}, origin{};
  std::array<std::ptrdiff_t, 4> mcuStep{}, mcuRowStep{};
  for (std::size_t s = 0; s < scan.components.size(); ++s) {
    CoefComponent& comp = component(s);
    const std::ptrdiff_t row = std::ptrdiff_t{comp.stride} * 64;
    for (int y = 0; y < comp.v; ++y) {
      for (int x = 0; x < comp.h; ++x) mcuBlocks.at(count++) = {static_cast<int>(s), y * row + x * 64};
    }
    rowOrigin.at(s) = comp.coefs.data();
    mcuStep[s] = comp.h * 64;
    mcuRowStep[s] = comp.v * row;
  }
  const int mcusX = component(0).stride / component(0).h, mcusY = component(0).rows / component(0).v;
  for (int my = 0; my < mcusY; ++my) {
    origin = rowOrigin;
    for (int mx = 0; mx < mcusX; ++mx) {
      startMcu();
      for (std::size_t b = 0; b < count; ++b) block(mcuBlocks[b].s, origin[static_cast<std::size_t>(mcuBlocks[b].s)] + mcuBlocks[b].offset);
      for (std::size_t s = 0; s < 4; ++s) origin[s] += mcuStep[s];
    }
    for (std::size_t s = 0; s < 4; ++s) rowOrigin[s] += mcuRowStep[s];
  }
}

// Where a scan's decoding stands.
struct ScanReader {
  const Vek8u* src;
  int length;
  int pos;
  int marker;
  std::array<Vek16s, 4> lastDc;
  DecodeHuffmanState* state;
};

// Past the next restart marker, unless the decoder already stopped there.
void SkipToRestart(const std::vector<uint8_t>& data, int& pos, int& marker) {
  if (marker == 0) {
    const auto size = static_cast<int>(data.size());
    while (pos + 1 < size && !(data[pos] == 0xFF && data[pos + 1] >= 0xD0 && data[pos + 1] <= 0xD7)) ++pos;
    if (pos + 1 >= size) throw std::runtime_error("restart marker missing");
    pos += 2;
  } else if (marker < 0xD0 || marker > 0xD7) {
    throw std::runtime_error("marker " + std::to_string(marker) + " inside a scan");
  }
  marker = 0;
}

// Decodes every block of the scan with decodeOne(scanComponent, block, read
// position), restarting at each restart interval.
template <class DecodeOne>
void DecodeBlocks(const JpegScan& scan, CoefImage& image, DecodeState& state, const DecodeOne& decodeOne) {
  ScanReader in{scan.data.data(), static_cast<int>(scan.data.size()), 0, 0, {}, state.get()};
  ForEachBlock(
      scan, image, [&](int s, int16_t* block) { Check(decodeOne(s, block, in), "decoding a block"); },
      [&](int) {
        SkipToRestart(scan.data, in.pos, in.marker);
        Check(vekiDecodeHuffmanStateInit_JPEG_8u(state.get()), "DecodeHuffmanStateInit");
        in.lastDc.fill(0);
      });
}

void DecodeScan(const JpegFrame& frame, const JpegScan& scan, CoefImage& image) {
  const ScanKind kind = KindOf(frame, scan);
  const auto tables = ScanTables<DecodeTable>(scan, kind, MakeDecodeTable);
  const DecodeHuffmanSpec* const* const dc = tables.dcOf.data();
  const DecodeHuffmanSpec* const* const ac = tables.acOf.data();
  DecodeState state = MakeDecodeState();
  const int ss = scan.ss, se = scan.se, al = scan.al;
  // The lambdas copy what they pass on: fewer loads per block than through references.
  switch (kind) {
    case ScanKind::kSequential:
      return DecodeBlocks(scan, image, state, [=](int s, int16_t* block, ScanReader& in) {
        return vekiDecodeHuffman8x8_JPEG_1u16s_C1(in.src, in.length, &in.pos, block, &in.lastDc[s], &in.marker, dc[s],
                                                  ac[s], in.state);
      });
    case ScanKind::kDcFirst:
      return DecodeBlocks(scan, image, state, [=](int s, int16_t* block, ScanReader& in) {
        return vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(in.src, in.length, &in.pos, block, &in.lastDc[s],
                                                          &in.marker, al, dc[s], in.state);
      });
    case ScanKind::kDcRefine:
      return DecodeBlocks(scan, image, state, [=](int, int16_t* block, ScanReader& in) {
        return vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(in.src, in.length, &in.pos, block, &in.marker, al,
                                                           in.state);
      });
    case ScanKind::kAcFirst:
      return DecodeBlocks(scan, image, state, [=](int s, int16_t* block, ScanReader& in) {
        return vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(in.src, in.length, &in.pos, block, &in.marker, ss, se, al,
                                                          ac[s], in.state);
      });
    case ScanKind::kAcRefine:
      return DecodeBlocks(scan, image, state, [=](int s, int16_t* block, ScanReader& in) {
        return vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(in.src, in.length, &in.pos, block, &in.marker, ss, se,
                                                           al, ac[s], in.state);
      });
  }
}

// The most bytes a block can take, stuffing included, plus room for flushes.
constexpr std::size_t kBlockBytes = 512;

}  // namespace

CoefImage DecodeWithVekj(const JpegFile& file) {
  CoefImage image = MakeCoefImage(file.frame);
  DecodeWithVekj(file, image);
  return image;
}

void DecodeWithVekj(const JpegFile& file, CoefImage& image) {
  for (const JpegScan& scan : file.scans) DecodeScan(file.frame, scan, image);
}

std::size_t EncodeScanWithVekj(const JpegFrame& frame, const JpegScan& scan, const CoefImage& image,
                               std::vector<uint8_t>& out) {
  const ScanKind kind = KindOf(frame, scan);
  const auto tables = ScanTables<EncodeTable>(scan, kind, MakeEncodeTable);
  const auto& dcOf = tables.dcOf;
  const auto& acOf = tables.acOf;
  EncodeState state = MakeEncodeState();
  std::size_t blocks = 0;
  for (const codec::ScanComponent& sc : scan.components) blocks += image.components.at(static_cast<std::size_t>(sc.index)).coefs.size() / 64;
  if (out.size() < (blocks + 16) * kBlockBytes) out.resize((blocks + 16) * kBlockBytes);
  const int length = static_cast<int>(std::min<std::size_t>(out.size(), 0x7FFFFFFF));
  int pos = 0;
  std::array<Vek16s, 4> lastDc{};
  // Codes every block with code(scanComponent, block, flush), then flushes;
  // one instance per kind of scan, so that the block loop does not branch on it.
  const auto codeScan = [&](const auto& code) {
    ForEachBlock(
        scan, const_cast<CoefImage&>(image), [&](int s, const int16_t* block) { Check(code(s, block, 0), "EncodeHuffman8x8"); },
        [&](int n) {
          Check(code(0, nullptr, 1), "flush");
          out[pos++] = 0xFF;
          out[pos++] = static_cast<Vek8u>(0xD0 + n % 8);
          lastDc.fill(0);
        });
    Check(code(0, nullptr, 1), "flush");
  };
  // The lambdas copy what they pass on: fewer loads per block than through references.
  Vek8u* const dst = out.data();
  Vek16s* const last = lastDc.data();
  const EncodeHuffmanSpec* const* const dcs = dcOf.data();
  const EncodeHuffmanSpec* const* const acs = acOf.data();
  EncodeHuffmanState* const st = state.get();
  int* const at = &pos;
  const int ss = scan.ss, se = scan.se, al = scan.al;
  switch (kind) {
    case ScanKind::kSequential:
      codeScan([=](int s, const int16_t* block, int flush) {
        return vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, dst, length, at, last + s, dcs[s], acs[s], st, flush);
      });
      break;
    case ScanKind::kDcFirst:
      codeScan([=](int s, const int16_t* block, int flush) {
        return vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, length, at, last + s, al, dcs[s], st, flush);
      });
      break;
    case ScanKind::kDcRefine:
      codeScan([=](int, const int16_t* block, int flush) {
        return vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, dst, length, at, al, st, flush);
      });
      break;
    case ScanKind::kAcFirst:
      codeScan([=](int s, const int16_t* block, int flush) {
        return vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, dst, length, at, ss, se, al, acs[s], st, flush);
      });
      break;
    case ScanKind::kAcRefine:
      codeScan([=](int s, const int16_t* block, int flush) {
        return vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, dst, length, at, ss, se, al, acs[s], st, flush);
      });
      break;
  }
  return static_cast<std::size_t>(pos);
}

std::vector<uint8_t> EncodeScanWithVekj(const JpegFrame& frame, const JpegScan& scan, const CoefImage& image) {
  std::vector<uint8_t> out;
  out.resize(EncodeScanWithVekj(frame, scan, image, out));
  return out;
}

void SetOptimalTables(const JpegFrame& frame, JpegScan& scan, const CoefImage& image) {
  const ScanKind kind = KindOf(frame, scan);
  if (kind == ScanKind::kDcRefine) return;
  std::array<std::array<Vek32u, 256>, 4> dcCounts{}, acCounts{};
  EncodeState state = MakeEncodeState();
  std::array<Vek16s, 4> lastDc{};
  const auto count = [&](int s, const int16_t* block, int flush) {
    const codec::ScanComponent& sc = scan.components[s];
    Vek32u* dcs = dcCounts[sc.dc].data();
    Vek32u* acs = acCounts[sc.ac].data();
    switch (kind) {
      case ScanKind::kSequential:
        return flush ? vekStsOk : vekiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dcs, acs, &lastDc[s]);
      case ScanKind::kDcFirst:
        return flush ? vekStsOk : vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, dcs, &lastDc[s], scan.al);
      case ScanKind::kAcFirst:
        return vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, acs, scan.ss, scan.se, scan.al, state.get(), flush);
      default:
        return vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, acs, scan.ss, scan.se, scan.al, state.get(), flush);
    }
  };
  ForEachBlock(
      scan, const_cast<CoefImage&>(image), [&](int s, const int16_t* block) { Check(count(s, block, 0), "GetHuffmanStatistics8x8"); },
      [&](int) {
        Check(count(0, nullptr, 1), "statistics flush");
        lastDc.fill(0);
      });
  Check(count(0, nullptr, 1), "statistics flush");
  for (const codec::ScanComponent& sc : scan.components) {
    if (UsesDcTables(kind)) scan.dc[sc.dc] = OptimalTable(dcCounts[sc.dc]);
    if (UsesAcTables(kind)) scan.ac[sc.ac] = OptimalTable(acCounts[sc.ac]);
  }
}

JpegFrame MakeFrame(int width, int height, int components, bool subsample420) {
  JpegFrame frame;
  frame.width = width;
  frame.height = height;
  for (int c = 0; c < components; ++c) {
    const int factor = c == 0 && subsample420 ? 2 : 1;
    frame.components.push_back({c + 1, factor, factor, 0});
  }
  return frame;
}

namespace {

// One sequential scan of every component: tables 0 for the first, 1 for the others.
JpegScan SequentialScan(const JpegFrame& frame) {
  JpegScan scan;
  for (int c = 0; c < static_cast<int>(frame.components.size()); ++c) {
    scan.components.push_back({c, c == 0 ? 0 : 1, c == 0 ? 0 : 1});
  }
  return scan;
}

void WriteScanTables(JpegWriter& writer, const JpegFrame& frame, const JpegScan& scan) {
  const ScanKind kind = KindOf(frame, scan);
  std::array<bool, 4> dcDone{}, acDone{};
  for (const codec::ScanComponent& sc : scan.components) {
    const auto d = static_cast<std::size_t>(sc.dc), a = static_cast<std::size_t>(sc.ac);
    if (UsesDcTables(kind) && !dcDone[d]) writer.HuffmanTable(0, sc.dc, *scan.dc[d]);
    if (UsesAcTables(kind) && !acDone[a]) writer.HuffmanTable(1, sc.ac, *scan.ac[a]);
    dcDone[d] = acDone[a] = true;
  }
}

}  // namespace

std::vector<uint8_t> EncodeFileWithVekj(const JpegFrame& baseFrame, const CoefImage& image,
                                        const EncodeOptions& options) {
  JpegFrame frame = baseFrame;
  frame.sof = options.progressive ? codec::kSof2 : codec::kSof0;
  JpegWriter writer;
  std::array<uint16_t, 64> unit;
  unit.fill(1);
  writer.QuantTable(0, unit);
  writer.Frame(frame);
  if (options.restartInterval > 0) writer.RestartInterval(options.restartInterval);
  std::vector<JpegScan> scans;
  if (options.progressive) {
    for (const codec::Scan& scan : codec::ProgressiveScript(frame)) scans.push_back({scan, 0, {}, {}, {}});
  } else {
    scans.push_back(SequentialScan(frame));
  }
  for (JpegScan& scan : scans) {
    scan.restartInterval = options.restartInterval;
    scan.dc = {codec::kLuminanceDc, codec::kChrominanceDc, std::nullopt, std::nullopt};
    scan.ac = {codec::kLuminanceAc, codec::kChrominanceAc, std::nullopt, std::nullopt};
    if (options.progressive || options.optimalTables) SetOptimalTables(frame, scan, image);
    scan.data = EncodeScanWithVekj(frame, scan, image);
    WriteScanTables(writer, frame, scan);
    writer.Scan(frame, scan);
  }
  return writer.Finish();
}

// ---- Lossless ----

namespace {

// The difference rows of row r of every plane.
std::vector<std::vector<int16_t>> DifferenceRows(const LosslessImage& image, int r) {
  std::vector<std::vector<int16_t>> rows;
  const auto w = static_cast<std::size_t>(image.width);
  for (const auto& plane : image.planes) {
    std::vector<int16_t> diff(w);
    const int16_t* row = plane.data() + static_cast<std::size_t>(r) * w;
    if (r == 0) {
      Check(vekiDiffPredFirstRow_JPEG_16s_C1(row, diff.data(), image.width, image.precision, image.pointTransform),
            "DiffPredFirstRow");
    } else {
      Check(vekiDiffPredRow_JPEG_16s_C1(row, row - w, diff.data(), image.width, image.predictor), "DiffPredRow");
    }
    rows.push_back(std::move(diff));
  }
  return rows;
}

}  // namespace

std::vector<uint8_t> EncodeLosslessWithVekj(const LosslessImage& image) {
  const int n = static_cast<int>(image.planes.size());
  JpegFrame frame;
  frame.sof = codec::kSof3;
  frame.precision = image.precision;
  frame.width = image.width;
  frame.height = image.height;
  JpegScan scan;
  std::array<std::array<Vek32u, 256>, 4> counts{};
  for (int c = 0; c < n; ++c) {
    frame.components.push_back({c + 1, 1, 1, 0});
    scan.components.push_back({c, c, 0});
  }
  scan.ss = image.predictor;
  scan.se = 0;
  scan.al = image.pointTransform;
  for (int r = 0; r < image.height; ++r) {
    const auto rows = DifferenceRows(image, r);
    for (int c = 0; c < n; ++c) {
      for (int16_t d : rows[c]) {
        Check(vekiGetHuffmanStatisticsOne_JPEG_16s_C1(&d, counts[c].data()), "StatisticsOne");
      }
    }
  }
  std::array<EncodeTable, 4> tables;
  std::array<const EncodeHuffmanSpec*, 4> tablePtrs{};
  for (int c = 0; c < n; ++c) {
    const JpegHuffmanTable t = OptimalTable(counts[c]);
    scan.dc[c] = t;
    tables[c] = MakeEncodeTable(t);
    tablePtrs[c] = tables[c].get();
  }
  EncodeState state = MakeEncodeState();
  std::vector<Vek8u> out(static_cast<std::size_t>(image.width) * image.height * n * 8 + 64);
  int pos = 0;
  for (int r = 0; r < image.height; ++r) {
    const auto rows = DifferenceRows(image, r);
    std::array<const Vek16s*, 4> rowPtrs{};
    for (int c = 0; c < n; ++c) rowPtrs[c] = rows[c].data();
    Check(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(rowPtrs.data(), image.width, n, out.data(), static_cast<int>(out.size()),
                                               &pos, tablePtrs.data(), state.get(), 0),
          "EncodeHuffmanRow");
  }
  Check(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, out.data(), static_cast<int>(out.size()), &pos, nullptr,
                                             state.get(), 1),
        "EncodeHuffmanRow flush");
  scan.data.assign(out.begin(), out.begin() + pos);
  JpegWriter writer;
  if (n == 3) writer.AdobeNoColourTransform();
  writer.Frame(frame);
  for (int c = 0; c < n; ++c) writer.HuffmanTable(0, c, *scan.dc[c]);
  writer.Scan(frame, scan);
  return writer.Finish();
}

LosslessImage DecodeLosslessWithVekj(const JpegFile& file) {
  const JpegScan& scan = file.scans.at(0);
  LosslessImage image{file.frame.width, file.frame.height, file.frame.precision, scan.al, scan.ss, {}};
  const auto n = scan.components.size();
  const auto w = static_cast<std::size_t>(image.width);
  std::array<DecodeTable, 4> tables;
  std::array<const DecodeHuffmanSpec*, 4> tablePtrs{};
  for (std::size_t c = 0; c < n; ++c) {
    tables[c] = MakeDecodeTable(scan.dc[scan.components[c].dc]);
    tablePtrs[c] = tables[c].get();
    image.planes.emplace_back(w * static_cast<std::size_t>(image.height));
  }
  DecodeState state = MakeDecodeState();
  int pos = 0, marker = 0;
  std::vector<std::vector<int16_t>> diffs(n, std::vector<int16_t>(w));
  for (int r = 0; r < image.height; ++r) {
    std::array<Vek16s*, 4> diffPtrs{};
    for (std::size_t c = 0; c < n; ++c) diffPtrs[c] = diffs[c].data();
    Check(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(scan.data.data(), static_cast<int>(scan.data.size()), &pos,
                                               diffPtrs.data(), image.width, static_cast<int>(n), &marker,
                                               tablePtrs.data(), state.get()),
          "DecodeHuffmanRow");
    for (std::size_t c = 0; c < n; ++c) {
      int16_t* row = image.planes[c].data() + static_cast<std::size_t>(r) * w;
      if (r == 0) {
        Check(vekiReconstructPredFirstRow_JPEG_16s_C1(diffs[c].data(), row, image.width, image.precision,
                                                      image.pointTransform),
              "ReconstructPredFirstRow");
      } else {
        Check(vekiReconstructPredRow_JPEG_16s_C1(diffs[c].data(), row - w, row, image.width, image.predictor),
              "ReconstructPredRow");
      }
    }
  }
  return image;
}

}  // namespace vek::test
