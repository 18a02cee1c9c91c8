// Draws the study that the page holds. All its texts come from files and expressions: they reach the page as text nodes
// and as letters on a canvas only.
(() => {
'use strict';

const study = JSON.parse(document.getElementById('data').textContent);
const charts = LightweightCharts;
const root = document.documentElement;
const main = document.getElementById('chart');
const barCount = study.dates.length;
const curveColors = 8;

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

// ---- Times

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

// ---- Values

// As `study run` shows them: ten digits at most.
function valueText(value) {
  return value === null ? '–' : String(Number(value.toPrecision(10)));
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

// ---- Curves

// The colour of a point is that of the line from it to the next point. The library draws this line over a gap too, so
// that it is transparent there. The last point keeps its colour for the price axis.
function linePoints(values) {
  const last = values.findLastIndex(isDrawn);
  return values.map((value, bar) => {
    const time = times[bar];
    if (!isDrawn(value)) return {time};
    return bar === last || isDrawn(values[bar + 1]) ? {time, value} : {time, value, color: 'transparent'};
  });
}

// Values without a neighbour, which no line shows.
function dotPoints(values) {
  const isAlone = (value, bar) => isDrawn(value) && !isDrawn(values[bar - 1]) && !isDrawn(values[bar + 1]);
  return values.flatMap((value, bar) => isAlone(value, bar) ? [{time: times[bar], value}] : []);
}

const {open, high, low, close} = study.prices;
const isCandles = Boolean(open && high && low && close);
const [priceName, priceValues] = Object.entries(study.prices).find(([name]) => name === 'close') ??
  Object.entries(study.prices)[0] ?? [];

// By pane: one format for all that share its scale.
const formats = Array.from({length: study.panes}, (_, pane) => scaleFormat([
  ...(pane === 0 ? Object.values(study.prices) : []),
  ...study.studies.filter(curve => curve.pane === pane).map(curve => curve.values),
]));

function candlePoints() {
  return times.map((time, bar) => {
    const [o, h, l, c] = [open[bar], high[bar], low[bar], close[bar]];
    return [o, h, l, c].every(isDrawn) ? {time, open: o, high: h, low: l, close: c} : {time};
  });
}

// ---- Theme

const preferred = matchMedia('(prefers-color-scheme: dark)');
let chosenTheme = study.theme === 'auto' ? null : study.theme;

function color(name) {
  return getComputedStyle(root).getPropertyValue('--' + name).trim();
}

function applyTheme() {
  const theme = chosenTheme ?? (preferred.matches ? 'dark' : 'light');
  root.dataset.theme = theme;
  document.getElementById('theme').textContent = theme === 'dark' ? '☀ Light' : '☾ Dark';
  chart.applyOptions({
    layout: {
      background: {type: 'solid', color: color('page')},
      textColor: color('quiet'),
      panes: {separatorColor: color('line'), separatorHoverColor: color('hover')},
    },
    grid: {vertLines: {color: color('grid')}, horzLines: {color: color('grid')}},
    timeScale: {borderColor: color('line')},
    rightPriceScale: {borderColor: color('line')},
    crosshair: {
      vertLine: {color: color('quiet'), labelBackgroundColor: color('label')},
      horzLine: {color: color('quiet'), labelBackgroundColor: color('label')},
    },
  });
  for (const {series, paint} of drawn) series.applyOptions(paint());
  drawLabels();
}

// ---- Chart

const canvas = element(main, 'div');
canvas.id = 'canvas';
main.style.minHeight = study.height - 90 + 'px';

const chart = charts.createChart(canvas, {
  autoSize: true,
  layout: {fontFamily: getComputedStyle(document.body).fontFamily, fontSize: 11, attributionLogo: false},
  crosshair: {mode: charts.CrosshairMode.Normal},
  hoveredSeriesOnTop: false,  // it stays there at times when the pointer has left
  rightPriceScale: {minimumWidth: 72},
  timeScale: {
    timeVisible: hasClock,
    rightOffset: 3,
    minBarSpacing: 0.05,
    ...(isTimed ? {} : {tickMarkFormatter: time => shortened(dateText(time), 12)}),
  },
  localization: {timeFormatter: time => shortened(dateText(time), 40)},
});

const drawn = [];  // {series, paint}: what to colour anew with the theme

function addSeries(type, points, pane, options, paint) {
  const series = chart.addSeries(type, {
    priceFormat: formats[pane], priceLineVisible: false, crosshairMarkerVisible: false, ...options, ...paint(),
  }, pane);
  series.setData(points);
  drawn.push({series, paint});
  return series;
}

// Two series where values stand alone, and else one.
function addLine(values, pane, colorName, lineWidth) {
  const paint = () => ({color: color(colorName)});
  const add = (points, options) => addSeries(charts.LineSeries, points, pane, {lineWidth, ...options}, paint);
  // A line of a single point would be a dash.
  const line = add(linePoints(values), {lineVisible: values.filter(isDrawn).length > 1});
  const dots = dotPoints(values);
  return dots.length === 0 ? [line] : [line, add(dots, {
    lineVisible: false, lastValueVisible: false, pointMarkersVisible: true, pointMarkersRadius: 1.5 * lineWidth,
  })];
}

function addCandles() {
  return addSeries(charts.CandlestickSeries, candlePoints(), 0, {borderVisible: false}, () => ({
    upColor: color('up'), wickUpColor: color('up'), downColor: color('down'), wickDownColor: color('down'),
  }));
}

const priceSeries = isCandles ? addCandles() : priceName ? addLine(priceValues, 0, 'text', 1)[0] : null;
const curves = study.studies.map((curve, index) => {
  const colorName = 'curve' + index % curveColors;
  const lineWidth = curve.pane === 0 && priceSeries ? 2 : 1.5;
  return {...curve, colorName, series: addLine(curve.values, curve.pane, colorName, lineWidth)};
});
for (const [index, pane] of chart.panes().entries()) {
  pane.setStretchFactor(index === 0 ? 4 : 1.5);
  const onAxis = pane.getSeries().filter(series => series.options().lastValueVisible);
  if (onAxis.length > 3) {
    for (const series of onAxis.slice(1)) series.applyOptions({lastValueVisible: false});
  }
}

// ---- Labels

// A marker stands at a value of its series. Without one on its bar it would go to a neighbour, so that an unseen series
// holds it, at the price before.
const labelHost = priceSeries ?? curves[0]?.series[0];
const standIns = new Map();  // values by bar
if (labelHost && study.labels.length) {
  const points = isCandles ? candlePoints() : linePoints(priceValues ?? curves[0].values);
  const prices = points.map(point => point.close ?? point.value);
  const labelled = new Set(study.labels.map(label => label.bar));
  let last = prices.find(price => price !== undefined) ?? 0;
  for (const [bar, price] of prices.entries()) {
    last = price ?? last;
    if (price === undefined && labelled.has(bar)) standIns.set(bar, last);
  }
}

function addStandIns() {
  const points = [...standIns].map(([bar, value]) => ({time: times[bar], value}));
  return addSeries(charts.LineSeries, points, 0, {lastValueVisible: false}, () => ({color: 'transparent'}));
}

const markers = labelHost && study.labels.length ? charts.createSeriesMarkers(labelHost, []) : null;
const strayMarkers = standIns.size ? charts.createSeriesMarkers(addStandIns(), []) : null;
const hiddenLabels = new Set();

// Labels point up or down where an operator has both kinds.
const pointing = new Set(study.labels.filter(label => label.down).map(label => label.expression));

function drawLabels() {
  const marker = label => {
    const place = {time: times[label.bar], text: label.text, size: 0.8};
    if (!pointing.has(label.expression)) return {...place, position: 'aboveBar', shape: 'circle', color: color('label')};
    return label.down ? {...place, position: 'aboveBar', shape: 'arrowDown', color: color('down')}
                      : {...place, position: 'belowBar', shape: 'arrowUp', color: color('up')};
  };
  const visible = study.labels.filter(label => !hiddenLabels.has(label.expression));
  markers?.setMarkers(visible.filter(label => !standIns.has(label.bar)).map(marker));
  strayMarkers?.setMarkers(visible.filter(label => standIns.has(label.bar)).map(marker));
}

const labelTexts = new Map();  // by bar, and in that by expression
for (const {bar, expression, text} of study.labels) {
  if (!labelTexts.has(bar)) labelTexts.set(bar, new Map());
  const texts = labelTexts.get(bar);
  texts.set(expression, texts.has(expression) ? `${texts.get(expression)} ${text}` : text);
}

// ---- Legend

const legends = chart.panes().map(() => element(main, 'div', 'legend'));
const readers = [];  // each shows its value on a bar

function addChip(row, {colorName, name, read, toggle}) {
  const chip = element(row, 'button', 'chip');
  chip.type = 'button';
  chip.setAttribute('aria-pressed', 'true');
  if (colorName) element(chip, 'span', 'swatch').style.background = `var(--${colorName})`;
  if (name) element(chip, 'span', '', name + ' ');
  const value = element(chip, 'b');
  readers.push(bar => { value.textContent = read(bar); });
  chip.addEventListener('click', () => {
    const visible = chip.getAttribute('aria-pressed') === 'false';
    chip.setAttribute('aria-pressed', String(visible));
    toggle(visible);
  });
}

function addPrices() {
  const row = element(legends[0], 'div', 'row');
  const date = element(row, 'b', 'date');
  const shown = isCandles ? {open: 'O', high: 'H', low: 'L', close: 'C'} : {[priceName]: priceName};
  const prices = Object.entries(shown).map(([name, letter]) => {
    const price = element(row, 'span', 'price', letter + ' ');
    return {price, value: element(price, 'b'), values: study.prices[name]};
  });
  const change = element(row, 'span', 'price');
  const changeValue = element(change, 'b');
  readers.push(bar => {
    date.textContent = shortened(study.dates[bar], 40);
    const now = priceValues[bar], before = bar > 0 ? priceValues[bar - 1] : null;
    const percent = now !== null && before ? 100 * (now - before) / before : null;
    changeValue.textContent = percent === null ? '' : `${percent < 0 ? '−' : '+'}${Math.abs(percent).toFixed(2)} %`;
    change.className = `price ${percent < 0 ? 'down' : 'up'}`;
    const direction = !isCandles ? '' : close[bar] < open[bar] ? 'down' : 'up';
    for (const {price, value, values} of prices) {
      price.className = `price ${direction}`;
      value.textContent = valueText(values[bar]);
    }
  });
}

if (priceSeries) addPrices();
const rows = new Map();
for (const curve of curves) {
  const key = `${curve.pane} ${curve.expression}`;
  if (!rows.has(key)) {
    rows.set(key, element(legends[curve.pane], 'div', 'row'));
    element(rows.get(key), 'span', 'formula', curve.formula);
  }
  addChip(rows.get(key), {
    colorName: curve.colorName,
    name: curve.name,
    read: bar => valueText(curve.values[bar]),
    toggle: visible => curve.series.forEach(series => series.applyOptions({visible})),
  });
}
for (const {expression, formula} of study.labelled) {
  const row = element(legends[0], 'div', 'row');
  element(row, 'span', 'formula', formula);
  addChip(row, {
    name: 'labels',
    read: bar => labelTexts.get(bar)?.get(expression) ?? '',
    toggle: visible => {
      visible ? hiddenLabels.delete(expression) : hiddenLabels.add(expression);
      drawLabels();
    },
  });
}

// Legends stand at the top of their panes, and curves below them.
function placeLegends() {
  const top = main.getBoundingClientRect().top + main.clientTop;
  for (const [index, pane] of chart.panes().entries()) {
    const place = pane.getHTMLElement()?.getBoundingClientRect();
    if (!place?.height) continue;
    const gap = 4;
    legends[index].style.top = place.top - top + gap + 'px';
    const share = Math.min(0.4, (legends[index].offsetHeight + 2 * gap) / place.height);
    chart.priceScale('right', index).applyOptions({scaleMargins: {top: share, bottom: 0.06}});
  }
}

function showBar(bar) {
  for (const read of readers) read(bar);
}

chart.subscribeCrosshairMove(({logical}) => {
  const isBar = logical !== undefined && logical !== null && logical >= 0 && logical < barCount;
  if (barCount > 0) showBar(isBar ? Math.round(logical) : barCount - 1);
});

// ---- View

function viewLast(count) {
  chart.timeScale().setVisibleLogicalRange({from: barCount - Math.min(count, barCount) - 0.5, to: barCount - 0.5 + Math.max(1, count / 60)});
}

const ranges = document.getElementById('ranges');
for (const count of [60, 250, 1000].filter(count => count < barCount).concat(barCount)) {
  const button = element(ranges, 'button', '', count === barCount ? 'All' : String(count));
  button.type = 'button';
  button.title = count === barCount ? 'All bars' : `The last ${count} bars`;
  button.addEventListener('click', () => viewLast(count));
}

main.addEventListener('keydown', event => {
  const view = chart.timeScale().getVisibleLogicalRange();
  if (!view || event.ctrlKey || event.metaKey || event.altKey) return;
  const width = view.to - view.from;
  const moves = {
    ArrowLeft: [-0.1, -0.1], ArrowRight: [0.1, 0.1], '+': [0.2, 0], '=': [0.2, 0], '-': [-0.25, 0],
  };
  const move = moves[event.key];
  if (!move) return;
  event.preventDefault();
  chart.timeScale().setVisibleLogicalRange({from: view.from + move[0] * width, to: view.to + move[1] * width});
});

document.getElementById('theme').addEventListener('click', () => {
  chosenTheme = root.dataset.theme === 'dark' ? 'light' : 'dark';
  applyTheme();
});
preferred.addEventListener('change', applyTheme);

document.title = study.title;
document.getElementById('title').textContent = study.title;
document.getElementById('span').textContent = barCount === 0 ? 'no bars' :
  `${shortened(study.dates[0], 40)} – ${shortened(study.dates[barCount - 1], 40)}, ${barCount.toLocaleString('en')} bars`;

applyTheme();
if (barCount > 0) {
  showBar(barCount - 1);
  viewLast(study.last ?? 250);
}
const moved = new ResizeObserver(placeLegends);
moved.observe(main);
// A pane has its place only once it has been painted.
requestAnimationFrame(() => {
  for (const pane of chart.panes()) {
    const place = pane.getHTMLElement();
    if (place) moved.observe(place);
  }
  placeLegends();
});

window.studyChart = chart;  // for a reader's own scripts
})();
