// The core services: aligned allocation, the thread count and the cache size.
#include "vekcore.h"

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr std::size_t kAlignment = 64;

// 0 means "not fixed by vekSetNumThreads".
std::atomic<int> g_fixed_threads{0};

int ProcessorsAvailable() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof(set), &set) == 0) return CPU_COUNT(&set);
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

int DefaultThreads() {
  if (const char* env = std::getenv("VEKJ_NUM_THREADS")) {
    char* end = nullptr;
    const long n = std::strtol(env, &end, 10);
    if (end != env && *end == '\0' && n >= 1 && n <= 1024) return static_cast<int>(n);
  }
  return ProcessorsAvailable();
}

// Largest "size" among the cache levels the kernel lists for processor 0.
int LargestCacheFromSysfs() {
  int largest = 0;
  for (int index = 0; index < 16; ++index) {
    std::ifstream in("/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(index) + "/size");
    if (!in) break;
    long value = 0;
    std::string unit;
    in >> value >> unit;
    if (!unit.empty() && (unit[0] == 'K' || unit[0] == 'k')) value *= 1024;
    if (!unit.empty() && (unit[0] == 'M' || unit[0] == 'm')) value *= 1024 * 1024;
    if (value > largest && value < (1L << 31)) largest = static_cast<int>(value);
  }
  return largest;
}

}  // namespace

extern "C" {

void* vekMalloc(int length) {
  if (length < 1) return nullptr;
  const std::size_t rounded = (static_cast<std::size_t>(length) + kAlignment - 1) / kAlignment * kAlignment;
  return std::aligned_alloc(kAlignment, rounded);
}

void vekFree(void* ptr) { std::free(ptr); }

int ownGetNumThreads(void) {
  const int fixed = g_fixed_threads.load(std::memory_order_relaxed);
  if (fixed >= 1) return fixed;
  static const int default_threads = DefaultThreads();
  return default_threads;
}

VekStatus vekSetNumThreads(int n) {
  if (n < 0) return vekStsBadArg;
  g_fixed_threads.store(n, std::memory_order_relaxed);
  return vekStsOk;
}

VekStatus vekGetMaxCacheSizeB(int* pSizeByte) {
  if (pSizeByte == nullptr) return vekStsNullPtr;
  static const int largest = [] {
    const long l3 = sysconf(_SC_LEVEL3_CACHE_SIZE);
    const long l2 = sysconf(_SC_LEVEL2_CACHE_SIZE);
    const long best = l3 > l2 ? l3 : l2;
    if (best > 0 && best < (1L << 31)) return static_cast<int>(best);
    return LargestCacheFromSysfs();
  }();
  *pSizeByte = largest;
  return vekStsOk;
}

}  // extern "C"
