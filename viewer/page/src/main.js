// The browser view of one arm: the picture, the joint sliders, the tool target
// that the inverse kinematics follows, the arm-angle slider and motion playback.
// Every number comes from the library (Core.js), printed as the tool prints it.
import { ArmAngleBar } from './ArmAngleBar.js';
import { ArmView } from './ArmView.js';
import { Capability, Description, loadCore } from './Core.js';
import { JointSliders } from './JointSliders.js';
import { MotionPlayer } from './MotionPlayer.js';

const DECIMALS = 3;
const MAP_DECIMALS = 6;   // as `tolvex-kine psi-map` prints the intervals
const MAP_STEP = 1;       // deg, the default step of psi-map
const POSE_NAMES = ['x', 'y', 'z', 'A', 'B', 'C'];
const FLAG_NAMES = ['flag1', 'flag2', 'flag3', 'pose'];  // as `tolvex-kine ik` names the status bytes
// The first posture shown (clamped into the limits): bent, away from the straight-arm singularity.
const START_POSTURE = [10, -30, -20, -60, 15, -40, -25];

const $ = (id) => document.getElementById(id);

// The arm and the motion the tool put into the page, each a name and the file's bytes.
function readData() {
  const data = JSON.parse($('view-data').textContent);
  if (typeof data !== 'object' || data === null || !data.robot)
    throw new Error('this page holds no arm: make it with tolvex-kine view');
  return data;
}

function decodeBase64(text) {
  return Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
}

class Viewer {
  constructor(core, data) {
    this.core = core;
    this.dof = core.dof;
    this.view = new ArmView($('view'), $('view-message'));
    const limits = core.jointLimits();
    this.sliders = new JointSliders($('joints'), limits, (i, value) => this.setJoint(i, value));
    this.armAngle = new ArmAngleBar({ slider: $('arm-angle'), band: $('arm-angle-band'), mark: $('arm-angle-mark'), text: $('arm-angle-map') },
      (psi) => this.setArmAngle(psi));
    this.player = new MotionPlayer({ play: $('play'), scrub: $('scrub') }, (row) => this.showMotionRow(row));
    this.buildReadout();

    $('robot-name').textContent = data.robot.name || '';
    // A model file's tool centre, or a robot's flange in the base frame of its description.
    const pose = data.robot.description === 'model' ? 'Tool' : 'Flange';
    $('pose-title').textContent = `${pose} pose (R = Rz(C) Ry(B) Rx(A))`;
    $('target-title').textContent = `${pose} target (drag it in the view, or type it)`;
    $('arm-angle-title').textContent = `Arm angle: the elbow turns, the ${pose.toLowerCase()} stays`;
    this.q = limits.lower.map((lower, i) => Math.min(Math.max(START_POSTURE[i] ?? 0, lower), limits.upper[i]));
    const start = this.core.fk(this.q);
    this.view.buildArm(core.baseFrame(), start.frames, this.dof);
    this.view.onTarget(() => this.grabTarget(), (frame) => this.followTarget(frame));
    this.wireTarget();
    this.wireMotion();
    this.showCapabilities();
    this.setJoints(this.q);
    if (data.motion) this.loadMotion(data.motion.name, decodeBase64(data.motion.base64));
  }

  // An arm without the analytic form keeps forward kinematics, sliders and playback; the page says why.
  showCapabilities() {
    const ik = this.core.can(Capability.IK);
    const armAngle = this.core.can(Capability.ARM_ANGLE);
    $('target-section').hidden = !ik;
    $('help-target').hidden = !ik;
    this.view.setTargetShown(ik);
    $('arm-angle-section').hidden = !armAngle;
    $('arm-angle-line').hidden = !armAngle;
    $('analytic-note').hidden = ik;
    $('analytic-note').textContent = ik ? '' : `No inverse kinematics or arm angle: ${this.core.lacking()}`;
  }

  buildReadout() {
    const jointHeads = Array.from({ length: this.dof }, (_, i) => `<th>q${i + 1}</th>`).join('');
    const jointCells = Array.from({ length: this.dof }, (_, i) => `<td id="q${i + 1}"></td>`).join('');
    $('readout-joints').innerHTML = `<tr>${jointHeads}</tr><tr>${jointCells}</tr>`;
    $('readout-pose').innerHTML = `<tr>${POSE_NAMES.map((n, i) => `<th>${n} [${i < 3 ? 'mm' : 'deg'}]</th>`).join('')}</tr>` +
      `<tr>${POSE_NAMES.map((n) => `<td id="pose-${n}"></td>`).join('')}</tr>`;
  }

  format(value, decimals = DECIMALS) {
    return this.core.format(value, decimals);
  }

  // Draws the posture q and prints its numbers; the target follows the tool unless told not to.
  showPosture(q, { moveTarget = true } = {}) {
    const result = this.core.fk(q);
    if (!result) return;
    this.q = q.slice();
    this.frames = result.frames;
    const verdict = this.core.limitVerdict(q);
    const texts = q.map((v) => this.format(v));
    this.sliders.show(q, texts, verdict.state, verdict.state.map((s) => this.core.limitText(s)));
    texts.forEach((text, i) => {
      $(`q${i + 1}`).textContent = text;
      $(`q${i + 1}`).classList.toggle('outside', verdict.state[i] !== 0);
    });
    result.xyzabc.forEach((v, i) => ($(`pose-${POSE_NAMES[i]}`).textContent = this.format(v)));
    $('verdict').textContent = verdict.inside ? 'every joint inside its limits' : 'a joint is OUTSIDE its limits';
    $('verdict').classList.toggle('outside', !verdict.inside);
    this.view.showPosture(result.frames, verdict.state);
    if (moveTarget) this.setTargetFrame(this.toolFrame(), { typed: false });
  }

  toolFrame() {
    return this.frames[this.frames.length - 1];
  }

  setJoints(q) {
    this.player.pause();
    this.showPosture(q);
    this.takeReference();
  }

  setJoint(i, value) {
    const q = this.q.slice();
    q[i] = value;
    this.showSolve('Joints set by hand', null);
    this.setJoints(q);
  }

  // The current posture becomes the reference that picks the elbow, with the usable arm angles of its pose.
  takeReference() {
    this.reference = this.q.slice();
    this.showArmAngleMap();
  }

  // The usable arm angles of the current pose for the reference, the slider at the posture shown.
  showArmAngleMap() {
    if (!this.core.can(Capability.ARM_ANGLE)) return;
    const psi = this.core.armAngleOf(this.q);
    const map = this.core.armAngleMap(this.toolFrame(), this.reference, MAP_STEP);
    const usable = map.intervals.map(([s, e]) => `[${this.format(s, MAP_DECIMALS)}, ${this.format(e, MAP_DECIMALS)}]`);
    const flag = map.flags.findIndex((f) => f !== 0);
    const describe = !map.ok ? `no arm-angle map: ${flag < 0 ? 'no solution' : this.core.flagText(flag, 1)}`
      : usable.length ? `usable [deg]: ${usable.join(' ')}` : 'no arm angle keeps every joint inside its limits';
    this.armAngle.show(map, describe, psi);
    this.showArmAngle(psi, `from ${this.core.armAngleZero()}`);
  }

  showArmAngle(value, meaning) {
    $('arm-angle-value').textContent = this.format(value);
    $('arm-angle-meaning').textContent = meaning;
  }

  setArmAngle(psi) {
    this.player.pause();
    const result = this.core.armAngle(psi, this.reference);
    this.showSolve(`Arm angle ${this.format(psi)} deg`, result);
    if (!result.ok) return;
    this.showPosture(result.q, { moveTarget: false });
    this.showArmAngle(psi, `from ${this.core.armAngleZero()}`);
  }

  // A drag starts from the posture shown: it becomes the reference that picks the elbow.
  grabTarget() {
    this.player.pause();
    this.takeReference();
  }

  // Solves for the dragged or typed target, the elbow branch and plane by the reference,
  // so a target always gives the same joints whatever way it was dragged.
  followTarget(frame) {
    this.target = frame;
    const result = this.core.ik(frame, this.reference);
    this.showSolve('Inverse kinematics', result);
    this.showTargetNumbers();
    if (!result.ok) return;
    this.showPosture(result.q, { moveTarget: false });
    this.showArmAngleMap();
  }

  setTargetFrame(frame, { typed }) {
    this.target = frame;
    this.view.setTarget(frame);
    if (!typed) this.showTargetNumbers();
  }

  showTargetNumbers() {
    this.core.poseXyzabc(this.target).forEach((v, i) => ($(`target-${POSE_NAMES[i]}`).value = this.format(v)));
  }

  wireTarget() {
    $('target-move').addEventListener('click', () => this.view.setTargetMode('translate'));
    $('target-turn').addEventListener('click', () => this.view.setTargetMode('rotate'));
    window.addEventListener('keydown', (event) => {
      if (event.target instanceof HTMLInputElement) return;
      if (event.key === 't' || event.key === 'T') this.view.setTargetMode('translate');
      if (event.key === 'r' || event.key === 'R') this.view.setTargetMode('rotate');
    });
    $('target-solve').addEventListener('click', () => {
      const xyzabc = POSE_NAMES.map((n) => Number($(`target-${n}`).value));
      if (!xyzabc.every(Number.isFinite)) {
        this.showSolve('Target: six numbers needed', null);
        return;
      }
      const frame = this.core.poseMatrix(xyzabc);
      this.setTargetFrame(frame, { typed: true });
      this.grabTarget();
      this.followTarget(frame);
    });
  }

  // The status bytes of the last solve in words, as `tolvex-kine ik` prints them.
  showSolve(title, result) {
    const status = $('solve-status');
    status.classList.toggle('failed', result !== null && !result.ok);
    $('solve-title').textContent = result === null ? title : `${title}: ${result.ok ? 'solved' : 'FAILED'}`;
    status.querySelector('tbody').innerHTML = result === null ? '' : result.flags.map((value, i) =>
      `<tr><td>${FLAG_NAMES[i]}</td><td>${value}</td><td>${this.core.flagText(i, value)}</td></tr>`).join('');
  }

  wireMotion() {
    $('motion-file').addEventListener('change', async () => {
      const file = $('motion-file').files[0];
      if (file) this.loadMotion(file.name, new Uint8Array(await file.arrayBuffer()));
    });
  }

  loadMotion(name, bytes) {
    let rows;
    try {
      rows = this.core.readMotion(bytes);
    } catch (error) {
      $('motion-name').textContent = `${name}: ${error.message}`;
      $('motion-name').classList.add('failed');
      return;
    }
    $('motion-name').classList.remove('failed');
    $('motion-name').textContent = `${name}: ${rows.length} rows, ${this.format(rows[rows.length - 1][0] - rows[0][0])} s`;
    this.view.setPath(rows.map((row) => this.core.fk(Array.from(row.subarray(1, 1 + this.dof))).frames.at(-1)));
    this.player.load(rows);
  }

  showMotionRow(row) {
    this.showPosture(Array.from(row.subarray(1, 1 + this.dof)));
    this.takeReference();
    $('motion-time').textContent = `t = ${this.format(row[0])} s`;
    this.showArmAngle(row[this.dof + 7], 'from the motion file');
  }
}

async function start() {
  try {
    const data = readData();
    const core = await loadCore();
    core.load(Description[data.robot.description] ?? -1, decodeBase64(data.robot.base64));
    window.tolvexView = new Viewer(core, data);
    document.body.dataset.ready = 'yes';
  } catch (error) {
    $('view-message').textContent = `Cannot show the arm: ${error.message}`;
    document.body.dataset.ready = 'failed';
  }
}

start();
