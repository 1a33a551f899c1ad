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

}  // namespace

namespace detail {

std::atomic<bool> g_scalarFormsByCaller{false};

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

}  // namespace detail

void ForceScalarForms(bool on) { detail::g_scalarFormsByCaller.store(on, std::memory_order_relaxed); }

}  // namespace vek
