// The order and heights of the panes. A pane has a number from the page; the library counts panes from the top.

const paneOrder = Array.from({length: study.panes}, (_, pane) => pane);  // from the top
const hiddenPanes = new Set();
let largePane = null;
const paneAt = pane => chart.panes()[paneOrder.indexOf(pane)];
// What lies over the same pane has its number.
const paneNumber = index => paneOrder[index];

// Of a closed pane only the line with its name is left. All but a large pane are closed.
const isClosed = pane => largePane !== null ? pane !== largePane : hiddenPanes.has(pane);
const closedHeight = () => isNarrow.matches ? 46 : 30;

function showSeries() {
  for (const {series, pane, isOn} of drawn) series.applyOptions({visible: isOn && !isClosed(pane)});
}

function toggleSeries(chosen, isOn) {
  for (const item of drawn.filter(({series}) => chosen.includes(series))) item.isOn = isOn;
  showSeries();
}

const leastHeight = pane => isBandPane(pane) ? bandRow() * (bandRows(pane) + 1) : pane === 0 ? isNarrow.matches ? 320 : 260 : 90;
const spareShare = pane => isBandPane(pane) ? 1 : pane === 0 ? 4 : 1.5;  // of what the window has beyond the least heights
let draggedHeights = null;  // of open panes to one another, once a divider has been dragged

// The page scrolls where the window is too low.
function sharePaneHeights() {
  const open = paneOrder.filter(pane => !isClosed(pane));
  const timeAxis = 30, closed = (paneOrder.length - open.length) * closedHeight();
  const sum = heights => open.reduce((total, pane) => total + heights(pane), 0);
  main.style.minHeight = sum(leastHeight) + timeAxis + closed + 'px';
  const room = Math.max(1, main.clientHeight - timeAxis - closed), spare = Math.max(0, room - sum(leastHeight));
  const height = pane => draggedHeights?.[pane] ?? leastHeight(pane) + spare * spareShare(pane) / sum(spareShare);
  const scale = room / sum(height);
  for (const pane of paneOrder) {
    const factor = isClosed(pane) ? closedHeight() : scale * height(pane);
    paneAt(pane)?.setStretchFactor(factor);
    givenHeights[pane] = factor;
  }
}
const givenHeights = [];

function keepDraggedHeights() {
  const present = paneOrder.map((_, pane) => paneAt(pane)?.getStretchFactor());
  if (present.every((height, pane) => Math.abs(height - givenHeights[pane]) < 1)) return;
  draggedHeights = present.map((height, pane) => isClosed(pane) ? draggedHeights?.[pane] ?? leastHeight(pane) : height);
}

function layPanes() {
  showSeries();
  sharePaneHeights();
  for (const pane of paneOrder) {
    legends[pane].classList.toggle('closed', isClosed(pane));
    toolsOf[pane].nameTools();
  }
  requestAnimationFrame(placeLegends);  // a pane has its place only once it has been painted
}

function changePanes(change) {
  keepDraggedHeights();
  change();
  layPanes();
  tellView();
}

function movePane(pane, index) {
  if (index < 0 || index >= paneOrder.length) return;
  for (let at = paneOrder.indexOf(pane); at !== index;) {
    const next = at < index ? at + 1 : at - 1;
    chart.swapPanes(at, next);
    [paneOrder[at], paneOrder[next]] = [paneOrder[next], paneOrder[at]];
    at = next;
  }
}

function openPane(pane) {
  if (largePane !== null && largePane !== pane) largePane = null;
  hiddenPanes.delete(pane);
}

// ---- The menu of each pane

function paneName(pane) {
  const typed = curves.filter(curve => curve.pane === pane).map(curve => curve.typed);
  return pane === 0 && priceSeries ? 'Prices' : [...new Set(typed)].join(', ') || 'Volume';
}

function addTools(pane) {
  const box = element(main, 'div', 'tools');
  box.hidden = paneOrder.length < 2;
  const open = button(box, 'open', 'Show', `Show ${paneName(pane)}`, () => changePanes(() => openPane(pane)));
  const menu = element(box, 'details', 'menu');
  const summary = element(menu, 'summary', '', '⋯');
  summary.title = `Pane of ${paneName(pane)}`;
  summary.setAttribute('aria-label', summary.title);
  const list = element(menu, 'div', 'list');
  const item = (text, change) => button(list, '', text, `${text}: ${paneName(pane)}`, () => {
    menu.open = false;
    changePanes(change);
    (isClosed(pane) ? open : summary).focus();
  });
  const large = item('Make large', () => { largePane = largePane === pane ? null : pane; });
  const hide = item('Hide', () => { largePane = null; hiddenPanes.add(pane); });
  const up = item('Move up', () => movePane(pane, paneOrder.indexOf(pane) - 1));
  const down = item('Move down', () => movePane(pane, paneOrder.indexOf(pane) + 1));
  menu.addEventListener('keydown', event => {
    if (event.key !== 'Escape' || !menu.open) return;
    event.stopPropagation();
    menu.open = false;
    summary.focus();
  });
  document.addEventListener('pointerdown', event => { if (!menu.contains(event.target)) menu.open = false; });

  const nameTools = () => {
    open.hidden = !isClosed(pane);
    menu.hidden = isClosed(pane);
    large.textContent = largePane === pane ? 'All panes again' : 'Make large';
    up.disabled = paneOrder[0] === pane;
    down.disabled = paneOrder.at(-1) === pane;
    hide.disabled = paneOrder.every(other => other === pane || hiddenPanes.has(other));
  };
  return {box, nameTools};
}

const toolsOf = paneOrder.map(addTools);
