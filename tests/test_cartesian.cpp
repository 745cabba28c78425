// Cartesian moves on both example arms: the arm-angle solver fed back through
// forward kinematics, the usable arm-angle intervals against a plain scan and
// the numeric map, exact timing and refusal cases, then seeded random LIN and
// CIRC moves: the tool on its segment or arc and on its slerp, every joint
// inside its limits and rates, the held arm angle, the same doubles every time.
#include <cstdio>
#include <cstring>
#include <limits>

#include "cartesian/ArmAngleIntervals.h"
#include "cartesian/CartesianStepper.h"
#include "interface/ModelFile.h"
#include "math/FxPose.h"
#include "pilot/PilotArmAngleMap.h"
#include "pilot/PilotLimitCheck.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Arm {
    Pilot pilot;
    PilotLmt lmt;
    ArmModel model;
    CartLimits lim;  // the model file's third and fourth limit columns as joint speeds and accelerations
};

// 0: model-1007.txt, 1: model-1017.txt.
Arm& arm(int variant)
{
    static Arm arms[2];
    static bool loaded[2];
    Arm& a = arms[variant];
    if (!loaded[variant]) {
        loaded[variant] = true;
        const std::string path = std::string(TOLVEX_EXAMPLES_DIR) + (variant ? "/model-1017.txt" : "/model-1007.txt");
        printed([&] {
            FILE* f = std::fopen(path.c_str(), "rb");
            EXPECT_TRUE(f && OnInitPilotPilotLmt(f, &a.pilot, &a.lmt));
            if (f) std::fclose(f);
        });
        FX_ArmModelOf(&a.pilot, &a.model);
        a.lim = CartLimits{250, 1000, 10000, 90, 360, 3600, {}, {}, 0.001, 1 << 20, {}, {}};
        for (int i = 0; i < 7; ++i) a.lim.joint_speed[i] = a.lmt.JointLim3[i], a.lim.joint_acc[i] = a.lmt.JointLim4[i];
    }
    return a;
}

struct Pose {
    double m[4][4];
};
// The tool pose of q moved by (x, y, z) mm and turned by Rz(c) Ry(b) Rx(a) deg in the base frame.
Pose moved(int variant, const double q[7], double x, double y, double z, double a = 0, double b = 0, double c = 0)
{
    double joints[7], from[4][4], turn[6] = {0, 0, 0, a, b, c};
    std::copy(q, q + 7, joints);
    FX_Kine_Pilot(&arm(variant).pilot, joints, from);
    Pose p, r;
    FX_XYZABC2Matrix4DEG(turn, r.m);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) p.m[i][j] = r.m[i][0] * from[0][j] + r.m[i][1] * from[1][j] + r.m[i][2] * from[2][j];
        p.m[i][3] = from[i][3] + (i == 0 ? x : i == 1 ? y : z);
        p.m[3][i] = 0;
    }
    p.m[3][3] = 1;
    return p;
}

// Signed angle about S->W from the upward vertical to E, by projecting both onto the plane at right angles to S-W.
double armAngle(int variant, const double q[7])
{
    Pilot& p = arm(variant).pilot;
    double joints[7], pose[4][4], u[3], e[3], z[3] = {0, 0, 1}, n;
    std::copy(q, q + 7, joints);
    FX_Kine_Pilot(&p, joints, pose);
    for (int i = 0; i < 3; ++i) u[i] = p.joint_pose[4][i][3] - p.joint_pose[1][i][3], e[i] = p.joint_pose[3][i][3] - p.joint_pose[1][i][3];
    n = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
    for (double& x : u) x /= n;
    const double eu = e[0] * u[0] + e[1] * u[1] + e[2] * u[2], zu = u[2];
    double ep[3], zp[3], cross[3];
    for (int i = 0; i < 3; ++i) ep[i] = e[i] - eu * u[i], zp[i] = z[i] - zu * u[i];
    cross[0] = zp[1] * ep[2] - zp[2] * ep[1], cross[1] = zp[2] * ep[0] - zp[0] * ep[2], cross[2] = zp[0] * ep[1] - zp[1] * ep[0];
    return std::atan2(cross[0] * u[0] + cross[1] * u[1] + cross[2] * u[2], zp[0] * ep[0] + zp[1] * ep[1] + zp[2] * ep[2]) / kDeg;
}

bool usable(int variant, const ArmBranch& b, const ArmPose& p, double psi, double* q)
{
    PilotLimitVerdict v;
    return FX_ArmJoints(&arm(variant).model, &b, &p, psi, q) == ARM_OK && FX_CheckPilotLimits(&arm(variant).lmt, q, &v);
}

// The orientation a slerp gives at s: R0 turned about the axis of R0^T R1 (Rodrigues, by hand).
void slerp(const double r0[4][4], const double r1[4][4], double s, double out[3][3])
{
    double rel[3][3] = {};
    for (int k = 0; k < 27; ++k) rel[k / 9][k / 3 % 3] += r0[k % 3][k / 9] * r1[k % 3][k / 3 % 3];
    const double w[3] = {rel[2][1] - rel[1][2], rel[0][2] - rel[2][0], rel[1][0] - rel[0][1]};
    const double sine = 0.5 * std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
    const double angle = std::atan2(sine, 0.5 * (rel[0][0] + rel[1][1] + rel[2][2] - 1)) * s;
    const double k[3] = {w[0] / (2 * sine), w[1] / (2 * sine), w[2] / (2 * sine)}, c = std::cos(angle), sn = std::sin(angle);
    double rot[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            rot[i][j] = (i == j ? c : 0) + (1 - c) * k[i] * k[j] + sn * (i == j ? 0 : (j == (i + 1) % 3 ? -1 : 1) * k[3 - i - j]);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) out[i][j] = r0[i][0] * rot[0][j] + r0[i][1] * rot[1][j] + r0[i][2] * rot[2][j];
}

CartMove g_move;  // a large record, kept off the stack

bool plan(int variant, const double q[7], const Pose& target, CartElbow elbow = {CART_ELBOW_HOLD, 0},
          const double* via = nullptr, CartMove* move = &g_move)
{
    Arm& a = arm(variant);
    return via ? FX_CartPlanCirc(move, &a.pilot, &a.lmt, q, via, target.m, &a.lim, &elbow)
               : FX_CartPlanLin(move, &a.pilot, &a.lmt, q, target.m, &a.lim, &elbow);
}

const double kStart[7] = {10, 40, -20, 70, 15, 50, -30};

}  // namespace

TEST(Cartesian, ArmAngleJointsGiveThePoseBack)
{
    for (int variant = 0; variant < 2; ++variant) {
        Arm& a = arm(variant);
        Lcg rng{7};
        for (int n = 0; n < 300; ++n) {
            double q[7], out[7], pose[4][4], back[4][4];
            randomJoints(rng, q);  // every branch of joints 2, 4 and 6
            ArmBranch b;
            ArmPose p;
            ASSERT_TRUE(FX_ArmBranchOf(&a.model, &a.lmt, q, &b));
            FX_Kine_Pilot(&a.pilot, q, pose);
            ASSERT_EQ(FX_ArmPoseOf(&a.model, &b, pose, 0, &p), ARM_OK);
            const double psi = armAngle(variant, q);
            ASSERT_EQ(FX_ArmJoints(&a.model, &b, &p, psi, out), ARM_OK);
            FX_Kine_Pilot(&a.pilot, out, back);
            for (int i = 0; i < 7; ++i) EXPECT_NEAR(wrap180(out[i] - q[i]), 0, 1e-9) << n << " joint " << i + 1;
            expectNear(&pose[0][0], &back[0][0], 12, 1e-9);
            EXPECT_NEAR(wrap180(armAngle(variant, out) - psi), 0, 1e-9);
            EXPECT_NEAR(wrap180(FX_ArmAngleOf(&a.pilot, q) - psi), 0, 1e-9);
        }
    }
}

TEST(Cartesian, IntervalsAgreeWithAScanAndTheMap)
{
    for (int variant = 0; variant < 2; ++variant) {
        Arm& a = arm(variant);
        Lcg rng{11};
        long compared = 0;
        for (int n = 0; n < 30; ++n) {
            double q[7], pose[4][4], j[7], mq[7], off[7];
            randomJoints(rng, q);
            ArmBranch b;
            ArmPose p;
            ArmAngleIntervals in;
            FX_ArmBranchOf(&a.model, &a.lmt, q, &b);
            FX_Kine_Pilot(&a.pilot, q, pose);
            const double margin = n % 2;
            ASSERT_TRUE(FX_ArmAngleIntervals(&a.model, &a.lmt, &b, pose, margin, &in));
            FX_ArmPoseOf(&a.model, &b, pose, margin, &p);
            for (int k = 0; k < 2 * in.count; ++k) {
                    const ArmAngleEdge& e = k % 2 ? in.interval[k / 2].end : in.interval[k / 2].start;
                    const double outward = k % 2 ? 1 : -1;
                    if (e.cause == ARM_EDGE_NONE) continue;
                    EXPECT_TRUE(usable(variant, b, p, e.angle, j)) << n << " edge " << e.angle;
                    EXPECT_FALSE(usable(variant, b, p, e.angle + outward * 1e-9, j)) << n << " edge " << e.angle;
                }
            // The map measures from the reference's own elbow plane and keeps its joints next to the reference.
            Pilot pc = a.pilot;
            NSPBase nb;
            PilotArmAngleMap map;
            unsigned char f1, f2, f3;
            ASSERT_TRUE(FX_PilotArmAngleMap(&pc, &a.lmt, q, pose, 5, &nb, &map));
            FX_InvKine_Pilot(&pc, q, pose, &nb, off, &f1, &f2, &f3);
            const double zero = armAngle(variant, off);
            for (int k = 0; k < 3600; ++k) {
                const double psi = -180 + 0.1 * k + 0.03;
                const bool u = usable(variant, b, p, psi, j);
                EXPECT_EQ(u, FX_ArmAngleInside(&in, psi)) << n << " at " << psi;
                PilotArmAngleEdge e;
                const bool mu = FX_PilotArmAngleUsable(&pc, &a.lmt, &nb, q, pose, wrap180(psi - zero), mq, &e);
                bool same = margin == 0;
                for (int i = 0; i < 7; ++i) same = same && std::fabs(mq[i] - j[i]) < 1e-6;
                if (same) {
                    EXPECT_EQ(u, mu) << n << " at " << psi;
                    ++compared;
                }
            }
        }
        EXPECT_GT(compared, 10000);
    }
}

TEST(Cartesian, PlainLineTakesTheSCurveOfItsLimits)
{
    // 200 mm at 250 mm/s, 1000 mm/s^2, 10000 mm/s^3: 0.1 s of jerk, 0.35 s up to speed, 0.45 s cruising.
    ASSERT_TRUE(plan(0, kStart, moved(0, kStart, 120, 0, -160))) << g_move.reason;
    EXPECT_EQ(g_move.samples, 1151);
    EXPECT_NEAR(g_move.duration, 1.15, 1e-12);
    double fastest = 0, hardest = 0;
    CartSample s[3];
    for (long k = 1; k + 1 < g_move.samples; ++k) {
        for (int d = 0; d < 3; ++d) FX_CartSamplePose(&g_move, k - 1 + d, &s[d]);
        fastest = std::fmax(fastest, 200 * (s[2].path - s[0].path) / 0.002);
        hardest = std::fmax(hardest, 200 * std::fabs(s[2].path - 2 * s[1].path + s[0].path) / 1e-6);
    }
    EXPECT_NEAR(fastest, 250, 1e-6);
    EXPECT_NEAR(hardest, 1000, 1);
    // A quarter circle of radius 100 mm about the start + (0, 100, 0), through its 45 degree point.
    const Pose quarter = moved(0, kStart, 100, 100, 0);
    const double h = 100 * std::sqrt(0.5), via[3] = {quarter.m[0][3] - 100 + h, quarter.m[1][3] - h, quarter.m[2][3]};
    ASSERT_TRUE(plan(0, kStart, quarter, {CART_ELBOW_HOLD, 0}, via)) << g_move.reason;
    EXPECT_NEAR(g_move.path.radius, 100, 1e-9);
    EXPECT_NEAR(g_move.path.arc, 90, 1e-9);
}

TEST(Cartesian, RefusesWithTheFirstFailingPoint)
{
    // The target is the start with one joint turned further; the line there takes that joint past its limit.
    const struct {
        int variant, joint;
        double from, by, q7, by7;
        const char *begins, *ends;
    } cases[] = {
        {0, 0, 150, 40, -30, 0, "joint 1 leaves its range at ", "): 190.0 deg beyond 170.0"},
        {1, 0, -150, -40, -30, 0, "joint 1 leaves its range at ", "): -190.0 deg beyond -170.0"},
        {0, 5, 100, 30, -30, 0, "joint 6 leaves its range at ", "): 130.0 deg beyond 120.0"},
        {1, 5, 60, 40, -30, 0, "the wrist is singular at ", "within 1.0 of +-90"},
        // From (95, 100) to (105, 155): inside the rectangle, beyond q7 = -0.01 q6^2 + 0.05 q6 + 240.
        {1, 5, 95, 10, 100, 55, "joints 6 and 7 leave their coupled range at ", " deg beyond the corner curve"},
    };
    for (const auto& c : cases) {
        double q[7], to[7];
        std::copy(kStart, kStart + 7, q);
        q[c.joint] = c.from, q[6] = c.q7;
        std::copy(q, q + 7, to);
        to[c.joint] += c.by, to[6] += c.by7;
        EXPECT_FALSE(plan(c.variant, q, moved(c.variant, to, 0, 0, 0)));
        const std::string reason = g_move.reason;
        EXPECT_EQ(reason.rfind(c.begins, 0), 0u) << reason;
        EXPECT_EQ(reason.substr(reason.size() - std::strlen(c.ends)), c.ends) << reason;
    }
}

TEST(Cartesian, SlowsDownOnlyNearASingularity)
{
    // Joint 6 on its way towards 0, where joints 5 and 7 line up: the nearer the end comes, the
    // longer the move, yet the tool still reaches its full speed elsewhere.
    double duration[2], q[7] = {10, 40, -20, 70, 15, 30, -30}, to[7] = {40, 50, -20, 80, 15, 10, -30};
    for (int k = 0; k < 2; ++k) {
        to[5] = k ? 1.5 : 10;
        ASSERT_TRUE(plan(0, q, moved(0, to, 0, 0, 0))) << g_move.reason;
        duration[k] = g_move.duration;
        double fastest = 0, used = 0;
        for (long i = 1; i + 1 < g_move.samples; ++i) {
            CartSample s[3];
            for (int d = 0; d < 3; ++d) FX_CartSampleAt(&g_move, i - 1 + d, &s[d]);
            fastest = std::fmax(fastest, g_move.path.length * (s[2].path - s[0].path) / 0.002);
            for (int j = 0; j < 7; ++j) used = std::fmax(used, std::fabs(s[1].qd[j]) / arm(0).lim.joint_speed[j]);
        }
        EXPECT_GT(fastest, 249) << k;
        EXPECT_LE(used, 1 + 1e-9) << k;
    }
    EXPECT_GT(duration[1], duration[0] + 0.1);
}

TEST(Cartesian, AutoStaysInsideTheUsableArmAnglesWithoutJumping)
{
    int planned = 0;
    for (int variant = 0; variant < 2; ++variant) {
        Arm& a = arm(variant);
        Lcg rng{77u + variant};
        for (int n = 0; n < 12; ++n) {
            double q[7];
            randomJoints(rng, q);
            if (!plan(variant, q, moved(variant, q, rng.next(-150, 150), rng.next(-150, 150), rng.next(-100, 100)),
                      {CART_ELBOW_AUTO, 0}))
                continue;
            ++planned;
            double previous = g_move.arm_start;
            for (long k = 0; k < g_move.samples; ++k) {
                CartSample s;
                ArmAngleIntervals in;
                FX_CartSamplePose(&g_move, k, &s);
                EXPECT_LT(std::fabs(s.arm_angle - previous), 0.5) << n << " at " << k;  // under 500 deg/s
                previous = s.arm_angle;
                if (k % 10) continue;
                ASSERT_TRUE(FX_ArmAngleIntervals(&a.model, &a.lmt, &g_move.branch, s.pose, 0, &in));
                EXPECT_TRUE(FX_ArmAngleInside(&in, s.arm_angle)) << n << " at " << k;
            }
        }
    }
    EXPECT_GE(planned, 6);
}

TEST(Cartesian, BadInputGetsOneClearLine)
{
    const Pose ok = moved(0, kStart, 50, 0, 0);
    Pose nan = ok, far = moved(0, kStart, 0, 0, 400);  // straight up: the elbow stretches on the way
    nan.m[1][3] = kNaN;
    double outside[7] = {10, 40, -20, 70, 15, 50, 175}, singular[7] = {10, 0, -20, 70, 15, 50, -30};
    const double on_line[3] = {ok.m[0][3] - 25, ok.m[1][3], ok.m[2][3]}, nan_via[3] = {kNaN, 0, 0};
    struct Case {
        const char* want;
        const double* q;
        Pose target;
        const double* via;
        int limit;  // index into the limits to spoil, -1 none; 100 for the cycle
        double value;
        unsigned char policy;
    } cases[] = {
        {"the target pose is not a finite rigid transform", kStart, nan, nullptr, -1, 0, 0},
        {"the elbow is stretched at ", kStart, far, nullptr, -1, 0, 0},
        {"limit 'speed' must be a positive number, got 0", kStart, ok, nullptr, 0, 0, 0},
        {"limit 'rot_jerk' must be a positive number, got -1", kStart, ok, nullptr, 5, -1, 0},
        {"joint 3 acceleration limit must be a positive number, got nan", kStart, ok, nullptr, 15, kNaN, 0},
        {"the cycle must lie in (0, 1] s, got 0", kStart, ok, nullptr, 100, 0, 0},
        {"the via point lies on the line from start to target", kStart, ok, on_line, -1, 0, 0},
        {"the via point is not finite", kStart, ok, nan_via, -1, 0, 0},
        {"the target equals the start pose", kStart, moved(0, kStart, 0, 0, 0), nullptr, -1, 0, 0},
        {"start joint 7 lies outside its range: 175.0 deg beyond 170.0", outside, ok, nullptr, -1, 0, 0},
        {"the start is singular: joint 2 at 0.000 deg", singular, ok, nullptr, -1, 0, 0},
        {"unknown elbow policy 7", kStart, ok, nullptr, -1, 0, 7},
        {"the elbow's end angle is not finite", kStart, ok, nullptr, -1, 0, CART_ELBOW_BLEND},
    };
    for (const Case& c : cases) {
        Arm& a = arm(0);
        const CartLimits keep = a.lim;
        double* fields = &a.lim.speed;
        if (c.limit == 100) a.lim.cycle = c.value;
        else if (c.limit >= 0) fields[c.limit] = c.value;
        EXPECT_FALSE(plan(0, c.q, c.target, {c.policy, kNaN}, c.via));
        a.lim = keep;
        EXPECT_EQ(std::string(g_move.reason).rfind(c.want, 0), 0u) << g_move.reason;
        EXPECT_EQ(std::strchr(g_move.reason, '\n'), nullptr);
        CartSample s;
        EXPECT_FALSE(FX_CartSampleAt(&g_move, 0, &s));
    }
}

TEST(Cartesian, RandomMovesStayOnTheirPathAndWithinEveryLimit)
{
    int planned = 0;
    for (int variant = 0; variant < 2; ++variant) {
        Arm& a = arm(variant);
        Lcg rng{2024u + variant};
        for (int n = 0; n < 24; ++n) {
            double q[7], via[3];
            randomJoints(rng, q);
            const Pose target = moved(variant, q, rng.next(-150, 150), rng.next(-150, 150), rng.next(-150, 150),
                                      rng.next(-30, 30), rng.next(-30, 30), rng.next(-30, 30));
            const bool circ = n % 3 == 2;
            const CartElbow elbow{static_cast<unsigned char>(n % 3), rng.next(-180, 180)};
            const Pose start = moved(variant, q, 0, 0, 0);
            for (int i = 0; i < 3; ++i)  // off the chord's middle
                via[i] = 0.5 * (start.m[i][3] + target.m[i][3]) + rng.next(-60, 60);
            if (!plan(variant, q, target, elbow, circ ? via : nullptr)) {
                EXPECT_NE(g_move.reason[0], 0);
                continue;
            }
            ++planned;
            const CartPath& path = g_move.path;
            CartStepper stepper;
            CartSample s, again;
            FX_CartStepperStart(&g_move, &stepper);
            for (long k = 0; FX_CartStep(&g_move, &stepper, &s); ++k) {
                if (k % 97 == 0) {
                    ASSERT_TRUE(FX_CartSampleAt(&g_move, k, &again));
                    EXPECT_EQ(std::memcmp(&s, &again, sizeof s), 0) << k;
                }
                EXPECT_TRUE(k > 0 || std::memcmp(s.q, q, sizeof q) == 0);
                double fk[4][4], want[3], turn[3][3];
                FX_Kine_Pilot(&a.pilot, s.q, fk);
                for (int i = 0; i < 3; ++i) {
                    const double phi = s.path * path.arc * kDeg;
                    want[i] = circ ? path.centre[i] + path.radius * (std::cos(phi) * path.radial[i] + std::sin(phi) * path.tangent[i])
                                   : start.m[i][3] + s.path * (target.m[i][3] - start.m[i][3]);
                    EXPECT_NEAR(fk[i][3], want[i], 1e-6) << k;
                }
                if (path.turn > 1e-6) {
                    slerp(start.m, target.m, s.path, turn);
                    for (int i = 0; i < 9; ++i) EXPECT_NEAR(fk[i / 3][i % 3], turn[i / 3][i % 3], 1e-9) << k;
                }
                PilotLimitVerdict v;
                EXPECT_TRUE(FX_CheckPilotLimits(&a.lmt, s.q, &v)) << k;
                for (int i = 0; i < 7; ++i) {
                    EXPECT_LE(std::fabs(s.qd[i]), a.lim.joint_speed[i] * (1 + 1e-9)) << k;
                    EXPECT_LE(std::fabs(s.qdd[i]), a.lim.joint_acc[i] * (1 + 1e-9)) << k;
                }
                const double psi = armAngle(variant, s.q);
                EXPECT_NEAR(wrap180(psi - (elbow.policy == CART_ELBOW_HOLD ? g_move.arm_start : s.arm_angle)), 0, 1e-9);
            }
            EXPECT_EQ(s.path, 1.0);
            EXPECT_EQ(std::memcmp(s.pose, target.m, sizeof s.pose), 0);
            EXPECT_TRUE(elbow.policy != CART_ELBOW_BLEND || std::fabs(wrap180(s.arm_angle - elbow.angle)) < 1e-9);
        }
    }
    EXPECT_GE(planned, 20);
}

TEST(Cartesian, ForwardAndBackAHundredTimesEndsOnTheStartBitForBit)
{
    for (int variant = 0; variant < 2; ++variant) {
        const Pose a = moved(variant, kStart, -40, 30, 20, 5, 0, 0), b = moved(variant, kStart, 120, -80, 60, 0, 10, -15);
        // Variant 0 holds its arm angle, variant 1 blends it to -20 at b and back to 30 at a.
        const unsigned char policy = variant ? CART_ELBOW_BLEND : CART_ELBOW_HOLD;
        CartSample end;
        ASSERT_TRUE(plan(variant, kStart, a, {policy, 30})) << g_move.reason;  // the start: where a move to a ends
        ASSERT_TRUE(FX_CartSampleAt(&g_move, g_move.samples - 1, &end));
        static CartMove again;  // planned twice, the same doubles
        ASSERT_TRUE(plan(variant, kStart, a, {policy, 30}, nullptr, &again));
        for (long k = 0; k < g_move.samples; k += 7) {
            CartSample one, other;
            FX_CartSampleAt(&g_move, k, &one), FX_CartSampleAt(&again, k, &other);
            EXPECT_EQ(std::memcmp(&one, &other, sizeof one), 0) << k;
        }
        double start[7], q[7];
        std::copy(end.q, end.q + 7, start);
        std::copy(start, start + 7, q);
        for (int trip = 0; trip < 200; ++trip) {
            ASSERT_TRUE(plan(variant, q, trip % 2 ? a : b, {policy, trip % 2 ? 30.0 : -20.0})) << g_move.reason;
            ASSERT_TRUE(FX_CartSampleAt(&g_move, g_move.samples - 1, &end));
            std::copy(end.q, end.q + 7, q);
        }
        EXPECT_EQ(std::memcmp(q, start, sizeof q), 0);
    }
}
