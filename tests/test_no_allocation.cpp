// Every per-cycle call of the library runs without touching the heap. The test
// binary replaces malloc and friends (and so operator new) with counting versions.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tolvexkine.h"

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* ptr, size_t size);
extern "C" void __libc_free(void* ptr);

namespace {
bool g_counting = false;
long g_allocations = 0;

void note()
{
    if (g_counting)
        ++g_allocations;
}
}  // namespace

extern "C" void* malloc(size_t size)
{
    note();
    return __libc_malloc(size);
}
extern "C" void* calloc(size_t count, size_t size)
{
    note();
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* ptr, size_t size)
{
    note();
    return __libc_realloc(ptr, size);
}
extern "C" void free(void* ptr) { __libc_free(ptr); }

namespace {

// Counts the allocations made while `body` runs.
template <typename Body>
long allocationsDuring(Body body)
{
    g_allocations = 0;
    g_counting = true;
    body();
    g_counting = false;
    return g_allocations;
}

}  // namespace

TEST(NoAllocation, TheCounterSeesAllocations)
{
    EXPECT_GE(allocationsDuring([] { delete new std::string(100, 'x'); }), 1);
}

TEST(NoAllocation, EveryCycleCall)
{
    testing::internal::CaptureStdout();
    ASSERT_EQ(OnInitKine_TOLVEXKINE(0, TOLVEX_EXAMPLES_DIR "/model-1017.txt"), 1);
    ASSERT_EQ(OnInitKine(TOLVEX_EXAMPLES_DIR "/robot.ini"), 1);
    testing::internal::GetCapturedStdout();
    double qdeg[7] = {12, -35, 20, -80, 15, 40, -25}, q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4};
    double qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5}, qdd[7] = {1, 0, -1, 0.5, 0, 0, 2};
    double g[3] = {0, 9.81, 0}, wrench[6] = {1, 2, 3, 0.1, 0.2, 0.3}, dir[3] = {0, 0, 1}, bound[2];
    double out7[7], pose[4][4], jac[6][7], flange[4][4], T[4][4], err[6], tau[7], e[7] = {};
    double M[7][7], D[7][7], S[7][7], C[7][7], sol[8][8], row[8], ang[3], xyzabc[6];
    double dqPos[7], dqNeg[7], centre[8], p8[8], v8[8], a8[8], t8[8] = {};
    double lim[8] = {100, 101, 102, 103, 104, 105, 106, 107}, acc[8] = {500, 500, 500, 500, 500, 500, 500, 500};
    double jerk[8] = {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000};
    static FX_CM_YTC_BUF coriolis;
    static FX_CM_DPART_BUF part;
    static Impd_Process_Data impedance;
    static FXNSyncDTS sync;  // records of the profiles, the filter and the arm-angle map
    static FXVDT axis;
    static FXAVGF filter;
    static NSPBase base;
    static PilotArmAngleMap map;
    static CartMove line, arc;  // Cartesian moves: planning and stepping
    static CartStepper stepper;
    static ArmAngleIntervals intervals;
    CartSample sample;
    ArmModel arm_model;
    ArmBranch branch;
    CartLimits limits{250, 1000, 10000, 90, 360, 3600, {}, {}, 0.001, 100000, {}, {}};
    const CartElbow hold{CART_ELBOW_HOLD, 0}, automatic{CART_ELBOW_AUTO, 0};
    for (int i = 0; i < 7; ++i) limits.joint_speed[i] = lmt.JointLim3[i], limits.joint_acc[i] = lmt.JointLim4[i];
    double start[7] = {10, 40, -20, 70, 15, 50, -30}, from[4][4], to[4][4], via[3];
    FX_Kine_Pilot(&pilot, start, from);
    FX_ArmModelOf(&pilot, &arm_model);
    ASSERT_TRUE(FX_ArmBranchOf(&arm_model, &lmt, start, &branch));
    FX_M44Copy(from, to);
    to[0][3] += 80, to[1][3] -= 60;
    via[0] = from[0][3] + 40, via[1] = from[1][3] - 10, via[2] = from[2][3] + 20;
    PilotLimitVerdict verdict;
    ASSERT_EQ(FXNSyncDTS_OnInit(&sync, 8, 1, lim, acc, jerk), 1);
    ASSERT_EQ(FXVDT_OnInit(&axis, 1, 100, 500), 1);
    ASSERT_TRUE(FXAVGF_OnInit(&filter, 8, 50));
    OnKine(&ik, qdeg, flange);
    unsigned char f1, f2, f3, flags[8], okPos, okNeg;
    bool outside[7] = {};
    long rows = 0;
    tk::Robot robot(tk::readRobotIni(TOLVEX_EXAMPLES_DIR "/robot.ini"));
    double robotJ[42], robotM[49], robotC[49];
    // The robot's analytic arm, and a flange pose of it in metres.
    tk::AnalyticArm* arm = robot.analytic();
    ASSERT_TRUE(arm);
    double model[7], arm_pose[4][4], model_pose[4][4];
    robot.fk(q, arm_pose);
    tk::LockedSolutions locked;
    tk::AnalyticLimitVerdict arm_verdict;
    static tk::ArmAngleMap arm_map;
    long count = allocationsDuring([&] {
        for (int cycle = 0; cycle < 20; ++cycle) {
            robot.fk(q, pose), robot.jacobian(q, robotJ);
            robot.inverseDynamics(q, qd, qdd, tau), robot.gravityTorques(q, tau), robot.friction(qd, tau);
            robot.massMatrix(q, robotM), robot.coriolisMatrix(q, qd, robotC);
            OnKine(qdeg, pose), OnJacob(qdeg, jac);
            OnInvKine(pose, qdeg, out7, &f1, &f2, &f3);
            OnInvKine_NSP(20, qdeg, out7, &f1, &f2, &f3);
            OnInvKineDir(pose, qdeg, dir, out7, &f1, &f2, &f3);
            OnInvKineRange(qdeg, bound, outside);
            OnInvKineRange_Cross67(qdeg + 5, bound);
            FX_Kine_Pilot(&pilot, qdeg, pose), FX_Jacb_Pilot(&pilot, jac);
            FX_CheckPilotLimits(&lmt, qdeg, &verdict);
            rob.kin_cached = 0;
            FX_KINE(&rob, q, T);
            FX_InvDyn(&rob, q, qd, qdd, g, wrench, tau);
            FX_MMatInvDyn(&rob, q, qd, 2, out7);
            FX_CalMmat(&rob, q, e, M);
            FX_CalCmatDPT_Q(&rob, q, &coriolis);
            FX_CalCmat_DPT_QD(&coriolis, qd, D, S, C);
            FX_CMatInvDyn_A(&rob, q, qd, out7, 1, &part);
            FX_CMatInvDyn_B(&rob, q, qd, out7, 3, &part);
            std::copy(q, q + 7, impedance.q);
            FX_Impd_Process_Jacob(&impedance, &rob);
            FX_M44ToM44(T, impedance.pose, err);
            OnKine(&ik, qdeg, flange);
            FX_IKLock7(&ik, qdeg[6], flange, &rows, sol);
            FX_IKLock7_ALL(&ik, qdeg[6], flange, &rows, sol, flags);
            FX_IKLock7_With_Config(&ik, qdeg[6], qdeg, flange, &rows, sol);
            FX_SelectSolve_With_Range(&ik, rows, qdeg, sol, row);
            FX_IKRef7(&ik, qdeg[6], qdeg, flange, row);
            FX_IKRef7_With_Config(&ik, qdeg[6], qdeg, flange, row);
            FX_SolveZYZ(flange, ang, &f1);
            FX_CALW(&ik, qdeg, flange, dqPos, dqNeg, &okPos, &okNeg);
            FX_CALWSpan2(&ik, 0.5, qdeg, flange, centre, dqPos, dqNeg, &okPos, &okNeg);
            FX_CALWSpan2_With_Config(&ik, 0.5, qdeg, flange, centre, dqPos, dqNeg, &okPos, &okNeg);
            FX_Matrix42XYZABCDEG(flange, xyzabc), FX_XYZABC2Matrix4DEG(xyzabc, pose);
            t8[cycle % 8] += 1;
            FXNSyncDTS_OnDT(&sync, t8, p8);
            FXNSyncDTS_OnDT_U(&sync, p8);
            FXNSyncDTS_OnGetCurPVA(&sync, t8, p8, v8, a8), FXNSyncDTS_OnGetCurPVA_U(&sync, p8, v8, a8);
            FXNSyncDTS_OnSetRunTimeLmt(&sync, lim, acc);
            FXAVGF_OnFilt(&filter, p8, p8);
            FXVDT_OnDT_B(&axis, cycle, p8);
            FXVDT_OnSetRunTimeLmt(&axis, 50, 500);
            arm->ik(arm_pose, q, out7), arm->ikAtArmAngle(0.3, q, out7);
            arm->ikLocked7(arm_pose, q[6], q, out7), arm->ikLocked7All(arm_pose, q[6], &locked);
            arm->checkLimits(q, &arm_verdict);
            arm->toModelPose(arm_pose, model_pose), arm->fromModelPose(model_pose, arm_pose);
            arm->jointMap().toModel(q, model), arm->jointMap().fromModel(model, out7);
        }
        arm->armAngleMap(arm_pose, q, &arm_map), arm->armAngle(q);
        FX_PilotArmAngleMap(&pilot, &lmt, qdeg, pose, 5, &base, &map);
        FX_ArmAngleIntervals(&arm_model, &lmt, &branch, from, 1, &intervals);
        FX_CartPlanLin(&line, &pilot, &lmt, start, to, &limits, &hold);
        FX_CartPlanCirc(&arc, &pilot, &lmt, start, via, to, &limits, &automatic);
        FX_CartStepperStart(&line, &stepper);
        while (FX_CartStep(&line, &stepper, &sample)) {
        }
        FX_CartSampleAt(&arc, 10, &sample);
    });
    EXPECT_EQ(count, 0);
    EXPECT_GE(map.count, 1);
    EXPECT_GE(arm_map.count, 1);
    EXPECT_EQ(locked.count, 8);
    EXPECT_TRUE(line.ok && arc.ok) << line.reason << arc.reason;
    EXPECT_EQ(stepper.next, line.samples);
    EXPECT_GE(intervals.count, 1);
}
