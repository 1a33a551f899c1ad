#include "support/coefficients.h"

#include <algorithm>

namespace vek::test {

namespace {
int CeilDiv(int a, int b) { return (a + b - 1) / b; }
}  // namespace

CoefImage MakeCoefImage(const JpegFrame& frame) {
  int hmax = 1, vmax = 1;
  for (const codec::FrameComponent& c : frame.components) {
    hmax = std::max(hmax, c.h);
    vmax = std::max(vmax, c.v);
  }
  const int mcusX = CeilDiv(frame.width, 8 * hmax), mcusY = CeilDiv(frame.height, 8 * vmax);
  CoefImage image{frame.width, frame.height, {}};
  for (const codec::FrameComponent& c : frame.components) {
    CoefComponent comp;
    comp.h = c.h;
    comp.v = c.v;
    comp.widthInBlocks = CeilDiv(CeilDiv(frame.width * c.h, hmax), 8);
    comp.heightInBlocks = CeilDiv(CeilDiv(frame.height * c.v, vmax), 8);
    comp.stride = mcusX * c.h;
    comp.rows = mcusY * c.v;
    comp.coefs.assign(static_cast<std::size_t>(comp.stride) * comp.rows * 64, 0);
    image.components.push_back(std::move(comp));
  }
  return image;
}

std::string CompareCoefficients(const CoefImage& a, const CoefImage& b) {
  if (a.components.size() != b.components.size()) return "component counts differ";
  for (std::size_t c = 0; c < a.components.size(); ++c) {
    const CoefComponent &ca = a.components[c], &cb = b.components[c];
    if (ca.widthInBlocks != cb.widthInBlocks || ca.heightInBlocks != cb.heightInBlocks) {
      return "component " + std::to_string(c) + " sizes differ";
    }
    for (int by = 0; by < ca.heightInBlocks; ++by) {
      for (int bx = 0; bx < ca.widthInBlocks; ++bx) {
        if (!std::equal(ca.Block(bx, by), ca.Block(bx, by) + 64, cb.Block(bx, by))) {
          return "component " + std::to_string(c) + " block (" + std::to_string(bx) + ", " + std::to_string(by) + ")";
        }
      }
    }
  }
  return "";
}

}  // namespace vek::test
