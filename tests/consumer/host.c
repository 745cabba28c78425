/* C host: the model file's zero pose, through the C header of an installed library. */
#include <stdio.h>
#include <tolvexkine/TolvexKine.h>

int main(int argc, char** argv) {
  const double zero[7] = {0, 0, 0, 0, 0, 0, 0};
  double pose[4][4];
  if (argc < 2 || !OnInitKine_TOLVEXKINE(0, argv[1]) || !OnKine(zero, pose)) return 1;
  printf("c host: z = %.3f\n", pose[2][3]);
  return pose[2][3] == 1266.0 ? 0 : 1;
}
