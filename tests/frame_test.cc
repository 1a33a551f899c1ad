// The library frame: version record, export table, core services and the
// row-parallel rule.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstdint>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "core/alloc.h"
#include "core/checks.h"
#include "core/export_table.h"
#include "core/row_parallel.h"
#include "vekcore.h"
#include "vekj.h"

namespace vek {
namespace {

TEST(Version, RecordAndPointerAreFixed) {
  const VekLibraryVersion* v = vekjGetLibVersion();
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v, vekjGetLibVersion());
  EXPECT_EQ(v->major, 7);
  EXPECT_EQ(v->minor, 0);
  EXPECT_EQ(v->majorBuild, 205);
  EXPECT_EQ(v->build, 998);
  EXPECT_EQ(std::memcmp(v->targetCpu, "t3\0\0", 4), 0);
  EXPECT_STREQ(v->name, "vekjt3-7.0.dll");
  EXPECT_STREQ(v->version, "7.0 build 205.23");
  EXPECT_STREQ(v->buildDate, "Sep  2 2010");
}

TEST(ExportTable, SortedByteWiseAndEverySlotFilled) {
  ASSERT_GT(kExportCount, 0u);
  EXPECT_STREQ(kExportNames[0], "vekiAdd128_JPEG_16s8u_C1R");
  for (std::size_t i = 0; i < kExportCount; ++i) {
    EXPECT_NE(kExportTable[i], nullptr) << kExportNames[i];
    EXPECT_EQ(std::strncmp(kExportNames[i], "veki", 4), 0) << kExportNames[i];
    if (i > 0) {
      EXPECT_LT(std::strcmp(kExportNames[i - 1], kExportNames[i]), 0) << kExportNames[i];
    }
  }
  const std::set<ExportSlot> distinct(kExportTable, kExportTable + kExportCount);
  EXPECT_EQ(distinct.size(), kExportCount) << "two slots share one implementation";
}

TEST(CoreServices, MallocAlignsAndRefusesEmptyLengths) {
  for (int length : {1, 63, 64, 65, 1 << 20}) {
    void* p = vekMalloc(length);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    std::memset(p, 0xA5, static_cast<std::size_t>(length));
    vekFree(p);
  }
  EXPECT_EQ(vekMalloc(0), nullptr);
  EXPECT_EQ(vekMalloc(-1), nullptr);
  vekFree(nullptr);
  EXPECT_EQ(Allocate(0), nullptr);
  void* p = Allocate(100);
  EXPECT_NE(p, nullptr);
  Release(p);
}

TEST(CoreServices, ThreadCountSetterAndCacheSize) {
  EXPECT_GE(ownGetNumThreads(), 1);
  EXPECT_EQ(vekSetNumThreads(3), vekStsOk);
  EXPECT_EQ(ownGetNumThreads(), 3);
  EXPECT_EQ(vekSetNumThreads(-1), vekStsBadArg);
  EXPECT_EQ(ownGetNumThreads(), 3);
  EXPECT_EQ(vekSetNumThreads(0), vekStsOk);
  EXPECT_GE(ownGetNumThreads(), 1);

  int size = -1;
  EXPECT_EQ(vekGetMaxCacheSizeB(nullptr), vekStsNullPtr);
  EXPECT_EQ(vekGetMaxCacheSizeB(&size), vekStsOk);
  EXPECT_GE(size, 0);
}

TEST(ArgCheck, FirstFailureDecides) {
  int x = 0;
  const int* planes[3] = {&x, nullptr, &x};
  EXPECT_EQ(ArgCheck().Ptr(&x).Step(1).Roi({1, 1}), vekStsOk);
  EXPECT_EQ(ArgCheck().Ptr(nullptr).Step(0).Roi({0, 0}), vekStsNullPtr);
  EXPECT_EQ(ArgCheck().Ptr(&x).Step(0).Roi({0, 0}), vekStsBadStep);
  EXPECT_EQ(ArgCheck().Ptr(&x).Step(1).Roi({1, 0}).Arg(false), vekStsBadSize);
  EXPECT_EQ(ArgCheck().Planes(planes, 3).Step(0), vekStsNullPtr);
  EXPECT_EQ(ArgCheck().Planes(planes, 1).Step(0), vekStsBadStep);
  EXPECT_EQ(ArgCheck().Planes<int>(nullptr, 3), vekStsNullPtr);
}

// Which threads ran which rows, and whether they ran inside a parallel region.
struct RowLog {
  std::mutex mutex;
  std::vector<int> thread_of_row;
  bool any_parallel = false;
  explicit RowLog(int rows) : thread_of_row(static_cast<std::size_t>(rows), -1) {}
  void Record(int32_t r) {
    std::lock_guard<std::mutex> lock(mutex);
    thread_of_row[static_cast<std::size_t>(r)] = omp_get_thread_num();
    any_parallel |= omp_in_parallel() != 0;
  }
};

TEST(RowParallel, AtMost8192PixelsRunSerially) {
  vekSetNumThreads(4);
  RowLog log(64);
  ForEachRow(128, 64, [&](int32_t r) { log.Record(r); });
  EXPECT_FALSE(log.any_parallel);
  for (int t : log.thread_of_row) EXPECT_EQ(t, 0);
  vekSetNumThreads(0);
}

TEST(RowParallel, Above8192PixelsSharesContiguousRuns) {
  vekSetNumThreads(4);
  RowLog single(1);
  ForEachRow(8193, 1, [&](int32_t r) { single.Record(r); });
  EXPECT_TRUE(single.any_parallel);
  EXPECT_EQ(single.thread_of_row[0], 0);

  RowLog log(100);
  ForEachRow(100, 100, [&](int32_t r) { log.Record(r); });
  EXPECT_TRUE(log.any_parallel);
  for (std::size_t r = 1; r < log.thread_of_row.size(); ++r) {
    EXPECT_LE(log.thread_of_row[r - 1], log.thread_of_row[r]) << "rows of a thread are not one run";
  }
  EXPECT_EQ(log.thread_of_row.back(), 3);
  vekSetNumThreads(0);
}

TEST(RowParallel, InsideAnotherParallelRegionRunsSerially) {
  vekSetNumThreads(2);
  int rows_done = 0;
#pragma omp parallel num_threads(2) reduction(+ : rows_done)
  {
    std::vector<int> threads(50, -1);
    ForEachRow(1000, 50, [&](int32_t r) { threads[static_cast<std::size_t>(r)] = omp_get_thread_num(); });
    for (int t : threads) rows_done += (t == 0);
  }
  EXPECT_EQ(rows_done, 100);
  vekSetNumThreads(0);
}

TEST(RowParallel, RowAtUsesSignedByteSteps) {
  uint16_t image[4 * 6] = {};
  EXPECT_EQ(RowAt(image, 12, 2), image + 12);
  const uint16_t* last = image + 18;
  EXPECT_EQ(RowAt(last, -12, 3), image);
}

}  // namespace
}  // namespace vek
