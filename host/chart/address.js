// The view in the address of the page, so that a link or a reload keeps it: the bars, the panes, hidden curves, the
// logarithmic scale and the theme.

// Bars by their dates, which stay when the file grows; without dates by their numbers.
const nameOfBar = bar => isTimed ? dateOf(bar) : String(bar);
function barOfName(name) {
  if (!isTimed) return /^\d+$/.test(name) ? Math.min(barCount - 1, Number(name)) : null;
  const time = parseTime(name);
  return Number.isNaN(time) ? null : Math.min(barCount - 1, barFrom(time));
}

function addressOf(view) {
  const address = new URLSearchParams();
  const first = Math.max(0, Math.ceil(view.from)), last = Math.min(barCount - 1, Math.floor(view.to));
  if (view.to > barCount - 1) address.set('last', String(Math.max(1, barCount - first)));
  else if (first <= last) {
    address.set('from', nameOfBar(first));
    address.set('to', nameOfBar(last));
  }
  if (isLogarithmic) address.set('log', '1');
  if (paneOrder.some((pane, index) => pane !== index)) address.set('panes', paneOrder.join());
  if (hiddenPanes.size) address.set('closed', [...hiddenPanes].join());
  if (largePane !== null) address.set('large', String(largePane));
  const off = chips.flatMap((chip, index) => chip.getAttribute('aria-pressed') === 'false' ? [index] : []);
  if (off.length) address.set('off', off.join());
  if (chosenTheme) address.set('theme', chosenTheme);
  return '#' + address;
}

const numbersOf = text => (text ?? '').split(',').filter(part => /^\d+$/.test(part)).map(Number);

// What the address does not tell stays as it is at first. What it tells wrongly is left out.
function takeAddress() {
  const address = new URLSearchParams(location.hash.slice(1));
  if (['light', 'dark'].includes(address.get('theme'))) chosenTheme = address.get('theme');
  const order = numbersOf(address.get('panes'));
  const isOrder = order.length === paneOrder.length && new Set(order).size === order.length && Math.max(...order) < order.length;
  if (isOrder) order.forEach((pane, index) => movePane(pane, index));
  hiddenPanes.clear();
  for (const pane of numbersOf(address.get('closed'))) {
    if (pane < paneOrder.length && hiddenPanes.size < paneOrder.length - 1) hiddenPanes.add(pane);
  }
  const [large] = numbersOf(address.get('large'));
  largePane = large < paneOrder.length ? large : null;
  const off = new Set(numbersOf(address.get('off')));
  for (const [index, chip] of chips.entries()) {
    if ((chip.getAttribute('aria-pressed') === 'false') !== off.has(index)) chip.click();
  }
  setLogarithmic(address.get('log') === '1');
  const count = Number(address.get('last')), from = barOfName(address.get('from') ?? ''), to = barOfName(address.get('to') ?? '');
  if (count >= 1) return lastBars(count);
  return from !== null && to !== null && from <= to ? {from: from - 0.5, to: to + 0.5} : lastBars(study.last ?? 250);
}

// Browsers refuse many changes in a short time.
let writing = 0;
function keepAddress(view) {
  clearTimeout(writing);
  writing = setTimeout(() => {
    const address = addressOf(view);
    if (location.hash !== '#picture' && location.hash !== address) history.replaceState(null, '', address);
  }, 300);
}
