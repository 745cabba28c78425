// The numeric calls fed arbitrary doubles and counts: analytic and
// locked-joint IK, selection, span probes, range checks, dynamics with any
// chain length, profiles and the filter with any limits and windows, and
// Cartesian moves planned, sampled and stepped from any start, target and limits.
#include "cartesian/ArmAngleIntervals.h"
#include "cartesian/CartesianStepper.h"
#include "dynamics/FxCoriolis.h"
#include "dynamics/FxInvDyn.h"
#include "fuzz/FuzzInput.h"
#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "ik7/IKSpan.h"
#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "interface/TolvexKine.h"
#include "math/FxPose.h"
#include "math/FxScalar.h"
#include "motion/FXAVGF.h"
#include "motion/FXNSyncDTS.h"

namespace {

bool LoadExamples()
{
    return OnInitKine_TOLVEXKINE(0, TOLVEX_EXAMPLES_DIR "/model-1017.txt") &&
           OnInitKine(const_cast<char*>(TOLVEX_EXAMPLES_DIR "/robot.ini"));
}

// A pose: either a rigid one from an XYZABC of fuzzed numbers or sixteen raw numbers.
void Pose(FuzzNumbers& in, double T[4][4])
{
    if (in.byte() & 1) {
        in.reals(&T[0][0], 16);
        return;
    }
    double xyzabc[6];
    in.reals(xyzabc, 6);
    FX_XYZABC2Matrix4DEG(xyzabc, T);
}

void PilotIk(FuzzNumbers& in)
{
    double T[4][4], ref[7], out[7], dir[3], bound[2], q67[2];
    unsigned char f1, f2, f3;
    bool outside[7] = {};
    Pose(in, T);
    in.reals(ref, 7);
    in.reals(dir, 3);
    OnInvKine(T, ref, out, &f1, &f2, &f3);
    OnInvKineDir(T, ref, dir, out, &f1, &f2, &f3);
    OnInvKine_NSP(in.real(), ref, out, &f1, &f2, &f3);
    OnKine(ref, T);
    OnInvKineRange(ref, bound, outside);
    in.reals(q67, 2);
    OnInvKineRange_Cross67(q67, bound);
    FX_CCSBD(&lmt, q67, bound);
}

void LockedIk(FuzzNumbers& in)
{
    double T[4][4], ref[7], out[8], sol[8][8] = {}, q0[8], dq[7], dq2[7];
    unsigned char ok1, ok2, flags[8];
    long count = 0;
    Pose(in, T);
    in.reals(ref, 7);
    const double q7 = in.real();
    FX_IKLock7_ALL(&ik, q7, T, &count, sol, flags);
    FX_IKLock7_With_Config(&ik, q7, ref, T, &count, sol);
    FX_IKRef7(&ik, q7, ref, T, out);
    FX_IKRef7_With_Config(&ik, q7, ref, T, out);
    in.reals(&sol[0][0], 16);
    FX_SelectSolve(&ik, in.count(), ref, sol, out);
    FX_CALWSpan2(&ik, in.real(), ref, T, q0, dq, dq2, &ok1, &ok2);
    FX_CALW(&ik, ref, T, dq, dq2, &ok1, &ok2);
    double i1[2], i2[2], i3[2];
    in.reals(i1, 2);
    in.reals(i2, 2);
    in.reals(i3, 2);
    FX_Axis7_InInterval3(in.real(), i1, i2, i3);
}

void Dynamics(FuzzNumbers& in)
{
    FX_Pilot chain = rob;
    chain.n = static_cast<int>(in.count());
    chain.kin_cached = 0;
    double q[8], qd[8], qdd[8], g[3], wrench[6], tau[8], T[4][4];
    in.reals(q, 8);
    in.reals(qd, 8);
    in.reals(qdd, 8);
    in.reals(g, 3);
    in.reals(wrench, 6);
    FX_KINE(&chain, q, T);
    FX_InvDyn(&chain, q, qd, qdd, g, wrench, tau);
    FX_CM_DPART_BUF buf{};
    FX_CMatInvDyn_A(&chain, q, qd, tau, in.count(), &buf);
    FX_CMatInvDyn_B(&chain, q, qd, tau, in.count(), &buf);
}

void Profiles(FuzzNumbers& in)
{
    static FXNSyncDTS sync;  // large: kept off the stack
    double vmax[8], acc[8], jerk[8], target[8], out[8];
    in.reals(vmax, 8);
    in.reals(acc, 8);
    in.reals(jerk, 8);
    FXNSyncDTS_OnInit(&sync, in.count(), in.real(), vmax, acc, jerk);
    FXAVGF filter{};
    FXAVGF_OnInit(&filter, in.count(), in.count());
    for (int step = in.byte() % 16; step >= 0; --step) {
        in.reals(target, 8);
        FXNSyncDTS_OnDT(&sync, target, out);
        FXAVGF_OnFilt(&filter, target, out);
        if (in.byte() % 4 == 0) {
            in.reals(vmax, 8);
            in.reals(acc, 8);
            FXNSyncDTS_OnSetRunTimeLmt(&sync, vmax, acc);
        }
    }
}

// A start near a good posture or anywhere, a target near its pose or anywhere,
// limits near sensible ones or anywhere; short moves only, so that a run stays quick.
void Cartesian(FuzzNumbers& in)
{
    static CartMove move;  // large: kept off the stack
    double start[7] = {10, 40, -20, 70, 15, 50, -30}, offset[7], T[4][4], via[3], turn[6], xyzabc[6];
    const uint8_t mix = in.byte();
    in.reals(offset, 7);
    for (int i = 0; i < 7; ++i)
        start[i] = mix & 1 ? offset[i] : start[i] + offset[i] * 0.01;
    FX_Kine_Pilot(&pilot, start, T);
    in.reals(turn, 6);
    FX_Matrix42XYZABCDEG(T, xyzabc);
    for (int i = 0; i < 6; ++i)
        xyzabc[i] = mix & 2 ? turn[i] : xyzabc[i] * (i < 3 ? 1 : FX_RAD2DEG) + turn[i] * 0.1;
    FX_XYZABC2Matrix4DEG(xyzabc, T);
    if (mix & 4)
        Pose(in, T);
    in.reals(via, 3);
    CartLimits limits{250, 1000, 10000, 90, 360, 3600, {}, {}, 0.004, 400, {}, {}};
    for (int i = 0; i < 7; ++i)
        limits.joint_speed[i] = 98, limits.joint_acc[i] = 490;
    if (mix & 8) {
        double* field = &limits.speed;
        field[in.byte() % 21] = in.real();
    }
    if (mix & 16)
        limits.max_samples = in.count() % 1000;
    const CartElbow elbow{static_cast<unsigned char>(in.byte() % 4), in.real()};
    const bool planned = mix & 32 ? FX_CartPlanCirc(&move, &pilot, &lmt, start, via, T, &limits, &elbow)
                                  : FX_CartPlanLin(&move, &pilot, &lmt, start, T, &limits, &elbow);
    CartSample sample;
    FX_CartSampleAt(&move, in.count(), &sample);
    if (planned) {
        CartStepper stepper;
        FX_CartStepperStart(&move, &stepper);
        while (FX_CartStep(&move, &stepper, &sample)) {
        }
    }
    ArmModel model;
    ArmBranch branch;
    ArmPose arm;
    ArmAngleIntervals intervals;
    FX_ArmModelOf(&pilot, &model);
    if (FX_ArmBranchOf(&model, &lmt, start, &branch)) {
        const double margin = in.real();
        FX_ArmAngleIntervals(&model, &lmt, &branch, T, margin, &intervals);
        FX_ArmPoseOf(&model, &branch, T, margin, &arm);
        FX_ArmJoints(&model, &branch, &arm, in.real(), offset);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool loaded = LoadExamples();
    if (!loaded)
        return 0;
    FuzzNumbers in(data, size);
    switch (in.byte() % 5) {
    case 0: PilotIk(in); break;
    case 1: LockedIk(in); break;
    case 2: Dynamics(in); break;
    case 3: Cartesian(in); break;
    default: Profiles(in); break;
    }
    return 0;
}
