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

// Runs body() once per iteration and reports its rate for `pixels` pixels
// per call as "MP/s" (all calls) and "best_MP/s" (its fastest call). With
// memcpy_bytes not 0, each iteration also copies that many bytes between
// buffers of this process, call by call beside body(), and "x_memcpy" is
// body's rate over memcpy's, each from its fastest call: on a shared
// machine the slower calls mostly measure interruptions.
void RunPixels(benchmark::State& state, double pixels, std::size_t memcpy_bytes, const std::function<void()>& body);

// Runs ours() and theirs() once per iteration, alternating which goes first,
// and reports "vekj_MP/s" and "<peer>_MP/s" for `pixels` pixels per call and
// their "ratio" (vekj over the peer), each from its fastest call.
void SideBySide(benchmark::State& state, double pixels, const std::string& peer, const std::function<void()>& ours,
                const std::function<void()>& theirs);

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
