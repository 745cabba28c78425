// The Pilot arm: forward kinematics against composed frames, the Jacobian against
// finite differences, inverse kinematics fed back through forward kinematics, the
// arm-angle solvers and the coupled q6/q7 limits.
#include "math/FxMatrix.h"
#include "pilot/PilotIK.h"
#include "pilot/PilotLmt.h"
#include "pilot/PilotNSP.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {

// The arm composed frame by frame from its geometric description (degrees, mm).
H4 referenceFlange(int variant, const double q[7])
{
    H4 joint7 = eye(), flange1 = eye();
    const double j7[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}, f1[3][3] = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) joint7.m[r][c] = j7[r][c], flange1.m[r][c] = f1[r][c];
    H4 m = trans(0, 0, kD1) * rot(2, q[0] * kDeg) * rot(0, kPi / 2) * rot(2, q[1] * kDeg) * rot(0, -kPi / 2) *
           rot(2, q[2] * kDeg) * trans(kA, 0, kD3) * rot(0, kPi / 2) * rot(2, q[3] * kDeg) * trans(-kA, kD5, 0) *
           rot(0, -kPi / 2) * rot(2, q[4] * kDeg) * rot(0, kPi / 2) * rot(2, q[5] * kDeg);
    if (variant == 0) return m * rot(0, -kPi / 2) * rot(2, q[6] * kDeg) * trans(0, 0, kD7);
    return m * joint7 * rot(2, q[6] * kDeg) * trans(kD7, 0, 0) * flange1;
}

bool samePose(Pilot* pilot, double* q, double target[4][4])
{
    double pose[4][4];
    FX_Kine_Pilot(pilot, q, pose);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            if (std::fabs(pose[r][c] - target[r][c]) > (c == 3 ? 1e-6 : 1e-9)) return false;
    return true;
}

double kCurves[4][3] = {{-0.012, 0.1, 240}, {-0.011, -0.2, 235}, {0.01, 0.1, -225}, {0.013, -0.15, -235}};
double F(int row, double x) { return kCurves[row][0] * x * x + kCurves[row][1] * x + kCurves[row][2]; }
// Joint limits -170 + i .. 170 - i, q6 within +-110, q7 within +-170; what the set-up prints.
std::string initLmt(PilotLmt* lmt, unsigned char coupled)
{
    double limits[7][4];
    for (int i = 0; i < 7; ++i) {
        const double half = i == 5 ? 110 : i == 6 ? 170 : 170 - i;
        limits[i][0] = i == 0 ? -170 : -half, limits[i][1] = half, limits[i][2] = 100 + i, limits[i][3] = 200 + i;
    }
    return printed([&] { FX_Init_PilotLmt(lmt, coupled, limits, kCurves); });
}
}  // namespace

TEST(Pilot, ForwardKinematicsJacobianAndGeometry)
{
    const double q[7] = {23.5, -41, 67.25, -95, 12, 58.5, -133}, h = 1e-4, hr = h * kDeg;
    const H4 id = eye(), tool = trans(5, -7, 90) * rot(0, 0.5);
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        buildPilot(&pilot, variant);
        EXPECT_EQ(pilot.variant * 10000 + pilot.tool_pose[2][3] + pilot.joint_pose[3][0][3], variant * 10000 + 1286);
        H4 back;  // zero pose straight up, the elbow offset sideways
        FX_MMM44(pilot.flange, pilot.flange_inv, back.m);
        expectNear(&id.m[0][0], &back.m[0][0], 16, 1e-15, "flange inverse");
        double joints[7], pose[4][4], J[6][7], plus[4][4], minus[4][4];
        std::copy(q, q + 7, joints);
        std::copy(&tool.m[0][0], &tool.m[0][0] + 16, &pilot.tool[0][0]);
        FX_Kine_Pilot(&pilot, joints, pose);
        FX_Jacb_Pilot(&pilot, J);
        const H4 flange = referenceFlange(variant, q), tcp = flange * tool;
        expectNear(&flange.m[0][0], &pilot.flange_pose[0][0], 16, 1e-9, "flange");
        expectNear(&tcp.m[0][0], &pose[0][0], 16, 1e-9, "tool");
        for (int i = 0; i < 7; ++i) {  // central differences: m per radian, the skew part of R+ R-^T
            joints[i] = q[i] + h;
            FX_Kine_Pilot(&pilot, joints, plus);
            joints[i] = q[i] - h;
            FX_Kine_Pilot(&pilot, joints, minus);
            joints[i] = q[i];
            double d[3][3] = {};
            for (int k = 0; k < 27; ++k) d[k / 9][k / 3 % 3] += plus[k / 9][k % 3] * minus[k / 3 % 3][k % 3];
            const double fd[6] = {(plus[0][3] - minus[0][3]) / (2 * hr) * 0.001, (plus[1][3] - minus[1][3]) / (2 * hr) * 0.001,
                                  (plus[2][3] - minus[2][3]) / (2 * hr) * 0.001, (d[2][1] - d[1][2]) / (4 * hr),
                                  (d[0][2] - d[2][0]) / (4 * hr), (d[1][0] - d[0][1]) / (4 * hr)};
            for (int r = 0; r < 6; ++r) EXPECT_NEAR(fd[r], J[r][i], 1e-8) << "joint " << i << " row " << r;
        }
    }
    Pilot pilot, plain;
    buildPilot(&pilot, 0);
    buildPilot(&plain, 1, 0.0);
    const double up = std::atan(kA / kD3) / kDeg, L = std::hypot(kD3, kA);
    const double want[9] = {L, L, up, up, 180 - 2 * up, std::hypot(L, L), -up, 180, kD3};
    const double got[9] = {pilot.L1, pilot.L2, pilot.upper_offset, pilot.fore_offset, pilot.elbow_angle,
                           pilot.straight_reach, pilot.straight_q4, plain.elbow_angle, plain.L1};
    expectNear(want, got, 9, 1e-13, "geometry");
    const double s = pilot.straight_q4, q4[] = {s, s + 1e-5, s - 1e-5, s + 1.01e-5, s - 1.01e-5, 0, -90};
    const int type[] = {0, 0, 0, 1, -1, 1, -1};
    for (int k = 0; k < 7; ++k) EXPECT_EQ(FX_GetJ4Type_Pilot(&pilot, q4[k]), type[k]) << k;
}

// IK of random poses comes back through FK; every arm angle keeps the pose and turns the elbow about u.
TEST(Pilot, InverseKinematicsAndArmAngle)
{
    Lcg rng{7};
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        buildPilot(&pilot, variant);
        int solved = 0;
        for (int n = 0; n < 150; ++n) {
            double q[7], target[4][4], out[7], nsp[7], shoulder[3], elbow[3];
            randomJoints(rng, q);
            FX_Kine_Pilot(&pilot, q, target);
            for (int i = 0; i < 3; ++i) {
                shoulder[i] = pilot.joint_pose[1][i][3];
                elbow[i] = pilot.joint_pose[3][i][3] - shoulder[i];
            }
            NSPBase nbase;
            unsigned char f1 = 9, f2 = 9, f3 = 9;
            ASSERT_EQ(FX_InvKine_Pilot(&pilot, q, target, &nbase, out, &f1, &f2, &f3), 1) << n;
            EXPECT_EQ(f1 + f2 + f3 + (nbase.variant - variant) * 10 + (out[3] - nbase.q4) * 100 + nbase.elbow_type, q[3] > 0 ? 1 : -1);
            EXPECT_TRUE(samePose(&pilot, out, target)) << n;
            // Joints 1-4 come back; the variant-0 wrist always keeps its second
            // candidate, the twin (q5 + 180, -q6, q7 + 180) when q6 < 0.
            const bool twin = variant == 0 && q[5] < 0;
            const double want[7] = {q[0], q[1], q[2], q[3], twin ? q[4] + 180 : q[4], twin ? -q[5] : q[5],
                                    twin ? q[6] + 180 : q[6]};
            for (int i = 0; i < 7; ++i) EXPECT_LT(std::fabs(wrap180(out[i] - want[i])), 1e-7) << i;
            f1 = 9;
            ASSERT_EQ(FX_InvKine_Pilot_NSP(&nbase, 0.0, q, nsp, &f1, &f2, &f3), 1);
            EXPECT_EQ(f1 + f2 + f3, 0);
            expectNear(out, nsp, 7, 0, "arm angle 0");
            for (double psi : {-75.0, 5.0, 110.0}) {
                if (FX_InvKine_Pilot_NSP(&nbase, psi, q, nsp, &f1, &f2, &f3) != 1 || f2 || f3) continue;
                ++solved;
                EXPECT_EQ(nsp[3], out[3]);
                // The Z-Y-X wrist's second candidate is no rotation twin, yet taken when nearer.
                double first[7] = {nsp[0], nsp[1], nsp[2], nsp[3], nsp[4] - 180, -nsp[5], nsp[6] - 180};
                EXPECT_TRUE(samePose(&pilot, nsp, target) || (variant == 1 && samePose(&pilot, first, target)));
                double again[4][4];
                FX_Kine_Pilot(&pilot, nsp, again);
                const double* u = nbase.axis_u;
                const double c = std::cos(psi * kDeg), s = std::sin(psi * kDeg);
                const double dot = u[0] * elbow[0] + u[1] * elbow[1] + u[2] * elbow[2];
                const double ux[3] = {u[1] * elbow[2] - u[2] * elbow[1], u[2] * elbow[0] - u[0] * elbow[2],
                                      u[0] * elbow[1] - u[1] * elbow[0]};
                for (int i = 0; i < 3; ++i)
                    EXPECT_NEAR(pilot.joint_pose[3][i][3] - shoulder[i],
                                elbow[i] * c + ux[i] * s + u[i] * dot * (1 - c), 1e-6);
            }
        }
        EXPECT_GT(solved, 400);
    }
}

TEST(Pilot, ArmAngleSingularAverageAndEqualSums)
{
    // Upper arm along z turned about x: singular, neighbours at +-1 degree averaged; Ry(90): equal sums keep C1.
    const double rows[2][16] = {{1, 0, 0, 0, 1, 0, 0, 0, 1, 80, -10, -80, 0, 45.5, 0, 1},
                                {0, 0, 1, 0, 1, 0, -1, 0, 0, 90, 0, 90, 0, -90, 0, 0}};
    for (const auto& r : rows) {
        NSPBase b = {0, 1, 33.0, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {1, 0, 0}, {}, {1, 0, 0, 0, 1, 0, 0, 0, 1}};
        std::copy(r, r + 9, b.upper_frame);
        double ref[7] = {r[9], r[10], r[11]}, out[7] = {7, 7, 7};
        unsigned char flag = 9;
        ASSERT_EQ(FX_SolveJ123ZNYZ(&b, 0.0, ref, out, &flag), 1);
        const double got[4] = {out[0], out[1], out[2], double(flag)};
        expectNear(r + 12, got, 4, 1e-9, "shoulder");
    }
}

TEST(Pilot, ReachMarginAndTriangle)
{
    Pilot pilot;
    buildPilot(&pilot, 0);
    double down[7] = {0, 30, 0, -60, 0, 30, 0}, out[7] = {1, 2, 3, 4, 5, 6, 7};
    H4 target = trans(pilot.L1 + pilot.L2 - 0.1, 0, kD1 + kD7);  // at the 0.1 mm margin: flag1, nothing written
    NSPBase nbase = {};
    unsigned char f1 = 0, f2 = 9, f3 = 9;
    EXPECT_EQ(FX_InvKine_Pilot(&pilot, down, target.m, &nbase, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1 * 100 + f2 * 10 + f3 + out[3] * 1000 + nbase.q4, 4100);
    const double h = std::sqrt(0.5), tri[][7] = {{10, 0, 1, 0.6, 0.8, 0, -7.5}, {10, 0.6, 0.8, 0, 1, 10, 7.5},
                                                 {10, h, h, -h, h, 5, 5}, {10, 1e-8, 1, 0.6, 0.8, 0, -40.0 / 3}};
    for (const auto& t : tri) {  // a vertical line divides by the other's slope; 1e-8 is not below the tolerance
        double p[2];
        FX_SolveTrange2D(t[0], t[1], t[2], t[3], t[4], p);
        expectNear(t + 5, p, 2, 1e-6, "triangle");
    }
}

TEST(Pilot, CoupledLimitCorners)
{
    PilotLmt lmt{};
    lmt.Corner[7][0] = 12345;
    EXPECT_EQ(initLmt(&lmt, 1), "<-110.000000 110.000000><-170.000000 170.000000>\n[-0.012000 -0.011000 0.010000 0.013000]\n"
                                "[0.100000 -0.200000 0.100000 -0.150000]\n[240.000000 235.000000 -225.000000 -235.000000]\n");
    // Side corners on q6 = +-110 (points 0, 3, 4), end corners on q7 = +-170 (1, 2, 5, 6) inside the rectangle.
    const int side[3][2] = {{0, 0}, {3, 1}, {4, 2}}, end[4][3] = {{1, 0, 1}, {2, 1, -1}, {5, 2, -1}, {6, 3, 1}};
    for (const auto& c : side) {
        const double edge = c[1] == 0 ? 110 : -110, want[3] = {edge, F(c[1], edge), F(c[1], edge) / edge};
        const double got[3] = {lmt.Corner[c[0]][0], lmt.Corner[c[0]][1], lmt.CornerSlope[c[0]]};
        expectNear(want, got, 3, 1e-12, "side corner");
    }
    for (const auto& c : end) {
        const double edge = c[0] <= 2 ? 170 : -170, x = lmt.Corner[c[0]][0];
        const double want[3] = {edge, edge, edge / x}, got[3] = {lmt.Corner[c[0]][1], F(c[1], x), lmt.CornerSlope[c[0]]};
        expectNear(want, got, 3, 1e-9, "end corner");
        EXPECT_TRUE(x * c[2] > 40 && x * c[2] < 110) << c[0];
    }
    EXPECT_DOUBLE_EQ(lmt.CornerSlope[7], F(3, 110) / 110);
    EXPECT_EQ(lmt.Corner[7][0], 12345);  // never written
    PilotLmt plain{};
    EXPECT_EQ(initLmt(&plain, 0) + std::to_string(plain.CornerSlope[0]), "0.000000");  // uncoupled: no corners, no print
}
