// The page of `study chart` as a browser shows it. Argument: the program. NODE_PATH leads to playwright-core.
const assert = require('node:assert');
const {spawnSync} = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const {after, before, test} = require('node:test');
const {chromium} = require('playwright-core');

const {STUDY_PROGRAM: program, BAR_FILE: data} = process.env;
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'chart-test-'));
const file = name => path.join(folder, name);
let browser;

before(async () => {
  browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
});
after(async () => {
  await browser?.close();
  fs.rmSync(folder, {recursive: true});
});

function study(args, environment = process.env) {
  const {status, stderr} = spawnSync(program, args, {encoding: 'utf8', env: environment});
  return {status, stderr};
}

function run(args) {
  assert.deepStrictEqual(study(args), {status: 0, stderr: ''});
}

// The page of some expressions, once it stands.
async function open(bars, expressions, options = {}) {
  const html = file('chart.html');
  assert.strictEqual(study(['chart', bars, ...expressions, '-o', html]).status, 0);  // it may tell of the bars
  const page = await browser.newPage({viewport: {width: 1200, height: 800}, ...options});
  page.faults = [];
  page.on('console', message => page.faults.push(message.text()));
  page.on('pageerror', error => page.faults.push(error.message));
  page.on('dialog', dialog => { page.faults.push('dialog'); dialog.dismiss(); });
  page.on('request', request => { if (request.url() !== 'file://' + html) page.faults.push(request.url()); });
  await page.goto('file://' + html);
  await page.waitForFunction(() => document.querySelector('.legend')?.style.top);
  return page;
}

const panes = page => page.evaluate(() => studyChart.panes().map(pane => pane.getSeries().length));
const texts = (page, selector) => page.locator(selector).allTextContents();
const view = page => page.evaluate(() => studyChart.timeScale().getVisibleLogicalRange());

// ---- Pixels

// The view, its picture without a crosshair, and how the picture differs from the values that the page holds. `stray`:
// pixels in a curve's colour that are further from the line of its values than a bar to the side and a dot's radius up
// or down. `bare`: values without a neighbour that have no dot.
const look = page => page.evaluate(() => {
  const gapless = values => Array.from(values, value => Number.isNaN(value) ? null : value);
  const study = {...studyData, studies: studyData.studies.map(curve => ({...curve, values: gapless(curve.values)}))};
  const scale = studyChart.timeScale();
  const canvas = studyChart.takeScreenshot();
  const pixels = new Uint32Array(canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data.buffer);
  const origin = scale.logicalToCoordinate(0), spacing = scale.logicalToCoordinate(1) - origin;
  const dotRadius = 3, reach = spacing + dotRadius;
  let painted = 0;
  const stray = [], bare = [];

  // `heights`: the places of a curve's values, by bar.
  function isNear(heights, x, y) {
    for (let bar = Math.floor((x - reach - origin) / spacing); bar <= (x + reach - origin) / spacing; ++bar) {
      const left = heights[bar] ?? null, right = heights[bar + 1] ?? left;
      if (left === null) continue;
      const heightAt = side => left + (right - left) * Math.min(1, Math.max(0, (side - origin) / spacing - bar));
      const ends = [heightAt(x - reach), heightAt(x + reach)];
      if (y >= Math.min(...ends) - dotRadius && y <= Math.max(...ends) + dotRadius) return true;
    }
    return false;
  }

  function checkCurve(curve, color, pane) {
    const place = pane.getHTMLElement().getBoundingClientRect();
    const top = place.top - document.getElementById('canvas').getBoundingClientRect().top;
    const [first, end] = [top, top + place.height].map(y => Math.floor(y) * canvas.width);
    const toHeight = value => top + pane.getSeries()[0].priceToCoordinate(value);
    const heights = curve.values.map(value => value === null ? null : toHeight(value));
    for (let at = pixels.indexOf(color, first); at >= 0 && at < end; at = pixels.indexOf(color, at + 1)) {
      const x = at % canvas.width + 0.5, y = Math.floor(at / canvas.width) + 0.5;
      if (x > scale.width()) continue;
      ++painted;
      if (!isNear(heights, x, y)) stray.push({formula: curve.formula, name: curve.name, x, y});
    }
    for (const [bar, y] of heights.entries()) {
      const x = origin + bar * spacing;
      const isAlone = y !== null && (heights[bar - 1] ?? heights[bar + 1] ?? null) === null;
      if (!isAlone || x < 0 || x > scale.width() - 1) continue;
      if (pixels[Math.floor(y) * canvas.width + Math.floor(x)] !== color) bare.push({formula: curve.formula, bar});
    }
  }

  // A cell of a vote has one colour, and none is painted where there is no vote.
  function checkBand(curve, row, pane, isVisible) {
    const style = getComputedStyle(document.documentElement);
    const colorOf = name => {
      const digits = style.getPropertyValue('--' + name).trim().match(/[0-9a-f]{2}/g).map(two => parseInt(two, 16));
      return new Uint32Array(new Uint8Array([...digits, 255]).buffer)[0];
    };
    const [up, down, zero] = ['up', 'down', 'grid'].map(colorOf);
    const top = pane.getHTMLElement().getBoundingClientRect().top - document.getElementById('canvas').getBoundingClientRect().top;
    const y = Math.floor(top + pane.getSeries()[0].priceToCoordinate(-row - 0.85));
    for (const [bar, value] of curve.values.entries()) {
      const x = origin + bar * spacing;
      if (spacing < 3 || x < 0 || x > scale.width() - 1) continue;
      const pixel = pixels[y * canvas.width + Math.floor(x)];
      const isRight = value === null || !isVisible ? pixel !== up && pixel !== down
        : pixel === (value > 0 ? up : value < 0 ? down : zero);
      if (!isRight) stray.push({band: curve.name, bar, value, isVisible});
      ++painted;
    }
  }

  for (const [index, pane] of studyChart.panes().entries()) {
    const chips = document.querySelectorAll('.legend')[index].querySelectorAll('.chip');
    for (const [row, curve] of study.studies.filter(curve => curve.pane === index).entries()) {
      if (curve.drawing === 'band') {
        checkBand(curve, row + 1, pane, chips[row].ariaPressed === 'true');
        continue;
      }
      const swatch = getComputedStyle(chips[row].querySelector('.swatch')).backgroundColor;
      const [color] = new Uint32Array(new Uint8Array([...swatch.match(/\d+/g), 255]).buffer);
      checkCurve(chips[row].ariaPressed === 'true' ? curve : {...curve, values: []}, color, pane);
    }
  }
  return {
    range: scale.getVisibleLogicalRange(),
    theme: document.documentElement.dataset.theme,
    hidden: [...document.querySelectorAll('.chip')].map(chip => chip.ariaPressed === 'false'),
    image: canvas.toDataURL(),
    painted, stray: stray.slice(0, 3), bare,
  };
});

// The first pane holds volume too.
const layouts = [
  {name: 'averages lie over the prices', expressions: ['Sim(Close, 5)', 'Sim(Sim(Close, 5), 20)'], panes: [4]},
  {name: 'bands lie over the prices', expressions: ['Sim(Close, 20) + 2 * SDev(Close, 20)'], panes: [3]},
  {name: 'what is measured as prices but far from them has a pane', expressions: ['SDev(Close, 20)'], panes: [2, 1]},
  {name: 'quotients and volumes have panes', expressions: ['Bar / Sim(Close, 20)', 'RSI(Volume, 14)'], panes: [2, 1, 1]},
  {name: 'averages of volumes share a pane with them', expressions: ['SDev(Close, 5)', 'Sim(Volume, 5)', 'Volume'], panes: [1, 3, 1]},
  {name: 'outputs of an expression share a pane', expressions: ['KasePermStoch(Bar, 2, 3)'], panes: [2, 2]},
  {name: 'labels are no curves', expressions: ['KaseCCSS(Bar).label1'], panes: [2]},
  {name: 'places of labels are no curves', expressions: ['KaseCCSS(Bar)'], panes: [2, 8]},
  {name: 'prices alone', expressions: [], panes: [2]},
  {name: 'a bar is candles', expressions: ['Bar + 100'], panes: [3]},
];

for (const layout of layouts) {
  test(layout.name, async () => {
    const page = await open(data, layout.expressions);
    assert.deepStrictEqual(await panes(page), layout.panes);
    assert.deepStrictEqual(page.faults, []);
    await page.close();
  });
}

// Pixels of a curve in its colour, and in the paler one of a longer bar that forms, on both sides of that bar's beginning.
const shades = page => page.evaluate(() => {
  const canvas = studyChart.takeScreenshot(), {width} = canvas;
  const pixels = canvas.getContext('2d').getImageData(0, 0, width, canvas.height).data;
  const chip = document.querySelector('.legend .chip:has(.swatch)');
  const full = getComputedStyle(chip.querySelector('.swatch')).backgroundColor.match(/\d+/g).map(Number);
  const paper = studyChart.options().layout.background.color.match(/[0-9a-f]{2}/g).map(two => parseInt(two, 16));
  const pale = full.map((part, i) => part * 0x60 / 255 + paper[i] * (1 - 0x60 / 255));
  const begin = studyChart.timeScale().logicalToCoordinate(studyData.studies[0].forming);
  const counts = {fullBefore: 0, paleBefore: 0, fullWithin: 0, paleWithin: 0};
  const isColor = (at, color) => color.every((part, i) => Math.abs(pixels[at + i] - part) <= 2);
  for (let at = 0; at < pixels.length; at += 4) {
    const x = at / 4 % width;
    if (x > studyChart.timeScale().width() - 1) continue;
    const shade = isColor(at, full) ? 'full' : isColor(at, pale) ? 'pale' : null;
    if (shade) ++counts[shade + (x < begin - 1 ? 'Before' : 'Within')];
  }
  return counts;
});

test('the part of a longer bar that still forms is paler', async () => {
  const page = await open(data, ['at(1W, Sim(Close, 10))', 'at(1W, Sim(Close, 10), closed)'], {colorScheme: 'light'});
  const curves = await page.evaluate(() => studyData.studies.map(curve => [curve.drawing, curve.forming]));
  assert.deepStrictEqual(curves, [['step', 5100], ['step', undefined]]);
  for (const theme of ['light', 'dark']) {
    const {fullBefore, paleBefore, fullWithin, paleWithin} = await shades(page);
    assert.ok(fullBefore > 500 && paleBefore < fullBefore / 10 && paleWithin > 30 && fullWithin < 10,  // but for blurred edges
      `${theme}: ${fullBefore}, ${paleBefore}, ${fullWithin}, ${paleWithin}`);
    await page.click('#theme');
    await page.waitForTimeout(100);
  }
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('the crosshair shows what a run gives', async () => {
  const expressions = ['Sim(Close, 5)', 'SDev(Close, 20)', 'KasePeakOsc(Bar, 8, 65, 2).label1'];
  run(['run', data, ...expressions, 'Open', 'Close', '-o', file('run.csv'), '--last', '300']);
  const table = new Map(fs.readFileSync(file('run.csv'), 'utf8').split('\n').slice(1).map(line => {
    const [date, ...cells] = line.split(',');
    return [date, cells];
  }));
  const page = await open(data, expressions);
  const held = await page.evaluate(() => studyData.studies.map(curve => Array.from(curve.values.slice(-300))));
  assert.deepStrictEqual(held, [0, 1].map(column => [...table.values()].slice(0, 300).map(cells => Number(cells[column]))), 'to the last bit');
  const onAxis = cell => Number(cell).toFixed(2);
  const seen = new Set();
  let labels = 0;
  for (let x = 5; x < 1100; x += 9) {
    await page.mouse.move(x, 400);
    const [date] = await texts(page, '.date');
    const [mean, deviation, label, open, close] = table.get(date);
    assert.deepStrictEqual(await texts(page, '.chip b'), [onAxis(mean), label, onAxis(deviation)], date);
    const prices = await texts(page, '.price b');
    assert.deepStrictEqual([prices[0], prices[3]], [onAxis(open), onAxis(close)], date);
    seen.add(date);
    labels += label !== '';
  }
  assert.ok(seen.size > 100 && labels > 0);
  assert.deepStrictEqual(await texts(page, '.formula'),
    ['Sim(Close, 5)', 'KasePeakOsc(Bar, 8, 65, 2).label1', 'SDev(Close, 20)']);
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('a click on a bar explains its values, on a phone beside what it covers', async () => {
  for (const viewport of [{width: 1200, height: 800}, {width: 390, height: 844}]) {
    const page = await open(data, ['Sim(Close, 3)'], {viewport});
    const panel = page.locator('.explanation');
    const clickOn = async bar => {
      const box = await page.locator('#chart').boundingBox();
      const x = await page.evaluate(at => studyChart.timeScale().logicalToCoordinate(at), bar);
      await page.mouse.click(box.x + x, box.y + 150);
    };
    assert.ok(!await panel.isVisible());
    await page.evaluate(() => studyChart.timeScale().setVisibleLogicalRange({from: 5020, to: 5080}));
    await page.waitForTimeout(50);
    await clickOn(5050);
    assert.match(await panel.innerText(), /^×?\s*Sim\(Close, 3\) on 2020-01-30: [\d.]+ .*total +\/ 3\n +=/s);
    const box = await panel.boundingBox();
    assert.ok(box.x >= 0 && box.x + box.width <= viewport.width && box.height < 0.75 * viewport.height, JSON.stringify(box));
    await page.keyboard.press('Escape');
    assert.ok(!await panel.isVisible());
    await page.evaluate(() => studyChart.timeScale().setVisibleLogicalRange({from: 100, to: 200}));
    await page.waitForTimeout(700);  // else it were a double click
    await clickOn(150);
    await page.waitForFunction(() => document.querySelector('.explanation pre').textContent.startsWith('2000-08-07'));
    assert.match(await panel.innerText(), /2000-08-07 is explained by\s+study explain sp500_daily\.csv "Sim\(Close, 3\)" --at "2000-08-07"/);
    assert.deepStrictEqual(page.faults, []);
    await page.close();
  }
});

test('texts are inert', async () => {
  const hostile = `</script><script>window.hit = 1</script><img src=x onerror="hit = 2">'&amp;<!--`;
  const quoted = `"${hostile.replaceAll('"', '""')}"`;
  const plain = hostile.replaceAll('"', '');
  const name = `<img src=x onerror=alert(1)>&.csv`.replaceAll('/', '');
  fs.writeFileSync(file(name), `date,close,"${plain}"\n${quoted},1,2\n<b>2,2,3\nMonday,3,4\n`);
  fs.appendFileSync(file(name), Buffer.from('\xff\xfe,4,5\n', 'latin1'));
  const page = await open(file(name), [`"${plain}"`, `Sim("${plain}", 2)`]);
  assert.deepStrictEqual(await texts(page, '.formula'), [`"${plain}"`, `Sim("${plain}", 2)`]);
  assert.deepStrictEqual(await texts(page, '.chip b'), ['5', '4.5000']);
  assert.strictEqual(await page.title(), name);
  assert.match((await texts(page, '#span'))[0], /^<\/script>.* – \ufffd+, 4 bars$/);
  assert.strictEqual(await page.evaluate(() => window.hit), undefined);
  assert.strictEqual(await page.locator('img, b img, main script').count(), 0);
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('labels stay on bars without a price', async () => {
  fs.writeFileSync(file('gaps.csv'), 'time,open,high,low,close\na,,,,\nb,1,3,1,2\nc,2,3,,2\nd,,,,\ne,2,4,1,3\n');
  const page = await open(file('gaps.csv'), ['CountOp(Bar, , 0 = 1, 0 = 1)']);
  const points = await page.evaluate(() => studyChart.panes()[0].getSeries().map(series => series.data()
    .filter(point => (point.value ?? point.close) !== undefined).map(point => [point.time, point.value ?? point.close])));
  const day = 86400;
  assert.deepStrictEqual(points, [[[day, 2], [4 * day, 3]], [[2 * day, 2], [3 * day, 2]]]);
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

const clocks = [
  {name: 'times of day', dates: ['2024-03-01T09:30:00Z', '2024-03-01T09:31:00Z'], first: 1709285400},
  {name: 'times with a zone', dates: ['2024-03-01 09:30:00+02:00', '2024-03-01 09:31+02:00'], first: 1709278200},
  {name: 'days', dates: ['20240229', '20240301'], first: 1709164800},
  {name: 'days in other forms', dates: ['2/29/2024', '3/1/2024'], first: 1709164800, shown: '2024-03-01'},
  {name: 'days with the newest first', dates: ['2024-03-01', '2024-02-29'], first: 1709164800, shown: '2024-03-01'},
  {name: 'other texts count bars', dates: ['Tuesday', 'Monday'], first: 0},
  {name: 'no bars', dates: [], first: null},
];

for (const clock of clocks) {
  test(clock.name, async () => {
    fs.writeFileSync(file('bars.csv'), ['time,close', ...clock.dates.map(date => `${date},5`), ''].join('\n'));
    const page = await open(file('bars.csv'), ['Sim(Close, 2)']);
    const times = await page.evaluate(() => studyChart.panes()[0].getSeries()[0].data().map(point => point.time));
    assert.deepStrictEqual([times.length, times[0] ?? null], [clock.dates.length, clock.first]);
    if (clock.first !== null) assert.deepStrictEqual(await texts(page, '.date'), [clock.shown ?? clock.dates.at(-1)]);
    assert.deepStrictEqual(page.faults, []);
    await page.close();
  });
}

test('the view moves, colours change and curves hide', async () => {
  const page = await open(data, ['Sim(Close, 20)'], {colorScheme: 'dark'});
  const theme = () => page.evaluate(() => document.documentElement.dataset.theme);
  assert.strictEqual(await theme(), 'dark');
  await page.emulateMedia({colorScheme: 'light'});
  await page.waitForFunction(() => document.documentElement.dataset.theme === 'light');
  await page.click('#theme');
  assert.strictEqual(await theme(), 'dark');

  const atFirst = await view(page);
  assert.ok(Math.abs(atFirst.to - atFirst.from - 254) < 2);
  await page.mouse.move(600, 400);
  await page.mouse.wheel(0, -300);
  await page.waitForFunction(width => {
    const {from, to} = studyChart.timeScale().getVisibleLogicalRange();
    return to - from < width;
  }, atFirst.to - atFirst.from - 5);
  const zoomed = await view(page);
  await page.mouse.down();
  await page.mouse.move(800, 400, {steps: 5});
  await page.mouse.up();
  await page.waitForFunction(from => studyChart.timeScale().getVisibleLogicalRange().from < from, zoomed.from - 5);
  await page.click('text=All');
  await page.waitForFunction(() => studyChart.timeScale().getVisibleLogicalRange().from < 0);

  await page.click('.chip');
  assert.strictEqual(await page.evaluate(() => studyChart.panes()[0].getSeries()[1].options().visible), false);
  assert.match(await page.locator('#license').textContent(), /TradingView[^]*Apache License\s+Version 2\.0/);
  await page.goto(page.url().split('#')[0] + '#picture');  // the view may be in the address by now
  assert.strictEqual(await page.locator('header button:visible, #hint:visible').count(), 0);
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

const devices = [
  {name: 'a desktop', viewport: {width: 1280, height: 720}},
  {name: 'a phone', viewport: {width: 390, height: 844}, isMobile: true, hasTouch: true},
];

for (const {name, ...device} of devices) {
  test(`any way to a view gives the same picture of the values on ${name}`, async () => {
    let state = 1;
    const random = below => (state = state * 48271 % 0x7fffffff) % below;
    const lines = Array.from({length: 400}, (_, bar) => {
      const close = 100 + random(20) + bar / 10;
      const gaps = random(4) ? random(9) : '', lone = random(9) ? '' : random(9);
      return [bar, close, close + 3, close - 3, close + 1, gaps, lone].join();
    });
    fs.writeFileSync(file('holes.csv'), ['time,open,high,low,close,gaps,lone', ...lines, ''].join('\n'));
    const page = await open(file('holes.csv'), ['Sim(Close, 20)', 'KaseCCSS(Bar)', 'Gaps', 'Gaps * 1', 'Lone', '--draw', 'Gaps=step'], device);
    const fresh = await browser.newPage(device);

    const clickOneOf = async selector => {
      const found = page.locator(selector);
      await found.nth(random(await found.count())).click();
    };
    const pointIntoFirstPane = async options => {
      const {y} = await page.locator('#canvas').boundingBox();
      await page.mouse.move(20 + random(200), y + 150 + random(100), options);
    };
    const {width, height} = device.viewport;
    const moves = {
      range: () => clickOneOf('#ranges button[title$=" bars"]'),
      theme: () => clickOneOf('#theme'),
      legend: async () => {
        for (let count = 0; count < 3; ++count) await clickOneOf('.bands .chip');
      },
      resize: () => page.setViewportSize({width: width - random(90), height: height - random(90)}),
      key: async () => {
        await page.focus('#chart');
        const keys = ['ArrowLeft', 'ArrowRight', '+', '-'];
        for (let count = 0; count < 3; ++count) await page.keyboard.press(keys[random(4)]);
      },
      wheel: async () => {
        await pointIntoFirstPane();
        await page.mouse.wheel(random(200) - 100, random(800) - 400);
      },
      drag: async () => {
        await pointIntoFirstPane();
        await page.mouse.down();
        await pointIntoFirstPane({steps: 4});
        await page.mouse.up();
      },
    };
    const settle = async at => {
      await at.mouse.move(1, 1);
      await at.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
    };

    let painted = 0;
    const left = Object.entries(moves).flatMap(move => [move, move]);
    while (left.length > 0) {
      const [[way, move]] = left.splice(random(left.length), 1);
      await move();
      await settle(page);
      const seen = await look(page);
      const told = `after ${way}, at bars ${seen.range.from} to ${seen.range.to}`;
      assert.deepStrictEqual([seen.stray, seen.bare], [[], []], told);
      painted += seen.painted;

      await fresh.setViewportSize(page.viewportSize());
      await fresh.emulateMedia({colorScheme: seen.theme});
      await fresh.goto(page.url().split('#')[0]);
      await fresh.waitForFunction(() => document.querySelector('.legend')?.style.top);
      await fresh.evaluate(({range, hidden}) => {
        studyChart.timeScale().setVisibleLogicalRange(range);
        document.querySelectorAll('.chip').forEach((chip, i) => { if (hidden[i]) chip.click(); });
      }, seen);
      await settle(fresh);
      assert.ok((await look(fresh)).image === seen.image, told);
    }
    assert.ok(painted > 10000, 'the curves are in view');
    await page.evaluate(() => document.querySelectorAll('.chip[aria-pressed=true]').forEach(chip => chip.click()));
    assert.deepStrictEqual((await look(page)).stray, [], 'all curves are hidden');
    assert.deepStrictEqual(page.faults, []);
    await page.close();
    await fresh.close();
  });
}

const paneHeights = page => page.evaluate(() => studyChart.panes().map(pane => pane.getHeight()));
const typedByPane = page => page.evaluate(() => [...document.querySelectorAll('.legend')]
  .sort((a, b) => parseFloat(a.style.top) - parseFloat(b.style.top)).map(legend => legend.querySelector('.formula')?.textContent));
async function paneMenu(page, name, item) {
  await page.click(`.tools summary[title="Pane of ${name}"]`);
  await page.click(`.tools [open] >> text=${item}`);
  await page.waitForTimeout(100);
}

test('panes are made large, hidden and moved, and the address keeps the view', async () => {
  const page = await open(data, ['Sim(Close, 20)', 'RSI(Close, 14)', 'SDev(Close, 20)']);
  await paneMenu(page, 'RSI(Close, 14)', 'Make large');
  const [prices, large, deviation] = await paneHeights(page);
  assert.ok(prices < 40 && deviation < 40 && large > 500, [prices, large, deviation].join());
  await page.click('.tools >> text=Show >> nth=0');
  await paneMenu(page, 'SDev(Close, 20)', 'Move up');
  await paneMenu(page, 'RSI(Close, 14)', 'Hide');
  await page.click('text=Log');
  await page.click('.chip >> nth=0');
  await page.fill('.goto input', '2008-10-10');
  const told = () => page.evaluate(() => [...document.querySelectorAll('.chip, #ranges button')].map(at => at.ariaPressed).join());
  const state = async () => [await typedByPane(page), (await paneHeights(page)).map(Math.round), await told(), Math.round((await view(page)).from)];
  await page.waitForTimeout(500);
  const before = await state();
  assert.deepStrictEqual(before[0], ['Sim(Close, 20)', 'SDev(Close, 20)', 'RSI(Close, 14)']);
  assert.ok(before[1][2] < 40, 'hidden');
  assert.match(await page.locator('.spoken').textContent(), /^2008-10-10, close 899\.22, Sim\(Close, 20\) /);
  await page.reload();
  await page.waitForTimeout(500);
  assert.deepStrictEqual(await state(), before);
  await page.click('text=Reset');
  await page.waitForTimeout(100);
  assert.deepStrictEqual(await typedByPane(page), ['Sim(Close, 20)', 'RSI(Close, 14)', 'SDev(Close, 20)']);
  await page.goto(page.url().split('#')[0] + '#last=x&panes=7,7,7&closed=0,1,2,9&large=99&off=50&from=nonsense&theme=blue');
  await page.waitForTimeout(100);
  assert.ok((await paneHeights(page)).some(height => height > 100), 'one pane stays open');
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('two clicks measure, and keys move the cross', async () => {
  const page = await open(data, []);
  const box = await page.locator('#chart').boundingBox();
  const placeOf = bar => page.evaluate(at => studyChart.timeScale().logicalToCoordinate(at), bar);
  await page.click('text=Measure');
  const [from, to] = [await placeOf(4900), await placeOf(4910)], height = 200;
  await page.mouse.click(box.x + from, box.y + height);
  await page.mouse.move(box.x + to - 20, box.y + height + 30);
  await page.waitForTimeout(600);  // else it were a double click
  await page.mouse.click(box.x + to, box.y + height + 60);
  const prices = await page.evaluate(ys => ys.map(y => studyChart.panes()[0].getSeries()[0].coordinateToPrice(y)), [height, height + 60]);
  const [told, percent, bars, days] = /^−([\d.]+) \(−([\d.]+) %\), (\d+) bars, (\d+) days$/.exec(await page.locator('.spoken').textContent()).slice(1).map(Number);
  assert.ok(Math.abs(prices[0] - prices[1] - told) < 10 && Math.abs(100 * told / prices[0] - percent) < 0.5, [...prices, told].join());
  const dates = fs.readFileSync(data, 'utf8').trim().split('\n').map(line => line.split(',')[0]);
  assert.deepStrictEqual([bars, days], [10, (new Date(dates[4911]) - new Date(dates[4901])) / 86400000]);
  const inside = await page.evaluate(([x, y]) => {
    const canvas = studyChart.takeScreenshot(true);
    const {data} = canvas.getContext('2d').getImageData(x, y, 1, 50);
    return Array.from({length: 50}, (_, at) => data[4 * at] > data[4 * at + 1] + 10).filter(Boolean).length;
  }, [(from + to) / 2 + 1, height + 5]);
  assert.ok(inside > 25, `a veil of the falling colour beside the candle: ${inside} of 50 pixels`);
  await page.keyboard.press('Escape');
  await page.focus('#chart');
  await page.mouse.move(1, 1);
  await page.keyboard.press('End');
  await page.keyboard.press('Shift+ArrowLeft');
  await page.keyboard.press('Shift+ArrowLeft');
  assert.ok(dates.slice(-4).includes((await page.locator('.spoken').textContent()).split(',')[0]));
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('a phone has targets for fingers, and a tap shows values', async () => {
  const page = await open(data, ['Sim(Close, 20)', 'KaseCCSS(Bar)', 'RSI(Close, 14)'], devices[1]);
  const small = await page.evaluate(() => [...document.querySelectorAll('button, summary, a, input')]
    .map(target => [target.textContent, target.getBoundingClientRect()])
    .filter(([, {width, height}]) => width > 0 && (width < 44 || height < 44)).map(([text]) => text));
  assert.deepStrictEqual(small, []);
  const covered = await page.evaluate(() => [...document.querySelectorAll('.bands .chip')].map((chip, row) => {
    const series = studyChart.panes()[1].getSeries()[row], top = studyChart.panes()[1].getHTMLElement().getBoundingClientRect().top;
    return chip.getBoundingClientRect().bottom <= top + series.priceToCoordinate(-row - 1 - 0.75) + 1;
  }));
  assert.deepStrictEqual(covered, Array(8).fill(true), 'names of votes cover no cell');
  const box = await page.locator('#chart').boundingBox();
  const place = await page.evaluate(() => studyChart.timeScale().logicalToCoordinate(4950));
  const tap = () => page.touchscreen.tap(box.x + place, box.y + 250);
  await tap();
  await page.waitForFunction(() => document.querySelector('.date').textContent === '2019-09-06');
  assert.ok(!await page.locator('.explanation').isVisible());
  await page.waitForTimeout(700);
  await tap();
  await page.waitForFunction(() => !document.querySelector('.explanation').hidden);
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('a long file is drawn in portions, with every peak and no false value', async () => {
  const count = 60000, spike = 31234;
  const closes = Array.from({length: count}, (_, bar) => bar === spike ? 999 : Math.round(1000 * (100 + Math.sin(bar / 50))) / 1000);
  const time = bar => new Date(Date.UTC(2024, 0, 1) + 60000 * bar).toISOString().slice(0, 16);
  fs.writeFileSync(file('long.csv'), ['time,close', ...closes.map((close, bar) => `${time(bar)},${close}`), ''].join('\n'));
  const page = await open(file('long.csv'), ['Close * 1', 'Sim(Close, 7)']);
  assert.deepStrictEqual(await page.evaluate(() => Array.from(studyData.studies[0].values)), closes);
  const points = () => page.evaluate(() => studyChart.panes()[0].getSeries()[1].data().map(({time, value}) => [time / 60 - Date.UTC(2024, 0, 1) / 60000, value]));
  const checkAll = async () => {
    const shown = await points();
    for (const [bar, value] of shown) assert.strictEqual(value, closes[bar]);
    return shown;
  };
  assert.ok((await checkAll()).length < 10000);
  await page.focus('#chart');
  for (let press = 0; press < 6; ++press) await page.keyboard.press('-');
  for (let drag = 0; drag < 8; ++drag) {
    await page.mouse.move(200, 300);
    await page.mouse.down();
    await page.mouse.move(1000, 300, {steps: 4});
    await page.mouse.up();
    await page.waitForTimeout(50);
  }
  await page.evaluate(() => new Promise(requestAnimationFrame));
  const [first] = await checkAll(), {from, to} = await view(page);
  assert.ok(first[0] > 0 && first[0] < count - 2500, 'another portion');
  assert.ok(from >= 0 && to - from < 2000, 'at the same zoom');
  await page.mouse.move(600, 300);
  await page.waitForTimeout(50);
  const [date] = await texts(page, '.date');
  const bar = closes.findIndex((_, at) => time(at).replace('T', ' ') === date.replace('T', ' '));
  assert.strictEqual((await texts(page, '.chip b'))[0], closes[bar].toFixed(2));
  await page.click('text=All');
  await page.waitForTimeout(200);
  const grouped = await points();
  assert.ok(grouped.length < 3000 && grouped.some(([, value]) => value === 999), 'the peak is there');
  assert.match((await texts(page, '#grouped'))[0], /^\d+ bars drawn as one/);
  assert.strictEqual(grouped.at(-1)[1], closes.at(-1), 'the axis shows the last value');
  assert.deepStrictEqual(page.faults, []);
  await page.close();
});

test('a picture takes a browser', () => {
  run(['chart', data, 'Sim(Close, 5)', '--png', file('chart.png'), '--theme', 'dark']);
  const picture = fs.readFileSync(file('chart.png'));
  assert.deepStrictEqual([picture.readUInt32BE(16), picture.readUInt32BE(20)], [1280, 490]);
  assert.ok(picture.length > 20000, 'more than an empty page');

  const none = study(['chart', data, '--png', file('none.png')], {...process.env, PATH: '/nowhere'});
  assert.match(none.stderr, /^study: .*none\.png: no picture, for that takes Chromium, and none is installed\n$/);
  assert.strictEqual(none.status, 1);
});
