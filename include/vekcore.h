/*
 * vekcore: the services libvekj builds on: aligned allocation, the number of
 * threads the library may use, and the size of the largest processor cache.
 *
 * Thread count: vekSetNumThreads(n) with n >= 1 fixes it for the process;
 * vekSetNumThreads(0) goes back to the default, which is the value of the
 * environment variable VEKJ_NUM_THREADS when it holds a number >= 1, else
 * the number of processors this process may run on.
 */
#ifndef VEKCORE_H
#define VEKCORE_H

#include "vekj.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A block of at least `length` bytes aligned to 64 bytes, or null (also for
 * a length below 1). */
VEKAPI void* vekMalloc(int length);
/* Releases what vekMalloc returned; null is ignored. */
VEKAPI void vekFree(void* ptr);

/* The number of threads the library may use, at least 1. */
VEKAPI int ownGetNumThreads(void);
/* Sets that number for the whole process: n >= 1 fixes it, 0 restores the
 * default. A negative n is refused with vekStsBadArg. */
VEKAPI VekStatus vekSetNumThreads(int n);

/* The size in bytes of the largest processor cache; returns vekStsOk, or
 * vekStsNullPtr for a null pointer. */
VEKAPI VekStatus vekGetMaxCacheSizeB(int* pSizeByte);

#ifdef __cplusplus
}
#endif

#endif /* VEKCORE_H */
