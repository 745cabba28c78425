#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "interface/ModelFile.h"

namespace {

const char* kBlock =
    "1017\n"
    "0 0 340 0 -170 170 98 490\n"
    "-90 0 0 0 -120 120 98 490\n"
    "90 0 400 0 -170 170 100 500\n"
    "90 20 0 0 -170 170 130 650\n"
    "-90 -20 400 0 -170 170 180 900\n"
    "90 0 0 0 -110 110 180 900\n"
    "-90 0 0 0 -170 170 180 900\n"
    "0 0 126 0\n"
    "-0.01 0.05 240\n"
    "-0.01 -0.05 240\n"
    "0.01 0.05 -240\n"
    "0.01 -0.05 -240\n";

std::string replaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// A stream over the given bytes, read from a temporary file.
struct TextStream {
    explicit TextStream(const std::string& bytes)
    {
        path = testing::TempDir() + "tolvex_model_" +
               testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt";
        FILE* out = fopen(path.c_str(), "wb");
        fwrite(bytes.data(), 1, bytes.size(), out);
        fclose(out);
        stream = fopen(path.c_str(), "rb");
    }
    ~TextStream()
    {
        fclose(stream);
        remove(path.c_str());
    }
    std::string path;
    FILE* stream;
};

bool loads(const std::string& bytes, long* type = nullptr, double geometry[8][4] = nullptr)
{
    TextStream file(bytes);
    long code = 0;
    double g[8][4], limits[7][4], extra[4][3];
    bool ok = FX_Load_Pilot_Cfg(file.stream, &code, g, limits, extra);
    if (type)
        *type = code;
    if (geometry)
        std::copy(&g[0][0], &g[0][0] + 32, &geometry[0][0]);
    return ok;
}

std::vector<double> parse(const char* text, bool* ok = nullptr)
{
    double values[600];
    long count = -1;
    std::string copy(text);
    bool result = OnGetValue(&copy[0], values, count);
    if (ok)
        *ok = result;
    return result ? std::vector<double>(values, values + count) : std::vector<double>{};
}

}  // namespace

TEST(ModelFile, LineReaderSkipsBlankLinesAndStopsAtEndOfFile)
{
    TextStream file("\r\n\nfirst\r\nsecond\rthird\n\nlast");
    char line[kModelLineCapacity];
    ASSERT_TRUE(OnGetLine(file.stream, line));
    EXPECT_STREQ(line, "first");
    ASSERT_TRUE(OnGetLine(file.stream, line));
    EXPECT_STREQ(line, "second");
    ASSERT_TRUE(OnGetLine(file.stream, line));
    EXPECT_STREQ(line, "third");
    EXPECT_FALSE(OnGetLine(file.stream, line));  // no line end before end of file
    EXPECT_STREQ(line, "last");
    EXPECT_FALSE(OnGetLine(nullptr, line));
    EXPECT_FALSE(OnGetLine(file.stream, nullptr));
}

TEST(ModelFile, LineReaderLengthLimitAndByteFF)
{
    std::string exact(1000, '7'), over(1001, '7');
    TextStream file(exact + "\n" + over + "\n");
    char line[kModelLineCapacity];
    ASSERT_TRUE(OnGetLine(file.stream, line));
    EXPECT_EQ(std::string(line), exact);
    EXPECT_FALSE(OnGetLine(file.stream, line));

    TextStream ff(std::string("12\xff") + "34\n");
    EXPECT_FALSE(OnGetLine(ff.stream, line));
}

TEST(ModelFile, NumberParserRules)
{
    EXPECT_EQ(parse(""), std::vector<double>{});
    EXPECT_EQ(parse("1,2;3\t4 +5"), (std::vector<double>{1, 2, 3, 4, 5}));
    EXPECT_EQ(parse("-. 5"), std::vector<double>{-0.5});     // sign and point carry over
    EXPECT_EQ(parse("3-4"), std::vector<double>{-34});       // the minus marks the whole number
    EXPECT_EQ(parse("- 5 6"), (std::vector<double>{-5, 6}));
    EXPECT_EQ(parse("1e5"), (std::vector<double>{1, 5}));    // no exponent notation
    EXPECT_EQ(parse("7 8\n9"), (std::vector<double>{7, 8}));  // a line end stops the parse
    bool ok = true;
    parse("--5", &ok);
    EXPECT_FALSE(ok);
    parse("1.2.3", &ok);
    EXPECT_FALSE(ok);
    parse("-1 -2", &ok);  // each stored number resets the sign
    EXPECT_TRUE(ok);

    // Fractions are accumulated digit by digit, not converted by the library.
    double expected = 0.0, scale = 0.1;
    for (char digit : std::string("123456789")) {
        expected = expected + (digit - '0') * scale;
        scale = scale * 0.1;
    }
    EXPECT_EQ(parse("0.123456789")[0], expected);
    EXPECT_EQ(parse("12.5")[0], 12.5);
}

TEST(ModelFile, BlockParsesTheSameWithAnyLineEnding)
{
    long type = 0;
    double lf[8][4], crlf[8][4], cr[8][4];
    ASSERT_TRUE(loads(kBlock, &type, lf));
    EXPECT_EQ(type, 1017);
    ASSERT_TRUE(loads(replaceAll(kBlock, "\n", "\r\n"), &type, crlf));
    ASSERT_TRUE(loads(replaceAll(kBlock, "\n", "\r"), &type, cr));
    ASSERT_TRUE(loads(replaceAll(kBlock, "\n", "\n\n\r\n"), &type, cr));
    ASSERT_TRUE(loads(replaceAll(kBlock, " ", ","), &type, cr));
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(lf[r][c], crlf[r][c]);
    EXPECT_EQ(lf[0][2], 340);
    EXPECT_EQ(lf[3][1], 20);
    EXPECT_EQ(lf[7][2], 126);
}

TEST(ModelFile, BlockRejectsMalformedLines)
{
    std::string block(kBlock);
    EXPECT_FALSE(loads(block.substr(0, block.size() - 1)));  // last line without line end
    EXPECT_FALSE(loads(replaceAll(block, "-90 0 0 0 -120 120 98 490", "-90 0 0 0 -120 120 98")));
    EXPECT_FALSE(loads(replaceAll(block, "0 0 126 0\n", "0 0 126 0\n   \n")));  // blanks are not blank
    EXPECT_FALSE(loads(replaceAll(block, "0 0 126 0", "0 0 126 0 0")));
    std::string many;
    for (int i = 0; i < 101; ++i)
        many += "1 ";
    EXPECT_FALSE(loads(replaceAll(block, "0 0 126 0", many)));  // more than the reader holds
    EXPECT_FALSE(loads(replaceAll(block, "400 0 -170", "4\xff" "00 0 -170")));
}

TEST(ModelFile, TypeCodeRounding)
{
    long type = 0;
    for (const char* code : {"1007", "1007.0", "1006.95"}) {
        ASSERT_TRUE(loads(replaceAll(kBlock, "1017\n", std::string(code) + "\n"), &type));
        EXPECT_EQ(type, 1007) << code;
    }
    ASSERT_TRUE(loads(replaceAll(kBlock, "1017\n", "1006.85\n"), &type));
    EXPECT_EQ(type, 1006);
}

TEST(ModelFile, UnknownTypeIsRejectedAfterTheWholeBlock)
{
    TextStream file(replaceAll(kBlock, "1017\n", "1012\n") + "tail\n");
    Pilot pilot{};
    PilotLmt lmt{};
    EXPECT_FALSE(OnInitPilotPilotLmt(file.stream, &pilot, &lmt));
    EXPECT_EQ(pilot.L1, 0);  // records untouched
    EXPECT_EQ(lmt.JointMax[0], 0);
    char line[kModelLineCapacity];
    ASSERT_TRUE(OnGetLine(file.stream, line));  // the whole block was consumed
    EXPECT_STREQ(line, "tail");
}

TEST(ModelFile, BothTypeCodesSetUpTheirVariant)
{
    Pilot pilot{};
    PilotLmt lmt{};
    {
        TextStream file(kBlock);
        ASSERT_TRUE(OnInitPilotPilotLmt(file.stream, &pilot, &lmt));
    }
    EXPECT_EQ(pilot.variant, 1);
    EXPECT_EQ(lmt.Coupled, 1);
    EXPECT_EQ(lmt.JointMin[5], -110);
    EXPECT_EQ(lmt.Curve[3][2], -240);
    EXPECT_DOUBLE_EQ(pilot.tool_pose[2][3], 340 + 400 + 400 + 126);
    {
        TextStream file(replaceAll(kBlock, "1017\n", "1007\n"));
        ASSERT_TRUE(OnInitPilotPilotLmt(file.stream, &pilot, &lmt));
    }
    EXPECT_EQ(pilot.variant, 0);
    EXPECT_EQ(lmt.Coupled, 0);
}
