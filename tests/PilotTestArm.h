// Test fixture shared by the Pilot IK suites: the example arm and random joint
// vectors clear of its singular postures.
#ifndef TOLVEX_TESTS_PILOTTESTARM_H
#define TOLVEX_TESTS_PILOTTESTARM_H

#include <random>

#include "pilot/Pilot.h"

constexpr double kD1 = 340, kD3 = 400, kA = 20, kD5 = 400, kD7 = 126;

inline void MakePilot(unsigned char variant, Pilot* pilot)
{
    double geometry[8][4] = {};
    geometry[0][2] = kD1;
    geometry[2][2] = kD3;
    geometry[3][1] = kA;
    geometry[4][2] = kD5;
    geometry[7][2] = kD7;
    FX_Init_Pilot(pilot, variant, geometry);
}

// Joints clear of the straight elbow (|q4| >= 15) and of the shoulder and wrist
// singularities (15 <= |q2|, 10 <= |q6| <= 80).
inline void RandomJoints(std::mt19937& gen, double q[7])
{
    std::uniform_real_distribution<double> any(-170.0, 170.0);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::bernoulli_distribution negative(0.5);
    auto away = [&](double lo, double hi) {
        const double m = lo + (hi - lo) * unit(gen);
        return negative(gen) ? -m : m;
    };
    q[0] = any(gen);
    q[1] = away(15.0, 110.0);
    q[2] = any(gen);
    q[3] = away(15.0, 140.0);
    q[4] = any(gen);
    q[5] = away(10.0, 80.0);
    q[6] = any(gen);
}

#endif
