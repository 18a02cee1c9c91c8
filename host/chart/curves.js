// How columns of values become the points of lines, steps, dots, histograms and candles.

// The colour of a point is that of the line from it to the next point. The library draws this line over a gap too, so
// that it is transparent there. The last point keeps its colour for the price axis.
// A step rises in the colour of the point that it rises to, so that after a gap it rises unseen, one bar early.
// A longer bar that still forms is paler: `forming` has its first bar and the colour, or is null.
function linePoints(column, isStep, forming) {
  const values = extremes(column), last = values.findLastIndex(isDrawn);
  return Array.from(values, (value, place) => {
    const time = timeOfPlace(place), next = values[place + 1];
    const shade = forming && place < last && barOfPlace(place) >= forming.first ? {color: forming.color} : {};
    if (!isDrawn(value)) return isStep && isDrawn(next) ? {time, value: next, color: 'transparent'} : {time};
    return place === last || isDrawn(next) ? {time, value, ...shade} : {time, value, color: 'transparent'};
  });
}

// A value without a neighbour, which no line shows.
function isAlone(values, at) {
  return isDrawn(values[at]) && !isDrawn(values[at - 1]) && !isDrawn(values[at + 1]);
}

// The values of some places, such as those that a test holds for.
function somePoints(values, isShown) {
  const points = [];
  for (let place = 0; place < values.length; ++place) {
    if (isShown(values, place)) points.push({time: timeOfPlace(place), value: values[place]});
  }
  return points;
}

function barPoints(column) {
  return Array.from(largest(column), (value, place) => isDrawn(value) ? {time: timeOfPlace(place), value} : {time: timeOfPlace(place)});
}

const {open, high, low, close} = study.prices;
const isCandles = Boolean(open && high && low && close);
const [priceName, priceValues] = Object.entries(study.prices).find(([name]) => name === 'close') ??
  Object.entries(study.prices)[0] ?? [];

// By pane: one format for all that share its scale. Rows of bands have no scale.
const formats = Array.from({length: study.panes}, (_, pane) => scaleFormat([
  ...(pane === 0 ? Object.values(study.prices) : []),
  ...(pane === study.volumePane ? [study.volume] : []),
  ...study.studies.filter(curve => curve.pane === pane).map(curve => curve.values),
]));
const noScale = {type: 'custom', minMove: 1, formatter: () => ''};

// The two other outputs of a stop's expression that it changes between: on every bar it equals one of them. The lower one
// comes first. Null for a curve that is none.
function stopsBehind(curve) {
  if (curve.drawing !== 'step') return null;
  const others = study.studies.filter(other =>
    other.expression === curve.expression && other.name !== curve.name && other.drawing === 'step');
  if (others.length !== 2 || !curve.values.some(isDrawn)) return null;
  const isOneOf = (value, bar) => Number.isNaN(value) || others.some(other => other.values[bar] === value);
  const isChanging = others.every(other => curve.values.some((value, bar) => !Number.isNaN(value) && value !== other.values[bar]));
  if (!curve.values.every(isOneOf) || !isChanging) return null;
  // Bars where it lies below the price, less those where it lies above.
  const barsBelow = ({values}) => values.reduce((sum, value, bar) => sum + (Math.sign((priceValues?.[bar] ?? 0) - value) || 0), 0);
  return others.sort((a, b) => barsBelow(b) - barsBelow(a));
}

// Columns that follow from others, and how: `fill` writes their values anew.
const derived = [];

// The values of a stop while it is the lower one, and while it is the upper one. Null for a curve that is no stop.
function sidesOfStop(curve) {
  const behind = stopsBehind(curve);
  if (!behind) return null;
  const [lower, upper] = behind.map(stop => stop.values);
  const sides = [0, 1].map(() => new Float64Array(barCount)).map(side => study.live ? growing(side) : side);
  const fill = () => {
    let isLower = true;
    for (const [bar, value] of curve.values.entries()) {
      if ((lower[bar] === value) !== (upper[bar] === value)) isLower = lower[bar] === value;
      [sides[0][bar], sides[1][bar]] = isLower ? [value, NaN] : [NaN, value];
    }
  };
  fill();
  derived.push({columns: sides, fill});
  return sides;
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
