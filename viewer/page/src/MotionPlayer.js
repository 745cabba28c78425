// Playback of a motion (rows of t, joints, tool pose, arm angle): play, pause and
// scrub through time; shows each row through `show(row)` as the time passes.
export class MotionPlayer {
  constructor(elements, show) {
    this.elements = elements;
    this.show = show;
    this.rows = [];
    this.index = 0;
    this.playing = false;
    elements.play.addEventListener('click', () => (this.playing ? this.pause() : this.play()));
    elements.scrub.addEventListener('input', () => {
      this.pause();
      this.showAt(Number(elements.scrub.value));
    });
    this.setEnabled(false);
  }

  setEnabled(enabled) {
    this.elements.play.disabled = !enabled;
    this.elements.scrub.disabled = !enabled;
  }

  load(rows) {
    this.pause();
    this.rows = rows;
    const { scrub } = this.elements;
    scrub.min = rows[0][0];
    scrub.max = rows[rows.length - 1][0];
    this.setEnabled(true);
    this.showIndex(0);
  }

  get loaded() {
    return this.rows.length > 0;
  }

  // The last row at or before time t.
  indexAt(t) {
    let low = 0;
    let high = this.rows.length - 1;
    while (low < high) {
      const middle = (low + high + 1) >> 1;
      if (this.rows[middle][0] <= t) low = middle;
      else high = middle - 1;
    }
    return low;
  }

  showAt(t) {
    this.showIndex(this.indexAt(t));
  }

  showIndex(index) {
    this.index = index;
    const row = this.rows[index];
    this.elements.scrub.value = row[0];
    this.show(row);
  }

  play() {
    if (!this.loaded) return;
    if (this.index === this.rows.length - 1) this.showIndex(0);
    this.playing = true;
    this.elements.play.textContent = 'Pause';
    const first = this.rows[0][0];
    const startedAt = performance.now() - (this.rows[this.index][0] - first) * 1000;
    const step = (now) => {
      if (!this.playing) return;
      this.showAt(first + (now - startedAt) / 1000);
      if (this.index === this.rows.length - 1) this.pause();
      else requestAnimationFrame(step);
    };
    requestAnimationFrame(step);
  }

  pause() {
    if (!this.playing) return;
    this.playing = false;
    this.elements.play.textContent = 'Play';
    if (this.onPause) this.onPause();
  }
}
