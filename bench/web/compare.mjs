// Millions of values a second, the best of several rounds in which all take turns. Each sums what it got.
import {createRequire} from 'node:module';
import fs from 'node:fs';
import path from 'node:path';
import {pathToFileURL} from 'node:url';

const at = folder => createRequire(path.join(folder, 'package.json'));
const {Compiled} = await import(pathToFileURL(at(process.env.SARVANE_FOLDER).resolve('sarvane')));
const peers = at(process.env.PEERS_FOLDER);
const talib = peers('talib-web');
const signals = await import(pathToFileURL(path.join(process.env.PEERS_FOLDER, 'node_modules/trading-signals/dist/index.js')));
const fast = peers('fast-technical-indicators');
// It fetches its module, which Node does not do from a file.
globalThis.fetch = async file => new Response(fs.readFileSync(file), {headers: {'content-type': 'application/wasm'}});
await talib.init(path.join(process.env.PEERS_FOLDER, 'node_modules/talib-web/lib/talib.wasm'));

const Count = 100_000, Rounds = 15, Period = 20;
const close = new Float64Array(Count);
let seed = 1, price = 100;
for (let i = 0; i < Count; ++i) {
  seed = (seed * 48271) % 2147483647;
  close[i] = price += seed / 2147483647 - 0.5;
}
const list = Array.from(close);
const each = update => {
  let sum = 0;
  for (let i = 0; i < Count; ++i) sum += Number(update(close[i])) || 0;
  return sum;
};
const study = text => Compiled.create(['close'], [text]);

const cases = {
  'simple average': ['Sim(Close, 20)', 'SMA', signals.SMA && (() => new signals.SMA(Period)), fast.SMA, fast.sma],
  'exponential average': ['Exp(Close, 20)', 'EMA', signals.EMA && (() => new signals.EMA(Period)), fast.EMA, fast.ema],
  'highest': ['HiLev(Close, Close, 20)', 'MAX', null, fast.Highest, fast.highest],
};
for (const [name, [text, talibName, signal, FastClass, fastFunction]] of Object.entries(cases)) {
  const compiled = await study(text);
  const contestants = {
    'whole columns, sarvane': () => compiled.run({close}),
    'whole columns, talib-web': () => talib[talibName]({inReal: list, timePeriod: Period}),
    'whole columns, fast-technical-indicators': () => fastFunction({period: Period, values: list}),
    'one by one, sarvane': () => each(compiled.start()),
    'one by one, fast-technical-indicators': () => {
      const made = new FastClass({period: Period, values: []});
      return each(value => made.nextValue(value));
    },
  };
  if (signal) {
    contestants['one by one, trading-signals'] = () => {
      const made = signal();
      return each(value => made.update(value, false));
    };
  }
  const best = {};
  for (let round = 0; round < Rounds; ++round) {
    for (const [who, work] of Object.entries(contestants)) {
      const start = process.hrtime.bigint();
      try { work(); } catch (error) { best[who] ??= error; continue; }
      const rate = Count / Number(process.hrtime.bigint() - start) * 1000;
      if (!(best[who] >= rate)) best[who] = rate;
    }
  }
  for (const [who, rate] of Object.entries(best)) {
    console.log(`${name}, ${who}: ${typeof rate === 'number' ? rate.toFixed(1) + ' million a second' : rate}`);
  }
}
