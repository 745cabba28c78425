// The browser view in a real browser (headless Chromium driven by Playwright): the
// pages that `tolvex-kine view` writes (the example robot, a model file, a robot
// without the analytic form, the example robot through URDF) must show what the tool
// prints, digit for digit.
//   node browser_test.cjs --tool TOLVEX_KINE --examples DIR --chromium CHROMIUM --out DIR
// Exit 0 passed, 1 failed, 77 skipped (what is missing is said on one line).
'use strict';
const { execFileSync, spawnSync } = require('child_process');
const { pathToFileURL } = require('url');
const fs = require('fs');
const path = require('path');

const SKIP = 77;
const options = {};
for (let i = 2; i + 1 < process.argv.length; i += 2) options[process.argv[i].slice(2)] = process.argv[i + 1];

function skip(why) {
  console.log(`skipped: ${why}`);
  process.exit(SKIP);
}

function tool(...args) {
  return execFileSync(options.tool, args, { encoding: 'utf8' });
}

// The whitespace-separated cells of the data rows of the text table titled `title`.
function toolTable(output, title) {
  const lines = output.split('\n');
  const start = lines.findIndex((line) => line.startsWith(title));
  if (start < 0) throw new Error(`no table '${title}' in:\n${output}`);
  const rows = [];
  for (let k = start + 3; k < lines.length && lines[k].trim() !== ''; ++k) rows.push(lines[k].trim().split(/\s{2,}/));
  return rows;
}

function check(condition, what) {
  if (!condition) throw new Error(what);
  console.log(`ok: ${what}`);
}

function same(got, want, what) {
  check(JSON.stringify(got) === JSON.stringify(want), `${what}: ${JSON.stringify(got)} (want ${JSON.stringify(want)})`);
}

const POSE = ['x', 'y', 'z', 'A', 'B', 'C'];
const text = (page, id) => page.textContent(`#${id}`);
const shownPose = (page) => Promise.all(POSE.map((n) => text(page, `pose-${n}`)));
const shownJoints = (page, n = 7) => Promise.all(Array.from({ length: n }, (_, i) => text(page, `q${i + 1}`)));
const shownVerdicts = (page, n = 7) => Promise.all(Array.from({ length: n }, (_, i) => text(page, `joint-${i + 1}-verdict`)));
const printed = (q) => q.map((v) => v.toFixed(3));

async function setJointSliders(page, q) {
  for (let i = 0; i < q.length; ++i) await page.locator(`#joint-${i + 1}-slider`).fill(String(q[i]));
}

async function typeJoint(page, joint, value) {
  await page.fill(`#joint-${joint}-value`, String(value));
  await page.press(`#joint-${joint}-value`, 'Enter');
}

async function openPage(browser, file) {
  const page = await browser.newPage({ viewport: { width: 1400, height: 860 } });
  const problems = [];
  page.on('pageerror', (error) => problems.push(error.message));
  await page.goto(pathToFileURL(path.resolve(file)).href);
  await page.waitForFunction(() => document.body.dataset.ready, null, { timeout: 30000 });
  const ready = await page.evaluate(() => document.body.dataset.ready);
  check(ready === 'yes' && problems.length === 0, `${path.basename(file)} loads (${ready}, ${await text(page, 'view-message')}${problems.join('; ')})`);
  return page;
}

function view(...args) {
  const run = spawnSync(options.tool, ['view', ...args], { encoding: 'utf8' });
  check(run.status === 0, `tolvex-kine view ${args.join(' ')}: ${run.stdout.trim()}${run.stderr.trim()}`);
}

// What `fk` prints for an arm: `arm` holds its options (none: the bundled model file).
const fkTable = (arm, q) => toolTable(tool('fk', ...arm, ...q.map(String)), arm.length ? 'Flange pose as XYZABC' : 'Tool pose as XYZABC')[0];
// The pose as `fk --csv` prints it (15 significant digits).
function fkCsv(arm, q) {
  const lines = tool('fk', '--csv', ...arm, ...q.map(String)).split('\n');
  const title = arm.length ? '# Flange pose as XYZABC' : '# Tool pose as XYZABC';
  return lines[lines.findIndex((line) => line.startsWith(title)) + 2].split(',');
}

// Beyond the printed digits: the page's pose of seeded random postures against `fk --csv`
// (15 significant digits), so a difference in the arithmetic itself would show.
async function fkToFifteenDigits(page, arm, dof, range) {
  let state = 2024;
  const random = () => (state = (state * 1103515245 + 12345) % 2147483648) / 2147483648;
  for (let k = 0; k < 10; ++k) {
    const q = Array.from({ length: dof }, () => Math.round(2000 * range * random() - 1000 * range) / 1000);
    const got = await page.evaluate((joints) => window.tolvexView.core.fk(joints).xyzabc, q);
    const want = fkCsv(arm, q).map(Number);
    if (!got.every((v, i) => Math.abs(v - want[i]) <= 1e-13 * Math.max(1, Math.abs(want[i]))))
      throw new Error(`fk of ${q}: page ${got}, tolvex-kine ${want}`);
  }
  console.log(`ok: the page's pose of 10 random postures equals fk --csv ${arm.join(' ')} to 15 digits`);
}

async function jointsAndPose(page, arm, q) {
  await setJointSliders(page, q);
  same(await shownJoints(page, q.length), printed(q), 'joints shown after setting the sliders');
  same(await shownPose(page), fkTable(arm, q), `pose equals tolvex-kine fk ${arm.join(' ')}`);
}

// A motion in the columns `move --csv` writes: t, q1..qn, pose, arm angle (here 25 deg/s).
function writeMotion(file, arm, from, to) {
  const rows = [];
  for (let k = 0; k <= 50; ++k) {
    const q = from.map((a, i) => a + (k / 50) * (to[i] - a));
    rows.push([k * 0.02, ...q, ...fkCsv(arm, q), k * 0.5]);
  }
  const joints = from.map((_, i) => `q${i + 1} [deg]`).join(',');
  fs.writeFileSync(file, `# Motion for the browser test\nt [s],${joints},x [mm],y [mm],z [mm],A [deg],B [deg],C [deg],` +
    'arm angle [deg]\n' + rows.map((row) => row.join(',')).join('\n') + '\n');
  return to;
}

// The model file's page: its limit verdict, arm angle and inverse kinematics against the tool's.
async function modelPage(page, model) {
  await jointsAndPose(page, [], [12, -35, 20, -80, 15, 40, -25]);
  const corner = [10, -30, -20, -60, 15, 100, 150];
  await typeJoint(page, 7, 150);
  await setJointSliders(page, corner.slice(0, 6));
  const verdicts = toolTable(tool('limits', '--model', model, ...corner.map(String)), 'Limits, posture P1').map((row) => row[4]);
  same(await shownVerdicts(page), verdicts, 'limit verdict per joint equals tolvex-kine limits');
  check(await page.locator('#joint-7.outside').count() === 1, 'a joint outside is coloured');
  await fkToFifteenDigits(page, [], 7, 150);

  const start = [10, -30, -20, -60, 15, -40, -25];
  const psi = await dragArmAngle(page, start);
  const nsp = toolTable(tool('nsp', '--ref', ...start.map(String), '--angle', String(psi), ...fkCsv([], start)),
    'Arm angle sweep');
  // nsp prints two decimals, the page three: they agree within the rounding of both.
  const shown = (await shownJoints(page)).map(Number);
  check(shown.every((v, i) => Math.abs(v - Number(nsp[1][1 + i])) <= 0.0055),
    `joints ${shown} equal tolvex-kine nsp at that arm angle: ${nsp[1].slice(1, 8)}`);
  await inverseKinematics(page, []);
}

// Drags the arm-angle slider from `posture`: the elbow swings, the pose stays. The arm angle reached.
async function dragArmAngle(page, posture) {
  await setJointSliders(page, posture);
  const pose = await shownPose(page);
  const joints = await shownJoints(page);
  check((await text(page, 'arm-angle-map')).startsWith('usable [deg]: ['), 'usable arm-angle intervals shown');
  // From the thumb, which the page puts at the posture's arm angle (its centre runs 8 px inside the track).
  const start = Number(await page.inputValue('#arm-angle'));
  const shownStart = Number(await text(page, 'arm-angle-value'));
  check(Math.abs(start - shownStart) <= 0.05, `the slider stands at the arm angle shown, ${shownStart} deg (its step 0.1 deg)`);
  const box = await page.locator('#arm-angle').boundingBox();
  const x = box.x + 8 + ((box.width - 16) * (start + 180)) / 360;
  await page.mouse.move(x, box.y + box.height / 2);
  await page.mouse.down();
  for (let step = 1; step <= 10; ++step) await page.mouse.move(x + 6 * step, box.y + box.height / 2);
  await page.mouse.up();
  const psi = Number(await text(page, 'arm-angle-value'));
  check(psi > start + 5, `the arm-angle slider was dragged from ${start} to ${psi} deg`);
  check((await shownJoints(page))[0] !== joints[0], 'the elbow swung: joint 1 moved');
  same(await shownPose(page), pose, 'the pose did not move');
  return psi;
}

// A typed target: the joints and the status words of `tolvex-kine ik` for the same arm.
async function inverseKinematics(page, arm) {
  const ref = [0, -30, 0, -60, 0, -40, 0];
  const target = ['700', '30', '640', '150', '50', '165'];
  await setJointSliders(page, ref);
  for (let i = 0; i < 6; ++i) await page.fill(`#target-${POSE[i]}`, target[i]);
  await page.click('#target-solve');
  const output = tool('ik', ...arm, '--ref', ...ref.map(String), ...target);
  same(await shownJoints(page), toolTable(output, 'Inverse kinematics')[0].slice(1),
    `typed target: joints equal tolvex-kine ik ${arm.join(' ')}`);
  const flags = toolTable(output, 'Status bytes').map((row) => row[2]);
  same(await page.$$eval('#solve-status td:nth-child(3)', (cells) => cells.map((c) => c.textContent)), flags,
    'status in the words of tolvex-kine ik');
}

// The example robot through the robot object: its flange pose, IK and arm angle against the tool's.
async function robotPage(page, robot) {
  const arm = ['--robot', robot];
  await jointsAndPose(page, arm, [12, -35, 20, -80, 15, 40, -25]);
  await fkToFifteenDigits(page, arm, 7, 110);
  await typeJoint(page, 2, 125);
  same((await shownVerdicts(page))[1], 'OUTSIDE: above max', 'joint 2 beyond its 120 deg limit');
  const posture = [10, -30, -20, -60, 15, -40, -25];
  await dragArmAngle(page, posture);
  // The robot counts the arm angle from a fixed plane: at the posture's own, its joints come back.
  await setJointSliders(page, posture);
  const back = await page.evaluate((q) => {
    const core = window.tolvexView.core;
    return core.armAngle(core.armAngleOf(q), q).q;
  }, posture);
  check(back.every((v, i) => Math.abs(v - posture[i]) <= 1e-9), `at its own arm angle the posture comes back: ${back}`);
  await inverseKinematics(page, arm);
}

// A robot without the analytic form: the reason in one line, no target or arm angle,
// forward kinematics, the verdict on each joint's range and playback as for any arm.
async function chainPage(page, robot, motion) {
  const arm = ['--robot', robot];
  const refused = spawnSync(options.tool, ['ik', ...arm, '--ref', '0', '0', '0', '0', '0', '0', '0', '1', '2', '3', '4', '5', '6'],
    { encoding: 'utf8' });
  const reason = refused.stderr.trim().replace(/^.*has no analytic inverse kinematics: /, '');
  same(await text(page, 'analytic-note'), `No inverse kinematics or arm angle: ${reason}`,
    'the page says why there is no inverse kinematics, as tolvex-kine ik does');
  for (const id of ['target-section', 'arm-angle-section', 'arm-angle-line'])
    check(await page.locator(`#${id}`).isHidden(), `#${id} is hidden`);
  await jointsAndPose(page, arm, [12, -35, 20, -80, 15, 40]);
  await fkToFifteenDigits(page, arm, 6, 100);
  await typeJoint(page, 2, 115);
  same(await shownVerdicts(page, 6), ['inside', 'OUTSIDE: above max', 'inside', 'inside', 'inside', 'inside'],
    'joint 2 beyond its 110 deg range');
  await page.setInputFiles('#motion-file', motion.file);
  await page.waitForFunction(() => document.getElementById('motion-name').textContent.includes('rows'));
  await page.locator('#scrub').fill('1');
  same(await shownJoints(page, 6), printed(motion.last), 'scrubbed to the end: the last row\'s joints');
  same(await shownPose(page), fkTable(arm, motion.last), 'scrubbed to the end: the pose of the last row');
}

// The example robot exported to URDF and imported back by `view --urdf`: the same robot,
// so the same flange poses and inverse kinematics as `fk --robot` and `ik --robot` of its robot.ini.
async function urdfPage(page, robot) {
  const arm = ['--robot', robot];
  check(await page.locator('#target-section').isVisible(), 'the imported arm has the analytic form');
  await jointsAndPose(page, arm, [12, -35, 20, -80, 15, 40, -25]);
  await fkToFifteenDigits(page, arm, 7, 110);
  await inverseKinematics(page, arm);
}

async function playMotion(browser, file, arm, last) {
  const page = await openPage(browser, file);
  check((await text(page, 'motion-name')).endsWith(': 51 rows, 1.000 s'), 'the motion from --motion is loaded');
  await page.click('#play');
  await page.waitForFunction(() => document.getElementById('play').textContent === 'Play', null, { timeout: 10000 });
  same(await shownJoints(page), printed(last), 'after playing: the last row\'s joints');
  same(await shownPose(page), fkTable(arm, last), 'after playing: the pose of the last row\'s joints');
  same(await text(page, 'arm-angle-value'), '25.000', 'after playing: the last row\'s arm angle');
  await page.locator('#scrub').fill('0.5');
  same(await text(page, 'motion-time'), 't = 0.500 s', 'scrubbed to the middle');
  await page.locator('#scrub').fill('1');
  return page;
}

async function badMotionFile(page) {
  const bad = 'bad-motion.csv';
  fs.writeFileSync(bad, '0,1,2,3\n');
  await page.setInputFiles('#motion-file', bad);
  await page.waitForFunction(() => document.getElementById('motion-name').textContent.includes('bad-motion.csv'));
  same(await text(page, 'motion-name'), 'bad-motion.csv: line 1: 4 fields, 15 expected: t, q1..q7, x, y, z, A, B, C, arm angle',
    'a bad motion file is refused with the line and the reason');
}

// Six joints, the wrist offset from the forearm's axis (so not of the analytic form), a
// zero offset on joints 2 and 6, and a base that stands turned and shifted.
function writeChainRobot(file) {
  const dh = [[0, 0, 290, 0], [-90, 0, 0, -90], [0, 270, 0, 0], [-90, 70, 302, 0], [90, 0, 0, 0], [-90, 0, 72, 180]];
  const limits = [165, 110, 110, 160, 120, 350];
  const lines = ['[R.BASIC]', 'Name=SixAxisOffsetWrist', '', '[R.A0.BASIC]', 'Dof=6', 'GravityX=0', 'GravityY=0', 'GravityZ=-9.81', ''];
  dh.forEach(([alpha, a, d, theta], l) => lines.push(`[R.A0.L${l}.BASIC]`, `LimitNeg=${-limits[l]}`, `LimitPos=${limits[l]}`,
    'VelMax=200', 'AccMax=800', 'TorqueMax=50', '', `[R.A0.L${l}.DH]`, `Alpha=${alpha}`, `A=${a}`, `D=${d}`, `Theta=${theta}`, ''));
  lines.push('[R.A0.BASE]', 'X=100', 'Y=-50', 'Z=20', 'A=0', 'B=0', 'C=30', '');
  fs.writeFileSync(file, lines.join('\n'));
}

async function main() {
  if (!options.tool || !options.examples || !options.out)
    throw new Error('usage: node browser_test.cjs --tool TOOL --examples DIR --chromium CHROMIUM --out DIR');
  if (!options.chromium || !fs.existsSync(options.chromium)) skip('chromium was not found (Debian package chromium)');
  let chromium;
  try {
    ({ chromium } = require('playwright-core'));
  } catch (error) {
    skip('playwright-core is not installed (the build installs it with npm ci)');
  }
  // The pages and files are made in the output folder and named from there, as a user would.
  options.tool = path.resolve(options.tool);
  const robot = path.resolve(options.examples, 'robot.ini');
  const model = path.resolve(options.examples, 'model-1017.txt');
  fs.mkdirSync(options.out, { recursive: true });
  process.chdir(options.out);
  const attempt = spawnSync(options.tool, ['view', '-o', 'view.html'], { encoding: 'utf8' });
  if (attempt.status === 2 && attempt.stderr.includes('the page was not built')) skip(attempt.stderr.trim());
  check(attempt.status === 0, `tolvex-kine view -o view.html: ${attempt.stdout.trim()}${attempt.stderr.trim()}`);
  view('--model', model, '-o', 'view-model.html');
  const chain = 'six-axis.ini';
  writeChainRobot(chain);
  view('--robot', chain, '-o', 'view-six-axis.html');
  const robotMotion = writeMotion('motion.csv', ['--robot', robot], [10, -30, -20, -60, 15, -40, -25], [40, -10, 10, -90, -20, 30, 60]);
  view('--motion', 'motion.csv', '-o', 'view-motion.html');
  const chainMotion = { file: 'six-axis-motion.csv', last: [-20, 30, 40, -30, 60, 90] };
  writeMotion(chainMotion.file, ['--robot', chain], [0, -20, 10, 0, 30, 0], chainMotion.last);

  const browser = await chromium.launch({
    executablePath: options.chromium,
    headless: true,
    // Software WebGL: the test machines have no GPU.
    args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
  });
  try {
    const robotView = await openPage(browser, 'view.html');
    await robotPage(robotView, robot);
    await setJointSliders(robotView, [10, -30, -20, -60, 15, -40, -25]);
    await robotView.screenshot({ path: 'view.png' });

    const modelView = await openPage(browser, 'view-model.html');
    await modelPage(modelView, model);
    await badMotionFile(modelView);
    await modelView.screenshot({ path: 'view-model.png' });

    const chainView = await openPage(browser, 'view-six-axis.html');
    await chainPage(chainView, chain, chainMotion);
    await chainView.screenshot({ path: 'view-six-axis.png' });

    const exported = spawnSync(options.tool, ['urdf', '-o', 'arm.urdf'], { encoding: 'utf8' });
    const imported = exported.status === 0 && spawnSync(options.tool, ['view', '--urdf', 'arm.urdf', '-o', 'view-urdf.html'],
      { encoding: 'utf8' });
    if (imported && imported.status === 0) {
      await urdfPage(await openPage(browser, 'view-urdf.html'), robot);
    } else {
      // Only where the tool was built without the URDF library; it says so in one line.
      const why = (imported || exported).stderr.trim();
      check(why.includes('without URDF support'), `the URDF page is left out: ${why}`);
    }

    const played = await playMotion(browser, 'view-motion.html', ['--robot', robot], robotMotion);
    await played.screenshot({ path: 'view-motion.png' });
    console.log(`screenshots in ${process.cwd()}: view.png, view-model.png, view-six-axis.png, view-motion.png`);
  } finally {
    await browser.close();
  }
}

main().catch((error) => {
  console.error(`FAILED: ${error.message}`);
  process.exit(1);
});
