// Entropy coding of a real 3-megapixel photograph (2048x1536, quality 90,
// 4:2:0, standard tables), side by side with libjpeg-turbo's entropy-only
// path: decoding is vekj's block decoder over every scan against
// jpeg_read_coefficients of the same file; encoding is vekj's block encoder
// against jpeg_write_coefficients of the same coefficients. Each iteration
// runs both, alternating which goes first; the counters give megapixels per
// second for each and their ratio (vekj over libjpeg-turbo).
#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "support/coefficients.h"
#include "support/jpeg_markers.h"
#include "support/libjpeg_peer.h"
#include "support/photo.h"
#include "support/vekj_entropy.h"

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

double Seconds(const std::chrono::steady_clock::time_point& start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs ours() and theirs() once per iteration, the order alternating, and
// reports both rates and the ratio.
template <class Ours, class Theirs>
void SideBySide(benchmark::State& state, const Ours& ours, const Theirs& theirs) {
  double oursSeconds = 0, theirsSeconds = 0;
  bool oursFirst = true;
  for (auto _ : state) {
    for (int turn = 0; turn < 2; ++turn) {
      const auto start = std::chrono::steady_clock::now();
      if ((turn == 0) == oursFirst) {
        ours();
        oursSeconds += Seconds(start);
      } else {
        theirs();
        theirsSeconds += Seconds(start);
      }
    }
    oursFirst = !oursFirst;
  }
  const double frames = static_cast<double>(state.iterations()) * Cups().megapixels;
  state.counters["vekj_MP/s"] = frames / oursSeconds;
  state.counters["libjpeg_MP/s"] = frames / theirsSeconds;
  state.counters["ratio"] = theirsSeconds / oursSeconds;
}

void Decode(benchmark::State& state) {
  const Photograph& p = Cups();
  SideBySide(
      state, [&] { benchmark::DoNotOptimize(test::DecodeWithVekj(p.parsed)); },
      [&] { test::ReadCoefficientsOnlyWithLibjpeg(p.file); });
}

void Encode(benchmark::State& state) {
  const Photograph& p = Cups();
  const test::LibjpegCoefficients theirs(p.file);
  test::JpegScan scan = p.parsed.scans.at(0);
  SideBySide(
      state, [&] { benchmark::DoNotOptimize(test::EncodeScanWithVekj(p.parsed.frame, scan, p.coefs)); },
      [&] { benchmark::DoNotOptimize(theirs.Write()); });
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("HuffmanDecode_3MP_q90_420/vs_libjpeg-turbo", Decode)->Unit(benchmark::kMillisecond)->UseRealTime();
  benchmark::RegisterBenchmark("HuffmanEncode_3MP_q90_420/vs_libjpeg-turbo", Encode)->Unit(benchmark::kMillisecond)->UseRealTime();
  return true;
}();

}  // namespace
}  // namespace vek::bench
