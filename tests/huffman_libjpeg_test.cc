// The Huffman coders against libjpeg-turbo through its coefficient API:
// files it writes decode with vekj's decoders to its coefficients, and files
// written with vekj's encoders read back in it to the coefficients coded.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/coefficients.h"
#include "support/jpeg_markers.h"
#include "support/libjpeg_peer.h"
#include "support/photo.h"
#include "support/vekj_entropy.h"

namespace vek::test {
namespace {

// The photographs, one cropped to a size that leaves partial MCUs, and a
// grey one (single-component scans).
const std::vector<Photo>& Photos() {
  static const std::vector<Photo> photos = [] {
    Photo cups = LoadJpeg(TestDataPath("cups-2048x1536.jpg"));
    Photo water = LoadJpeg(TestDataPath("water-1024x768.jpg"));
    Photo cropped{333, 250, 3, {}};
    for (int y = 0; y < cropped.height; ++y) {
      const auto* row = water.pixels.data() + static_cast<std::size_t>(y) * water.width * 3;
      cropped.pixels.insert(cropped.pixels.end(), row, row + cropped.width * 3);
    }
    Photo grey = LoadJpeg(TestDataPath("water-1024x768.jpg"), 1);
    return std::vector<Photo>{std::move(cups), std::move(water), std::move(cropped), std::move(grey)};
  }();
  return photos;
}

std::string Describe(const Photo& p, const LibjpegOptions& o) {
  return std::to_string(p.width) + "x" + std::to_string(p.height) + "x" + std::to_string(p.channels) + " q" +
         std::to_string(o.quality) + (o.subsample420 ? " 4:2:0" : " 4:4:4") + " restart " +
         std::to_string(o.restartInterval) + (o.optimize ? " optimised" : " standard") +
         (o.progressive ? " progressive" : " baseline");
}

std::vector<LibjpegOptions> Variants() {
  std::vector<LibjpegOptions> all;
  for (bool progressive : {false, true}) {
    for (bool sub : {true, false}) {
      for (int restart : {0, 7}) {
        for (bool optimize : {false, true}) {
          if (progressive && optimize) continue;  // progressive files are always optimised
          all.push_back({90, sub, restart, optimize, progressive});
        }
      }
    }
  }
  all.push_back({50, true, 1, false, false});
  all.push_back({100, false, 0, true, true});
  return all;
}

TEST(HuffmanPeer, DecodesWhatLibjpegWrites) {
  for (const Photo& photo : Photos()) {
    for (const LibjpegOptions& options : Variants()) {
      SCOPED_TRACE(Describe(photo, options));
      const auto jpeg = CompressWithLibjpeg(photo, options);
      const CoefImage want = ReadCoefficientsWithLibjpeg(jpeg);
      const CoefImage got = DecodeWithVekj(ParseJpeg(jpeg));
      EXPECT_EQ(CompareCoefficients(got, want), "");
    }
  }
}

TEST(HuffmanPeer, LibjpegReadsWhatVekjWrites) {
  for (const Photo& photo : Photos()) {
    for (const LibjpegOptions& options : Variants()) {
      SCOPED_TRACE(Describe(photo, options));
      const auto source = CompressWithLibjpeg(photo, options);
      const CoefImage coefs = ReadCoefficientsWithLibjpeg(source);
      const JpegFrame frame = MakeFrame(photo.width, photo.height, photo.channels, options.subsample420);
      const EncodeOptions ours{options.progressive, options.optimize, options.restartInterval};
      const auto written = EncodeFileWithVekj(frame, coefs, ours);
      EXPECT_EQ(CompareCoefficients(ReadCoefficientsWithLibjpeg(written), coefs), "");
      EXPECT_EQ(CompareCoefficients(DecodeWithVekj(ParseJpeg(written)), coefs), "");
    }
  }
}

}  // namespace
}  // namespace vek::test
