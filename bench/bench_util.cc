#include "bench_util.h"

#include <hwy/targets.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "core/dispatch.h"

namespace vek::bench {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsOf(const std::function<void()>& call) {
  const auto start = Clock::now();
  call();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

void RunPixels(benchmark::State& state, double pixels, std::size_t memcpy_bytes, const std::function<void()>& body) {
  std::vector<char> from(memcpy_bytes, 1), to(memcpy_bytes, 0);
  const auto copy = [&] {
    std::memcpy(to.data(), from.data(), memcpy_bytes);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  };
  double total = 0, best = 1e9, copyBest = 1e9;
  for (auto _ : state) {
    const double seconds = SecondsOf(body);
    total += seconds;
    best = std::min(best, seconds);
    if (memcpy_bytes != 0) copyBest = std::min(copyBest, SecondsOf(copy));
  }
  state.counters["MP/s"] = pixels * static_cast<double>(state.iterations()) / total / 1e6;
  state.counters["best_MP/s"] = pixels / best / 1e6;
  if (memcpy_bytes != 0) state.counters["x_memcpy"] = copyBest / best;
}

void SideBySide(benchmark::State& state, double pixels, const std::string& peer, const std::function<void()>& ours,
                const std::function<void()>& theirs) {
  double oursBest = 1e9, theirsBest = 1e9;
  bool oursFirst = true;
  for (auto _ : state) {
    for (int turn = 0; turn < 2; ++turn) {
      if ((turn == 0) == oursFirst) {
        oursBest = std::min(oursBest, SecondsOf(ours));
      } else {
        theirsBest = std::min(theirsBest, SecondsOf(theirs));
      }
    }
    oursFirst = !oursFirst;
  }
  state.counters["vekj_MP/s"] = pixels / oursBest / 1e6;
  state.counters[peer + "_MP/s"] = pixels / theirsBest / 1e6;
  state.counters["ratio"] = theirsBest / oursBest;
}

std::string FormName(int64_t target) { return std::string("hwy_") + hwy::TargetName(target); }

std::vector<Form> Forms() {
  std::vector<Form> forms = {{"scalar", 0}};
  for (int64_t t : hwy::SupportedAndGeneratedTargets()) forms.push_back({FormName(t), t});
  return forms;
}

void UseForm(const Form& form) {
  ForceScalarForms(form.target == 0);
  UseSimdTarget(form.target);
}

void UseBestForm() {
  ForceScalarForms(false);
  UseSimdTarget(0);
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
