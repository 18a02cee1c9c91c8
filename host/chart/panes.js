// The chart: its panes, and a series for each curve.

const canvas = element(main, 'div');
canvas.id = 'canvas';
const isNarrow = matchMedia('(max-width: 600px)');  // a phone, where fingers take larger targets
const bandRows = pane => study.studies.filter(curve => curve.pane === pane && curve.drawing === 'band').length;
const bandRow = () => isNarrow.matches ? 60 : 24;

const chart = charts.createChart(canvas, {
  autoSize: true,
  layout: {fontFamily: getComputedStyle(document.body).fontFamily, fontSize: 11, attributionLogo: false},
  crosshair: {mode: charts.CrosshairMode.Normal},
  hoveredSeriesOnTop: false,  // it stays there at times when the pointer has left
  rightPriceScale: {minimumWidth: isNarrow.matches ? 56 : 72},
  handleScroll: {vertTouchDrag: !isNarrow.matches},  // there it scrolls the page
  timeScale: {
    timeVisible: hasClock,
    rightOffset: 3,
    minBarSpacing: 0.05,
    ...(isTimed ? {} : {tickMarkFormatter: time => shortened(dateText(time), 12)}),
  },
  localization: {timeFormatter: time => shortened(dateText(time), 40)},
});

// A series, how it is coloured in a theme, the points of its portion, and whether the axis shows its last value. `isOn`:
// the legend has not hidden it.
const drawn = [];

function draw(series, pane, points, isOnAxis, paint, more = {}) {
  drawn.push({series, pane, points, isOnAxis, paint, isOn: true, ...more});
  return series;
}

function addSeries(type, points, pane, {isOnAxis = true, ...options}, paint, more) {
  const series = chart.addSeries(type, {
    priceFormat: formats[pane], priceLineVisible: false, crosshairMarkerVisible: false, lastValueVisible: isOnAxis,
    ...options, ...paint(),
  }, pane);
  return draw(series, pane, points, isOnAxis, paint, {lineWidth: options.lineWidth, ...more});
}

function addDots(isShown, values, pane, radius, paint) {
  return addSeries(charts.LineSeries, () => somePoints(extremes(values), isShown), pane, {
    isOnAxis: false, lineVisible: false, pointMarkersVisible: true, pointMarkersRadius: radius,
  }, paint, {isSparse: true});
}

// The part of a curve that a longer bar may still change.
function formingPart(curve, colorName) {
  return curve?.forming === undefined ? null : {first: curve.forming, color: color(colorName) + '60'};
}

// Two series where values stand alone, and else one.
// `curve`, where there is one, tells since which bar its longer bar forms.
function addLine(values, pane, colorName, lineWidth, isStep, curve) {
  const lineType = isStep ? charts.LineType.WithSteps : charts.LineType.Simple;
  const paint = () => ({color: color(colorName)});
  // A line of a single point would be a dash.
  const isLine = () => values.findIndex(isDrawn) !== values.findLastIndex(isDrawn);
  const line = addSeries(charts.LineSeries, () => linePoints(values, isStep, formingPart(curve, colorName)), pane, {lineWidth, lineType, lineVisible: isLine()}, paint, {isLine});
  const hasDots = study.live || values.some((_, bar) => isAlone(values, bar));
  return hasDots ? [line, addDots(isAlone, values, pane, 1.5 * lineWidth, paint)] : [line];
}

function addHistogram(values, pane, colorName) {
  return addSeries(charts.HistogramSeries, () => barPoints(values), pane, {base: 0}, () => ({color: color(colorName)}));
}

function addCandles(prices, pane, paint, options = {}) {
  return addSeries(charts.CandlestickSeries, () => candlePoints(prices), pane, options, paint);
}

// In a pane with the studies of volumes, or in the lowest fifth of the top pane on a scale of its own.
function addVolume() {
  const isAlone = study.volumePane !== null;
  const series = addSeries(charts.HistogramSeries, () => barPoints(study.volume), study.volumePane ?? 0, {
    isOnAxis: false, priceFormat: scaleFormat([study.volume]), ...(isAlone ? {} : {priceScaleId: 'volume'}),
  }, () => ({color: color('volume')}));
  if (!isAlone) series.priceScale().applyOptions({scaleMargins: {top: 0.82, bottom: 0}});
}

const priceSeries = isCandles ? addCandles(study.prices, 0, () => ({
  upColor: color('up'), wickUpColor: color('up'), borderUpColor: color('up'),
  downColor: color('down'), wickDownColor: color('down'), borderDownColor: color('down'),
})) : priceName ? addLine(priceValues, 0, 'text', 1, false)[0] : null;
const hasVolume = Boolean(priceSeries && study.volume?.some(isDrawn));
const volumeIsBelowPrices = hasVolume && study.volumePane === null;
if (hasVolume && !volumeIsBelowPrices) addVolume();

// The series of a curve, drawn as its output is best drawn, and the colours that its legend shows.
function addCurve(curve, colorName) {
  const {values, pane, drawing} = curve;
  const isBehindStop = study.studies.some(other => other.expression === curve.expression && stopsBehind(other)?.includes(curve));
  const lineWidth = isBehindStop ? 1 : pane === 0 && priceSeries ? 2 : 1.5;
  if (drawing === 'band') {
    const row = study.studies.filter(other => other.pane === pane).indexOf(curve) + 1;
    return {series: [addBand(curve, row, bandRows(pane))], colorNames: []};
  }
  if (drawing === 'candles') {
    const candles = addCandles({...curve.bar, close: values}, pane, () => ({
      upColor: color('page'), downColor: color(colorName), borderUpColor: color(colorName),
      borderDownColor: color(colorName), wickUpColor: color(colorName), wickDownColor: color(colorName),
    }), {isOnAxis: false});
    return {series: [candles], colorNames: [colorName]};
  }
  const sides = sidesOfStop(curve);
  if (sides) {
    const [longs, shorts] = sides;
    return {series: [...addLine(longs, pane, 'up', lineWidth, true), ...addLine(shorts, pane, 'down', lineWidth, true)],
      colorNames: ['up', 'down']};
  }
  // Of dots, 0 says that there is none.
  const isDot = (shown, place) => isDrawn(shown[place]) && shown[place] !== 0;
  const series = drawing === 'histogram' ? [addHistogram(values, pane, colorName)]
    : drawing === 'marker' ? [addDots(isDot, values, pane, 3, () => ({color: color(colorName)}))]
    : addLine(values, pane, colorName, lineWidth, drawing === 'step', curve);
  return {series, colorNames: [colorName]};
}

let colorsUsed = 0;
const curves = study.studies.map(curve => {
  const colorName = curve.drawing === 'band' ? '' : 'curve' + colorsUsed++ % curveColors;
  return {...curve, ...addCurve(curve, colorName)};
});
if (volumeIsBelowPrices) addVolume();
for (const index of chart.panes().keys()) {
  const onAxis = drawn.filter(({pane, isOnAxis}) => pane === index && isOnAxis);
  if (onAxis.length > 3) for (const item of onAxis.slice(1)) item.isOnAxis = false;
}
