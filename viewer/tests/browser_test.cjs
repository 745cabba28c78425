// The browser view in a real browser (headless Chromium driven by Playwright): the
// page that `tolvex-kine view` writes must show what the tool prints, digit for digit.
//   node browser_test.cjs --tool TOLVEX_KINE --chromium CHROMIUM --out DIR
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
const shownJoints = (page) => Promise.all([1, 2, 3, 4, 5, 6, 7].map((i) => text(page, `q${i}`)));

async function setJointSliders(page, q) {
  for (let i = 0; i < q.length; ++i) await page.locator(`#joint-${i + 1}-slider`).fill(String(q[i]));
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

// The tool pose of q as `fk --csv` prints it (15 significant digits).
function fkCsv(q) {
  const lines = tool('fk', '--csv', ...q.map(String)).split('\n');
  return lines[lines.findIndex((line) => line.startsWith('# Tool pose as XYZABC')) + 2].split(',');
}

// A motion in the columns `move --csv` writes: t, q1..q7, tool pose, arm angle (here 25 deg/s).
function writeMotion(file) {
  const from = [10, -30, -20, -60, 15, -40, -25];
  const to = [40, -10, 10, -90, -20, 30, 60];
  const rows = [];
  for (let k = 0; k <= 50; ++k) {
    const q = from.map((a, i) => a + (k / 50) * (to[i] - a));
    rows.push([k * 0.02, ...q, ...fkCsv(q), k * 0.5]);
  }
  fs.writeFileSync(file, '# Motion for the browser test\nt [s],q1 [deg],q2 [deg],q3 [deg],q4 [deg],q5 [deg],q6 [deg],' +
    'q7 [deg],x [mm],y [mm],z [mm],A [deg],B [deg],C [deg],arm angle [deg]\n' + rows.map((row) => row.join(',')).join('\n') + '\n');
  return rows[rows.length - 1].slice(1, 8);
}

async function jointsAndPose(page) {
  const q = [12, -35, 20, -80, 15, 40, -25];
  await setJointSliders(page, q);
  same(await shownJoints(page), q.map((v) => v.toFixed(3)), 'joints shown after setting the sliders');
  same(await shownPose(page), toolTable(tool('fk', ...q.map(String)), 'Tool pose as XYZABC')[0], 'tool pose equals tolvex-kine fk');

  const corner = [10, -30, -20, -60, 15, 100, 150];
  await page.fill('#joint-7-value', '150');
  await page.press('#joint-7-value', 'Enter');
  await setJointSliders(page, corner.slice(0, 6));
  const verdicts = toolTable(tool('limits', ...corner.map(String)), 'Limits, posture P1').map((row) => row[4]);
  same(await Promise.all([1, 2, 3, 4, 5, 6, 7].map((i) => text(page, `joint-${i}-verdict`))), verdicts,
    'limit verdict per joint equals tolvex-kine limits');
  check(await page.locator('#joint-7.outside').count() === 1, 'a joint outside is coloured');
}

// Beyond the printed digits: the page's tool pose of seeded random postures against `fk --csv`
// (15 significant digits), so a difference in the arithmetic itself would show.
async function fkToFifteenDigits(page) {
  let state = 2024;
  const random = () => (state = (state * 1103515245 + 12345) % 2147483648) / 2147483648;
  for (let k = 0; k < 10; ++k) {
    const q = Array.from({ length: 7 }, () => Math.round(300000 * random() - 150000) / 1000);
    const got = await page.evaluate((joints) => window.tolvexView.core.fk(joints).xyzabc, q);
    const want = fkCsv(q).map(Number);
    if (!got.every((v, i) => Math.abs(v - want[i]) <= 1e-13 * Math.max(1, Math.abs(want[i]))))
      throw new Error(`fk of ${q}: page ${got}, tolvex-kine ${want}`);
  }
  console.log('ok: the page\'s tool pose of 10 random postures equals fk --csv to 15 digits');
}

async function armAngle(page) {
  await setJointSliders(page, [10, -30, -20, -60, 15, -40, -25]);
  const pose = await shownPose(page);
  const joints = await shownJoints(page);
  check((await text(page, 'arm-angle-map')).startsWith('usable [deg]: ['), 'usable arm-angle intervals shown');
  const box = await page.locator('#arm-angle').boundingBox();
  await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  await page.mouse.down();
  for (let step = 1; step <= 10; ++step) await page.mouse.move(box.x + box.width / 2 + 6 * step, box.y + box.height / 2);
  await page.mouse.up();
  const psi = Number(await text(page, 'arm-angle-value'));
  check(psi > 5, `the arm-angle slider was dragged to ${psi} deg`);
  check((await shownJoints(page))[0] !== joints[0], 'the elbow swung: joint 1 moved');
  same(await shownPose(page), pose, 'the tool pose did not move');
  const nsp = toolTable(tool('nsp', '--ref', '10', '-30', '-20', '-60', '15', '-40', '-25', '--angle', String(psi),
    ...fkCsv([10, -30, -20, -60, 15, -40, -25])), 'Arm angle sweep');
  // nsp prints two decimals, the page three: they agree within the rounding of both.
  const shown = (await shownJoints(page)).map(Number);
  check(shown.every((v, i) => Math.abs(v - Number(nsp[1][1 + i])) <= 0.0055),
    `joints ${shown} equal tolvex-kine nsp at that arm angle: ${nsp[1].slice(1, 8)}`);
}

async function inverseKinematics(page) {
  const ref = [0, -30, 0, -60, 0, -40, 0];
  const target = ['700', '30', '640', '150', '50', '165'];
  await setJointSliders(page, ref);
  for (let i = 0; i < 6; ++i) await page.fill(`#target-${POSE[i]}`, target[i]);
  await page.click('#target-solve');
  const output = tool('ik', '--ref', ...ref.map(String), ...target);
  same(await shownJoints(page), toolTable(output, 'Inverse kinematics')[0].slice(1), 'typed target: joints equal tolvex-kine ik');
  const flags = toolTable(output, 'Status bytes').map((row) => row[2]);
  same(await page.$$eval('#solve-status td:nth-child(3)', (cells) => cells.map((c) => c.textContent)), flags,
    'status flags in the words of tolvex-kine ik');
}

async function motion(browser, file, last) {
  const page = await openPage(browser, file);
  check((await text(page, 'motion-name')).endsWith(': 51 rows, 1.000 s'), 'the motion from --motion is loaded');
  await page.click('#play');
  await page.waitForFunction(() => document.getElementById('play').textContent === 'Play', null, { timeout: 10000 });
  same(await shownJoints(page), last.map((v) => v.toFixed(3)), 'after playing: the last row\'s joints');
  same(await shownPose(page), toolTable(tool('fk', ...last.map(String)), 'Tool pose as XYZABC')[0],
    'after playing: the tool pose of the last row\'s joints');
  same(await text(page, 'arm-angle-value'), '25.000', 'after playing: the last row\'s arm angle');
  await page.locator('#scrub').fill('0.5');
  same(await text(page, 'motion-time'), 't = 0.500 s', 'scrubbed to the middle');
  return page;
}

async function motionFileInput(page) {
  const bad = 'bad-motion.csv';
  fs.writeFileSync(bad, '0,1,2,3\n');
  await page.setInputFiles('#motion-file', bad);
  await page.waitForFunction(() => document.getElementById('motion-name').textContent.includes('bad-motion.csv'));
  same(await text(page, 'motion-name'), 'bad-motion.csv: line 1: 4 fields, 15 expected: t, q1..q7, x, y, z, A, B, C, arm angle',
    'a bad motion file is refused with the line and the reason');
}

async function main() {
  if (!options.tool || !options.out) throw new Error('usage: node browser_test.cjs --tool TOOL --chromium CHROMIUM --out DIR');
  if (!options.chromium || !fs.existsSync(options.chromium)) skip('chromium was not found (Debian package chromium)');
  let chromium;
  try {
    ({ chromium } = require('playwright-core'));
  } catch (error) {
    skip('playwright-core is not installed (the build installs it with npm ci)');
  }
  // The pages and files are made in the output folder and named from there, as a user would.
  options.tool = path.resolve(options.tool);
  fs.mkdirSync(options.out, { recursive: true });
  process.chdir(options.out);
  const page1 = 'view.html';
  const attempt = spawnSync(options.tool, ['view', '-o', page1], { encoding: 'utf8' });
  if (attempt.status === 2 && attempt.stderr.includes('the page was not built')) skip(attempt.stderr.trim());
  check(attempt.status === 0, `tolvex-kine view -o ${page1}: ${attempt.stdout.trim()}${attempt.stderr.trim()}`);
  const motionFile = 'motion.csv';
  const lastJoints = writeMotion(motionFile);
  const page2 = 'view-motion.html';
  tool('view', '--motion', motionFile, '-o', page2);

  const browser = await chromium.launch({
    executablePath: options.chromium,
    headless: true,
    // Software WebGL: the test machines have no GPU.
    args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
  });
  try {
    const page = await openPage(browser, page1);
    await jointsAndPose(page);
    await fkToFifteenDigits(page);
    await armAngle(page);
    await inverseKinematics(page);
    await motionFileInput(page);
    await setJointSliders(page, [10, -30, -20, -60, 15, -40, -25]);
    await page.screenshot({ path: 'view.png' });
    const played = await motion(browser, page2, lastJoints);
    await played.screenshot({ path: 'view-motion.png' });
    console.log(`screenshots: ${path.resolve('view.png')}, view-motion.png`);
  } finally {
    await browser.close();
  }
}

main().catch((error) => {
  console.error(`FAILED: ${error.message}`);
  process.exit(1);
});
