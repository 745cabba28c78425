// C++ host: the zero pose of the model file, robot.ini read through a parser object of its
// own, and the robot object's mass matrix, as a host built against the installed library does it.
#include <cstdio>
#include <string>

#include <tolvexkine/tolvexkine.h>

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  double zero[7] = {0, 0, 0, 0, 0, 0, 0};
  double pose[4][4];
  if (!OnInitKine_TOLVEXKINE(0, argv[1]) || !OnKine(zero, pose)) return 1;

  IniParser robot;
  int dof = 0;
  int pos = 0;
  robot.SkipLine(" \n", 2, pos);
  if (!robot.OnLoad(argv[2]) || !robot.OnGetValue("R.A0.BASIC", "Dof", &dof, 1)) return 1;
  tk::Robot arm(tk::readRobotIni(argv[2]));
  double M[49];
  arm.massMatrix(zero, M);
  std::printf("c++ host %s: z = %.3f, dof = %d, M11 = %.4f kg m^2\n", TOLVEXKINE_VERSION_STRING, pose[2][3], dof, M[0]);
  return pose[2][3] == 1266.0 && dof == 7 && pos == 2 && M[0] > 0.08 ? 0 : 1;
}
