// A click on a bar shows how the values of the expressions come about there.

const panel = element(document.body, 'section', 'explanation');
panel.hidden = true;
panel.setAttribute('role', 'dialog');
panel.setAttribute('aria-label', 'Where the values come from');
const closePanel = element(panel, 'button', 'close', '×');
closePanel.type = 'button';
closePanel.title = 'Close';
closePanel.setAttribute('aria-label', 'Close');
const explanationText = element(panel, 'pre', '');
explanationText.tabIndex = 0;

function hideExplanation() {
  panel.hidden = true;
  main.focus();
}

function showExplanation(bar) {
  if (bar === null || !study.explanations) return;
  const {first, texts} = study.explanations;
  const typed = [...new Set([...study.studies, ...study.labelled].map(curve => curve.typed))];
  explanationText.textContent = texts[bar - first] ??
    `${dateOf(bar)} is explained by\n\n    study explain ${study.title} ${typed.map(text => JSON.stringify(text)).join(' ')} --at "${dateOf(bar)}"\n\n` +
    `This page explains the bars from ${dateOf(first)} on.`;
  panel.hidden = false;
  explanationText.scrollTop = 0;
}

closePanel.addEventListener('click', hideExplanation);
document.addEventListener('keydown', event => { if (event.key === 'Escape' && !panel.hidden) hideExplanation(); });
// On a screen that is touched there is no pointer to show values under: the first tap shows those of a bar, and a second
// one on the same bar explains them.
let isTouch = false, tappedBar = null;
main.addEventListener('pointerdown', event => { isTouch = event.pointerType === 'touch'; }, true);
chart.subscribeClick(({logical, point, paneIndex}) => {
  const bar = barAtPlace(logical);
  if (measure.isOn || bar === null) return;
  if (!isTouch || bar === tappedBar) {
    showExplanation(bar);
    return;
  }
  tappedBar = bar;
  pointAt(bar, paneNumber(paneIndex), point?.y);
});

// ---- The bar under the cross, which keys move, too

let pointedBar = null;
chart.subscribeCrosshairMove(({logical}) => { pointedBar = barAtPlace(logical); });

// Has the cross stand on a bar, and shows its values. Without a height it stands at the value of the pane's first series.
function pointAt(bar, pane = paneOrder[0], y = undefined) {
  const series = drawn.find(item => item.pane === pane && item.isOn)?.series;
  if (!series) return;
  const place = placeHolding(bar), data = series.dataByIndex(place);
  const height = y === undefined ? data?.close ?? data?.value : series.coordinateToPrice(y);
  chart.setCrosshairPosition(height ?? 0, timeOfPlace(place), series);
  pointedBar = bar;
  showBar(bar);
}

// For those who hear the page.
const spoken = element(document.body, 'div', 'spoken');
spoken.setAttribute('role', 'status');
function speak(bar) {
  const curveTexts = curves.map(curve => `${curve.name ? `${curve.typed} ${curve.name}` : curve.typed} ${valueText(curve.values[bar], curve.pane)}`);
  const price = priceName ? [`${priceName} ${valueText(priceValues[bar], 0)}`] : [];
  spoken.textContent = [dateOf(bar), ...price, ...curveTexts].join(', ');
}

function moveCross(bars) {
  const view = viewedBars();
  if (!view) return;
  const from = pointedBar ?? Math.min(barCount - 1, Math.floor(view.to));
  const bar = Math.max(0, Math.min(barCount - 1, from + bars));
  const width = view.to - view.from;
  if (bar < view.from || bar > view.to) viewBars({from: bar - width / 2, to: bar + width / 2});
  pointAt(bar);
  speak(bar);
}

main.addEventListener('keydown', event => {
  if (event.key !== 'Enter' || event.target !== main) return;
  showExplanation(pointedBar ?? barCount - 1);
  explanationText.focus();
});
