// Colour conversion and sampling over the 2048x1536 photograph.
//  - 4:2:0 forward and inverse side by side with libjpeg-turbo's
//    tjEncodeYUV3 / tjDecodeYUV (fast up-sampling), one thread, alternating
//    call by call: MP/s of each from its fastest call, and the ratio.
//  - Every whole-image 4:4:4 conversion: MP/s and the ratio to memcpy of its
//    larger buffer, one thread in every form, then all threads.
//  - Whole-plane chroma sampling, MP/s of destination pixels.
//  - The MCU functions: nanoseconds per MCU.
#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench_util.h"
#include "support/photo.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek::bench {
namespace {

using Clock = std::chrono::steady_clock;

const test::Photo& Photo() {
  static const test::Photo photo = test::LoadJpeg(test::TestDataPath(test::kBenchPhoto));
  return photo;
}

// Planes of one image: Y full size, chroma halved as the sampling says.
struct Ycc {
  int w, h, cw, ch;
  std::vector<Vek8u> y, cb, cr;
  Ycc(int w_, int h_, int rowsPerChroma)
      : w(w_), h(h_), cw((w_ + 1) / 2), ch(rowsPerChroma == 2 ? (h_ + 1) / 2 : h_),
        y(static_cast<std::size_t>(w * h)), cb(static_cast<std::size_t>(cw * ch)), cr(cb.size()) {}
};

void Forward420VsTurbo(benchmark::State& state) {
  const test::Photo& p = Photo();
  Ycc ours(p.width, p.height, 2);
  Vek8u* planes[3] = {ours.y.data(), ours.cb.data(), ours.cr.data()};
  const int steps[3] = {ours.w, ours.cw, ours.cw};
  std::vector<Vek8u> theirs(tjBufSizeYUV2(p.width, 1, p.height, TJSAMP_420));
  tjhandle tj = tjInitCompress();
  vekSetNumThreads(1);  // the 4:2:0 race is on one thread
  SideBySide(
      state, static_cast<double>(p.width) * p.height, "tj",
      [&] {
        vekiRGBToYCbCr411_JPEG_8u_C3P3R(p.pixels.data(), 3 * p.width, planes, steps, {p.width, p.height});
        benchmark::ClobberMemory();
      },
      [&] {
        tjEncodeYUV3(tj, p.pixels.data(), p.width, 3 * p.width, p.height, TJPF_RGB, theirs.data(), 1, TJSAMP_420, 0);
        benchmark::ClobberMemory();
      });
  vekSetNumThreads(0);
  tjDestroy(tj);
}

void Inverse420VsTurbo(benchmark::State& state) {
  const test::Photo& p = Photo();
  Ycc ycc(p.width, p.height, 2);
  std::vector<Vek8u> yuv(tjBufSizeYUV2(p.width, 1, p.height, TJSAMP_420));
  tjhandle enc = tjInitCompress(), dec = tjInitDecompress();
  tjEncodeYUV3(enc, p.pixels.data(), p.width, 3 * p.width, p.height, TJPF_RGB, yuv.data(), 1, TJSAMP_420, 0);
  const Vek8u* planes[3] = {yuv.data(), yuv.data() + ycc.w * ycc.h, yuv.data() + ycc.w * ycc.h + ycc.cw * ycc.ch};
  const int steps[3] = {ycc.w, ycc.cw, ycc.cw};
  std::vector<Vek8u> rgbOurs(p.pixels.size()), rgbTheirs(p.pixels.size());
  vekSetNumThreads(1);  // the 4:2:0 race is on one thread
  SideBySide(
      state, static_cast<double>(p.width) * p.height, "tj",
      [&] {
        vekiYCbCr411ToRGB_JPEG_8u_P3C3R(planes, steps, rgbOurs.data(), 3 * p.width, {p.width, p.height});
        benchmark::ClobberMemory();
      },
      [&] {
        tjDecodeYUV(dec, yuv.data(), 1, TJSAMP_420, rgbTheirs.data(), p.width, 3 * p.width, p.height, TJPF_RGB,
                    TJFLAG_FASTUPSAMPLE);
        benchmark::ClobberMemory();
      });
  vekSetNumThreads(0);
  tjDestroy(enc);
  tjDestroy(dec);
}

// ---- Whole-image 4:4:4 against memcpy -----------------------------------------------------

// A 4:4:4 conversion of the photograph: source and destination buffers of
// so many bytes per pixel (planes or interleaved), and the call.
struct Whole {
  const char* name;
  int srcBytes, dstBytes;
  std::function<void(const Vek8u* src, int srcPixelBytes, Vek8u* dst, int w, int h)> run;
};

std::vector<Whole> Wholes() {
  // Planar buffers are three (or four) w*h planes one after another.
  auto planes3 = [](auto* base, int w, int h) {
    using T = std::remove_pointer_t<decltype(base)>;
    return std::array<T*, 4>{base, base + w * h, base + 2 * w * h, base + 3 * w * h};
  };
  return {
      {"RGBToYCbCr_C3P3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGBToYCbCr_JPEG_8u_C3P3R(s, 3 * w, planes3(d, w, h).data(), w, {w, h}); }},
      {"BGRToYCbCr_C3P3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiBGRToYCbCr_JPEG_8u_C3P3R(s, 3 * w, planes3(d, w, h).data(), w, {w, h}); }},
      {"RGBToYCbCr_C4P3R", 4, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGBToYCbCr_JPEG_8u_C4P3R(s, 4 * w, planes3(d, w, h).data(), w, {w, h}); }},
      {"RGBToYCbCr_P3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGBToYCbCr_JPEG_8u_P3R(planes3(s, w, h).data(), w, planes3(d, w, h).data(), w, {w, h}); }},
      {"RGB565ToYCbCr", 2, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGB565ToYCbCr_JPEG_16u8u_C3P3R(reinterpret_cast<const Vek16u*>(s), 2 * w, planes3(d, w, h).data(), w, {w, h}); }},
      {"RGBToY_C3C1R", 3, 1, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGBToY_JPEG_8u_C3C1R(s, 3 * w, d, w, {w, h}); }},
      {"RGBToY_P3C1R", 3, 1, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiRGBToY_JPEG_8u_P3C1R(planes3(s, w, h).data(), w, d, w, {w, h}); }},
      {"YCbCrToRGB_P3C3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCrToRGB_JPEG_8u_P3C3R(planes3(s, w, h).data(), w, d, 3 * w, {w, h}); }},
      {"YCbCrToBGR_P3C3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCrToBGR_JPEG_8u_P3C3R(planes3(s, w, h).data(), w, d, 3 * w, {w, h}); }},
      {"YCbCrToRGB_P3C4R", 3, 4, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCrToRGB_JPEG_8u_P3C4R(planes3(s, w, h).data(), w, d, 4 * w, {w, h}, 255); }},
      {"YCbCrToRGB_P3R", 3, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCrToRGB_JPEG_8u_P3R(planes3(s, w, h).data(), w, planes3(d, w, h).data(), w, {w, h}); }},
      {"YCbCrToRGB565", 3, 2, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCrToRGB565_JPEG_8u16u_P3C3R(planes3(s, w, h).data(), w, reinterpret_cast<Vek16u*>(d), 2 * w, {w, h}); }},
      {"CMYKToYCCK_C4P4R", 4, 4, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiCMYKToYCCK_JPEG_8u_C4P4R(s, 4 * w, planes3(d, w, h).data(), w, {w, h}); }},
      {"CMYKToYCCK_P4R", 4, 4, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiCMYKToYCCK_JPEG_8u_P4R(planes3(s, w, h).data(), w, planes3(d, w, h).data(), w, {w, h}); }},
      {"YCCKToCMYK_P4C4R", 4, 4, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCCKToCMYK_JPEG_8u_P4C4R(planes3(s, w, h).data(), w, d, 4 * w, {w, h}); }},
      {"YCCKToCMYK_P4R", 4, 4, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCCKToCMYK_JPEG_8u_P4R(planes3(s, w, h).data(), w, planes3(d, w, h).data(), w, {w, h}); }},
      {"YCbCr422ToRGB_C2C3R", 2, 3, [=](const Vek8u* s, int, Vek8u* d, int w, int h) { vekiYCbCr422ToRGB_JPEG_8u_C2C3R(s, 2 * w, d, 3 * w, {w, h}); }},
  };
}

void RunWhole(benchmark::State& state, const Whole& c, int threads) {
  vekSetNumThreads(threads);
  const test::Photo& p = Photo();
  const std::size_t pixels = static_cast<std::size_t>(p.width) * p.height;
  // The photograph's bytes, repeated to fill the source.
  std::vector<Vek8u> src(pixels * static_cast<std::size_t>(c.srcBytes));
  for (std::size_t i = 0; i < src.size(); ++i) src[i] = p.pixels[i % p.pixels.size()];
  std::vector<Vek8u> dst(pixels * static_cast<std::size_t>(c.dstBytes));
  RunPixels(state, static_cast<double>(pixels), std::max(src.size(), dst.size()), [&] {
    c.run(src.data(), c.srcBytes, dst.data(), p.width, p.height);
    benchmark::DoNotOptimize(dst.data());
  });
  vekSetNumThreads(0);
}

// ---- Sampling: the photograph's green channel as a plane -------------------------------------

void RunSampling(benchmark::State& state, int which, int threads) {
  vekSetNumThreads(threads);
  const test::Photo& p = Photo();
  const int w = p.width, h = p.height;
  // One context row above and below, as the H2V2 up-sampler reads them.
  std::vector<Vek8u> plane(static_cast<std::size_t>(w * (h + 2)));
  for (std::size_t i = 0; i < plane.size(); ++i) plane[i] = p.pixels[(3 * i + 1) % p.pixels.size()];
  std::vector<Vek8u> out(static_cast<std::size_t>(4 * w * h));
  const Vek8u* src = plane.data() + w;
  const int hw = w / 2, hh = h / 2;
  RunPixels(state, which < 2 ? static_cast<double>(hw) * hh : 4.0 * hw * hh, 0, [&] {
    if (which == 0) vekiSampleDownH2V1_JPEG_8u_C1R(src, w, {w, h}, out.data(), hw, {hw, h});
    if (which == 1) vekiSampleDownH2V2_JPEG_8u_C1R(src, w, {w, h}, out.data(), hw, {hw, hh});
    if (which == 2) vekiSampleUpH2V1_JPEG_8u_C1R(src, w, {hw, h}, out.data(), w, {w, h});
    if (which == 3) vekiSampleUpH2V2_JPEG_8u_C1R(src, w, {hw, hh}, out.data(), w, {w, 2 * hh});
    benchmark::DoNotOptimize(out.data());
  });
  vekSetNumThreads(0);
}

// ---- MCUs -----------------------------------------------------------------------------------

void RunMcus(benchmark::State& state, const std::function<void(std::size_t i)>& one, std::size_t count) {
  std::size_t i = 0;
  const auto start = Clock::now();
  for (auto _ : state) {
    one(i);
    i = i + 1 == count ? 0 : i + 1;
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  state.counters["ns/MCU"] = seconds * 1e9 / static_cast<double>(state.iterations());
}

// The photograph cut into 16x16 MCUs, converted one by one.
void McuForward(benchmark::State& state, int kind) {
  const test::Photo& p = Photo();
  const std::size_t count = static_cast<std::size_t>(p.width / 16) * static_cast<std::size_t>(p.height / 16);
  std::vector<Vek16s> y(256), cb(64), cr(64);
  Vek16s* blocks[3] = {y.data(), cb.data(), cr.data()};
  RunMcus(
      state,
      [&](std::size_t i) {
        const Vek8u* at = p.pixels.data() + (i / (p.width / 16)) * 16 * 3 * p.width + (i % (p.width / 16)) * 48;
        if (kind == 0) vekiRGBToYCbCr444LS_MCU_8u16s_C3P3R(at, 3 * p.width, blocks);
        if (kind == 1) vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(at, 3 * p.width, blocks);
        if (kind == 2) vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R(at, 3 * p.width, blocks);
        benchmark::DoNotOptimize(y.data());
      },
      count);
}

void McuInverse(benchmark::State& state, int kind) {
  std::vector<Vek16s> y(256), cb(64), cr(64);
  for (std::size_t i = 0; i < 256; ++i) y[i] = static_cast<Vek16s>(static_cast<int>(i % 200) - 100);
  for (std::size_t i = 0; i < 64; ++i) cb[i] = cr[i] = static_cast<Vek16s>(static_cast<int>(i) - 32);
  const Vek16s* blocks[3] = {y.data(), cb.data(), cr.data()};
  std::vector<Vek8u> out(16 * 16 * 3);
  RunMcus(
      state,
      [&](std::size_t) {
        if (kind == 0) vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(blocks, out.data(), 48);
        if (kind == 1) vekiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(blocks, out.data(), 48);
        if (kind == 2) vekiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(blocks, out.data(), 48);
        benchmark::DoNotOptimize(out.data());
      },
      1);
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("Colour/RGBToYCbCr411_vs_tjEncodeYUV3/threads:1", Forward420VsTurbo)
      ->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Colour/YCbCr411ToRGB_vs_tjDecodeYUV/threads:1", Inverse420VsTurbo)
      ->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMillisecond);
  for (const Whole& c : Wholes()) {
    RegisterPerForm(std::string("Colour/") + c.name + "/threads:1", [c](benchmark::State& s) { RunWhole(s, c, 1); });
    benchmark::RegisterBenchmark((std::string("Colour/") + c.name + "/threads:all/best").c_str(),
                                 [c](benchmark::State& s) { RunWhole(s, c, 0); })
        ->UseRealTime();
  }
  const char* sampling[4] = {"SampleDownH2V1", "SampleDownH2V2", "SampleUpH2V1", "SampleUpH2V2"};
  for (int which = 0; which < 4; ++which) {
    RegisterPerForm(std::string("Sampling/") + sampling[which] + "/threads:1",
                    [which](benchmark::State& s) { RunSampling(s, which, 1); });
  }
  const char* sub[3] = {"444", "422", "411"};
  for (int kind = 0; kind < 3; ++kind) {
    benchmark::RegisterBenchmark((std::string("Mcu/RGBToYCbCr") + sub[kind] + "LS").c_str(),
                                 [kind](benchmark::State& s) { McuForward(s, kind); });
    benchmark::RegisterBenchmark((std::string("Mcu/YCbCr") + sub[kind] + "ToRGBLS").c_str(),
                                 [kind](benchmark::State& s) { McuInverse(s, kind); });
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
