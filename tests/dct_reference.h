// Double-precision DCTs of ITU-T T.81 A.3.3, the oracle of the fixed-point
// transforms.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vek::test {

using Block = std::array<double, 64>;

// C(u)/2 cos((2x + 1) u pi / 2n): the n-point orthonormal DCT matrix at T.81 scale.
inline double Basis(int n, int u, int x) {
  const double c = u == 0 ? std::sqrt(0.5) : 1.0;
  return c / 2 * std::cos((2 * x + 1) * u * M_PI / (2 * n));
}

// F(v, u) = 1/4 C(u) C(v) sum f(y, x) cos cos, natural order [v * 8 + u].
inline Block ForwardDct(const Block& f) {
  Block out{};
  for (int v = 0; v < 8; ++v)
    for (int u = 0; u < 8; ++u) {
      double sum = 0;
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) sum += Basis(8, v, y) * Basis(8, u, x) * f[8 * y + x];
      out[8 * v + u] = sum;
    }
  return out;
}

// The n x n image of the top-left n x n coefficients (n = 8: the full inverse).
inline std::vector<double> InverseDct(const Block& coef, int n) {
  std::vector<double> out(static_cast<std::size_t>(n * n));
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x) {
      double sum = 0;
      for (int v = 0; v < n; ++v)
        for (int u = 0; u < n; ++u) sum += Basis(n, v, y) * Basis(n, u, x) * coef[8 * v + u];
      out[static_cast<std::size_t>(y * n + x)] = sum;
    }
  return out;
}

}  // namespace vek::test
