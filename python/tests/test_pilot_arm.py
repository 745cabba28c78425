import ctypes
import os

import numpy as np
import pytest
import tolvexkine as tk

EXAMPLES = os.environ.get("TOLVEX_EXAMPLES_DIR", os.path.join(os.path.dirname(__file__), "../../examples"))
GEOMETRY = dict(d1=340.0, d3=400.0, a=20.0, d5=400.0, d7=126.0)  # both example model files
RNG = np.random.default_rng(7)


def rot(axis, deg):
    c, s = np.cos(np.radians(deg)), np.sin(np.radians(deg))
    m = {"x": [[1, 0, 0], [0, c, -s], [0, s, c]], "y": [[c, 0, s], [0, 1, 0], [-s, 0, c]],
         "z": [[c, -s, 0], [s, c, 0], [0, 0, 1]]}[axis]
    t = np.eye(4)
    t[:3, :3] = m
    return t


def frame(r, p=(0, 0, 0)):
    t = np.eye(4)
    t[:3, :3] = r[:3, :3]
    t[:3, 3] = p
    return t


def composed_fk(q, variant, d1, d3, a, d5, d7):
    x90, xm90 = rot("x", 90), rot("x", -90)
    last = xm90 if variant == 0 else frame(np.array([[0, 0, 1], [1, 0, 0], [0, 1, 0]]))
    fixed = [frame(np.eye(4), (0, 0, d1)), x90, xm90, frame(x90, (a, 0, d3)),
             frame(xm90, (-a, d5, 0)), x90, last]
    flange = frame(np.eye(4), (0, 0, d7)) if variant == 0 else \
        frame(np.array([[0, 0, 1], [0, -1, 0], [1, 0, 0]]), (d7, 0, 0))
    t = np.eye(4)
    for f, qi in zip(fixed, q):
        t = t @ f @ rot("z", qi)
    return t @ flange


@pytest.fixture(params=["model-1007.txt", "model-1017.txt"])
def arm(request):
    return tk.PilotArm(os.path.join(EXAMPLES, request.param))


def postures(arm, n):
    lo, hi = arm.joint_min * 0.6, arm.joint_max * 0.6
    q = RNG.uniform(lo, hi, (n, 7))
    q[:, 3] = RNG.uniform(20, 100, n) * RNG.choice([-1, 1], n)  # away from the straight elbow
    # away from the wrist singularity; the Z-Y-Z wrist always answers with q6 > 0
    q[:, 5] = RNG.uniform(15, 60, n) * (RNG.choice([-1, 1], n) if arm.variant else 1)
    return q


def test_fk_matches_composed_frames_and_batch_matches_single(arm):
    q = postures(arm, 20)
    poses = arm.fk(q)
    assert poses.shape == (20, 4, 4)
    jacobians = arm.jacobian(q)
    for qi, pose, jac in zip(q, poses, jacobians):
        np.testing.assert_allclose(pose, composed_fk(qi, arm.variant, **GEOMETRY), atol=1e-9)
        assert np.array_equal(arm.fk(list(qi)), pose) and np.array_equal(arm.jacobian(qi), jac)


def test_jacobian_against_finite_differences(arm):
    q = postures(arm, 1)[0]
    J, h = arm.jacobian(q), 1e-6
    for i in range(7):
        dq = np.zeros(7)
        dq[i] = h
        dp = (arm.fk(q + dq)[:3, 3] - arm.fk(q - dq)[:3, 3]) / (2 * np.radians(h)) * 0.001
        np.testing.assert_allclose(J[:3, i], dp, atol=1e-6)


def test_ik_round_trip_batch_and_nsp(arm):
    q = postures(arm, 30)
    poses = arm.fk(q)
    batch = arm.ik(poses, q)
    assert batch.ok.all() and not batch.out_of_reach.any()
    np.testing.assert_allclose(batch.q, q, atol=1e-6)
    single = arm.ik(poses[-1], q[-1])
    assert single.ok is True and np.array_equal(single.q, batch.q[-1])
    sweep = arm.nsp_sweep(np.linspace(-40, 40, 9), q[-1])
    assert sweep.shape == (9, 7)
    np.testing.assert_allclose(arm.fk(sweep), np.broadcast_to(poses[-1], (9, 4, 4)), atol=1e-6)
    assert np.array_equal(arm.nsp(0.0, q[-1]).q, single.q)


def test_unreachable_pose_and_nsp_before_any_ik(arm):
    with pytest.raises(ValueError, match="ik first"):
        arm.nsp(0.0, np.zeros(7))
    far = tk.xyzabc_to_matrix([5000, 0, 0, 0, 0, 0])
    r = arm.ik(far, [0, 0, 0, 60, 0, 30, 0])
    assert not r.ok and r.out_of_reach and np.isnan(r.q).all()


def test_limits_verdicts(arm):
    q = np.zeros(7)
    below, nan = q.copy(), q.copy()
    below[0] = arm.joint_min[0] - 1
    nan[2] = np.nan
    v = arm.limits(np.array([q, below, nan]))
    assert list(v.inside) == [True, False, False]
    assert v.state[1, 0] == tk.BELOW_MIN and v.state[2, 2] == tk.NOT_A_NUMBER
    assert v.bound.shape == (3, 2)


def test_pose_conversions_round_trip():
    xyzabc = np.array([[100, -50, 700, 10, -20, 30], [0, 0, 0, 170, 5, -120]], float)
    np.testing.assert_allclose(tk.matrix_to_xyzabc(tk.xyzabc_to_matrix(xyzabc)), xyzabc, atol=1e-9)
    m = tk.xyzabc_to_matrix(xyzabc[0])
    np.testing.assert_allclose(m[:3, :3], (rot("z", 30) @ rot("y", -20) @ rot("x", 10))[:3, :3], atol=1e-12)
    np.testing.assert_allclose(tk.matrix_to_xyzabc(m, degrees=False)[3:], np.radians(xyzabc[0, 3:]))


def test_results_equal_the_c_entry_points():
    lib = ctypes.CDLL(os.environ.get("TOLVEX_LIBRARY", "libtolvexkine.so"))
    path = os.path.join(EXAMPLES, "model-1017.txt")
    assert lib.OnInitKine_TOLVEXKINE(ctypes.c_long(0), path.encode()) == 1
    arm = tk.PilotArm(path)
    q = postures(arm, 5)
    for qi in q:
        pose = np.zeros((4, 4))
        lib.OnKine(np.ascontiguousarray(qi).ctypes.data_as(ctypes.c_void_p), pose.ctypes.data_as(ctypes.c_void_p))
        assert np.array_equal(pose, arm.fk(qi))


@pytest.mark.parametrize("call, error", [
    (lambda a: a.fk(np.zeros(6)), "shape \\(7,\\) or \\(N, 7\\)"),
    (lambda a: a.fk([0, 0, np.inf, 0, 0, 0, 0]), "finite"),
    (lambda a: a.ik(np.eye(4), [1e300] * 7), "within"),
    (lambda a: a.ik(np.zeros((2, 4, 4)), np.zeros((3, 7))), "same number of rows"),
    (lambda a: a.jacobian("seven"), "numbers"),
])
def test_bad_input_raises_value_error(arm, call, error):
    with pytest.raises(ValueError, match=error):
        call(arm)


def test_bad_model_files(tmp_path):
    with pytest.raises(FileNotFoundError):
        tk.PilotArm(str(tmp_path / "missing.txt"))
    (tmp_path / "bad.txt").write_text("1012\n")
    with pytest.raises(ValueError, match="type 1007 or 1017"):
        tk.PilotArm(str(tmp_path / "bad.txt"))
