// PilotArm: the arm of a numeric model file with its own Pilot, PilotLmt and
// NSPBase records, and the pose conversions.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include "interface/ModelFile.h"
#include "math/FxPose.h"
#include "math/FxScalar.h"
#include "pilot/PilotLimitCheck.h"
#include "pilot/PilotNSP.h"
#include "python/Bindings.h"
#include "python/PyArrays.h"

namespace tkpy {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct PilotArm {
    Pilot pilot{};
    PilotLmt lmt{};
    NSPBase nbase{};
    bool has_base = false;  // nbase holds the arm frames of a pose that ik solved
    std::mutex busy;
};

std::unique_ptr<PilotArm> loadArm(const std::string& model_file)
{
    auto arm = std::make_unique<PilotArm>();
    FILE* file = openOrRaise(model_file);
    const bool loaded = OnInitPilotPilotLmt(file, &arm->pilot, &arm->lmt);
    std::fclose(file);
    if (!loaded)
        throw py::value_error("model file '" + model_file +
                              "' holds no model block of type 1007 or 1017");
    return arm;
}

double (*matrix(double* values))[4]
{
    return reinterpret_cast<double (*)[4]>(values);
}

// The tool pose as OnKine gives it, on this arm's records.
void toolPose(Pilot* pilot, const double* q, double* pose)
{
    double joints[7];
    std::memcpy(joints, q, sizeof joints);
    double (*m)[4] = matrix(pose);
    FX_Kine_Pilot(pilot, joints, m);
    m[3][0] = m[3][1] = m[3][2] = 0.0;
    m[3][3] = 1.0;
}

py::array fk(PilotArm& arm, py::handle q)
{
    return mapItems(finiteRows(q, "q", {7}), {4, 4}, arm.busy,
                    [&](const double* qi, double* pose) { toolPose(&arm.pilot, qi, pose); });
}

py::array jacobian(PilotArm& arm, py::handle q)
{
    return mapItems(finiteRows(q, "q", {7}), {6, 7}, arm.busy, [&](const double* qi, double* jac) {
        double pose[16];
        toolPose(&arm.pilot, qi, pose);
        FX_Jacb_Pilot(&arm.pilot, reinterpret_cast<double (*)[7]>(jac));
    });
}

// Joints and status of inverse solutions; q is NaN where ok is false.
struct IkOutput {
    Array q;
    py::array_t<bool> ok, out_of_reach, shoulder_singular, wrist_singular;

    double* joints;
    bool* status[4];

    explicit IkOutput(const Batch& b)
        : q(output(b, {7})), ok(flags(b)), out_of_reach(flags(b)), shoulder_singular(flags(b)),
          wrist_singular(flags(b)), joints(q.mutable_data()),
          status{ok.mutable_data(), out_of_reach.mutable_data(), shoulder_singular.mutable_data(),
                 wrist_singular.mutable_data()}
    {
    }

    // Solves item i with `solve(out, flag1, flag2, flag3)` and stores its answer.
    template <class Solve>
    void store(long i, Solve solve)
    {
        double* out = joints + 7 * i;
        unsigned char f1 = 0, f2 = 0, f3 = 0;
        const bool solved = solve(out, &f1, &f2, &f3) != 0;
        if (!solved)
            std::fill(out, out + 7, kNaN);
        status[0][i] = solved;
        status[1][i] = f1 != 0;
        status[2][i] = f2 != 0;
        status[3][i] = f3 != 0;
    }

    py::object result() const
    {
        py::dict d;
        d["q"] = q;
        d["ok"] = field(ok);
        d["out_of_reach"] = field(out_of_reach);
        d["shoulder_singular"] = field(shoulder_singular);
        d["wrist_singular"] = field(wrist_singular);
        return record(d);
    }
};

py::object ik(PilotArm& arm, py::handle pose, py::handle ref, py::handle dir)
{
    Rows poses = finiteRows(pose, "pose", {4, 4});
    Rows refs = finiteRows(ref, "ref", {7}, true, kMaxTurningAngle);
    double direction[3] = {0, 0, 0};
    const bool byDirection = !dir.is_none();
    if (byDirection) {
        std::memcpy(direction, finiteRows(dir, "dir", {3}, false).at(0), sizeof direction);
    }
    Batch b = batchOf({&poses, &refs}, "pose and ref");
    IkOutput out(b);
    forEachItem(arm.busy, b.count, [&](long i) {
        double target[4][4], r[7];
        std::memcpy(target, poses.at(i), sizeof target);
        std::memcpy(r, refs.at(i), sizeof r);
        out.store(i, [&](double* q, unsigned char* f1, unsigned char* f2, unsigned char* f3) {
            const unsigned char solved =
                byDirection ? FX_InvKine_PilotDir(&arm.pilot, r, target, direction, &arm.nbase, q,
                                                  f1, f2, f3)
                            : FX_InvKine_Pilot(&arm.pilot, r, target, &arm.nbase, q, f1, f2, f3);
            // Only reach and elbow failures come before the frames are stored.
            arm.has_base = arm.has_base || *f1 == 0;
            return solved;
        });
    });
    return out.result();
}

py::object nsp(PilotArm& arm, py::handle angle, py::handle ref)
{
    Rows angles = finiteRows(angle, "angle", {});
    Rows refs = finiteRows(ref, "ref", {7}, false, kMaxTurningAngle);
    if (!arm.has_base)
        throw py::value_error("nsp re-solves the last pose of ik: solve a pose with ik first");
    Batch b = batchOf({&angles}, "angle");
    IkOutput out(b);
    forEachItem(arm.busy, b.count, [&](long i) {
        double r[7];
        std::memcpy(r, refs.at(0), sizeof r);
        out.store(i, [&](double* q, unsigned char* f1, unsigned char* f2, unsigned char* f3) {
            return FX_InvKine_Pilot_NSP(&arm.nbase, *angles.at(i), r, q, f1, f2, f3);
        });
    });
    return out.result();
}

py::object limits(PilotArm& arm, py::handle q)
{
    Rows joints = rows(q, "q", {7});
    Batch b = batchOf({&joints}, "q");
    py::array_t<bool> inside = flags(b);
    py::array_t<unsigned char> state(b.batched ? Shape{b.count, 7} : Shape{7});
    Array bound = output(b, {2});
    bool* in = inside.mutable_data();
    unsigned char* st = state.mutable_data();
    double* bd = bound.mutable_data();
    forEachItem(arm.busy, b.count, [&](long i) {
        PilotLimitVerdict verdict;
        in[i] = FX_CheckPilotLimits(&arm.lmt, joints.at(i), &verdict);
        std::memcpy(st + 7 * i, verdict.state, 7);
        std::memcpy(bd + 2 * i, verdict.bound, sizeof verdict.bound);
    });
    py::dict d;
    d["inside"] = field(inside);
    d["state"] = state;
    d["bound"] = bound;
    return record(d);
}

// The conversions touch no record; the lock only keeps their shape of call.
std::mutex conversions;

py::array xyzabcToMatrix(py::handle xyzabc)
{
    return mapItems(rows(xyzabc, "xyzabc", {6}), {4, 4}, conversions,
                    [](const double* in, double* m) {
                        double v[6];
                        std::memcpy(v, in, sizeof v);
                        FX_XYZABC2Matrix4DEG(v, matrix(m));
                    });
}

py::array matrixToXyzabc(py::handle pose, bool degrees)
{
    return mapItems(rows(pose, "pose", {4, 4}), {6}, conversions,
                    [&](const double* in, double* v) {
                        double m[4][4];
                        std::memcpy(m, in, sizeof m);
                        FX_Matrix42XYZABCDEG(m, v);
                        for (int k = 3; degrees && k < 6; ++k)
                            v[k] *= FX_RAD2DEG;
                    });
}

}  // namespace

void bindPilotArm(py::module_& m)
{
    m.def("xyzabc_to_matrix", &xyzabcToMatrix, py::arg("xyzabc"),
          "Pose matrix (4, 4) of x, y, z and A, B, C in degrees, R = Rz(C) Ry(B) Rx(A); "
          "(N, 6) gives (N, 4, 4).");
    m.def("matrix_to_xyzabc", &matrixToXyzabc, py::arg("pose"), py::arg("degrees") = true,
          "x, y, z, A, B, C of a pose matrix (4, 4) or of (N, 4, 4). A, B, C in degrees, or "
          "in radians (as the library returns them) with degrees=False.");

    py::class_<PilotArm> arm(m, "PilotArm",
                             "The arm of a model parameter file (type 1007 or 1017): joints in "
                             "degrees, poses in millimetres. Each object owns its model records.");
    arm.def(py::init(&loadArm), py::arg("model_file"),
            "Loads the first model block of the file. OSError when it cannot be opened, "
            "ValueError when it holds no valid block.")
        .def_property_readonly("variant", [](const PilotArm& a) { return a.pilot.variant; },
                               "0: Z-Y-Z wrist (type 1007), 1: Z-Y-X wrist (type 1017).")
        .def_property_readonly(
            "joint_min", [](const PilotArm& a) { return Array(7, a.lmt.JointMin); },
            "Lower joint limits, degrees.")
        .def_property_readonly(
            "joint_max", [](const PilotArm& a) { return Array(7, a.lmt.JointMax); },
            "Upper joint limits, degrees.")
        .def("fk", &fk, py::arg("q"),
             "Tool pose (4, 4) in mm of seven joints in degrees; (N, 7) gives (N, 4, 4).")
        .def("jacobian", &jacobian, py::arg("q"),
             "Tool-centre Jacobian (6, 7): rows 0-2 in metres per radian, rows 3-5 the joint "
             "axes; (N, 7) gives (N, 6, 7).")
        .def("ik", &ik, py::arg("pose"), py::arg("ref"), py::arg("dir") = py::none(),
             "Joints for a tool pose (4, 4) in mm. ref (7,) in degrees: joint 4 picks the elbow "
             "branch, joints 1 and 2 the elbow plane (or give the plane by a base-frame "
             "direction dir (3,)). Returns a record with q (7,) (NaN unless ok), ok, "
             "out_of_reach (also set when no elbow branch matches ref), shoulder_singular, "
             "wrist_singular. Poses (N, 4, 4) and/or refs (N, 7) give arrays of N. The arm "
             "keeps the frames of the last solved pose for nsp.")
        .def("nsp", &nsp, py::arg("angle"), py::arg("ref"),
             "Re-solves the last pose of ik at arm angle `angle` (degrees), joints nearest "
             "ref; the record of ik. angle of shape (K,) gives arrays of K.")
        .def(
            "nsp_sweep",
            [](PilotArm& a, py::handle angles, py::handle ref) -> py::object {
                return nsp(a, angles, ref).attr("q");
            },
            py::arg("angles"), py::arg("ref"),
            "Joints (K, 7) of the last pose of ik at each of the K arm angles (degrees); NaN "
            "rows where the pose has no solution.")
        .def("limits", &limits, py::arg("q"),
             "Limit verdict of seven joints (degrees): inside, state (7,) per joint (INSIDE, "
             "BELOW_MIN, ABOVE_MAX, BEYOND_CORNER, NOT_A_NUMBER) and bound (2,), the joint-6/7 "
             "boundary point in the direction of (q6, q7). (N, 7) gives arrays of N.")
        .def_static("xyzabc_to_matrix", &xyzabcToMatrix, py::arg("xyzabc"),
                    "Same as the module function.")
        .def_static("matrix_to_xyzabc", &matrixToXyzabc, py::arg("pose"),
                    py::arg("degrees") = true, "Same as the module function.");

    m.attr("INSIDE") = static_cast<int>(PILOT_INSIDE);
    m.attr("BELOW_MIN") = static_cast<int>(PILOT_BELOW_MIN);
    m.attr("ABOVE_MAX") = static_cast<int>(PILOT_ABOVE_MAX);
    m.attr("BEYOND_CORNER") = static_cast<int>(PILOT_BEYOND_CORNER);
    m.attr("NOT_A_NUMBER") = static_cast<int>(PILOT_NOT_A_NUMBER);
}

}  // namespace tkpy
