// The legend of each pane, with the values of one bar.

const legends = paneOrder.map(() => element(main, 'div', 'legend'));
const studyRows = legends.map(legend => element(legend, 'div', 'studies'));
const chips = [];
const readers = [];  // each shows its value on a bar

function addChip(row, {colorNames = [], name, title, read, toggle}) {
  const chip = element(row, 'button', 'chip');
  chip.type = 'button';
  chip.setAttribute('aria-pressed', 'true');
  if (title) chip.title = title;
  for (const colorName of colorNames) element(chip, 'span', 'swatch').style.background = `var(--${colorName})`;
  if (name) element(chip, 'span', 'name', name + ' ');
  const value = element(chip, 'b');
  readers.push(bar => { value.textContent = read(bar); });
  chip.addEventListener('click', () => {
    const visible = chip.getAttribute('aria-pressed') === 'false';
    chip.setAttribute('aria-pressed', String(visible));
    toggle(visible);
    tellView();
  });
  chips.push(chip);
  return chip;
}

function addPrices() {
  const row = document.createElement('div');
  row.className = 'row prices';
  legends[0].prepend(row);
  const date = element(row, 'b', 'date');
  const shown = isCandles ? {open: 'O', high: 'H', low: 'L', close: 'C'} : {[priceName]: priceName};
  const prices = Object.entries(shown).map(([name, letter]) => {
    const price = element(row, 'span', 'price', letter + ' ');
    return {price, value: element(price, 'b'), values: study.prices[name]};
  });
  const change = element(row, 'span', 'price');
  const changeValue = element(change, 'b');
  if (hasVolume) {
    const {formatter} = scaleFormat([study.volume]);
    const volume = element(element(row, 'span', 'volume', 'V '), 'b');
    readers.push(bar => { volume.textContent = Number.isNaN(study.volume[bar]) ? '–' : formatter(study.volume[bar]); });
  }
  readers.push(bar => {
    date.textContent = shortened(dateOf(bar), 40);
    const now = priceValues[bar], before = bar > 0 ? priceValues[bar - 1] : NaN;
    const percent = before === 0 ? NaN : 100 * (now - before) / before;
    changeValue.textContent = Number.isNaN(percent) ? '' : `${percent < 0 ? '−' : '+'}${Math.abs(percent).toFixed(2)} %`;
    change.className = `price ${percent < 0 ? 'down' : 'up'}`;
    const direction = !isCandles ? '' : close[bar] < open[bar] ? 'down' : 'up';
    for (const {price, value, values} of prices) {
      price.className = `price ${direction}`;
      value.textContent = valueText(values[bar], 0);
    }
  });
}

if (priceSeries) addPrices();
const rows = new Map();
const bandChips = [];  // each stands over the cells of its vote
for (const curve of curves) {
  const key = `${curve.pane} ${curve.expression}`;
  if (!rows.has(key)) {
    rows.set(key, element(studyRows[curve.pane], 'div', 'row'));
    element(rows.get(key), 'span', 'formula', curve.typed).title = curve.formula;
  }
  const isBand = curve.drawing === 'band';
  const chip = addChip(rows.get(key), {
    colorNames: curve.colorNames,
    name: isBand && curve.meaning || shortMeaning(curve),
    title: [[curve.name, curve.meaning].filter(Boolean).join(': '), curve.forming === undefined ? '' : 'The paler part belongs to a longer bar that still forms.'].filter(Boolean).join('\n'),
    read: bar => isBand && isDrawn(curve.values[bar]) ? String(curve.values[bar]) : valueText(curve.values[bar], curve.pane),
    toggle: visible => toggleSeries(curve.series, visible),
  });
  if (isBand) bandChips.push({chip, curve});
}
for (const {expression, typed, formula} of study.labelled) {
  const row = element(studyRows[0], 'div', 'row');
  element(row, 'span', 'formula', typed).title = formula;
  addChip(row, {
    name: 'labels',
    read: bar => labelTextNear(bar, expression),
    toggle: visible => {
      visible ? hiddenLabels.delete(expression) : hiddenLabels.add(expression);
      fillLabels();
    },
  });
}

function placeBands(pane, place) {
  chart.priceScale('right', paneOrder.indexOf(pane)).applyOptions({scaleMargins: {top: 0, bottom: 0}});
  legends[pane].classList.add('bands');
  const row = place.height / (bandRows(pane) + 1), room = row * (1 - cellShare());
  legends[pane].style.height = place.height + 'px';
  bandChips.filter(({curve}) => curve.pane === pane).forEach(({chip}, index) => {
    chip.style.top = (index + 1) * row - 4 + 'px';
    chip.style.height = chip.style.lineHeight = room + 'px';
    chip.style.fontSize = Math.max(8, Math.min(12, room - 1)) + 'px';
  });
}

// Legends stand at the top of their panes, and curves below them.
function placeLegends() {
  const top = main.getBoundingClientRect().top + main.clientTop, gap = 4;
  for (const pane of paneOrder) {
    const place = paneAt(pane)?.getHTMLElement()?.getBoundingClientRect();
    if (!place?.height) continue;
    legends[pane].style.top = place.top - top + gap + 'px';
    toolsOf[pane].box.style.top = place.top - top + 1 + 'px';
    toolsOf[pane].box.style.right = chart.priceScale('right', paneOrder.indexOf(pane)).width() + 4 + 'px';
    if (isClosed(pane)) {
      legends[pane].style.height = '';
      continue;
    }
    if (isBandPane(pane)) {
      placeBands(pane, place);
      continue;
    }
    const isLabelled = pane === 0 && markers;
    const labelRoom = isLabelled ? 45 : 0;  // the scale leaves no room for labels by itself
    const share = Math.min(0.6, (legends[pane].offsetHeight + 2 * gap + labelRoom) / place.height);
    const bottom = pane === 0 && volumeIsBelowPrices ? 0.2 : isLabelled ? 0.15 : pane === study.volumePane ? 0 : 0.06;
    chart.priceScale('right', paneOrder.indexOf(pane)).applyOptions({scaleMargins: {top: share, bottom}});
  }
}

function showBar(bar) {
  for (const read of readers) read(bar);
}

// Null where a place of the time axis holds no bar.
function barAtPlace(place) {
  const bar = place === undefined || place === null ? -1 : Math.round(barOfPlace(Math.round(place)));
  return bar >= 0 && bar < barCount ? bar : null;
}

let pointedPlace = null;  // of the crosshair
const showPointed = () => { if (barCount > 0) showBar(barAtPlace(pointedPlace) ?? barCount - 1); };
chart.subscribeCrosshairMove(({logical}) => {
  pointedPlace = logical;
  showPointed();
});
