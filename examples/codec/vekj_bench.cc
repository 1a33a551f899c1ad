// vekj-bench jpeg [PHOTO.jpg]: our encoder and decoder against TurboJPEG on
// one photograph, one thread, quality 90, 4:2:0 and 4:4:4. Prints
// megapixels per second for both, the ratio, and for each comparison a
// final line `ratio <name> <value>`.
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec.h"
#include "vekcore.h"

namespace {

using Clock = std::chrono::steady_clock;
using TurboHandle = std::unique_ptr<void, int (*)(tjhandle)>;

// The median of runs repeated for at least a second (and at least 5 runs),
// in megapixels per second.
template <class Fn>
double MedianMegapixelsPerSecond(double pixels, const Fn& fn) {
  std::vector<double> rates;
  const auto start = Clock::now();
  while (rates.size() < 5 || Clock::now() - start < std::chrono::seconds(1)) {
    const auto t0 = Clock::now();
    fn();
    rates.push_back(pixels / std::chrono::duration<double>(Clock::now() - t0).count() / 1e6);
  }
  std::nth_element(rates.begin(), rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2), rates.end());
  return rates[rates.size() / 2];
}

codec::Image TurboDecodeRgb(tjhandle tj, const std::vector<uint8_t>& jpeg) {
  int w = 0, h = 0, sub = 0, cs = 0;
  if (tjDecompressHeader3(tj, jpeg.data(), jpeg.size(), &w, &h, &sub, &cs) != 0) throw std::runtime_error(tjGetErrorStr2(tj));
  codec::Image image{w, h, 3, std::vector<uint8_t>(static_cast<std::size_t>(w) * h * 3)};
  if (tjDecompress2(tj, jpeg.data(), jpeg.size(), image.pixels.data(), w, 0, h, TJPF_RGB, 0) != 0) {
    throw std::runtime_error(tjGetErrorStr2(tj));
  }
  return image;
}

std::vector<uint8_t> TurboEncode(tjhandle tj, const codec::Image& image, int subsampling) {
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  if (tjCompress2(tj, image.pixels.data(), image.width, 0, image.height, TJPF_RGB, &buffer, &size, subsampling, 90, 0) != 0) {
    throw std::runtime_error(tjGetErrorStr2(tj));
  }
  std::vector<uint8_t> jpeg(buffer, buffer + size);
  tjFree(buffer);
  return jpeg;
}

struct Result {
  std::string name;
  double ours, theirs;
};

int RaceJpeg(const std::string& path) {
  vekSetNumThreads(1);
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot open " + path);
  const std::vector<uint8_t> file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  TurboHandle compressor(tjInitCompress(), tjDestroy), decompressor(tjInitDecompress(), tjDestroy);
  const codec::Image photo = TurboDecodeRgb(decompressor.get(), file);
  const double pixels = static_cast<double>(photo.width) * photo.height;
  std::printf("%s: %dx%d (%.2f MP), quality 90, one thread\n\n", path.c_str(), photo.width, photo.height, pixels / 1e6);
  std::printf("%-12s %14s %14s %8s\n", "", "vekj MP/s", "TurboJPEG MP/s", "ratio");

  std::vector<Result> results;
  struct Sampling {
    codec::Subsampling ours;
    int turbo;
    const char* label;
  };
  for (const Sampling& sampling : {Sampling{codec::Subsampling::k420, TJSAMP_420, "420"},
                                   Sampling{codec::Subsampling::k444, TJSAMP_444, "444"}}) {
    const int turbo = sampling.turbo;
    const std::string label = sampling.label;
    codec::EncodeOptions o;
    o.quality = 90;
    o.subsampling = sampling.ours;
    std::vector<uint8_t> ours_file, turbo_file;
    const double enc_ours = MedianMegapixelsPerSecond(pixels, [&] { ours_file = codec::Encode(photo, o); });
    const double enc_turbo = MedianMegapixelsPerSecond(pixels, [&] { turbo_file = TurboEncode(compressor.get(), photo, turbo); });
    // Both decoders read the same file: the one TurboJPEG wrote.
    const double dec_ours = MedianMegapixelsPerSecond(pixels, [&] { codec::Decode(turbo_file.data(), turbo_file.size()); });
    const double dec_turbo = MedianMegapixelsPerSecond(pixels, [&] { TurboDecodeRgb(decompressor.get(), turbo_file); });
    results.push_back({"encode-" + label, enc_ours, enc_turbo});
    results.push_back({"decode-" + label, dec_ours, dec_turbo});
    std::printf("%-12s %14.1f %14.1f %8.2f   (files: %zu and %zu bytes)\n", results[results.size() - 2].name.c_str(), enc_ours,
                enc_turbo, enc_ours / enc_turbo, ours_file.size(), turbo_file.size());
    std::printf("%-12s %14.1f %14.1f %8.2f\n", results.back().name.c_str(), dec_ours, dec_turbo, dec_ours / dec_turbo);
  }
  std::printf("\n");
  for (const Result& r : results) std::printf("ratio %s %.3f\n", r.name.c_str(), r.ours / r.theirs);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::string(argv[1]) != "jpeg") {
    std::fprintf(stderr, "usage: vekj-bench jpeg [PHOTO.jpg]\n");
    return 2;
  }
  try {
    return RaceJpeg(argc > 2 ? argv[2] : VEKJ_BENCH_PHOTO);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vekj-bench: %s\n", e.what());
    return 1;
  }
}
