// How columns of values become the points of lines, steps, dots, histograms and candles.

// The colour of a point is that of the line from it to the next point. The library draws this line over a gap too, so
// that it is transparent there. The last point keeps its colour for the price axis.
// A step rises in the colour of the point that it rises to, so that after a gap it rises unseen, one bar early.
function linePoints(values, isStep = false) {
  const last = values.findLastIndex(isDrawn);
  return values.map((value, bar) => {
    const time = times[bar];
    if (!isDrawn(value)) return isStep && isDrawn(values[bar + 1]) ? {time, value: values[bar + 1], color: 'transparent'} : {time};
    return bar === last || isDrawn(values[bar + 1]) ? {time, value} : {time, value, color: 'transparent'};
  });
}

// Values without a neighbour, which no line shows.
function dotPoints(values) {
  const isAlone = (value, bar) => isDrawn(value) && !isDrawn(values[bar - 1]) && !isDrawn(values[bar + 1]);
  return values.flatMap((value, bar) => isAlone(value, bar) ? [{time: times[bar], value}] : []);
}

const {open, high, low, close} = study.prices;
const isCandles = Boolean(open && high && low && close);
const [priceName, priceValues] = Object.entries(study.prices).find(([name]) => name === 'close') ??
  Object.entries(study.prices)[0] ?? [];

// By pane: one format for all that share its scale. Rows of bands have no scale.
const formats = Array.from({length: study.panes}, (_, pane) => scaleFormat([
  ...(pane === 0 ? Object.values(study.prices) : []),
  ...study.studies.filter(curve => curve.pane === pane).map(curve => curve.values),
]));
const noScale = {type: 'custom', minMove: 1, formatter: () => ''};

function candlePoints({open, high, low, close}) {
  return times.map((time, bar) => {
    const [o, h, l, c] = [open[bar], high[bar], low[bar], close[bar]];
    return [o, h, l, c].every(isDrawn) ? {time, open: o, high: h, low: l, close: c} : {time};
  });
}

// The two other outputs of a stop's expression that it changes between: on every bar it equals one of them. The lower one
// comes first. Null for a curve that is none.
function stopsBehind(curve) {
  if (curve.drawing !== 'step') return null;
  const others = study.studies.filter(other =>
    other.expression === curve.expression && other.name !== curve.name && other.drawing === 'step');
  if (others.length !== 2 || !curve.values.some(isDrawn)) return null;
  const isOneOf = (value, bar) => value === null || others.some(other => other.values[bar] === value);
  const isChanging = others.every(other => curve.values.some((value, bar) => value !== null && value !== other.values[bar]));
  if (!curve.values.every(isOneOf) || !isChanging) return null;
  let balance = 0;
  for (let bar = 0; bar < barCount; ++bar) balance += (others[0].values[bar] ?? 0) > (others[1].values[bar] ?? 0) ? 1 : -1;
  return balance > 0 ? others.reverse() : others;
}

// The values of a stop while it is the lower one, and while it is the upper one. Null for a curve that is no stop.
function sidesOfStop(curve) {
  const behind = stopsBehind(curve);
  if (!behind) return null;
  const isLower = [];
  for (const [bar, value] of curve.values.entries()) {
    const equal = behind.map(stop => stop.values[bar] === value);
    isLower.push(equal[0] === equal[1] ? isLower.at(-1) ?? true : equal[0]);
  }
  return [true, false].map(lower => curve.values.map((value, bar) => isLower[bar] === lower ? value : null));
}

// Names that tell the curves of an expression apart: the beginning of the meaning, with the output's name where two
// begin alike.
function shortMeaning(curve) {
  const beginning = ({meaning}) => meaning.split(/[:;,(]/)[0].trim();
  if (!curve.meaning || !curve.name) return curve.name;
  const isShared = study.studies.some(other =>
    other.name !== curve.name && other.expression === curve.expression && beginning(other) === beginning(curve));
  return isShared ? `${beginning(curve)} (${curve.name})` : beginning(curve);
}
