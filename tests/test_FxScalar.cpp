#include <gtest/gtest.h>

#include <cmath>

#include "math/FxScalar.h"

TEST(FxScalar, AbsoluteValueKeepsNegativeZero)
{
    EXPECT_EQ(FX_Fabs(-2.5), 2.5);
    EXPECT_EQ(my_fabs(-2.5), 2.5);
    EXPECT_TRUE(std::signbit(FX_Fabs(-0.0)));
    EXPECT_TRUE(std::isnan(FX_Fabs(NAN)));
}

TEST(FxScalar, SquareRootDoesNotClamp)
{
    EXPECT_EQ(FX_Sqrt(9.0), 3.0);
    EXPECT_TRUE(std::signbit(FX_Sqrt(-0.0)));
    EXPECT_TRUE(std::isnan(FX_Sqrt(-1e-300)));
}

TEST(FxScalar, DegreeTrigonometryUsesTheFixedFactor)
{
    for (double deg : {-725.0, -90.0, 0.0, 30.0, 45.0, 179.9, 360.5}) {
        double s, c;
        FX_SIN_COS_DEG(deg, &s, &c);
        EXPECT_EQ(s, std::sin(deg * 0.017453292519943295));
        EXPECT_EQ(c, std::cos(deg * 0.017453292519943295));
        EXPECT_EQ(FX_SIN_DEG(deg), s);
        EXPECT_EQ(FX_COS_DEG(deg), c);
    }
    double s, c;
    FX_SIN_COS_ARC(0.25, &s, &c);
    EXPECT_EQ(s, FX_SIN_ARC(0.25));
    EXPECT_EQ(c, FX_COS_ARC(0.25));
}

TEST(FxScalar, ArcCosineIsAnArcTangentWithoutClamping)
{
    EXPECT_EQ(FX_ACOS(1.0), 0.0);
    EXPECT_EQ(FX_ACOS(-1.0), M_PI);
    EXPECT_NEAR(FX_ACOS(0.5), M_PI / 3, 1e-15);
    EXPECT_TRUE(std::isnan(FX_ACOS(std::nextafter(1.0, 2.0))));
    EXPECT_TRUE(std::isnan(FX_ACOS(-1.0000001)));
    EXPECT_EQ(FX_ATan2(-1.0, -1.0), std::atan2(-1.0, -1.0));
}
