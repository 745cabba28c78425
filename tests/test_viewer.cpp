// The motion file reader of the browser view: rows as `move --csv` writes them read back
// to the bit, and one exact line naming the line and the fault for every bad file.
#include <cstdio>
#include <string>
#include <vector>

#include "tests/TestArm.h"
#include "viewer/MotionCsv.h"

namespace {

std::string read(const std::string& text, std::vector<MotionRow>& rows, int joints = 7)
{
    return readMotionCsv(text.data(), text.size(), joints, rows);
}

const std::string kHeader = "t [s],q1 [deg],q2 [deg],q3 [deg],q4 [deg],q5 [deg],q6 [deg],q7 [deg],"
                            "x [mm],y [mm],z [mm],A [deg],B [deg],C [deg],arm angle [deg]\n";
const std::string kRow = "0,1,2,3,4,5,6,7,8,9,10,11,12,13,14\n";

}  // namespace

TEST(MotionCsv, RowsReadBackBitForBit)
{
    tk::Lcg rng{7};
    std::string text = "# Motion (LIN)\n" + kHeader;
    std::vector<std::vector<double>> want;
    for (int r = 0; r < 200; ++r) {
        want.push_back({0.001 * r});
        for (int c = 1; c < 15; ++c) want.back().push_back(rng.next(-400, 400));
        char field[40];
        for (int c = 0; c < 15; ++c) {
            std::snprintf(field, sizeof field, "%.17g", want.back()[c]);
            text += (c ? "," : "") + std::string(field);
        }
        text += r % 2 ? "\r\n" : "\n";
    }
    std::vector<MotionRow> rows;
    ASSERT_EQ(read(text, rows), "");
    ASSERT_EQ(rows.size(), want.size());
    for (size_t r = 0; r < rows.size(); ++r) {
        EXPECT_EQ(rows[r].time, want[r][0]);
        for (int i = 0; i < 7; ++i) EXPECT_EQ(rows[r].joints[i], want[r][1 + i]);
        for (int i = 0; i < 6; ++i) EXPECT_EQ(rows[r].pose[i], want[r][8 + i]);
        EXPECT_EQ(rows[r].armAngle, want[r][14]);
    }
    // A pose or arm angle the move could not give is nan; an arm of six joints has one column less.
    ASSERT_EQ(read("0,1,2,3,4,5,6,7,nan,nan,nan,nan,nan,nan,nan\n", rows), "");
    EXPECT_TRUE(std::isnan(rows[0].armAngle));
    ASSERT_EQ(read("0.5,1,2,3,4,5,6,8,9,10,11,12,13,14\n", rows, 6), "");
    EXPECT_EQ(rows[0].joints[5], 6);
    EXPECT_EQ(rows[0].armAngle, 14);
}

TEST(MotionCsv, BadFilesNameTheLineAndTheFault)
{
    const std::string layout = "15 expected: t, q1..q7, x, y, z, A, B, C, arm angle";
    const struct {
        std::string text, why;
    } cases[] = {
        {"", "no rows of motion; " + layout},
        {"# only a note\n" + kHeader, "no rows of motion; " + layout},
        {kHeader + "0,1,2,3,4,5,6,7,8,9,10,11,12,13\n", "line 2: 14 fields, " + layout},
        {kRow + "1,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15\n", "line 2: 16 fields, " + layout},
        {"0,1,2,x3,4,5,6,7,8,9,10,11,12,13,14\n", "line 1: q3 'x3' is not a number"},
        {"0,1,2,3,4,5,6,7,8,9,10,11,12,,14\n", "line 1: C '' is not a number"},
        {"0,1,2,3,4,5,6,nan,8,9,10,11,12,13,14\n", "line 1: q7 is not finite"},
        {"inf,1,2,3,4,5,6,7,8,9,10,11,12,13,14\n", "line 1: t is not finite"},
        {kRow + "\n" + kRow, "line 3: time 0 s is not after the previous row's 0 s"},
        {kRow + kHeader, "line 2: a second table begins ('t [s]'); one motion table expected"},
        {kHeader + kHeader, "line 2: a second table begins ('t [s]'); one motion table expected"},
        {kRow + std::string("1,2\0,3", 6) + "\n", "line 2: holds a zero byte; a text file is expected"},
    };
    for (const auto& c : cases) {
        std::vector<MotionRow> rows(3);
        EXPECT_EQ(read(c.text, rows), c.why) << c.text;
        EXPECT_TRUE(rows.empty()) << c.text;
    }
    std::vector<MotionRow> rows;
    EXPECT_EQ(read(kRow, rows, 8), "an arm of 8 joints cannot be played back (1 to 7)");
}
