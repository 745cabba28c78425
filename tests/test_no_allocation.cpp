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

void loadExamples()
{
    testing::internal::CaptureStdout();
    ASSERT_EQ(OnInitKine_TOLVEXKINE(0, TOLVEX_EXAMPLES_DIR "/model-1017.txt"), 1);
    ASSERT_EQ(OnInitKine(TOLVEX_EXAMPLES_DIR "/robot.ini"), 1);
    testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(NoAllocation, TheCounterSeesAllocations)
{
    EXPECT_GE(allocationsDuring([] { delete new std::string(100, 'x'); }), 1);
}

TEST(NoAllocation, PilotRoute)
{
    loadExamples();
    double q[7] = {12, -35, 20, -80, 15, 40, -25}, pose[4][4], out[7], jac[6][7], bound[2];
    unsigned char f1, f2, f3;
    bool outside[7] = {};
    long count = allocationsDuring([&] {
        for (int cycle = 0; cycle < 100; ++cycle) {
            OnKine(q, pose);
            OnJacob(q, jac);
            OnInvKine(pose, q, out, &f1, &f2, &f3);
            OnInvKine_NSP(20, q, out, &f1, &f2, &f3);
            OnInvKineRange(q, bound, outside);
            OnInvKineRange_Cross67(q + 5, bound);
        }
    });
    EXPECT_EQ(count, 0);
}

TEST(NoAllocation, LimitVerdictAndArmAngleMap)
{
    loadExamples();
    double q[7] = {12, -35, 20, -80, 15, 40, -25}, pose[4][4];
    OnKine(q, pose);
    PilotLimitVerdict verdict;
    NSPBase base;
    PilotArmAngleMap map;
    long count = allocationsDuring([&] {
        FX_CheckPilotLimits(&lmt, q, &verdict);
        FX_PilotArmAngleMap(&pilot, &lmt, q, pose, 5, &base, &map);
    });
    EXPECT_EQ(count, 0);
    EXPECT_GE(map.count, 1);
}

TEST(NoAllocation, ChainDynamicsAndLockedJointIK)
{
    loadExamples();
    double q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4}, qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5};
    double qdd[7] = {1, 0, -1, 0.5, 0, 0, 2}, g[3] = {0, 9.81, 0}, wrench[6] = {1, 2, 3, 0.1, 0.2, 0.3};
    double tau[7], e[7] = {}, M[7][7], D[7][7], S[7][7], C[7][7], T[4][4], err[6];
    static FX_CM_YTC_BUF coriolis;
    static Impd_Process_Data impedance;
    double qdeg[7] = {12, -35, 20, -80, 15, 40, -25}, flange[4][4], sol[8][8], row[8];
    double dqPos[7], dqNeg[7], centre[8];
    long rows = 0;
    unsigned char okPos, okNeg;
    long count = allocationsDuring([&] {
        for (int cycle = 0; cycle < 20; ++cycle) {
            rob.kin_cached = 0;
            FX_KINE(&rob, q, T);
            FX_InvDyn(&rob, q, qd, qdd, g, wrench, tau);
            FX_CalMmat(&rob, q, e, M);
            FX_CalCmatDPT_Q(&rob, q, &coriolis);
            FX_CalCmat_DPT_QD(&coriolis, qd, D, S, C);
            std::copy(q, q + 7, impedance.q);
            FX_Impd_Process_Jacob(&impedance, &rob);
            FX_M44ToM44(T, impedance.pose, err);
            OnKine(&ik, qdeg, flange);
            FX_IKLock7(&ik, qdeg[6], flange, &rows, sol);
            FX_IKRef7(&ik, qdeg[6], qdeg, flange, row);
            FX_CALWSpan2(&ik, 0.5, qdeg, flange, centre, dqPos, dqNeg, &okPos, &okNeg);
        }
    });
    EXPECT_EQ(count, 0);
}

TEST(NoAllocation, MotionProfilesAndFilter)
{
    static FXNSyncDTS sync;
    static FXAVGF filter;
    double vmax[8], acc[8], jerk[8], target[8], out[8];
    for (int i = 0; i < 8; ++i) {
        vmax[i] = 100 + i;
        acc[i] = 500;
        jerk[i] = 20000;
        target[i] = 10 * (i + 1);
    }
    ASSERT_EQ(FXNSyncDTS_OnInit(&sync, 8, 1, vmax, acc, jerk), 1);
    ASSERT_TRUE(FXAVGF_OnInit(&filter, 8, 50));
    long count = allocationsDuring([&] {
        for (int cycle = 0; cycle < 1000; ++cycle) {
            FXNSyncDTS_OnDT(&sync, target, out);
            FXAVGF_OnFilt(&filter, out, out);
        }
    });
    EXPECT_EQ(count, 0);
}

TEST(NoAllocation, EveryOtherCycleCall)
{
    loadExamples();
    double qdeg[7] = {12, -35, 20, -80, 15, 40, -25}, q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4};
    double qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5}, out7[7], pose[4][4], jac[6][7], flange[4][4];
    double dir[3] = {0, 0, 1}, sol[8][8], row[8], ang[3], xyzabc[6], dqPos[7], dqNeg[7], centre[8];
    static FX_CM_DPART_BUF part;
    static FXNSyncDTS sync;
    static FXVDT axis;
    double lim[8] = {100, 100, 100, 100, 100, 100, 100, 100}, acc[8] = {500, 500, 500, 500, 500, 500, 500, 500};
    double jerk[8] = {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}, p8[8], v8[8], a8[8], t8[8] = {};
    ASSERT_EQ(FXNSyncDTS_OnInit(&sync, 8, 1, lim, acc, jerk), 1);
    ASSERT_EQ(FXVDT_OnInit(&axis, 1, 100, 500), 1);
    OnKine(&ik, qdeg, flange);
    unsigned char f1, f2, f3, flags[8], okPos, okNeg;
    long rows = 0;
    long count = allocationsDuring([&] {
        for (int cycle = 0; cycle < 20; ++cycle) {
            FX_Kine_Pilot(&pilot, qdeg, pose);
            FX_Jacb_Pilot(&pilot, jac);
            OnInvKineDir(pose, qdeg, dir, out7, &f1, &f2, &f3);
            rob.kin_cached = 0;
            FX_MMatInvDyn(&rob, q, qd, 2, out7);
            FX_CMatInvDyn_A(&rob, q, qd, out7, 1, &part);
            FX_CMatInvDyn_B(&rob, q, qd, out7, 3, &part);
            FX_IKLock7_ALL(&ik, qdeg[6], flange, &rows, sol, flags);
            FX_IKLock7_With_Config(&ik, qdeg[6], qdeg, flange, &rows, sol);
            FX_SelectSolve_With_Range(&ik, rows, qdeg, sol, row);
            FX_IKRef7_With_Config(&ik, qdeg[6], qdeg, flange, row);
            FX_SolveZYZ(flange, ang, &f1);
            FX_CALW(&ik, qdeg, flange, dqPos, dqNeg, &okPos, &okNeg);
            FX_CALWSpan2_With_Config(&ik, 0.5, qdeg, flange, centre, dqPos, dqNeg, &okPos, &okNeg);
            FX_Matrix42XYZABCDEG(flange, xyzabc);
            FX_XYZABC2Matrix4DEG(xyzabc, pose);
            t8[cycle % 8] += 1;
            FXNSyncDTS_OnDT(&sync, t8, p8);
            FXNSyncDTS_OnDT_U(&sync, p8);
            FXNSyncDTS_OnGetCurPVA(&sync, t8, p8, v8, a8);
            FXNSyncDTS_OnGetCurPVA_U(&sync, p8, v8, a8);
            FXNSyncDTS_OnSetRunTimeLmt(&sync, lim, acc);
            FXVDT_OnDT_B(&axis, cycle, p8);
            FXVDT_OnSetRunTimeLmt(&axis, 50, 500);
        }
    });
    EXPECT_EQ(count, 0);
}
