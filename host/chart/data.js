// What the page holds, and what each part of it needs.

const {study, columns: columnBytes} = await unpackPage(document.getElementById('data').textContent);
study.volume = unpackColumn(study.volume);
for (const name of Object.keys(study.prices)) study.prices[name] = unpackColumn(study.prices[name]);
for (const curve of study.studies) {
  curve.values = unpackColumn(curve.values);
  for (const name of Object.keys(curve.bar ?? {})) curve.bar[name] = unpackColumn(curve.bar[name]);
}
study.labels = study.labels.map(([bar, expression, text, down]) => ({bar, expression, text, down}));

const charts = LightweightCharts;
const root = document.documentElement;
const main = document.getElementById('chart');
let barCount = study.bars;  // live.js changes it
const curveColors = 16;

function element(parent, tag, className, text) {
  const made = document.createElement(tag);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  parent.append(made);
  return made;
}

function button(parent, className, text, title, act) {
  const made = element(parent, 'button', className, text);
  made.type = 'button';
  made.title = title;
  made.setAttribute('aria-label', title);
  made.addEventListener('click', act);
  return made;
}

function shortened(text, length) {
  return text.length > length ? text.slice(0, length - 1) + '…' : text;
}

// As the axis of the pane shows it.
function valueText(value, pane) {
  return value === undefined || Number.isNaN(value) ? '–' : formats[pane].formatter(value);
}

// Digits for a scale that some columns of values share: whole numbers get none, large ones a letter.
function scaleFormat(columns) {
  let size = 0, whole = true;
  for (const values of columns) {
    for (const value of values) {
      if (value !== value) continue;  // a gap
      size = Math.max(size, Math.abs(value));
      whole = whole && Number.isInteger(value);
    }
  }
  if (size >= 1e5) {
    const compact = new Intl.NumberFormat('en', {notation: 'compact', maximumSignificantDigits: 4});
    return {type: 'custom', minMove: size < 1e7 ? 1 : size / 1e7, formatter: value => compact.format(value)};
  }
  const digits = whole ? 0 : size >= 20 ? 2 : size >= 1 || size === 0 ? 4 : Math.min(12, 4 - Math.floor(Math.log10(size)));
  return {type: 'custom', minMove: 10 ** -digits, formatter: value => value.toFixed(digits)};
}

// The chart's own arithmetic ends beyond this; the legend shows such values all the same.
const largestDrawn = 9e13;
function isDrawn(value) {
  return Math.abs(value) <= largestDrawn;  // a gap is not
}
