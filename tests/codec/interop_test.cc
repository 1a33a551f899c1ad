// The example codec against real decoders and encoders: libjpeg-turbo for
// the DCT modes (its TurboJPEG API and the cjpeg/djpeg tools) and the ISO
// reference `jpeg` tool for lossless files.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "codec.h"
#include "image_io.h"
#include "support/photo.h"

namespace codec {
namespace {

namespace fs = std::filesystem;

// Lossy pixels of two decoders of one file differ by rounding in the
// inverse DCT and the colour conversion; measured maximum 2 (see the logs).
constexpr int kDecoderBound = 3;

Image Crop(const vek::test::Photo& photo, int x0, int y0, int width, int height, int channels) {
  Image out{width, height, channels, Pixels(static_cast<std::size_t>(width) * height * channels)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint8_t* p = &photo.pixels[(static_cast<std::size_t>(y0 + y) * photo.width + x0 + x) * 3];
      uint8_t* q = &out.pixels[(static_cast<std::size_t>(y) * width + x) * channels];
      if (channels == 3) {
        std::copy(p, p + 3, q);
      } else {
        *q = static_cast<uint8_t>((p[0] * 77 + p[1] * 150 + p[2] * 29 + 128) >> 8);
      }
    }
  }
  return out;
}

const vek::test::Photo& Water() {
  static const vek::test::Photo photo = vek::test::LoadJpeg(vek::test::TestDataPath("water-1024x768.jpg"));
  return photo;
}

// Pictures of the stated awkward sizes, grey and colour.
std::vector<Image> TestPictures() {
  std::vector<Image> pictures;
  for (auto [w, h] : std::array<std::pair<int, int>, 5>{{{1, 1}, {7, 9}, {17, 33}, {64, 48}, {333, 201}}}) {
    pictures.push_back(Crop(Water(), 100, 50, w, h, 3));
    pictures.push_back(Crop(Water(), 300, 200, w, h, 1));
  }
  return pictures;
}

// The largest difference of two pictures of one shape, and its histogram.
int MaxDifference(const Image& a, const Image& b, std::map<int, long>* histogram = nullptr) {
  EXPECT_EQ(a.width, b.width);
  EXPECT_EQ(a.height, b.height);
  EXPECT_EQ(a.channels, b.channels);
  if (a.pixels.size() != b.pixels.size()) return 256;
  int worst = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    const int d = std::abs(a.pixels[i] - b.pixels[i]);
    worst = std::max(worst, d);
    if (histogram) ++(*histogram)[d];
  }
  return worst;
}

// libjpeg-turbo's decoding, with warnings treated as errors.
Image TurboDecode(const std::vector<uint8_t>& jpeg, int channels) {
  std::unique_ptr<void, int (*)(tjhandle)> tj(tjInitDecompress(), tjDestroy);
  int w = 0, h = 0, sub = 0, cs = 0;
  if (tjDecompressHeader3(tj.get(), jpeg.data(), jpeg.size(), &w, &h, &sub, &cs) != 0) {
    ADD_FAILURE() << "libjpeg-turbo refused the header: " << tjGetErrorStr2(tj.get());
    return {};
  }
  Image image{w, h, channels, Pixels(static_cast<std::size_t>(w) * h * channels)};
  if (tjDecompress2(tj.get(), jpeg.data(), jpeg.size(), image.pixels.data(), w, 0, h, channels == 1 ? TJPF_GRAY : TJPF_RGB,
                    TJFLAG_STOPONWARNING) != 0) {
    ADD_FAILURE() << "libjpeg-turbo: " << tjGetErrorStr2(tj.get());
  }
  return image;
}

class Scratch {
 public:
  Scratch() : dir_(fs::temp_directory_path() / ("vekj-codec-" + std::to_string(::getpid()))) { fs::create_directories(dir_); }
  ~Scratch() { fs::remove_all(dir_); }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }

 private:
  fs::path dir_;
};

int RunTool(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()); }

std::vector<EncodeOptions> LossyModes() {
  std::vector<EncodeOptions> modes;
  for (Mode mode : {Mode::kBaseline, Mode::kProgressive}) {
    for (Subsampling s : {Subsampling::k444, Subsampling::k422, Subsampling::k420}) {
      for (int restart : {0, 3}) {
        EncodeOptions o;
        o.mode = mode;
        o.subsampling = s;
        o.restart_interval = restart;
        o.optimize = restart != 0;
        o.quality = restart ? 75 : 95;
        modes.push_back(o);
      }
    }
  }
  return modes;
}

std::string Describe(const Image& im, const EncodeOptions& o) {
  return std::to_string(im.width) + "x" + std::to_string(im.height) + "x" + std::to_string(im.channels) + " " + ModeName(o.mode) +
         " " + SubsamplingName(o.subsampling) + " q" + std::to_string(o.quality) + (o.optimize ? " optimized" : "") +
         " restart " + std::to_string(o.restart_interval);
}

TEST(CodecInterop, LibjpegTurboDecodesOurLossyFilesLikeOurDecoder) {
  std::map<int, long> histogram;
  for (const Image& picture : TestPictures()) {
    for (const EncodeOptions& o : LossyModes()) {
      SCOPED_TRACE(Describe(picture, o));
      const std::vector<uint8_t> jpeg = Encode(picture, o);
      const Image ours = Decode(jpeg.data(), jpeg.size());
      const Image theirs = TurboDecode(jpeg, picture.channels);
      EXPECT_LE(MaxDifference(ours, theirs, &histogram), kDecoderBound);
      EXPECT_GT(Psnr(picture, ours), o.quality >= 90 ? 30.0 : 25.0);
    }
  }
  std::string h;
  for (auto [d, n] : histogram) h += " " + std::to_string(d) + ":" + std::to_string(n);
  std::printf("our decoder vs libjpeg-turbo on our files, |difference|:count%s\n", h.c_str());
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  std::fwrite(bytes.data(), 1, bytes.size(), f);
  std::fclose(f);
}

TEST(CodecInterop, LargePhotographRoundTripsThroughTheirDecoders) {
  const vek::test::Photo cups = vek::test::LoadJpeg(vek::test::TestDataPath(vek::test::kBenchPhoto));
  const Image picture = Crop(cups, 0, 0, cups.width, cups.height, 3);
  for (Mode mode : {Mode::kBaseline, Mode::kProgressive}) {
    EncodeOptions o;
    o.mode = mode;
    const std::vector<uint8_t> jpeg = Encode(picture, o);
    const Image ours = Decode(jpeg.data(), jpeg.size());
    EXPECT_LE(MaxDifference(ours, TurboDecode(jpeg, 3)), kDecoderBound) << ModeName(mode);
    EXPECT_GT(Psnr(picture, ours), 35.0) << ModeName(mode);
  }
  Scratch scratch;
  EncodeOptions lossless;
  lossless.mode = Mode::kLossless;
  WriteFile(scratch.Path("big.jpg"), Encode(picture, lossless));
  ASSERT_EQ(RunTool("jpeg " + scratch.Path("big.jpg") + " " + scratch.Path("big.ppm")), 0);
  EXPECT_EQ(MaxDifference(ReadImage(scratch.Path("big.ppm")), picture), 0);
}

TEST(CodecInterop, WeDecodeWhatCjpegWritesLikeDjpeg) {
  Scratch scratch;
  std::map<int, long> histogram;
  for (const Image& picture : {Crop(Water(), 10, 10, 333, 201, 3), Crop(Water(), 0, 0, 17, 33, 3)}) {
    const std::string ppm = scratch.Path("in.ppm");
    WriteImage(ppm, picture);
    // One sequential scan per component: the decoder keeps whole planes for these.
    const std::string scans = scratch.Path("scans.txt");
    std::FILE* f = std::fopen(scans.c_str(), "w");
    std::fputs("0;\n1;\n2;\n", f);
    std::fclose(f);
    for (const std::string& options : std::vector<std::string>{"-sample 1x1", "-sample 2x1", "-sample 2x2", "-progressive", "-optimize -restart 2",
                                      "-progressive -restart 1B -sample 2x1", "-grayscale", "-quality 40 -sample 2x2",
                                      "-sample 2x2 -scans " + scans}) {
      SCOPED_TRACE(options + " " + std::to_string(picture.width));
      const std::string jpg = scratch.Path("t.jpg"), out = scratch.Path("djpeg.ppm");
      ASSERT_EQ(RunTool("cjpeg " + options + " -outfile " + jpg + " " + ppm), 0);
      const bool grey = options.find("grayscale") != std::string::npos;
      ASSERT_EQ(RunTool(std::string("djpeg ") + (grey ? "-grayscale -pnm" : "-ppm") + " -outfile " + out + " " + jpg), 0);
      const std::vector<uint8_t> bytes = vek::test::ReadFile(jpg);
      EXPECT_LE(MaxDifference(Decode(bytes.data(), bytes.size()), ReadImage(out), &histogram), kDecoderBound);
    }
  }
  std::string h;
  for (auto [d, n] : histogram) h += " " + std::to_string(d) + ":" + std::to_string(n);
  std::printf("our decoder vs djpeg on cjpeg's files, |difference|:count%s\n", h.c_str());
}

TEST(CodecInterop, LosslessFilesAreExactBothWays) {
  Scratch scratch;
  for (const Image& picture : {Crop(Water(), 5, 5, 65, 47, 3), Crop(Water(), 5, 5, 7, 9, 1)}) {
    const std::string ppm = scratch.Path(picture.channels == 3 ? "in.ppm" : "in.pgm");
    WriteImage(ppm, picture);
    // Ours, read by the ISO reference decoder.
    for (int predictor = 1; predictor <= 7; ++predictor) {
      EncodeOptions o;
      o.mode = Mode::kLossless;
      o.predictor = predictor;
      o.restart_interval = predictor == 4 ? picture.width * 2 : 0;
      const std::vector<uint8_t> jpeg = Encode(picture, o);
      const std::string jpg = scratch.Path("ours.jpg"), out = scratch.Path(picture.channels == 3 ? "iso.ppm" : "iso.pgm");
      WriteFile(jpg, jpeg);
      ASSERT_EQ(RunTool("jpeg " + jpg + " " + out), 0) << "predictor " << predictor;
      EXPECT_EQ(MaxDifference(ReadImage(out), picture), 0) << "predictor " << predictor;
      EXPECT_EQ(MaxDifference(Decode(jpeg.data(), jpeg.size()), picture), 0) << "predictor " << predictor;
    }
    // The ISO encoder's, read by ours.
    const std::string iso = scratch.Path("iso.jpg");
    ASSERT_EQ(RunTool("jpeg -p -c " + ppm + " " + iso), 0);
    const std::vector<uint8_t> bytes = vek::test::ReadFile(iso);
    EXPECT_EQ(MaxDifference(Decode(bytes.data(), bytes.size()), picture), 0);
  }
}

TEST(CodecInterop, LosslessPrecisionsRoundTrip) {
  const Image picture = Crop(Water(), 40, 40, 31, 17, 3);
  for (int precision : {2, 5, 8, 12, 16}) {
    EncodeOptions o;
    o.mode = Mode::kLossless;
    o.precision = precision;
    o.predictor = 7;
    const std::vector<uint8_t> jpeg = Encode(picture, o);
    const Image back = Decode(jpeg.data(), jpeg.size());
    // Below 8 bits the low bits are gone; at 8 bits and above every sample returns.
    const int bound = precision >= 8 ? 0 : (1 << (8 - precision)) - 1;
    EXPECT_LE(MaxDifference(back, picture), bound) << precision << " bits";
  }
}

TEST(CodecRobustness, TruncatedAndCorruptFilesFailCleanly) {
  const Image picture = Crop(Water(), 0, 0, 64, 48, 3);
  for (Mode mode : {Mode::kBaseline, Mode::kProgressive, Mode::kLossless}) {
    EncodeOptions o;
    o.mode = mode;
    const std::vector<uint8_t> jpeg = Encode(picture, o);
    for (std::size_t cut : {std::size_t{1}, std::size_t{20}, jpeg.size() / 3, jpeg.size() / 2, jpeg.size() - 3}) {
      EXPECT_THROW(Decode(jpeg.data(), cut), std::runtime_error) << ModeName(mode) << " cut at " << cut;
    }
    std::mt19937 rng(7);
    for (int trial = 0; trial < 200; ++trial) {
      std::vector<uint8_t> bad = jpeg;
      bad[rng() % bad.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
      try {
        Decode(bad.data(), bad.size());  // may decode to a damaged picture, or fail
      } catch (const std::exception&) {
      }
    }
  }
}

// A 4:2:0 file whose frame header gives the chroma the luma's sampling
// factors and the luma the chroma's: the decoder refuses a first component
// sampled below the others.
TEST(CodecRobustness, FirstComponentSampledBelowTheOthersIsRefused) {
  EncodeOptions o;
  o.subsampling = Subsampling::k420;
  std::vector<uint8_t> jpeg = Encode(Crop(Water(), 0, 0, 32, 32, 3), o);
  const std::array<uint8_t, 2> sofMarker = {0xFF, 0xC0};
  const auto sof = std::search(jpeg.begin(), jpeg.end(), sofMarker.begin(), sofMarker.end());
  ASSERT_NE(sof, jpeg.end());
  const auto factors = [&](int c) -> uint8_t& { return *(sof + 11 + 3 * c); };  // after FF C0, length, P, Y, X, Nf
  ASSERT_EQ(factors(0), 0x22);
  std::swap(factors(0), factors(1));
  EXPECT_THROW(Decode(jpeg.data(), jpeg.size()), std::runtime_error);
}

TEST(CodecRobustness, TheToolExitsWithAnErrorOnDamagedFiles) {
  Scratch scratch;
  const Image picture = Crop(Water(), 0, 0, 40, 24, 3);
  const std::vector<uint8_t> jpeg = Encode(picture, {});
  const std::string tool = VEKJ_JPEG_TOOL, out = scratch.Path("out.png");
  WriteFile(scratch.Path("whole.jpg"), jpeg);
  WriteFile(scratch.Path("cut.jpg"), std::vector<uint8_t>(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2)));
  WriteFile(scratch.Path("junk.jpg"), std::vector<uint8_t>(100, 0xFF));
  EXPECT_EQ(RunTool(tool + " decode " + scratch.Path("whole.jpg") + " " + out), 0);
  EXPECT_NE(RunTool(tool + " decode " + scratch.Path("cut.jpg") + " " + out), 0);
  EXPECT_NE(RunTool(tool + " decode " + scratch.Path("junk.jpg") + " " + out), 0);
  EXPECT_NE(RunTool(tool + " decode " + scratch.Path("missing.jpg") + " " + out), 0);
}

}  // namespace
}  // namespace codec
