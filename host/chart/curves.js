// How columns of values become the points of lines, steps, dots, histograms and candles.

// The colour of a point is that of the line from it to the next point. The library draws this line over a gap too, so
// that it is transparent there. The last point keeps its colour for the price axis.
function linePoints(values) {
  const last = values.findLastIndex(isDrawn);
  return values.map((value, bar) => {
    const time = times[bar];
    if (!isDrawn(value)) return {time};
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

// A stop turns when it jumps over the price. Gives its values below the price and those above it, null for a curve that
// is no stop: it stays on one side, or the price crosses it where it stands still.
function sidesOfStop(curve) {
  if (curve.drawing !== 'step' || curve.pane !== 0 || !priceValues) return null;
  const known = bar => isDrawn(curve.values[bar]) && isDrawn(priceValues[bar]);
  const isBelow = bar => curve.values[bar] <= priceValues[bar];
  let turns = 0, jumps = 0;
  for (let bar = 1; bar < barCount; ++bar) {
    if (!known(bar) || !known(bar - 1) || isBelow(bar) === isBelow(bar - 1)) continue;
    ++turns;
    jumps += curve.values[bar] !== curve.values[bar - 1];
  }
  const keep = below => curve.values.map((value, bar) => known(bar) && isBelow(bar) === below ? value : null);
  const [longs, shorts] = [keep(true), keep(false)];
  const fewest = Math.min(...[longs, shorts].map(values => values.filter(isDrawn).length));
  return jumps > 0 && jumps >= 0.9 * turns && fewest >= 0.1 * curve.values.filter(isDrawn).length ? [longs, shorts] : null;
}

// Names that tell the curves of an expression apart: the beginning of the meaning, with the output's name where two
// begin alike.
function shortMeaning(curve) {
  const beginning = ({meaning}) => meaning.split(/[:;,(]/)[0].trim();
  if (!curve.meaning || !curve.name) return curve.name;
  const isShared = study.studies.some(other =>
    other !== curve && other.expression === curve.expression && beginning(other) === beginning(curve));
  return isShared ? `${beginning(curve)} (${curve.name})` : beginning(curve);
}
