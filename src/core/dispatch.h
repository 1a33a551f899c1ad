// Choosing a kernel form once per call: the plain C++ form, or the Highway
// form compiled for the best SIMD target of this processor.
//
// Kernel files compile their SIMD forms once per target with
// hwy/foreach_target.h, export them with HWY_EXPORT, and pick with
//
//   VEK_PICK(Sub128RowScalar, Sub128Row)
//
// which yields a pointer to the form to run. The environment variable
// VEKJ_SIMD forces a choice for the whole process, for bug reports and
// comparisons: "scalar" (plain C++ forms), "emu128", "sse4", "avx2" or
// "avx512". A target the processor lacks is ignored.
#pragma once

#include <hwy/highway.h>
#include <hwy/targets.h>

#include <atomic>

namespace vek {

namespace detail {
// Reads VEKJ_SIMD: true for "scalar"; a named target narrows Highway's
// choice to it.
bool ApplySimdOverride();
extern std::atomic<bool> g_scalarFormsByCaller;
}  // namespace detail

// True when VEKJ_SIMD=scalar or ForceScalarForms(true); the first call also
// applies a target named in VEKJ_SIMD. Inline, as it runs on every call of
// a kernel that picks a form, some of which code one block.
inline bool ScalarFormsForced() {
  static const bool byEnvironment = detail::ApplySimdOverride();
  return byEnvironment || detail::g_scalarFormsByCaller.load(std::memory_order_relaxed);
}

// For tests and benchmarks: run the plain C++ forms from now on (or not).
void ForceScalarForms(bool on);

template <class Fn, std::size_t N>
Fn PickForm(Fn scalar, Fn const (&table)[N]) {
  if (ScalarFormsForced()) return scalar;
  static hwy::ChosenTarget& chosen = hwy::GetChosenTarget();
  return table[chosen.GetIndex()];
}

}  // namespace vek

#define VEK_PICK(SCALAR, FUNC) ::vek::PickForm(&SCALAR, HWY_DISPATCH_TABLE(FUNC))
