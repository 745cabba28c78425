// Rigid-body inertials of the URDF route: carried into another frame, merged exactly,
// and checked for being physically possible.
#ifndef TOLVEX_URDF_INERTIA_H
#define TOLVEX_URDF_INERTIA_H

#include <string>

#include "urdf/Geometry.h"

namespace tk::urdf_geometry {

// A body's mass, centre of mass and inertia about the centre of mass, all in one frame.
struct BodyInertia {
    double mass = 0.0;
    Vec3 com;
    double inertia[3][3] = {};
};

// The body as seen from the frame in which `f` is given.
BodyInertia expressedIn(const Frame& f, const BodyInertia& body);

// Sums bodies given in one frame into one rigid body. Moments are taken about the first
// body's centre of mass, so that a lone body comes out exactly as it went in.
class InertiaSum {
public:
    void add(const BodyInertia& body);
    BodyInertia total() const;

private:
    double mass_ = 0.0;
    Vec3 reference_;                    // the first body's centre of mass
    Vec3 moment_;                       // sum of mass times centre of mass, from the reference
    double aboutReference_[3][3] = {};  // inertia about the reference
};


}  // namespace tk::urdf_geometry

#endif
