#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "motion/FxTrigTables.h"

namespace {

std::string run_generator()
{
    std::string text;
    FILE* pipe = popen(TOLVEX_TRIG_TABLES_GEN, "r");
    if (!pipe)
        return text;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        text.append(chunk, n);
    pclose(pipe);
    return text;
}

std::string read_file(const char* path)
{
    std::ifstream in(path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Parses the initialiser of `name` in generated text and compares each value,
// as strtod reads it, with the linked table bit for bit.
void expect_table_matches(const std::string& text, const char* name, const double* table,
                          int count)
{
    const size_t at = text.find(std::string(name) + "[");
    ASSERT_NE(std::string::npos, at) << name;
    const char* p = text.c_str() + text.find('{', at) + 1;
    for (int i = 0; i < count; ++i) {
        char* end;
        const double value = std::strtod(p, &end);
        ASSERT_NE(p, end) << name << "[" << i << "]";
        ASSERT_TRUE(same_bits(value, table[i])) << name << "[" << i << "]";
        p = end + 1;  // the comma
    }
    while (*p == ' ' || *p == '\n')
        ++p;
    EXPECT_EQ('}', *p) << name;
}

}  // namespace

TEST(FxTrigTables, SampleEntries)
{
    EXPECT_EQ(1.0, FX_CosAccTable[0]);
    EXPECT_EQ(0.9999999999984769, FX_CosAccTable[1]);
    EXPECT_EQ(0.9999999999939077, FX_CosAccTable[2]);
    EXPECT_EQ(0.9999984769132877, FX_CosAccTable[1000]);
    EXPECT_EQ(0.0, FX_SinAccTable[0]);
    EXPECT_EQ(1.745329251993e-06, FX_SinAccTable[1]);
    EXPECT_EQ(3.490658503982e-06, FX_SinAccTable[2]);
    EXPECT_EQ(0.001745328365898309, FX_SinAccTable[1000]);
    EXPECT_EQ(1.0, FX_CosTable[0]);
    EXPECT_EQ(0.9999984769132877, FX_CosTable[1]);
    EXPECT_EQ(0.9999939076577904, FX_CosTable[2]);
    EXPECT_EQ(6.1e-17, FX_CosTable[900]);
    EXPECT_EQ(-1.0, FX_CosTable[1800]);
    EXPECT_EQ(-1.84e-16, FX_CosTable[2700]);
    EXPECT_EQ(0.9999984769132877, FX_CosTable[3599]);
}

TEST(FxTrigTables, FineGridSpansExactlyOneCoarseStep)
{
    EXPECT_TRUE(same_bits(FX_CosAccTable[1000], FX_CosTable[1]));
    // Each entry is computed from its own angle, not mirrored from another.
    int mirrored_differ = 0;
    for (int i = 1; i < 1800; ++i)
        mirrored_differ += FX_CosTable[3600 - i] != FX_CosTable[i];
    EXPECT_GT(mirrored_differ, 0);
}

TEST(FxTrigTables, CommittedSourceIsWhatTheGeneratorWrites)
{
    const std::string generated = run_generator();
    ASSERT_FALSE(generated.empty());
    EXPECT_TRUE(generated == read_file(TOLVEX_TRIG_TABLES_SRC));
    expect_table_matches(generated, "FX_CosAccTable", FX_CosAccTable, 1001);
    expect_table_matches(generated, "FX_SinAccTable", FX_SinAccTable, 1001);
    expect_table_matches(generated, "FX_CosTable", FX_CosTable, 3600);
}
