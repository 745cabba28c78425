// The arm behind the browser view's entry points (ViewCore.h), whichever way it was
// described: a model file in the library's global records, or a robot object built
// from robot.ini. The page's units throughout: joints in degrees, poses as row-major
// 4x4 matrices in millimetres; each arm turns them into its own.
#ifndef TOLVEX_VIEWER_CORE_VIEWARM_H
#define TOLVEX_VIEWER_CORE_VIEWARM_H

#include <memory>
#include <string>

class ViewArm {
public:
    virtual ~ViewArm() = default;

    virtual int dof() const = 0;
    virtual int frameCount() const = 0;       // frames fk gives, the pose the page shows last
    virtual int capabilities() const = 0;     // TkvCapability bits
    virtual int flagCount() const = 0;        // status bytes an inverse solve sets
    virtual std::string lacking() const = 0;  // why IK is not offered, "" when it is
    virtual void jointLimits(double* lower, double* upper) const = 0;
    virtual void baseFrame(double* frame) const = 0;  // where the arm stands, joint 1's parent frame

    virtual bool fk(const double* q, double* frames, double* xyzabc) = 0;
    virtual bool limitVerdict(const double* q, unsigned char* state) = 0;
    virtual bool ik(const double target[4][4], const double* ref, double* q, unsigned char* flags) = 0;
    virtual bool armAngle(double psi, const double* ref, double* q, unsigned char* flags) = 0;
    // The arm angle (deg) at which armAngle gives back the posture q that was set or solved,
    // and what arm angle 0 is.
    virtual double armAngleOf(const double* q) = 0;
    virtual const char* armAngleZero() const = 0;
    // (start, end) pairs in degrees; the count, or -1 when the pose cannot be solved.
    virtual int armAngleMap(const double target[4][4], const double* ref, double step, double* intervals,
                            int* reference, unsigned char* flags) = 0;
};

// The arm of the file at `path`, or null with *why set to one line.
std::unique_ptr<ViewArm> loadModelArm(const char* path, std::string* why);
std::unique_ptr<ViewArm> loadRobotArm(const char* path, std::string* why);

#endif
