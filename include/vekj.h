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
 * InitAlloc returns vekStsNullPtr when the allocation fails.
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

/* ---- JPEG colour conversion ------------------------------------------------ */

/* ---- JPEG MCU-level conversion with level shift ---------------------------- */

/* ---- JPEG chroma sampling --------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* VEKJ_H */
