// What must hold in Node and in a browser alike. Each function throws if it does not.

const same = (one, other) => {
  const bits = value => [...new BigUint64Array(Float64Array.of(value).buffer)].join();
  return one === other || (typeof one === 'number' && (Number.isNaN(one) ? Number.isNaN(other) : bits(one) === bits(other)));
};
function expect(holds, text) {
  if (!holds) throw new Error(text);
}

export function readBars(text) {
  const [names, ...rows] = text.trim().split(/\r?\n/).map(line => line.split(','));
  return Object.fromEntries(names.slice(1).map((name, index) =>
    [name, Float64Array.from(rows, row => Number(row[index + 1]))]));
}

// As docs/verifying.md defines it.
async function fingerprint(values) {
  const bytes = new DataView(new ArrayBuffer(16 + 8 * values.length));
  values.forEach((value, index) =>
    bytes.setBigUint64(16 + 8 * index, Number.isNaN(value) ? 0x7FF8000000000000n
      : new BigUint64Array(Float64Array.of(value).buffer)[0], true));
  const hash = new Uint8Array(await crypto.subtle.digest('SHA-1', bytes)).slice(0, 16);
  hash[6] = (hash[6] & 0x0F) | 0x50;
  hash[8] = (hash[8] & 0x3F) | 0x80;
  return [...hash].map(byte => byte.toString(16).padStart(2, '0')).join('').replace(/^(.{8})(.{4})(.{4})(.{4})/, '$1-$2-$3-$4-');
}

export async function everyOperatorHasItsFingerprint({Compiled}, bars, {expressions, outputs, settings}) {
  const compiled = await Compiled.create(Object.keys(bars), expressions, {allOutputs: true, history: settings.history});
  const values = Object.values(compiled.run(bars));
  expect(values.length === outputs.length, `${values.length} results, not ${outputs.length}`);
  for (const [index, output] of outputs.entries()) {
    if (!(values[index] instanceof Float64Array)) continue;
    expect(await fingerprint(values[index]) === output.fingerprint, `${output.name} differs`);
  }
  compiled.free();
}

export async function seriesAndStepsGiveWhatRunGives({Compiled, Study, run}, bars) {
  const columns = Object.fromEntries(['open', 'high', 'low', 'close'].map(name => [name, bars[name].slice(0, 300)]));
  columns.close[50] = NaN;
  const names = Object.keys(columns);
  const expressions = ['Sim(Close, 20)', 'Exp(Close, 10)', 'RSI(Close, 14)', 'KaseCCSS(Bar)', 'HiLev(High, High, 20)'];
  const whole = Object.values(await run(columns, expressions));
  const row = bar => names.map(name => columns[name][bar]);

  const study = await Study.create(names, expressions);
  for (let bar = 0; bar < 300; ++bar) {
    study.append(row(bar).map(value => value + (bar % 7 ? 0 : 1)));
    if (bar % 2) study.tick(row(bar));
  }
  for (let bar = 0; bar < 300; ++bar) study.correct(bar, row(bar));
  const again = await Study.restore(study.save());
  const compiled = await Compiled.create(names, expressions), step = compiled.start();
  for (let bar = 0; bar < 300; ++bar) {
    step(...row(bar));
    for (const [what, values] of Object.entries({
      series: Object.values(study.valuesOf(bar)), restored: Object.values(again.valuesOf(bar)), steps: compiled.values})) {
      whole.forEach((column, index) =>
        expect(same(column[bar], values[index]), `${what}: ${expressions[index]} differs at bar ${bar}`));
    }
  }
  for (const owner of [study, again, compiled]) owner.free();
}

export async function badInputIsAnError({Compiled, SarvaneError, Study, run}) {
  const close = Float64Array.of(1, 2, 3);
  const study = await Study.create(['close'], 'Sim(Close, 2)');
  study.append(1);
  const saved = study.save();
  const freed = await Compiled.create(['close'], 'Close');
  freed.free();
  freed.free();
  const faults = {
    unknown: () => run({close, é: close}, '"é" + Simm(Close, 2)'),
    deep: () => run({close}, '('.repeat(1e6)),
    long: () => run({close}, '1+'.repeat(1e6)),
    empty: () => run({close}, []),
    definition: () => run({close}, 'f(x) = x'),
    zero: () => run({close}, 'Close\0'),
    lengths: () => run({close, open: [1]}, 'Close + Open'),
    missing: () => study.append({open: 1}),
    text: () => study.tick('1'),
    time: () => study.append(1, 0),
    bar: () => study.correct(1, 1),
    negative: () => study.valuesOf(-1),
    digits: () => run({close}, 'Close', {digits: 1.5}),
    bytes: () => Study.restore(saved.subarray(0, -1)),
    noBytes: () => Study.restore(new Uint8Array(3)),
    names: () => Study.restore(Uint8Array.of(255, 255, 255, 255, 1)),
    freed: () => freed.run({close}),
  };
  for (const [name, fault] of Object.entries(faults)) {
    const error = await (async () => fault())().then(() => null, thrown => thrown);
    expect(error instanceof SarvaneError && error.message, `${name}: ${error}`);
    if (name === 'unknown') expect(error.offset === 6 && error.length === 4 && error.nearest[0] === 'Sim', error.message);
  }
  // Whatever became of the module's memory, the next call works, and the series are untouched.
  await run({close}, 'Sim(Close, 2000000000)').catch(error => expect(error instanceof SarvaneError, String(error)));
  const {'Sim(Close, 2)': average} = await run({close}, 'Sim(Close, 2)');
  expect(average[2] === 2.5 && study.append(2)['Sim(Close, 2)'] === 1.5, 'after faults');
}
