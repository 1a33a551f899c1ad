// The form choice runs the form that tests and benchmarks force, and the best
// one again when they let go.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "dispatch_test.cc"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vek::test::HWY_NAMESPACE {
int64_t CompiledTarget() { return HWY_TARGET; }
}  // namespace vek::test::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <cstdlib>

#include "core/dispatch.h"

namespace vek::test {

HWY_EXPORT(CompiledTarget);

namespace {

int64_t PlainForm() { return 0; }

int64_t PickedTarget() { return VEK_PICK(PlainForm, CompiledTarget)(); }

TEST(FormChoice, RunsTheForcedFormThenTheBestAgain) {
  if (std::getenv("VEKJ_SIMD") != nullptr) GTEST_SKIP() << "VEKJ_SIMD fixes the form for the whole process";
  const int64_t best = hwy::SupportedAndGeneratedTargets().front();
  EXPECT_EQ(PickedTarget(), best) << "the best target is chosen when the library loads";
  ForceScalarForms(true);
  EXPECT_EQ(PickedTarget(), 0);
  UseSimdTarget(0);
  EXPECT_EQ(PickedTarget(), 0) << "a target change keeps the plain forms forced";
  ForceScalarForms(false);
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    UseSimdTarget(target);
    EXPECT_EQ(PickedTarget(), target) << hwy::TargetName(target);
  }
  UseSimdTarget(0);
  EXPECT_EQ(PickedTarget(), best);
}

}  // namespace
}  // namespace vek::test
#endif  // HWY_ONCE
