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

/* ---- JPEG Huffman table specifications -------------------------------------
 * A table arrives as the BITS (16 counts of codes of lengths 1..16) and
 * HUFFVAL (the symbols in code order) lists of a table-definition segment.
 * The records are plain memory that the caller sizes with GetBufSize:
 *   EncodeHuffmanSpec, 1024 bytes: 256 x 32-bit entries indexed by symbol,
 *     code in the low 16 bits, code length in the high 16 bits (0: no code).
 *   DecodeHuffmanSpec, 1644 bytes: symbol values 256 x 16u in code order;
 *     fast lookup 256 x {symbol 16u, length 16u} indexed by the next 8 bits
 *     (length 0: the code is longer than 8 bits); smallest code 18 x 16u,
 *     largest code 18 x 16s (-1: no code of that length, any other value is
 *     read as unsigned) and first symbol index 18 x 16u, indexed by length.
 * Init clears the record, then builds it; a refused table is left cleared or
 * half built. Checks: every pointer null -> vekStsNullPtr, in order.
 * Both builders refuse more than 256 codes with vekStsJPEGBadTable. The
 * encode builder also refuses lengths that over-fill the code space or give
 * a code of all 1-bits; a symbol named twice keeps its later code. The
 * decode builder accepts such tables unless a code of 8 bits or fewer falls
 * outside the fast lookup (vekStsJPEGBadTable).
 * InitAlloc returns vekStsNullPtr when the allocation fails; when the table
 * is refused it releases the record and returns a null pointer with the status.
 *
 * vekiEncodeHuffmanRawTableInit_JPEG_8u derives an optimal BITS/HUFFVAL pair
 * from 256 symbol counts (ITU-T T.81 K.2): a reserved symbol 256 of count 1
 * keeps real symbols off the all-1 code; counts above 1000000000 never take
 * part; ties go to the higher symbol number; lengths above 32 are refused
 * with vekStsJPEGBadTable, lengths 17..32 are folded into 16. Counts are
 * added in 64 bits, so no sum wraps (a negative count takes part as a small
 * one). All-zero counts give BITS of sixteen zeros and write no HUFFVAL
 * (the empty table), with vekStsOk. HUFFVAL receives as many bytes as the
 * BITS add up to, at most 256. */

typedef struct EncodeHuffmanSpec EncodeHuffmanSpec;
typedef struct DecodeHuffmanSpec DecodeHuffmanSpec;

VEKAPI VekStatus vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(int* size);
VEKAPI VekStatus vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(int* size);
VEKAPI VekStatus vekiEncodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                   EncodeHuffmanSpec* pEncHuffSpec);
VEKAPI VekStatus vekiDecodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                   DecodeHuffmanSpec* pDecHuffSpec);
VEKAPI VekStatus vekiEncodeHuffmanSpecInitAlloc_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                        EncodeHuffmanSpec** ppEncHuffSpec);
VEKAPI VekStatus vekiDecodeHuffmanSpecInitAlloc_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals,
                                                        DecodeHuffmanSpec** ppDecHuffSpec);
VEKAPI VekStatus vekiEncodeHuffmanSpecFree_JPEG_8u(EncodeHuffmanSpec* pEncHuffSpec);
VEKAPI VekStatus vekiDecodeHuffmanSpecFree_JPEG_8u(DecodeHuffmanSpec* pDecHuffSpec);
VEKAPI VekStatus vekiEncodeHuffmanRawTableInit_JPEG_8u(const int pStatistics[256], Vek8u* pListBits,
                                                       Vek8u* pListVals);

/* ---- JPEG Huffman bit states and baseline block coding ---------------------
 * Entropy-coded bits are written most significant bit first; every 0xFF byte
 * written is followed by a 0x00; a flush pads the last byte with 1-bits.
 * Positions are byte offsets into the caller's buffer and travel in and out;
 * nothing is read or written outside [0, length). An encoder call with at
 * least 1024 bytes of room gathers its bits 32 at a time; the bytes it
 * stores, its positions and its states are those of the put-by-put rules
 * below, and it stores nothing past its final position.
 *
 * EncodeHuffmanState, 1048 bytes: bit buffer 32u (pending bits left-aligned
 * below bit 24, bits 24..31 and those below the pending ones are 0), pending
 * bit count 32s (0..7 between calls), end-of-band run 32s, correction bit
 * count 32s, 1024 correction bits (one a byte), 8 reserved bytes.
 * DecodeHuffmanState, 24 bytes: bit buffer 32u (the last four bytes read, the
 * newest in the low 8 bits; the low `count` bits are unread), valid bit
 * count 32s (0..32), end-of-band run 32s, end position 32s, 8 reserved
 * bytes. Init clears every byte; consuming bits only lowers the count.
 *
 * Encoding puts codes one at a time. A put that finds the buffer full
 * returns vekStsJPEGOutOfBuffer and leaves the bytes it stored and the
 * advanced position, but the bit buffer and count as before that put; a
 * symbol without a code (length 0) gives vekStsJPEGBadTable with nothing
 * written for it. A non-zero flush flag puts 0x7F in 7 bits, then clears the
 * state as Init does whatever the put returned, and returns the put's status;
 * the block, last DC and tables are then neither checked nor used.
 * Encoder checks: destination null -> NullPtr; length < 1 -> BadSize;
 * position null, state null -> NullPtr; then (not flushing) block, last DC,
 * DC table, AC table null -> NullPtr (One: value, table); last of all (also
 * when flushing) a negative position -> BadArg, a check of this library's
 * own (such a position would write before the buffer). The last DC is
 * updated before any bit is put.
 * The DC difference (block[0] - last DC, not wrapped) is coded with whatever
 * code the table holds for its category, 16 included (16 extra bits). An AC
 * value of -32768 (category 16) cannot be coded: vekStsJPEGBadData.
 *
 * Decoding fills the bit buffer a byte at a time until more than 24 bits are
 * held: a 0xFF followed by 0x00 is a data byte 0xFF, further 0xFF are fill,
 * any other byte after 0xFF is a marker: it is stored in *pMarker (which the
 * caller resets to 0), the position moves past it and no byte is read after
 * it (bits then missing give vekStsJPEGBadData). The end of the source gives
 * vekStsJPEGOutOfBuffer when bits are missing; the end inside a run of 0xFF
 * gives it at once and leaves the position at the first of those 0xFF.
 * Symbols are looked up 8 bits at a time, longer codes bit by bit; when no
 * code of 16 bits or fewer matches, 17 bits have been consumed and the
 * result is vekStsJPEGBadData (as it is for an index past the symbol values,
 * which only an over-full table can give). A zero run that carries the
 * position past 63 gives vekStsErr. The position, state and block keep what
 * was done before a failure; the end position is the zig-zag index the
 * block reached (64 when complete, 0 when the DC failed).
 * Block decoder checks: source null -> NullPtr; length < 0 -> BadArg (0 is
 * accepted); position, block, last DC, marker, DC table, AC table, state null
 * -> NullPtr; last of all a negative position -> BadArg. The One decoder
 * refuses a length below 1 with BadSize instead; category 16 or more decodes
 * as -32768 (0x8000) without extra bits.
 *
 * The Direct variants code one block at a bit position, without byte
 * stuffing, markers or a state record; bits go most significant first from
 * bit *pBitPos (bit 0 = the top bit of byte 0):
 *   vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block, destination, length in
 *     bytes, bit position in/out, last DC in/out, DC table, AC table): each
 *     put writes its bits and clears the rest of the last byte it touches;
 *     a put that does not fit writes nothing and returns
 *     vekStsJPEGOutOfBuffer with the bit position at that put. Checks as the
 *     block encoder without state and flush.
 *   vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(source, length in bytes, bit
 *     position in/out, block out, last DC in/out, DC table, AC table): the
 *     end of the source gives vekStsJPEGOutOfBuffer. Checks as the block
 *     decoder without marker and state. */

typedef struct EncodeHuffmanState EncodeHuffmanState;
typedef struct DecodeHuffmanState DecodeHuffmanState;

VEKAPI VekStatus vekiEncodeHuffmanStateGetBufSize_JPEG_8u(int* size);
VEKAPI VekStatus vekiDecodeHuffmanStateGetBufSize_JPEG_8u(int* size);
VEKAPI VekStatus vekiEncodeHuffmanStateInit_JPEG_8u(EncodeHuffmanState* pEncHuffState);
VEKAPI VekStatus vekiDecodeHuffmanStateInit_JPEG_8u(DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiEncodeHuffmanStateInitAlloc_JPEG_8u(EncodeHuffmanState** ppEncHuffState);
VEKAPI VekStatus vekiDecodeHuffmanStateInitAlloc_JPEG_8u(DecodeHuffmanState** ppDecHuffState);
VEKAPI VekStatus vekiEncodeHuffmanStateFree_JPEG_8u(EncodeHuffmanState* pEncHuffState);
VEKAPI VekStatus vekiDecodeHuffmanStateFree_JPEG_8u(DecodeHuffmanState* pDecHuffState);

VEKAPI VekStatus vekiEncodeHuffman8x8_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                    int* pDstCurrPos, Vek16s* pLastDC,
                                                    const EncodeHuffmanSpec* pDcTable,
                                                    const EncodeHuffmanSpec* pAcTable,
                                                    EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiDecodeHuffman8x8_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                    Vek16s* pDst, Vek16s* pLastDC, int* pMarker,
                                                    const DecodeHuffmanSpec* pDcTable,
                                                    const DecodeHuffmanSpec* pAcTable,
                                                    DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiEncodeHuffmanOne_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                    int* pDstCurrPos, const EncodeHuffmanSpec* pEncHuffTable,
                                                    EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiDecodeHuffmanOne_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                    Vek16s* pDst, int* pMarker,
                                                    const DecodeHuffmanSpec* pDecHuffTable,
                                                    DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                           int* pDstBitPos, Vek16s* pLastDC,
                                                           const EncodeHuffmanSpec* pDcTable,
                                                           const EncodeHuffmanSpec* pAcTable);
VEKAPI VekStatus vekiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcBitPos,
                                                           Vek16s* pDst, Vek16s* pLastDC,
                                                           const DecodeHuffmanSpec* pDcTable,
                                                           const DecodeHuffmanSpec* pAcTable);

/* ---- JPEG progressive Huffman coding and statistics ------------------------
 * Progressive scans (ITU-T T.81 Annex G) use the bit conventions, states and
 * statuses of the baseline coders above. Al is 0..13; an AC band is
 * 1 <= Ss <= Se <= 63 in zig-zag order; out of range -> vekStsBadArg.
 *
 * DC first: v = block[0] >> Al (arithmetic), the difference v - last DC is
 * coded and v becomes the last DC; a category above 11 -> vekStsJPEGBadData.
 * The decoder adds the difference to the last DC and writes only
 * block[0] = last DC << Al. DC refine puts / reads bit Al of block[0]; the
 * decoder only sets that bit when it reads a 1.
 *
 * AC first and AC refine code the band Ss..Se of one block; a block whose
 * band ends in zeros (refine: with no newly significant coefficient after
 * the last one coded) joins the end-of-band run kept in the state, which
 * is coded before the next coded coefficient, when it reaches 32767, and at
 * the flush. The refine encoder keeps the correction bits of the run in
 * the state's 1024-bit buffer and codes the run before a block could
 * overflow it (more than 961 bits held). Magnitudes are |v| >> Al; one of
 * category 16 (|v| = 32768) -> vekStsJPEGBadData.
 *   Encoders: (block, destination, length, position in/out, Ss, Se, Al, AC
 *   table, encoder state, flush flag). Checks: destination null -> NullPtr;
 *   length < 1 -> BadSize; position, state, AC table null -> NullPtr (the
 *   flush codes the pending run with the table); flushing: a negative
 *   position -> BadArg, then the pending run and its correction bits are
 *   coded, then 0x7F in 7 bits, then the state is cleared whatever the puts
 *   returned; otherwise block null -> NullPtr, Ss, Se, Al -> BadArg, a
 *   negative position -> BadArg. A put that fails inside the run's coding
 *   leaves the run pending (before the flush clears it).
 *   Decoders: (source, length, position in/out, block in/out, marker in/out,
 *   Ss, Se, Al, AC table, decoder state). Checks: source null -> NullPtr;
 *   length < 1 -> BadSize; position, block, marker null -> NullPtr; Ss, Se,
 *   Al -> BadArg; table, state null -> NullPtr; negative position -> BadArg.
 *   AC first clears the band, then writes the decoded values << Al; a
 *   pending run only counts down. AC refine reads a correction bit for every
 *   non-zero coefficient of the band it passes and sets new ones to +-1 << Al;
 *   an AC refine symbol whose size is not 0 or 1 -> vekStsJPEGBadData. A run
 *   past Se -> vekStsErr.
 *
 * Statistics add to 256 unsigned 32-bit counters indexed by symbol (the
 * caller clears them). Checks: any pointer null -> NullPtr, then ranges.
 *   Baseline block: DC category above 15 or AC category above 14 ->
 *   vekStsJPEGBadData (the last DC is updated first, counts made stay).
 *   AC first / AC refine: (block, AC statistics, Ss, Se, Al, encoder state,
 *   flush flag): they count exactly the symbols that the encoders would code
 *   with the same state, so they keep the run (and the correction bit count)
 *   in a state of their own; a flush counts the pending run and clears that
 *   state as Init does. Checks: block (not when flushing), statistics, state
 *   null -> NullPtr; then (not flushing) Ss, Se, Al -> BadArg. */

VEKAPI VekStatus vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                            int* pDstCurrPos, Vek16s* pLastDC, int Al,
                                                            const EncodeHuffmanSpec* pDcTable,
                                                            EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                             int* pDstCurrPos, int Al,
                                                             EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                            int* pDstCurrPos, int Ss, int Se, int Al,
                                                            const EncodeHuffmanSpec* pAcTable,
                                                            EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, int dstLenBytes,
                                                             int* pDstCurrPos, int Ss, int Se, int Al,
                                                             const EncodeHuffmanSpec* pAcTable,
                                                             EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                            Vek16s* pDst, Vek16s* pLastDC, int* pMarker, int Al,
                                                            const DecodeHuffmanSpec* pDcTable,
                                                            DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                             Vek16s* pDst, int* pMarker, int Al,
                                                             DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                            Vek16s* pDst, int* pMarker, int Ss, int Se, int Al,
                                                            const DecodeHuffmanSpec* pAcTable,
                                                            DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Vek8u* pSrc, int srcLenBytes, int* pSrcCurrPos,
                                                             Vek16s* pDst, int* pMarker, int Ss, int Se, int Al,
                                                             const DecodeHuffmanSpec* pAcTable,
                                                             DecodeHuffmanState* pDecHuffState);
VEKAPI VekStatus vekiGetHuffmanStatistics8x8_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pDcStatistics[256],
                                                         Vek32u pAcStatistics[256], Vek16s* pLastDC);
VEKAPI VekStatus vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pDcStatistics[256],
                                                                 Vek16s* pLastDC, int Al);
VEKAPI VekStatus vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pAcStatistics[256],
                                                                 int Ss, int Se, int Al,
                                                                 EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pAcStatistics[256],
                                                                  int Ss, int Se, int Al,
                                                                  EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiGetHuffmanStatisticsOne_JPEG_16s_C1(const Vek16s* pSrc, Vek32u pStatistics[256]);

/* ---- JPEG lossless prediction and row coding -------------------------------
 * Rows of signed 16-bit samples; prediction arithmetic wraps modulo 2^16.
 * First row: difference[0] = x[0] - 2^(P - Pt - 1) (0 when P - Pt - 1 < 0:
 * Pt is not compared with P), difference[i] = x[i] - x[i - 1]; the samples
 * are not shifted. Checks: source, destination null -> NullPtr; width < 1 ->
 * BadSize; P outside 2..16 or Pt < 0 -> BadArg.
 * Other rows: column 0 is predicted by the sample above; columns from 1 by
 * predictor 1..7 of ITU-T T.81 Table H.1 (Ra left, Rb above, Rc above-left):
 * Ra, Rb, Rc, Ra + Rb - Rc, Ra + ((Rb - Rc) >> 1), Rb + ((Ra - Rc) >> 1),
 * (Ra + Rb) >> 1, the halved sums exact in 32 bits and shifted
 * arithmetically. Reconstruction is the exact inverse, left to right.
 * Samples are signed: 16-bit samples of 32768 or more enter predictors 5 to
 * 7 as negative values, which matches T.81's unsigned arithmetic only below
 * 32768 (samples offset by -32768 keep every difference T.81's, except the
 * first sample's, whose start value the caller then offsets itself).
 * Checks: source, previous row, destination null -> NullPtr; width < 1 ->
 * BadSize; predictor outside 1..7 -> BadArg.
 *
 * Row coding interleaves up to four components sample by sample, with the
 * Huffman bit conventions and states of the baseline coders. A difference
 * of category 16 (-32768) is coded without extra bits and decodes from any
 * symbol of 16 or more as -32768. Encoder checks: destination null ->
 * NullPtr; length < 1 -> BadSize; position, state null -> NullPtr; flushing
 * as the baseline coders; then row array null -> NullPtr; width, component
 * count < 1 -> BadSize; table array null -> NullPtr; each of the first
 * min(count, 4) rows and tables null -> NullPtr; a negative position ->
 * BadArg (when flushing, right before the flush).
 * Decoder checks: source null -> NullPtr; length < 1 -> BadSize; position,
 * row array null -> NullPtr; width, count < 1 -> BadSize; marker, table
 * array, state null -> NullPtr; each of the first min(count, 4) rows and
 * tables null -> NullPtr; negative position -> BadArg. Components beyond
 * four are ignored. */

VEKAPI VekStatus vekiDiffPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, int width, int P, int Pt);
VEKAPI VekStatus vekiDiffPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, int width,
                                             int predictor);
VEKAPI VekStatus vekiReconstructPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, int width, int P,
                                                         int Pt);
VEKAPI VekStatus vekiReconstructPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst,
                                                    int width, int predictor);
VEKAPI VekStatus vekiEncodeHuffmanRow_JPEG_16s1u_P4C1(const Vek16s* const pSrc[4], int width, int nComps,
                                                      Vek8u* pDst, int nDstLenBytes, int* pDstCurrPos,
                                                      const EncodeHuffmanSpec* const pEncHuffTable[4],
                                                      EncodeHuffmanState* pEncHuffState, int bFlushState);
VEKAPI VekStatus vekiDecodeHuffmanRow_JPEG_1u16s_C1P4(const Vek8u* pSrc, int nSrcLenBytes, int* pSrcCurrPos,
                                                      Vek16s* const pDst[4], int width, int nComps, int* pMarker,
                                                      const DecodeHuffmanSpec* const pDecHuffTable[4],
                                                      DecodeHuffmanState* pDecHuffState);

/* ---- JPEG colour conversion ------------------------------------------------
 * Whole-image conversion between RGB/BGR (3 or 4 bytes a pixel, or one
 * little-endian 16-bit word: 555 with the first-named colour in bits 0-4, the
 * second in 5-9, the third in 10-14 and bit 15 written 0; 565 with 5, 6 and 5
 * bits) and JPEG YCbCr planes (chroma offset by 128), and between CMYK and
 * YCCK. Every result is saturated to 0..255. A plane array has one step
 * shared by its planes, except in the 4:2:2/4:1:1 functions, which take one
 * step per plane.
 *
 * Checks, 4:4:4 and CMYK/YCCK: source and destination pointers or plane
 * arrays, then each plane pointer (vekStsNullPtr); source step, destination
 * step (vekStsBadStep); region (vekStsBadSize). YCbCrTo..._P3C4R has no step
 * check. 4:2:2 functions, C2C3R included: pointers (a step array too),
 * then width < 2 or height < 1 (vekStsBadSize), no step check, and
 * vekStsDoubleSize when the width is odd. 4:1:1 functions: pointers, then width or height < 2, no step
 * check, and vekStsDoubleSize when the width or the height is odd.
 *
 * Forward RGB/BGR C3P3R: the first 8*floor(w/8) columns of a row at scale
 * 2^15,
 *   Y = (9798 R + 19235 G + 3736 B + 16266) >> 15
 *   Cb = (-5529 R - 10855 G + 16384 B + 4210688) >> 15
 *   Cr = (16384 R - 13720 G - 2664 B + 4210704) >> 15
 * the columns after them at scale 2^14,
 *   Y = (4899 R + 9617 G + 1868 B + 8192) >> 14
 *   Cb = (-2764 R - 5428 G + 8192 B + 2105344) >> 14
 *   Cr = (8192 R - 6860 G - 1332 B + 2105344) >> 14.
 * RGBToYCbCr_P3R and the 555/565 sources use the scale-2^14 formulas in every
 * column; the C4P3R sources too, with Cb = (-2765 R - 5427 G + 8192 B +
 * 2105344) >> 14. RGBToY/BGRToY_C3C1R: the scale-2^15 Y in every column;
 * RGBToY_P3C1R: the scale-2^14 Y in every column. A 555 word is unpacked as
 * (p & 31) << 3, (p & 992) >> 2, (p & 31744) >> 7; a 565 word as (p & 31) << 3,
 * (p & 2016) >> 3, (p & 63488) >> 8 (low bits 0, no replication).
 *
 * Inverse (P3C3R, P3C4R, P3R, 555/565): the first 4*floor(w/4) columns at
 * scale 2^14,
 *   R = Y + sat16((22970 Cr - 2932015) >> 14)
 *   G = Y + sat16((-5638 Cb - 11700 Cr + 2227566) >> 14)
 *   B = Y + sat16((29032 Cb - 3707961) >> 14)
 * the last w mod 4 columns at scale 2^16, with x = Cb - 128 or Cr - 128:
 *   R = Y + ((91881 x_cr + 32768) >> 16)
 *   G = Y + ((-22554 x_cb + 32768 - 46802 x_cr) >> 16)
 *   B = Y + ((116130 x_cb + 32768) >> 16).
 * The two scales differ for a few (Cb, Cr) pairs by one. Packing keeps the
 * top 5 (or 6) bits of each saturated value. P3C4R writes aval into byte 3.
 *
 * YCbCr422ToRGB_C2C3R: pairs Y0 Cb Y1 Cr; the first 8*floor(w/8) pixels at
 * scale 2^14, the rest pair by pair at scale 2^16. With an odd width the last
 * pair is converted whole: one pixel past the region is read and written.
 *
 * 4:2:2 and 4:1:1 whole images: every column at scale 2^14. The forward
 * functions sum the n = 2 (4:2:2) or 4 (4:1:1) weighted chroma sums of a
 * group and round once: (sum + n*128*2^14 + n*2^13) >> (14 + log2 n); 4:2:2
 * C3 sources use Cb (-2764, -5428, 8192), C4 sources and every 4:1:1 source
 * (-2765, -5427, 8192). The inverse functions replicate each chroma sample
 * over its 2x1 or 2x2 group and use the scale-2^14 inverse above in every
 * column. The chroma planes are ceil(w/2) wide and, for 4:1:1, ceil(h/2)
 * high: an odd last column or row forms its chroma from its own pixels, as
 * if the edge were replicated.
 *
 * CMYK to YCCK: R' = 255 - C, G' = 255 - M, B' = 255 - Y, then in every column
 *   Y = (19595 R' + 38470 G' + 7471 B' + 32768) >> 16
 *   Cb = (-11059 R' - 21709 G' + 32768 B' + 8421375) >> 16
 *   Cr = (32768 R' - 27439 G' - 5329 B' + 8421375) >> 16
 * and K copied. YCCK to CMYK: R, G, B as the inverse above (same column
 * split), then C = 255 - R, M = 255 - G, Y = 255 - B, K copied.
 *
 * Above 8192 pixels these share their rows among threads: RGB/BGRToYCbCr
 * C3P3R, RGBToYCbCr_P3R, the three ToY functions, YCbCrToRGB/BGR_P3C3R,
 * YCbCrToRGB_P3R, YCbCr422ToRGB_C2C3R and the four CMYK/YCCK functions. The
 * others run on the calling thread. */

VEKAPI VekStatus vekiRGBToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3], int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr_JPEG_8u_P3R(const Vek8u* const pSrc[3], int srcStep, Vek8u* const pDst[3],
                                            int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const Vek16u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const Vek16u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const Vek16u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const Vek16u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToY_JPEG_8u_C3C1R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                          VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToY_JPEG_8u_C3C1R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                          VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToY_JPEG_8u_P3C1R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                          VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToRGB_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                              VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCrToBGR_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], int srcStep, Vek8u* pDst, int dstStep,
                                              VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCrToRGB_JPEG_8u_P3R(const Vek8u* const pSrc[3], int srcStep, Vek8u* const pDst[3],
                                            int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToRGB555_JPEG_8u16u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek16u* pDst,
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToRGB565_JPEG_8u16u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek16u* pDst,
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToBGR555_JPEG_8u16u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek16u* pDst,
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCrToBGR565_JPEG_8u16u_P3C3R(const Vek8u* const pSrc[3], int srcStep, Vek16u* pDst,
                                                    int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr422_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr422_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr422_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr422_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr411_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiRGBToYCbCr411_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr411_JPEG_8u_C3P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiBGRToYCbCr411_JPEG_8u_C4P3R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[3],
                                                 const int dstStep[3], VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCr422ToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCr422ToRGB_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCr422ToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCr422ToBGR_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCr411ToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCr411ToRGB_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCr411ToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCbCr411ToBGR_JPEG_8u_P3C4R(const Vek8u* const pSrc[3], const int srcStep[3],
                                                 Vek8u* pDst, int dstStep, VekiRoiSize roiSize, Vek8u aval);
VEKAPI VekStatus vekiYCbCr422ToRGB_JPEG_8u_C2C3R(const Vek8u* pSrc, int srcStep, Vek8u* pDst, int dstStep,
                                                 VekiRoiSize roiSize);
VEKAPI VekStatus vekiCMYKToYCCK_JPEG_8u_C4P4R(const Vek8u* pSrc, int srcStep, Vek8u* const pDst[4], int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiCMYKToYCCK_JPEG_8u_P4R(const Vek8u* const pSrc[4], int srcStep, Vek8u* const pDst[4],
                                            int dstStep, VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCCKToCMYK_JPEG_8u_P4C4R(const Vek8u* const pSrc[4], int srcStep, Vek8u* pDst, int dstStep,
                                              VekiRoiSize roiSize);
VEKAPI VekStatus vekiYCCKToCMYK_JPEG_8u_P4R(const Vek8u* const pSrc[4], int srcStep, Vek8u* const pDst[4],
                                            int dstStep, VekiRoiSize roiSize);

/* ---- JPEG MCU-level conversion with level shift ----------------------------
 * One MCU of pixels to or from level-shifted 16-bit 8x8 blocks (64 Vek16s,
 * row by row). 4:4:4 is 8x8 pixels, one block per component; 4:2:2 is 16x8,
 * Y (and K) in two blocks, left then right; 4:1:1 is 16x16, Y (and K) in four
 * blocks, top-left, top-right, bottom-left, bottom-right; Cb and Cr one block
 * each. K keeps the full resolution of Y.
 *
 * Checks: source (or block array) and destination (or block array) pointers
 * (vekStsNullPtr), step (vekStsBadStep), then each block pointer of the array
 * (vekStsNullPtr).
 *
 * Forward, scale 2^14, with S_Y = 4899 R + 9617 G + 1868 B,
 * S_Cb = -2764 R - 5428 G + 8192 B, S_Cr = 8192 R - 6860 G - 1332 B:
 *   Y = (S_Y - 2088960) >> 14, and for a group of n = 1, 2 or 4 pixels
 *   Cb = (sum of S_Cb + n*2^13) >> (14 + log2 n), Cr likewise.
 * Inverse, from block values y, cb, cr (chroma replicated over its group):
 *   R = y + sat16((22970 cr + 2105344) >> 14)
 *   G = y + sat16((-5638 cb - 11700 cr + 2105344) >> 14)
 *   B = y + sat16((29032 cb + 2105344) >> 14), each saturated to 0..255.
 * 555/565 words are unpacked and packed as in the colour conversion section,
 * with the same formulas. CMYK/YCCK use R' = 255 - C, G' = 255 - M,
 * B' = 255 - Y with the same formulas, and K - 128 (forward) or
 * sat8(k + 128) (inverse); the inverse writes C = 255 - R, M = 255 - G,
 * Y = 255 - B. */

VEKAPI VekStatus vekiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R(const Vek16u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[4]);
VEKAPI VekStatus vekiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[4]);
VEKAPI VekStatus vekiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[4]);
VEKAPI VekStatus vekiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R(const Vek16s* const pSrcMCU[3], Vek16u* pDst, int dstStep);
VEKAPI VekStatus vekiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const Vek16s* const pSrcMCU[4], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const Vek16s* const pSrcMCU[4], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const Vek16s* const pSrcMCU[4], Vek8u* pDst, int dstStep);

/* ---- JPEG chroma sampling ---------------------------------------------------
 * Whole planes: checks source pointer, source step, source region,
 * destination pointer, destination step, destination region, in that order.
 *   SampleDownH2V1: out[k] = (in[2k] + in[2k+1] + 1) >> 1
 *   SampleDownH2V2: out[k] = (a[2k] + a[2k+1] + b[2k] + b[2k+1] + 3) >> 2
 *     (a, b = source rows 2r, 2r+1). The destination region is filled; a
 *     source column or row beyond the source region is read as the last one
 *     inside it.
 *   SampleUpH2V1 / SampleUpH2V2: the triangle rules of the row functions, with
 *     w = source width, into the first min(destination width, 2w) columns of
 *     the first min(destination height, source height) (H2V1) or
 *     min(destination height, 2 * source height) (H2V2) rows. H2V2 row r takes
 *     source row r/2 as the nearer row and the row one source step above (r
 *     even) or below (r odd) as the farther: the caller provides the context
 *     rows above the first and below the last source row.
 *   DownH2V1, DownH2V2 and UpH2V2 share their rows among threads above 8192
 *   destination pixels; UpH2V1 runs on the calling thread.
 *
 * Rows: checks the pointers (vekStsNullPtr), then width < 1 (vekStsBadSize).
 *   DownRowH2V1_Box: out[k] = (in[2k] + in[2k+1] + (k & 1)) >> 1
 *   DownRowH2V2_Box: out[k] = (a[2k] + a[2k+1] + b[2k] + b[2k+1] + 1 + (k & 1)) >> 2
 *     for k < ceil(w/2): an odd width also reads in[w].
 *   UpRowH2V1_Triangle (2w outputs): out[0] = in[0],
 *     out[2k] = (3 in[k] + in[k-1] + 1) >> 2, out[2k+1] = (3 in[k] + in[k+1] + 2) >> 2,
 *     out[2w-1] = in[w-1].
 *   UpRowH2V2_Triangle (a nearer, b farther, c[k] = 3 a[k] + b[k]):
 *     out[0] = (4 c[0] + 8) >> 4, out[2k] = (3 c[k] + c[k-1] + 8) >> 4,
 *     out[2k+1] = (3 c[k] + c[k+1] + 7) >> 4, out[2w-1] = (4 c[w-1] + 7) >> 4.
 *   The triangle rows want w >= 2; w = 1 gives the two end rules only.
 *
 * MCU functions (block layout as in the MCU-level conversion section):
 *   SampleDown: value - 128; 4:2:2 chroma (s0 + s1 - 256) >> 1, 4:1:1 chroma
 *   (sum of 4 - 512) >> 2 (floor, no rounding). SampleUp and Join422:
 *   sat8(v + 128), chroma replicated. Split422/Join422: pairs Y0 Cb Y1 Cr of a
 *   16x8 MCU, Y in the two 4:2:2 blocks.
 *   Checks: SampleDown and Split422: source or block array (vekStsNullPtr),
 *   step (vekStsBadStep), each block pointer (vekStsNullPtr). SampleUp and
 *   Join422: the block array, each block pointer and the destination
 *   (vekStsNullPtr), then the step (vekStsBadStep). */

VEKAPI VekStatus vekiSampleDownH2V1_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                                int dstStep, VekiRoiSize dstSize);
VEKAPI VekStatus vekiSampleDownH2V2_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                                int dstStep, VekiRoiSize dstSize);
VEKAPI VekStatus vekiSampleUpH2V1_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                              int dstStep, VekiRoiSize dstSize);
VEKAPI VekStatus vekiSampleUpH2V2_JPEG_8u_C1R(const Vek8u* pSrc, int srcStep, VekiRoiSize srcSize, Vek8u* pDst,
                                              int dstStep, VekiRoiSize dstSize);
VEKAPI VekStatus vekiSampleDownRowH2V1_Box_JPEG_8u_C1(const Vek8u* pSrc, int srcWidth, Vek8u* pDst);
VEKAPI VekStatus vekiSampleDownRowH2V2_Box_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, int srcWidth,
                                                      Vek8u* pDst);
VEKAPI VekStatus vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const Vek8u* pSrc, int srcWidth, Vek8u* pDst);
VEKAPI VekStatus vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, int srcWidth,
                                                         Vek8u* pDst);
VEKAPI VekStatus vekiSampleDown444LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiSampleDown422LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiSampleDown411LS_MCU_8u16s_C3P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiSampleUp444LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiSampleUp422LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiSampleUp411LS_MCU_16s8u_P3C3R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);
VEKAPI VekStatus vekiSplit422LS_MCU_8u16s_C2P3R(const Vek8u* pSrc, int srcStep, Vek16s* const pDstMCU[3]);
VEKAPI VekStatus vekiJoin422LS_MCU_16s8u_P3C2R(const Vek16s* const pSrcMCU[3], Vek8u* pDst, int dstStep);

#ifdef __cplusplus
}
#endif

#endif /* VEKJ_H */
