// Robot: the robot.ini route with its own configuration, INI document, link
// chain and locked-joint IK model; dynamics and locked-joint inverse kinematics.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "config/CUT.h"
#include "dynamics/FxCoriolis.h"
#include "dynamics/FxImpedance.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "ik7/IKSpan.h"
#include "interface/RobotIniRoute.h"
#include "python/Bindings.h"
#include "python/PyArrays.h"

namespace tkpy {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Robot {
    CfgConfig cfg{};
    IniParser ini;  // holds the loaded keys bound into cfg
    FX_Pilot rob{};
    IK_Poilt7 ik{};
    double last_pose[4][4] = {};  // the flange pose of the last ik7 or ik_ref7
    bool has_pose = false;
    std::mutex busy;
};

std::unique_ptr<Robot> loadRobot(const std::string& robot_ini)
{
    std::fclose(openOrRaise(robot_ini));
    auto robot = std::make_unique<Robot>();
    std::string path = robot_ini;
    if (!CUT::LoadRobotIniThrough(&path[0], &robot->cfg, &robot->ini))
        throw py::value_error("robot.ini '" + robot_ini +
                              "' did not load (the loader's line above says why)");
    const int links = robot->cfg.Arm[0].Dof;
    if (links != 7 || !FX_InitKineFromCfg(&robot->cfg, &robot->rob, &robot->ik))
        throw py::value_error("robot.ini '" + robot_ini + "': arm 0 has " +
                              std::to_string(links) + " links (\"Dof\"), 7 needed");
    return robot;
}

// The dynamics keep the transforms of the first posture they see unless told otherwise.
void atPosture(FX_Pilot* rob)
{
    rob->kin_cached = 0;
}

py::array fk(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", {7}), {4, 4}, r.busy, [&](const double* in, double* pose) {
        double qi[7];
        std::memcpy(qi, in, sizeof qi);
        FX_KINE(&r.rob, qi, reinterpret_cast<double (*)[4]>(pose));
    });
}

void setLink(Robot& r, long i, double mass, py::handle com, py::handle inertia,
             double rotor_inertia)
{
    if (i < 0 || i > 6)
        throw py::value_error("i must be a link index from 0 to 6");
    finite(mass, "mass");
    finite(rotor_inertia, "rotor_inertia");
    Rows c = finiteRows(com, "com", {3}, false);
    Rows in = finiteRows(inertia, "inertia", {6}, false);
    double cv[3], iv[6];
    std::memcpy(cv, c.at(0), sizeof cv);
    std::memcpy(iv, in.at(0), sizeof iv);
    std::lock_guard<std::mutex> hold(r.busy);
    const FX_Link& link = r.rob.links[i];
    FX_SetLink(&r.rob, i, link.alpha, link.a, link.d, link.theta, mass, cv, iv, rotor_inertia);
    r.rob.dyn_ready = 0;  // the dynamics rebuild the parameter sums with the new link
}

void setTool(Robot& r, py::handle pose, double mass, py::handle com, py::handle inertia)
{
    Rows p = finiteRows(pose, "pose", {6}, false), c = finiteRows(com, "com", {3}, false);
    Rows in = finiteRows(inertia, "inertia", {6}, false);
    finite(mass, "mass");
    double pv[6], cv[3], iv[6];
    std::memcpy(pv, p.at(0), sizeof pv);
    std::memcpy(cv, c.at(0), sizeof cv);
    std::memcpy(iv, in.at(0), sizeof iv);
    std::lock_guard<std::mutex> hold(r.busy);
    FX_SetTool(&r.rob, pv, mass, cv, iv);
}

py::array inverseDynamics(Robot& r, py::handle q, py::handle qd, py::handle qdd,
                          py::handle gravity, py::handle wrench)
{
    Rows pos = finiteRows(q, "q", {7}), vel = finiteRows(qd, "qd", {7});
    Rows accel = finiteRows(qdd, "qdd", {7});
    Rows g = finiteRows(gravity, "gravity", {3}, false);
    const double none[6] = {0, 0, 0, 0, 0, 0};
    Rows w = finiteRows(
        wrench.is_none() ? Array(6, none) : py::reinterpret_borrow<py::object>(wrench), "wrench",
        {6});
    Batch b = batchOf({&pos, &vel, &accel, &w}, "q, qd, qdd and wrench");
    Array out = output(b, {7});
    double* o = out.mutable_data();
    forEachItem(r.busy, b.count, [&](long i) {
        double qi[7], qdi[7], qddi[7], gi[3], wi[6];
        std::memcpy(qi, pos.at(i), sizeof qi);
        std::memcpy(qdi, vel.at(i), sizeof qdi);
        std::memcpy(qddi, accel.at(i), sizeof qddi);
        std::memcpy(gi, g.at(0), sizeof gi);
        std::memcpy(wi, w.at(i), sizeof wi);
        atPosture(&r.rob);
        FX_InvDyn(&r.rob, qi, qdi, qddi, gi, wi, o + 7 * i);
    });
    return out;
}

py::array massMatrix(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", {7}), {7, 7}, r.busy, [&](const double* in, double* M) {
        double qi[7], e[7] = {0, 0, 0, 0, 0, 0, 0};
        std::memcpy(qi, in, sizeof qi);
        atPosture(&r.rob);
        FX_CalMmat(&r.rob, qi, e, reinterpret_cast<double (*)[7]>(M));
    });
}

py::array coriolisMatrix(Robot& r, py::handle q, py::handle qd)
{
    Rows pos = finiteRows(q, "q", {7}), vel = finiteRows(qd, "qd", {7});
    Batch b = batchOf({&pos, &vel}, "q and qd");
    Array out = output(b, {7, 7});
    double* o = out.mutable_data();
    // The posture coefficients go through the library's one global scratch: keep the GIL.
    std::lock_guard<std::mutex> hold(r.busy);
    for (long i = 0; i < b.count; ++i) {
        double qi[7], qdi[7], D[7][7], S[7][7];
        std::memcpy(qi, pos.at(i), sizeof qi);
        std::memcpy(qdi, vel.at(i), sizeof qdi);
        FX_CM_YTC_BUF coefficients;
        atPosture(&r.rob);
        FX_CalCmatDPT_Q(&r.rob, qi, &coefficients);
        FX_CalCmat_DPT_QD(&coefficients, qdi, D, S, reinterpret_cast<double (*)[7]>(o + 49 * i));
    }
    return out;
}

py::array impedanceJacobian(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", {7}), {6, 7}, r.busy, [&](const double* in, double* J) {
        Impd_Process_Data d{};
        std::memcpy(d.q, in, sizeof d.q);
        FX_Impd_Process_Jacob(&d, &r.rob);
        std::memcpy(J, d.J, sizeof d.J);
    });
}

void remember(Robot& r, const double* pose)
{
    std::memcpy(r.last_pose, pose, sizeof r.last_pose);
    r.has_pose = true;
}

py::object ik7(Robot& r, py::handle pose, double q7)
{
    Rows p = finiteRows(pose, "pose", {4, 4}, false);
    finite(q7, "q7", kMaxTurningAngle);
    Array q(Shape{8, 7});
    py::array_t<bool> valid(8), degenerate(8);
    long count = 0;
    double sol[8][8];
    unsigned char unused[8];
    bool ok;
    {
        py::gil_scoped_release nogil;
        std::lock_guard<std::mutex> hold(r.busy);
        remember(r, p.at(0));
        ok = FX_IKLock7_ALL(&r.ik, q7, r.last_pose, &count, sol, unused) != 0;
    }
    for (long row = 0; row < 8; ++row) {
        const bool filled = ok && row < count;
        const bool good = filled && std::all_of(sol[row], sol[row] + 7,
                                                [](double v) { return std::isfinite(v); });
        for (int j = 0; j < 7; ++j)
            q.mutable_at(row, j) = good ? sol[row][j] : kNaN;
        valid.mutable_at(row) = good;
        degenerate.mutable_at(row) = good && sol[row][7] != 0.0;
    }
    py::dict d;
    d["q"] = q;
    d["valid"] = valid;
    d["shoulder_degenerate"] = degenerate;
    d["ok"] = ok;
    return record(d);
}

py::object ikRef7(Robot& r, py::handle pose, py::handle ref, py::object q7)
{
    Rows poses = finiteRows(pose, "pose", {4, 4});
    Rows refs = finiteRows(ref, "ref", {7}, true, kMaxTurningAngle);
    const bool held = !q7.is_none();
    const double q7v = held ? finite(py::float_(q7).cast<double>(), "q7", kMaxTurningAngle) : 0.0;
    Batch b = batchOf({&poses, &refs}, "pose and ref");
    Array q = output(b, {7});
    py::array_t<bool> ok = flags(b), degenerate = flags(b);
    double* qo = q.mutable_data();
    bool* oko = ok.mutable_data();
    bool* dego = degenerate.mutable_data();
    forEachItem(r.busy, b.count, [&](long i) {
        double ri[7], out[8];
        std::memcpy(ri, refs.at(i), sizeof ri);
        remember(r, poses.at(i));
        oko[i] = FX_IKRef7(&r.ik, held ? q7v : ri[6], ri, r.last_pose, out) != 0;
        dego[i] = oko[i] && out[7] != 0.0;
        for (int j = 0; j < 7; ++j)
            qo[7 * i + j] = oko[i] ? out[j] : kNaN;
    });
    py::dict d;
    d["q"] = q;
    d["ok"] = field(ok);
    d["shoulder_degenerate"] = field(degenerate);
    return record(d);
}

py::object span(Robot& r, py::handle ref, double step, py::handle pose)
{
    Rows refs = finiteRows(ref, "ref", {7}, false, kMaxTurningAngle);
    finite(step, "step", kMaxTurningAngle);
    const bool given = !pose.is_none();
    Rows p = finiteRows(given ? py::reinterpret_borrow<py::object>(pose)
                              : Array(Shape{4, 4}, &r.last_pose[0][0]),
                        "pose", {4, 4}, false);
    if (!given && !r.has_pose)
        throw py::value_error("span needs a pose: pass pose= or solve one with ik7 or ik_ref7");
    Array centre(7), plus(7), minus(7);
    double ri[7], q0[8], dqPos[7], dqNeg[7];
    unsigned char okPos = 0, okNeg = 0;
    std::memcpy(ri, refs.at(0), sizeof ri);
    // Nothing is written for a centre or a side that does not solve.
    std::fill(q0, q0 + 8, kNaN);
    bool ok;
    {
        py::gil_scoped_release nogil;
        std::lock_guard<std::mutex> hold(r.busy);
        remember(r, p.at(0));
        ok = FX_CALWSpan2(&r.ik, step, ri, r.last_pose, q0, dqPos, dqNeg, &okPos, &okNeg) != 0;
    }
    for (int j = 0; j < 7; ++j) {
        centre.mutable_at(j) = q0[j];
        plus.mutable_at(j) = okPos ? dqPos[j] : kNaN;
        minus.mutable_at(j) = okNeg ? dqNeg[j] : kNaN;
    }
    py::dict d;
    d["ok"] = ok;
    d["q"] = centre;
    d["dq_plus"] = plus;
    d["dq_minus"] = minus;
    d["ok_plus"] = okPos != 0;
    d["ok_minus"] = okNeg != 0;
    return record(d);
}

}  // namespace

void bindRobot(py::module_& m)
{
    py::class_<Robot>(m, "Robot",
                      "The seven-joint link chain of a robot.ini (radians, metres, kilograms) "
                      "and its locked-joint inverse kinematics (degrees, millimetres). Each "
                      "object owns its configuration, INI document, chain and IK model.")
        .def(py::init(&loadRobot), py::arg("robot_ini"),
             "Loads robot.ini and builds the chain from arm 0 without link dynamics or tool. "
             "OSError when it cannot be opened, ValueError when it does not load (a present "
             "section lacking a key) or arm 0 does not have 7 links.")
        .def("fk", &fk, py::arg("q"),
             "Tool pose (4, 4) in metres of seven joints in radians; (N, 7) gives (N, 4, 4).")
        .def("set_link", &setLink, py::arg("i"), py::arg("mass"), py::arg("com"),
             py::arg("inertia"), py::arg("rotor_inertia") = 0.0,
             "Dynamic parameters of link i (0-6) as the dynamics take them: com (3,) the first "
             "moment in the link frame (kg*m), inertia (6,) xx, xy, xz, yy, yz, zz about the "
             "link frame origin (kg*m^2), rotor_inertia (kg*m^2, mass-matrix diagonal only). "
             "The mass itself enters no result.")
        .def("set_tool", &setTool, py::arg("pose"), py::arg("mass"), py::arg("com"),
             py::arg("inertia"),
             "Tool on the flange: pose (6,) x, y, z in mm and A, B, C in degrees; mass (kg), "
             "com (3,) first moment, inertia (6,), lumped into the links as the library does.")
        .def(
            "remove_tool",
            [](Robot& r) {
                std::lock_guard<std::mutex> hold(r.busy);
                FX_RemoveTool(&r.rob);
            },
            "Takes the tool off.")
        .def("inverse_dynamics", &inverseDynamics, py::arg("q"), py::arg("qd"), py::arg("qdd"),
             py::arg("gravity") = py::make_tuple(0.0, -9.81, 0.0),
             py::arg("wrench") = py::none(),
             "Joint torques (7,) in N*m for q, qd, qdd (rad, rad/s, rad/s^2). Only gravity[1] "
             "acts (the base accelerates by (0, -gravity[1], 0)); wrench (6,) is force and "
             "moment exerted by the tool, in the tool frame. N rows of q, qd, qdd, wrench give "
             "(N, 7). No rotor-inertia term.")
        .def("mass_matrix", &massMatrix, py::arg("q"),
             "Mass matrix (7, 7) in kg*m^2, rotor inertias on the diagonal; (N, 7) gives "
             "(N, 7, 7).")
        .def("coriolis_matrix", &coriolisMatrix, py::arg("q"), py::arg("qd"),
             "Coriolis matrix C (7, 7) with C @ qd the velocity-product torques; N rows give "
             "(N, 7, 7). Runs with the GIL held (the library shares one scratch record).")
        .def("impedance_jacobian", &impedanceJacobian, py::arg("q"),
             "Geometric Jacobian (6, 7) of the flange origin (a tool does not enter it): rows "
             "0-2 m/s per rad/s, rows 3-5 rad/s, base frame; (N, 7) gives (N, 6, 7).")
        .def("ik7", &ik7, py::arg("pose"), py::arg("q7"),
             "All solutions for a flange pose (4, 4) in mm with joint 7 held at q7 degrees: "
             "q (8, 7) in degrees with valid (8,) marking the rows solved (NaN elsewhere), "
             "shoulder_degenerate (8,) and ok.")
        .def("ik_ref7", &ikRef7, py::arg("pose"), py::arg("ref"), py::arg("q7") = py::none(),
             "The solution nearest ref (7,) degrees with joint 7 held at q7 (default ref[6]): "
             "q (7,) in (-180, 180] (NaN unless ok), ok, shoulder_degenerate. N poses and/or "
             "refs give arrays of N.")
        .def("span", &span, py::arg("ref"), py::arg("step"), py::arg("pose") = py::none(),
             "How the joints move when joint 7 moves by +-step degrees from ref[6] while the "
             "flange holds `pose` (default: the last pose of ik7 or ik_ref7): q the centre "
             "solution, dq_plus and dq_minus the joint differences (NaN for a side that does "
             "not solve), ok_plus, ok_minus, ok (the centre and a side solved).");
}

}  // namespace tkpy
