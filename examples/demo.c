/* The demo: prints the version record and runs the level shift both ways
 * over a small embedded image, checking that the round trip is exact. */
#include <stdio.h>
#include <stdlib.h>

#include "vekj.h"

enum { kWidth = 96, kHeight = 64 };

/* A smooth embedded test card: diagonal ramps with a bright disc. */
static Vek8u Sample(int x, int y) {
  const int dx = x - kWidth / 2, dy = y - kHeight / 2;
  if (dx * dx + dy * dy < 400) return 240;
  return (Vek8u)((x * 2 + y * 3) & 0xFF);
}

int main(void) {
  const VekLibraryVersion* v = vekjGetLibVersion();
  printf("%s  version %s (%d.%d.%d.%d), target %s, built %s\n", v->name, v->version, v->major, v->minor,
         v->majorBuild, v->build, v->targetCpu, v->buildDate);

  static Vek8u image[kHeight][kWidth], back[kHeight][kWidth];
  static Vek16s shifted[kHeight][kWidth];
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) image[y][x] = Sample(x, y);

  const VekiRoiSize roi = {kWidth, kHeight};
  VekStatus st = vekiSub128_JPEG_8u16s_C1R(&image[0][0], kWidth, &shifted[0][0], 2 * kWidth, roi);
  if (st == vekStsOk) st = vekiAdd128_JPEG_16s8u_C1R(&shifted[0][0], 2 * kWidth, &back[0][0], kWidth, roi);
  if (st != vekStsOk) {
    fprintf(stderr, "level shift failed with status %d\n", (int)st);
    return 1;
  }
  int mismatches = 0;
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) mismatches += back[y][x] != image[y][x];
  printf("level shift of a %dx%d image: first row starts %d %d %d, round trip %s\n", kWidth, kHeight,
         shifted[0][0], shifted[0][1], shifted[0][2], mismatches ? "FAILED" : "exact");
  return mismatches ? 1 : 0;
}
