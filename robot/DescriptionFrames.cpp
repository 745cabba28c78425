#include "robot/DescriptionFrames.h"

#include "dynamics/FxChain.h"
#include "math/FxRigid.h"

namespace tk {

void descriptionFrames(const RobotDescription& d, const double* q, double frames[kMaxJoints + 1][4][4])
{
    const double(*parent)[4] = d.base;
    double local[4][4];
    for (int i = 0; i < d.dof; ++i) {
        const DhJoint& j = d.joint[i];
        FX_TmatO(j.alpha, j.a, j.d, q[i] + j.theta, local);
        fx_mul44(parent, local, frames[i]);
        parent = frames[i];
    }
    fx_mul44(parent, d.flange, frames[d.dof]);
}

}  // namespace tk
