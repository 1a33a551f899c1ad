// vekj-jpeg: encode and decode JPEG files with a codec built from the
// library's exports, and a demo over an embedded photograph.
//
//   vekj-jpeg encode [options] INPUT.(png|ppm|pgm) OUTPUT.jpg
//   vekj-jpeg decode INPUT.jpg OUTPUT.(png|ppm|pgm)
//   vekj-jpeg demo [OUTPUT_FOLDER]
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "codec.h"
#include "image_io.h"
#include "vekcore.h"
#include "vekj.h"

// The default photograph, embedded at build time.
extern "C" const unsigned char kDemoPhoto[];
extern "C" const unsigned long kDemoPhotoSize;

namespace {

using codec::EncodeOptions;
using codec::Image;
using codec::Mode;
using codec::Subsampling;

std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot open " + path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path);
}

int Usage() {
  std::fprintf(stderr,
               "usage: vekj-jpeg encode [options] INPUT.(png|ppm|pgm) OUTPUT.jpg\n"
               "       vekj-jpeg decode INPUT.jpg OUTPUT.(png|ppm|pgm)\n"
               "       vekj-jpeg demo [OUTPUT_FOLDER]\n"
               "encode options:\n"
               "  --mode baseline|progressive|lossless   (baseline)\n"
               "  --quality 1..100                       (90)\n"
               "  --sampling 444|422|420                 (420)\n"
               "  --optimize                             optimal Huffman tables (baseline)\n"
               "  --restart N                            restart marker every N MCUs\n"
               "  --predictor 1..7, --precision 2..16    lossless\n");
  return 2;
}

int ParseInt(const char* text, const char* name) {
  char* end = nullptr;
  const long v = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || v < -1000000 || v > 1000000) throw std::invalid_argument(std::string("bad value for ") + name);
  return static_cast<int>(v);
}

int Encode(int argc, char** argv) {
  EncodeOptions o;
  std::vector<std::string> files;
  for (int i = 0; i < argc; ++i) {
    const std::string a = argv[i];
    const auto value = [&]() -> const char* {
      if (i + 1 >= argc) throw std::invalid_argument(a + " needs a value");
      return argv[++i];
    };
    if (a == "--mode") {
      const std::string m = value();
      o.mode = m == "baseline" ? Mode::kBaseline : m == "progressive" ? Mode::kProgressive : m == "lossless" ? Mode::kLossless
                                                                                                 : throw std::invalid_argument("unknown mode " + m);
    } else if (a == "--quality") {
      o.quality = ParseInt(value(), "--quality");
    } else if (a == "--sampling") {
      const std::string s = value();
      o.subsampling = s == "444" ? Subsampling::k444 : s == "422" ? Subsampling::k422 : s == "420" ? Subsampling::k420
                                                                                         : throw std::invalid_argument("unknown sampling " + s);
    } else if (a == "--optimize") {
      o.optimize = true;
    } else if (a == "--restart") {
      o.restart_interval = ParseInt(value(), "--restart");
    } else if (a == "--predictor") {
      o.predictor = ParseInt(value(), "--predictor");
    } else if (a == "--precision") {
      o.precision = ParseInt(value(), "--precision");
    } else if (a.rfind("--", 0) == 0) {
      throw std::invalid_argument("unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return Usage();
  WriteBytes(files[1], codec::Encode(codec::ReadImage(files[0]), o));
  return 0;
}

int Decode(int argc, char** argv) {
  if (argc != 2) return Usage();
  const std::vector<uint8_t> jpeg = ReadBytes(argv[0]);
  codec::WriteImage(argv[1], codec::Decode(jpeg.data(), jpeg.size()));
  return 0;
}

// Best of five runs, in megapixels per second.
template <class Fn>
double MegapixelsPerSecond(double pixels, const Fn& fn) {
  double best = 0;
  for (int run = 0; run < 5; ++run) {
    const auto start = std::chrono::steady_clock::now();
    fn();
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    best = std::max(best, pixels / s / 1e6);
  }
  return best;
}

int Demo(int argc, char** argv) {
  const std::filesystem::path folder = argc > 0 ? argv[0] : "vekj-demo";
  std::filesystem::create_directories(folder);
  const VekLibraryVersion* v = vekjGetLibVersion();
  std::printf("%s, version %s\n", v->name, v->version);
  vekSetNumThreads(1);  // rates comparable with the one-thread race of vekj-bench
  std::printf("decoding the embedded photograph (%lu bytes of JPEG) ...\n", kDemoPhotoSize);
  const Image original = codec::Decode(kDemoPhoto, kDemoPhotoSize);
  codec::WriteImage((folder / "original.png").string(), original);
  const double pixels = static_cast<double>(original.width) * original.height;
  std::printf("%dx%d pixels, written to %s\n\n", original.width, original.height, (folder / "original.png").c_str());

  struct Case {
    const char* name;
    EncodeOptions options;
  };
  EncodeOptions baseline, optimized, progressive, lossless;
  optimized.optimize = true;
  progressive.mode = Mode::kProgressive;
  lossless.mode = Mode::kLossless;
  lossless.predictor = 6;
  const Case cases[] = {{"baseline", baseline}, {"baseline-optimized", optimized},
                        {"progressive", progressive}, {"lossless", lossless}};
  std::printf("%-20s %10s %7s %9s %12s %12s\n", "q90, 4:2:0, 1 thread", "bytes", "bpp", "PSNR dB", "encode MP/s", "decode MP/s");
  for (const Case& c : cases) {
    if (isatty(STDERR_FILENO)) std::fprintf(stderr, "%-20s encoding and decoding ...\r", c.name);
    std::vector<uint8_t> jpeg;
    const double enc = MegapixelsPerSecond(pixels, [&] { jpeg = codec::Encode(original, c.options); });
    Image decoded;
    const double dec = MegapixelsPerSecond(pixels, [&] { decoded = codec::Decode(jpeg.data(), jpeg.size()); });
    WriteBytes((folder / (std::string(c.name) + ".jpg")).string(), jpeg);
    codec::WriteImage((folder / (std::string(c.name) + ".png")).string(), decoded);
    const double psnr = codec::Psnr(original, decoded);
    std::printf("%-20s %10zu %7.3f %9s %12.1f %12.1f\n", c.name, jpeg.size(), 8.0 * static_cast<double>(jpeg.size()) / pixels,
                std::isinf(psnr) ? "exact" : std::to_string(psnr).substr(0, 5).c_str(), enc, dec);
    std::fflush(stdout);
  }
  std::printf("\nfiles written to %s/\n", folder.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const std::string command = argv[1];
  try {
    if (command == "encode") return Encode(argc - 2, argv + 2);
    if (command == "decode") return Decode(argc - 2, argv + 2);
    if (command == "demo") return Demo(argc - 2, argv + 2);
    return Usage();
  } catch (const std::invalid_argument& e) {
    std::fprintf(stderr, "vekj-jpeg: %s\n", e.what());
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vekj-jpeg: %s\n", e.what());
    return 1;
  }
}
