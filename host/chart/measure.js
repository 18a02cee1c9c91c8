// Measures from one point of a pane to another: bars, time, difference and percent.

const measure = {isOn: false, pane: null, start: null, end: null, isDone: false};

function spanText(seconds) {
  const [size, name] = seconds >= 2 * secondsADay ? [secondsADay, 'days'] : seconds >= 7200 ? [3600, 'hours'] : [60, 'minutes'];
  return `${Math.round(seconds / size).toLocaleString('en')} ${name}`;
}

function measuredTexts() {
  const {start, end, pane} = measure;
  const bars = Math.abs(end.bar - start.bar), seconds = Math.abs(times[end.bar] - times[start.bar]);
  const span = `${bars.toLocaleString('en')} ${bars === 1 ? 'bar' : 'bars'}${isTimed ? `, ${spanText(seconds)}` : ''}`;
  if (isBandPane(pane)) return [span];
  const change = end.value - start.value, sign = change < 0 ? '−' : '+';
  const percent = start.value > 0 ? ` (${sign}${Math.abs(100 * change / start.value).toFixed(2)} %)` : '';
  return [`${sign}${formats[pane].formatter(Math.abs(change))}${percent}`, span];
}

const measureView = {
  renderer: () => ({draw: target => target.useMediaCoordinateSpace(({context, mediaSize}) => drawMeasure(context, mediaSize))}),
  zOrder: () => 'top',
};
const measurePrimitive = {
  attached({requestUpdate}) { measure.repaint = requestUpdate; },
  paneViews: () => [measureView],
};

function pointOf({bar, value}) {
  const series = firstSeries(measure.pane);
  return {x: chart.timeScale().logicalToCoordinate(placeOfBar(bar)), y: series?.priceToCoordinate(value)};
}

function drawMeasure(context, {width, height}) {
  if (!measure.end) return;
  const from = pointOf(measure.start), to = pointOf(measure.end);
  if ([from.x, from.y, to.x, to.y].some(place => place === null || place === undefined)) return;
  const isDown = to.y > from.y;
  context.fillStyle = color(isDown ? 'down' : 'up') + '26';
  context.fillRect(from.x, from.y, to.x - from.x, to.y - from.y);
  context.strokeStyle = context.fillStyle = color(isDown ? 'down' : 'up');
  context.lineWidth = 1;
  context.strokeRect(from.x, from.y, to.x - from.x, to.y - from.y);

  const lines = measuredTexts(), lineHeight = 17, edge = 7;
  context.font = `12px ${getComputedStyle(document.body).fontFamily}`;
  const textWidth = Math.max(...lines.map(line => context.measureText(line).width)) + 2 * edge;
  const textHeight = lines.length * lineHeight + edge;
  const left = Math.max(2, Math.min(width - textWidth - 2, (from.x + to.x - textWidth) / 2));
  const beyond = isDown ? to.y + 6 : to.y - textHeight - 6;
  const top = Math.max(2, Math.min(height - textHeight - 2, beyond));
  context.beginPath();
  context.roundRect(left, top, textWidth, textHeight, 4);
  context.fill();
  context.fillStyle = color('page');
  context.textBaseline = 'middle';
  for (const [line, text] of lines.entries()) context.fillText(text, left + edge, top + edge / 2 + (line + 0.5) * lineHeight);
}

const firstSeries = pane => drawn.find(item => item.pane === pane && item.isOn)?.series;

function endMeasure() {
  if (measure.pane !== null) paneAt(measure.pane).detachPrimitive(measurePrimitive);
  Object.assign(measure, {pane: null, start: null, end: null, isDone: false});
}

function switchMeasure(isOn) {
  endMeasure();
  measure.isOn = isOn;
  measureButton.setAttribute('aria-pressed', String(isOn));
  main.classList.toggle('measuring', isOn);
}

// The point of a pane under the pointer, on its bar. Null where there is none.
function measuredPoint({logical, point}, pane) {
  const bar = barAtPlace(logical), series = firstSeries(pane);
  if (bar === null || !point || !series) return null;
  return {bar, value: series.coordinateToPrice(point.y)};
}

chart.subscribeClick(event => {
  if (!measure.isOn) return;
  if (measure.start && !measure.isDone) {
    measure.end = measuredPoint(event, measure.pane) ?? measure.end;
    measure.isDone = Boolean(measure.end);
    if (measure.isDone) spoken.textContent = measuredTexts().join(', ');
    return;
  }
  endMeasure();
  const pane = paneNumber(event.paneIndex), start = measuredPoint(event, pane);
  if (!start) return;
  Object.assign(measure, {pane, start});
  paneAt(pane).attachPrimitive(measurePrimitive);
});

chart.subscribeCrosshairMove(event => {
  if (!measure.start || measure.isDone || paneNumber(event.paneIndex) !== measure.pane) return;
  measure.end = measuredPoint(event, measure.pane) ?? measure.end;
  measure.repaint?.();
});
