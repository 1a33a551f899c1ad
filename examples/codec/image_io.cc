#include "image_io.h"

#include <png.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>

namespace codec {
namespace {

bool EndsWith(const std::string& s, const char* suffix) {
  const std::string t(suffix);
  return s.size() >= t.size() && s.compare(s.size() - t.size(), t.size(), t) == 0;
}

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File Open(const std::string& path, const char* mode) {
  File f(std::fopen(path.c_str(), mode), std::fclose);
  if (!f) throw std::runtime_error("cannot open " + path);
  return f;
}

Image ReadPng(const std::string& path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str())) throw std::runtime_error(path + ": " + png.message);
  const bool grey = (png.format & PNG_FORMAT_FLAG_COLOR) == 0;
  png.format = grey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
  Image image{static_cast<int>(png.width), static_cast<int>(png.height), grey ? 1 : 3, {}};
  image.pixels.resize(PNG_IMAGE_SIZE(png));
  if (!png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr)) {
    png_image_free(&png);
    throw std::runtime_error(path + ": " + png.message);
  }
  return image;
}

void WritePng(const std::string& path, const Image& image) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = image.channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
  if (!png_image_write_to_file(&png, path.c_str(), 0, image.pixels.data(), 0, nullptr)) {
    throw std::runtime_error(path + ": " + png.message);
  }
}

// Reads the next header number of a PNM file, passing over blanks and comments.
int ReadPnmNumber(FILE* f) {
  int c = std::fgetc(f);
  while (c == '#' || std::isspace(c)) {
    if (c == '#') {
      while (c != '\n' && c != EOF) c = std::fgetc(f);
    }
    c = std::fgetc(f);
  }
  long value = 0;
  if (!std::isdigit(c)) return -1;
  for (; std::isdigit(c); c = std::fgetc(f)) {
    value = value * 10 + (c - '0');
    if (value > 1 << 24) return -1;
  }
  return static_cast<int>(value);
}

Image ReadPnm(const std::string& path) {
  File f = Open(path, "rb");
  char magic[2] = {};
  if (std::fread(magic, 1, 2, f.get()) != 2 || magic[0] != 'P' || (magic[1] != '5' && magic[1] != '6')) {
    throw std::runtime_error(path + ": not a binary PPM or PGM file");
  }
  Image image;
  image.channels = magic[1] == '6' ? 3 : 1;
  image.width = ReadPnmNumber(f.get());
  image.height = ReadPnmNumber(f.get());
  const int maxval = ReadPnmNumber(f.get());
  if (image.width < 1 || image.height < 1 || maxval != 255) {
    throw std::runtime_error(path + ": unsupported size or sample range (8-bit only)");
  }
  image.pixels.resize(static_cast<std::size_t>(image.width) * image.height * image.channels);
  if (std::fread(image.pixels.data(), 1, image.pixels.size(), f.get()) != image.pixels.size()) {
    throw std::runtime_error(path + ": file ends early");
  }
  return image;
}

void WritePnm(const std::string& path, const Image& image) {
  File f = Open(path, "wb");
  std::fprintf(f.get(), "P%c\n%d %d\n255\n", image.channels == 3 ? '6' : '5', image.width, image.height);
  if (std::fwrite(image.pixels.data(), 1, image.pixels.size(), f.get()) != image.pixels.size()) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace

Image ReadImage(const std::string& path) {
  if (EndsWith(path, ".png")) return ReadPng(path);
  if (EndsWith(path, ".ppm") || EndsWith(path, ".pgm") || EndsWith(path, ".pnm")) return ReadPnm(path);
  throw std::runtime_error(path + ": unknown picture format (use .png, .ppm or .pgm)");
}

void WriteImage(const std::string& path, const Image& image) {
  if (EndsWith(path, ".png")) return WritePng(path, image);
  if (EndsWith(path, ".ppm") || EndsWith(path, ".pgm") || EndsWith(path, ".pnm")) return WritePnm(path, image);
  throw std::runtime_error(path + ": unknown picture format (use .png, .ppm or .pgm)");
}

double Psnr(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height || a.channels != b.channels) {
    throw std::invalid_argument("PSNR of pictures of different shapes");
  }
  double squared = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    const double d = static_cast<double>(a.pixels[i]) - b.pixels[i];
    squared += d * d;
  }
  if (squared == 0) return std::numeric_limits<double>::infinity();
  return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(a.pixels.size()) / squared);
}

}  // namespace codec
