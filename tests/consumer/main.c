/* A user's program: links the installed library and calls two exports. */
#include <stdio.h>
#include <string.h>
#include <vekj.h>

int main(void) {
  const VekLibraryVersion* v = vekjGetLibVersion();
  Vek8u src[4] = {0, 127, 128, 255};
  Vek16s dst[4];
  VekiRoiSize roi = {4, 1};
  if (vekiSub128_JPEG_8u16s_C1R(src, 4, dst, 8, roi) != vekStsOk) return 1;
  if (dst[0] != -128 || dst[3] != 127) return 1;
  printf("%s %d.%d\n", v->name, v->major, v->minor);
  return strcmp(v->targetCpu, "t3") != 0;
}
