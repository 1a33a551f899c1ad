// The encoder: colour conversion and chroma subsampling, DCT and
// quantisation, Huffman coding, all through the library; markers here.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "codec.h"
#include "jpeg_syntax.h"
#include "library_records.h"
#include "scan_layout.h"
#include "vekj.h"

namespace codec {
namespace {

constexpr int kLuma = 0, kChroma = 1;  // quantisation and Huffman table numbers

Frame MakeFrame(const Image& image, const EncodeOptions& o) {
  Frame frame;
  frame.sof = o.mode == Mode::kProgressive ? kSof2 : o.mode == Mode::kLossless ? kSof3 : kSof0;
  frame.precision = o.mode == Mode::kLossless ? o.precision : 8;
  frame.width = image.width;
  frame.height = image.height;
  const bool lossless = o.mode == Mode::kLossless;
  const int h = lossless || o.subsampling == Subsampling::k444 ? 1 : 2;
  const int v = lossless || o.subsampling != Subsampling::k420 ? 1 : 2;
  if (image.channels == 1) {
    frame.components = {{1, 1, 1, kLuma}};
  } else {
    frame.components = {{1, h, v, kLuma}, {2, 1, 1, kChroma}, {3, 1, 1, kChroma}};
  }
  return frame;
}

// Rows y0 .. y0 + high - 1 of the picture, `wide` pixels each, with its
// last column and row repeated past its edges.
Image PadRows(const Image& image, int wide, int y0, int high) {
  Image padded{wide, high, image.channels, Pixels(static_cast<std::size_t>(wide) * high * image.channels)};
  const std::size_t px = static_cast<std::size_t>(image.channels);
  for (int y = 0; y < high; ++y) {
    const uint8_t* src = image.pixels.data() + static_cast<std::size_t>(std::min(y0 + y, image.height - 1)) * image.width * px;
    uint8_t* dst = padded.pixels.data() + static_cast<std::size_t>(y) * wide * px;
    std::memcpy(dst, src, image.width * px);
    for (int x = image.width; x < wide; ++x) std::memcpy(dst + x * px, src + (image.width - 1) * px, px);
  }
  return padded;
}

// Y, Cb and Cr planes of `count` MCU rows from MCU row `first` on, chroma
// already subsampled; whole MCUs, the picture's edges repeated.
std::vector<Plane> ConvertRows(const Image& image, const Frame& frame, int first, int count) {
  const int wide = frame.McusWide() * 8 * frame.MaxH(), mcu_high = 8 * frame.MaxV();
  const int y0 = first * mcu_high, high = count * mcu_high;
  const std::size_t row_bytes = static_cast<std::size_t>(wide) * image.channels;
  Image copy;
  const bool inside = image.width == wide && y0 + high <= image.height;
  if (!inside) copy = PadRows(image, wide, y0, high);
  const uint8_t* src = inside ? image.pixels.data() + static_cast<std::size_t>(y0) * row_bytes : copy.pixels.data();
  std::vector<Plane> planes;
  for (const FrameComponent& c : frame.components) {
    planes.emplace_back(wide * c.h / frame.MaxH(), high * c.v / frame.MaxV());
  }
  if (image.channels == 1) {
    std::memcpy(planes[0].Row(0), src, row_bytes * static_cast<std::size_t>(high));
    return planes;
  }
  const VekiRoiSize roi = {wide, high};
  Vek8u* dst[3] = {planes[0].Row(0), planes[1].Row(0), planes[2].Row(0)};
  const int src_step = static_cast<int>(row_bytes);
  if (frame.MaxH() == 1) {
    Check(vekiRGBToYCbCr_JPEG_8u_C3P3R(src, src_step, dst, wide, roi), "colour conversion");
    return planes;
  }
  int steps[3] = {planes[0].width, planes[1].width, planes[2].width};
  Check(frame.MaxV() == 2 ? vekiRGBToYCbCr411_JPEG_8u_C3P3R(src, src_step, dst, steps, roi)
                          : vekiRGBToYCbCr422_JPEG_8u_C3P3R(src, src_step, dst, steps, roi),
        "colour conversion with chroma subsampling");
  return planes;
}

struct QuantTables {
  std::array<std::array<uint8_t, 64>, 2> zigzag;  // scaled, as written to DQT
  std::array<std::array<Vek16u, 64>, 2> forward;
};

QuantTables MakeQuantTables(int quality) {
  QuantTables q{{ToZigzag(kLuminanceQuant), ToZigzag(kChrominanceQuant)}, {}};
  for (int t = 0; t < 2; ++t) {
    Check(vekiQuantFwdRawTableInit_JPEG_8u(q.zigzag[t].data(), quality), "scaling a quantisation table");
    Check(vekiQuantFwdTableInit_JPEG_8u16u(q.zigzag[t].data(), q.forward[t].data()), "building a quantisation table");
  }
  return q;
}

std::vector<Coefficients> Transform(const std::vector<Plane>& planes, const Frame& frame, const QuantTables& q) {
  std::vector<Coefficients> coefs;
  for (std::size_t c = 0; c < planes.size(); ++c) {
    Coefficients k(planes[c].width / 8, planes[c].height / 8, Coefficients::kUninitialised);
    const Vek16u* table = q.forward[static_cast<std::size_t>(frame.components[c].tq)].data();
    for (int by = 0; by < k.blocks_high; ++by) {
      for (int bx = 0; bx < k.blocks_wide; ++bx) {
        Check(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(planes[c].Row(by * 8) + bx * 8, planes[c].width, k.Block(by, bx), table),
              "forward DCT");
      }
    }
    coefs.push_back(std::move(k));
  }
  return coefs;
}

// ---- Entropy-coded segments ----------------------------------------------

// Entropy-coded bytes go through a buffer of bounded size, emptied into the
// output whenever less room is left than one unit (an MCU, or a lossless
// row) can need, so that no call allocates for the worst case of a whole scan.
class SegmentBuffer {
 public:
  SegmentBuffer(std::vector<uint8_t>& out, std::size_t unit_bytes)
      : out_(out), unit_(unit_bytes + 16), capacity_(std::max<std::size_t>(std::size_t{1} << 16, 4 * unit_)),
        buffer_(new Vek8u[capacity_]) {
    if (capacity_ > 0x7FFFFFF0) throw std::runtime_error("picture too wide for the entropy coder's buffer");
  }
  // Room for one more unit, by emptying the buffer if needed.
  void Reserve() {
    if (capacity_ - static_cast<std::size_t>(pos_) >= unit_) return;
    Finish();
  }
  // Appends what the buffer holds to the output.
  void Finish() {
    out_.insert(out_.end(), buffer_.get(), buffer_.get() + pos_);
    pos_ = 0;
  }
  // Restart marker RSTn (after the caller has flushed the coder).
  void Restart(int n) {
    buffer_[static_cast<std::size_t>(pos_++)] = 0xFF;
    buffer_[static_cast<std::size_t>(pos_++)] = static_cast<Vek8u>(kRst0 + n % 8);
  }
  Vek8u* data() { return buffer_.get(); }
  int length() const { return static_cast<int>(capacity_); }
  int* pos() { return &pos_; }

 private:
  std::vector<uint8_t>& out_;
  std::size_t unit_, capacity_;
  std::unique_ptr<Vek8u[]> buffer_;
  int pos_ = 0;
};

// The most bytes one block can take: 16-bit codes and up to 11 extra bits
// for DC and each of 63 AC values, every byte possibly stuffed.
constexpr std::size_t kBlockBytes = 2 * (16 + 11 + 63 * (16 + 10) + 7) / 8;

// Codes MCU after MCU into one entropy-coded segment through
// code(block ref, block, dst, length, pos, flush), which codes one block into
// dst at *pos or, when flush is set, flushes; a restart marker every
// `interval` MCUs (calling restart() after each) and a flush at the end.
template <class Code, class Restart>
class McuCoder {
 public:
  McuCoder(std::vector<uint8_t>& out, int blocks_per_mcu, int interval, const Code& code, const Restart& restart)
      : segment_(out, static_cast<std::size_t>(blocks_per_mcu) * kBlockBytes), interval_(interval), code_(code),
        restart_(restart) {}

  // MCU `index`, its blocks' coefficients found by block_at(block ref).
  template <class BlockAt>
  void Mcu(int index, const std::vector<BlockRef>& mcu, const BlockAt& block_at) {
    segment_.Reserve();
    if (interval_ > 0 && index > 0 && index % interval_ == 0) {
      Flush("flushing before a restart marker");
      segment_.Restart(index / interval_ - 1);
      restart_();
    }
    for (const BlockRef& b : mcu) {
      Check(code_(&b, block_at(b), segment_.data(), segment_.length(), segment_.pos(), 0), "Huffman encoding");
    }
  }

  void Finish() {
    segment_.Reserve();
    Flush("flushing the last bits");
    segment_.Finish();
  }

 private:
  void Flush(const char* what) { Check(code_(nullptr, nullptr, segment_.data(), segment_.length(), segment_.pos(), 1), what); }

  SegmentBuffer segment_;
  int interval_;
  const Code& code_;
  const Restart& restart_;
};

// A whole scan over the picture's coefficients.
template <class Restart, class Code>
void CodeScan(const Frame& frame, const Scan& scan, std::vector<Coefficients>& coefs, int interval,
              const Restart& restart, const Code& code, std::vector<uint8_t>& out) {
  McuCoder coder(out, BlocksPerMcu(frame, scan), interval, code, restart);
  ForEachMcu(frame, scan, [&](int index, const std::vector<BlockRef>& mcu) {
    coder.Mcu(index, mcu, [&](const BlockRef& b) {
      return coefs[static_cast<std::size_t>(scan.components[static_cast<std::size_t>(b.scan_component)].index)].Block(b.row, b.col);
    });
  });
  coder.Finish();
}

using Counts = std::array<Vek32u, 256>;

bool AnyCounted(const Counts& counts) {
  return std::any_of(counts.begin(), counts.end(), [](Vek32u n) { return n > 0; });
}

struct ScanTables {
  std::array<HuffmanTable, 2> dc, ac;  // by table number
};

// ---- Baseline ------------------------------------------------------------

ScanTables StandardTables() { return {{kLuminanceDc, kChrominanceDc}, {kLuminanceAc, kChrominanceAc}}; }

ScanTables BaselineStatistics(const Frame& frame, const Scan& scan, std::vector<Coefficients>& coefs, int interval) {
  std::array<Counts, 2> dc{}, ac{};
  std::array<Vek16s, 4> last_dc{};
  ForEachMcu(frame, scan, [&](int index, const std::vector<BlockRef>& mcu) {
    if (interval > 0 && index > 0 && index % interval == 0) last_dc.fill(0);
    for (const BlockRef& b : mcu) {
      const ScanComponent& sc = scan.components[static_cast<std::size_t>(b.scan_component)];
      Check(vekiGetHuffmanStatistics8x8_JPEG_16s_C1(coefs[static_cast<std::size_t>(sc.index)].Block(b.row, b.col),
                                                    dc[static_cast<std::size_t>(sc.dc)].data(), ac[static_cast<std::size_t>(sc.ac)].data(),
                                                    &last_dc[static_cast<std::size_t>(b.scan_component)]),
            "gathering statistics");
    }
  });
  ScanTables t;
  for (std::size_t i = 0; i < 2; ++i) {
    if (AnyCounted(dc[i])) t.dc[i] = OptimalTable(dc[i]);
    if (AnyCounted(ac[i])) t.ac[i] = OptimalTable(ac[i]);
  }
  return t;
}

void WriteTables(JpegWriter& w, const ScanTables& t, bool dc, bool ac) {
  for (int i = 0; i < 2; ++i) {
    if (dc && !t.dc[static_cast<std::size_t>(i)].values.empty()) w.Dht(0, i, t.dc[static_cast<std::size_t>(i)]);
    if (ac && !t.ac[static_cast<std::size_t>(i)].values.empty()) w.Dht(1, i, t.ac[static_cast<std::size_t>(i)]);
  }
}

// Baseline: one interleaved scan. With the standard tables each MCU row
// goes through colour conversion, DCT and Huffman coding before the next, in
// buffers of one MCU row; optimal tables need every block's statistics
// first, so the whole picture is transformed once.
void EncodeBaseline(const Image& image, const Frame& frame, const QuantTables& q, const EncodeOptions& o, JpegWriter& w,
                    std::vector<uint8_t>& out) {
  const Scan scan = AllComponents(frame, 0, 63, 0, 0);
  std::vector<Coefficients> all;
  ScanTables tables = StandardTables();
  if (o.optimize) {
    all = Transform(ConvertRows(image, frame, 0, frame.McusHigh()), frame, q);
    tables = BaselineStatistics(frame, scan, all, o.restart_interval);
  }
  WriteTables(w, tables, true, true);
  w.Sos(frame, scan);
  std::array<EncodeSpec, 2> dc, ac;
  for (std::size_t i = 0; i < 2; ++i) {
    if (!tables.dc[i].values.empty()) dc[i] = MakeEncodeSpec(tables.dc[i]);
    if (!tables.ac[i].values.empty()) ac[i] = MakeEncodeSpec(tables.ac[i]);
  }
  EncodeState state = MakeEncodeState();
  std::array<Vek16s, 4> last_dc{};
  const auto restart = [&] { last_dc.fill(0); };
  const auto code = [&](const BlockRef* b, const int16_t* block, Vek8u* dst, int length, int* pos, int flush) {
    if (flush) return vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, dst, length, pos, nullptr, nullptr, nullptr, state.get(), 1);
    const ScanComponent& sc = scan.components[static_cast<std::size_t>(b->scan_component)];
    return vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, dst, length, pos, &last_dc[static_cast<std::size_t>(b->scan_component)],
                                             dc[static_cast<std::size_t>(sc.dc)].get(), ac[static_cast<std::size_t>(sc.ac)].get(),
                                             state.get(), 0);
  };
  McuCoder coder(out, BlocksPerMcu(frame, scan), o.restart_interval, code, restart);
  for (int my = 0; my < frame.McusHigh(); ++my) {
    std::vector<Coefficients> row;
    if (!o.optimize) row = Transform(ConvertRows(image, frame, my, 1), frame, q);
    std::vector<Coefficients>& coefs = o.optimize ? all : row;
    const int first = o.optimize ? 0 : my;  // the MCU row that block row 0 of `coefs` belongs to
    ForEachMcuInRow(frame, scan, my, [&](int index, const std::vector<BlockRef>& mcu) {
      coder.Mcu(index, mcu, [&](const BlockRef& b) {
        const auto c = static_cast<std::size_t>(scan.components[static_cast<std::size_t>(b.scan_component)].index);
        return coefs[c].Block(b.row - first * frame.components[c].v, b.col);
      });
    });
  }
  coder.Finish();
}

// ---- Progressive -----------------------------------------------------------

void EncodeProgressiveScan(const Frame& frame, const Scan& scan, std::vector<Coefficients>& coefs,
                           const EncodeOptions& o, JpegWriter& w, std::vector<uint8_t>& out) {
  const int interval = o.restart_interval;
  EncodeState state = MakeEncodeState();
  std::array<Vek16s, 4> last_dc{};
  const bool dc_scan = scan.ss == 0;
  if (dc_scan && scan.ah > 0) {  // DC refinement: one raw bit per block, no table
    w.Sos(frame, scan);
    CodeScan(frame, scan, coefs, interval, [] {},
             [&](const BlockRef*, const int16_t* block, Vek8u* dst, int length, int* pos, int flush) {
               return vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, dst, length, pos, scan.al, state.get(), flush);
             },
             out);
    return;
  }
  // First pass: statistics for this scan's optimal tables. The AC counters
  // keep the end-of-band run in `state`, closed at each restart and at the end.
  std::array<Counts, 2> counts{};
  const auto close_ac_run = [&] {
    const VekStatus st = scan.ah == 0
        ? vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, counts[0].data(), scan.ss, scan.se, scan.al, state.get(), 1)
        : vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, counts[0].data(), scan.ss, scan.se, scan.al, state.get(), 1);
    Check(st, "closing AC statistics");
  };
  ForEachMcu(frame, scan, [&](int index, const std::vector<BlockRef>& mcu) {
    if (interval > 0 && index > 0 && index % interval == 0) {
      last_dc.fill(0);
      if (!dc_scan) close_ac_run();
    }
    for (const BlockRef& b : mcu) {
      const ScanComponent& sc = scan.components[static_cast<std::size_t>(b.scan_component)];
      int16_t* block = coefs[static_cast<std::size_t>(sc.index)].Block(b.row, b.col);
      if (dc_scan) {
        Check(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counts[static_cast<std::size_t>(sc.dc)].data(),
                                                             &last_dc[static_cast<std::size_t>(b.scan_component)], scan.al),
              "gathering DC statistics");
      } else if (scan.ah == 0) {
        Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counts[0].data(), scan.ss, scan.se, scan.al, state.get(), 0),
              "gathering AC statistics");
      } else {
        Check(vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, counts[0].data(), scan.ss, scan.se, scan.al, state.get(), 0),
              "gathering AC refinement statistics");
      }
    }
  });
  if (!dc_scan) close_ac_run();
  ScanTables tables;
  std::array<EncodeSpec, 2> specs;
  for (std::size_t i = 0; i < 2; ++i) {
    if (!AnyCounted(counts[i])) continue;
    (dc_scan ? tables.dc : tables.ac)[i] = OptimalTable(counts[i]);
    specs[i] = MakeEncodeSpec((dc_scan ? tables.dc : tables.ac)[i]);
  }
  WriteTables(w, tables, dc_scan, !dc_scan);
  w.Sos(frame, scan);
  Check(vekiEncodeHuffmanStateInit_JPEG_8u(state.get()), "resetting the encoder state");
  last_dc.fill(0);
  CodeScan(frame, scan, coefs, interval, [&] { last_dc.fill(0); },
           [&](const BlockRef* b, const int16_t* block, Vek8u* dst, int length, int* pos, int flush) {
             if (dc_scan) {
               Vek16s* last = b ? &last_dc[static_cast<std::size_t>(b->scan_component)] : nullptr;
               const EncodeHuffmanSpec* table =
                   b ? specs[static_cast<std::size_t>(scan.components[static_cast<std::size_t>(b->scan_component)].dc)].get() : nullptr;
               return vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, length, pos, last, scan.al, table, state.get(), flush);
             }
             if (scan.ah == 0) {
               return vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, dst, length, pos, scan.ss, scan.se, scan.al,
                                                                specs[0].get(), state.get(), flush);
             }
             return vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, dst, length, pos, scan.ss, scan.se, scan.al,
                                                               specs[0].get(), state.get(), flush);
           },
           out);
}

// ---- Lossless --------------------------------------------------------------

// 8-bit samples brought to the frame's precision.
std::vector<std::vector<int16_t>> LosslessSamples(const Image& image, int precision) {
  std::vector<std::vector<int16_t>> planes(static_cast<std::size_t>(image.channels),
                                           std::vector<int16_t>(static_cast<std::size_t>(image.width) * image.height));
  for (std::size_t i = 0; i < planes[0].size(); ++i) {
    for (std::size_t c = 0; c < planes.size(); ++c) {
      const int x = image.pixels[i * planes.size() + c];
      planes[c][i] = static_cast<int16_t>(static_cast<uint16_t>(precision >= 8 ? x << (precision - 8) : x >> (8 - precision)));
    }
  }
  return planes;
}

void EncodeLossless(const Image& image, const EncodeOptions& o, const Frame& frame, JpegWriter& w, std::vector<uint8_t>& out) {
  const int width = image.width, n = image.channels;
  if (o.restart_interval % width != 0) throw std::invalid_argument("lossless restart interval must be a multiple of the width");
  const int rows_per_interval = o.restart_interval / width;
  const auto samples = LosslessSamples(image, o.precision);
  // Differences of every row, then their statistics and one table per component.
  std::vector<std::vector<int16_t>> diffs(samples.size(), std::vector<int16_t>(samples[0].size()));
  std::array<Counts, 4> counts{};
  for (std::size_t c = 0; c < samples.size(); ++c) {
    for (int r = 0; r < image.height; ++r) {
      const int16_t* row = samples[c].data() + static_cast<std::ptrdiff_t>(r) * width;
      int16_t* diff = diffs[c].data() + static_cast<std::ptrdiff_t>(r) * width;
      const bool first = r == 0 || (rows_per_interval > 0 && r % rows_per_interval == 0);
      Check(first ? vekiDiffPredFirstRow_JPEG_16s_C1(row, diff, width, o.precision, 0)
                  : vekiDiffPredRow_JPEG_16s_C1(row, row - width, diff, width, o.predictor),
            "lossless prediction");
      for (int x = 0; x < width; ++x) Check(vekiGetHuffmanStatisticsOne_JPEG_16s_C1(diff + x, counts[c].data()), "gathering statistics");
    }
  }
  Scan scan{{}, o.predictor, 0, 0, 0};
  std::array<EncodeSpec, 4> specs;
  const EncodeHuffmanSpec* tables[4] = {};
  for (int c = 0; c < n; ++c) {
    const HuffmanTable table = OptimalTable(counts[static_cast<std::size_t>(c)]);
    w.Dht(0, c, table);
    specs[static_cast<std::size_t>(c)] = MakeEncodeSpec(table);
    tables[c] = specs[static_cast<std::size_t>(c)].get();
    scan.components.push_back({c, c, 0});
  }
  w.Sos(frame, scan);
  // A row of samples takes at most a 16-bit code and 16 extra bits each, stuffed.
  SegmentBuffer segment(out, static_cast<std::size_t>(width) * n * 8);
  EncodeState state = MakeEncodeState();
  const auto flush = [&] {
    Check(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, width, n, segment.data(), segment.length(), segment.pos(), nullptr,
                                               state.get(), 1),
          "flushing");
  };
  for (int r = 0; r < image.height; ++r) {
    segment.Reserve();
    if (rows_per_interval > 0 && r > 0 && r % rows_per_interval == 0) {
      flush();
      segment.Restart(r / rows_per_interval - 1);
    }
    const Vek16s* rows[4] = {};
    for (int c = 0; c < n; ++c) rows[c] = diffs[static_cast<std::size_t>(c)].data() + static_cast<std::ptrdiff_t>(r) * width;
    Check(vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(rows, width, n, segment.data(), segment.length(), segment.pos(), tables,
                                               state.get(), 0),
          "lossless Huffman encoding");
  }
  segment.Reserve();
  flush();
  segment.Finish();
}

void ValidateOptions(const Image& image, const EncodeOptions& o) {
  if (image.width < 1 || image.height < 1 || image.width > 65535 || image.height > 65535) {
    throw std::invalid_argument("picture size must be 1 to 65535 on each side");
  }
  if (image.channels != 1 && image.channels != 3) throw std::invalid_argument("only grey and RGB pictures are supported");
  if (o.quality < 1 || o.quality > 100) throw std::invalid_argument("quality must be 1 to 100");
  if (o.restart_interval < 0 || o.restart_interval > 65535) throw std::invalid_argument("restart interval must be 0 to 65535");
  if (o.predictor < 1 || o.predictor > 7) throw std::invalid_argument("predictor must be 1 to 7");
  if (o.precision < 2 || o.precision > 16) throw std::invalid_argument("precision must be 2 to 16 bits");
}

}  // namespace

std::vector<uint8_t> Encode(const Image& image, const EncodeOptions& o) {
  ValidateOptions(image, o);
  const Frame frame = MakeFrame(image, o);
  std::vector<uint8_t> out;
  JpegWriter w(out);
  w.Marker(kSoi);
  // JFIF implies YCbCr; lossless colour files keep RGB and say so.
  if (o.mode == Mode::kLossless && image.channels == 3) {
    w.Adobe(0);
  } else {
    w.Jfif();
  }
  if (o.mode == Mode::kLossless) {
    w.Sof(frame);
    if (o.restart_interval) w.Dri(o.restart_interval);
    EncodeLossless(image, o, frame, w, out);
  } else {
    const QuantTables q = MakeQuantTables(o.quality);
    w.Dqt(kLuma, q.zigzag[kLuma]);
    if (frame.components.size() > 1) w.Dqt(kChroma, q.zigzag[kChroma]);
    w.Sof(frame);
    if (o.restart_interval) w.Dri(o.restart_interval);
    if (o.mode == Mode::kBaseline) {
      EncodeBaseline(image, frame, q, o, w, out);
    } else {
      std::vector<Coefficients> coefs = Transform(ConvertRows(image, frame, 0, frame.McusHigh()), frame, q);
      for (const Scan& scan : ProgressiveScript(frame)) EncodeProgressiveScan(frame, scan, coefs, o, w, out);
    }
  }
  w.Marker(kEoi);
  return out;
}

const char* ModeName(Mode mode) {
  return mode == Mode::kBaseline ? "baseline" : mode == Mode::kProgressive ? "progressive" : "lossless";
}

const char* SubsamplingName(Subsampling s) { return s == Subsampling::k444 ? "4:4:4" : s == Subsampling::k422 ? "4:2:2" : "4:2:0"; }

}  // namespace codec
