// Labels at their bars.

// A marker stands at a value of its series. Without one on its bar it would go to a neighbour, so that an unseen series
// holds it, at the price before.
const labelHost = priceSeries ?? curves[0]?.series[0];
const standIns = new Map();  // values by bar
const hasLabels = Boolean(labelHost && (study.labels.length || study.live && study.labelled.length));
function findStandIns() {
  standIns.clear();
  const values = priceValues ?? curves[0].values;
  const isPriced = bar => isCandles ? [open, high, low, close].every(price => isDrawn(price[bar])) : isDrawn(values[bar]);
  const labelled = new Set(study.labels.map(label => label.bar));
  let last = values.find(isDrawn) ?? 0;
  for (let bar = 0; bar < barCount; ++bar) {
    if (isPriced(bar)) last = values[bar];
    else if (labelled.has(bar)) standIns.set(bar, last);
  }
}
if (hasLabels) findStandIns();

function addStandIns() {
  const points = () => [...new Map([...standIns].filter(([bar]) => isInPortion(bar)).map(([bar, value]) => {
    const time = timeOfPlace(placeHolding(bar));
    return [time, {time, value}];
  })).values()];
  return addSeries(charts.LineSeries, points, 0, {isOnAxis: false}, () => ({color: 'transparent'}), {isSparse: true});
}

const markers = hasLabels ? charts.createSeriesMarkers(labelHost, [], {autoScale: false}) : null;
const strayMarkers = standIns.size || hasLabels && study.live ? charts.createSeriesMarkers(addStandIns(), [], {autoScale: false}) : null;
const hiddenLabels = new Set();

// Labels point up or down where an operator has both kinds.
const pointing = new Set(study.labels.filter(label => label.down).map(label => label.expression));

const barWidth = () => chart.timeScale().options().barSpacing / portion.step;

// Bars are further from each other than this in the steps of a view's zoom that labels are chosen for.
function labelSpacing() {
  return 2 ** (Math.floor(2 * Math.log2(barWidth())) / 2);
}

// The labels that have room beside each other, from the first bar on, so that they stay while the view moves. Labels of
// one bar stand above each other.
function labelsWithRoom(labels, spacing) {
  const letter = 6.5, gap = 8;
  const ends = new Map();  // of the last label, by the side of the bar: its bar, and where its text ends
  return labels.filter(({bar, text, down, expression}) => {
    const side = pointing.has(expression) && !down;
    const before = ends.get(side), half = (letter * text.length + gap) / 2, x = bar * spacing;
    if (before && before.bar !== bar && x - half < before.end) return false;
    ends.set(side, {bar, end: Math.max(x + half, before?.bar === bar ? before.end : 0)});
    return true;
  });
}

let drawnSpacing = 0;
function fillLabels() {
  if (!markers) return;
  drawnSpacing = labelSpacing();
  const marker = label => {
    const place = {time: timeOfPlace(placeHolding(label.bar)), text: label.text, size: 0.8};
    if (!pointing.has(label.expression)) return {...place, position: 'aboveBar', shape: 'circle', color: color('label')};
    return label.down ? {...place, position: 'aboveBar', shape: 'arrowDown', color: color('down')}
                      : {...place, position: 'belowBar', shape: 'arrowUp', color: color('up')};
  };
  const visible = labelsWithRoom(study.labels.filter(label => !hiddenLabels.has(label.expression)), drawnSpacing);
  const held = visible.filter(({bar}) => isInPortion(bar));
  markers.setMarkers(held.filter(label => !standIns.has(label.bar)).map(marker));
  strayMarkers?.setMarkers(held.filter(label => standIns.has(label.bar)).map(marker));
}

whenViewMoves(() => {
  if (labelSpacing() !== drawnSpacing) fillLabels();
});

const labelTexts = new Map();  // by bar, and in that by expression
function listLabelTexts() {
  labelTexts.clear();
  for (const {bar, expression, text} of study.labels) {
    if (!labelTexts.has(bar)) labelTexts.set(bar, new Map());
    const texts = labelTexts.get(bar);
    texts.set(expression, texts.has(expression) ? `${texts.get(expression)} ${text}` : text);
  }
}
listLabelTexts();

// The labels of an expression on a bar, or where bars are too narrow to point at, of the nearest bar.
function labelTextNear(bar, expression) {
  const spacing = barWidth(), reach = spacing < 4 ? Math.ceil(6 / spacing) : 0;
  for (let away = 0; away <= reach; ++away) {
    for (const near of [bar - away, bar + away]) {
      const text = labelTexts.get(near)?.get(expression);
      if (text) return away ? `${text} (${dateOf(near)})` : text;
    }
  }
  return '';
}
