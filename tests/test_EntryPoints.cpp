#include <gtest/gtest.h>

#include <dirent.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotNSP.h"

namespace {

const std::string kModel1017 = std::string(TOLVEX_EXAMPLES_DIR) + "/model-1017.txt";
const std::string kModel1007 = std::string(TOLVEX_EXAMPLES_DIR) + "/model-1007.txt";

int openDescriptors()
{
    int count = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (readdir(dir) != nullptr)
        ++count;
    closedir(dir);
    return count;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A file holding the 1017 block and then the 1007 block.
std::string twoBlockFile()
{
    std::string path = testing::TempDir() + "tolvex_two_blocks.txt";
    std::ofstream(path, std::ios::binary) << readFile(kModel1017) << "\n" << readFile(kModel1007);
    return path;
}

int loadQuietly(long serial, const std::string& path)
{
    testing::internal::CaptureStdout();
    int result = OnInitKine_TOLVEXKINE(serial, path.c_str());
    testing::internal::GetCapturedStdout();
    return result;
}

const double kJoints[7] = {12, -35, 20, -80, 15, 40, -25};

}  // namespace

// Every test starts from the state the library has when it is loaded.
class EntryPoints : public testing::Test {
protected:
    void SetUp() override
    {
        m_Init_tag = 0;
        pilot = Pilot{};
        lmt = PilotLmt{};
        nbase = NSPBase{};
    }
};

TEST_F(EntryPoints, GateHoldsUntilAModelIsLoaded)
{
    double pose[4][4] = {{7}}, jac[6][7] = {{7}}, out[7] = {7};
    double dir[3] = {0, 1, 0};
    unsigned char f1 = 9, f2 = 9, f3 = 9;
    EXPECT_EQ(OnKine(kJoints, pose), 0);
    EXPECT_EQ(OnJacob(kJoints, jac), 0);
    EXPECT_EQ(OnInvKine(pose, kJoints, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(OnInvKineDir(pose, kJoints, dir, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(pose[0][0], 7);
    EXPECT_EQ(jac[0][0], 7);
    EXPECT_EQ(out[0], 7);
    EXPECT_EQ(f1, 9);
    EXPECT_EQ(OnInitKine_TOLVEXKINE(0, "/nonexistent/model.txt"), 0);
    EXPECT_EQ(m_Init_tag, 0);
}

bool endsWith(const std::string& text, const std::string& tail)
{
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

TEST_F(EntryPoints, SerialZeroLoadsClosesAndAnnounces)
{
    int before = openDescriptors();
    testing::internal::CaptureStdout();
    EXPECT_EQ(OnInitKine_TOLVEXKINE(0, kModel1007.c_str()), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[Tolvex Kine]\nserial=0, tolvex config loaded\n");
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(m_Init_tag, 1);
    EXPECT_EQ(pilot.variant, 0);
    EXPECT_EQ(lmt.JointMax[0], 170);
}

TEST_F(EntryPoints, SerialOneReadsTheSecondBlockAndLeavesTheFileOpen)
{
    std::string path = twoBlockFile();
    int before = openDescriptors();
    testing::internal::CaptureStdout();
    EXPECT_EQ(OnInitKine_TOLVEXKINE(1, path.c_str()), 1);
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(endsWith(text, "[Tolvex Kine]\nserial=1, tolvex config loaded\n")) << text;
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_EQ(pilot.variant, 0);  // the 1007 block came second
    EXPECT_EQ(m_Init_tag, 1);
}

TEST_F(EntryPoints, SerialOneWithASingleBlockFailsAndCloses)
{
    int before = openDescriptors();
    EXPECT_EQ(loadQuietly(1, kModel1017), 0);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(m_Init_tag, 0);
    EXPECT_EQ(pilot.variant, 1);  // the first block was still read
}

TEST_F(EntryPoints, OtherSerialsFailButKeepTheFirstBlock)
{
    int before = openDescriptors();
    EXPECT_EQ(loadQuietly(2, kModel1017), 0);
    EXPECT_EQ(openDescriptors(), before + 1);  // left open
    EXPECT_EQ(m_Init_tag, 0);
    EXPECT_EQ(pilot.variant, 1);
    EXPECT_EQ(lmt.Coupled, 1);
}

TEST_F(EntryPoints, ForwardKinematicsForcesTheLastRowAndKeepsTheJoints)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    double joints[7];
    std::copy(kJoints, kJoints + 7, joints);
    double pose[4][4], direct[4][4];
    ASSERT_EQ(OnKine(joints, pose), 1);
    FX_Kine_Pilot(&pilot, joints, direct);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(pose[r][c], direct[r][c]);
    EXPECT_TRUE(std::equal(joints, joints + 7, kJoints));

    pilot.tool[3][3] = 5;  // a tool transform with a bad last row
    ASSERT_EQ(OnKine(joints, pose), 1);
    EXPECT_EQ(pose[3][0], 0);
    EXPECT_EQ(pose[3][3], 1);
}

TEST_F(EntryPoints, JacobianFollowsTheGivenJoints)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    double jac[6][7], direct[6][7], pose[4][4], joints[7];
    std::copy(kJoints, kJoints + 7, joints);
    double zero[7] = {0, 0, 0, 0, 0, 0, 0};
    FX_Kine_Pilot(&pilot, zero, pose);  // OnJacob must refresh the frames itself
    ASSERT_EQ(OnJacob(kJoints, jac), 1);
    FX_Kine_Pilot(&pilot, joints, pose);
    FX_Jacb_Pilot(&pilot, direct);
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 7; ++c)
            EXPECT_EQ(jac[r][c], direct[r][c]);
}

TEST_F(EntryPoints, InverseRoundTripAndArmAngle)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    double pose[4][4], out[7], again[4][4];
    unsigned char f1, f2, f3;
    ASSERT_EQ(OnKine(kJoints, pose), 1);
    ASSERT_EQ(OnInvKine(pose, kJoints, out, &f1, &f2, &f3), 1);
    EXPECT_EQ(f1, 0);
    for (int i = 0; i < 7; ++i)
        EXPECT_NEAR(out[i], kJoints[i], 1e-7) << i;

    double dir[3] = {0, 0, 1};
    ASSERT_EQ(OnInvKineDir(pose, kJoints, dir, out, &f1, &f2, &f3), 1);
    ASSERT_EQ(OnKine(out, again), 1);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_NEAR(again[r][c], pose[r][c], 1e-7);

    ASSERT_EQ(OnInvKine(pose, kJoints, out, &f1, &f2, &f3), 1);
    ASSERT_EQ(OnInvKine_NSP(30, kJoints, out, &f1, &f2, &f3), 1);
    EXPECT_EQ(out[3], nbase.q4);
    ASSERT_EQ(OnKine(out, again), 1);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_NEAR(again[r][c], pose[r][c], 1e-7);

    double far[4][4];
    std::copy(&pose[0][0], &pose[0][0] + 16, &far[0][0]);
    far[0][3] += 5000;
    EXPECT_EQ(OnInvKine(far, kJoints, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1, 1);
}

TEST_F(EntryPoints, ArmAngleTestPrintsItsSteps)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    double pose[4][4], out[7] = {0};
    unsigned char f1, f2, f3;
    ASSERT_EQ(OnKine(kJoints, pose), 1);
    testing::internal::CaptureStdout();
    ASSERT_EQ(OnInvKine_NSP_test(pose, kJoints, out, &f1, &f2, &f3, 0.0), 1);
    std::string text = testing::internal::GetCapturedStdout();
    char expected[512];
    snprintf(expected, sizeof expected,
             "[Tolvex Kinematic]\nnsp_angle = 0.000000\n"
             "ref_joints = [12.000000 -35.000000 20.000000 -80.000000 15.000000 40.000000 -25.000000]\n"
             "return_joints=[%lf %lf %lf %lf %lf %lf %lf]\n",
             out[0], out[1], out[2], out[3], out[4], out[5], out[6]);
    EXPECT_EQ(text, expected);
    EXPECT_NEAR(out[0], 12, 1e-6);

    double far[4][4];
    std::copy(&pose[0][0], &pose[0][0] + 16, &far[0][0]);
    far[2][3] += 5000;
    testing::internal::CaptureStdout();
    EXPECT_EQ(OnInvKine_NSP_test(far, kJoints, out, &f1, &f2, &f3, 10.0), 0);
    text = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(endsWith(text, "]\nerr1\n")) << text;
}

TEST_F(EntryPoints, ArmAngleTestReportsAFailingSecondStep)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    // Shoulder straight up (joint 2 at 0) with the elbow almost straight: the upper arm
    // then stays within a degree of the base z axis for a range of arm angles, where
    // the shoulder solver is singular on both sides and gives up.
    for (double bend : {-8.0, 8.0}) {
        double joints[7] = {0, 0, 0, pilot.straight_q4 + bend, 0, 30, 0}, pose[4][4], out[7];
        double ref[7] = {0, 30, 0, joints[3], 0, 30, 0};
        unsigned char f1, f2, f3;
        ASSERT_EQ(OnKine(joints, pose), 1);
        ASSERT_EQ(OnInvKine(pose, ref, out, &f1, &f2, &f3), 1);
        for (double angle = -180; angle <= 180; angle += 0.25) {
            if (OnInvKine_NSP(angle, ref, out, &f1, &f2, &f3))
                continue;
            testing::internal::CaptureStdout();
            EXPECT_EQ(OnInvKine_NSP_test(pose, ref, out, &f1, &f2, &f3, angle), 0);
            std::string text = testing::internal::GetCapturedStdout();
            EXPECT_TRUE(endsWith(text, "]\nerr2\n")) << text;
            EXPECT_EQ(f2, 1);
            return;
        }
    }
    FAIL() << "no arm angle made the second step fail";
}

TEST_F(EntryPoints, RangeChecksUseTheLoadedLimits)
{
    ASSERT_EQ(loadQuietly(0, kModel1017), 1);
    double joints[7] = {0, 130, 0, 0, 0, 100, 160}, bound[2];
    bool outside[7] = {false, false, false, false, false, false, false};
    OnInvKineRange(joints, bound, outside);
    EXPECT_FALSE(outside[0]);
    EXPECT_TRUE(outside[1]);  // 130 beyond 120
    EXPECT_TRUE(outside[5]);  // (100, 160) beyond the upper-right curve
    EXPECT_TRUE(outside[6]);

    for (double q6 : {-100.0, -30.0, 0.0, 50.0, 100.0})
        for (double q7 : {-160.0, -10.0, 0.0, 90.0, 165.0}) {
            double q67[2] = {q6, q7}, b1[2], b2[2];
            bool flag = false;
            FX_CCSBD_CHECK_old(&lmt, q67, b1, flag);
            EXPECT_EQ(OnInvKineRange_Cross67(q67, b2), flag ? 0 : 1);
            EXPECT_EQ(b1[0], b2[0]);
            EXPECT_EQ(b1[1], b2[1]);
        }
}
