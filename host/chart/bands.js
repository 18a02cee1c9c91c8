// Bands: votes of -1, 0 and 1 as rows of coloured cells. A pane of bands has a row for its heading and one for each vote.
// The upper part of a row is for the legend, so that it covers no cell.

// Of a row's height; the rest is for the legend.
const cellShare = () => isNarrow.matches ? 0.25 : 0.48;

class BandView {
  renderer() {
    return {draw: (target, toHeight) => target.useBitmapCoordinateSpace(scope => this.draw(scope, toHeight))};
  }

  // Equal votes of neighbours are one rectangle.
  draw({context, horizontalPixelRatio, verticalPixelRatio}, toHeight) {
    const {bars, visibleRange, barSpacing} = this.data;
    if (!visibleRange) return;
    const {row, upColor, downColor, zeroColor} = this.options;
    const top = toHeight(-row - 1 + cellShare()) * verticalPixelRatio, bottom = toHeight(-row - 0.98) * verticalPixelRatio;
    for (let first = visibleRange.from; first < visibleRange.to;) {
      const vote = bars[first].originalData.vote;
      let end = first + 1;
      while (end < visibleRange.to && bars[end].originalData.vote === vote) ++end;
      const left = Math.round((bars[first].x - barSpacing / 2) * horizontalPixelRatio);
      const right = Math.max(left + 1, Math.round((bars[end - 1].x + barSpacing / 2) * horizontalPixelRatio));
      first = end;
      if (vote === undefined) continue;
      context.fillStyle = vote > 0 ? upColor : vote < 0 ? downColor : zeroColor;
      context.fillRect(left, Math.round(top), right - left, Math.round(bottom) - Math.round(top));
    }
  }

  update(data, options) {
    this.data = data;
    this.options = options;
  }

  priceValueBuilder(point) { return [-point.row - 1, -point.row]; }
  isWhitespace(point) { return point.vote === undefined; }
  defaultOptions() { return {...charts.customSeriesDefaultOptions, row: 0, upColor: '', downColor: '', zeroColor: ''}; }
}

const isBandPane = pane => study.studies.some(curve => curve.pane === pane && curve.drawing === 'band');

// `row`: 1 for the first vote of a pane that has `count`.
function addBand(curve, row, count) {
  const series = chart.addCustomSeries(new BandView(), {
    priceFormat: noScale, priceLineVisible: false, lastValueVisible: false, row,
    autoscaleInfoProvider: () => ({priceRange: {minValue: -count - 1, maxValue: 0}}),
  }, curve.pane);
  const points = () => Array.from(commonVotes(curve.values), (vote, place) =>
    isDrawn(vote) ? {time: timeOfPlace(place), row, vote} : {time: timeOfPlace(place)});
  return draw(series, curve.pane, points, false, () => ({upColor: color('up'), downColor: color('down'), zeroColor: color('grid')}));
}
