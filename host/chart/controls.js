// The view, buttons and keys, and the first picture.

function viewLast(count) {
  chart.timeScale().setVisibleLogicalRange({from: barCount - Math.min(count, barCount) - 0.5, to: barCount - 0.5 + Math.max(1, count / 60)});
}

const ranges = document.getElementById('ranges');
function addButton(text, title, act) {
  const button = element(ranges, 'button', '', text);
  button.type = 'button';
  button.title = title;
  button.setAttribute('aria-label', title);
  button.addEventListener('click', act);
  return button;
}

// How many bars the last months hold; without times, months can't be told and bars are counted.
function barsOfMonths(months) {
  const last = new Date(1000 * times.at(-1));
  const start = Date.UTC(last.getUTCFullYear(), last.getUTCMonth() - months, last.getUTCDate()) / 1000;
  return times.filter(time => time > start).length;
}
const named = isTimed && barCount > 0
  ? [['3 months', 3], ['1 year', 12], ['5 years', 60]].map(([name, months]) => [name, `The last ${name}`, barsOfMonths(months)])
  : [60, 250, 1000].map(count => [`${count} bars`, `The last ${count} bars`, count]);
const rangeButtons = [...named.filter(([, , count]) => count > 1 && count < barCount), ['All', 'All bars', barCount]]
  .map(([name, title, count]) => ({count, button: addButton(name, title, () => viewLast(count))}));

// The button whose bars are in view is marked.
function markRange(view) {
  for (const {count, button} of rangeButtons) {
    const isShown = view && Math.abs(view.from - (barCount - count - 0.5)) < 1 &&
      Math.abs(view.to - (barCount - 0.5 + Math.max(1, count / 60))) < 1;
    button.setAttribute('aria-pressed', String(Boolean(isShown)));
  }
}
chart.timeScale().subscribeVisibleLogicalRangeChange(markRange);

const log = addButton('Log', 'Logarithmic price scale', () => {
  const isOn = log.getAttribute('aria-pressed') !== 'true';
  log.setAttribute('aria-pressed', String(isOn));
  chart.priceScale('right', 0).applyOptions({mode: isOn ? charts.PriceScaleMode.Logarithmic : charts.PriceScaleMode.Normal});
});
log.setAttribute('aria-pressed', 'false');
addButton('Reset', 'The first view again', () => {
  for (const [index] of chart.panes().entries()) chart.priceScale('right', index).applyOptions({autoScale: true});
  viewLast(study.last ?? 250);
});
addButton('Picture', 'Save the picture as PNG', savePicture);
addButton('CSV', 'Save the values in view as CSV', saveCsv);

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

const notice = barCount === 0 ? 'The file has no bars.' : !priceName && !curves.length ? 'The file has no price column.' : '';
if (notice) {
  main.style.minHeight = '220px';
  element(main, 'p', '', notice).id = 'notice';
}

// What is to be known of the first bars shows while they are in view.
const notices = study.notices.map(({text, bars}) => ({bars, line: element(document.getElementById('notices'), 'li', '', text)}));
chart.timeScale().subscribeVisibleLogicalRangeChange(view => {
  for (const {bars, line} of notices) line.hidden = !view || view.from >= bars;
});

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
