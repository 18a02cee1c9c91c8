// Goes back in time: the page shows what was known at an earlier moment, which the program calculates, and marks where the
// present values differ from what was shown then.

const past = {isOn: false, today: null, answer: null, marks: new Map(), wanted: null, isAsking: false};

function copyOf(bars) {
  return {
    columns: bars.columns.map(growing), times: growing(bars.times), dates: new Map(bars.dates), labels: [...bars.labels],
    count: bars.count,
  };
}

// The first `count` of the present bars, with the rows of an earlier moment. Null if the page must be loaded again.
function showBars(present, count, rows) {
  resizeBars(shownBars, count);
  for (const [at, column] of shownBars.columns.entries()) column.set(present.columns[at].subarray(0, count));
  shownBars.times.set(present.times.subarray(0, count));
  shownBars.dates.clear();
  for (const [bar, date] of present.dates) shownBars.dates.set(bar, date);
  shownBars.labels.length = 0;
  for (const label of present.labels) if (label.bar < count) shownBars.labels.push(label);
  const taken = takeRows(shownBars, {bars: count, rows});
  drawnCount = barCount;
  changedFrom = Infinity;
  return taken;
}

// ---- Marks

const hasOther = (a, b) => !(a === b || Number.isNaN(a) && Number.isNaN(b));

// By pane: the bars on which a value is another one today.
function findMarks(rows) {
  const marks = new Map();
  for (const [bar] of rows) {
    for (const [at, {pane}] of liveColumns.entries()) {
      if (!hasOther(past.today.columns[at][bar], shownBars.columns[at][bar])) continue;
      if (!marks.has(pane)) marks.set(pane, []);
      if (marks.get(pane).at(-1) !== bar) marks.get(pane).push(bar);
    }
    const texts = labels => JSON.stringify(labels.filter(label => label.bar === bar));
    if (texts(past.today.labels) !== texts(shownBars.labels)) marks.set(0, [...marks.get(0) ?? [], bar].filter((one, at, all) => all.indexOf(one) === at));
  }
  return marks;
}

// Columns of colour behind the bars of a pane, at least as wide as the eye needs.
class MarkView {
  constructor(pane) { this.pane = pane; }
  zOrder() { return 'bottom'; }
  renderer() {
    return {draw: target => target.useBitmapCoordinateSpace(scope => this.draw(scope))};
  }
  draw({context, bitmapSize, horizontalPixelRatio}) {
    const scale = chart.timeScale(), half = Math.max(3, barWidth() / 2);
    context.fillStyle = color('differs');
    let end = -Infinity;  // where two would lie over each other
    for (const bar of past.marks.get(this.pane) ?? []) {
      const x = scale.logicalToCoordinate(placeOfBar(bar));
      if (x === null) continue;
      const left = Math.max(end, Math.round((x - half) * horizontalPixelRatio)), right = Math.round((x + half) * horizontalPixelRatio);
      if (right > left) context.fillRect(left, 0, right - left, bitmapSize.height);
      end = Math.max(end, right);
    }
  }
}
class Marks {
  constructor(pane) { this.views = [new MarkView(pane)]; }
  attached({requestUpdate}) { this.update = requestUpdate; }
  paneViews() { return this.views; }
}
const paneMarks = [];

// What a bar showed, and what it is today.
function differenceText(bar) {
  const texts = [];
  for (const [at, {name, pane}] of liveColumns.entries()) {
    const [then, today] = [shownBars, past.today].map(bars => bars.columns[at][bar]);
    if (!hasOther(then, today)) continue;
    const [short, shortToday] = [then, today].map(value => valueText(value, pane));
    texts.push(short === shortToday ? `${name} ${then}, today ${today}` : `${name} ${short}, today ${shortToday}`);
  }
  return texts.length ? `${dateOf(bar)}: ${texts.slice(0, 3).join('; ')}${texts.length > 3 ? ` and ${texts.length - 3} more` : ''}` : '';
}

// ---- The controls

const scrubber = document.createElement('section');
scrubber.id = 'scrubber';
scrubber.hidden = true;
scrubber.setAttribute('aria-label', 'What was known earlier');
const scrubSlider = document.createElement('input');
const scrubText = document.createElement('p');
const differText = document.createElement('p');
let pastButton;

function tellPast() {
  const {bars, update, firstUpdate, lastUpdate, rows} = past.answer;
  const isTick = past.wanted?.update !== undefined;
  scrubText.textContent = `As of ${dateOf(bars - 1)}${isTick ? `, change ${update - firstUpdate} of ${lastUpdate - firstUpdate}` : ''}: ` +
    (rows.length === 0 ? 'today’s values are those that were shown' :
      `${rows.length === 1 ? '1 bar has' : `${rows.length} bars have`} other values today`);
  scrubSlider.setAttribute('aria-valuetext', dateOf(bars - 1));
  tellDifference();
}

function tellDifference() {
  if (!past.answer) return;
  const {rows} = past.answer, pointed = barAtPlace(pointedPlace);
  differText.textContent = rows.length === 0 ? '' : differenceText(pointed ?? rows.at(-1)[0]);
}

function showMoment(answer) {
  const view = viewedBars();
  past.answer = answer;
  if (!showBars(past.today, answer.bars, answer.rows)) return location.reload();
  past.marks = findMarks(answer.rows);
  const isInView = view && barCount - 1 >= view.from && barCount - 1 <= view.to;
  const width = view ? view.to - view.from : 250, to = barCount + Math.max(1, width / 20);
  drawAllAnew(isInView ? view : {from: to - width, to});
  for (const marks of paneMarks) marks.update?.();
  scrubSlider.max = past.today.count - 1;
  scrubSlider.value = answer.bars - 1;
  tellPast();
}

// The newest wish counts; those in between are passed over.
async function goTo(moment) {
  past.wanted = moment;
  if (past.isAsking) return;
  past.isAsking = true;
  try {
    for (let asked = null; past.isOn && asked !== past.wanted;) {
      asked = past.wanted;
      const reply = await fetch(`then?${Object.keys(asked)[0]}=${Object.values(asked)[0]}`);
      if (!reply.ok) throw new Error(await reply.text());
      const answer = await reply.json();
      await streamReaches(answer.id);
      if (past.isOn && asked === past.wanted) showMoment(answer);
    }
  } catch (fault) {
    scrubText.textContent = `That moment can't be shown: ${fault.message}`;
  }
  past.isAsking = false;
}

// The answer differs from the bars as of a change that the stream may still have to bring.
async function streamReaches(id) {
  const number = text => Number(text.slice(text.lastIndexOf('-') + 1));
  for (let wait = 0; wait < 100 && number(lastEvent) < number(id); ++wait) await new Promise(done => setTimeout(done, 20));
}

function stepBars(by) {
  if (!past.isOn) return openPast(by);
  const bar = past.wanted?.bar !== undefined ? past.wanted.bar + by : past.answer ? past.answer.bars - 1 + by : past.today.count - 2;
  if (bar > past.today.count - 1) return closePast();
  goTo({bar: Math.max(0, bar)});
}

// Change by change, and where these are not known, bar by bar.
function stepChanges(by) {
  if (!past.isOn) return openPast(by, true);
  if (!past.answer) return;
  const {update, firstUpdate, lastUpdate} = past.answer;
  const next = (past.wanted?.update ?? update) + by;
  if (next >= lastUpdate) return closePast();
  const isAhead = update === firstUpdate && past.wanted?.bar !== undefined;  // of the first change that is known
  next < firstUpdate || isAhead ? stepBars(by) : goTo({update: next});
}

async function openPast(by = -1, isChange = false) {
  if (past.isOn || barCount === 0) return;
  past.isOn = true;
  past.today = copyOf(shownBars);
  streamedBars = past.today;
  scrubber.hidden = false;
  pastButton.setAttribute('aria-pressed', 'true');
  while (paneMarks.length < chart.panes().length) {
    const marks = new Marks(paneMarks.length);
    paneMarks.push(marks);
    paneAt(marks.views[0].pane).attachPrimitive(marks);
  }
  goTo({bar: barCount - 1});
  if (by > 0) return;
  if (!isChange) return goTo({bar: Math.max(0, barCount - 2)});
  while (past.isOn && !past.answer) await new Promise(done => setTimeout(done, 10));
  stepChanges(by);
}

function closePast() {
  if (!past.isOn) return;
  const view = viewedBars();
  showBars(past.today, past.today.count, []);
  streamedBars = shownBars;
  Object.assign(past, {isOn: false, today: null, answer: null, wanted: null, marks: new Map()});
  drawAllAnew(view && view.to >= barCount - 1 ? view : lastBars(view ? Math.round(view.to - view.from) : 250));
  for (const marks of paneMarks) marks.update?.();
  scrubber.hidden = true;
  pastButton.setAttribute('aria-pressed', 'false');
}

if (study.live) {
  pastButton = addButton('Past', 'Go back in time: show what was known earlier (comma and point step by bars, with Shift by changes)',
    () => { past.isOn ? closePast() : openPast(); });
  pastButton.setAttribute('aria-pressed', 'false');
  Object.assign(scrubSlider, {type: 'range', min: 0, step: 1});
  scrubSlider.setAttribute('aria-label', 'The last bar that is known');
  scrubSlider.addEventListener('input', () => goTo({bar: Number(scrubSlider.value)}));
  const row = element(scrubber, 'div', 'row');
  button(row, '', '‹ Bar', 'One bar back (comma)', () => stepBars(-1));
  button(row, '', '‹ Change', 'One tick or correction back (comma with Shift)', () => stepChanges(-1));
  row.append(scrubSlider);
  button(row, '', 'Change ›', 'One tick or correction on (point with Shift)', () => stepChanges(1));
  button(row, '', 'Bar ›', 'One bar on (point)', () => stepBars(1));
  button(row, 'now', 'Now', 'Back to the present (Escape)', closePast);
  scrubText.setAttribute('role', 'status');
  scrubber.append(scrubText, differText);
  differText.className = 'differences';
  document.querySelector('footer').before(scrubber);
  document.addEventListener('keydown', event => {
    if (event.ctrlKey || event.metaKey || event.altKey || event.target.matches?.('input:not([type=range]), textarea')) return;
    const acts = {',': () => stepBars(-1), '.': () => stepBars(1), '<': () => stepChanges(-1), '>': () => stepChanges(1)};
    const act = event.key === 'Escape' && past.isOn ? closePast
      : event.shiftKey && event.code === 'Comma' ? acts['<'] : event.shiftKey && event.code === 'Period' ? acts['>'] : acts[event.key];
    if (!act) return;
    event.preventDefault();
    act();
  });
  chart.subscribeCrosshairMove(tellDifference);
  // Ticks of the present bar change nothing that was known before it; corrections may.
  whenBarsCome.push(first => {
    if (!past.isOn) return;
    scrubSlider.max = past.today.count - 1;
    if (past.answer && first < past.answer.bars) goTo({...past.wanted});
  });
}
