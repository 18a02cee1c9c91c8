// What the page holds, and what each part of it needs.

const study = JSON.parse(document.getElementById('data').textContent);
const charts = LightweightCharts;
const root = document.documentElement;
const main = document.getElementById('chart');
const barCount = study.dates.length;
const curveColors = 16;

function element(parent, tag, className, text) {
  const made = document.createElement(tag);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  parent.append(made);
  return made;
}

function shortened(text, length) {
  return text.length > length ? text.slice(0, length - 1) + '…' : text;
}

// Seconds of a business day or an ISO time, without a zone as UTC. Null for any other text.
function parseTime(text) {
  const parts = /^(\d{4})-?(\d\d)-?(\d\d)(?:[T ](\d\d):(\d\d)(?::(\d\d)(?:[.,]\d+)?)?(Z|[+-]\d\d:?\d\d)?)?$/.exec(text.trim());
  if (!parts) return null;
  const [year, month, day, hour, minute, second] = parts.slice(1, 7).map(part => Number(part || 0));
  const time = Date.UTC(year, month - 1, day, hour, minute, second);
  const date = new Date(time);
  if (date.getUTCMonth() !== month - 1 || date.getUTCDate() !== day || hour > 23 || minute > 59 || second > 59) return null;
  const zone = parts[7] && parts[7] !== 'Z' ? parts[7].replace(':', '') : '+0000';
  const ahead = (zone[0] === '-' ? -60 : 60) * (60 * Number(zone.slice(1, 3)) + Number(zone.slice(3)));
  return time / 1000 - ahead;
}

const secondsADay = 86400;
const parsed = study.dates.map(parseTime);
const isTimed = parsed.every((time, bar) => time !== null && (bar === 0 || time > parsed[bar - 1]));
// Without times that rise, bars stand one day apart, and the axis shows the texts of the file.
const times = isTimed ? parsed : parsed.map((_, bar) => bar * secondsADay);
const barAt = new Map(times.map((time, bar) => [time, bar]));
const hasClock = isTimed && times.some(time => time % secondsADay !== 0);

function dateText(time) {
  const bar = barAt.get(time);
  return bar === undefined ? '' : study.dates[bar];
}

// As the axis of the pane shows it.
function valueText(value, pane) {
  return value === null || value === undefined ? '–' : formats[pane].formatter(value);
}

// Digits for a scale that some columns of values share: whole numbers get none, large ones a letter.
function scaleFormat(columns) {
  let size = 0, whole = true;
  for (const values of columns) {
    for (const value of values) {
      if (value === null) continue;
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
  return value !== null && Math.abs(value) <= largestDrawn;
}
