// The legend of each pane, with the values of one bar.

const legends = chart.panes().map(() => element(main, 'div', 'legend'));
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
  });
  return chip;
}

function addPrices() {
  const row = element(legends[0], 'div', 'row prices');
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
    readers.push(bar => { volume.textContent = study.volume[bar] === null ? '–' : formatter(study.volume[bar]); });
  }
  readers.push(bar => {
    date.textContent = shortened(study.dates[bar], 40);
    const now = priceValues[bar], before = bar > 0 ? priceValues[bar - 1] : null;
    const percent = now !== null && before ? 100 * (now - before) / before : null;
    changeValue.textContent = percent === null ? '' : `${percent < 0 ? '−' : '+'}${Math.abs(percent).toFixed(2)} %`;
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
    rows.set(key, element(legends[curve.pane], 'div', 'row'));
    element(rows.get(key), 'span', 'formula', curve.typed).title = curve.formula;
  }
  const isBand = curve.drawing === 'band';
  const chip = addChip(rows.get(key), {
    colorNames: curve.colorNames,
    name: isBand && curve.meaning || shortMeaning(curve),
    title: [curve.name, curve.meaning].filter(Boolean).join(': '),
    read: bar => isBand ? String(curve.values[bar] ?? '–') : valueText(curve.values[bar], curve.pane),
    toggle: visible => curve.series.forEach(series => series.applyOptions({visible})),
  });
  if (isBand) bandChips.push({chip, curve});
}
for (const {expression, typed, formula} of study.labelled) {
  const row = element(legends[0], 'div', 'row');
  element(row, 'span', 'formula', typed).title = formula;
  addChip(row, {
    name: 'labels',
    read: bar => labelTextNear(bar, expression),
    toggle: visible => {
      visible ? hiddenLabels.delete(expression) : hiddenLabels.add(expression);
      drawLabels();
    },
  });
}

function placeBands(pane, place) {
  chart.priceScale('right', pane).applyOptions({scaleMargins: {top: 0, bottom: 0}});
  legends[pane].classList.add('bands');
  const row = place.height / (bandRows(pane) + 1);
  legends[pane].style.height = place.height + 'px';
  bandChips.filter(({curve}) => curve.pane === pane).forEach(({chip}, index) => {
    chip.style.top = (index + 1) * row - 4 + 'px';
    chip.style.height = chip.style.lineHeight = row / 2 + 'px';
    chip.style.fontSize = Math.max(8, Math.min(12, row / 2 - 1)) + 'px';
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
    if (isBandPane(index)) {
      placeBands(index, place);
      continue;
    }
    const isLabelled = index === 0 && markers;
    const labelRoom = isLabelled ? 45 : 0;  // the scale leaves no room for labels by itself
    const share = Math.min(0.6, (legends[index].offsetHeight + 2 * gap + labelRoom) / place.height);
    const bottom = index === 0 && hasVolume ? 0.2 : isLabelled ? 0.15 : 0.06;
    chart.priceScale('right', index).applyOptions({scaleMargins: {top: share, bottom}});
  }
}

function showBar(bar) {
  for (const read of readers) read(bar);
}

chart.subscribeCrosshairMove(({logical}) => {
  const isBar = logical !== undefined && logical !== null && logical >= 0 && logical < barCount;
  if (barCount > 0) showBar(isBar ? Math.round(logical) : barCount - 1);
});
