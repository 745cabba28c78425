// Physical inertial parameters: whether they can belong to a rigid body, and their
// values about a frame's origin, where the chain's dynamics sum them.
#ifndef TOLVEX_ROBOT_INERTIA_H
#define TOLVEX_ROBOT_INERTIA_H

#include <string>

#include "robot/RobotDescription.h"

namespace tk {

// Empty when `body` can be a rigid body; otherwise the reason, for example
// "inertia is not positive definite (principal moments -0.002, 0.01, 0.03)".
// A massless body must have no inertia; a body with mass needs an inertia that
// inertiaFault passes.
std::string inertialProblem(const LinkInertial& body);
// Empty when the inertia about the centre of mass is positive definite and its principal
// moments obey the triangle inequality (to 1e-9 of their sum); otherwise the reason.
std::string inertiaFault(const double inertia[3][3]);

// A body's parameters about a frame's origin, in that frame's axes.
struct OriginInertia {
    double J[6] = {};   // xx, xy, xz, yy, yz, zz, kg m^2
    double MS[3] = {};  // first moment, kg m
    double M = 0.0;     // mass, kg
};

// `body` as given in its own frame, which sits at `pose` in the frame the result
// is expressed in (rotation then translation; m). Rotor inertia is not part of it.
OriginInertia aboutOrigin(const LinkInertial& body, const double pose[4][4]);

// a += b.
void accumulate(OriginInertia& a, const OriginInertia& b);

}  // namespace tk

#endif
