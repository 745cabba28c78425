"""CPU time of 100 000 forward kinematics through PilotArm.fk(Q), to set beside
the C++ loop: build/bench/bench_cycle --benchmark_filter=OnKine (its CPU column
times 100 000)."""
import os
import time

import numpy as np
import tolvexkine as tk

here = os.path.dirname(os.path.abspath(__file__))
arm = tk.PilotArm(os.path.join(here, "..", "examples", "model-1017.txt"))
Q = np.tile([12, -35, 20, -80, 15, 40, -25.0], (100000, 1))  # the benchmark's posture
best = float("inf")
for _ in range(10):
    start = time.process_time()
    arm.fk(Q)
    best = min(best, time.process_time() - start)
print(f"fk(Q), 100000 rows: {best * 1e3:.1f} ms CPU ({best * 10:.3f} us per pose)")
