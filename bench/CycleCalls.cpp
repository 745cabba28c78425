#include "bench/CycleCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace bench {

double g_joints_deg[7] = {12, -35, 20, -80, 15, 40, -25};
double g_q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4};
double g_qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5};
double g_qdd[7] = {1, 0.3, -1, 0.5, -0.2, 0.4, 2};
double g_gravity[3] = {0, 9.81, 0};
double g_wrench[6] = {1, -2, 3, 0.1, 0.2, -0.3};

tk::Robot *g_robot;

namespace {

bool loadQuietly()
{
    // The loaders announce themselves on stdout; keep the tables clean.
    fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    bool ok = OnInitKine_TOLVEXKINE(0, const_cast<char *>(TOLVEX_EXAMPLES_DIR "/model-1017.txt")) == 1 &&
              OnInitKine(TOLVEX_EXAMPLES_DIR "/robot.ini") == 1;
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(null);
    close(saved);
    return ok;
}

double g_pose[4][4], g_jacobian[6][7], g_tau[7], g_e[7], g_M[7][7], g_D[7][7], g_S[7][7], g_C[7][7];
double g_flange[4][4], g_sol[8][8], g_row[8], g_axes_out[8];
long g_count;
FX_CM_YTC_BUF g_ytc;
Impd_Process_Data g_impd;
FXNSyncDTS g_sync;

void kinePilot() { FX_Kine_Pilot(&pilot, g_joints_deg, g_pose); }
void kineJacbPilot()
{
    FX_Kine_Pilot(&pilot, g_joints_deg, g_pose);
    FX_Jacb_Pilot(&pilot, g_jacobian);
}
void kineChain() { FX_KINE(&rob, g_q, g_pose); }
void impedanceJacobian()
{
    std::memcpy(g_impd.q, g_q, sizeof g_q);
    FX_Impd_Process_Jacob(&g_impd, &rob);
}
// The dynamics read q only while no posture is cached: clear the cache so
// that every call pays for the transforms, as a new posture each cycle does.
void invDyn()
{
    rob.kin_cached = 0;
    FX_InvDyn(&rob, g_q, g_qd, g_qdd, g_gravity, g_wrench, g_tau);
}
void massMatrix()
{
    rob.kin_cached = 0;
    FX_CalMmat(&rob, g_q, g_e, g_M);
}
void coriolisPosture()
{
    rob.kin_cached = 0;
    FX_CalCmatDPT_Q(&rob, g_q, &g_ytc);
}
void coriolisVelocity() { FX_CalCmat_DPT_QD(&g_ytc, g_qd, g_D, g_S, g_C); }

// The robot object on robot.ini's own dynamics, and the bare chain call it makes.
FX_Pilot g_regrouped;
double g_regrouped_gravity[3], g_angles[7];
void robotInverseDynamics() { g_robot->inverseDynamics(g_q, g_qd, g_qdd, g_tau); }
void regroupedInvDyn()
{
    g_regrouped.kin_cached = 0;
    FX_InvDyn(&g_regrouped, g_angles, g_qd, g_qdd, g_regrouped_gravity, g_wrench, g_tau);
}
void robotMassMatrix() { g_robot->massMatrix(g_q, &g_M[0][0]); }
void robotCoriolisMatrix() { g_robot->coriolisMatrix(g_q, g_qd, &g_C[0][0]); }
// The locked-joint solvers get the flange pose of g_joints_deg; FX_IKRef7 gets
// those joints as its reference, so the reference equals the solution.
void ikLock7() { FX_IKLock7(&ik, g_joints_deg[6], g_flange, &g_count, g_sol); }
void ikRef7() { FX_IKRef7(&ik, g_joints_deg[6], g_joints_deg, g_flange, g_row); }

// The same with a new target each call: flange poses of seeded joint vectors
// spread over the joint ranges, each solved with its own joints as the
// reference, so that no branch of the solver sees one pose over and over.
struct IkTarget {
    double joints[7];
    double flange[4][4];
};
IkTarget g_targets[64];

void makeIkTargets()
{
    const double limit[7] = {170, 120, 170, 170, 170, 110, 170};
    unsigned long state = 2026;
    for (IkTarget &t : g_targets) {
        for (int j = 0; j < 7; ++j) {
            state = state * 6364136223846793005UL + 1442695040888963407UL;
            t.joints[j] = limit[j] * (2.0 * double(state >> 11) / 9007199254740992.0 - 1.0);
        }
        OnKine(&ik, t.joints, t.flange);
    }
}
void ikRef7NewPose()
{
    static unsigned next = 0;
    IkTarget &t = g_targets[next++ % 64];
    FX_IKRef7(&ik, t.joints[6], t.joints, t.flange, g_row);
}

// The analytic arm of the robot.ini chain solves its own flange pose of g_q (m, rad);
// the model's solver the same pose of g_joints_deg, for comparison.
std::unique_ptr<tk::AnalyticArm> g_arm;
double g_arm_pose[4][4], g_arm_q[7], g_model_pose[4][4];
NSPBase g_nbase;
tk::AnalyticLimitVerdict g_arm_verdict;
void invKinePilot()
{
    unsigned char f1, f2, f3;
    FX_InvKine_Pilot(&pilot, g_joints_deg, g_model_pose, &g_nbase, g_axes_out, &f1, &f2, &f3);
}
void armIk() { g_arm->ik(g_arm_pose, g_q, g_arm_q); }
void armIkAtArmAngle() { g_arm->ikAtArmAngle(0.3, g_q, g_arm_q); }
void armIkLocked7() { g_arm->ikLocked7(g_arm_pose, g_q[6], g_q, g_arm_q); }
void armCheckLimits() { g_arm->checkLimits(g_q, &g_arm_verdict); }
bool buildArm()
{
    tk::RobotDescription d;
    d.dof = 7;
    for (int i = 0; i < 7; ++i) {
        d.joint[i] = {rob.links[i].alpha, rob.links[i].a, rob.links[i].d, rob.links[i].theta};
        d.limits[i].lower = -3, d.limits[i].upper = 3;
    }
    g_arm = tk::AnalyticArm::fit(d, nullptr);
    if (!g_arm) return false;
    double model[7];
    g_arm->jointMap().toModel(g_q, model);
    FX_Kine_Pilot(&g_arm->pilot(), model, g_model_pose);
    g_arm->fromModelPose(g_model_pose, g_arm_pose);
    FX_Kine_Pilot(&pilot, g_joints_deg, g_model_pose);
    armIk();
    return true;
}

// Eight axes with 100-cycle windows (the costliest re-summation), moving back
// and forth between two targets so that the generators never come to rest.
void syncProfile()
{
    static long cycle = 0;
    static double targets[2][8] = {{400, -300, 250, 120, -90, 60, 800, -500},
                                   {-400, 300, -250, -120, 90, -60, -800, 500}};
    if (!g_sync.ready) {
        double vmax[8], acc[8], jerk[8];
        for (int i = 0; i < 8; ++i) vmax[i] = 100 + i, acc[i] = 500, jerk[i] = 5000;
        FXNSyncDTS_OnInit(&g_sync, 8, 1, vmax, acc, jerk);
    }
    FXNSyncDTS_OnDT(&g_sync, targets[(cycle++ / 4000) % 2], g_axes_out);
}

// The usable arm angles of the pose of g_joints_deg, on its branches, with
// the singularity margin of a move; and of a pose whose wrist keeps joints 6/7
// near their corner curves, where those are searched numerically.
struct IntervalsCase {
    double joints[7];
    ArmModel model;
    ArmBranch branch;
    double pose[4][4];
    ArmAngleIntervals out;
};
IntervalsCase g_typical{{12, -35, 20, -80, 15, 40, -25}, {}, {}, {}, {}};
IntervalsCase g_corner{{12, -35, 20, -80, 15, 95, 140}, {}, {}, {}, {}};
void prepare(IntervalsCase &c)
{
    FX_ArmModelOf(&pilot, &c.model);
    FX_ArmBranchOf(&c.model, &lmt, c.joints, &c.branch);
    FX_Kine_Pilot(&pilot, c.joints, c.pose);
}
void intervals(IntervalsCase &c) { FX_ArmAngleIntervals(&c.model, &lmt, &c.branch, c.pose, 1, &c.out); }
void armAngleIntervals() { intervals(g_typical); }
void armAngleIntervalsCorner() { intervals(g_corner); }

// A 2 s line from g_joints_deg (260 mm and a 20 degree turn, the arm angle
// held), stepped over and over from its start.
CartMove g_line;
CartStepper g_stepper;
CartSample g_sample;
void planLine()
{
    double from[4][4], to[4][4], xyzabc[6];
    FX_Kine_Pilot(&pilot, g_joints_deg, from);
    FX_Matrix42XYZABCDEG(from, xyzabc);
    const double shift[6] = {100, -150, 80, 10, -15, 5};
    for (int i = 0; i < 6; ++i) xyzabc[i] = xyzabc[i] * (i < 3 ? 1 : FX_RAD2DEG) + shift[i];
    FX_XYZABC2Matrix4DEG(xyzabc, to);
    CartLimits limits{150, 500, 5000, 45, 180, 1800, {}, {}, 0.001, 1 << 20, {}, {}};
    for (int i = 0; i < 7; ++i) limits.joint_speed[i] = lmt.JointLim3[i], limits.joint_acc[i] = lmt.JointLim4[i];
    const CartElbow hold{CART_ELBOW_HOLD, 0};
    FX_CartPlanLin(&g_line, &pilot, &lmt, g_joints_deg, to, &limits, &hold);
    FX_CartStepperStart(&g_line, &g_stepper);
}
void cartStep()
{
    if (!FX_CartStep(&g_line, &g_stepper, &g_sample)) FX_CartStepperStart(&g_line, &g_stepper);
}

} // namespace

bool loadExampleModels()
{
    static bool loaded = [] {
        if (!loadQuietly()) return false;
        // robot.ini carries no link dynamics: illustrative first moments,
        // inertias about the frame origins and rotor inertias, so that every
        // term of the recursions works on real numbers.
        static double dynamics[7][10] = {
            {0.011, -0.032, -0.090, 0.31, 0.004, -0.012, 0.29, 0.021, 0.052, 0.61},
            {-0.004, -0.061, 0.023, 0.12, -0.003, 0.006, 0.027, 0.011, 0.13, 0.57},
            {0.021, 0.013, -0.071, 0.17, 0.002, -0.009, 0.16, 0.018, 0.031, 0.33},
            {-0.015, 0.043, 0.008, 0.052, 0.007, 0.001, 0.011, -0.004, 0.049, 0.29},
            {0.003, 0.019, -0.052, 0.072, -0.001, 0.004, 0.068, 0.009, 0.012, 0.11},
            {0.007, -0.011, 0.004, 0.011, 0.0008, -0.0006, 0.0043, 0.0012, 0.0102, 0.09},
            {0.0012, 0.0009, 0.0071, 0.0031, 0.0002, 0.0001, 0.0029, -0.0003, 0.0017, 0.05}};
        for (int i = 0; i < 7; ++i) {
            const FX_Link l = rob.links[i];
            FX_SetLink(&rob, i, l.alpha, l.a, l.d, l.theta, 0, dynamics[i], dynamics[i] + 3, dynamics[i][9]);
        }
        FX_RemoveTool(&rob);
        OnKine(&ik, g_joints_deg, g_flange);
        makeIkTargets();
        coriolisPosture();
        prepare(g_typical);
        prepare(g_corner);
        planLine();
        g_robot = new tk::Robot(tk::readRobotIni(TOLVEX_EXAMPLES_DIR "/robot.ini"));
        g_regrouped = g_robot->dynamicsChain();
        g_regrouped_gravity[1] = g_robot->dynamicsGravityY();
        for (int i = 0; i < 7; ++i) g_angles[i] = g_q[i] + g_regrouped.links[i].theta;
        return g_line.ok == 1 && buildArm();
    }();
    return loaded;
}

const CycleCall kCycleCalls[] = {
    {"FX_Kine_Pilot", kinePilot},
    {"FX_Kine_Pilot+FX_Jacb_Pilot", kineJacbPilot},
    {"FX_KINE", kineChain},
    {"FX_Impd_Process_Jacob", impedanceJacobian},
    {"FX_InvDyn", invDyn},
    {"FX_CalMmat", massMatrix},
    {"FX_CalCmatDPT_Q", coriolisPosture},
    {"FX_CalCmat_DPT_QD", coriolisVelocity},
    {"FX_IKLock7", ikLock7},
    {"FX_IKRef7", ikRef7},
    {"FX_IKRef7 (new pose each call)", ikRef7NewPose},
    {"FXNSyncDTS_OnDT", syncProfile},
    {"Robot::inverseDynamics", robotInverseDynamics},
    {"FX_InvDyn (robot's chain)", regroupedInvDyn},
    {"Robot::massMatrix", robotMassMatrix},
    {"Robot::coriolisMatrix", robotCoriolisMatrix},
    {"FX_InvKine_Pilot", invKinePilot},
    {"AnalyticArm::ik", armIk},
    {"AnalyticArm::ikAtArmAngle", armIkAtArmAngle},
    {"AnalyticArm::ikLocked7", armIkLocked7},
    {"AnalyticArm::checkLimits", armCheckLimits},
    {"FX_ArmAngleIntervals", armAngleIntervals},
    {"FX_ArmAngleIntervals, corner curves", armAngleIntervalsCorner},
    {"FX_CartStep, LIN", cartStep},
};
const int kCycleCallCount = sizeof kCycleCalls / sizeof kCycleCalls[0];

const CycleCall *findCycleCall(const char *name)
{
    for (const CycleCall &call : kCycleCalls)
        if (std::strcmp(call.name, name) == 0) return &call;
    return nullptr;
}

} // namespace bench
