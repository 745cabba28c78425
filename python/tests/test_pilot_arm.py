import ctypes
import os

import numpy as np
import pytest
import tolvexkine as tk

EXAMPLES = os.environ.get("TOLVEX_EXAMPLES_DIR", os.path.join(os.path.dirname(__file__), "../../examples"))
D1, D3, A, D5, D7 = 340.0, 400.0, 20.0, 400.0, 126.0  # both example model files
RNG = np.random.default_rng(7)

def rot(axis, deg, p=(0, 0, 0)):
    c, s = np.cos(np.radians(deg)), np.sin(np.radians(deg))
    t = np.eye(4)
    t[:3, :3] = {"x": [[1, 0, 0], [0, c, -s], [0, s, c]], "y": [[c, 0, s], [0, 1, 0], [-s, 0, c]],
                 "z": [[c, -s, 0], [s, c, 0], [0, 0, 1]]}[axis]
    t[:3, 3] = p
    return t

def composed_fk(q, variant):
    last = rot("x", -90) if variant == 0 else rot("z", 90) @ rot("x", 90)
    fixed = [rot("x", 0, (0, 0, D1)), rot("x", 90), rot("x", -90), rot("x", 90, (A, 0, D3)),
             rot("x", -90, (-A, D5, 0)), rot("x", 90), last]
    flange = rot("x", 0, (0, 0, D7)) if variant == 0 else rot("y", 90, (D7, 0, 0)) @ rot("z", 180)
    t = np.eye(4)
    for f, qi in zip(fixed, q):
        t = t @ f @ rot("z", qi)
    return t @ flange

@pytest.fixture(params=["model-1007.txt", "model-1017.txt"])
def arm(request):
    return tk.PilotArm(os.path.join(EXAMPLES, request.param))

def postures(arm, n):
    q = RNG.uniform(arm.joint_min * 0.6, arm.joint_max * 0.6, (n, 7))
    q[:, 3] = RNG.uniform(20, 100, n) * RNG.choice([-1, 1], n)  # away from the straight elbow
    # away from the wrist singularity; the Z-Y-Z wrist always answers with q6 > 0
    q[:, 5] = RNG.uniform(15, 60, n) * (RNG.choice([-1, 1], n) if arm.variant else 1)
    return q

def test_fk_and_jacobian_against_composed_frames_and_differences(arm):
    q = postures(arm, 20)
    poses, jacobians = arm.fk(q), arm.jacobian(q)
    for qi, pose, jac in zip(q, poses, jacobians):
        np.testing.assert_allclose(pose, composed_fk(qi, arm.variant), atol=1e-9)
        assert np.array_equal(arm.fk(list(qi)), pose) and np.array_equal(arm.jacobian(qi), jac)
    h = np.eye(7) * 1e-6
    dp = (arm.fk(q[0] + h) - arm.fk(q[0] - h))[:, :3, 3].T / (2 * np.radians(1e-6)) * 0.001
    np.testing.assert_allclose(jacobians[0][:3], dp, atol=1e-6)

def test_ik_round_trip_batch_and_nsp(arm):
    with pytest.raises(ValueError, match="ik first"):
        arm.nsp(0.0, np.zeros(7))
    q = postures(arm, 30)
    poses = arm.fk(q)
    batch = arm.ik(poses, q)
    assert batch.ok.all() and not batch.out_of_reach.any()
    np.testing.assert_allclose(batch.q, q, atol=1e-6)
    single = arm.ik(poses[-1], q[-1])
    assert single.ok is True and np.array_equal(single.q, batch.q[-1])
    sweep = arm.nsp_sweep(np.linspace(-40, 40, 9), q[-1])
    np.testing.assert_allclose(arm.fk(sweep), np.broadcast_to(poses[-1], (9, 4, 4)), atol=1e-6)
    other = tk.PilotArm(os.path.join(EXAMPLES, "model-1007.txt"))  # its own records
    assert other.ik(poses[0], q[0]).ok and np.array_equal(arm.nsp(0.0, q[-1]).q, single.q)
    far = arm.ik(tk.xyzabc_to_matrix([5000, 0, 0, 0, 0, 0]), [0, 0, 0, 60, 0, 30, 0])
    assert not far.ok and far.out_of_reach and np.isnan(far.q).all()

def test_limits_verdicts(arm):
    q = np.zeros((3, 7))
    q[1, 0], q[2, 2] = arm.joint_min[0] - 1, np.nan
    v = arm.limits(q)
    assert list(v.inside) == [True, False, False] and v.bound.shape == (3, 2)
    assert v.state[1, 0] == tk.BELOW_MIN and v.state[2, 2] == tk.NOT_A_NUMBER

def test_pose_conversions():
    xyzabc = np.array([[100, -50, 700, 10, -20, 30], [0, 0, 0, 170, 5, -120]], float)
    m = tk.xyzabc_to_matrix(xyzabc)
    np.testing.assert_allclose(m[0], rot("z", 30, xyzabc[0, :3]) @ rot("y", -20) @ rot("x", 10), atol=1e-12)
    np.testing.assert_allclose(tk.matrix_to_xyzabc(m), xyzabc, atol=1e-9)
    np.testing.assert_allclose(tk.matrix_to_xyzabc(m[0], degrees=False)[3:], np.radians(xyzabc[0, 3:]))

def test_results_equal_the_c_entry_points():
    lib = ctypes.CDLL(os.environ.get("TOLVEX_LIBRARY", "libtolvexkine.so"))
    path = os.path.join(EXAMPLES, "model-1017.txt")
    assert lib.OnInitKine_TOLVEXKINE(ctypes.c_long(0), path.encode()) == 1
    arm, pose = tk.PilotArm(path), np.zeros((4, 4))
    for qi in postures(arm, 5):
        lib.OnKine(np.ascontiguousarray(qi).ctypes.data_as(ctypes.c_void_p), pose.ctypes.data_as(ctypes.c_void_p))
        assert np.array_equal(pose, arm.fk(qi))

@pytest.mark.parametrize("call, error", [
    (lambda a: a.fk(np.zeros(6)), "shape \\(7,\\) or \\(N, 7\\), got shape \\(6,\\)"),
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
