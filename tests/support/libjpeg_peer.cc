#include "support/libjpeg_peer.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

// clang-format off
#include <jpeglib.h>
// clang-format on

// Exported by libjpeg-turbo but declared only in its private jchuff.h.
extern "C" void jpeg_gen_optimal_table(j_compress_ptr cinfo, JHUFF_TBL* htbl, long freq[]);

namespace vek::test {
namespace {

[[noreturn]] void ThrowLibjpegError(j_common_ptr cinfo) {
  char message[JMSG_LENGTH_MAX];
  (*cinfo->err->format_message)(cinfo, message);
  throw std::runtime_error(std::string("libjpeg: ") + message);
}

struct Decompressor {
  jpeg_decompress_struct cinfo{};
  jpeg_error_mgr err{};
  explicit Decompressor(const std::vector<uint8_t>& jpeg) {
    cinfo.err = jpeg_std_error(&err);
    err.error_exit = ThrowLibjpegError;
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    jpeg_read_header(&cinfo, TRUE);
  }
  ~Decompressor() { jpeg_destroy_decompress(&cinfo); }
};

// Compresses into memory: a buffer of libjpeg's own, or `into` as far as it
// suffices (libjpeg moves to a buffer of its own beyond that).
struct Compressor {
  jpeg_compress_struct cinfo{};
  jpeg_error_mgr err{};
  unsigned char* given = nullptr;
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  explicit Compressor(std::vector<uint8_t>* into = nullptr)
      : given(into != nullptr ? into->data() : nullptr), buffer(given), size(into != nullptr ? into->size() : 0) {
    cinfo.err = jpeg_std_error(&err);
    err.error_exit = ThrowLibjpegError;
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &buffer, &size);
  }
  ~Compressor() {
    jpeg_destroy_compress(&cinfo);
    if (buffer != given) std::free(buffer);
  }
};

}  // namespace

std::vector<uint8_t> CompressWithLibjpeg(const Photo& photo, const LibjpegOptions& options) {
  Compressor c;
  c.cinfo.image_width = static_cast<JDIMENSION>(photo.width);
  c.cinfo.image_height = static_cast<JDIMENSION>(photo.height);
  c.cinfo.input_components = photo.channels;
  c.cinfo.in_color_space = photo.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c.cinfo);
  jpeg_set_quality(&c.cinfo, options.quality, TRUE);
  if (photo.channels == 3) {
    const int factor = options.subsample420 ? 2 : 1;
    c.cinfo.comp_info[0].h_samp_factor = factor;
    c.cinfo.comp_info[0].v_samp_factor = factor;
  }
  c.cinfo.restart_interval = static_cast<unsigned int>(options.restartInterval);
  c.cinfo.optimize_coding = options.optimize ? TRUE : FALSE;
  if (options.progressive) jpeg_simple_progression(&c.cinfo);
  jpeg_start_compress(&c.cinfo, TRUE);
  const std::size_t rowBytes = static_cast<std::size_t>(photo.width) * photo.channels;
  while (c.cinfo.next_scanline < c.cinfo.image_height) {
    auto* row = const_cast<JSAMPLE*>(photo.pixels.data() + c.cinfo.next_scanline * rowBytes);
    jpeg_write_scanlines(&c.cinfo, &row, 1);
  }
  jpeg_finish_compress(&c.cinfo);
  return {c.buffer, c.buffer + c.size};
}

CoefImage ReadCoefficientsWithLibjpeg(const std::vector<uint8_t>& jpeg) {
  Decompressor d(jpeg);
  jvirt_barray_ptr* arrays = jpeg_read_coefficients(&d.cinfo);
  JpegFrame frame;
  frame.width = static_cast<int>(d.cinfo.image_width);
  frame.height = static_cast<int>(d.cinfo.image_height);
  for (int c = 0; c < d.cinfo.num_components; ++c) {
    frame.components.push_back({c + 1, d.cinfo.comp_info[c].h_samp_factor, d.cinfo.comp_info[c].v_samp_factor, 0});
  }
  CoefImage image = MakeCoefImage(frame);
  for (int c = 0; c < d.cinfo.num_components; ++c) {
    CoefComponent& comp = image.components[static_cast<std::size_t>(c)];
    for (int by = 0; by < comp.heightInBlocks; ++by) {
      JBLOCKARRAY row = (*d.cinfo.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&d.cinfo), arrays[c],
                                                           static_cast<JDIMENSION>(by), 1, FALSE);
      for (int bx = 0; bx < comp.widthInBlocks; ++bx) {
        for (int i = 0; i < 64; ++i) comp.Block(bx, by)[i] = row[0][bx][i];
      }
    }
  }
  jpeg_finish_decompress(&d.cinfo);
  return image;
}

std::optional<JpegHuffmanTable> OptimalTableWithLibjpeg(const std::vector<long>& counts) {
  Compressor c;
  JHUFF_TBL table{};
  std::vector<long> freq(counts);
  freq.resize(257, 0);
  try {
    jpeg_gen_optimal_table(&c.cinfo, &table, freq.data());
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
  JpegHuffmanTable result;
  int total = 0;
  for (int i = 0; i < 16; ++i) total += result.bits[static_cast<std::size_t>(i)] = table.bits[i + 1];
  result.values.assign(table.huffval, table.huffval + total);
  return result;
}

void ReadCoefficientsOnlyWithLibjpeg(const std::vector<uint8_t>& jpeg) {
  Decompressor d(jpeg);
  jpeg_read_coefficients(&d.cinfo);
  jpeg_finish_decompress(&d.cinfo);
}

struct LibjpegCoefficients::Impl {
  explicit Impl(const std::vector<uint8_t>& jpeg) : file(jpeg), source(file) {
    arrays = jpeg_read_coefficients(&source.cinfo);
  }
  std::vector<uint8_t> file;
  Decompressor source;
  jvirt_barray_ptr* arrays = nullptr;
};

LibjpegCoefficients::LibjpegCoefficients(const std::vector<uint8_t>& jpeg) : impl_(std::make_unique<Impl>(jpeg)) {}

LibjpegCoefficients::~LibjpegCoefficients() = default;

std::size_t LibjpegCoefficients::Write(std::vector<uint8_t>& into) const {
  Compressor c(&into);
  jpeg_copy_critical_parameters(&impl_->source.cinfo, &c.cinfo);
  c.cinfo.optimize_coding = FALSE;
  jpeg_write_coefficients(&c.cinfo, impl_->arrays);
  jpeg_finish_compress(&c.cinfo);
  return c.size;
}

}  // namespace vek::test
