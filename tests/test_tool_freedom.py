"""The tool's psi-map, limits --svg and urdf checked through its other commands:
map edges against nsp and limits, the URDF's joint origins against chain-fk."""
import json
import math
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

import numpy as np

TOOL = sys.argv.pop(1)
REF = "0 -30 0 -60 0 -40 0"
# (reference, pose) on the bundled 1017 model; the second wraps through +/-180, meets a
# corner curve and loses the pose.
POSES = [(REF, "700 30 640 150 50 165"),
         ("-78.6 8.8 -39 -71.5 37.7 -86.9 -155.8", "-207.865 -193.16 1030.791 -20.683 27.451 57.701"),
         ("-63.3 -31.8 -81.8 -141.2 26.6 -42.6 99.3", "-240.786 -93.903 455.448 -65.977 0.21 13.737")]


def run(args, status=0):
    done = subprocess.run([TOOL] + args.split(), capture_output=True, text=True)
    assert done.returncode == status, (args, done.returncode, done.stderr)
    return done


def tables(args):
    return {t["title"].split(" (")[0].split(",")[0]: t for t in json.loads(run(args + " --json").stdout)["tables"]}


def usable(ref, pose, psi):
    """(usable, why) through nsp and limits themselves."""
    done = subprocess.run([TOOL] + f"nsp --json --ref {ref} --angle {psi!r} {pose}".split(),
                          capture_output=True, text=True)
    rows = json.loads(done.stdout)["tables"][0]["rows"] if done.stdout else []
    if done.returncode != 0 or rows[1][-1][0] != "0":
        return False, "no solution"
    if rows[1][11] > 1e-6:
        return False, "pose not reproduced"
    q = " ".join(repr(v) for v in rows[1][1:8])
    status = tables("limits " + q)["Limits"]["rows"]
    bad = [f"joint {r[0]} {r[4].replace('OUTSIDE: ', '')}" for r in status if r[4] != "inside"]
    return not bad, bad[0] if bad else ""


class PsiMap(unittest.TestCase):
    def test_midpoints_usable_and_just_beyond_each_edge_not(self):
        for ref, pose in POSES:
            rows = tables(f"psi-map --ref {ref} {pose}")["Usable arm angles for"]["rows"]
            self.assertTrue(rows, pose)
            for start, end, width, mid, why_start, why_end, _ in rows:
                self.assertTrue(usable(ref, pose, mid)[0], (pose, mid))
                for edge, beyond, why in ((start, start - 1e-5, why_start), (end, end + 1e-5, why_end)):
                    if why.startswith("-"):
                        continue
                    self.assertTrue(usable(ref, pose, edge - math.copysign(1e-5, beyond - edge))[0], (pose, edge))
                    ok, reason = usable(ref, pose, beyond)
                    self.assertFalse(ok, (pose, beyond))
                    if why.startswith("joint"):
                        self.assertEqual(reason.replace("q6/q7 beyond the corner curve", "beyond corner curve"), why)

    def test_out_of_reach_bad_step_and_svg(self):
        self.assertIn("out of reach", run(f"psi-map --ref {REF} 5000 0 0 0 0 0", 1).stderr)
        self.assertIn("--step", run(f"psi-map --ref {REF} --step 0 {POSES[0][1]}", 2).stderr)
        with tempfile.TemporaryDirectory() as d:
            run(f"psi-map --ref {REF} --svg {d}/map.svg {POSES[0][1]}")
            run(f"limits --svg {d}/lim.svg 0 0 0 0 0 35.172 183.931")
            for name in ("map", "lim"):
                self.assertEqual(ET.parse(f"{d}/{name}.svg").getroot().tag, "{http://www.w3.org/2000/svg}svg")


class Limits(unittest.TestCase):
    def test_verdict_beside_the_host_check(self):
        rows = tables("limits 14.087 -20.724 2.009 -55.887 52.542 35.172 183.931")["Limits"]["rows"]
        self.assertEqual(rows[6][4:], ["OUTSIDE: above max", "inside"])

    def test_non_finite_input_is_refused_everywhere(self):
        for args in ("fk 0 0 0 0 0 0 nan", "limits 0 0 0 0 0 0 1e999", "nsp --ref 0 0 0 -60 0 0 inf --angle 1 "
                     "700 30 640 150 50 165", "psi-map --ref " + REF + " --step nan 700 30 640 150 50 165",
                     "profile --axes 1 --cycle 1 --vmax -inf --acc 1 --jerk 1 --target 1"):
            err = run(args, 2).stderr
            self.assertEqual(err.count("\n"), 1, args)
            self.assertIn("is not a finite number", err)


class Urdf(unittest.TestCase):
    def test_joint_origins_compose_to_the_chain_forward_kinematics(self):
        robot = ET.fromstring(run("urdf").stdout)
        joints = robot.findall("joint")
        types = [j.get("type") for j in joints]
        self.assertEqual(types[:7], ["revolute"] * 7)
        self.assertTrue(all(t == "fixed" for t in types[7:]))

        def origin(j):
            x, y, z = map(float, j.find("origin").get("xyz").split())
            r, p, w = map(float, j.find("origin").get("rpy").split())
            rot = lambda axis, a: np.array([[1, 0, 0], [0, math.cos(a), -math.sin(a)], [0, math.sin(a), math.cos(a)]])[
                np.ix_(axis, axis)]
            T = np.eye(4)
            T[:3, :3] = rot([2, 0, 1], w) @ rot([1, 2, 0], p) @ rot([0, 1, 2], r)
            T[:3, 3] = (x, y, z)
            return T

        for q in ([0] * 7, [10, -30, -20, -60, 15, -40, -25], [170, 100, -120, 45, -90, 100, 160]):
            T = np.eye(4)
            for j, angle in zip(joints, q + [0] * (len(joints) - 7)):
                c, s = math.cos(math.radians(angle)), math.sin(math.radians(angle))
                T = T @ origin(j) @ np.array([[c, -s, 0, 0], [s, c, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]])
            chain = tables("chain-fk " + " ".join(map(str, q)))["Chain flange pose"]["rows"]
            np.testing.assert_allclose(T, np.array([r[1:] for r in chain], dtype=float), atol=1e-9)


if __name__ == "__main__":
    unittest.main()
