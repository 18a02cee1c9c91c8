// The picture and the visible values as files.

function save(name, url) {
  const link = document.createElement('a');
  link.href = url;
  link.download = name;
  link.click();
}

function savePicture() {
  save(study.title + '.png', chart.takeScreenshot().toDataURL());
}

function csvCell(value) {
  const text = value === undefined || Number.isNaN(value) ? '' : String(value);
  return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

// All digits of the bars in view.
function visibleCsv() {
  const view = viewedBars();
  const [first, last] = view ? [Math.max(0, Math.ceil(view.from)), Math.min(barCount - 1, Math.floor(view.to))] : [0, -1];
  const columns = [
    ['date', {at: dateOf}],
    ...Object.entries(study.prices).map(([name, values]) => [name, {at: bar => values[bar]}]),
    ...(study.volume ? [['volume', {at: bar => study.volume[bar]}]] : []),
    ...curves.map(curve => [curve.name ? `${curve.typed}.${curve.name}` : curve.typed, {at: bar => curve.values[bar]}]),
  ];
  const lines = [columns.map(([name]) => csvCell(name)).join()];
  for (let bar = first; bar <= last; ++bar) lines.push(columns.map(([, values]) => csvCell(values.at(bar))).join());
  return lines.join('\n') + '\n';
}

function saveCsv() {
  const url = URL.createObjectURL(new Blob([visibleCsv()], {type: 'text/csv'}));
  save(study.title + '.visible.csv', url);
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}
