// A page that a program serves: takes the changes of the bars as they come, and draws them.

// What a row of the stream writes, and to where: a row is [bar, date, prices and volume, results, labels].
const liveColumns = !study.live ? [] : [
  ...['open', 'high', 'low', 'close'].map((name, at) => ({name, pane: 0, values: study.prices[name], read: row => row[2][at]})),
  {name: 'volume', pane: study.volumePane ?? 0, values: study.volume, read: row => row[2][4]},
  ...study.studies.flatMap(curve => [
    {name: `${curve.typed} ${shortMeaning(curve)}`.trim(), pane: curve.pane, values: curve.values, read: row => row[3][curve.column]},
    ...Object.entries(curve.barColumns ?? {}).map(([name, at]) =>
      ({name: `${curve.typed} ${name}`, pane: curve.pane, values: curve.bar[name], read: row => row[3][at]})),
  ]),
].filter(({values}) => values);

// The bars as the page shows them. A copy can hold others in the meantime.
const shownBars = {
  columns: liveColumns.map(({values}) => values), times, dates: laterDates, labels: study.labels,
  get count() { return barCount; },
  set count(count) { barCount = count; },
};

function resizeBars(bars, count) {
  for (const column of [...bars.columns, bars.times]) column.buffer.resize(8 * count);
  bars.labels.splice(bars.labels.findLastIndex(label => label.bar < count) + 1);
  bars.count = count;
}

function labelsOfBar(labels, bar) {
  let first = labels.length;
  while (first > 0 && labels[first - 1].bar >= bar) --first;
  let end = first;
  while (end < labels.length && labels[end].bar === bar) ++end;
  return {first, count: end - first};
}

// Writes rows into bars that are then `count`. Gives the first bar that differs, and whether a label does. Null if the
// page must be loaded again to show them.
function takeRows(bars, {bars: count, rows}) {
  const before = bars.count;
  if (before === 0 && count > 0 || count > before && 8 * count > bars.times.buffer.maxByteLength) return null;
  let first = count < before ? count : Infinity, hasOtherLabels = count < before;
  resizeBars(bars, count);
  for (const row of rows) {
    const [bar, date, , , labels] = row;
    const time = isTimed ? parseTime(date) : bar * secondsADay;
    const isInOrder = time > (bar > 0 ? bars.times[bar - 1] : -Infinity);
    if (!isInOrder || isTimed && !hasClock && time % secondsADay !== 0) return null;
    first = Math.min(first, bar);
    bars.times[bar] = time;
    bars.dates.set(bar, date);
    for (const [at, {read}] of liveColumns.entries()) bars.columns[at][bar] = read(row) ?? NaN;
    const old = labelsOfBar(bars.labels, bar);
    if (old.count === 0 && labels.length === 0) continue;
    hasOtherLabels = true;
    bars.labels.splice(old.first, old.count, ...labels.map(([expression, text, down]) => ({bar, expression, text, down})));
  }
  return {first, hasOtherLabels};
}

// ---- Drawing

function drawLabelsAnew() {
  if (!markers) return;
  for (const {down, expression} of study.labels) if (down) pointing.add(expression);
  listLabelTexts();
  findStandIns();
}

function fillDerived() {
  for (const {columns, fill} of derived) {
    for (const column of columns) column.buffer.resize(8 * barCount);
    fill();
  }
}

// All bars are others. The view keeps its bars.
function drawAllAnew(view = viewedBars()) {
  fillDerived();
  drawLabelsAnew();
  for (const item of drawn) item.tail = item.sparseTail = item.gaps = null;
  Object.assign(portion, portionFor(view ?? lastBars(250)));
  fillSeries();
  showLines();
  if (view) viewBars(view);
  showPointed();
  tellSpan();
}

function showLines() {
  for (const item of drawn) {
    if (!item.isLine || item.isLine() === item.wasLine) continue;
    item.wasLine = item.isLine();
    item.series.applyOptions({lineVisible: item.wasLine});
  }
}

const isGap = point => point.color === 'transparent' || !('value' in point || 'close' in point || 'vote' in point);

// The points of the bars from `first` on, of which there are few. The library draws no more than what has changed, but a
// line must be filled anew where it may lie over a gap. `lastTime`: of the last bar that was drawn before.
function updateSeries(item, first, lastTime) {
  const {series, points} = item;
  if (item.isSparse) {
    const all = points(), text = JSON.stringify(all.slice(-8));
    if (text !== item.sparseTail) series.setData(all);
    item.sparseTail = text;
    return;
  }
  const start = portion.first;
  portion.first = Math.max(start, first - 3);
  const tail = points();
  portion.first = start;
  // Behind a gap that reaches out of the tail, the line's last point ahead of it changes, too.
  const gaps = `${barCount} ${tail.map(isGap)}`;
  if (isGap(tail[0]) && !tail.every(isGap) && gaps !== item.gaps) {
    item.gaps = gaps;
    item.tail = null;
    return series.setData(points());
  }
  item.gaps = gaps;
  const sent = item.tail ?? new Map();
  item.tail = new Map();
  for (const point of tail) {
    const text = JSON.stringify(point);
    item.tail.set(point.time, text);
    if (sent.get(point.time) !== text) series.update(point, point.time < lastTime);
  }
}

let changedFrom = Infinity, labelsChanged = false, isDrawing = false, drawnCount = barCount, lastFill = 0;

function drawChanges() {
  isDrawing = false;
  const first = changedFrom, grown = barCount - drawnCount, view = viewedBars();
  if (first === Infinity) return;
  const isAtEnd = portion.end === drawnCount;
  if (isFilled && !isAtEnd && grown >= 0 && first >= portion.end) {  // out of what is held
    changedFrom = Infinity;
    drawnCount = barCount;
    fillDerived();
    if (labelsChanged) drawLabelsAnew();
    labelsChanged = false;
    showPointed();
    return tellSpan();
  }
  const isFew = isFilled && grown >= 0 && portion.step === 1 && isAtEnd && first >= drawnCount - 3 && first > portion.first + 3 &&
    barCount - first <= 50 && (barCount <= mostWhole || barCount - portion.first <= 2 * mostWhole);
  if (!isFew && isFilled && performance.now() - lastFill < 300) {  // it takes long
    isDrawing = true;
    return setTimeout(() => requestAnimationFrame(drawChanges), 100);
  }
  const lastTime = times[drawnCount - 1];
  changedFrom = Infinity;
  drawnCount = barCount;
  if (!isFew) {
    lastFill = performance.now();
    const follows = view && view.to >= barCount - grown - 1;
    drawAllAnew(follows ? {from: view.from + grown, to: view.to + grown} : view ?? undefined);
    labelsChanged = false;
    return;
  }
  portion.end = barCount;
  fillDerived();
  if (labelsChanged) drawLabelsAnew();
  for (const item of drawn) updateSeries(item, first, lastTime);
  showLines();
  if (labelsChanged) fillLabels();
  labelsChanged = false;
  showPointed();
  if (grown > 0) tellSpan();
}

// ---- The stream

const liveStatus = document.createElement('span');
liveStatus.id = 'live';
liveStatus.setAttribute('role', 'status');

function tellLive(kind, text) {
  liveStatus.className = kind;
  liveStatus.textContent = text;
}

const stateTexts = {
  live: 'Live', ended: 'The input has ended', stopped: 'The program has ended', lost: 'Connection lost, trying again …',
};
let liveState = study.live?.state;
const tellState = () => tellLive(liveState, stateTexts[liveState]);

const alertList = document.createElement('section');
alertList.id = 'alerts';
alertList.hidden = true;
alertList.setAttribute('role', 'log');
alertList.setAttribute('aria-label', 'Alerts');

function addAlerts(alerts) {
  const mostShown = 100;
  for (const [date, condition] of alerts) {
    const line = document.createElement('p');
    element(line, 'b', '', date);
    line.append(' ' + condition);
    alertList.querySelector('.list').prepend(line);
  }
  for (const line of [...alertList.querySelectorAll('p')].slice(mostShown)) line.remove();
  if (alerts.length) alertList.hidden = false;
}

// The bars that the stream changes: those that are shown, but for the time that the reader looks at earlier ones.
let streamedBars = shownBars;
const whenBarsCome = [];

function takeState(state) {
  liveState = state;
  tellState();
}

// Since which bars the longer bars form. Where that has changed, the curve is drawn anew from the bar before.
function takeForming(forming) {
  for (const [column, first] of forming) {
    for (const curve of study.studies.filter(curve => curve.column === column && curve.forming !== first)) {
      changedFrom = Math.min(changedFrom, curve.forming ?? 0);
      curve.forming = first;
    }
  }
}

function takeChange(change) {
  addAlerts(change.alerts ?? []);
  takeForming(change.forming ?? []);
  if (change.state) takeState(change.state);
  const taken = takeRows(streamedBars, change);
  if (!taken) return location.reload();
  if (streamedBars === shownBars) {
    changedFrom = Math.min(changedFrom, taken.first);
    labelsChanged ||= taken.hasOtherLabels;
    if (!isDrawing) requestAnimationFrame(drawChanges);
    isDrawing = true;
  }
  for (const tell of whenBarsCome) tell(taken.first);
}

let lastEvent = study.live?.id;
function connect() {
  const source = new EventSource(`stream?from=${lastEvent}`);
  source.addEventListener('open', () => { if (liveState !== 'stopped') tellState(); });
  source.addEventListener('error', () => {
    if (liveState !== 'stopped') tellLive('lost', stateTexts.lost);
    if (source.readyState === EventSource.CLOSED) setTimeout(connect, 2000);
  });
  source.addEventListener('change', event => {
    lastEvent = event.lastEventId;
    takeChange(JSON.parse(event.data));
  });
  source.addEventListener('state', event => takeState(JSON.parse(event.data).state));
  source.addEventListener('reload', () => location.reload());
}

if (study.live) {
  ranges.before(liveStatus);
  document.body.append(alertList);
  element(alertList, 'div', 'list');
  button(alertList, 'close', '×', 'Close the alerts', () => { alertList.hidden = true; });
  tellState();
  document.getElementById('hint').textContent = 'Drag to pan, wheel to zoom; a click in the legend hides a curve; comma and point go back and on in time, with Shift tick by tick.';
  addAlerts(study.live.alerts);
  for (const item of drawn) item.wasLine = item.isLine?.();
  connect();
}
