#include "core/dispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vek {
namespace {

struct NamedTarget {
  const char* name;
  int64_t target;
};

constexpr NamedTarget kTargets[] = {
    {"emu128", HWY_EMU128}, {"sse4", HWY_SSE4}, {"avx2", HWY_AVX2}, {"avx512", HWY_AVX3},
};

bool g_scalarByEnvironment = false;
bool g_scalarByCaller = false;

void SelectForm() {
  if (g_scalarByEnvironment || g_scalarByCaller) {
    detail::g_form.store(-1, std::memory_order_relaxed);
    return;
  }
  hwy::ChosenTarget& chosen = hwy::GetChosenTarget();
  chosen.Update(hwy::SupportedTargets());
  detail::g_form.store(static_cast<int>(chosen.GetIndex()), std::memory_order_relaxed);
}

// Reads VEKJ_SIMD once, when the library is loaded: "scalar" selects the
// plain C++ forms, a named target narrows Highway's choice to it.
const bool kEnvironmentApplied = [] {
  const char* env = std::getenv("VEKJ_SIMD");
  if (env != nullptr) {
    g_scalarByEnvironment = std::strcmp(env, "scalar") == 0;
    for (const NamedTarget& t : kTargets) {
      if (std::strcmp(env, t.name) == 0 && (hwy::SupportedTargets() & t.target) != 0) {
        hwy::SetSupportedTargetsForTest(t.target);
      }
    }
  }
  SelectForm();
  return true;
}();

}  // namespace

namespace detail {
std::atomic<int> g_form{0};
}  // namespace detail

void ForceScalarForms(bool on) {
  g_scalarByCaller = on;
  SelectForm();
}

void UseSimdTarget(int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  SelectForm();
}

}  // namespace vek
