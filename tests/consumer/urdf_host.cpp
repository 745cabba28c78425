// URDF host: a one-joint arm written as a URDF and read back through the installed
// URDF library, built once through find_package and once through pkg-config.
#include <cmath>
#include <cstdio>

#include <fstream>

#include <tolvexkine/urdf/UrdfC.h>
#include <tolvexkine/urdf/UrdfExport.h>
#include <tolvexkine/urdf/UrdfImport.h>

int main() {
  tk::RobotDescription arm;
  arm.dof = 1;
  arm.joint[0].d = 0.3;
  arm.link[0].mass = 2.0;
  arm.link[0].inertia[0] = arm.link[0].inertia[3] = arm.link[0].inertia[5] = 0.01;
  arm.limits[0] = {-1.0, 1.0, 2.0, 0.0, 10.0, false};
  try {
    const tk::UrdfImport back = tk::importUrdfString(tk::exportUrdf(arm));
    std::ofstream("arm.urdf") << tk::exportUrdf(arm);
    char error[200] = "";
    tk_robot* robot = tk_robot_from_urdf("arm.urdf", nullptr, nullptr, error, sizeof error);  // the C route
    const int dof = robot ? tk_robot_dof(robot) : 0;
    tk_robot_free(robot);
    std::printf("urdf host: d = %.3f m, mass = %.1f kg, dof %d through C %s\n", back.description.joint[0].d,
                back.description.link[0].mass, dof, error);
    return std::abs(back.description.joint[0].d - 0.3) < 1e-12 && back.description.link[0].mass == 2.0 && dof == 1 ? 0 : 1;
  } catch (const tk::Error& e) {
    std::printf("urdf host: %s\n", e.what());
    return 1;
  }
}
