// The bars that the chart library holds: all of a short file, and of a long one those in view and as many at either side.
// Where bars would share a pixel it holds groups of bars instead: a group has one place on the time axis.
// The library counts these places; everything else on the page counts bars.

// Bars of a file that the library holds whole, and the least that it holds at either side of a view. It goes through all
// that it holds for each tick of a live chart.
const [mostWhole, leastMargin] = study.live ? [1500, 250] : [10000, 1000];
const portion = {first: 0, end: Math.min(barCount, mostWhole), step: 1};

// A place's middle lies in the middle of its bars.
const barOfPlace = place => portion.first + (place + 0.5) * portion.step - 0.5;
const placeOfBar = bar => (bar + 0.5 - portion.first) / portion.step - 0.5;

const placeCount = () => Math.ceil((portion.end - portion.first) / portion.step);
const timeOfPlace = place => times[portion.first + place * portion.step];
const isInPortion = bar => bar >= portion.first && bar < portion.end;
const placeHolding = bar => Math.floor((bar - portion.first) / portion.step);

// Calls give(first, end, place) with the bars of each place.
function eachPlace(give) {
  const {first, end, step} = portion;
  for (let place = 0, from = first; from < end; ++place, from += step) give(from, Math.min(end, from + step), place);
}

// Values by place. Of two neighbouring groups one shows the least value of their bars and the other the greatest, in the
// order in which they came, so that no peak is lost.
function extremes(values) {
  const {first, end, step} = portion;
  if (step === 1) return values.subarray(first, end);
  const shown = new Float64Array(placeCount()).fill(NaN);
  for (let place = 0; place < shown.length; place += 2) {
    const from = first + place * step, to = Math.min(end, from + 2 * step);
    let least = -1, greatest = -1;
    for (let bar = from; bar < to; ++bar) {
      const value = values[bar];
      if (!isDrawn(value)) continue;
      if (least < 0 || value < values[least]) least = bar;
      if (greatest < 0 || value > values[greatest]) greatest = bar;
    }
    if (least < 0) continue;
    shown[place] = values[Math.min(least, greatest)];
    if (place + 1 < shown.length) shown[place + 1] = values[Math.max(least, greatest)];
  }
  // The axis shows the last one.
  if (end === barCount && isDrawn(values[end - 1])) shown[shown.length - 1] = values[end - 1];
  return shown;
}

// Values by place: of a group, the one that is furthest from 0.
function largest(values) {
  if (portion.step === 1) return values.subarray(portion.first, portion.end);
  const shown = new Float64Array(placeCount()).fill(NaN);
  eachPlace((from, to, place) => {
    for (let bar = from; bar < to; ++bar) {
      const value = values[bar];
      if (isDrawn(value) && !(Math.abs(value) <= Math.abs(shown[place]))) shown[place] = value;
    }
  });
  return shown;
}

// Votes by place: of a group, the one that most of its bars have.
function commonVotes(values) {
  const shown = new Float64Array(placeCount()).fill(NaN);
  eachPlace((from, to, place) => {
    const counts = [0, 0, 0];
    for (let bar = from; bar < to; ++bar) {
      if (isDrawn(values[bar])) ++counts[Math.sign(values[bar]) + 1];
    }
    const most = Math.max(...counts);
    if (most > 0) shown[place] = counts.lastIndexOf(most) - 1;
  });
  return shown;
}

// Candles by place: of a group, its first open, highest high, lowest low and last close.
function candlePoints({open, high, low, close}) {
  const points = [];
  eachPlace((from, to, place) => {
    const point = {time: timeOfPlace(place)};
    for (let bar = from; bar < to; ++bar) {
      if (!isDrawn(open[bar]) || !isDrawn(high[bar]) || !isDrawn(low[bar]) || !isDrawn(close[bar])) continue;
      if (point.open === undefined) Object.assign(point, {open: open[bar], high: high[bar], low: low[bar]});
      point.high = Math.max(point.high, high[bar]);
      point.low = Math.min(point.low, low[bar]);
      point.close = close[bar];
    }
    points.push(point);
  });
  return points;
}

// ---- The view, in bars

let aim = null;  // a view that the library has still to paint

// Null if there are no bars.
function viewedBars() {
  const range = aim ? null : chart.timeScale().getVisibleLogicalRange();
  return range ? {from: barOfPlace(range.from), to: barOfPlace(range.to)} : aim;
}

function stepFor(width) {
  const mostPlaces = Math.max(300, main.clientWidth);
  // The step stays while it is about right, so that zooming in and out does not change it each time.
  if (width / portion.step <= 1.25 * mostPlaces && (portion.step === 1 || width / portion.step >= mostPlaces / 4)) return portion.step;
  let step = 1;
  while (width / step > mostPlaces) step *= 2;
  return step;
}

function portionFor({from, to}) {
  const width = Math.max(1, to - from), step = stepFor(width);
  if (barCount <= mostWhole) return {first: 0, end: barCount, step};
  const unit = 2 * step, margin = Math.max(1.5 * width, leastMargin * step);
  const last = Math.floor((barCount - 1) / unit) * unit;
  const first = Math.min(last, Math.max(0, Math.floor((from - margin) / unit) * unit));
  return {first, end: Math.min(barCount, Math.max(first + unit, Math.ceil((to + margin) / unit) * unit)), step};
}

// Whether the portion holds `room` times the view at either side, or all that there is.
function isHeld({from, to}, room) {
  const {first, end, step} = portion, margin = room * (to - from);
  return stepFor(to - from) === step && (barCount <= mostWhole ||
    (first === 0 || from - margin > first) && (end === barCount || to + margin < end));
}

const viewListeners = [];
const whenViewMoves = listener => viewListeners.push(listener);

let isFilled = false;
function fillSeries() {
  for (const {series, points, isOnAxis, lineWidth} of drawn) {
    series.setData(points());
    // The library would take the last value of the portion for the last one. Lines through groups of bars fill whole
    // columns of pixels, and broad ones take long to paint.
    series.applyOptions({
      lastValueVisible: isOnAxis && portion.end === barCount,
      ...(lineWidth ? {lineWidth: portion.step === 1 ? lineWidth : 1} : {}),
    });
  }
  fillLabels();
}

// Has these bars in view at the next painting, in the place of what was.
function viewBars(view, room = 0) {
  if (!aim) {
    requestAnimationFrame(() => {  // by now the library has painted
      aim = null;
      tellView();
    });
  }
  aim = view;
  if (!isFilled || !isHeld(view, room)) {
    Object.assign(portion, portionFor(view));
    if (isFilled) for (const {series} of drawn) series.setData([]);
    isFilled = true;
    fillSeries();
  }
  chart.timeScale().setVisibleLogicalRange({from: placeOfBar(view.from), to: placeOfBar(view.to)});
}

function tellView() {
  const view = viewedBars();
  if (!view) return;
  for (const listener of viewListeners) listener(view);
}

// A portion that is filled anew under a drag would move away from the pointer: before a drag there is room for one.
function makeRoom() {
  const view = viewedBars();
  if (view && !isHeld(view, 1.1)) viewBars(view, 1.1);
}

function watchView() {
  chart.timeScale().subscribeVisibleLogicalRangeChange(() => {
    if (aim) return;
    const view = viewedBars();
    if (view && !isHeld(view, 0)) viewBars(view);
    else tellView();
  });
  main.addEventListener('pointerdown', makeRoom, true);
}
