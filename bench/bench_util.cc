#include "bench_util.h"

#include <hwy/targets.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>

#include "core/dispatch.h"

namespace vek::bench {

double MemcpyBytesPerSecond(std::size_t bytes) {
  static std::mutex mutex;
  static std::map<std::size_t, double> rates;
  std::lock_guard<std::mutex> lock(mutex);
  if (auto it = rates.find(bytes); it != rates.end()) return it->second;
  std::vector<char> src(bytes, 1), dst(bytes, 0);
  double best = 0;
  for (int i = 0; i < 20; ++i) {
    const auto start = std::chrono::steady_clock::now();
    std::memcpy(dst.data(), src.data(), bytes);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    best = std::max(best, static_cast<double>(bytes) / seconds);
  }
  rates[bytes] = best;
  return best;
}

void ReportPixelRate(benchmark::State& state, double pixels, double seconds, std::size_t memcpy_bytes) {
  const double rate = pixels / seconds;
  state.counters["MP/s"] = rate / 1e6;
  if (memcpy_bytes != 0) {
    const double per_call = pixels / static_cast<double>(state.iterations());
    state.counters["x_memcpy"] = rate / (MemcpyBytesPerSecond(memcpy_bytes) * per_call / static_cast<double>(memcpy_bytes));
  }
}

std::string FormName(int64_t target) { return std::string("hwy_") + hwy::TargetName(target); }

std::vector<Form> Forms() {
  std::vector<Form> forms = {{"scalar", 0}};
  for (int64_t t : hwy::SupportedAndGeneratedTargets()) forms.push_back({FormName(t), t});
  return forms;
}

void UseForm(const Form& form) {
  ForceScalarForms(form.target == 0);
  hwy::SetSupportedTargetsForTest(form.target);
}

void UseBestForm() {
  ForceScalarForms(false);
  hwy::SetSupportedTargetsForTest(0);
}

void RegisterPerForm(const std::string& name, const std::function<void(benchmark::State&)>& body) {
  for (const Form& form : Forms()) {
    benchmark::RegisterBenchmark((name + "/" + form.name).c_str(), [form, body](benchmark::State& state) {
      UseForm(form);
      body(state);
      UseBestForm();
    });
  }
}

}  // namespace vek::bench
