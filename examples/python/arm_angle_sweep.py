"""Joints of the arm across its arm angles for one tool pose, plotted to a PNG.

The arm is redundant: with the tool pose fixed, the elbow can still swing about
the shoulder-wrist line. This script solves one pose, sweeps the arm angle and
plots how each joint follows, marking the angles where a joint leaves its limits.

    PYTHONPATH=build/python python3 examples/python/arm_angle_sweep.py [model-file] [out.png]

matplotlib is optional: without it the table of joints is printed only.
"""
import os
import sys

import numpy as np
import tolvexkine as tk

here = os.path.dirname(os.path.abspath(__file__))
model = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "model-1017.txt")
png = sys.argv[2] if len(sys.argv) > 2 else "arm_angle_sweep.png"

arm = tk.PilotArm(model)
ref = np.array([10.0, 35.0, -5.0, 70.0, 15.0, 40.0, 20.0])
pose = arm.fk(ref)
if not arm.ik(pose, ref).ok:
    sys.exit("the reference pose does not solve")

angles = np.linspace(-180.0, 180.0, 361)
q = arm.nsp_sweep(angles, ref)
inside = arm.limits(q).inside & ~np.isnan(q).any(axis=1)
print("arm angle  " + "  ".join(f"q{j + 1:<6}" for j in range(7)) + " inside")
for a, row, ok in list(zip(angles, q, inside))[::30]:
    print(f"{a:9.1f}  " + "  ".join(f"{v:7.2f}" for v in row) + f"  {ok}")

try:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
except ImportError:
    sys.exit(0)

fig, ax = plt.subplots(figsize=(9, 5))
for j in range(7):
    ax.plot(angles, q[:, j], label=f"joint {j + 1}")
ax.fill_between(angles, -200, 200, where=~inside, color="grey", alpha=0.2, label="outside limits")
ax.set(xlabel="arm angle [deg]", ylabel="joint angle [deg]", xlim=(-180, 180), ylim=(-200, 200),
       title=f"Joints across arm angles, tool at ({pose[0, 3]:.0f}, {pose[1, 3]:.0f}, {pose[2, 3]:.0f}) mm")
ax.legend(loc="upper right", fontsize="small", ncol=2)
fig.tight_layout()
fig.savefig(png, dpi=100)
print(f"wrote {png}")
