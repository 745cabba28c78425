// The 3D picture: the arm drawn from its frames (shaded capsules between joint
// origins, a housing and an axis line per joint, the tool frame), the tool
// target with its drag handles, the tool path of a motion. Orbit, pan, zoom.
// Frames come from the library as row-major 4x4 matrices in millimetres; the
// scene is in metres with z up.
import {
  AmbientLight, AxesHelper, Box3, BufferGeometry, CapsuleGeometry, CatmullRomCurve3, Color, CylinderGeometry,
  DirectionalLight, Float32BufferAttribute, GridHelper, Group, HemisphereLight, Line, LineBasicMaterial, Matrix4,
  Mesh, MeshStandardMaterial, PerspectiveCamera, Scene, SphereGeometry, TubeGeometry, Vector3, WebGLRenderer,
} from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';
import { TransformControls } from 'three/examples/jsm/controls/TransformControls.js';

const MM = 0.001;
const SHORTEST_LINK_MM = 1;
const LINK_COLOUR = 0xd0d5dc;
const HOUSING_COLOUR = 0x5c7cfa;
const OUTSIDE_COLOUR = 0xe03131;
const AXIS_COLOUR = 0xf08c00;
const PATH_COLOUR = 0x9c36b5;
const PATH_POINTS = 600;  // at most, evenly picked from the motion's rows

// A library frame (row-major, mm) as a scene matrix (metres).
function sceneMatrix(frame, out = new Matrix4()) {
  const f = frame;
  return out.set(f[0], f[1], f[2], f[3] * MM, f[4], f[5], f[6], f[7] * MM,
    f[8], f[9], f[10], f[11] * MM, 0, 0, 0, 1);
}

// A scene matrix (metres) as a library frame (row-major, mm).
function libraryFrame(matrix) {
  const e = matrix.elements;  // column-major
  const frame = new Float64Array(16);
  for (let r = 0; r < 4; ++r)
    for (let c = 0; c < 4; ++c) frame[4 * r + c] = e[4 * c + r] * (c === 3 && r < 3 ? 1 / MM : 1);
  return frame;
}

function origin(frame) {
  return new Vector3(frame[3] * MM, frame[7] * MM, frame[11] * MM);
}

export class ArmView {
  constructor(container, message) {
    this.container = container;
    try {
      this.renderer = new WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
    } catch (error) {
      message.textContent = '3D view unavailable (' + error.message + '); the numbers and controls still work.';
      return;
    }
    this.renderer.setPixelRatio(window.devicePixelRatio || 1);
    container.appendChild(this.renderer.domElement);

    this.scene = new Scene();
    this.scene.background = new Color(0xf1f3f5);
    this.scene.add(new HemisphereLight(0xffffff, 0x8c8c8c, 1.6));
    this.scene.add(new AmbientLight(0xffffff, 0.3));
    const sun = new DirectionalLight(0xffffff, 2.2);
    sun.position.set(2, -1.5, 3);
    this.scene.add(sun);

    this.camera = new PerspectiveCamera(40, 1, 0.01, 100);
    this.camera.up.set(0, 0, 1);
    this.orbit = new OrbitControls(this.camera, this.renderer.domElement);
    this.orbit.addEventListener('change', () => this.requestRender());

    this.arm = new Group();
    this.scene.add(this.arm);
    this.path = null;
    this.buildTarget();

    new ResizeObserver(() => this.resize()).observe(container);
    this.resize();
  }

  get available() {
    return this.renderer !== undefined;
  }

  resize() {
    if (!this.available) return;
    const width = Math.max(1, this.container.clientWidth);
    const height = Math.max(1, this.container.clientHeight);
    this.renderer.setSize(width, height);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.requestRender();
  }

  requestRender() {
    if (!this.available || this.renderPending) return;
    this.renderPending = true;
    requestAnimationFrame(() => {
      this.renderPending = false;
      this.renderer.render(this.scene, this.camera);
    });
  }

  // Builds the arm's bodies from where it stands and its frames in any posture: link lengths
  // do not change with the joints.
  buildArm(base, frames, jointCount) {
    if (!this.available) return;
    this.arm.clear();
    this.jointCount = jointCount;
    this.base = origin(base);
    const points = [this.base, ...frames.map(origin)];
    const reach = points.slice(1).reduce((sum, p, i) => sum + p.distanceTo(points[i]), 0) || 1;
    this.reach = reach;
    const radius = (k) => reach * (0.045 - 0.02 * Math.min(k, jointCount) / jointCount);
    const linkMaterial = new MeshStandardMaterial({ color: LINK_COLOUR, metalness: 0.15, roughness: 0.45 });

    const pedestal = new Mesh(new CylinderGeometry(radius(0) * 1.6, radius(0) * 1.8, reach * 0.04, 40), linkMaterial);
    pedestal.rotation.x = Math.PI / 2;
    pedestal.position.z = reach * 0.02;
    const stand = new Group();
    stand.matrixAutoUpdate = false;
    sceneMatrix(base, stand.matrix);
    stand.add(pedestal);
    this.arm.add(stand);

    // Link k runs from point k to point k + 1 (point 0 where the arm stands, then the joints, flange, tool).
    this.links = [];
    for (let k = 0; k + 1 < points.length; ++k) {
      const length = points[k].distanceTo(points[k + 1]);
      if (length < SHORTEST_LINK_MM * MM) continue;
      const r = radius(k);
      const mesh = new Mesh(new CapsuleGeometry(r, Math.max(length - 2 * r, 0.001), 8, 24), linkMaterial);
      this.arm.add(mesh);
      this.links.push({ mesh, from: k, to: k + 1 });
    }

    // A housing along each joint's axis, with the axis drawn through it.
    this.joints = [];
    for (let i = 0; i < jointCount; ++i) {
      const holder = new Group();
      holder.matrixAutoUpdate = false;
      const r = radius(i + 1) * 1.3;
      const material = new MeshStandardMaterial({ color: HOUSING_COLOUR, metalness: 0.2, roughness: 0.4 });
      const housing = new Mesh(new CylinderGeometry(r, r, r * 2.2, 32), material);
      housing.rotation.x = Math.PI / 2;
      holder.add(housing);
      const axis = new BufferGeometry().setAttribute('position',
        new Float32BufferAttribute([0, 0, -r * 3, 0, 0, r * 3], 3));
      holder.add(new Line(axis, new LineBasicMaterial({ color: AXIS_COLOUR })));
      this.arm.add(holder);
      this.joints.push({ holder, material });
    }

    this.toolFrame = new AxesHelper(reach * 0.1);
    this.toolFrame.matrixAutoUpdate = false;
    this.arm.add(this.toolFrame);

    this.targetHandles.setSize(0.7);
    this.targetMarker.scale.setScalar(reach);
    // Looking at the middle of the arm from the front right, from far enough to see it whole.
    new Box3().setFromPoints(points).getCenter(this.orbit.target);
    this.camera.position.set(1.2 * reach, -1.55 * reach, 0.65 * reach).add(this.orbit.target);
    this.orbit.update();
    this.grid?.removeFromParent();
    this.grid = new GridHelper(2 * reach, 20, 0xadb5bd, 0xdee2e6);
    this.grid.rotation.x = Math.PI / 2;
    this.scene.add(this.grid);
    this.showPosture(frames, new Array(jointCount).fill(0));
  }

  // Moves the bodies to `frames`; a joint whose state is not 0 is drawn in the warning colour.
  showPosture(frames, jointStates) {
    if (!this.available) return;
    const points = [this.base, ...frames.map(origin)];
    const up = new Vector3(0, 1, 0);
    for (const { mesh, from, to } of this.links) {
      const direction = points[to].clone().sub(points[from]);
      mesh.position.copy(points[from]).addScaledVector(direction, 0.5);
      mesh.quaternion.setFromUnitVectors(up, direction.normalize());
    }
    this.joints.forEach(({ holder, material }, i) => {
      sceneMatrix(frames[i], holder.matrix);
      material.color.setHex(jointStates[i] ? OUTSIDE_COLOUR : HOUSING_COLOUR);
    });
    sceneMatrix(frames[frames.length - 1], this.toolFrame.matrix);
    this.requestRender();
  }

  buildTarget() {
    this.target = new Group();
    this.targetMarker = new Group();
    this.targetMarker.add(new AxesHelper(0.07));
    this.targetMarker.add(new Mesh(new SphereGeometry(0.012, 20, 12),
      new MeshStandardMaterial({ color: 0x1c7ed6, transparent: true, opacity: 0.7 })));
    this.target.add(this.targetMarker);
    this.scene.add(this.target);
    this.targetHandles = new TransformControls(this.camera, this.renderer.domElement);
    this.targetHandles.attach(this.target);
    this.scene.add(this.targetHandles.getHelper());
    this.targetHandles.addEventListener('change', () => this.requestRender());
    this.targetHandles.addEventListener('dragging-changed', (event) => {
      this.orbit.enabled = !event.value;
      if (event.value && this.onTargetGrabbed) this.onTargetGrabbed();
    });
    this.targetHandles.addEventListener('objectChange', () => {
      if (this.onTargetMoved) this.onTargetMoved(this.targetFrame());
    });
  }

  // Calls grabbed() when a drag of the target begins and moved(frame) as it goes on.
  onTarget(grabbed, moved) {
    this.onTargetGrabbed = grabbed;
    this.onTargetMoved = moved;
  }

  targetFrame() {
    this.target.updateMatrix();
    return libraryFrame(this.target.matrix);
  }

  setTarget(frame) {
    if (!this.available) return;
    sceneMatrix(frame).decompose(this.target.position, this.target.quaternion, this.target.scale);
    this.requestRender();
  }

  // The target and its handles are shown only where the inverse kinematics can follow them.
  setTargetShown(shown) {
    if (!this.available) return;
    this.target.visible = shown;
    this.targetHandles.enabled = shown;
    this.targetHandles.getHelper().visible = shown;
    this.requestRender();
  }

  setTargetMode(mode) {
    if (this.available) this.targetHandles.setMode(mode);
  }

  // The tool path through `frames` (library frames) as a thin tube, or none.
  setPath(frames) {
    if (!this.available) return;
    this.path?.removeFromParent();
    this.path = null;
    if (frames.length > 1) {
      const every = Math.max(1, Math.ceil(frames.length / PATH_POINTS));
      const picked = frames.filter((_, k) => k % every === 0 || k === frames.length - 1);
      const curve = new CatmullRomCurve3(picked.map(origin), false, 'centripetal');
      this.path = new Mesh(new TubeGeometry(curve, 4 * picked.length, this.reach * 0.004, 8, false),
        new MeshStandardMaterial({ color: PATH_COLOUR, roughness: 0.6 }));
      this.scene.add(this.path);
    }
    this.requestRender();
  }
}
