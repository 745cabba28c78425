// Hostile input: the closed-form angle wrapping against the loops it replaced,
// and one regression case per fault class (hangs, counts, NaN, file input).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

#include "tests/TestArm.h"
#include "tolvexkine.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// The loops as the definitions state them.
double LoopHalfOpen(double d)
{
    while (d >= 180.0) d -= 360.0;
    while (d <= -180.0) d += 360.0;
    return d;
}
double LoopClosed(double d)
{
    while (d > 180.0) d -= 360.0;
    while (d < -180.0) d += 360.0;
    return d;
}
double LoopMinDif(double target, double* angle)
{
    double d = target - *angle;
    while (d > 0) d -= 360;
    while (d < 0) d += 360;
    if (d > 180) d -= 360;
    *angle = target - d;
    return d >= 0 ? d : -d;  // FX_Fabs keeps -0.0
}

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

std::vector<double> Samples()
{
    std::vector<double> v = {0.0, -0.0, 5e-324, -5e-324, 1e-300, -1e-300, 180, -180, 360, -360,
                             540, -540, 720, -720, 1e9 + 0.5, -1e9 - 0.25, 3.0e9 + 1.0 / 3};
    for (double k : {1.0, 2.0, 7.0, 1000.0, 123456.0}) {
        for (double base : {k * 360, k * 360 + 180, k * 360 - 180}) {
            for (double x : {base, std::nextafter(base, 0.0), std::nextafter(base, 1e300)}) {
                v.push_back(x);
                v.push_back(-x);
            }
        }
    }
    tk::Lcg gen{17};
    for (double scale : {1.0, 400.0, 1e4, 1e6})
        for (int i = 0; i < 400; ++i) v.push_back(gen.next(-scale, scale));
    return v;
}

TEST(HostileInput, ClosedFormWrappingGivesTheLoopsDoubles)
{
    const std::vector<double> xs = Samples();
    for (double x : xs) {
        EXPECT_TRUE(SameBits(FX_WrapHalfOpen(x), LoopHalfOpen(x))) << x;
        EXPECT_TRUE(SameBits(FX_WrapClosed(x), LoopClosed(x))) << x;
    }
    for (size_t i = 0; i + 1 < xs.size(); i += 2) {
        for (const auto& [t, a] : {std::pair{xs[i], xs[i + 1]}, std::pair{xs[i + 1], 0.0},
                                   std::pair{0.0, xs[i]}, std::pair{-0.0, xs[i]}}) {
            double got = a, want = a;
            EXPECT_TRUE(SameBits(MinDif(t, &got), LoopMinDif(t, &want))) << t << " " << a;
            EXPECT_TRUE(SameBits(got, want)) << t << " " << a;
        }
    }
}

TEST(HostileInput, NonFiniteAndHugeAnglesReturnAtOnce)
{
    for (double x : {kInf, -kInf, kNaN}) {
        double a = x;
        EXPECT_TRUE(std::isnan(MinDif(0.0, &a)) && std::isnan(a));
        EXPECT_TRUE(std::isnan(FX_WrapHalfOpen(x)) && std::isnan(FX_WrapClosed(x)));
    }
    double a = 1e300;
    EXPECT_LE(MinDif(0.0, &a), 180.0);
    EXPECT_LE(std::fabs(FX_WrapHalfOpen(-1e308)), 180.0);
}

TEST(HostileInput, LockedJointSolverRefusesNonFiniteInputAndBadCounts)
{
    IK_Poilt7 ik;
    tk::buildIK(&ik, 1007);
    double q[7] = {10, 20, 30, -60, 40, 50, 60}, T[4][4];
    OnKine(&ik, q, T);
    long count = -1;
    double sol[8][8] = {}, out[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    double bad_pose[4][4];
    std::memcpy(bad_pose, T, sizeof T);
    bad_pose[1][1] = kNaN;
    EXPECT_EQ(FX_IKLock7(&ik, kNaN, T, &count, sol), 0);
    EXPECT_EQ(FX_IKLock7(&ik, kInf, T, &count, sol), 0);
    EXPECT_EQ(FX_IKLock7(&ik, 60, bad_pose, &count, sol), 0);
    double nan_elbow[7] = {0, 0, 0, kNaN, 0, 0, 0};
    EXPECT_EQ(FX_IKLock7_With_Config(&ik, 60, nan_elbow, T, &count, sol), 0);
    EXPECT_EQ(count, -1);

    ASSERT_EQ(FX_IKLock7(&ik, 60, T, &count, sol), 1);
    for (long n : {0L, -5L, 9L, 1000000000L})
        EXPECT_EQ(FX_SelectSolve(&ik, n, q, sol, out), 0) << n;
    EXPECT_EQ(out[0], 7);
    // References of 1e12 degrees or infinity no longer stall the selection.
    for (double r : {1e12, 1e308, kInf, -kInf, kNaN}) {
        double ref[7] = {r, r, r, r, r, r, r};
        EXPECT_EQ(FX_IKRef7(&ik, 60, ref, T, out), 1);
        EXPECT_EQ(FX_SelectSolve(&ik, count, ref, sol, out), 1);
    }
}

TEST(HostileInput, AnalyticIkReportsFailureInsteadOfNaNJoints)
{
    Pilot pilot;
    tk::buildPilot(&pilot, 1);
    NSPBase nbase;
    const double q[7] = {10, 30, 20, 60, 15, 40, 25};
    double joints[7], T[4][4];
    std::memcpy(joints, q, sizeof q);
    FX_Kine_Pilot(&pilot, joints, T);
    struct Case {
        double ref[7];
        double dir[3];
        bool with_dir;  // FX_InvKine_PilotDir with dir, else FX_InvKine_Pilot
        int flag;  // which flag reports the failure: 1, 2 or 3
    } cases[] = {
        {{kNaN, 30, 20, 60, 15, 40, 25}, {}, false, 1},
        {{10, kInf, 20, 60, 15, 40, 25}, {}, false, 1},
        {{10, 30, kNaN, 60, 15, 40, 25}, {}, false, 2},
        {{10, 30, 20, 60, 15, kNaN, 25}, {}, false, 3},
        {{10, 30, 20, 60, 15, 40, 25}, {0, 0, 0}, true, 1},
        {{10, 30, 20, 60, 15, 40, 25}, {kNaN, 1, 0}, true, 1},
    };
    for (const Case& c : cases) {
        double ref[7], out[7], dir[3];
        std::memcpy(ref, c.ref, sizeof ref);
        std::memcpy(dir, c.dir, sizeof dir);
        unsigned char f[3] = {9, 9, 9};
        const unsigned char r =
            c.with_dir ? FX_InvKine_PilotDir(&pilot, ref, T, dir, &nbase, out, &f[0], &f[1], &f[2])
                       : FX_InvKine_Pilot(&pilot, ref, T, &nbase, out, &f[0], &f[1], &f[2]);
        EXPECT_EQ(r, 0);
        EXPECT_EQ(f[c.flag - 1], 1) << c.flag;
    }
    double ref[7], out[7];
    std::memcpy(ref, q, sizeof q);
    unsigned char f[3];
    ASSERT_EQ(FX_InvKine_Pilot(&pilot, ref, T, &nbase, out, &f[0], &f[1], &f[2]), 1);
    for (double angle : {kNaN, kInf}) {
        EXPECT_EQ(FX_InvKine_Pilot_NSP(&nbase, angle, ref, out, &f[0], &f[1], &f[2]), 0);
        EXPECT_EQ(f[1], 1);
    }
    double far_ref[7] = {1e12, 1e12, 1e12, 60, 1e12, 1e12, 1e12};
    EXPECT_EQ(FX_InvKine_Pilot_NSP(&nbase, 1e300, far_ref, out, &f[0], &f[1], &f[2]), 1);
}

TEST(HostileInput, LimitChecksFlagNaNJoints)
{
    PilotLmt lmt{};
    double limits[7][4] = {}, curves[4][3] = {{0, 0, 90}, {0, 0, 90}, {0, 0, -90}, {0, 0, -90}};
    for (auto& row : limits) row[0] = -100, row[1] = 100;
    FX_Init_PilotLmt(&lmt, 1, limits, curves);
    for (int j = 0; j < 7; ++j) {
        double joints[7] = {0, 0, 0, 0, 0, 30, 30}, bound[2];
        joints[j] = kNaN;
        bool outside[7] = {};
        FX_CCSBD_CHECK(&lmt, joints, bound, outside);
        EXPECT_TRUE(outside[j]) << j;
    }
}

TEST(HostileInput, ChainCountsOutsideTheRecordsWriteNothing)
{
    FX_Pilot p;
    tk::buildChain(&p, true);
    double q[8] = {}, T[4][4] = {{7}}, tau[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    double g[3] = {0, 9.81, 0}, w[6] = {};
    Impd_Process_Data d{};
    FX_CM_DPART_BUF buf{};
    for (int n : {0, -5, 9, 1000000000}) {
        p.n = n;
        FX_KINE(&p, q, T);
        EXPECT_EQ(T[0][0], 7) << n;
        FX_Impd_Process_Jacob(&d, &p);
        EXPECT_EQ(d.jacob_ok, 0) << n;
    }
    p.n = 8;  // the most the chain holds: the kinematics run, the dynamics (seven joints) do not
    FX_KINE(&p, q, T);
    EXPECT_NE(T[0][0], 7);
    FX_InvDyn(&p, q, q, q, g, w, tau);
    FX_MMatInvDyn(&p, q, q, 0, tau);
    EXPECT_EQ(tau[7], 7);
    p.n = 7;
    for (long j : {-1L, -5L, 8L, 4294967296L}) {
        FX_MMatInvDyn(&p, q, q, j, tau);
        FX_CMatInvDyn_A(&p, q, q, tau, j, &buf);
        EXPECT_EQ(tau[0], 7) << j;
    }
}

std::string WriteModel(const std::string& name, const std::string& first_line, int geometry_digits)
{
    std::ifstream in(std::string(TOLVEX_EXAMPLES_DIR) + "/model-1017.txt");
    std::string line, text = first_line + "\n";
    std::getline(in, line);
    for (int k = 0; std::getline(in, line); ++k) {
        // The first geometry number (0) becomes geometry_digits nines.
        if (k == 0 && geometry_digits)
            line = std::string(geometry_digits, '9') + line.substr(1);
        text += line + "\n";
    }
    return tk::tempFile(name, text);
}

TEST(HostileInput, ModelFileRefusesOverlongNumbers)
{
    const std::string huge_code = WriteModel("tk_huge_code.txt", std::string(20, '9'), 0);
    const std::string inf_geometry = WriteModel("tk_inf_geometry.txt", "1017", 400);
    EXPECT_EQ(OnInitKine_TOLVEXKINE(0, huge_code.c_str()), 0);
    EXPECT_EQ(OnInitKine_TOLVEXKINE(0, inf_geometry.c_str()), 0);
    EXPECT_EQ(OnInitKine_TOLVEXKINE(0, WriteModel("tk_ok.txt", "1017", 0).c_str()), 1);
}

}  // namespace
