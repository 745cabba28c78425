#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "math/FxPose.h"
#include "pilot/PilotNSP.h"
#include "tests/PilotTestArm.h"

namespace {

// A base whose frames are given directly: rows of the upper-arm frame, of the
// forearm frame and of the target rotation, and the axis u.
NSPBase MakeBase(unsigned char variant, const double upper[9], const double fore[9],
                 const double target[9], const double u[3])
{
    NSPBase nbase = {};
    nbase.variant = variant;
    nbase.elbow_type = 1;
    nbase.q4 = 33.0;
    for (int i = 0; i < 9; ++i) {
        nbase.upper_frame[i] = upper[i];
        nbase.fore_frame[i] = fore[i];
        nbase.target_rot[i] = target[i];
    }
    for (int i = 0; i < 3; ++i)
        nbase.axis_u[i] = u[i];
    return nbase;
}

const double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
const double kRy90[9] = {0, 0, 1, 0, 1, 0, -1, 0, 0};
const double kAxisX[3] = {1, 0, 0};
const double kAxisZ[3] = {0, 0, 1};

// Whether joints q reproduce the target: rotation within 1e-9, position within 1e-6 mm.
bool SamePose(Pilot* pilot, double* q, double target[4][4])
{
    double pose[4][4];
    FX_Kine_Pilot(pilot, q, pose);
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            if (std::fabs(pose[r][c] - target[r][c]) > 1e-9)
                return false;
        if (std::fabs(pose[r][3] - target[r][3]) > 1e-6)
            return false;
    }
    return true;
}

void ExpectTriple(const double* got, double a, double b, double c)
{
    EXPECT_NEAR(got[0], a, 1e-9);
    EXPECT_NEAR(got[1], b, 1e-9);
    EXPECT_NEAR(got[2], c, 1e-9);
}

}  // namespace

TEST(PilotNSP, ArmAngleKeepsThePoseAndTurnsTheElbow)
{
    std::mt19937 gen(3);
    const double angles[] = {-75.0, -20.0, 5.0, 40.0, 110.0};
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        MakePilot(variant, &pilot);
        int solved = 0;
        int zyx_second = 0;
        for (int n = 0; n < 200; ++n) {
            double q[7], target[4][4], base_out[7], out[7], again[4][4];
            RandomJoints(gen, q);
            FX_Kine_Pilot(&pilot, q, target);
            NSPBase nbase;
            unsigned char f1, f2, f3;
            ASSERT_EQ(FX_InvKine_Pilot(&pilot, q, target, &nbase, base_out, &f1, &f2, &f3), 1);
            double shoulder[3], elbow[3];
            for (int i = 0; i < 3; ++i) {
                shoulder[i] = pilot.joint_pose[1][i][3];
                elbow[i] = pilot.joint_pose[3][i][3] - shoulder[i];
            }

            // Arm angle 0 gives back exactly what the solver returned.
            f1 = 9;
            ASSERT_EQ(FX_InvKine_Pilot_NSP(&nbase, 0.0, q, out, &f1, &f2, &f3), 1);
            EXPECT_EQ(f1 + f2 + f3, 0);
            for (int i = 0; i < 7; ++i)
                EXPECT_EQ(out[i], base_out[i]);

            for (double psi : angles) {
                if (FX_InvKine_Pilot_NSP(&nbase, psi, q, out, &f1, &f2, &f3) != 1 || f2 || f3)
                    continue;  // a singular shoulder or wrist on the way round
                ++solved;
                EXPECT_EQ(f1, 0);
                EXPECT_EQ(out[3], base_out[3]);
                if (!SamePose(&pilot, out, target)) {
                    // The Z-Y-X wrist's second candidate (alpha + 180, beta, gamma + 180)
                    // is no rotation twin of the first, yet it is taken when nearer.
                    ASSERT_EQ(variant, 1);
                    ++zyx_second;
                    double first[7] = {out[0], out[1], out[2], out[3],
                                       out[4] - 180, -out[5], out[6] - 180};
                    EXPECT_TRUE(SamePose(&pilot, first, target));
                }
                // The elbow point turns about u by the arm angle (Rodrigues).
                FX_Kine_Pilot(&pilot, out, again);
                const double* u = nbase.axis_u;
                const double t = psi * M_PI / 180.0;
                const double cs = std::cos(t), sn = std::sin(t);
                const double dot = u[0] * elbow[0] + u[1] * elbow[1] + u[2] * elbow[2];
                const double cross[3] = {u[1] * elbow[2] - u[2] * elbow[1],
                                         u[2] * elbow[0] - u[0] * elbow[2],
                                         u[0] * elbow[1] - u[1] * elbow[0]};
                for (int i = 0; i < 3; ++i) {
                    const double expected = elbow[i] * cs + cross[i] * sn + u[i] * dot * (1 - cs);
                    EXPECT_NEAR(pilot.joint_pose[3][i][3] - shoulder[i], expected, 1e-6);
                }
            }
        }
        EXPECT_GT(solved, 900) << "variant " << int(variant);
        if (variant == 1) {
            EXPECT_GT(zyx_second, 0);
        }
    }
}

TEST(PilotNSP, CandidateRules)
{
    double out[7] = {};
    unsigned char flag = 9;
    double euler[3];
    // Ry(90) decomposes to (0, beta, 0): C1 = (0, -beta, 0), C2 = (180, beta, 180).
    double ry90[3][3] = {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}};
    ASSERT_EQ(Matrix2ZYZ(ry90, euler), 1);
    const double beta = euler[1];
    NSPBase shoulder = MakeBase(0, kRy90, kIdentity, kIdentity, kAxisX);

    double tie[7] = {90, 0, 90, 0, 0, 0, 0};
    ASSERT_EQ(FX_SolveJ123ZNYZ(&shoulder, 0.0, tie, out, &flag), 1);
    EXPECT_EQ(flag, 0);
    ExpectTriple(out, 0, -beta, 0);  // equal sums keep C1
    double near_c2[7] = {91, 0, 90, 0, 0, 0, 0};
    ASSERT_EQ(FX_SolveJ123ZNYZ(&shoulder, 0.0, near_c2, out, &flag), 1);
    ExpectTriple(out, 180, beta, 180);
    double near_c1[7] = {89, 0, 90, 0, 0, 0, 0};
    ASSERT_EQ(FX_SolveJ123ZNYZ(&shoulder, 0.0, near_c1, out, &flag), 1);
    ExpectTriple(out, 0, -beta, 0);

    // The variant-0 wrist writes C2 even for a reference sitting on C1; the wrist
    // solvers leave joints 1-4 alone.
    for (int i = 0; i < 4; ++i)
        out[i] = 7.0;
    NSPBase wrist_zyz = MakeBase(0, kIdentity, kIdentity, kRy90, kAxisX);
    double on_c1[7] = {0, 0, 0, 0, 0, -beta, 0};
    flag = 9;
    ASSERT_EQ(FX_SolveJ567ZNYZ(&wrist_zyz, 0.0, on_c1, out, &flag), 1);
    EXPECT_EQ(flag, 0);
    ExpectTriple(out + 4, -180, beta - 360, -180);  // C2 moved next to the reference

    // The variant-1 wrist compares, ties keeping C1.
    const double c30 = std::cos(M_PI / 6), s30 = 0.5;
    double ry30[3][3] = {{c30, 0, s30}, {0, 1, 0}, {-s30, 0, c30}};
    ASSERT_EQ(Matrix2ZYX(ry30, euler), 1);
    const double b30 = euler[1];
    const double ry30_rows[9] = {c30, 0, s30, 0, 1, 0, -s30, 0, c30};
    NSPBase wrist_zyx = MakeBase(1, kIdentity, kIdentity, ry30_rows, kAxisX);
    double wrist_tie[7] = {0, 0, 0, 0, 90, 0, 90};
    ASSERT_EQ(FX_SolveJ567ZNYX(&wrist_zyx, 0.0, wrist_tie, out, &flag), 1);
    ExpectTriple(out + 4, 0, -b30, 0);
    double wrist_c2[7] = {0, 0, 0, 0, 91, 0, 90};
    ASSERT_EQ(FX_SolveJ567ZNYX(&wrist_zyx, 0.0, wrist_c2, out, &flag), 1);
    ExpectTriple(out + 4, 180, b30, 180);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(out[i], 7.0);
}

TEST(PilotNSP, SingularFramesAverageTheNeighbours)
{
    double ref[7] = {-80, -10, 80, 0, -80, -10, 80};
    unsigned char flag = 0;

    // Upper-arm frame along base z, turned about x: Rx(+1) gives P = (-90, -1, 90),
    // Rx(-1) has C2 = (-90, 1, 90). Joint 2 averages P's -1 with C2's third angle.
    double out[7] = {};
    NSPBase shoulder = MakeBase(0, kIdentity, kIdentity, kIdentity, kAxisX);
    ASSERT_EQ(FX_SolveJ123ZNYZ(&shoulder, 0.0, ref, out, &flag), 1);
    EXPECT_EQ(flag, 1);
    ExpectTriple(out, -90, 44.5, 90);
    // Mirrored reference: P = (90, 1, -90) at +1, and the -1 pass gives its second
    // candidate (-90, 1, 90) although its first, (90, -1, -90), lies nearer.
    double mirrored[7] = {80, -10, -80, 0, 0, 0, 0};
    ASSERT_EQ(FX_SolveJ123ZNYZ(&shoulder, 0.0, mirrored, out, &flag), 1);
    ExpectTriple(out, 0, 45.5, 0);

    // Wrist rotation Rx(-angle): P = (-90, 1, 90) at +1, and the -1 pass picks its
    // nearer candidate Q = (-90, -1, 90) rather than its second one.
    NSPBase wrist = MakeBase(0, kIdentity, kIdentity, kIdentity, kAxisX);
    flag = 0;
    ASSERT_EQ(FX_SolveJ567ZNYZ(&wrist, 0.0, ref, out, &flag), 1);
    EXPECT_EQ(flag, 1);
    ExpectTriple(out + 4, -90, 45.5, 90);

    // Turning about the singular axis itself keeps both neighbours singular.
    double untouched[7] = {1, 2, 3, 4, 5, 6, 7};
    NSPBase stuck = MakeBase(0, kIdentity, kIdentity, kIdentity, kAxisZ);
    flag = 0;
    EXPECT_EQ(FX_SolveJ123ZNYZ(&stuck, 0.0, ref, untouched, &flag), 0);
    EXPECT_EQ(flag, 1);
    flag = 0;
    EXPECT_EQ(FX_SolveJ567ZNYZ(&stuck, 0.0, ref, untouched, &flag), 0);
    EXPECT_EQ(flag, 1);
    NSPBase stuck_zyx = MakeBase(1, kIdentity, kIdentity, kRy90, kAxisZ);
    flag = 0;
    EXPECT_EQ(FX_SolveJ567ZNYX(&stuck_zyx, 0.0, ref, untouched, &flag), 0);
    EXPECT_EQ(flag, 1);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(untouched[i], i + 1.0);

    // Through the arm-angle entry: the shoulder failure stops before the wrist.
    unsigned char f1 = 9, f2 = 9, f3 = 9;
    EXPECT_EQ(FX_InvKine_Pilot_NSP(&stuck, 0.0, ref, untouched, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1, 0);
    EXPECT_EQ(f2, 1);
    EXPECT_EQ(f3, 0);
    EXPECT_EQ(untouched[3], 33.0);
}
