/*
 * vekj: image-codec primitives with a plain C ABI.
 *
 * Every image function returns a VekStatus: 0 success, negative errors (the
 * arguments were refused and nothing was written, unless the family says that
 * partial output remains), positive warnings (the output is complete).
 * Arguments are checked before any data is touched, in the order of the
 * parameter list; the first failing check decides the status:
 *   a required pointer is null (a plane array, then each plane)  vekStsNullPtr
 *   a row step is below 1                                        vekStsBadStep
 *   a region width or height, or a length, is below 1            vekStsBadSize
 *   a parameter is outside its stated range                      vekStsBadArg
 * Pointers that stand side by side in the list are checked together before
 * the steps that follow them. Each family below states its own order where it
 * departs from this.
 *
 * Steps are signed distances in bytes between row starts; rows need not be
 * aligned. An 8x8 block is 64 contiguous Vek16s in row-major order unless a
 * family says zig-zag. Results never depend on alignment, on the SIMD target
 * chosen at run time or on the number of threads.
 *
 * Every declaration that starts with VEKAPI is an export of libvekj; the
 * build derives the export table and the list of exported symbols from them.
 */
#ifndef VEKJ_H
#define VEKJ_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__) || defined(__clang__)
#define VEKAPI __attribute__((visibility("default")))
#else
#define VEKAPI
#endif

/* ---- Shared types -------------------------------------------------------- */

typedef uint8_t Vek8u;
typedef uint16_t Vek16u;
typedef int16_t Vek16s;
typedef uint32_t Vek32u;
typedef int32_t Vek32s;
typedef float Vek32f;

/* Result of every image function. */
typedef int32_t VekStatus;

enum {
  vekStsDoubleSize = 35,     /* warning: a 4:2:2 / 4:1:1 region side is odd; still converted */
  vekStsDivByZero = 6,       /* warning: a divisor was zero; that element is saturated */
  vekStsOk = 0,
  vekStsErr = -2,            /* corrupt coded data: a zero run passes coefficient 63 */
  vekStsBadArg = -5,         /* a parameter outside its range */
  vekStsBadSize = -6,        /* a region, length or count out of range */
  vekStsOutOfRange = -7,     /* an argument outside its set of allowed values */
  vekStsNullPtr = -8,        /* a required pointer is null, or a Huffman InitAlloc failed */
  vekStsNoMemory = -9,       /* an allocation failed */
  vekStsBadStep = -14,       /* a row step below 1 */
  vekStsJPEGOutOfBuffer = -62, /* Huffman: output full, or input ends before the bits asked for */
  vekStsJPEGBadData = -63,   /* Huffman: category too large, no code matches, or marker too early */
  vekStsJPEGBadTable = -64,  /* Huffman: code lengths over-fill the code space, or symbol has no code */
  vekStsDstTooSmall = -124   /* the output area is too small, or packed data ends early */
};

/* Size of a rectangular region, passed by value; both sides at least 1. */
typedef struct {
  int32_t width;
  int32_t height;
} VekiRoiSize;

/* A tile rectangle. */
typedef struct {
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
} VekiRect;

/* ---- Version ------------------------------------------------------------- */

typedef struct {
  int32_t major;
  int32_t minor;
  int32_t majorBuild;
  int32_t build;
  char targetCpu[4];     /* NUL-padded processor-target code */
  const char* name;
  const char* version;
  const char* buildDate;
} VekLibraryVersion;

/* The constant version record of this build; the same pointer on every call,
 * never freed by the caller. */
VEKAPI const VekLibraryVersion* vekjGetLibVersion(void);

/* ---- JPEG level shift ------------------------------------------------------
 * Sub128 writes x - 128 for each 8u sample; Add128 writes x + 128 clamped to
 * 0..255. Checks: source null, source step, destination null, destination
 * step, region. Regions above 8192 pixels share their rows among threads. */

VEKAPI VekStatus vekiSub128_JPEG_8u16s_C1R(const Vek8u* pSrc, int srcStep, Vek16s* pDst, int dstStep,
                                           VekiRoiSize roiSize);
VEKAPI VekStatus vekiAdd128_JPEG_16s8u_C1R(const Vek16s* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                           VekiRoiSize roiSize);

/* ---- JPEG quantisation ----------------------------------------------------- */

/* ---- JPEG DCT with quantisation and level shift --------------------------- */

/* ---- JPEG Huffman table specifications ------------------------------------- */

/* ---- JPEG Huffman bit states and baseline block coding --------------------- */

/* ---- JPEG progressive Huffman coding and statistics ------------------------ */

/* ---- JPEG lossless prediction and row coding ------------------------------- */

/* ---- JPEG colour conversion ------------------------------------------------ */

/* ---- JPEG MCU-level conversion with level shift ---------------------------- */

/* ---- JPEG chroma sampling --------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* VEKJ_H */
