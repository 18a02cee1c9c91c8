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
  if (bar === undefined || bar < 0 || bar >= barCount || !study.explanations) return;
  const {first, texts} = study.explanations;
  const typed = [...new Set([...study.studies, ...study.labelled].map(curve => curve.typed))];
  explanationText.textContent = texts[bar - first] ??
    `${study.dates[bar]} is explained by\n\n    study explain ${study.title} ${typed.map(text => JSON.stringify(text)).join(' ')} --at "${study.dates[bar]}"\n\n` +
    `This page explains the bars from ${study.dates[first]} on.`;
  panel.hidden = false;
  explanationText.scrollTop = 0;
}

closePanel.addEventListener('click', hideExplanation);
document.addEventListener('keydown', event => { if (event.key === 'Escape' && !panel.hidden) hideExplanation(); });
chart.subscribeClick(event => showExplanation(event.logical));
// By keys: Enter explains the bar under the crosshair, or the last one.
let pointedBar;
chart.subscribeCrosshairMove(event => { pointedBar = event.logical; });
main.addEventListener('keydown', event => {
  if (event.key !== 'Enter' || event.target !== main) return;
  showExplanation(pointedBar ?? barCount - 1);
  explanationText.focus();
});
