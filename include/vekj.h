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

/* ---- JPEG quantisation -----------------------------------------------------
 * Raw tables are 64 Vek8u quantisers in zig-zag order, as a DQT segment holds
 * them; the 16u tables built from them, and every coefficient block, are in
 * natural (row-major) order.
 *
 * QuantFwdRawTableInit scales a raw table in place by a quality factor:
 * F = 200 - 2 quality from 50 up, else 5000 / quality (truncated); each byte
 * becomes (byte F + 50) / 100, truncated toward zero, clamped to 1..255.
 * Quality 50 keeps the table; every quality from 100 up gives all 1s (F is
 * formed in 64 bits, so this holds up to INT_MAX). Checks: table null, then
 * quality below 1 (vekStsBadArg).
 *
 * QuantFwdTableInit writes round(32768 / Q) per natural position (32768 for
 * Q = 1); a Q of 0 gives 65535 and the warning vekStsDivByZero, with the
 * whole table written. QuantInvTableInit writes Q per natural position.
 * Checks: raw table null, then output table null.
 *
 * QuantFwd8x8 quantises in place with a forward table entry r:
 * h = high half of ((x << 3) wrapped to 16 bits) * (r >> 1), result
 * (h + 1) >> 1: x / Q to nearest with ties toward +infinity (-24 / 16 gives
 * -1, 24 / 16 gives 2); |x| must stay below 4096. QuantInv8x8 writes the low
 * 16 bits of x Q (wrapping). Checks: block null, then table null. */

VEKAPI VekStatus vekiQuantFwdRawTableInit_JPEG_8u(Vek8u* pQuantRawTable, int qualityFactor);
VEKAPI VekStatus vekiQuantFwdTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantFwdTable);
VEKAPI VekStatus vekiQuantInvTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiQuantFwd8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantFwdTable);
VEKAPI VekStatus vekiQuantInv8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantInvTable);

/* ---- JPEG DCT with quantisation and level shift ---------------------------
 * One 8x8 block per call; blocks are natural order, forward tables come from
 * vekiQuantFwdTableInit (reciprocals at 2^15), inverse tables from
 * vekiQuantInvTableInit (the quantisers). Checks: members without a step
 * check every pointer left to right (vekStsNullPtr); members with a step
 * check the source and destination pointers, then the step (vekStsBadStep),
 * then the table pointer, so Fwd8x8LS checks pSrc, pDst, srcStep, table.
 * Nothing is written when a check fails; no member reports overflow.
 *
 * Forward (16-bit members): the block (for LS: sample - 128) is transformed
 * with the ITU-T T.81 scale (DC = 8 x mean) in 16-bit fixed point: a column
 * pass of tangent butterflies on values scaled by 2^3, whose products are
 * high halves of 16-bit multiplications by tan(k pi/16) 2^16 (13036, 27146,
 * and -21746 for tan(3 pi/16) 2^16 - 2^16 added back to the operand); the
 * odd part takes cos(pi/4) (d1 + d2) at 2^4 with 23170 and
 * cos(pi/4) (d1 - d2) at 2^3 with -19195 added back. A row pass folds
 * x + (7 - x) sums and differences (16 bits) and multiplies them in pairs by
 * round(32768 cos(i pi/16) cos(j pi/16)), summed in 32 bits, + 2^19 >> 20,
 * saturated to 16 bits. Each coefficient x is then quantised with its
 * reciprocal r: s = (r >> 1) x + (r & 1)(x >> 1), b = ((r & x) & 1) |
 * ((s >> 14) & 1), (s + 8191 + b) >> 14 saturated, which is round(x r / 2^15)
 * with ties to even; this rounding differs on purpose from vekiQuantFwd8x8's.
 * Intermediates wrap in 16 and 32 bits: source values -128..127 never
 * overflow. The 16u member runs in float: sample - 2048, the T.81 DCT as two
 * passes of 8-term sums in a fixed order, each coefficient times its table
 * entry (32f, natural order, usually 1/Q), saturated to -32768..32767 and
 * rounded to nearest, ties to even; the table must hold finite values.
 *
 * Inverse: each coefficient becomes the low 16 bits of x Q, then a row pass
 * multiplies pairs by the same cosine products (32-bit sums, rounded to 4
 * fractional bits, 3 for the 16u member, saturated to 16 bits) and a column
 * pass of rounded Q15 tangent butterflies (6518, 13573, 21895, 23170)
 * finishes; results are rounded to integers (16-bit wrap). The transform of
 * any 8-bit (12-bit) block comes back without overflow. The 16s members
 * store the results, the 8u members add 128 and saturate to 0..255, the 16u
 * member adds 2048 and saturates to 0..4095. LS_2x2 and LS_4x4 read only the
 * top-left 2x2 / 4x4 coefficients and give exactly the full inverse of a
 * block whose other coefficients are zero. LS_1x1 fills the 8x8 region with
 * (Vek16s)(((coef[0] Q[0]) >> 3) + 128) saturated to 0..255, the 16-bit
 * truncation kept on purpose. To4x4 and To2x2 write the 4x4 / 2x2 image of
 * the block: the inverse DCT of the top-left 4x4 / 2x2 coefficients taken at
 * the centres of the 2x2 / 4x4 pixel groups (cosines of (2x + 1) u pi / 8 or
 * / 4, T.81 scale), in 32-bit fixed point, + 128, saturated to 0..255. */

VEKAPI VekStatus vekiDCTQuantFwd8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, const Vek16u* pQuantFwdTable);
VEKAPI VekStatus vekiDCTQuantFwd8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantFwdTable);
VEKAPI VekStatus vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const Vek8u* pSrc, int srcStep, Vek16s* pDst,
                                                     const Vek16u* pQuantFwdTable);
VEKAPI VekStatus vekiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const Vek16u* pSrc, int srcStep, Vek16s* pDst,
                                                      const Vek32f* pQuantFwdTable);
VEKAPI VekStatus vekiDCTQuantInv8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8_JPEG_16s_C1I(Vek16s* pSrcDst, const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                     const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const Vek16s* pSrc, Vek16u* pDst, int dstStep,
                                                      const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                         const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                         const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                         const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                          const Vek16u* pQuantInvTable);
VEKAPI VekStatus vekiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, int dstStep,
                                                          const Vek16u* pQuantInvTable);

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
