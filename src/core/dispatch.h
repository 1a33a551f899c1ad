// Choosing a kernel form on each call: the plain C++ form, or the Highway
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
// The dispatch-table index of the forms that run, or -1 for the plain C++
// forms. Index 0, its value until the library's initialiser has run, is
// Highway's own chooser, which is always correct.
extern std::atomic<int> g_form;
}  // namespace detail

// For tests and benchmarks: run the plain C++ forms from now on (or not).
void ForceScalarForms(bool on);
// For tests and benchmarks: run the forms of one Highway target, or with 0
// the best one this processor has.
void UseSimdTarget(int64_t target);

// One relaxed load and a table read: some kernels that pick a form code a
// single block per call.
template <class Fn, std::size_t N>
Fn PickForm(Fn scalar, Fn const (&table)[N]) {
  const int form = detail::g_form.load(std::memory_order_relaxed);
  return form < 0 ? scalar : table[form];
}

}  // namespace vek

#define VEK_PICK(SCALAR, FUNC) ::vek::PickForm(&SCALAR, HWY_DISPATCH_TABLE(FUNC))
