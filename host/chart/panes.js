// The chart: its panes, and a series for each curve.

const canvas = element(main, 'div');
canvas.id = 'canvas';
// Panes share the height of the window, and the page scrolls where that would be too little.
const bandRow = 24;
const bandRows = pane => study.studies.filter(curve => curve.pane === pane && curve.drawing === 'band').length;
const leastHeight = pane => isBandPane(pane) ? bandRow * (bandRows(pane) + 1) : pane === 0 ? 220 : 90;
main.style.minHeight = Array.from({length: study.panes}, (_, pane) => leastHeight(pane)).reduce((sum, height) => sum + height, 30) + 'px';

const chart = charts.createChart(canvas, {
  autoSize: true,
  layout: {fontFamily: getComputedStyle(document.body).fontFamily, fontSize: 11, attributionLogo: false},
  crosshair: {mode: charts.CrosshairMode.Normal},
  hoveredSeriesOnTop: false,  // it stays there at times when the pointer has left
  rightPriceScale: {minimumWidth: 72},
  timeScale: {
    timeVisible: hasClock,
    rightOffset: 3,
    minBarSpacing: 0.05,
    ...(isTimed ? {} : {tickMarkFormatter: time => shortened(dateText(time), 12)}),
  },
  localization: {timeFormatter: time => shortened(dateText(time), 40)},
});

const drawn = [];  // {series, paint}: what to colour anew with the theme

function addSeries(type, points, pane, options, paint) {
  const series = chart.addSeries(type, {
    priceFormat: formats[pane], priceLineVisible: false, crosshairMarkerVisible: false, ...options, ...paint(),
  }, pane);
  series.setData(points);
  drawn.push({series, paint});
  return series;
}

// Two series where values stand alone, and else one.
function addLine(values, pane, colorName, lineWidth, isStep) {
  const lineType = isStep ? charts.LineType.WithSteps : charts.LineType.Simple;
  const paint = () => ({color: color(colorName)});
  const add = (points, options) => addSeries(charts.LineSeries, points, pane, {lineWidth, lineType, ...options}, paint);
  // A line of a single point would be a dash.
  const line = add(linePoints(values, isStep), {lineVisible: values.filter(isDrawn).length > 1});
  const dots = dotPoints(values);
  return dots.length === 0 ? [line] : [line, add(dots, {
    lineVisible: false, lastValueVisible: false, pointMarkersVisible: true, pointMarkersRadius: 1.5 * lineWidth,
  })];
}

// Values as dots; 0 says that there is none.
function addDots(values, pane, colorName) {
  const points = values.flatMap((value, bar) => isDrawn(value) && value !== 0 ? [{time: times[bar], value}] : []);
  return addSeries(charts.LineSeries, points, pane, {
    lineVisible: false, lastValueVisible: false, pointMarkersVisible: true, pointMarkersRadius: 3,
  }, () => ({color: color(colorName)}));
}

function addHistogram(values, pane, colorName) {
  const points = values.map((value, bar) => isDrawn(value) ? {time: times[bar], value} : {time: times[bar]});
  return addSeries(charts.HistogramSeries, points, pane, {base: 0}, () => ({color: color(colorName)}));
}

function addCandles(prices, pane, paint, options = {}) {
  return addSeries(charts.CandlestickSeries, candlePoints(prices), pane, options, paint);
}

// In the lowest fifth of the top pane, on a scale of its own.
function addVolume() {
  const points = study.volume.map((value, bar) => isDrawn(value) ? {time: times[bar], value} : {time: times[bar]});
  const series = addSeries(charts.HistogramSeries, points, 0, {
    priceScaleId: 'volume', priceFormat: scaleFormat([study.volume]), lastValueVisible: false,
  }, () => ({color: color('volume')}));
  series.priceScale().applyOptions({scaleMargins: {top: 0.82, bottom: 0}});
}

const priceSeries = isCandles ? addCandles(study.prices, 0, () => ({
  upColor: color('up'), wickUpColor: color('up'), borderUpColor: color('up'),
  downColor: color('down'), wickDownColor: color('down'), borderDownColor: color('down'),
})) : priceName ? addLine(priceValues, 0, 'text', 1)[0] : null;
const hasVolume = Boolean(priceSeries && study.volume?.some(isDrawn));

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
    }), {lastValueVisible: false});
    return {series: [candles], colorNames: [colorName]};
  }
  const sides = sidesOfStop(curve);
  if (sides) {
    const [longs, shorts] = sides;
    return {series: [...addLine(longs, pane, 'up', lineWidth, true), ...addLine(shorts, pane, 'down', lineWidth, true)],
      colorNames: ['up', 'down']};
  }
  const series = drawing === 'histogram' ? [addHistogram(values, pane, colorName)]
    : drawing === 'marker' ? [addDots(values, pane, colorName)]
    : addLine(values, pane, colorName, lineWidth, drawing === 'step');
  return {series, colorNames: [colorName]};
}

let colorsUsed = 0;
const curves = study.studies.map(curve => {
  const colorName = curve.drawing === 'band' ? '' : 'curve' + colorsUsed++ % curveColors;
  return {...curve, ...addCurve(curve, colorName)};
});
if (hasVolume) addVolume();
for (const [index, pane] of chart.panes().entries()) {
  pane.setStretchFactor(isBandPane(index) ? Math.max(1.5, 0.35 * (bandRows(index) + 1)) : index === 0 ? 4 : 1.5);
  const onAxis = pane.getSeries().filter(series => series.options().lastValueVisible);
  if (onAxis.length > 3) {
    for (const series of onAxis.slice(1)) series.applyOptions({lastValueVisible: false});
  }
}
