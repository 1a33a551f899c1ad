// Helpers that run a test on every SIMD target compiled into the library, so
// that each target's form is compared bit for bit with the plain C++ form.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "core/dispatch.h"

namespace vek::test {

// Calls body() once per target compiled in and supported by this processor,
// with the library's dispatch forced to that target; the gtest trace names
// the target on failure. Restores the normal choice afterwards.
void ForEachSimdTarget(const std::function<void()>& body);

// Calls body() with the plain C++ forms, then once per SIMD target.
void ForEachForm(const std::function<void()>& body);

// Calls produce() with the plain C++ forms, then once per SIMD target, and
// expects every target's result to equal the plain one.
template <class Produce>
void ExpectEveryTargetMatchesScalar(const Produce& produce) {
  ForceScalarForms(true);
  const auto scalar = produce();
  ForceScalarForms(false);
  ForEachSimdTarget([&] { EXPECT_TRUE(produce() == scalar) << "differs from the plain C++ form"; });
}

// Widths 1 to 3 vectors of the widest target plus one, so that every count
// of whole vectors and every tail length occurs, and a few wide ones.
std::vector<int32_t> BoundaryWidths();

// A deterministic generator per test, so that failures reproduce.
std::mt19937& Rng();

template <class T>
std::vector<T> RandomVector(std::size_t n, int64_t lo, int64_t hi) {
  std::uniform_int_distribution<int64_t> dist(lo, hi);
  std::vector<T> v(n);
  for (T& x : v) x = static_cast<T>(dist(Rng()));
  return v;
}

// Thread counts whose results must all agree.
inline constexpr int kThreadCounts[] = {1, 2, 3, 7};

}  // namespace vek::test
