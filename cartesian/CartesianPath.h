// The tool's way from a start pose to a target pose, driven by one path
// parameter s in [0, 1]: the tool centre on a straight segment (LIN) or on the
// circular arc through a via point (CIRC), the orientation turning about one
// fixed axis at a steady rate (the shortest quaternion slerp) in both.
// Poses are 4x4 row-major matrices in millimetres; angles in degrees.
#ifndef TOLVEX_CARTESIAN_CARTESIANPATH_H
#define TOLVEX_CARTESIAN_CARTESIANPATH_H

enum CartPathKind : unsigned char { CART_LIN = 0, CART_CIRC = 1 };

struct CartPath {
    unsigned char kind;     // CART_LIN or CART_CIRC
    double start[4][4];     // tool pose at s = 0, mm
    double target[4][4];    // tool pose at s = 1, mm
    double centre[3];       // CIRC: centre of the circle, mm
    double radial[3];       // CIRC: unit vector from the centre to the start
    double tangent[3];      // CIRC: unit vector at right angles to it, in the sense of travel
    double radius;          // CIRC: mm
    double arc;             // CIRC: angle swept from start to target, degrees, in (0, 360)
    double turn_axis[3];    // unit axis of the orientation's turn, base frame
    double turn;            // the orientation's whole turn, degrees, in [0, 180]
    double length;          // length of the tool centre's way, mm
};

// Each returns null when the path exists, else why not (one line); the start
// and target must be finite poses with orthonormal rotations.
const char* FX_CartPathLin(CartPath* path, const double start[4][4], const double target[4][4]);
const char* FX_CartPathCirc(CartPath* path, const double start[4][4], const double via[3],
                            const double target[4][4]);
// The pose at path parameter s: the start itself at s = 0, the target itself at s = 1.
void FX_CartPathPose(const CartPath* path, double s, double pose[4][4]);

#endif
