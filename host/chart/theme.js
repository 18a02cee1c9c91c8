// Colours: those of the page's style sheet, light or dark.

const preferred = matchMedia('(prefers-color-scheme: dark)');
let chosenTheme = study.theme === 'auto' ? null : study.theme;

function color(name) {
  return getComputedStyle(root).getPropertyValue('--' + name).trim();
}

function applyTheme() {
  const theme = chosenTheme ?? (preferred.matches ? 'dark' : 'light');
  root.dataset.theme = theme;
  const other = theme === 'dark' ? 'Light colours' : 'Dark colours', button = document.getElementById('theme');
  button.textContent = theme === 'dark' ? '☀' : '☾';
  button.title = other;
  button.setAttribute('aria-label', other);
  chart.applyOptions({
    layout: {
      background: {type: 'solid', color: color('page')},
      textColor: color('quiet'),
      panes: {separatorColor: color('line'), separatorHoverColor: color('hover')},
    },
    grid: {vertLines: {color: color('grid')}, horzLines: {color: color('grid')}},
    timeScale: {borderColor: color('line')},
    rightPriceScale: {borderColor: color('line')},
    crosshair: {
      vertLine: {color: color('quiet'), labelBackgroundColor: color('label')},
      horzLine: {color: color('quiet'), labelBackgroundColor: color('label')},
    },
  });
  for (const {series, paint} of drawn) series.applyOptions(paint());
  // The paler part of a curve has its colour point by point.
  if (isFilled && study.studies.some(curve => curve.forming !== undefined)) return fillSeries();
  fillLabels();
}
