// Two threads, two arms: forward and inverse kinematics, dynamics and
// locked-joint IK on records each thread owns, and a robot object each. Built with ThreadSanitizer,
// which fails the run on any race; the results must also match a run alone.
#include <cstdio>
#include <cstring>
#include <thread>

#include "tests/TestArm.h"
#include "dynamics/FxImpedance.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "math/FxScalar.h"
#include "pilot/PilotNSP.h"
#include "robot/Robot.h"
#include "robot/RobotIni.h"

namespace {

struct Arm {
    Pilot pilot;
    NSPBase nbase;
    FX_Pilot chain;    // with link masses and a tool, for the dynamics
    IK_Poilt7 ik;
    tk::Robot* robot;  // the example robot, upright or hanging
};

// Sum of every result of `rounds` cycles of calls.
double Work(Arm* arm, unsigned char variant, int rounds)
{
    tk::Lcg gen{variant + 1u};
    double sum = 0;
    for (int k = 0; k < rounds; ++k) {
        double q[7], T[4][4], out[8], ref[7], M[7][7], e[7] = {}, tau[7], zero[6] = {};
        double g[3] = {0, 9.81, 0}, q_rad[7], sol[8][8];
        unsigned char f1, f2, f3;
        long count;
        tk::randomJoints(gen, q);
        std::memcpy(ref, q, sizeof q);
        FX_Kine_Pilot(&arm->pilot, q, T);
        if (FX_InvKine_Pilot(&arm->pilot, ref, T, &arm->nbase, out, &f1, &f2, &f3))
            sum += out[0] + out[6];
        if (FX_InvKine_Pilot_NSP(&arm->nbase, 20.0, ref, out, &f1, &f2, &f3))
            sum += out[2];
        for (int i = 0; i < 7; ++i)
            q_rad[i] = q[i] * FX_DEG2RAD;
        FX_KINE(&arm->chain, q_rad, T);
        arm->chain.kin_cached = 0;
        FX_InvDyn(&arm->chain, q_rad, q_rad, q_rad, g, zero, tau);
        FX_CalMmat(&arm->chain, q_rad, e, M);
        sum += T[0][3] + tau[1] + M[2][3];
        OnKine(&arm->ik, q, T);
        if (FX_IKLock7(&arm->ik, q[6], T, &count, sol))
            sum += sol[count - 1][0];
        if (FX_IKRef7(&arm->ik, q[6], ref, T, out))
            sum += out[3];
        double C[49];
        arm->robot->coriolisMatrix(q_rad, q_rad, C);
        arm->robot->inverseDynamics(q_rad, q_rad, q_rad, tau);
        arm->robot->fk(q_rad, T);
        sum += C[10] + tau[2] + T[1][3];
    }
    return sum;
}

void Build(Arm* arm, unsigned char variant)
{
    tk::buildPilot(&arm->pilot, variant);
    tk::buildChain(&arm->chain, true);
    tk::buildIK(&arm->ik, variant ? 1017 : 1007);
    tk::RobotDescription d = tk::readRobotIni(TOLVEX_EXAMPLES_DIR "/robot.ini");
    d.gravity[2] = variant ? 9.81 : -9.81;
    arm->robot = new tk::Robot(d);
}

}  // namespace

int main()
{
    constexpr int kRounds = 300;
    static Arm arms[2], alone[2];
    double together[2], expected[2];
    for (unsigned char v = 0; v < 2; ++v) {
        Build(&arms[v], v);
        Build(&alone[v], v);
        expected[v] = Work(&alone[v], v, kRounds);
    }
    std::thread other([&] { together[1] = Work(&arms[1], 1, kRounds); });
    together[0] = Work(&arms[0], 0, kRounds);
    other.join();
    for (int v = 0; v < 2; ++v) {
        if (std::memcmp(&together[v], &expected[v], sizeof(double)) != 0) {
            std::printf("arm %d: %.17g in parallel, %.17g alone\n", v, together[v], expected[v]);
            return 1;
        }
    }
    std::printf("two arms in parallel: no race, results as alone\n");
    return 0;
}
