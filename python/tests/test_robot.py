import configparser
import os

import numpy as np
import pytest
import tolvexkine as tk

INI = os.path.join(os.environ.get("TOLVEX_EXAMPLES_DIR", os.path.join(os.path.dirname(__file__), "../../examples")), "robot.ini")
RNG = np.random.default_rng(20)


def composed_fk(q):
    ini = configparser.ConfigParser(strict=False, interpolation=None)
    ini.optionxform = str
    ini.read(INI)
    t = np.eye(4)
    for i, qi in enumerate(q):
        link = ini[f"R.A0.L{i}.DH"]
        al, a, d = np.radians(float(link["Alpha"])), float(link["A"]) / 1000, float(link["D"]) / 1000
        th = qi + np.radians(float(link["Theta"]))
        ca, sa, c, s = np.cos(al), np.sin(al), np.cos(th), np.sin(th)
        t = t @ [[c, -s, 0, a], [s * ca, c * ca, -sa, -sa * d], [s * sa, c * sa, ca, ca * d], [0, 0, 0, 1]]
    flange = np.eye(4)
    flange[2, 3] = float(ini["R.A0.FLANGE"]["D"]) / 1000
    return t @ flange


@pytest.fixture
def robot():
    return tk.Robot(INI)


def test_kinematics_in_si(robot):
    q = RNG.uniform(-2, 2, (5, 7))
    poses = robot.fk(q)
    for qi, pose in zip(q, poses):
        np.testing.assert_allclose(pose, composed_fk(qi), atol=1e-12)
        assert np.array_equal(robot.fk(qi), pose)
    h = np.eye(7) * 1e-7
    dp = (robot.fk(q[0] + h) - robot.fk(q[0] - h))[:, :3, 3].T / 2e-7
    np.testing.assert_allclose(robot.jacobian(q)[0][:3], dp, atol=1e-6)
    assert robot.jacobian(q).shape == (5, 6, 7)
    lim = robot.limits
    assert lim.upper[0] == pytest.approx(np.radians(170)) and lim.effort[0] == 176 and lim.velocity.shape == (7,)


def test_dynamics_identities_and_mounting(robot):
    q, qd, qdd = RNG.uniform(-2, 2, (4, 7)), RNG.uniform(-1, 1, (4, 7)), RNG.uniform(-2, 2, (4, 7))
    M, C, g = robot.mass_matrix(q), robot.coriolis_matrix(q, qd), robot.gravity_torques(q)
    tau = robot.inverse_dynamics(q, qd, qdd)
    for k in range(4):
        assert np.array_equal(M[k], M[k].T) and np.all(np.linalg.eigvalsh(M[k]) > 0)
        np.testing.assert_allclose(tau[k], M[k] @ qdd[k] + C[k] @ qd[k] + g[k], atol=1e-9)
    upright = robot.gravity_torques(q[0])
    robot.set_gravity([0, 0, 9.81])  # hanging from the ceiling
    np.testing.assert_allclose(robot.gravity_torques(q[0]), -upright, atol=1e-12)
    robot.set_payload(2.0, [0, 0, 0.05], [0.01, 0, 0, 0.01, 0, 0.01])
    assert not np.allclose(robot.gravity_torques(q[0]), -upright)
    f = robot.friction([0.5, -0.5, 0, 0, 0, 0, 0])
    assert f[0] > 0 > f[1] and f[2] == 0


def test_robot_bad_input(robot, tmp_path):
    with pytest.raises(FileNotFoundError):
        tk.Robot(str(tmp_path / "none.ini"))
    (tmp_path / "r.ini").write_text("[R.A0.BASIC]\nDof=9\n")
    with pytest.raises(ValueError, match=r"\[R.A0.BASIC\] \"Dof\" is 9, 1 to 7 joints supported"):
        tk.Robot(str(tmp_path / "r.ini"))
    with pytest.raises(ValueError, match="q must be shape \\(7,\\)"):
        robot.fk(np.zeros(6))
    with pytest.raises(ValueError, match="qd must hold finite numbers"):
        robot.inverse_dynamics(np.zeros(7), np.full(7, np.nan), np.zeros(7))
    before = robot.gravity_torques(np.ones(7))
    with pytest.raises(ValueError, match="payload: inertia is not positive definite"):
        robot.set_payload(1.0, [0, 0, 0], [1, 0, 0, -1, 0, 1])
    assert np.array_equal(robot.gravity_torques(np.ones(7)), before)


def test_analytic_ik_in_the_robots_own_units(robot, tmp_path):
    assert robot.has_analytic_ik and robot.analytic_ik_reason == ""
    lim = robot.limits
    q = RNG.uniform(0.8 * lim.lower, 0.8 * lim.upper, (20, 7))
    q[:, 3] = RNG.uniform(0.3, 2.0, 20) * RNG.choice([-1, 1], 20)
    poses = robot.fk(q)
    r = robot.ik(poses, q)
    assert r.ok.all()
    np.testing.assert_allclose(robot.fk(r.q), poses, atol=1e-9)
    np.testing.assert_allclose(r.q, q, atol=1e-9)
    swung = robot.ik_at_arm_angle(0.3, q[-1])  # re-solves the last pose
    assert swung.ok and not np.allclose(swung.q, q[-1]) and robot.arm_angle(swung.q) == pytest.approx(0.3, abs=1e-12)
    np.testing.assert_allclose(robot.fk(swung.q), poses[-1], atol=1e-9)
    locked = robot.ik_locked7(poses[0], q[0])
    assert locked.ok
    np.testing.assert_allclose(locked.q, q[0], atol=1e-7)
    over = q[0].copy()
    over[1] = lim.upper[1] + 0.01
    v = robot.check_limits(over)
    assert not v.inside and list(v.state) == [0, 2, 0, 0, 0, 0, 0]
    m = robot.arm_angle_map(poses[0], q[0])
    assert m.ok and m.reference >= 0 and m.intervals.shape[1] == 2
    lo, hi = m.intervals[m.reference]
    assert (robot.arm_angle(q[0]) - lo) % (2 * np.pi) <= (hi - lo) % (2 * np.pi)
    # An arm whose wrist axes do not meet has no analytic IK, and says why.
    text = open(INI).read().replace("[R.A0.L6.DH]\nAlpha=-90\nA=0", "[R.A0.L6.DH]\nAlpha=-90\nA=88")
    (tmp_path / "offset.ini").write_text(text)
    other = tk.Robot(str(tmp_path / "offset.ini"))
    assert not other.has_analytic_ik and "joints 5-7 do not meet in a point" in other.analytic_ik_reason
    with pytest.raises(ValueError, match="the robot has no analytic IK: joints 5-7"):
        other.ik(poses[0], q[0])
    assert other.fk(q[0]).shape == (4, 4)


PENDULUM = """<robot name="pendulum">
  <link name="world"/>
  <link name="upper"><inertial><origin xyz="0.2 0 0"/><mass value="2"/><inertia ixx="0.001" iyy="0.03" izz="0.03" ixy="0" ixz="0" iyz="0"/></inertial></link>
  <link name="lower"><inertial><origin xyz="0.15 0 0"/><mass value="1"/><inertia ixx="0.001" iyy="0.01" izz="0.01" ixy="0" ixz="0" iyz="0"/></inertial></link>
  {tip}
  <joint name="shoulder" type="revolute"><parent link="world"/><child link="upper"/><axis xyz="0 -1 0"/>
    <limit lower="-3" upper="3" effort="50" velocity="2"/><dynamics damping="0.5" friction="1.5"/></joint>
  <joint name="elbow" type="continuous"><parent link="upper"/><child link="lower"/><origin xyz="0.4 0 0" rpy="0 0 0"/><axis xyz="0 -1 0"/></joint>
  {more}
</robot>"""


def test_from_urdf_a_double_pendulum(tmp_path):
    (tmp_path / "p.urdf").write_text(PENDULUM.format(tip="", more=""))
    r = tk.Robot.from_urdf(str(tmp_path / "p.urdf"))
    assert r.dof == 2 and not r.has_analytic_ik and "7 joints" in r.analytic_ik_reason
    for q1, q2 in RNG.uniform(-2, 2, (5, 2)):
        # Both links swing in the x-z plane (about -y): arm angles measured up from +x.
        a1, a12 = q1, q1 + q2
        tip = [0.4 * np.cos(a1) + 0.15 * np.cos(a12), 0.4 * np.sin(a1) + 0.15 * np.sin(a12)]
        np.testing.assert_allclose(r.fk([q1, q2])[[0, 2], 3], [0.4 * np.cos(a1), 0.4 * np.sin(a1)], atol=1e-12)
        g2 = 1 * 9.81 * 0.15 * np.cos(a12)
        g1 = 2 * 9.81 * 0.2 * np.cos(a1) + 1 * 9.81 * tip[0]
        np.testing.assert_allclose(r.gravity_torques([q1, q2]), [g1, g2], atol=1e-12)
    np.testing.assert_allclose(r.friction([1.0, 0.0]), [1.5 + 0.5, 0.0])
    assert r.limits.upper[0] == 3 and r.limits.velocity[0] == 2
    # A hand with two fingers: the tip must be named, and the error lists the candidates.
    fingers = ('<link name="f1"/><link name="f2"/>'
               '<joint name="j1" type="revolute"><parent link="lower"/><child link="f1"/><limit lower="0" upper="1" effort="1" velocity="1"/></joint>'
               '<joint name="j2" type="revolute"><parent link="lower"/><child link="f2"/><limit lower="0" upper="1" effort="1" velocity="1"/></joint>')
    (tmp_path / "h.urdf").write_text(PENDULUM.format(tip="", more=fingers))
    with pytest.raises(ValueError, match="f1.*f2"):
        tk.Robot.from_urdf(str(tmp_path / "h.urdf"))
    assert tk.Robot.from_urdf(str(tmp_path / "h.urdf"), tip="f2").dof == 3
    (tmp_path / "s.urdf").write_text(PENDULUM.format(tip="", more="").replace('name="elbow" type="continuous"', 'name="elbow" type="prismatic"'))
    with pytest.raises(ValueError, match="elbow"):
        tk.Robot.from_urdf(str(tmp_path / "s.urdf"))


def test_cartesian_moves_on_the_robot(robot):
    q0 = np.radians([10, -30, -20, -60, 15, -40, -25])
    start = robot.fk(q0)
    target = start.copy()
    target[:3, 3] += [0.1, 0.05, -0.08]
    turn = np.radians(20)
    target[:3, :3] = start[:3, :3] @ [[np.cos(turn), -np.sin(turn), 0], [np.sin(turn), np.cos(turn), 0], [0, 0, 1]]
    m = robot.line(q0, target, speed=0.2, acc=1.0, jerk=10.0)
    assert m.ok and m.reason == "" and m.duration == pytest.approx(m.t[-1]) and np.array_equal(m.q[0], q0)
    poses = robot.fk(m.q)
    np.testing.assert_allclose(poses, m.pose, atol=1e-12)
    a, d = start[:3, 3], target[:3, 3] - start[:3, 3]
    off = np.linalg.norm(np.cross(poses[:, :3, 3] - a, d), axis=1) / np.linalg.norm(d)
    assert off.max() < 1e-9 and np.allclose(poses[-1], target, atol=1e-9)
    # The orientation turns about one fixed axis at the rate the position advances along the line.
    frac = (poses[:, :3, 3] - a) @ d / (d @ d)
    R = np.transpose(start[:3, :3]) @ poses[:, :3, :3]
    skew = np.stack([R[:, 2, 1] - R[:, 1, 2], R[:, 0, 2] - R[:, 2, 0], R[:, 1, 0] - R[:, 0, 1]], axis=1)
    angle = np.arctan2(np.linalg.norm(skew, axis=1) / 2, (np.trace(R, axis1=1, axis2=2) - 1) / 2)
    np.testing.assert_allclose(angle, frac * turn, atol=1e-9)
    assert np.ptp(robot.arm_angle(m.q)) < 1e-9 * np.pi / 180 and np.ptp(m.arm_angle) == 0
    lim = robot.limits
    assert np.all(np.abs(m.qd) <= lim.velocity * (1 + 1e-9)) and np.all(np.abs(m.qdd) <= lim.acceleration * (1 + 1e-6))
    assert np.all((m.q >= lim.lower) & (m.q <= lim.upper))
    s, rows = m.stepper(), []
    while (q := s.step()) is not None:
        rows.append(q)
    assert np.array_equal(np.array(rows), m.q)
    # Forward and back: the first round trip settles the arm angle's rounding, then nothing drifts.
    q, ends = q0, []
    for _ in range(100):
        q = robot.line(robot.line(q, target).q[-1], start).q[-1]
        ends.append(q)
    assert all(np.array_equal(ends[0], e) for e in ends) and np.abs(ends[0] - q0).max() < 1e-10
    arc = robot.arc(q0, (start[:3, 3] + target[:3, 3]) / 2 + [0, 0.03, 0], target, elbow="auto")
    assert arc.ok, arc.reason
    far = robot.fk(np.radians([10, -30, -20, -60, 15, -40, 169]))
    refused = robot.line(q0, far)
    assert not refused.ok and refused.reason.startswith("joint 7 leaves its range at ") and len(refused.t) == 0
    assert not robot.line(q0, start).ok and not robot.line(q0, target, speed=-1).ok
    assert not robot.arc(q0, (start[:3, 3] + target[:3, 3]) / 2, target).ok
    with pytest.raises(ValueError, match="target must hold finite numbers"):
        robot.line(q0, np.full((4, 4), np.nan))
    with pytest.raises(ValueError, match="elbow must be"):
        robot.line(q0, target, elbow="sideways")
