// Entropy coding of a real 3-megapixel photograph (2048x1536, quality 90,
// 4:2:0, standard tables), side by side with libjpeg-turbo's entropy-only
// path: decoding is vekj's block decoder over every scan (into coefficient
// arrays kept between calls; every block is cleared by the decoder) against
// jpeg_read_coefficients of the same file (which allocates and clears its
// own); encoding is vekj's block encoder against jpeg_write_coefficients of
// the same coefficients, each into an output buffer of its own that is large
// enough and kept between calls. Each iteration runs both, alternating which
// goes first; the counters give megapixels per second for each from its
// fastest call (on a shared machine the slower calls mostly measure
// interruptions) and their ratio (vekj over libjpeg-turbo). The encoder also
// runs alone in each of its forms, the plain one and each SIMD target's.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_util.h"
#include "support/coefficients.h"
#include "support/jpeg_markers.h"
#include "support/libjpeg_peer.h"
#include "support/photo.h"
#include "support/vekj_entropy.h"
#include "vekj.h"

namespace vek::bench {
namespace {

struct Photograph {
  std::vector<uint8_t> file;
  test::JpegFile parsed;
  test::CoefImage coefs;
  double megapixels = 0;
};

const Photograph& Cups() {
  static const Photograph photo = [] {
    const test::Photo pixels = test::LoadJpeg(test::TestDataPath(test::kBenchPhoto));
    Photograph p;
    p.file = test::CompressWithLibjpeg(pixels, {90, true, 0, false, false});
    p.parsed = test::ParseJpeg(p.file);
    p.coefs = test::DecodeWithVekj(p.parsed);
    p.megapixels = pixels.width * static_cast<double>(pixels.height) / 1e6;
    return p;
  }();
  return photo;
}

void Decode(benchmark::State& state) {
  const Photograph& p = Cups();
  test::CoefImage into = p.coefs;
  SideBySide(
      state, p.megapixels * 1e6, "libjpeg", [&] { test::DecodeWithVekj(p.parsed, into); },
      [&] { test::ReadCoefficientsOnlyWithLibjpeg(p.file); });
}

void Encode(benchmark::State& state) {
  const Photograph& p = Cups();
  const test::LibjpegCoefficients theirs(p.file);
  const test::JpegScan& scan = p.parsed.scans.at(0);
  std::vector<uint8_t> ours, theirsOut(2 * p.file.size());
  SideBySide(
      state, p.megapixels * 1e6, "libjpeg",
      [&] { benchmark::DoNotOptimize(test::EncodeScanWithVekj(p.parsed.frame, scan, p.coefs, ours)); },
      [&] { benchmark::DoNotOptimize(theirs.Write(theirsOut)); });
}

// The encoder alone in each of its forms, so that a form that falls behind
// the plain one shows.
void EncodeInForm(benchmark::State& state) {
  const Photograph& p = Cups();
  const test::JpegScan& scan = p.parsed.scans.at(0);
  std::vector<uint8_t> out;
  RunPixels(state, p.megapixels * 1e6, 0,
            [&] { benchmark::DoNotOptimize(test::EncodeScanWithVekj(p.parsed.frame, scan, p.coefs, out)); });
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("HuffmanDecode_3MP_q90_420/vs_libjpeg-turbo", Decode)->Unit(benchmark::kMillisecond)->UseRealTime();
  benchmark::RegisterBenchmark("HuffmanEncode_3MP_q90_420/vs_libjpeg-turbo", Encode)->Unit(benchmark::kMillisecond)->UseRealTime();
  RegisterPerForm("HuffmanEncode_3MP_q90_420/threads:1", EncodeInForm);
  return true;
}();

}  // namespace
}  // namespace vek::bench
