import numpy as np
import pytest
import tolvexkine as tk

RNG = np.random.default_rng(11)

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
