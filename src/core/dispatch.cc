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

std::atomic<bool> g_scalar_forced_by_caller{false};

constexpr NamedTarget kTargets[] = {
    {"emu128", HWY_EMU128}, {"sse4", HWY_SSE4}, {"avx2", HWY_AVX2}, {"avx512", HWY_AVX3},
};

// Reads VEKJ_SIMD once. A named target narrows Highway's choice to it.
bool ApplySimdOverride() {
  const char* env = std::getenv("VEKJ_SIMD");
  if (env == nullptr) return false;
  if (std::strcmp(env, "scalar") == 0) return true;
  for (const NamedTarget& t : kTargets) {
    if (std::strcmp(env, t.name) == 0 && (hwy::SupportedTargets() & t.target) != 0) {
      hwy::SetSupportedTargetsForTest(t.target);
    }
  }
  return false;
}

}  // namespace

bool ScalarFormsForced() {
  static const bool forced_by_env = ApplySimdOverride();
  return forced_by_env || g_scalar_forced_by_caller.load(std::memory_order_relaxed);
}

void ForceScalarForms(bool on) { g_scalar_forced_by_caller.store(on, std::memory_order_relaxed); }

}  // namespace vek
