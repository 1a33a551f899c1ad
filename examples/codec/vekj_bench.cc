// vekj-bench jpeg [PHOTO.jpg]: our encoder and decoder against TurboJPEG on
// one photograph, one thread, quality 90, 4:2:0 and 4:4:4 (TurboJPEG with its
// default accurate DCT and smooth up-sampling, like ours). Prints
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

struct Rates {
  double ours, theirs;  // megapixels per second
};

double Median(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
  return v[v.size() / 2];
}

// Runs ours() and theirs() in turn, alternating which goes first, for at
// least a second and 7 rounds; the medians of each side's rates, so that a
// busy machine slows both alike.
template <class Ours, class Theirs>
Rates Race(double pixels, const Ours& ours, const Theirs& theirs) {
  std::vector<double> a, b;
  const auto time = [pixels](const auto& fn) {
    const auto t0 = Clock::now();
    fn();
    return pixels / std::chrono::duration<double>(Clock::now() - t0).count() / 1e6;
  };
  const auto start = Clock::now();
  for (int round = 0; round < 7 || Clock::now() - start < std::chrono::seconds(1); ++round) {
    if (round % 2 == 0) {
      a.push_back(time(ours));
      b.push_back(time(theirs));
    } else {
      b.push_back(time(theirs));
      a.push_back(time(ours));
    }
  }
  return {Median(a), Median(b)};
}

codec::Image TurboDecodeRgb(tjhandle tj, const std::vector<uint8_t>& jpeg) {
  int w = 0, h = 0, sub = 0, cs = 0;
  if (tjDecompressHeader3(tj, jpeg.data(), jpeg.size(), &w, &h, &sub, &cs) != 0) throw std::runtime_error(tjGetErrorStr2(tj));
  codec::Image image{w, h, 3, codec::Pixels(static_cast<std::size_t>(w) * h * 3)};
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
    const Rates enc = Race(pixels, [&] { ours_file = codec::Encode(photo, o); },
                           [&] { turbo_file = TurboEncode(compressor.get(), photo, turbo); });
    // Both decoders read the same file: the one TurboJPEG wrote.
    const Rates dec = Race(pixels, [&] { codec::Decode(turbo_file.data(), turbo_file.size()); },
                           [&] { TurboDecodeRgb(decompressor.get(), turbo_file); });
    results.push_back({"encode-" + label, enc.ours, enc.theirs});
    results.push_back({"decode-" + label, dec.ours, dec.theirs});
    std::printf("%-12s %14.1f %14.1f %8.2f   (files: %zu and %zu bytes)\n", results[results.size() - 2].name.c_str(), enc.ours,
                enc.theirs, enc.ours / enc.theirs, ours_file.size(), turbo_file.size());
    std::printf("%-12s %14.1f %14.1f %8.2f\n", results.back().name.c_str(), dec.ours, dec.theirs, dec.ours / dec.theirs);
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
