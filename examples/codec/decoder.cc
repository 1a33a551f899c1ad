// The decoder: Huffman decoding, dequantisation and inverse DCT, chroma
// up-sampling and colour conversion, all through the library; markers here.
#include <algorithm>
#include <array>
#include <cstring>

#include "codec.h"
#include "jpeg_syntax.h"
#include "library_records.h"
#include "scan_layout.h"
#include "vekj.h"

namespace codec {
namespace {

[[noreturn]] void Corrupt(const std::string& what) { throw std::runtime_error("corrupt JPEG data: " + what); }

// Reads a scan's entropy-coded data, with the restart markers between
// intervals, keeping the decoder state, position and marker of the library.
class EntropyReader {
 public:
  EntropyReader(JpegReader& reader, int interval)
      : reader_(reader), interval_(interval), state_(MakeDecodeState()), pos_(static_cast<int>(reader.position())) {
    if (reader.size() > 0x7FFFFFFF) Corrupt("file too large");
  }
  // Before MCU `index`: at an interval boundary, expects the restart marker
  // and resets the decoder; returns true when the caller must reset its
  // predictions as well.
  bool BeginMcu(int index) {
    if (interval_ == 0 || index == 0 || index % interval_ != 0) return false;
    if (marker_ == 0) {
      std::size_t after = 0;
      marker_ = reader_.FindMarker(static_cast<std::size_t>(pos_), after);
      pos_ = static_cast<int>(after);
    }
    if (marker_ < kRst0 || marker_ > kRst0 + 7) Corrupt("missing restart marker");
    marker_ = 0;
    Check(vekiDecodeHuffmanStateInit_JPEG_8u(state_.get()), "resetting the decoder state");
    return true;
  }
  // Hands the reader back the position (and any marker) where the scan ended.
  void End() { reader_.ResumeAfterScan(static_cast<std::size_t>(pos_), marker_); }

  const Vek8u* src() const { return reader_.data(); }
  int length() const { return static_cast<int>(reader_.size()); }
  int* pos() { return &pos_; }
  int* marker() { return &marker_; }
  DecodeHuffmanState* state() { return state_.get(); }

 private:
  JpegReader& reader_;
  int interval_;
  DecodeState state_;
  int pos_;
  int marker_ = 0;
};

void Expect(int status, const char* what) {
  if (status < 0) Corrupt(std::string(what) + " (status " + std::to_string(status) + ")");
}

struct ScanSpecs {
  std::array<DecodeSpec, 4> dc, ac;
};

ScanSpecs SpecsFor(const Scan& scan, const DecoderTables& t, bool need_dc, bool need_ac) {
  ScanSpecs s;
  for (const ScanComponent& c : scan.components) {
    const auto dc = static_cast<std::size_t>(c.dc), ac = static_cast<std::size_t>(c.ac);
    if (need_dc && !s.dc[dc]) {
      if (!t.dc_defined[dc]) Corrupt("scan uses an undefined DC table");
      s.dc[dc] = MakeDecodeSpec(t.dc[dc]);
    }
    if (need_ac && !s.ac[ac]) {
      if (!t.ac_defined[ac]) Corrupt("scan uses an undefined AC table");
      s.ac[ac] = MakeDecodeSpec(t.ac[ac]);
    }
  }
  return s;
}

// Floor division for rows above a band (-1 / 2 is -1, not 0).
int FloorDiv(int a, int b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// One row of a chroma plane at the luma plane's size: 2x horizontally (and
// 2x vertically) by the library's triangle filters, or by repetition for
// other ratios. Rows are counted from the plane's row 0 and may be -1; a 2x2
// plane's output row r weighs its nearer source row floor(r / 2) with the
// farther one above (r even) or below (r odd), which the plane's context rows
// provide at its edges.
class ChromaRows {
 public:
  ChromaRows(const Plane& plane, int fx, int fy, int width)
      : plane_(plane), fx_(fx), fy_(fy), row_(static_cast<std::size_t>(width)) {}
  const uint8_t* Row(int r) {
    const int near = FloorDiv(r, fy_);
    if (fx_ == 1 && fy_ == 1) return plane_.Row(r);
    if (fx_ == 2 && fy_ == 2) {
      const int far = (r & 1) == 0 ? near - 1 : near + 1;
      Check(vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(plane_.Row(near), plane_.Row(far), plane_.width, row_.data()),
            "chroma up-sampling");
    } else if (fx_ == 2 && fy_ == 1) {
      Check(vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(plane_.Row(near), plane_.width, row_.data()), "chroma up-sampling");
    } else {
      for (std::size_t x = 0; x < row_.size(); ++x) row_[x] = plane_.Row(near)[x / static_cast<std::size_t>(fx_)];
    }
    return row_.data();
  }

 private:
  const Plane& plane_;
  int fx_, fy_;
  std::vector<uint8_t> row_;
};

// ---- DCT frames --------------------------------------------------------------

class DctDecoder {
 public:
  explicit DctDecoder(const Frame& frame) : frame_(frame) {
    if (frame.precision != 8) Corrupt("only 8-bit DCT frames are supported");
    if (frame.components.size() != 1 && frame.components.size() != 3) Corrupt("only grey and YCbCr pictures are supported");
    for (const FrameComponent& c : frame.components) {
      if (frame.MaxH() % c.h || frame.MaxV() % c.v) Corrupt("unsupported sampling factors");
    }
    const FrameComponent& first = frame.components[0];
    if (first.h != frame.MaxH() || first.v != frame.MaxV()) Corrupt("a first component sampled below the others");
    const int channels = frame.components.size() == 1 ? 1 : 3;
    image_ = Image{frame.width, frame.height, channels, Pixels(static_cast<std::size_t>(frame.width) * frame.height * channels)};
  }

  void DecodeScan(JpegReader& reader, const Scan& scan) {
    const DecoderTables& t = reader.tables();
    if (planes_.empty()) AllocatePlanes(scan);
    for (const ScanComponent& c : scan.components) {
      if (!t.quant_defined[static_cast<std::size_t>(frame_.components[static_cast<std::size_t>(c.index)].tq)]) {
        Corrupt("component uses an undefined quantisation table");
      }
    }
    if (frame_.Progressive()) {
      DecodeProgressiveScan(reader, scan);
    } else {
      DecodeSequentialScan(reader, scan);
    }
  }

  Image Finish(const DecoderTables& t);

 private:
  std::array<Vek16u, 64> InverseTable(const DecoderTables& t, int component) const {
    std::array<Vek16u, 64> table{};
    Check(vekiQuantInvTableInit_JPEG_8u16u(t.quant[static_cast<std::size_t>(frame_.components[static_cast<std::size_t>(component)].tq)].data(),
                                            table.data()),
          "building an inverse quantisation table");
    return table;
  }

  // Dequantises and inverse-transforms one block into its place in the plane.
  void Reconstruct(int component, int row, int col, const int16_t* block, const Vek16u* table) {
    Plane& p = planes_[static_cast<std::size_t>(component)];
    Check(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, p.Row(row * 8) + col * 8, p.width, table), "inverse DCT");
  }

  void DecodeSequentialScan(JpegReader& reader, const Scan& scan) {
    const DecoderTables& t = reader.tables();
    if (scan.ss != 0 || scan.se != 63 || scan.ah != 0 || scan.al != 0) Corrupt("sequential scan with a spectral band");
    ScanSpecs specs = SpecsFor(scan, t, true, true);
    std::array<std::array<Vek16u, 64>, 4> tables;
    for (std::size_t s = 0; s < scan.components.size(); ++s) tables[s] = InverseTable(t, scan.components[s].index);
    EntropyReader in(reader, t.restart_interval);
    std::array<Vek16s, 4> last_dc{};
    alignas(16) int16_t block[64];
    int first_row = 0;  // the MCU row whose blocks start at plane row 0
    const auto decode_mcu = [&](int index, const std::vector<BlockRef>& mcu) {
      if (in.BeginMcu(index)) last_dc.fill(0);
      for (const BlockRef& b : mcu) {
        const ScanComponent& sc = scan.components[static_cast<std::size_t>(b.scan_component)];
        Expect(vekiDecodeHuffman8x8_JPEG_1u16s_C1(in.src(), in.length(), in.pos(), block, &last_dc[static_cast<std::size_t>(b.scan_component)],
                                                  in.marker(), specs.dc[static_cast<std::size_t>(sc.dc)].get(),
                                                  specs.ac[static_cast<std::size_t>(sc.ac)].get(), in.state()),
               "Huffman decoding");
        const int row = b.row - first_row * frame_.components[static_cast<std::size_t>(sc.index)].v;
        Reconstruct(sc.index, row, b.col, block, tables[static_cast<std::size_t>(b.scan_component)].data());
      }
    };
    if (!banded_) {
      ForEachMcu(frame_, scan, decode_mcu);
    } else {
      // One MCU row at a time into the band, converted before the next; its
      // last picture row waits for the next band's first chroma row.
      const int rows = frame_.McusHigh(), mcu_high = 8 * frame_.MaxV();
      for (int my = 0; my < rows; ++my) {
        if (my > 0) {
          for (Plane& p : planes_) std::memcpy(p.Row(-1), p.Row(p.height - 1), static_cast<std::size_t>(p.width));
        }
        first_row = my;
        ForEachMcuInRow(frame_, scan, my, decode_mcu);
        if (my == 0) {
          for (Plane& p : planes_) std::memcpy(p.Row(-1), p.Row(0), static_cast<std::size_t>(p.width));
        }
        const bool last = my == rows - 1;
        if (last) {
          for (Plane& p : planes_) std::memcpy(p.Row(p.height), p.Row(p.height - 1), static_cast<std::size_t>(p.width));
        }
        const int top = my * mcu_high;
        ConvertRows(t, top, my == 0 ? 0 : top - 1, std::min(frame_.height, last ? top + mcu_high : top + mcu_high - 1));
      }
      converted_ = true;
    }
    in.End();
  }

  // Whole planes, or with one interleaved sequential scan of every component
  // planes of one MCU row (a band).
  void AllocatePlanes(const Scan& scan) {
    const bool one_interleaved_scan = !frame_.Progressive() && scan.components.size() == frame_.components.size() &&
                                      (frame_.components.size() > 1 || (frame_.components[0].h == 1 && frame_.components[0].v == 1));
    banded_ = one_interleaved_scan;
    for (int c = 0; c < static_cast<int>(frame_.components.size()); ++c) {
      const ComponentGrid g = GridOf(frame_, c);
      const int blocks_high = banded_ ? frame_.components[static_cast<std::size_t>(c)].v : g.stored_high;
      planes_.emplace_back(g.stored_wide * 8, blocks_high * 8);
      if (frame_.Progressive()) coefs_.emplace_back(g.stored_wide, g.stored_high, Coefficients::kZeroed);
    }
  }

  // Picture rows [from, to) from planes whose row 0 holds picture row `top`
  // (luma), with their context rows above and below in place.
  void ConvertRows(const DecoderTables& t, int top, int from, int to) {
    if (image_.channels == 1) {
      for (int y = from; y < to; ++y) {
        std::memcpy(image_.pixels.data() + static_cast<std::size_t>(y) * frame_.width, planes_[0].Row(y - top),
                    static_cast<std::size_t>(frame_.width));
      }
      return;
    }
    const int wide = planes_[0].width;
    const auto chroma = [&](int c) {
      const FrameComponent& fc = frame_.components[static_cast<std::size_t>(c)];
      return ChromaRows(planes_[static_cast<std::size_t>(c)], frame_.MaxH() / fc.h, frame_.MaxV() / fc.v, wide);
    };
    ChromaRows cb = chroma(1), cr = chroma(2);
    for (int y = from; y < to; ++y) {
      const Vek8u* src[3] = {planes_[0].Row(y - top), cb.Row(y - top), cr.Row(y - top)};
      uint8_t* out = image_.pixels.data() + static_cast<std::size_t>(y) * frame_.width * 3;
      if (t.adobe_transform == 0) {  // the components are R, G and B already
        for (int x = 0; x < frame_.width; ++x) {
          for (int c = 0; c < 3; ++c) out[3 * x + c] = src[c][x];
        }
      } else {
        Check(vekiYCbCrToRGB_JPEG_8u_P3C3R(src, wide, out, 3 * frame_.width, {frame_.width, 1}), "colour conversion");
      }
    }
  }

  void DecodeProgressiveScan(JpegReader& reader, const Scan& scan) {
    const DecoderTables& t = reader.tables();
    const bool dc_scan = scan.ss == 0;
    if (scan.se < scan.ss || scan.se > 63 || scan.al > 13 || (dc_scan && scan.se != 0) ||
        (!dc_scan && scan.components.size() != 1)) {
      Corrupt("progressive scan parameters");
    }
    ScanSpecs specs = SpecsFor(scan, t, dc_scan && scan.ah == 0, !dc_scan);
    EntropyReader in(reader, t.restart_interval);
    std::array<Vek16s, 4> last_dc{};
    ForEachMcu(frame_, scan, [&](int index, const std::vector<BlockRef>& mcu) {
      if (in.BeginMcu(index)) last_dc.fill(0);
      for (const BlockRef& b : mcu) {
        const ScanComponent& sc = scan.components[static_cast<std::size_t>(b.scan_component)];
        int16_t* block = coefs_[static_cast<std::size_t>(sc.index)].Block(b.row, b.col);
        VekStatus st;
        if (dc_scan && scan.ah == 0) {
          st = vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(in.src(), in.length(), in.pos(), block,
                                                          &last_dc[static_cast<std::size_t>(b.scan_component)], in.marker(), scan.al,
                                                          specs.dc[static_cast<std::size_t>(sc.dc)].get(), in.state());
        } else if (dc_scan) {
          st = vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(in.src(), in.length(), in.pos(), block, in.marker(), scan.al, in.state());
        } else if (scan.ah == 0) {
          st = vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(in.src(), in.length(), in.pos(), block, in.marker(), scan.ss, scan.se,
                                                          scan.al, specs.ac[static_cast<std::size_t>(sc.ac)].get(), in.state());
        } else {
          st = vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(in.src(), in.length(), in.pos(), block, in.marker(), scan.ss, scan.se,
                                                           scan.al, specs.ac[static_cast<std::size_t>(sc.ac)].get(), in.state());
        }
        Expect(st, "progressive Huffman decoding");
      }
    });
    in.End();
  }

  const Frame& frame_;
  Image image_;
  bool banded_ = false;     // planes of one MCU row, converted as they are decoded
  bool converted_ = false;  // every picture row is done
  std::vector<Plane> planes_;
  std::vector<Coefficients> coefs_;  // progressive frames only
};

Image DctDecoder::Finish(const DecoderTables& t) {
  if (planes_.empty()) Corrupt("no scan");
  if (frame_.Progressive()) {
    for (int c = 0; c < static_cast<int>(coefs_.size()); ++c) {
      const std::array<Vek16u, 64> table = InverseTable(t, c);
      Coefficients& k = coefs_[static_cast<std::size_t>(c)];
      for (int by = 0; by < k.blocks_high; ++by) {
        for (int bx = 0; bx < k.blocks_wide; ++bx) Reconstruct(c, by, bx, k.Block(by, bx), table.data());
      }
    }
  }
  if (!converted_) {
    for (Plane& p : planes_) p.ReplicateContextRows();
    ConvertRows(t, 0, 0, frame_.height);
  }
  return std::move(image_);
}

// ---- Lossless frames -----------------------------------------------------------

Image DecodeLossless(JpegReader& reader, const Frame& frame, Scan scan) {
  const int width = frame.width, height = frame.height, n = static_cast<int>(frame.components.size());
  for (const FrameComponent& c : frame.components) {
    if (c.h != 1 || c.v != 1) Corrupt("lossless frames with subsampled components are not supported");
  }
  if (n != 1 && n != 3) Corrupt("only grey and three-component lossless pictures are supported");
  std::vector<std::vector<int16_t>> samples(static_cast<std::size_t>(n),
                                            std::vector<int16_t>(static_cast<std::size_t>(width) * height));
  std::vector<int16_t> diff_storage(static_cast<std::size_t>(width) * 4);
  int point_transform = 0;
  do {
    const DecoderTables& t = reader.tables();
    const int interval = t.restart_interval;
    if (interval % width != 0) Corrupt("lossless restart interval that is not whole rows (not supported)");
    if (scan.ss < 1 || scan.ss > 7) Corrupt("lossless predictor");
    ScanSpecs specs = SpecsFor(scan, t, true, false);
    const int count = static_cast<int>(scan.components.size());
    const DecodeHuffmanSpec* tables[4] = {};
    Vek16s* diffs[4] = {};
    for (int s = 0; s < count; ++s) {
      tables[s] = specs.dc[static_cast<std::size_t>(scan.components[static_cast<std::size_t>(s)].dc)].get();
      diffs[s] = diff_storage.data() + static_cast<std::ptrdiff_t>(s) * width;
    }
    EntropyReader in(reader, interval / width);
    for (int r = 0; r < height; ++r) {
      const bool restarted = in.BeginMcu(r);
      Expect(vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(in.src(), in.length(), in.pos(), diffs, width, count, in.marker(), tables, in.state()),
             "lossless Huffman decoding");
      for (int s = 0; s < count; ++s) {
        int16_t* row = samples[static_cast<std::size_t>(scan.components[static_cast<std::size_t>(s)].index)].data() +
                       static_cast<std::ptrdiff_t>(r) * width;
        Check(r == 0 || restarted ? vekiReconstructPredFirstRow_JPEG_16s_C1(diffs[s], row, width, frame.precision, scan.al)
                                  : vekiReconstructPredRow_JPEG_16s_C1(diffs[s], row - width, row, width, scan.ss),
              "lossless reconstruction");
      }
    }
    in.End();
    point_transform = scan.al;
  } while (reader.NextScan(scan));
  // Samples at the frame's precision, scaled to 8 bits.
  const int shift = frame.precision - 8;
  Image image{width, height, n, Pixels(static_cast<std::size_t>(width) * height * n)};
  for (std::size_t i = 0; i < samples[0].size(); ++i) {
    for (std::size_t c = 0; c < samples.size(); ++c) {
      const uint32_t x = static_cast<uint16_t>(samples[c][i]) << point_transform & 0xFFFF;
      image.pixels[i * samples.size() + c] = static_cast<uint8_t>(shift >= 0 ? x >> shift : x << -shift);
    }
  }
  return image;
}

}  // namespace

Image Decode(const uint8_t* data, std::size_t size, long max_pixels) {
  JpegReader reader(data, size);
  Scan scan;
  if (!reader.NextScan(scan)) Corrupt("no scan before the end of the image");
  const Frame& frame = reader.frame();
  if (static_cast<long>(frame.width) * frame.height > max_pixels) Corrupt("picture larger than the decoder accepts");
  if (frame.Lossless()) return DecodeLossless(reader, frame, scan);
  DctDecoder decoder(frame);
  do {
    decoder.DecodeScan(reader, scan);
  } while (reader.NextScan(scan));
  return decoder.Finish(reader.tables());
}

}  // namespace codec
