// Quantisation and the 8x8 DCT members over a stream of blocks from a real
// photograph: nanoseconds per block, the plain form and every SIMD target
// side by side. The tables are the T.81 Annex K luminance table at quality 75.
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "jpeg_syntax.h"
#include "support/photo_blocks.h"
#include "vekj.h"

namespace vek::bench {
namespace {

constexpr std::size_t kBlocks = 2048;  // 128 KiB of samples: the stream stays in L2

struct Stream {
  std::array<Vek8u, 64> raw;
  std::array<Vek16u, 64> fwd, inv;
  std::array<Vek32f, 64> fwdFloat;
  std::vector<Vek8u> samples;       // kBlocks blocks of 8x8, step 8
  std::vector<Vek16u> samples12;    // the same as 12-bit samples, step 16 bytes
  std::vector<Vek16s> shifted;      // samples - 128
  std::vector<Vek16s> transformed;  // unquantised DCT
  std::vector<Vek16s> quantised;    // what a decoder receives
};

const Stream& TheStream() {
  static const Stream s = [] {
    Stream s;
    s.raw = codec::ToZigzag(codec::kLuminanceQuant);
    vekiQuantFwdRawTableInit_JPEG_8u(s.raw.data(), 75);
    vekiQuantFwdTableInit_JPEG_8u16u(s.raw.data(), s.fwd.data());
    vekiQuantInvTableInit_JPEG_8u16u(s.raw.data(), s.inv.data());
    for (int k = 0; k < 64; ++k) s.fwdFloat[k] = 1.0f / static_cast<float>(16 * s.inv[k]);
    const auto& photo = test::PhotoBlocks();
    const std::size_t stride = photo.size() / kBlocks;
    std::array<Vek16u, 64> unit;
    unit.fill(32768);
    for (std::size_t b = 0; b < kBlocks; ++b) {
      const auto& block = photo[b * stride];
      s.samples.insert(s.samples.end(), block.begin(), block.end());
      for (Vek8u v : block) {
        s.samples12.push_back(static_cast<Vek16u>(v * 16));
        s.shifted.push_back(static_cast<Vek16s>(v - 128));
      }
    }
    s.transformed.resize(64 * kBlocks);
    s.quantised.resize(64 * kBlocks);
    for (std::size_t b = 0; b < kBlocks; ++b) {
      vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&s.samples[64 * b], 8, &s.transformed[64 * b], unit.data());
      vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&s.samples[64 * b], 8, &s.quantised[64 * b], s.fwd.data());
    }
    return s;
  }();
  return s;
}

// Runs perBlock(b) over the stream each iteration; reports ns per block.
template <class PerBlock>
void RunBlocks(benchmark::State& state, const PerBlock& perBlock) {
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    for (std::size_t b = 0; b < kBlocks; ++b) perBlock(b);
    benchmark::ClobberMemory();
  }
  const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
  state.counters["ns/block"] = ns / static_cast<double>(state.iterations() * kBlocks);
}

// Registers one export's benchmark in every form; body(stream, out) runs it
// over the stream into 64 * kBlocks output elements of type Out.
template <class Out, class Body>
void Register(const char* name, const Body& body) {
  RegisterPerForm(name, [body](benchmark::State& state) {
    const Stream& s = TheStream();
    std::vector<Out> out(64 * kBlocks);
    RunBlocks(state, [&](std::size_t b) { body(s, b, &out[64 * b]); });
    benchmark::DoNotOptimize(out.data());
  });
}

const bool kRegistered = [] {
  Register<Vek8u>("QuantFwdRawTableInit_JPEG_8u", [](const Stream& s, std::size_t, Vek8u* out) {
    std::copy(s.raw.begin(), s.raw.end(), out);
    vekiQuantFwdRawTableInit_JPEG_8u(out, 90);
  });
  Register<Vek16u>("QuantFwdTableInit_JPEG_8u16u", [](const Stream& s, std::size_t, Vek16u* out) {
    vekiQuantFwdTableInit_JPEG_8u16u(s.raw.data(), out);
  });
  Register<Vek16u>("QuantInvTableInit_JPEG_8u16u", [](const Stream& s, std::size_t, Vek16u* out) {
    vekiQuantInvTableInit_JPEG_8u16u(s.raw.data(), out);
  });
  Register<Vek16s>("QuantFwd8x8_JPEG_16s_C1I", [](const Stream& s, std::size_t b, Vek16s* out) {
    std::copy_n(&s.transformed[64 * b], 64, out);
    vekiQuantFwd8x8_JPEG_16s_C1I(out, s.fwd.data());
  });
  Register<Vek16s>("QuantInv8x8_JPEG_16s_C1I", [](const Stream& s, std::size_t b, Vek16s* out) {
    std::copy_n(&s.quantised[64 * b], 64, out);
    vekiQuantInv8x8_JPEG_16s_C1I(out, s.inv.data());
  });
  Register<Vek16s>("DCTQuantFwd8x8_JPEG_16s_C1", [](const Stream& s, std::size_t b, Vek16s* out) {
    vekiDCTQuantFwd8x8_JPEG_16s_C1(&s.shifted[64 * b], out, s.fwd.data());
  });
  Register<Vek16s>("DCTQuantFwd8x8_JPEG_16s_C1I", [](const Stream& s, std::size_t b, Vek16s* out) {
    std::copy_n(&s.shifted[64 * b], 64, out);
    vekiDCTQuantFwd8x8_JPEG_16s_C1I(out, s.fwd.data());
  });
  Register<Vek16s>("DCTQuantFwd8x8LS_JPEG_8u16s_C1R", [](const Stream& s, std::size_t b, Vek16s* out) {
    vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&s.samples[64 * b], 8, out, s.fwd.data());
  });
  Register<Vek16s>("DCTQuantFwd8x8LS_JPEG_16u16s_C1R", [](const Stream& s, std::size_t b, Vek16s* out) {
    vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(&s.samples12[64 * b], 16, out, s.fwdFloat.data());
  });
  Register<Vek16s>("DCTQuantInv8x8_JPEG_16s_C1", [](const Stream& s, std::size_t b, Vek16s* out) {
    vekiDCTQuantInv8x8_JPEG_16s_C1(&s.quantised[64 * b], out, s.inv.data());
  });
  Register<Vek16s>("DCTQuantInv8x8_JPEG_16s_C1I", [](const Stream& s, std::size_t b, Vek16s* out) {
    std::copy_n(&s.quantised[64 * b], 64, out);
    vekiDCTQuantInv8x8_JPEG_16s_C1I(out, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8LS_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 8, s.inv.data());
  });
  Register<Vek16u>("DCTQuantInv8x8LS_JPEG_16s16u_C1R", [](const Stream& s, std::size_t b, Vek16u* out) {
    vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(&s.quantised[64 * b], out, 16, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 8, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 8, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 8, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 2, s.inv.data());
  });
  Register<Vek8u>("DCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R", [](const Stream& s, std::size_t b, Vek8u* out) {
    vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(&s.quantised[64 * b], out, 4, s.inv.data());
  });
  return true;
}();

}  // namespace
}  // namespace vek::bench
