#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "interface/TolvexKine.h"

namespace {

std::string writeIni(const std::string& text)
{
    std::string path = testing::TempDir() + "tolvex_route_" +
                       testing::UnitTest::GetInstance()->current_test_info()->name() + ".ini";
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string armIni(int dof)
{
    std::string text = "[R.A0.BASIC]\nDof=" + std::to_string(dof) +
                       "\nType=1007\nGravityX=0\nGravityY=0\nGravityZ=-9.81\n"
                       "[R.A0.FLANGE]\nA=5\nD=80\nAlpha=90\nTheta=45\n";
    const double dh[7][4] = {{0, 340, 0, 0},  {-90, 0, 0, 0}, {90, 400, 0, 0}, {90, 0, 20, 0},
                             {-90, 400, -20, 0}, {90, 0, 0, 0}, {-90, 126, 0, 30}};
    for (int i = 0; i < 7; ++i) {
        char section[160];
        snprintf(section, sizeof section, "[R.A0.L%d.DH]\nAlpha=%g\nD=%g\nA=%g\nTheta=%g\n", i, dh[i][0],
                 dh[i][1], dh[i][2], dh[i][3]);
        text += section;
    }
    return text;
}

int initQuietly(const std::string& path)
{
    testing::internal::CaptureStdout();
    int result = OnInitKine(path.c_str());
    testing::internal::GetCapturedStdout();
    return result;
}

}  // namespace

// Every test starts from the state the library has when it is loaded.
class RobotIniRoute : public testing::Test {
protected:
    void SetUp() override
    {
        m_Init_tag = 0;
        rob = FX_Pilot{};
        ik = IK_Poilt7{};
    }
};

TEST_F(RobotIniRoute, SevenLinksAreConvertedToMetresAndRadians)
{
    ASSERT_EQ(initQuietly(writeIni(armIni(7))), 1);
    EXPECT_EQ(m_Init_tag, 1);
    EXPECT_EQ(rob.n, 7);
    EXPECT_EQ(rob.type, 1007);
    EXPECT_EQ(rob.links[0].d, 340 * 0.001);
    EXPECT_EQ(rob.links[1].alpha, -90 * 0.017453292519943295);
    EXPECT_EQ(rob.links[3].a, 20 * 0.001);
    EXPECT_EQ(rob.links[4].a, -20 * 0.001);
    EXPECT_EQ(rob.links[6].theta, 30 * 0.017453292519943295);
    EXPECT_EQ(rob.links[6].mass, 0);
    EXPECT_EQ(rob.links[6].rotor_inertia, 0);
    // The flange keeps only its length: A, Alpha and Theta from the file are ignored.
    EXPECT_EQ(rob.links[7].d, 80 * 0.001);
    EXPECT_EQ(rob.links[7].a, 0);
    EXPECT_EQ(rob.links[7].alpha, 0);
    EXPECT_EQ(rob.links[7].theta, 0);
    EXPECT_EQ(rob.local_T[7][2][3], 80 * 0.001);  // tool removed: flange offset only
    EXPECT_EQ(rob.dyn_ready, 1);
    EXPECT_NEAR(ik.d1, 340, 1e-12);
    EXPECT_NEAR(ik.dF, 80, 1e-12);
    EXPECT_EQ(ms_DCTRL_CFG.Loaded, 1);

    // The gate is shared with the numeric route, whose model is still all zero.
    double joints[7] = {0}, pose[4][4];
    EXPECT_EQ(OnKine(joints, pose), 1);
    EXPECT_EQ(pose[2][3], 0);
}

TEST_F(RobotIniRoute, ZeroLinksStillSetTheFlangeAndTheModels)
{
    ASSERT_EQ(initQuietly(writeIni(armIni(0))), 1);
    EXPECT_EQ(m_Init_tag, 1);
    EXPECT_EQ(rob.n, 0);
    EXPECT_EQ(rob.links[0].d, 0);
    EXPECT_EQ(rob.links[7].d, 80 * 0.001);
    EXPECT_EQ(rob.local_T[0][2][3], 80 * 0.001);
    EXPECT_NEAR(ik.dF, 80, 1e-12);
}

TEST_F(RobotIniRoute, HostBlocksAreClearedEvenWhenTheLoadFails)
{
    memset(ms_DCTRL_DCSS, 0xAB, sizeof ms_DCTRL_DCSS);
    memset(ms_DCTRL_SysInfo, 0xAB, sizeof ms_DCTRL_SysInfo);
    testing::internal::CaptureStdout();
    EXPECT_EQ(OnInitKine("/nonexistent/robot.ini"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Failed to load file /nonexistent/robot.ini\n");
    for (unsigned long i = 0; i < kDctrlDcssSize; ++i)
        ASSERT_EQ(ms_DCTRL_DCSS[i], i < kDctrlDcssCleared ? 0 : 0xAB) << i;
    for (unsigned long i = 0; i < kDctrlSysInfoSize; ++i)
        ASSERT_EQ(ms_DCTRL_SysInfo[i], 0) << i;
    EXPECT_EQ(m_Init_tag, 0);
    EXPECT_EQ(rob.n, 0);
    EXPECT_EQ(rob.links[7].d, 0);
}

TEST_F(RobotIniRoute, MoreLinksThanTheChainHoldsAreRefused)
{
    ASSERT_EQ(initQuietly(writeIni(armIni(7))), 1);
    std::string tooMany = armIni(8), negative = armIni(-1);
    EXPECT_EQ(initQuietly(writeIni(tooMany)), 0);
    EXPECT_EQ(initQuietly(writeIni(negative)), 0);
    EXPECT_EQ(rob.n, 7);  // the chain of the last good load stays
}

TEST_F(RobotIniRoute, BundledExampleDescribesASevenAxisArm)
{
    ASSERT_EQ(initQuietly(std::string(TOLVEX_EXAMPLES_DIR) + "/robot.ini"), 1);
    EXPECT_EQ(rob.n, 7);
    EXPECT_EQ(ms_DCTRL_CFG.Arm[0].Dof, 7);
    EXPECT_GT(ik.L_upper, 0);
    EXPECT_GT(ik.L_fore, 0);
}
