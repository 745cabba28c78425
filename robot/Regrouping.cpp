#include "robot/Regrouping.h"

#include <cmath>

namespace tk {

namespace {

void foldIntoParent(const DhJoint& joint, OriginInertia& child, OriginInertia& parent)
{
    const double S = std::sin(joint.alpha), C = std::cos(joint.alpha), a = joint.a, d = joint.d;
    const double YY = child.J[3], MZ = child.MS[2], M = child.M;
    const double along = MZ + d * M;                 // first moment along z, about the parent's x axis foot
    const double spin = YY + 2 * d * MZ + d * d * M;  // the ring inertia moved along z by d
    parent.J[0] += spin;
    parent.J[1] += a * S * along;
    parent.J[2] -= a * C * along;
    parent.J[3] += C * C * spin + a * a * M;
    parent.J[4] += C * S * spin;
    parent.J[5] += S * S * spin + a * a * M;
    parent.MS[0] += a * M;
    parent.MS[1] -= S * along;
    parent.MS[2] += C * along;
    parent.M += M;
    child.J[0] -= YY;
    child.J[3] = 0.0;
    child.MS[2] = 0.0;
    child.M = 0.0;
}

}  // namespace

void regroup(int n, const DhJoint* joints, OriginInertia* p)
{
    for (int j = n - 1; j >= 1; --j)
        foldIntoParent(joints[j], p[j], p[j - 1]);
}

}  // namespace tk
