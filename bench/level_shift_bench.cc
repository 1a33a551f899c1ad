// The level shift over a 4-megapixel image: megapixels per second, and the
// ratio to memcpy of the larger of its two buffers (the 16-bit one). One
// thread in every form side by side, then all threads in the best form.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_util.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek::bench {
namespace {

constexpr VekiRoiSize kImage = {2048, 2048};
constexpr std::size_t kPixels = static_cast<std::size_t>(kImage.width) * kImage.height;

// threads 0 means all that ownGetNumThreads grants by default.
void Sub128(benchmark::State& state, int threads) {
  vekSetNumThreads(threads);
  std::vector<Vek8u> src(kPixels, 77);
  std::vector<Vek16s> dst(kPixels);
  RunPixels(state, kPixels, kPixels * sizeof(Vek16s), [&] {
    vekiSub128_JPEG_8u16s_C1R(src.data(), kImage.width, dst.data(), 2 * kImage.width, kImage);
    benchmark::DoNotOptimize(dst.data());
  });
  vekSetNumThreads(0);
}

void Add128(benchmark::State& state, int threads) {
  vekSetNumThreads(threads);
  std::vector<Vek16s> src(kPixels, -77);
  std::vector<Vek8u> dst(kPixels);
  RunPixels(state, kPixels, kPixels * sizeof(Vek16s), [&] {
    vekiAdd128_JPEG_16s8u_C1R(src.data(), 2 * kImage.width, dst.data(), kImage.width, kImage);
    benchmark::DoNotOptimize(dst.data());
  });
  vekSetNumThreads(0);
}

const bool kRegistered = [] {
  RegisterPerForm("Sub128_4MP/threads:1", [](benchmark::State& s) { Sub128(s, 1); });
  RegisterPerForm("Add128_4MP/threads:1", [](benchmark::State& s) { Add128(s, 1); });
  benchmark::RegisterBenchmark("Sub128_4MP/threads:all/best", [](benchmark::State& s) { Sub128(s, 0); })
      ->UseRealTime();
  benchmark::RegisterBenchmark("Add128_4MP/threads:all/best", [](benchmark::State& s) { Add128(s, 0); })
      ->UseRealTime();
  return true;
}();

}  // namespace
}  // namespace vek::bench
