// The arm-angle slider of the current pose: -180..180 deg, its usable intervals drawn
// on the track, the arm angle of the posture set or solved marked.
const USABLE = '#8ce99a';
const UNUSABLE = '#ffc9c9';

function percent(angle) {
  return ((angle + 180) / 360) * 100;
}

// [from, to] pieces in -180..180 of intervals that may wrap through 180.
function pieces(intervals) {
  return intervals.flatMap(([start, end]) => (end >= start ? [[start, end]] : [[start, 180], [-180, end]]));
}

export class ArmAngleBar {
  constructor(elements, onChange) {
    this.slider = elements.slider;
    this.band = elements.band;
    this.mark = elements.mark;
    this.text = elements.text;
    this.slider.addEventListener('input', () => onChange(Number(this.slider.value)));
  }

  // The usable intervals of the current pose (none when the map failed), a line about them,
  // and the slider and its mark at the arm angle `psi` of the posture shown.
  show(map, describe, psi) {
    const stops = [`${UNUSABLE} 0%`];
    for (const [from, to] of pieces(map.intervals).sort((a, b) => a[0] - b[0]))
      stops.push(`${UNUSABLE} ${percent(from)}%`, `${USABLE} ${percent(from)}%`, `${USABLE} ${percent(to)}%`,
        `${UNUSABLE} ${percent(to)}%`);
    stops.push(`${UNUSABLE} 100%`);
    this.band.style.background = `linear-gradient(to right, ${stops.join(', ')})`;
    this.slider.disabled = !map.ok;
    this.text.textContent = describe;
    this.slider.value = psi;
    // The thumb's centre runs 8 px inside the track's ends, as the band does.
    this.mark.style.left = `calc(8px + (100% - 16px) * ${percent(psi) / 100})`;
    this.mark.hidden = !Number.isFinite(psi);
  }
}
