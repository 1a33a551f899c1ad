#include "simd_check.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace vek::test {

void ForEachSimdTarget(const std::function<void()>& body) {
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    UseSimdTarget(target);
    SCOPED_TRACE(std::string("hwy_") + hwy::TargetName(target));
    body();
  }
  UseSimdTarget(0);
}

void ForEachForm(const std::function<void()>& body) {
  ForceScalarForms(true);
  {
    SCOPED_TRACE("plain C++ form");
    body();
  }
  ForceScalarForms(false);
  ForEachSimdTarget(body);
}

std::vector<int32_t> BoundaryWidths() {
  std::vector<int32_t> widths;
  for (int32_t w = 1; w <= 3 * 64 + 1; ++w) widths.push_back(w);
  for (int32_t w : {255, 256, 257, 1000, 1023, 4097}) widths.push_back(w);
  return widths;
}

std::mt19937& Rng() {
  static thread_local std::mt19937 rng;
  static thread_local const ::testing::TestInfo* seeded_for = nullptr;
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  if (info != seeded_for) {
    rng.seed(static_cast<uint32_t>(std::hash<std::string>{}(std::string(info ? info->name() : ""))));
    seeded_for = info;
  }
  return rng;
}

}  // namespace vek::test
