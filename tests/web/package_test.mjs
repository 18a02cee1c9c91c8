// The npm package as it is installed, in Node and in a browser. SARVANE_FOLDER: where; DATA_FOLDER: bars and fingerprints;
// CHARTS: the module of Lightweight Charts.
import assert from 'node:assert';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import {createRequire} from 'node:module';
import {test} from 'node:test';
import {pathToFileURL} from 'node:url';
import * as laws from './laws.mjs';

const {SARVANE_FOLDER: folder, DATA_FOLDER: data} = process.env;
const require = createRequire(path.join(folder, 'package.json'));
const sarvane = await import(pathToFileURL(require.resolve('sarvane')));
const files = {
  '/bars': path.join(data, 'sp500_daily.csv'),
  '/fingerprints': path.join(data, 'sp500_daily.fingerprint.json'),
  '/lightweight-charts.mjs': process.env.CHARTS,
  '/laws.mjs': new URL('laws.mjs', import.meta.url).pathname,
};
const bars = laws.readBars(fs.readFileSync(files['/bars'], 'utf8'));
const expected = JSON.parse(fs.readFileSync(files['/fingerprints'], 'utf8'));
globalThis.crypto ??= (await import('node:crypto')).webcrypto;

test('every operator gives the numbers of other builds', () => laws.everyOperatorHasItsFingerprint(sarvane, bars, expected));
test('series and steps give what a run gives', () => laws.seriesAndStepsGiveWhatRunGives(sarvane, bars));
test('bad input is an error', () => laws.badInputIsAnError(sarvane));
test('it tells of its operators and studies', async () => {
  const operators = await sarvane.operators();
  assert.strictEqual(operators.length, 41);
  assert.ok(operators.every(({sentence, outputs}) => sentence && outputs.length));
  assert.ok((await sarvane.studies()).some(({name}) => name === 'RSI'));
});

const livePage = fs.readFileSync(new URL('../../docs/web.md', import.meta.url), 'utf8').match(/```html\n([^]*?)```/)[1];

test('all of it holds in a browser', async () => {
  const {chromium} = require('playwright-core');
  const types = {'.js': 'text/javascript', '.mjs': 'text/javascript', '.wasm': 'application/wasm', '': 'text/html'};
  const server = http.createServer(({url}, response) => {
    const file = files[url] ?? (url.startsWith('/sarvane/') ? path.join(folder, 'node_modules', url) : null);
    response.writeHead(200, {'content-type': types[path.extname(url)] ?? 'text/plain'});
    response.end(url === '/live' ? livePage : file ? fs.readFileSync(file) : '<!doctype html>');
  }).listen(0, '127.0.0.1');
  await new Promise(resolve => server.once('listening', resolve));
  const browser = await chromium.launch({executablePath: '/usr/bin/chromium', args: ['--headless', '--no-sandbox']});
  try {
    const page = await browser.newPage();
    await page.goto(`http://127.0.0.1:${server.address().port}/`);
    await page.evaluate(async () => {
      const laws = await import('/laws.mjs'), sarvane = await import('/sarvane/index.js');
      const bars = laws.readBars(await (await fetch('/bars')).text());
      await laws.everyOperatorHasItsFingerprint(sarvane, bars, await (await fetch('/fingerprints')).json());
      await laws.seriesAndStepsGiveWhatRunGives(sarvane, bars);
      await laws.badInputIsAnError(sarvane);
    });
    // The page of the documentation: its last prices move, and lines are drawn in their colours.
    const faults = [];
    page.on('pageerror', error => faults.push(error.message));
    await page.goto(page.url() + 'live');
    await page.locator('canvas').first().waitFor();
    await page.waitForTimeout(1500);
    const before = await page.screenshot({path: process.env.PICTURE});
    await page.waitForTimeout(1500);
    assert.ok(!before.equals(await page.screenshot()));
    assert.deepStrictEqual(faults, []);
  } finally {
    await browser.close();
    server.close();
  }
});
