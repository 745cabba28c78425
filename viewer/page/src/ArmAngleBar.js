// The arm-angle slider of the current pose: -180..180 deg from the reference's
// elbow plane, its usable intervals drawn on the track, the reference marked at 0.
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
    this.text = elements.text;
    this.slider.addEventListener('input', () => onChange(Number(this.slider.value)));
  }

  // The usable intervals of the current pose (none when the map failed) and a line about them.
  show(map, describe) {
    const stops = [`${UNUSABLE} 0%`];
    for (const [from, to] of pieces(map.intervals).sort((a, b) => a[0] - b[0]))
      stops.push(`${UNUSABLE} ${percent(from)}%`, `${USABLE} ${percent(from)}%`, `${USABLE} ${percent(to)}%`,
        `${UNUSABLE} ${percent(to)}%`);
    stops.push(`${UNUSABLE} 100%`);
    this.band.style.background = `linear-gradient(to right, ${stops.join(', ')})`;
    this.slider.disabled = !map.ok;
    this.text.textContent = describe;
  }

  setValue(psi) {
    this.slider.value = psi;
  }
}
