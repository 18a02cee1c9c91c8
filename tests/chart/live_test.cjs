// `study chart --live`: its server, and its page in a browser. NODE_PATH leads to playwright-core.
const assert = require('node:assert');
const {spawn, spawnSync} = require('node:child_process');
const fs = require('node:fs');
const http = require('node:http');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const {after, before, test} = require('node:test');
const {chromium} = require('playwright-core');

const {STUDY_PROGRAM: program, BAR_FILE: data} = process.env;
const [header, ...rows] = fs.readFileSync(data, 'utf8').trim().split('\n');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'live-test-'));
const expressions = ['Sim(Close, 5)', 'KaseCCSS(Bar)', 'VolStop(Bar, 2, 3, 0)', 'SDev(Close, 20)'];
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

const pause = ms => new Promise(done => setTimeout(done, ms));
async function until(holds, what) {
  for (let wait = 0; wait < 20000; wait += 20, await pause(20)) if (await holds()) return;
  assert.fail(`not in time: ${what}`);
}

// A chart of the first bars, which come through a pipe.
async function serve(context, bars, options = [], shown = expressions) {
  const child = spawn(program, ['chart', '-', ...shown, '--live', '--no-browser', ...options]);
  context.after(() => child.kill('SIGKILL'));
  const chart = {child, errors: '', ended: new Promise(done => child.on('exit', done))};
  child.stderr.on('data', text => { chart.errors += text; });
  chart.address = (await new Promise(done => child.stdout.once('data', done))).toString().trim();
  chart.send = lines => child.stdin.write(lines.join('\n') + '\n');
  if (bars > 0) chart.send([header, ...rows.slice(0, bars)]);
  if (bars > 0) await until(async () => (await ask(chart.address)).text.includes('id="data"'), 'the first bars');
  return chart;
}

function ask(address, {method = 'GET', headers = {}} = {}) {
  return new Promise((done, fail) => {
    const request = http.request(address, {method, headers, agent: false}, response => {
      let text = '';
      response.on('data', piece => { text += piece; });
      response.on('end', () => done({status: response.statusCode, headers: response.headers, text}));
    });
    request.on('error', fail).end();
  });
}

// Reads the stream of changes: the events so far, and the newest row of each bar.
function follow(chart, from, headers = {}) {
  const stream = {events: [], rows: new Map(), bars: 0, alerts: []};
  const take = event => {
    stream.events.push(event);
    stream.state = event.data.state ?? stream.state;
    if (event.event !== 'change') return;
    stream.bars = event.data.bars;
    for (const row of event.data.rows) stream.rows.set(row[0], row);
    stream.alerts.push(...event.data.alerts ?? []);
  };
  let rest = '';
  stream.request = http.get(`${chart.address}stream?from=${from}`, {headers, agent: false}, response => {
    stream.status = response.statusCode;
    response.on('error', () => {});
    response.on('data', piece => {
      const parts = (rest + piece).split('\n\n');
      rest = parts.pop();
      for (const part of parts) {
        const event = Object.fromEntries(part.split('\n').filter(line => /^\w/.test(line)).map(line => line.split(/: (.*)/s)));
        if (event.data) take({...event, data: JSON.parse(event.data)});
      }
    });
  }).on('error', () => {});
  return stream;
}

const closeOf = row => row?.[2][3];
const tick = (bar, close) => {
  const [date, open, , , , volume] = rows[bar].split(',');
  return [date, open, Math.max(open, close), Math.min(open, close), close, volume].join();
};
const reloaded = async chart => {  // where a viewer that knows nothing is to go on from
  const stream = follow(chart, 'none-0');
  await until(() => stream.events.length > 0, 'an event');
  assert.strictEqual(stream.events[0].event, 'reload');
  stream.request.destroy();
  return stream.events[0].id;
};

// ---- The server

test('only GET of the page and its stream is answered, and to no other origin', async context => {
  const chart = await serve(context, 30);
  const {host, port} = new URL(chart.address);
  for (const [status, target, how] of [
    [200, '', {}],
    [200, '', {headers: {Host: `localhost:${port}`}}],
    [200, '', {headers: {Origin: `http://${host}`}}],
    [200, '', {headers: {'Sec-Fetch-Site': 'cross-site'}}],  // a link to the page
    [405, '', {method: 'HEAD'}], [405, '', {method: 'POST'}], [405, 'stream', {method: 'OPTIONS'}], [405, '', {method: 'DELETE'}],
    [400, '', {headers: {'Content-Length': '3'}}],
    [403, '', {headers: {Origin: 'http://evil.example'}}],
    [403, 'stream', {headers: {Origin: 'null'}}],
    [403, 'stream', {headers: {'Sec-Fetch-Site': 'cross-site'}}],
    [421, '', {headers: {Host: `evil.example:${port}`}}],
    [421, 'stream', {headers: {Host: `${host}.evil.example`}}],
    [404, 'other', {}], [404, '../etc/passwd', {}],
  ]) {
    const answer = await ask(chart.address + target, how);
    assert.strictEqual(answer.status, status, `${target} ${JSON.stringify(how)}`);
    assert.strictEqual(answer.headers['access-control-allow-origin'], undefined);
  }
  const socket = net.connect(port, '127.0.0.1', () => socket.write('\x16\x03\x01 no HTTP\r\n\r\n'));
  await new Promise(done => socket.on('close', done).on('error', () => {}).resume());
  assert.strictEqual((await ask(chart.address)).status, 200);
});

test('another address than that of the machine itself takes a token', async context => {
  const chart = await serve(context, 30, ['--listen', '127.0.0.1']);
  const {origin, pathname} = new URL(chart.address);
  assert.match(pathname, /^\/[0-9a-f]{32}\/$/);
  const wrong = pathname.replace(/.\/$/, digit => digit === '0/' ? '1/' : '0/');
  const answers = await Promise.all(['/', '/stream', wrong, wrong + 'stream', pathname].map(target => ask(origin + target)));
  assert.deepStrictEqual(answers.map(({status}) => status), [403, 403, 403, 403, 200]);
});

test('an address that can not be had is told', async context => {
  const chart = await serve(context, 30), {port} = new URL(chart.address);
  for (const [options, text] of [[['--port', port], /port \d+ of 127\.0\.0\.1: /], [['--listen', 'nowhere'], /no IP address/]]) {
    const {status, stderr} = spawnSync(program, ['chart', data, 'Close', '--live', '--no-browser', ...options], {encoding: 'utf8'});
    assert.deepStrictEqual([status, text.test(stderr)], [1, true], stderr);
  }
});

test('a viewer that comes back gets what it has missed', async context => {
  const chart = await serve(context, 50);
  const first = follow(chart, await reloaded(chart));
  await until(() => first.status === 200, 'the stream');
  chart.send(rows.slice(50, 60));
  await until(() => first.bars >= 59, 'bars');
  first.request.destroy();
  chart.send([...rows.slice(60, 70), tick(30, 1), tick(69, 2)]);
  const last = first.events.at(-1).id, second = follow(chart, 'none-0', {'Last-Event-ID': last});
  await until(() => closeOf(second.rows.get(69)) === 2, 'the last tick');
  const seen = new Set([...first.rows.keys(), ...second.rows.keys()]);
  for (let bar = 50; bar < 70; ++bar) assert.ok(seen.has(bar), `bar ${bar}`);
  assert.strictEqual(closeOf(second.rows.get(30)), 1);
  const other = follow(chart, 'abcdef.1-3');
  await until(() => other.events[0]?.event === 'reload', 'that a page of another run loads again');
});

test('a slow viewer holds nobody back, and gets the newest state', async context => {
  const count = 4000, chart = await serve(context, count, [], ['Exp(Close, 500)']), from = await reloaded(chart);
  const fast = follow(chart, from);
  const {hostname, port} = new URL(chart.address);
  const slow = net.connect(port, hostname);
  slow.write(`GET /stream?from=${from} HTTP/1.1\r\nHost: ${hostname}:${port}\r\n\r\n`);
  slow.pause();
  await until(() => fast.status === 200, 'the stream');
  for (let close = 1; close <= 30; ++close) {  // each changes all bars from there on, more than what lies between them holds
    chart.send([tick(10, close)]);
    await until(() => closeOf(fast.rows.get(10)) === close, `correction ${close}`);
  }
  chart.send([tick(count - 1, 7)]);
  await until(() => closeOf(fast.rows.get(count - 1)) === 7, 'the last tick');
  let text = '';
  slow.on('data', piece => { text += piece; }).resume();
  const newest = [/\[10,"[\d-]+",\[[^\]]*,30\.0,30\.0,/, /\[3999,"[\d-]+",\[[^\]]*,7\.0,7\.0,/];
  await until(() => newest.every(row => row.test(text)), 'the newest state');
  assert.ok(text.split('event: change').length < fast.events.length, 'what was passed by is left out');
});

test('the end of the input and of the program is told', async context => {
  const chart = await serve(context, 50, ['--when', 'Close > 0']);
  const stream = follow(chart, await reloaded(chart));
  await until(() => stream.status === 200, 'the stream');
  chart.send(rows.slice(50, 52));
  chart.child.stdin.end();
  await until(() => stream.state === 'ended', 'the end of the input');
  assert.deepStrictEqual(stream.alerts.at(-1), [rows[51].split(',')[0], 'Close > 0']);
  assert.strictEqual((await ask(chart.address)).status, 200);
  chart.child.kill('SIGINT');
  assert.strictEqual(await chart.ended, 0);
  assert.strictEqual(stream.state, 'stopped');
  assert.match(chart.errors, /bars +52 /);
});

// ---- The page

async function open(chart, options = {}) {
  const page = await browser.newPage({viewport: {width: 1200, height: 800}, ...options});
  page.faults = [];
  page.on('console', message => page.faults.push(message.text()));
  page.on('pageerror', error => page.faults.push(error.message));
  await page.goto(chart.address);
  return page;
}

// What the page holds and shows, without a crosshair.
async function shown(page) {
  await page.mouse.move(1, 1);
  return page.evaluate(async () => {
    studyChart.timeScale().setVisibleLogicalRange({from: 200, to: 420});
    for (let frame = 0; frame < 3; ++frame) await new Promise(requestAnimationFrame);
    return {
      span: document.getElementById('span').textContent,
      legend: [...document.querySelectorAll('.legend')].map(legend => legend.textContent),
      values: studyData.studies.map(curve => [...curve.values]),
      prices: Object.values(studyData.prices).map(values => [...values]),
      labels: studyData.labels,
      image: studyChart.takeScreenshot().toDataURL(),
    };
  });
}

for (const device of [{}, {viewport: {width: 390, height: 844}, isMobile: true, hasTouch: true}]) {
  test(`ticks, bars and corrections show as on a page that is loaded afterwards${device.isMobile ? ', on a phone' : ''}`, async context => {
    const chart = await serve(context, 300);
    const page = await open(chart, device);
    await page.waitForSelector('#live.live');
    const taken = new Map();
    const send = lines => {
      chart.send(lines);
      for (const line of lines) taken.set(line.split(',')[0], line);
    };
    for (let bar = 300; bar < 400; bar += 2) {
      const close = Number(rows[bar].split(',')[4]);
      send([tick(bar, close + 9), tick(bar, close - 9), rows[bar], rows[bar + 1]]);
      if (bar % 20 === 0) send([tick(bar - 10, close + 20)]);
      await pause(15);
    }
    send([tick(399, 1234.5)]);
    await page.waitForFunction(() => studyData.prices.close[399] === 1234.5);
    await until(async () => (await page.locator('#span').textContent()).includes('400 bars'), 'the last bar');
    const fresh = await open(chart, device);
    await fresh.waitForFunction(() => document.querySelector('.legend')?.style.top);
    const [followed, loaded] = [await shown(page), await shown(fresh)];
    for (const part of Object.keys(loaded)) assert.ok(JSON.stringify(followed[part]) === JSON.stringify(loaded[part]), part);

    const lines = [...new Map([...rows.slice(0, 300), ...taken.values()].map(line => [line.split(',')[0], line])).values()];
    fs.writeFileSync(path.join(folder, 'taken.csv'), [header, ...lines, ''].join('\n'));
    const table = path.join(folder, 'run.csv');
    assert.strictEqual(spawnSync(program, ['run', path.join(folder, 'taken.csv'), 'Sim(Close, 5)', '-o', table]).status, 0);
    const mean = fs.readFileSync(table, 'utf8').trim().split('\n').slice(1).map(line => Number(line.split(',')[1] || NaN));
    assert.deepStrictEqual(followed.values[0], mean);
    assert.deepStrictEqual([...page.faults, ...fresh.faults], []);
    await page.close();
    await fresh.close();
  });
}

test('a page that was there before the first bar, and while the program was gone', async context => {
  let chart = await serve(context, 0, ['--when', 'Close > 1400']);
  const {port} = new URL(chart.address);
  const page = await open(chart);
  assert.match(await page.locator('#waiting').textContent(), /Waiting for the first bars/);
  chart.send([header, ...rows.slice(0, 40)]);
  await until(async () => /40 bars/.test(await page.locator('#span').textContent().catch(() => '')), 'the first bars');
  chart.send(rows.slice(40, 42));
  await until(async () => await page.locator('#alerts p').count() > 0, 'an alert');
  chart.child.kill('SIGINT');
  await page.waitForSelector('#live.stopped');
  await chart.ended;
  chart = await serve(context, 60, ['--port', port]);
  await until(async () => /60 bars/.test(await page.locator('#span').textContent().catch(() => '')), 'the next run');
  await page.close();
});

// ---- What was known earlier

test('the past shows what a run over the cut file gives, and marks what is another value today', async context => {
  const chart = await serve(context, 300);
  for (let bar = 300; bar < 330; ++bar) chart.send([tick(bar, 1100), tick(bar, 1200 + bar), rows[bar]]);
  chart.send([tick(305, 900), tick(329, 1111)]);
  await until(async () => JSON.parse((await ask(`${chart.address}then?bar=400`)).text).bars === 330, 'all bars');
  const page = await open(chart);
  await page.waitForSelector('#live.live');
  const now = await shown(page);
  const texts = () => page.locator('#scrubber p').allTextContents();
  const state = () => page.evaluate(() => ({
    values: studyData.studies.map(curve => [...curve.values]), closes: [...studyData.prices.close], labels: studyData.labels.map(({bar, text}) => [bar, text]),
  }));
  // Against a file of these lines, by the same program.
  const expectRun = async lines => {
    const file = path.join(folder, 'cut.csv'), table = path.join(folder, 'cut_run.csv');
    fs.writeFileSync(file, [header, ...lines, ''].join('\n'));
    assert.strictEqual(spawnSync(program, ['run', file, 'Close', 'Sim(Close, 5)', 'KaseCCSS(Bar).integer1',
      ...[1, 2, 3, 4, 5, 6].map(n => `KaseCCSS(Bar).label${n}`), '-o', table]).status, 0);
    const cells = fs.readFileSync(table, 'utf8').trim().split('\n').slice(1).map(line => line.split(','));
    const column = at => cells.map(row => row[at] === '' ? NaN : Number(row[at]));
    const {values, closes, labels} = await state();
    assert.deepStrictEqual([closes, values[0], values[1]], [column(1), column(2), column(3)]);
    const labelled = cells.flatMap((row, bar) => row.slice(4).filter(Boolean).map(text => [bar, text]));
    assert.deepStrictEqual(labels, labelled);
  };
  const isAsOf = text => until(async () => (await texts())[0].startsWith(text), text);
  const dateOf = bar => rows[bar].split(',')[0];

  await page.keyboard.press(',');
  await isAsOf(`As of ${dateOf(328)}: 21 bars have other values today`);  // by the correction of bar 305
  await expectRun(rows.slice(0, 329));
  assert.match((await texts())[1], /^2001-04-18: VolStop\(Bar, 2, 3, 0\) short stop 1236\.07, today –; /);
  await page.locator('#scrubber input').fill('303');
  await isAsOf(`As of ${dateOf(303)}: today`);
  await expectRun(rows.slice(0, 304));
  await page.keyboard.press('Shift+Comma');
  await isAsOf(`As of ${dateOf(303)}, change 311 of 392: 1 bar`);
  await expectRun([...rows.slice(0, 303), tick(303, 1503)]);

  chart.send([tick(302, 950), ...rows.slice(330, 335)]);  // what comes in the meantime
  await isAsOf(`As of ${dateOf(303)}, change 311 of 398: 2 bars`);
  await expectRun([...rows.slice(0, 303), tick(303, 1503)]);
  await page.keyboard.press('Escape');
  await page.waitForFunction(() => studyData.prices.close.length === 335);
  const fresh = await open(chart);
  await fresh.waitForSelector('#live.live');
  const [back, loaded] = [await shown(page), await shown(fresh)];
  for (const part of Object.keys(loaded)) assert.ok(JSON.stringify(back[part]) === JSON.stringify(loaded[part]), part);
  assert.notStrictEqual(now.image, loaded.image);
  assert.deepStrictEqual(page.faults, []);
});
