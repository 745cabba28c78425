// The library compiled to WebAssembly (viewer/core/ViewCore.h): one method per
// entry point, arrays passed through a scratch block of the module's memory.
import createTolvexCore from 'tolvex-core';

// Description kinds as the tool names them: a model file, or robot.ini (from --robot or --urdf).
export const Description = { model: 0, robot: 1 };
export const Capability = { IK: 1, ARM_ANGLE: 2 };

const MAX_JOINTS = 8;
const MAX_FRAMES = MAX_JOINTS + 2;
const MAX_INTERVALS = 32;

// Byte offsets of the scratch block's fields, laid out one after the other (doubles first).
function layout(fields) {
  const slot = {};
  let offset = 0;
  for (const [name, bytes] of fields) {
    slot[name] = offset;
    offset += bytes;
  }
  slot.size = offset;
  return slot;
}
const Slot = layout([
  ['q', 8 * MAX_JOINTS], ['ref', 8 * MAX_JOINTS], ['out', 8 * MAX_JOINTS], ['lower', 8 * MAX_JOINTS],
  ['upper', 8 * MAX_JOINTS], ['xyzabc', 8 * 6], ['target', 8 * 16], ['frames', 8 * 16 * MAX_FRAMES],
  ['intervals', 8 * 2 * MAX_INTERVALS], ['reference', 8], ['flags', 8], ['state', MAX_JOINTS],
]);

export async function loadCore() {
  const module = await createTolvexCore({ print: () => {}, printErr: (text) => console.warn(text) });
  return new Core(module);
}

class Core {
  constructor(module) {
    this.m = module;
    this.scratch = module._malloc(Slot.size);
  }

  // Views are made per call: memory growth replaces the buffer.
  doubles(slot, count) {
    return new Float64Array(this.m.HEAPF64.buffer, this.scratch + slot, count);
  }
  bytes(slot, count) {
    return new Uint8Array(this.m.HEAPU8.buffer, this.scratch + slot, count);
  }
  put(slot, values) {
    this.doubles(slot, values.length).set(values);
    return this.scratch + slot;
  }
  // Calls call(pointer, size) with `bytes` (a Uint8Array) copied into the module's memory.
  withBytes(bytes, call) {
    const pointer = this.m._malloc(bytes.length + 1);
    this.m.HEAPU8.set(bytes, pointer);
    try {
      return call(pointer, bytes.length);
    } finally {
      this.m._free(pointer);
    }
  }
  flags() {
    return Array.from(this.bytes(Slot.flags, this.m._tkv_flag_count()));
  }

  // Loads an arm from the bytes of its description file.
  load(description, bytes) {
    if (!this.withBytes(bytes, (pointer, size) => this.m._tkv_load(description, pointer, size)))
      throw new Error(this.message());
  }
  message() {
    return this.m.UTF8ToString(this.m._tkv_message());
  }
  get dof() {
    return this.m._tkv_dof();
  }
  get frameCount() {
    return this.m._tkv_frame_count();
  }
  can(capability) {
    return (this.m._tkv_capabilities() & capability) !== 0;
  }
  // Why the arm has no inverse kinematics ('' when it has).
  lacking() {
    return this.m.UTF8ToString(this.m._tkv_lacking());
  }
  jointLimits() {
    this.m._tkv_joint_limits(this.scratch + Slot.lower, this.scratch + Slot.upper);
    return { lower: Array.from(this.doubles(Slot.lower, this.dof)), upper: Array.from(this.doubles(Slot.upper, this.dof)) };
  }

  // Where the arm stands (row-major 4x4, mm): the frame joint 1 turns in.
  baseFrame() {
    this.m._tkv_base_frame(this.scratch + Slot.target);
    return Float64Array.from(this.doubles(Slot.target, 16));
  }

  // Frames (row-major 4x4, mm) of each joint, the flange (and a model's tool centre), and the
  // last one's pose x y z A B C.
  fk(q) {
    const ok = this.m._tkv_fk(this.put(Slot.q, q), this.scratch + Slot.frames, this.scratch + Slot.xyzabc);
    if (!ok) return null;
    const all = this.doubles(Slot.frames, 16 * this.frameCount);
    const frames = [];
    for (let i = 0; i < this.frameCount; ++i) frames.push(Float64Array.from(all.subarray(16 * i, 16 * i + 16)));
    return { frames, xyzabc: Array.from(this.doubles(Slot.xyzabc, 6)) };
  }
  poseMatrix(xyzabc) {
    this.m._tkv_pose_matrix(this.put(Slot.xyzabc, xyzabc), this.scratch + Slot.target);
    return Float64Array.from(this.doubles(Slot.target, 16));
  }
  poseXyzabc(frame) {
    this.m._tkv_pose_xyzabc(this.put(Slot.target, frame), this.scratch + Slot.xyzabc);
    return Array.from(this.doubles(Slot.xyzabc, 6));
  }
  limitVerdict(q) {
    const inside = this.m._tkv_limit_verdict(this.put(Slot.q, q), this.scratch + Slot.state) === 1;
    return { inside, state: Array.from(this.bytes(Slot.state, this.dof)) };
  }
  ik(target, ref) {
    const ok = this.m._tkv_ik(this.put(Slot.target, target), this.put(Slot.ref, ref), this.scratch + Slot.out,
      this.scratch + Slot.flags) === 1;
    return { ok, q: Array.from(this.doubles(Slot.out, this.dof)), flags: this.flags() };
  }
  armAngle(psi, ref) {
    const ok = this.m._tkv_arm_angle(psi, this.put(Slot.ref, ref), this.scratch + Slot.out,
      this.scratch + Slot.flags) === 1;
    return { ok, q: Array.from(this.doubles(Slot.out, this.dof)), flags: this.flags() };
  }
  // The arm angle (deg) at which armAngle gives back the posture q set or solved, and what 0 is.
  armAngleOf(q) {
    return this.m._tkv_arm_angle_of(this.put(Slot.q, q));
  }
  armAngleZero() {
    return this.m.UTF8ToString(this.m._tkv_arm_angle_zero());
  }
  // The usable arm-angle intervals [start, end] (deg; end < start wraps through 180) of `target` for `ref`.
  armAngleMap(target, ref, step) {
    const count = this.m._tkv_arm_angle_map(this.put(Slot.target, target), this.put(Slot.ref, ref), step,
      this.scratch + Slot.intervals, this.scratch + Slot.reference, this.scratch + Slot.flags);
    if (count < 0) return { ok: false, intervals: [], reference: -1, flags: this.flags() };
    const values = this.doubles(Slot.intervals, 2 * count);
    const intervals = [];
    for (let n = 0; n < count; ++n) intervals.push([values[2 * n], values[2 * n + 1]]);
    const reference = new Int32Array(this.m.HEAP32.buffer, this.scratch + Slot.reference, 1)[0];
    return { ok: true, intervals, reference, flags: this.flags() };
  }

  format(value, decimals) {
    return this.m.UTF8ToString(this.m._tkv_format(value, decimals));
  }
  flagText(flag, value) {
    return this.m.UTF8ToString(this.m._tkv_flag_text(flag, value));
  }
  limitText(state) {
    return this.m.UTF8ToString(this.m._tkv_limit_text(state));
  }

  // Rows of a motion CSV file's bytes, each [t, q1..qn, x, y, z, A, B, C, arm angle]; throws with the reason.
  readMotion(bytes) {
    const count = this.withBytes(bytes, (pointer, size) => this.m._tkv_motion_read(pointer, size));
    if (count < 0) throw new Error(this.message());
    const width = this.dof + 8;
    const all = new Float64Array(this.m.HEAPF64.buffer, this.m._tkv_motion_rows(), count * width);
    const rows = [];
    for (let r = 0; r < count; ++r) rows.push(Float64Array.from(all.subarray(r * width, (r + 1) * width)));
    return rows;
  }
}
