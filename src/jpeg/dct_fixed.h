// Constants and lane arithmetic shared by the 16-bit fixed-point 8x8 DCTs.
//
// Both directions use the orthonormal split M = D A of the 8-point DCT:
// A is the tangent-butterfly network (column pass), D scales output u by
// cos(k_u pi/16) / 2 with k = 4, 1, 2, 3, 4, 3, 2, 1. D is folded into the
// row pass, whose weights are W(u, v, x) = round(32768 cos(k_u pi/16) C(v)
// cos((2x + 1) v pi/16)) with C(0) = cos(pi/4), else 1: the forward row pass
// sums W(u, v, x) o_u[x] over x, the inverse one W(u, v, x) c[u][v] over v.
#pragma once

#include <array>
#include <cstdint>

namespace vek::dct {

// round(32768 cos(i pi/16) cos(j pi/16)), rows i = 1..4.
inline constexpr int16_t kCosProducts[5][8] = {
    {},
    {32138, 31521, 29692, 26722, 22725, 17855, 12299, 6270},
    {30274, 29692, 27969, 25172, 21407, 16819, 11585, 5906},
    {27246, 26722, 25172, 22654, 19266, 15137, 10426, 5315},
    {23170, 22725, 21407, 19266, 16384, 12873, 8867, 4520},
};

// k_u: the cosine that D carries for output u of the column pass.
inline constexpr int kRowFactor[8] = {4, 1, 2, 3, 4, 3, 2, 1};

// C(v) cos((2x + 1) v pi/16) as sign * cos(j pi/16), j in 1..7 (C(0) =
// cos(4 pi/16)): the angle reduced to the first quadrant.
struct CosineTerm {
  int sign;
  int j;
};
constexpr CosineTerm BasisTerm(int v, int x) {
  if (v == 0) return {1, 4};
  int m = (2 * x + 1) * v % 32;
  if (m > 16) m = 32 - m;
  return m > 8 ? CosineTerm{-1, 16 - m} : CosineTerm{1, m};
}

// W(u, v, x).
constexpr int16_t RowWeight(int u, int v, int x) {
  const CosineTerm term = BasisTerm(v, x);
  return static_cast<int16_t>(term.sign * kCosProducts[kRowFactor[u]][term.j]);
}

// Column-pass constants of the forward transform: high halves of 16-bit
// products, tan(k pi/16) 2^16 and (for factors above 1/2) 2^16 less.
inline constexpr int16_t kTan1 = 13036;        // tan(pi/16) 2^16
inline constexpr int16_t kTan2 = 27146;        // tan(2 pi/16) 2^16
inline constexpr int16_t kTan3Less1 = -21746;  // tan(3 pi/16) 2^16 - 2^16
inline constexpr int16_t kCos4Less1 = -19195;  // cos(pi/4) 2^16 - 2^16
inline constexpr int16_t kCos4Q15 = 23170;     // cos(pi/4) 2^15

// Column-pass constants of the inverse transform: rounded Q15 products.
inline constexpr int16_t kTan1Q15 = 6518;
inline constexpr int16_t kTan2Q15 = 13573;
inline constexpr int16_t kTan3Q15 = 21895;

// Fractional bits between the inverse passes: 8-bit samples keep 4; 12-bit
// samples, 16 times the range, keep 3, as much as their strongest blocks
// leave room for in 16 bits.
inline constexpr int kInvFracBits8 = 4;
inline constexpr int kInvFracBits12 = 3;

// Lane arithmetic of the plain forms, wrapping as 16-bit vector lanes do.
inline int16_t Wrap16(int32_t v) { return static_cast<int16_t>(v); }
inline int16_t Add16(int16_t a, int16_t b) { return Wrap16(a + b); }
inline int16_t Sub16(int16_t a, int16_t b) { return Wrap16(a - b); }
inline int16_t MulHigh16(int16_t a, int16_t b) { return Wrap16((int32_t{a} * b) >> 16); }
// (a b + 2^14) >> 15; -32768 * -32768 wraps to -32768 as the vector op does.
inline int16_t MulQ15(int16_t a, int16_t b) { return Wrap16((int32_t{a} * b + (1 << 14)) >> 15); }
inline int16_t Saturate16(int32_t v) { return Wrap16(v < -32768 ? -32768 : v > 32767 ? 32767 : v); }
// Sums of 16-bit products wrap modulo 2^32 as vector lanes do; any order of
// summation gives the same bits.
inline uint32_t Product32(int16_t a, int16_t b) { return static_cast<uint32_t>(int32_t{a} * b); }
inline int32_t ShiftRight32(uint32_t sum, int n) { return static_cast<int32_t>(sum) >> n; }

}  // namespace vek::dct

namespace vek::dct {

// W(u, v, x) for every output u, frequency v and position x; the halves
// mirror each other: W(u, v, 7 - x) = (-1)^v W(u, v, x).
inline constexpr auto kRowWeights = [] {
  std::array<std::array<std::array<int16_t, 8>, 8>, 8> w{};
  for (int u = 0; u < 8; ++u)
    for (int v = 0; v < 8; ++v)
      for (int x = 0; x < 8; ++x) w[u][v][x] = RowWeight(u, v, x);
  return w;
}();

// The row weights as pairs for 16-bit multiply-pair-add lanes, 8 per row u
// (lane pair i, element k), one array of 64 per multiply-add:
// forward: output v = 4h + i takes positions x = 2j + k (j = 0, 1) from the
// x / 7 - x sums (v even) or differences (v odd): table 2h + j;
// inverse: output x = i takes frequencies v = kInvPairFreq[j][k].
inline constexpr int kInvPairFreq[4][2] = {{0, 2}, {4, 6}, {1, 3}, {5, 7}};

using PairTables = std::array<std::array<int16_t, 64>, 4>;

inline constexpr PairTables kFwdPairs = [] {
  PairTables t{};
  for (int j = 0; j < 4; ++j)
    for (int u = 0; u < 8; ++u)
      for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 2; ++k) t[j][u * 8 + 2 * i + k] = RowWeight(u, (j / 2) * 4 + i, (j % 2) * 2 + k);
  return t;
}();

inline constexpr PairTables kInvPairs = [] {
  PairTables t{};
  for (int j = 0; j < 4; ++j)
    for (int u = 0; u < 8; ++u)
      for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 2; ++k) t[j][u * 8 + 2 * i + k] = RowWeight(u, kInvPairFreq[j][k], i);
  return t;
}();

}  // namespace vek::dct

namespace vek::dct {

// The reduced inverse images: K_N[u][x] = round(2^13 C(u)/2 cos((2x + 1) u pi/2N)),
// the N-point inverse DCT at T.81 scale, indexed by frequency, then position.
template <int N>
inline constexpr int16_t kReducedBasis[N][N] = {};
template <>
inline constexpr int16_t kReducedBasis<4>[4][4] = {
    {2896, 2896, 2896, 2896},
    {3784, 1567, -1567, -3784},
    {2896, -2896, -2896, 2896},
    {1567, -3784, 3784, -1567},
};
template <>
inline constexpr int16_t kReducedBasis<2>[2][2] = {
    {2896, 2896},
    {2896, -2896},
};
// Fractional bits between the two passes of the reduced inverse.
inline constexpr int kReducedFracBits = 6;

}  // namespace vek::dct

namespace vek::dct {

// The 12-bit forward transform runs in float: C(u)/2 cos((2x + 1) u pi/16)
// by frequency u, then position x, from cos(j pi/16) / 2 rounded to float.
inline constexpr float kHalfCosines[8] = {0.5f,         0.490392625f, 0.461939752f, 0.415734798f,
                                          0.353553385f, 0.277785122f, 0.191341713f, 0.0975451618f};
inline constexpr auto kFloatBasis = [] {
  std::array<std::array<float, 8>, 8> basis{};
  for (int u = 0; u < 8; ++u)
    for (int x = 0; x < 8; ++x) {
      const CosineTerm term = BasisTerm(u, x);
      basis[u][x] = static_cast<float>(term.sign) * kHalfCosines[term.j];
    }
  return basis;
}();

// The same by position x, then frequency u.
inline constexpr auto kFloatBasisByPosition = [] {
  std::array<std::array<float, 8>, 8> t{};
  for (int x = 0; x < 8; ++x)
    for (int u = 0; u < 8; ++u) t[x][u] = kFloatBasis[u][x];
  return t;
}();

// All-ones lanes for the top-left n x n coefficients of a block, zero lanes
// elsewhere.
template <int N>
inline constexpr auto kCornerMask = [] {
  std::array<int16_t, 64> mask{};
  for (int k = 0; k < 64; ++k) mask[k] = static_cast<int16_t>(k / 8 < N && k % 8 < N ? -1 : 0);
  return mask;
}();

}  // namespace vek::dct
