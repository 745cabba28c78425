// The analytic arm: descriptions of the Pilot form are recognised in any convention and
// mounting, their flange poses reproduced and solved back; other chains are refused.
#include <algorithm>
#include <cstring>

#include "TestArm.h"
#include "ik7/IKSelect.h"
#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "interface/TolvexKine.h"
#include "math/FxMatrix.h"
#include "robot/AnalyticArm.h"

namespace tk {
namespace {

H4 fromArray(const double m[4][4])
{
    H4 h;
    std::memcpy(h.m, m, sizeof h.m);
    return h;
}
H4 inverse(H4 h)
{
    H4 out;
    FX_PGMatrixInv(h.m, out.m);
    return out;
}
// The flange pose composed factor by factor from the description's own numbers.
H4 handFk(const RobotDescription& d, const double* q)
{
    H4 t = fromArray(d.base);
    for (int i = 0; i < d.dof; ++i) t = t * mdh(d.joint[i].alpha, d.joint[i].a, d.joint[i].d, q[i] + d.joint[i].theta);
    return t * fromArray(d.flange);
}
double gap(const H4& a, const double b[4][4])
{
    double worst = 0;
    for (int k = 0; k < 12; ++k) worst = std::fmax(worst, std::fabs(a.m[k / 4][k % 4] - b[k / 4][k % 4]));
    return worst;
}
void setFlange(RobotDescription* d, const H4& f)
{
    for (int k = 0; k < 16; ++k) d->flange[k / 4][k % 4] = f.m[k / 4][k % 4];
}

// The example arm as the robot.ini route builds it, limits from the 1007 model file.
RobotDescription exampleArm(double elbow_offset_m = 0.020)
{
    printed([] {
        EXPECT_EQ(OnInitKine(TOLVEX_EXAMPLES_DIR "/robot.ini"), 1);
        EXPECT_EQ(OnInitKine_TOLVEXKINE(0, TOLVEX_EXAMPLES_DIR "/model-1007.txt"), 1);
    });
    RobotDescription d;
    d.dof = 7;
    for (int i = 0; i < 7; ++i) {
        const FX_Link& l = rob.links[i];
        d.joint[i] = {l.alpha, l.a, l.d, l.theta};
        d.limits[i].lower = lmt.JointMin[i] * kDeg, d.limits[i].upper = lmt.JointMax[i] * kDeg;
    }
    d.joint[3].a = elbow_offset_m, d.joint[4].a = -elbow_offset_m;
    setFlange(&d, trans(0, 0, rob.links[7].d));
    return d;
}

// The same arm with a Z-Y-X wrist: joint 6 turned a quarter, the flange the Pilot's variant-1 flange.
RobotDescription zyxArm()
{
    RobotDescription d = exampleArm();
    d.joint[5].theta = -90 * kDeg, d.joint[6].d = 0;
    const double zero[7] = {};
    setFlange(&d, eye());
    setFlange(&d, inverse(handFk(d, zero)) * trans(0, 0, (kD1 + kD3 + kD5 + kD7) * 0.001));
    return d;
}

// A Pilot-form arm with random lengths, mounting, zero offsets, flange, limits and axis senses.
RobotDescription randomArm(Lcg& rng)
{
    RobotDescription d;
    d.dof = 7;
    const double a = rng.next(0, 1) < 0.3 ? 0 : rng.next(0.005, 0.06);
    const double alpha[7] = {0, 90, -90, 90, -90, 90, -90};
    const double len[7][2] = {{0, rng.next(0.1, 0.5)}, {0, 0}, {0, rng.next(0.2, 0.5)}, {a, 0},
                              {-a, rng.next(0.2, 0.5)}, {0, 0}, {0, rng.next(0.05, 0.2)}};
    H4 flange = trans(rng.next(-.05, .05), rng.next(-.05, .05), rng.next(0, .1)) * rot(2, rng.next(-3, 3)) *
                rot(0, rng.next(-3, 3));
    for (int i = 0; i < 7; ++i) d.joint[i] = {alpha[i] * kDeg, len[i][0], len[i][1], rng.next(-kPi, kPi)};
    for (int i = 0; i < 7; ++i) {
        if (rng.next(0, 1) < 0.5) {  // the same axis pointing the other way
            d.joint[i].alpha += kPi, d.joint[i].d = -d.joint[i].d, d.joint[i].theta = -d.joint[i].theta;
            if (i < 6) d.joint[i + 1].alpha -= kPi;
            else flange = rot(0, -kPi) * flange;
        }
        d.limits[i].lower = rng.next(-3, -0.5), d.limits[i].upper = rng.next(0.5, 3);
    }
    setFlange(&d, flange);
    const H4 base = trans(rng.next(-1, 1), rng.next(-1, 1), rng.next(-1, 1)) * rot(2, rng.next(-3, 3)) *
                    rot(1, rng.next(-3, 3)) * rot(0, rng.next(-3, 3));
    std::memcpy(d.base, base.m, sizeof d.base);
    return d;
}

TEST(AnalyticArm, ExampleChainFitsWithTheIdentityMapAndSolvesLikeTheEntryPoints)
{
    std::string why = "x";
    const auto arm = AnalyticArm::fit(exampleArm(), &why);
    ASSERT_TRUE(arm) << why;
    EXPECT_EQ(why, "");
    const PilotGeometry& g = arm->geometry();
    const double want[5] = {kD1, kD3, kA, kD5, kD7}, got[5] = {g.d1, g.d3, g.a, g.d5, g.d7};
    expectNear(want, got, 5, 1e-9, "geometry");
    EXPECT_EQ(g.variant, 0);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(arm->jointMap().sign[i], 1) << i;
    const double none[7] = {};
    expectNear(none, arm->jointMap().offset_deg, 7, 1e-9, "offsets");
    const H4 one = eye();
    expectNear(&one.m[0][0], &arm->fitted().base[0][0], 16, 1e-12, "base");
    expectNear(&one.m[0][0], &arm->fitted().flange[0][0], 16, 1e-12, "flange");

    Lcg rng{11};
    for (int n = 0; n < 100; ++n) {
        double qdeg[7], q[7], pose[4][4], metres[4][4], out[7], mine[7], row[8];
        randomJoints(rng, qdeg);
        for (int i = 0; i < 7; ++i) q[i] = qdeg[i] * kDeg;
        OnKine(qdeg, pose);
        std::memcpy(metres, pose, sizeof pose);
        for (int r = 0; r < 3; ++r) metres[r][3] *= 0.001;
        unsigned char f[3];
        ASSERT_EQ(OnInvKine(pose, qdeg, out, &f[0], &f[1], &f[2]), 1);
        const AnalyticIkResult r = arm->ik(metres, q, mine);
        ASSERT_TRUE(r.ok);
        EXPECT_EQ(r.out_of_reach + 2 * r.shoulder_singular + 4 * r.wrist_singular, f[0] + 2 * f[1] + 4 * f[2]);
        // The controller route's joints, or their wrist twin where that lies on the reference's side.
        const bool twin = std::fabs(wrap180(out[5] + qdeg[5])) < 1e-6 && std::fabs(out[5]) > 1e-6;
        const double other[7] = {out[0], out[1], out[2], out[3], out[4] + 180, -out[5], out[6] + 180};
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(wrap180(mine[i] / kDeg - (twin ? other : out)[i]), 0, 1e-9) << n << " joint " << i;
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(mine[i], q[i], 1e-9) << n << " joint " << i;
        ASSERT_EQ(FX_IKRef7(&ik, qdeg[6], qdeg, pose, row), 1);
        ASSERT_TRUE(arm->ikLocked7(metres, q[6], q, mine));
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(mine[i] / kDeg, row[i], 1e-9) << n << " locked joint " << i;
    }
    // The arm-angle map: the reference's own arm angle is usable, every interval's middle
    // holds the pose inside the limits, and a hair past an edge leaves them.
    double qdeg[7] = {10, 40, -20, 70, 15, 35, -10}, q[7], pose[4][4], metres[4][4];
    for (int i = 0; i < 7; ++i) q[i] = qdeg[i] * kDeg;
    OnKine(qdeg, pose);
    std::memcpy(metres, pose, sizeof pose);
    for (int r = 0; r < 3; ++r) metres[r][3] *= 0.001;
    static ArmAngleMap map;
    ASSERT_TRUE(arm->armAngleMap(metres, q, &map));
    ASSERT_GE(map.reference, 0);
    for (int k = 0; k < map.count; ++k) {
        const ArmAngleInterval& in = map.interval[k];
        const double width = std::remainder(in.end.angle - in.start.angle - kPi, 2 * kPi) + kPi;
        double joints[7];
        AnalyticLimitVerdict verdict;
        const AnalyticIkResult mid = arm->ikAtArmAngle(in.start.angle + width / 2, q, joints);
        ASSERT_TRUE(mid.ok);
        EXPECT_TRUE(arm->checkLimits(joints, &verdict)) << k;
        EXPECT_NEAR(arm->armAngle(joints), std::remainder(in.start.angle + width / 2, 2 * kPi), 1e-9);
        for (const ArmAngleEdge* edge : {&in.start, &in.end}) {
            if (edge->cause == ARM_EDGE_NONE) continue;
            const double past = edge->angle + (edge == &in.start ? -1e-7 : 1e-7);
            const AnalyticIkResult beyond = arm->ikAtArmAngle(past, q, joints);
            EXPECT_TRUE(!beyond.ok || !arm->checkLimits(joints, &verdict)) << k;
        }
    }
}

// Any convention and mounting: the fitted model moves like the description, its IK
// solves the description's poses back, and its limit verdict is the description's.
TEST(AnalyticArm, RandomDescriptionsOfThePilotForm)
{
    Lcg rng{2024};
    int round_trips = 0, variants[2] = {}, flipped = 0;
    for (int arm_no = 0; arm_no < 20; ++arm_no) {
        const RobotDescription d = randomArm(rng);
        std::string why;
        const auto arm = AnalyticArm::fit(d, &why);
        ASSERT_TRUE(arm) << arm_no << ": " << why;
        const JointMap& map = arm->jointMap();
        const unsigned char variant = arm->geometry().variant;
        ++variants[variant];
        for (double s : map.sign) flipped += s < 0;
        for (int n = 0; n < 50; ++n) {
            double m[7], q[7], model_pose[4][4], pose[4][4], out[7];
            randomJoints(rng, m);
            map.fromModel(m, q);
            const H4 want = handFk(d, q);
            FX_Kine_Pilot(&arm->pilot(), m, model_pose);
            arm->fromModelPose(model_pose, pose);
            ASSERT_LT(gap(want, pose), 1e-9) << arm_no << " posture " << n;
            const AnalyticIkResult r = arm->ik(pose, q, out);
            // The joints themselves come back: the elbow and the wrist on the reference's side.
            bool back = r.ok && !r.out_of_reach && !r.shoulder_singular && !r.wrist_singular &&
                        gap(handFk(d, out), pose) < 1e-9;
            for (int i = 0; i < 7; ++i) back = back && std::fabs(out[i] - q[i]) < 1e-9;
            EXPECT_TRUE(back) << arm_no << " posture " << n;
            round_trips += back;
            // Another reference, the elbow turned about the shoulder-wrist line: the pose is
            // kept wherever the solver finds no singularity; joint 7 held gives q back.
            double ref[7];
            for (int i = 0; i < 7; ++i) ref[i] = q[i] + (i == 3 ? 0.0 : rng.next(-1, 1));
            const AnalyticIkResult other = arm->ik(pose, ref, out);
            EXPECT_TRUE(!other.ok || gap(handFk(d, out), pose) < 1e-9);
            const AnalyticIkResult turned = arm->ikAtArmAngle(0.4, q, out);
            EXPECT_TRUE(!turned.ok || (gap(handFk(d, out), pose) < 1e-9 && std::fabs(arm->armAngle(out) - 0.4) < 1e-9));
            ASSERT_TRUE(arm->ikLocked7(pose, q[6], q, out));
            expectNear(q, out, 7, 1e-7, "locked");
            // Limit verdict against the description's own limits.
            double probe[7];
            AnalyticLimitVerdict verdict;
            for (int i = 0; i < 7; ++i) probe[i] = rng.next(-kPi, kPi);
            bool inside = true;
            const bool said = arm->checkLimits(probe, &verdict);
            for (int i = 0; i < 7; ++i) {
                const JointLimits& l = d.limits[i];
                const int state = probe[i] < l.lower ? PILOT_BELOW_MIN : probe[i] > l.upper ? PILOT_ABOVE_MAX : PILOT_INSIDE;
                EXPECT_EQ(verdict.state[i], state) << i;
                inside = inside && state == PILOT_INSIDE;
            }
            EXPECT_EQ(said, inside);
        }
    }
    EXPECT_EQ(round_trips, 1000);
    EXPECT_GT(variants[0], 0);
    EXPECT_GT(variants[1], 0);
    EXPECT_GT(flipped, 20);
}

// Not-a-number and absurd input: a clear failure, outputs untouched.
TEST(AnalyticArm, HostileInput)
{
    auto arm = AnalyticArm::fit(exampleArm(), nullptr);
    ASSERT_TRUE(arm);
    const double q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4}, nan = NAN;
    double out[7] = {9, 9, 9, 9, 9, 9, 9}, bad_ref[7] = {0.2, -0.6, 0.3, nan, 0.25, 0.7, -0.4};
    const H4 good = handFk(exampleArm(), q);
    H4 bad = good;
    bad.m[1][3] = nan;
    EXPECT_FALSE(arm->ikAtArmAngle(0.1, q, out).ok);  // nothing solved yet
    EXPECT_TRUE(arm->ik(bad.m, q, out).out_of_reach);
    EXPECT_TRUE(arm->ik(good.m, bad_ref, out).out_of_reach);
    EXPECT_FALSE(arm->ik(bad.m, q, out).ok);
    EXPECT_FALSE(arm->ikLocked7(good.m, nan, q, out));
    LockedSolutions all;
    EXPECT_FALSE(arm->ikLocked7All(bad.m, q[6], &all));
    EXPECT_EQ(all.count, 0);
    static ArmAngleMap map;
    EXPECT_FALSE(arm->armAngleMap(bad.m, q, &map));
    EXPECT_FALSE(arm->armAngleMap(good.m, bad_ref, &map));
    EXPECT_EQ(map.count, 0);
    for (double v : out) EXPECT_EQ(v, 9);
    EXPECT_TRUE(arm->ik(good.m, q, out).ok);
    EXPECT_FALSE(arm->ikAtArmAngle(nan, q, out).ok);
    AnalyticLimitVerdict verdict;
    EXPECT_FALSE(arm->checkLimits(bad_ref, &verdict));
    EXPECT_EQ(verdict.state[3], PILOT_NOT_A_NUMBER);
}

TEST(AnalyticArm, OtherChainsAreRefusedWithTheirReason)
{
    const struct {
        void (*change)(RobotDescription*);
        const char* why;
    } cases[] = {
        {[](RobotDescription* d) { d->dof = 6; }, "the analytic arm has 7 joints, this description has 6"},
        {[](RobotDescription* d) { d->joint[2].d = NAN; }, "the description holds a value that is not a finite number"},
        {[](RobotDescription* d) { d->joint[4].alpha = -80 * kDeg; }, "axes 4 and 5 are not perpendicular: 80.0 deg apart"},
        {[](RobotDescription* d) { d->joint[1].a = 0.05; },
         "joints 1-3 do not meet in a point: axis 2 passes 50.0 mm from axis 1"},
        {[](RobotDescription* d) { d->joint[2].a = 0.03; },
         "joints 1-3 do not meet in a point: axis 3 passes 30.0 mm from the shoulder centre"},
        {[](RobotDescription* d) { d->joint[6].a = 0.088; },
         "joints 5-7 do not meet in a point: axis 7 passes 88.0 mm from the wrist centre"},
        {[](RobotDescription* d) { d->joint[3].d = 0.015; },
         "joint 4 elbow offset is not lateral: axes 3 and 5 meet axis 4 15.0 mm apart"},
        {[](RobotDescription* d) { d->joint[4].a = -0.025; },
         "joint 4 elbow offsets differ: 20.0 mm before the joint, 25.0 mm after"},
    };
    for (const auto& c : cases) {
        RobotDescription d = exampleArm();
        c.change(&d);
        std::string why;
        EXPECT_EQ(AnalyticArm::fit(d, &why), nullptr) << c.why;
        EXPECT_EQ(why, c.why);
    }
}

TEST(AnalyticArm, ModelFiles)
{
    const std::string v0 = TOLVEX_EXAMPLES_DIR "/model-1007.txt", v1 = TOLVEX_EXAMPLES_DIR "/model-1017.txt";
    const std::string short_file = tempFile("short.txt", "1007\n1 2 3\n");
    const struct {
        RobotDescription d;
        std::string file, why;
    } refusals[] = {
        {exampleArm(0.025), v0, "model file '" + v0 + "' describes another arm: joint 4 elbow offset 20.0 mm, robot 25.0 mm"},
        {exampleArm(), v1, "model file '" + v1 + "' describes another arm: joints 5-7 wrist Z-Y-X, robot Z-Y-Z"},
        {exampleArm(), "no-such-file.txt", "model file 'no-such-file.txt' cannot be opened"},
        {exampleArm(), short_file, "model file '" + short_file + "' does not hold a 13-line model parameter block"},
    };
    for (const auto& c : refusals) {
        auto arm = AnalyticArm::fit(c.d, nullptr);
        ASSERT_TRUE(arm);
        const PilotLmt before = arm->pilotLimits();
        const std::string text = arm->modelFileText();
        try {
            arm->useModelFile(c.file);
            ADD_FAILURE() << c.file;
        } catch (const Error& e) {
            EXPECT_EQ(e.what(), c.why);
        }
        EXPECT_EQ(std::memcmp(&before, &arm->pilotLimits(), sizeof before), 0);
        EXPECT_EQ(arm->modelFileText(), text);
    }

    // The Z-Y-X arm takes the coupled range of its file; its own file loads through the entry point.
    auto arm = AnalyticArm::fit(zyxArm(), nullptr);
    ASSERT_TRUE(arm);
    EXPECT_EQ(arm->geometry().variant, 1);
    EXPECT_NEAR(arm->geometry().d7, kD7, 1e-9);
    const double corner[7] = {0, 30, 0, 60, 0, 100, 160};
    double q[7];
    AnalyticLimitVerdict verdict;
    arm->jointMap().fromModel(corner, q);
    EXPECT_TRUE(arm->checkLimits(q, &verdict));
    printed([&] { arm->useModelFile(v1); });
    EXPECT_FALSE(arm->checkLimits(q, &verdict));
    EXPECT_EQ(verdict.state[5] * 10 + verdict.state[6], PILOT_BEYOND_CORNER * 11);
    const std::string own = arm->modelFileText(), path = tempFile("own.txt", own);
    EXPECT_EQ(std::count(own.begin(), own.end(), '\n'), 13);
    EXPECT_NO_THROW(printed([&] { arm->useModelFile(path); }));
    printed([&] { EXPECT_EQ(OnInitKine_TOLVEXKINE(0, path.c_str()), 1); });
    double m[7] = {20, -35, 40, -70, 30, 50, -60}, mine[4][4], global[4][4];
    FX_Kine_Pilot(&arm->pilot(), m, mine);
    FX_Kine_Pilot(&pilot, m, global);
    expectNear(&mine[0][0], &global[0][0], 16, 1e-9, "file model");
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(lmt.JointMax[i], arm->pilotLimits().JointMax[i], 1e-9);
    expectNear(&lmt.Curve[0][0], &arm->pilotLimits().Curve[0][0], 12, 1e-12, "curves");
}

}  // namespace
}  // namespace tk
