// Buttons, keys, and the first view.

// A little room stays to the right of the last bar.
const lastBars = wanted => {
  const count = Math.min(wanted, barCount);
  return {from: barCount - count - 0.5, to: barCount - 0.5 + Math.max(1, count / 60)};
};

const ranges = document.getElementById('ranges');
const addButton = (text, title, act) => button(ranges, '', text, title, act);

// How many bars the last months hold; without times, months can't be told and bars are counted.
function barsOfMonths(months) {
  const last = new Date(1000 * times[barCount - 1]);
  return barCount - barFrom(Date.UTC(last.getUTCFullYear(), last.getUTCMonth() - months, last.getUTCDate()) / 1000 + 1);
}
const named = isTimed && barCount > 0
  ? [['1 day', 0], ['3 months', 3], ['1 year', 12], ['5 years', 60]].map(([name, months]) => [name, `The last ${name}`,
    months ? barsOfMonths(months) : hasClock ? barCount - barFrom(times[barCount - 1] - secondsADay + 1) : 0])
  : [60, 250, 1000].map(count => [`${count} bars`, `The last ${count} bars`, count]);
const rangeButtons = [...named.filter(([, , count]) => count > 1 && count < barCount), ['All', 'All bars', Infinity]]
  .map(([name, title, count]) => ({count, range: addButton(name, title, () => viewBars(lastBars(count)))}));

// The button whose bars are in view is marked.
whenViewMoves(view => {
  for (const {count, range} of rangeButtons) {
    const {from, to} = lastBars(count), close = 1 + Math.min(count, barCount) / 500;
    range.setAttribute('aria-pressed', String(Math.abs(view.from - from) < close && Math.abs(view.to - to) < close));
  }
});

// A date of the calendar, or where bars have other texts, the beginning of one.
function addGoTo() {
  const label = element(ranges, 'label', 'goto', 'Go to ');
  const input = element(label, 'input');
  input.type = isTimed ? 'date' : 'search';
  input.setAttribute('aria-label', isTimed ? 'Go to a date' : 'Go to the bar whose text begins so');
  if (isTimed) [input.min, input.max] = [times[0], times[barCount - 1]].map(time => new Date(1000 * time).toISOString().slice(0, 10));
  input.addEventListener('change', () => {
    const textAt = bar => dateOf(bar).toLowerCase().startsWith(input.value.toLowerCase());
    const found = isTimed ? barFrom(parseTime(input.value)) : times.findIndex((_, bar) => textAt(bar));
    const view = viewedBars();
    const isFound = input.value !== '' && found >= 0 && (!isTimed || !Number.isNaN(parseTime(input.value)));
    input.setCustomValidity(isFound || input.value === '' ? '' : 'There is no such bar.');
    input.reportValidity();
    if (!isFound || !view) return;
    const bar = Math.min(found, barCount - 1), half = (view.to - view.from) / 2;
    viewBars({from: bar - half, to: bar + half});
    pointAt(bar);
    speak(bar);
  });
}
if (barCount > 0) addGoTo();

let isLogarithmic = false;
const logButton = addButton('Log', 'Logarithmic price scale', () => {
  setLogarithmic(!isLogarithmic);
  tellView();
});
function setLogarithmic(isOn) {
  isLogarithmic = isOn;
  logButton.setAttribute('aria-pressed', String(isOn));
  const mode = isOn ? charts.PriceScaleMode.Logarithmic : charts.PriceScaleMode.Normal;
  chart.priceScale('right', paneOrder.indexOf(0)).applyOptions({mode});
}
const measureButton = addButton('Measure', 'Measure between two points: click one, then the other', () => switchMeasure(!measure.isOn));
measureButton.setAttribute('aria-pressed', 'false');
addButton('Reset', 'The first view again, with all panes and curves', () => {
  switchMeasure(false);
  changePanes(() => {
    largePane = draggedHeights = null;
    hiddenPanes.clear();
    for (let pane = 0; pane < paneOrder.length; ++pane) movePane(pane, pane);
  });
  for (const chip of chips) if (chip.getAttribute('aria-pressed') === 'false') chip.click();
  setLogarithmic(false);
  for (const index of paneOrder.keys()) chart.priceScale('right', index).applyOptions({autoScale: true});
  viewBars(lastBars(study.last ?? 250));
});
addButton('Picture', 'Save the picture as PNG', savePicture);
addButton('CSV', 'Save the values in view as CSV', saveCsv);

main.addEventListener('keydown', event => {
  if (event.target !== main || event.ctrlKey || event.metaKey || event.altKey) return;
  const view = viewedBars();
  if (!view) return;
  const width = view.to - view.from;
  const move = (from, to) => () => viewBars({from: view.from + from * width, to: view.to + to * width});
  const acts = {
    ArrowLeft: event.shiftKey ? () => moveCross(-1) : move(-0.1, -0.1),
    ArrowRight: event.shiftKey ? () => moveCross(1) : move(0.1, 0.1),
    '+': move(0.2, 0), '=': move(0.2, 0), '-': move(-0.25, 0),
    Home: () => viewBars({from: -0.5, to: width - 0.5}),
    End: () => viewBars(lastBars(Math.max(1, Math.round(width / (1 + 1 / 60))))),
  };
  if (!acts[event.key]) return;
  event.preventDefault();
  acts[event.key]();
});
document.addEventListener('keydown', event => { if (event.key === 'Escape' && measure.isOn) switchMeasure(false); });

document.getElementById('theme').addEventListener('click', () => {
  chosenTheme = root.dataset.theme === 'dark' ? 'light' : 'dark';
  applyTheme();
  tellView();
});
preferred.addEventListener('change', applyTheme);

document.title = study.title;
document.getElementById('title').textContent = study.title;
const tellSpan = () => document.getElementById('span').textContent = barCount === 0 ? 'no bars' :
  `${shortened(dateOf(0), 40)} – ${shortened(dateOf(barCount - 1), 40)}, ${barCount.toLocaleString('en')} ${barCount === 1 ? 'bar' : 'bars'}`;
tellSpan();
const grouped = document.getElementById('grouped');
whenViewMoves(() => { grouped.textContent = portion.step === 1 ? '' : `${portion.step} bars drawn as one: zoom in to see each`; });

const notice = barCount === 0 ? study.live ? 'Waiting for the first bars …' : 'The file has no bars.' : !priceName && !curves.length ? 'The file has no price column.' : '';
if (notice) {
  main.style.minHeight = '220px';
  element(main, 'p', '', notice).id = 'notice';
}

// What is to be known of the first bars shows while they are in view.
const notices = study.notices.map(({text, bars}) => ({bars, line: element(document.getElementById('notices'), 'li', '', text)}));
whenViewMoves(view => {
  for (const {bars, line} of notices) line.hidden = view.from >= bars;
});

// ---- The first picture

const placed = new ResizeObserver(() => {
  keepDraggedHeights();
  sharePaneHeights();
  placeLegends();
});
function begin() {
  const view = takeAddress();
  applyTheme();
  layPanes();
  if (barCount === 0) return;
  showBar(barCount - 1);
  viewBars(view);
}
begin();
watchView();
whenViewMoves(keepAddress);
addEventListener('hashchange', begin);
placed.observe(main);
// A pane has its place only once it has been painted.
requestAnimationFrame(() => {
  const moved = new ResizeObserver(placeLegends);
  for (const pane of chart.panes()) {
    const place = pane.getHTMLElement();
    if (place) moved.observe(place);
  }
  placeLegends();
});

// For a reader's own scripts.
window.studyChart = chart;
window.studyData = study;
