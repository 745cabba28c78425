/* C host: the model file's zero pose through the C header, and the robot object of robot.ini
   through its C API, against an installed library. */
#include <stdio.h>
#include <tolvexkine/TolvexKine.h>
#include <tolvexkine/robot/RobotC.h>

int main(int argc, char** argv) {
  const double zero[7] = {0, 0, 0, 0, 0, 0, 0}, bent[7] = {0, 0.5, 0, 1.0, 0, 0.5, 0};
  double pose[4][4], tau[7], flange[16], q[7];
  unsigned char flags[3];
  char error[256];
  tk_robot* robot;
  if (argc < 3 || !OnInitKine_TOLVEXKINE(0, argv[1]) || !OnKine(zero, pose)) return 1;
  robot = tk_robot_from_robot_ini(argv[2], error, sizeof error);
  if (!robot || tk_robot_from_robot_ini("/nonexistent/robot.ini", error, sizeof error)) return 1;
  tk_robot_gravity_torques(robot, bent, tau);
  tk_robot_fk(robot, bent, flange);
  if (!tk_robot_has_analytic_ik(robot) || !tk_robot_ik(robot, flange, bent, q, flags) || q[3] != q[3]) return 1;
  printf("c host: z = %.3f, shoulder holds %.3f N m; %s\n", pose[2][3], tau[1], error);
  tk_robot_free(robot);
  return pose[2][3] == 1266.0 && tau[1] < -10.0 ? 0 : 1;
}
