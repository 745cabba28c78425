import configparser
import os

import numpy as np
import pytest
import tolvexkine as tk

INI = os.path.join(os.environ.get("TOLVEX_EXAMPLES_DIR", os.path.join(os.path.dirname(__file__), "../../examples")), "robot.ini")
RNG = np.random.default_rng(11)
NO_G = (0.0, 0.0, 0.0)

def composed_fk(q):
    ini = configparser.ConfigParser(strict=False, interpolation=None)
    ini.optionxform = str
    ini.read(INI)
    t = np.eye(4)
    for i, qi in enumerate(q):
        link = ini[f"R.A0.L{i}.DH"]
        al, a, d = np.radians(float(link["Alpha"])), float(link["A"]) / 1000, float(link["D"]) / 1000
        ca, sa, c, s = np.cos(al), np.sin(al), np.cos(qi), np.sin(qi)
        t = t @ [[c, -s, 0, a], [s * ca, c * ca, -sa, -sa * d], [s * sa, c * sa, ca, ca * d], [0, 0, 0, 1]]
    flange = np.eye(4)
    flange[2, 3] = float(ini["R.A0.FLANGE"]["D"]) / 1000
    return t @ flange

@pytest.fixture
def robot():
    r = tk.Robot(INI)
    for i in range(7):
        r.set_link(i, mass=1.0, com=RNG.uniform(-0.2, 0.2, 3), inertia=[0.3, 0.01, 0.02, 0.25, 0.01, 0.2])
    return r

def postures(n):
    q = RNG.uniform(-1.5, 1.5, (n, 7))
    q[:, 3], q[:, 5] = RNG.uniform(0.4, 1.6, n) * RNG.choice([-1, 1], n), RNG.uniform(0.3, 1.2, n) * RNG.choice([-1, 1], n)
    return q

def test_fk_and_impedance_jacobian(robot):
    q = postures(5)
    for qi, pose in zip(q, robot.fk(q)):
        np.testing.assert_allclose(pose, composed_fk(qi), atol=1e-12)
        assert np.array_equal(robot.fk(qi), pose)
    h = np.eye(7) * 1e-7
    dp = (robot.fk(q[0] + h) - robot.fk(q[0] - h))[:, :3, 3].T / 2e-7
    np.testing.assert_allclose(robot.impedance_jacobian(q)[0][:3], dp, atol=1e-6)

def test_dynamics_identities(robot):
    q, qd, qdd = postures(4), RNG.uniform(-1, 1, (4, 7)), RNG.uniform(-2, 2, (4, 7))
    M, C = robot.mass_matrix(q), robot.coriolis_matrix(q, qd)
    tau = robot.inverse_dynamics(q, qd, qdd, gravity=NO_G)
    for k in range(4):
        assert np.array_equal(M[k], M[k].T) and np.all(np.linalg.eigvalsh(M[k]) > 0)
        np.testing.assert_allclose(robot.inverse_dynamics(q[k], 0 * qd[k], qdd[k], gravity=NO_G), M[k] @ qdd[k], atol=1e-9)
        np.testing.assert_allclose(robot.inverse_dynamics(q[k], qd[k], 0 * qdd[k], gravity=NO_G), C[k] @ qd[k], atol=1e-9)
        assert np.array_equal(robot.inverse_dynamics(q[k], qd[k], qdd[k], gravity=NO_G), tau[k])
    z = np.zeros(7)  # gravity acts along base y only
    assert not robot.inverse_dynamics(q[0], z, z, gravity=(9.81, 0, 9.81)).any()
    assert robot.inverse_dynamics(q[0], z, z).any()
    robot.set_link(2, mass=1.0, com=z[:3], inertia=z[:6], rotor_inertia=0.0)
    M0 = robot.mass_matrix(q[0])
    robot.set_link(2, mass=1.0, com=z[:3], inertia=z[:6], rotor_inertia=0.5)
    raised = robot.mass_matrix(q[0]) - M0
    assert raised[2, 2] == pytest.approx(0.5, abs=1e-12) and np.count_nonzero(raised) == 1

def test_locked_joint_ik_round_trips(robot):
    q = np.degrees(postures(1)[0])
    pose = robot.fk(np.radians(q))
    pose[:3, 3] *= 1000
    every = robot.ik7(pose, q[6])
    assert every.ok and every.valid.any() and every.q.shape == (8, 7)
    for row in every.q[every.valid]:
        np.testing.assert_allclose(robot.fk(np.radians(row))[:3], pose[:3] * [1, 1, 1, 1e-3], atol=1e-9)
    best = robot.ik_ref7(pose, q)
    np.testing.assert_allclose(best.q, q, atol=1e-6)
    assert best.ok and np.array_equal(robot.ik_ref7(pose[None], q[None]).q[0], best.q)
    still = robot.span(q, 0.0)
    assert still.ok and not still.dq_plus.any() and not still.dq_minus.any()

def test_robot_bad_input(robot, tmp_path):
    with pytest.raises(FileNotFoundError):
        tk.Robot(str(tmp_path / "none.ini"))
    (tmp_path / "r.ini").write_text("[R.A0.BASIC]\nDof=7\n")
    with pytest.raises(ValueError, match="did not load"):
        tk.Robot(str(tmp_path / "r.ini"))
    with pytest.raises(ValueError, match="0 to 6"):
        robot.set_link(7, 1.0, [0, 0, 0], np.zeros(6))
    with pytest.raises(ValueError, match="q7 must lie within"):
        robot.ik7(np.eye(4), 1e300)

def test_profile_matches_stepping_and_respects_limits():
    targets, vmax, jerk = np.array([100.0, -40.0, 5.0]), 200.0, [20000.0, 50000.0, 1e5]
    positions = tk.profile(1.0, vmax, 1000.0, jerk, targets, 2000)
    p = tk.Profile(1.0, vmax, 1000.0, jerk)
    assert np.array_equal(positions, [p.step(np.zeros(3))] + [p.step(targets) for _ in range(1999)])
    assert not positions[0].any() and np.allclose(positions[-1], targets, atol=1e-9)
    assert np.all(np.abs(np.diff(positions, axis=0)) <= vmax * 1e-3 + 1e-9)
    with pytest.raises(ValueError, match="rejected"):
        tk.profile(1.0, 0.0, 1.0, 1.0, [1.0], 10)

def test_moving_average():
    f, g, h = tk.MovingAverage(4), tk.MovingAverage(3), tk.MovingAverage(3)
    assert f.filter(2.0) == 2.0 and [f.filter(6.0) for _ in range(4)] == [3.0, 4.0, 5.0, 6.0]
    x = RNG.normal(size=(10, 2))
    assert np.array_equal(g.filter(x), [h.filter(row) for row in x])
    with pytest.raises(ValueError, match="2 channels"):
        g.filter([1.0, 2.0, 3.0])
    with pytest.raises(ValueError, match="1 to 100"):
        tk.MovingAverage(101)
