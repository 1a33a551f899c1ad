// Argument checks in parameter order: the first failing check decides.
//
//   if (VekStatus st = ArgCheck().Ptr(pSrc).Step(srcStep).Ptr(pDst).Roi(roi)) return st;
#pragma once

#include "vekj.h"

namespace vek {

class ArgCheck {
 public:
  constexpr operator VekStatus() const { return status_; }

  ArgCheck& Ptr(const void* p) { return Fail(p == nullptr, vekStsNullPtr); }
  // A plane array, then each of its first n planes.
  template <class T>
  ArgCheck& Planes(const T* const* planes, int n) {
    Ptr(planes);
    for (int i = 0; i < n && status_ == vekStsOk; ++i) Ptr(planes[i]);
    return *this;
  }
  ArgCheck& Step(int step) { return Fail(step < 1, vekStsBadStep); }
  ArgCheck& Roi(VekiRoiSize roi) { return Fail(roi.width < 1 || roi.height < 1, vekStsBadSize); }
  ArgCheck& Size(bool ok) { return Fail(!ok, vekStsBadSize); }
  ArgCheck& Arg(bool ok) { return Fail(!ok, vekStsBadArg); }
  // A buffer position through a pointer that an earlier check has passed:
  // below 0 is vekStsBadArg. Read only when every check so far passed.
  ArgCheck& Position(const int* pos) { return status_ != vekStsOk ? *this : Fail(*pos < 0, vekStsBadArg); }

 private:
  ArgCheck& Fail(bool failed, VekStatus status) {
    if (status_ == vekStsOk && failed) status_ = status;
    return *this;
  }
  VekStatus status_ = vekStsOk;
};

}  // namespace vek
