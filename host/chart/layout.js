// The order and heights of the panes. A pane has a number from the page; the library counts panes from the top.

const paneOrder = Array.from({length: study.panes}, (_, pane) => pane);  // from the top
const hiddenPanes = new Set();
let largePane = null;
// Heights of open panes to one another.
const paneWeights = paneOrder.map(pane => isBandPane(pane) ? Math.max(1.5, 0.35 * (bandRows(pane) + 1)) : pane === 0 ? 4 : 1.5);

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

// Panes share the height of the window, and the page scrolls where that would be too little.
function sharePaneHeights() {
  const open = paneOrder.filter(pane => !isClosed(pane)), closed = paneOrder.length - open.length;
  main.style.minHeight = open.reduce((sum, pane) => sum + leastHeight(pane), 30 + closed * closedHeight()) + 'px';
  const openHeight = Math.max(1, main.clientHeight - 30 - closed * closedHeight());
  const weights = open.reduce((sum, pane) => sum + paneWeights[pane], 0);
  for (const pane of paneOrder) {
    paneAt(pane)?.setStretchFactor(isClosed(pane) ? closedHeight() * weights / openHeight : paneWeights[pane]);
  }
}

// A drag of a divider changes the heights, too.
function keepDraggedHeights() {
  for (const pane of paneOrder) {
    if (!isClosed(pane)) paneWeights[pane] = paneAt(pane)?.getStretchFactor() ?? paneWeights[pane];
  }
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
  paneAt(pane).moveTo(index);
  paneOrder.splice(index, 0, ...paneOrder.splice(paneOrder.indexOf(pane), 1));
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
