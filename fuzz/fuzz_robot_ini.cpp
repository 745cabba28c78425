// The robot.ini route, then kinematics, dynamics and locked-joint IK on the
// chain and model it built; and the robot object's reading of the same file,
// then its kinematics and dynamics.
#include "dynamics/FxImpedance.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "fuzz/FuzzInput.h"
#include "ik7/IKSelect.h"
#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "robot/Robot.h"
#include "robot/RobotIni.h"

namespace {

void robotObject(const char* path)
{
    double q[7] = {0.1, 0.2, 0.3, -0.4, 0.5, 0.6, 0.7}, out[49], T[4][4];
    try {
        tk::Robot robot(tk::readRobotIni(path));
        robot.fk(q, T);
        robot.jacobian(q, out);
        robot.inverseDynamics(q, q, q, out);
        robot.massMatrix(q, out);
        robot.coriolisMatrix(q, q, out);
    } catch (const tk::Error&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzFile file(data, size);
    if (!file.ok())
        return 0;
    robotObject(file.path());
    if (!OnInitKine(file.path()))
        return 0;
    double q[8] = {0.1, 0.2, 0.3, -0.4, 0.5, 0.6, 0.7, 0}, zero[8] = {}, T[4][4], M[7][7];
    double g[3] = {0, 9.81, 0}, tau[8], ref[7] = {10, 20, 30, -40, 50, 60, 70}, out[8];
    FX_KINE(&rob, q, T);
    Impd_Process_Data d{};
    FX_Impd_Process_Jacob(&d, &rob);
    rob.kin_cached = 0;
    FX_InvDyn(&rob, q, q, q, g, zero, tau);
    FX_CalMmat(&rob, q, zero, M);
    FX_IKRef7(&ik, 70, ref, T, out);
    return 0;
}
