// A slider and a number field per joint, the slider's range the joint's limits,
// with the limit verdict beside it and the row coloured when the joint is outside.
export class JointSliders {
  constructor(container, limits, onChange) {
    this.rows = limits.lower.map((lower, i) => {
      const row = document.createElement('div');
      row.className = 'joint';
      row.id = `joint-${i + 1}`;
      row.innerHTML = `<label for="joint-${i + 1}-slider">q${i + 1}</label>` +
        `<input type="range" id="joint-${i + 1}-slider" min="${lower}" max="${limits.upper[i]}" step="any">` +
        `<input type="number" id="joint-${i + 1}-value" step="any" title="joint ${i + 1} [deg]">` +
        `<span class="verdict" id="joint-${i + 1}-verdict"></span>`;
      container.appendChild(row);
      const [slider, field, verdict] = row.querySelectorAll('input[type=range], input[type=number], .verdict');
      slider.addEventListener('input', () => onChange(i, Number(slider.value)));
      field.addEventListener('change', () => {
        const value = Number(field.value);
        if (field.value.trim() !== '' && Number.isFinite(value)) onChange(i, value);
      });
      return { row, slider, field, verdict };
    });
  }

  // Joint values (deg) with their texts as the tool prints them, and each joint's verdict.
  show(values, texts, states, verdictTexts) {
    this.rows.forEach(({ row, slider, field, verdict }, i) => {
      slider.value = values[i];
      field.value = texts[i];
      verdict.textContent = verdictTexts[i];
      row.classList.toggle('outside', states[i] !== 0);
    });
  }
}
