// Shared pieces of the benchmarks: rates against memcpy in the same run, and
// the forms (plain C++ or one SIMD target) a kernel can be run in.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vek::bench {

// Bytes per second of memcpy over buffers of this size, best of several
// copies, measured once per size in this process.
double MemcpyBytesPerSecond(std::size_t bytes);

// Sets the counters "MP/s" (megapixels per second) and, when memcpy_bytes is
// not 0, "x_memcpy": this rate over memcpy's rate for that many bytes.
void ReportPixelRate(benchmark::State& state, double pixels, double seconds, std::size_t memcpy_bytes);

// Runs body() once per iteration and reports its rate for `pixels` pixels
// per call, against memcpy of memcpy_bytes (0: no ratio).
template <class Body>
void RunPixels(benchmark::State& state, double pixels, std::size_t memcpy_bytes, const Body& body) {
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) body();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ReportPixelRate(state, pixels * static_cast<double>(state.iterations()), seconds, memcpy_bytes);
}

// Highway's name of a target, prefixed so that its SCALAR baseline is not
// mistaken for our plain C++ forms.
std::string FormName(int64_t target);

struct Form {
  std::string name;  // "scalar" or the Highway target's name
  int64_t target;    // 0 for the plain C++ forms
};
// The plain forms and every SIMD target this processor runs.
std::vector<Form> Forms();
// Makes the library's dispatch run this form until the next call.
void UseForm(const Form& form);
// The best target again.
void UseBestForm();
// Registers name/<form> for every form, each run with that form selected:
// the plain C++ form and each SIMD target side by side, as one table.
void RegisterPerForm(const std::string& name, const std::function<void(benchmark::State&)>& body);

}  // namespace vek::bench
