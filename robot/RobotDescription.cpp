#include "robot/RobotDescription.h"

#include <cmath>
#include <cstdio>

#include "robot/Inertia.h"

namespace tk {

namespace {

bool finiteAll(const double* v, int n)
{
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(v[i]))
            return false;
    return true;
}

// A rigid transform: finite, orthonormal rotation with determinant +1, last row 0 0 0 1.
bool rigid(const double T[4][4])
{
    for (int r = 0; r < 4; ++r)
        if (!finiteAll(T[r], 4))
            return false;
    if (T[3][0] != 0.0 || T[3][1] != 0.0 || T[3][2] != 0.0 || T[3][3] != 1.0)
        return false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double dot = T[0][i] * T[0][j] + T[1][i] * T[1][j] + T[2][i] * T[2][j];
            if (std::fabs(dot - (i == j ? 1.0 : 0.0)) > 1e-9)
                return false;
        }
    double det = T[0][0] * (T[1][1] * T[2][2] - T[1][2] * T[2][1]) -
                 T[0][1] * (T[1][0] * T[2][2] - T[1][2] * T[2][0]) +
                 T[0][2] * (T[1][0] * T[2][1] - T[1][1] * T[2][0]);
    return det > 0.0;
}

std::string limitsProblem(const JointLimits& l)
{
    const double values[5] = {l.lower, l.upper, l.velocity, l.acceleration, l.effort};
    if (!finiteAll(values, 5))
        return "a limit is not a finite number";
    if (l.lower > l.upper)
        return "lower limit lies above the upper limit";
    if (l.velocity < 0.0 || l.acceleration < 0.0 || l.effort < 0.0)
        return "a velocity, acceleration or effort limit is negative";
    return "";
}

std::string frictionProblem(const JointFriction& f)
{
    const double values[3] = {f.coulomb, f.viscous, f.offset};
    if (!finiteAll(values, 3))
        return "a friction value is not a finite number";
    if (f.coulomb < 0.0 || f.viscous < 0.0)
        return "Coulomb or viscous friction is negative";
    return "";
}

}  // namespace

std::string checkDescription(const RobotDescription& d)
{
    if (d.dof < 1 || d.dof > kMaxJoints)
        return "the robot has " + std::to_string(d.dof) + " joints, 1 to 7 supported";
    if (!rigid(d.base))
        return "the base transform is not a rigid transform";
    if (!rigid(d.flange))
        return "the flange transform is not a rigid transform";
    if (!finiteAll(d.gravity, 3))
        return "gravity is not a finite vector";
    for (int i = 0; i < d.dof; ++i) {
        const std::string joint = "joint " + std::to_string(i + 1) + ": ";
        const DhJoint& j = d.joint[i];
        const double dh[4] = {j.alpha, j.a, j.d, j.theta};
        if (!finiteAll(dh, 4))
            return joint + "a Denavit-Hartenberg parameter is not a finite number";
        std::string problem = inertialProblem(d.link[i]);
        if (!problem.empty())
            return "link " + std::to_string(i + 1) + ": " + problem;
        problem = limitsProblem(d.limits[i]);
        if (problem.empty())
            problem = frictionProblem(d.friction[i]);
        if (!problem.empty())
            return joint + problem;
    }
    return "";
}

}  // namespace tk
