// Streaming technical-analysis operators: expressions over whole columns, bar by bar, and as series that tick.

import {Engine, SarvaneError, Undefined, load} from './engine.js';

export {SarvaneError, load};

// Runs over whole columns have an instance of their own: one that fails there takes no series along.
const engines = {columns: null, series: null};
async function engineFor(use) {
  const made = await engines[use];
  if (made && !made.fault) return made;
  if (made === await engines[use]) {
    const making = Engine.create();
    making.catch(() => { if (engines[use] === making) engines[use] = null; });
    engines[use] = making;
  }
  return engines[use];
}

// Frees what the module holds for an object that was forgotten.
const forgotten = new FinalizationRegistry(release => release());
const Dispose = Symbol.dispose ?? Symbol.for('Symbol.dispose');

const Unset = -2147483648;
const whole = (value, name) => {
  if (value === undefined || value === null) return Unset;
  if (!Number.isInteger(value) || Math.abs(value) > 2147483647) throw new SarvaneError(`${name} is no whole number`);
  return value;
};

// A study of the module's over columns with these names.
function compileStudy(engine, columns, expressions, {history, digits, allOutputs = false} = {}) {
  if (typeof expressions === 'string') expressions = [expressions];
  if (!expressions?.length) throw new SarvaneError('no expression is given');
  const names = columns.map(String);
  return engine.with([4 * names.length, 16, 16, ...names], (list, made, settings, ...texts) => {
    new Uint32Array(engine.memory, list, names.length).set(texts);
    engine.check('SarvaneCreateStudy', engine.library, list, names.length, made);
    const study = engine.uint(made);
    try {
      new Int32Array(engine.memory, settings, 3).set(
        [whole(history, 'history'), whole(digits, 'digits'), allOutputs ? 1 : 0]);
      for (const expression of expressions) {
        engine.with([String(expression)], text =>
          engine.check('SarvaneAddExpression', study, text, settings, engine.scratch + 4));
      }
      if (engine.call('SarvaneResultCount', study) === 0) {
        throw new SarvaneError('the expressions only define names, and give no value');
      }
    } catch (error) {
      if (!engine.fault) engine.call('SarvaneFreeStudy', study);
      throw error;
    }
    return study;
  });
}

const Drawings = ['', 'line', 'step', 'band', 'histogram', 'marker'];

// What a study gives, with a title of its own for each result: the second of a title ends with " 2".
function describeResults(engine, study) {
  const taken = new Set();
  return engine.with([48], info =>
    Array.from({length: engine.call('SarvaneResultCount', study)}, (_, index) => {
      engine.check('SarvaneGetResultInfo', study, index, info);
      const text = field => engine.text(engine.uint(info + 4 * field));
      const number = field => engine.uint(info + 4 * field);
      const plain = text(0);
      let title = plain;
      for (let other = 2; taken.has(title); ++other) title = `${plain} ${other}`;
      taken.add(title);
      return {title, output: text(1), formula: text(2), meaning: text(3), lookback: number(5), isLabel: number(6) !== 0,
        inPriceUnits: number(7) !== 0, drawing: Drawings[number(9)]};
    }));
}

function labelText(engine, value) {
  return engine.call('SarvaneLabelText', value, engine.scratch + 8) ? engine.text(engine.scratch + 8) : null;
}

// What Compiled and Study have in common: something in the module's memory that is freed once.
class Owned {
  #held;
  constructor(held) {
    this.#held = held;
    forgotten.register(this, held.release, this);
  }
  get _held() {
    if (this.#held.isFreed) throw new SarvaneError('this has been freed');
    this.#held.engine.refuseIfFailed();
    return this.#held;
  }
  /** What each result is: title, formula, meaning, lookback and how it is best drawn. */
  get results() { return this._held.results.map(result => ({...result})); }
  get titles() { return this._held.results.map(({title}) => title); }
  /** Frees the memory at once, which otherwise happens some time after the object was forgotten. */
  free() {
    forgotten.unregister(this);
    this.#held.release();
  }
}
Owned.prototype[Dispose] = Owned.prototype.free;

// `release` must not hold the object itself, which would never be forgotten then.
function hold(engine, parts, frees) {
  const held = {engine, ...parts, isFreed: false};
  held.release = () => {
    if (!held.isFreed && !engine.fault) frees(held);
    held.isFreed = true;
  };
  return held;
}

function lengthOf(columns, names) {
  const lengths = names.map(name => columns[name]?.length);
  const odd = lengths.findIndex(length => !Number.isInteger(length) || length !== lengths[0]);
  if (odd >= 0) throw new SarvaneError(`the column ${names[odd]} ${lengths[odd] === undefined ? 'is missing' : `has ${lengths[odd]} values, not ${lengths[0]}`}`);
  return lengths[0] ?? 0;
}

const OpenHighLowClose = ['open', 'high', 'low', 'close'];

/** Expressions compiled once, for many runs over whole columns and for values one by one. */
export class Compiled extends Owned {
  static async create(columns, expressions, options = {}) {
    const engine = await engineFor('columns');
    const names = columns.map(String);
    const study = compileStudy(engine, names, expressions, options);
    const results = describeResults(engine, study);
    const row = engine.allocate(8 * (names.length + results.length));
    const {holdsInputs = false, priceStep = 0} = options;
    const reads = names.map((_, index) => engine.call('SarvaneReadsColumn', study, index) !== 0);
    return new Compiled(hold(engine, {study, row, names, results, reads, holdsInputs, priceStep}, held => {
      engine.call('SarvaneFreeStudy', held.study);
      engine.free(held.row);
    }));
  }

  #settings(engine, at, held) {
    new BigInt64Array(engine.memory, at, 1)[0] = -1n;
    new Float64Array(engine.memory, at + 8, 1)[0] = held.priceStep;
    new Int32Array(engine.memory, at + 16, 2).set([held.holdsInputs ? 1 : 0, 1]);
  }

  /** Runs over whole columns, by name, and gives a column for each result, by title. */
  run(columns) {
    const held = this._held, {engine, names, results, reads, study} = held;
    const used = names.filter((_, index) => reads[index]);
    const count = lengthOf(columns, used.length ? used : names);
    // One place for all: settings, the list of inputs, that of outputs, the columns and the results.
    const inputs = 24, outputs = inputs + 8 * names.length;
    const firstColumn = outputs + 8 * results.length, firstResult = firstColumn + 8 * count * used.length;
    return engine.with([firstResult + 8 * count * results.length], at => {
      this.#settings(engine, at, held);
      const memory = engine.memory;
      const lists = new Int32Array(memory, at + inputs, 2 * (names.length + results.length));
      used.forEach((name, index) =>
        new Float64Array(memory, at + firstColumn + 8 * count * index, count).set(columns[name]));
      let place = at + firstColumn;
      const next = () => { const here = place; place += 8 * count; return here; };
      lists.set(names.flatMap((_, index) => reads[index] ? [next(), 1] : [0, 1]));
      lists.set(results.flatMap(() => [next(), 1]), 2 * names.length);
      engine.check('SarvaneRun', study, at, count, at + inputs, at + outputs);
      const given = {};
      results.forEach(({title, isLabel}, index) => {
        const start = at + firstResult + 8 * count * index;
        const values = new Float64Array(engine.memory.slice(start, start + 8 * count));
        given[title] = isLabel ? Array.from(values, value => labelText(engine, value)) : values;
      });
      return given;
    });
  }

  /**
   * Starts a run of values one by one, and gives the function that takes the next ones: a number where there is one
   * column; open, high, low, close and perhaps volume where the columns are these. It answers the first result; the
   * others stand in `values`. It crosses into the module once and allocates nothing.
   */
  start() {
    const held = this._held, {engine, study, row, names, results} = held;
    engine.with([24], at => {
      this.#settings(engine, at, held);
      engine.check('SarvaneReset', study, at);
    });
    const {StepValue, StepBar, Step} = engine.exports;
    const columnCount = names.length, resultCount = results.length;
    const guard = error => { throw engine.fail(error); };
    const refuse = () => { if (held.isFreed || engine.fault) this._held; };
    if (columnCount === 1 && resultCount === 1) {
      return value => {
        if (held.isFreed || engine.fault !== null) refuse();
        try { return StepValue(study, row, value); } catch (error) { return guard(error); }
      };
    }
    const isBar = OpenHighLowClose.every((name, index) => names[index]?.toLowerCase() === name) && columnCount < 6;
    if (isBar) {
      return (open, high, low, close, volume) => {
        if (held.isFreed || engine.fault !== null) refuse();
        try {
          return StepBar(study, row, columnCount, resultCount, open, high, low, close, volume);
        } catch (error) { return guard(error); }
      };
    }
    return (...values) => {
      refuse();
      if (values.length !== columnCount) throw new SarvaneError(`a bar has ${columnCount} values, not ${values.length}`);
      new Float64Array(engine.memory, row, columnCount).set(values);
      try { return Step(study, row, columnCount, resultCount); } catch (error) { return guard(error); }
    };
  }

  /** The results of the last step, in the order of `titles`. */
  get values() {
    const {engine, row, names, results} = this._held;
    return new Float64Array(engine.memory, row + 8 * names.length, results.length).slice();
  }
}

/** Runs expressions over whole columns, and gives a column for each, by title. */
export async function run(columns, expressions, options) {
  const compiled = await Compiled.create(Object.keys(columns), expressions, options);
  try {
    return compiled.run(columns);
  } finally {
    compiled.free();
  }
}

/** Expressions over bars that are appended, tick and are corrected. */
export class Study extends Owned {
  static async create(columns, expressions, options = {}) {
    const engine = await engineFor('series');
    const study = compileStudy(engine, columns, expressions, options);
    try {
      return engine.with([24, 8], (settings, made) => {
        const {holdsInputs = false, priceStep = 0} = options;
        new Uint32Array(engine.memory, settings, 2).set([1000, 32766]);
        new Float64Array(engine.memory, settings + 8, 1)[0] = priceStep;
        new Int32Array(engine.memory, settings + 16, 1)[0] = holdsInputs ? 1 : 0;
        engine.check('SarvaneCreateSeries', study, settings, made);
        return Study.#of(engine, engine.uint(made), columns.map(String));
      });
    } finally {
      if (!engine.fault) engine.call('SarvaneFreeStudy', study);
    }
  }

  /** The study that `save` wrote. All bars are calculated again, and must give the same results, bit for bit. */
  static async restore(saved) {
    if (!(saved instanceof Uint8Array)) throw new SarvaneError('what was saved is a Uint8Array');
    const engine = await engineFor('series');
    const size = new DataView(saved.buffer, saved.byteOffset, saved.byteLength);
    const named = saved.length >= 4 ? size.getUint32(0, true) : saved.length;
    if (named > saved.length - 4) throw new SarvaneError('these bytes are no saved study');
    let names;
    try {
      names = JSON.parse(new TextDecoder('utf-8', {fatal: true}).decode(saved.subarray(4, 4 + named)));
    } catch { /* told below */ }
    if (!Array.isArray(names) || !names.every(name => typeof name === 'string')) {
      throw new SarvaneError('these bytes are no saved study');
    }
    const bytes = saved.subarray(4 + named);
    return engine.with([bytes.length, 8], (place, made) => {
      new Uint8Array(engine.memory, place, bytes.length).set(bytes);
      engine.check('SarvaneReadSeries', engine.library, place, bytes.length, made, engine.scratch + 4);
      const series = engine.uint(made);
      engine.check('SarvaneGetStudyInfo', engine.call('SarvaneGetSeriesStudy', series), engine.scratch + 8);
      if (engine.uint(engine.scratch + 8) !== names.length) {
        engine.call('SarvaneFreeSeries', series);
        throw new SarvaneError('these bytes are no saved study');
      }
      return Study.#of(engine, series, names);
    });
  }

  static #of(engine, series, names) {
    const results = describeResults(engine, engine.call('SarvaneGetSeriesStudy', series));
    const row = engine.allocate(8 * (names.length + results.length));
    return new Study(hold(engine, {series, row, names, results}, held => {
      engine.call('SarvaneFreeSeries', held.series);
      engine.free(held.row);
    }));
  }

  /** The number of bars. */
  get length() {
    const {engine, series} = this._held;
    return engine.with([24], info => {
      engine.check('SarvaneGetSeriesInfo', series, info);
      return engine.uint(info);
    });
  }
  get columns() { return [...this._held.names]; }

  // A bar is an object with a value for each column, an array in their order, or a number where there is one.
  #put(bar) {
    const {engine, row, names} = this._held;
    const values = new Float64Array(engine.memory, row, names.length);
    if (typeof bar === 'number') bar = [bar];
    if (bar === null || typeof bar !== 'object') throw new SarvaneError('a bar is a number, an array or an object');
    const isList = Array.isArray(bar) || ArrayBuffer.isView(bar);
    if (isList && bar.length !== names.length) {
      throw new SarvaneError(`a bar has ${names.length} values, not ${bar.length}`);
    }
    names.forEach((name, index) => {
      const value = isList ? bar[index] : bar[name];
      if (value === undefined) throw new SarvaneError(`the bar has no ${name}`);
      if (value !== null && typeof value !== 'number') throw new SarvaneError(`${name} is no number`);
      values[index] = value === null || Number.isNaN(value) ? Undefined : value;
    });
    return row;
  }

  /** A new bar, with a time later than all others; else with the next number. Gives the values of the last bar. */
  append(bar, time = this.length ? this.timeOf(this.length - 1) + 1 : 0) {
    if (!Number.isSafeInteger(time)) throw new SarvaneError('a time is a whole number');
    const {engine, series} = this._held;
    engine.check('AppendBar', series, time, this.#put(bar));
    return this.values;
  }
  /** Other values for the last bar. */
  tick(bar) {
    const {engine, series} = this._held;
    engine.check('SarvaneChangeLastBar', series, this.#put(bar));
    return this.values;
  }
  /** Other values for the bar with this number, from 0 on. Gives the values of the last bar. */
  correct(index, bar) {
    this.#mustBe(index);
    const {engine, series} = this._held;
    engine.check('SarvaneCorrectBar', series, index, this.#put(bar));
    return this.values;
  }
  #mustBe(index) {
    if (!Number.isInteger(index) || index < 0 || index >= this.length) throw new SarvaneError(`there is no bar ${index}`);
  }

  timeOf(index) {
    this.#mustBe(index);
    const {engine, series} = this._held;
    engine.check('SarvaneGetTime', series, index, engine.scratch + 8);
    return Number(new BigInt64Array(engine.memory, engine.scratch + 8, 1)[0]);
  }

  /** The values of the last bar, by title. */
  get values() {
    const count = this.length;
    return count ? this.valuesOf(count - 1) : Object.fromEntries(this._held.results.map(
      ({title, isLabel}) => [title, isLabel ? null : NaN]));
  }
  /** The values of a bar, by title: NaN where there is none, and a text or null for a label. */
  valuesOf(index) {
    this.#mustBe(index);
    const {engine, series, row, names, results} = this._held;
    const at = row + 8 * names.length;
    engine.check('SarvaneReadResults', series, index, 1, at);
    const values = new Float64Array(engine.memory, at, results.length).slice();
    return Object.fromEntries(results.map(({title, isLabel}, place) =>
      [title, isLabel ? labelText(engine, values[place]) : values[place] === Undefined ? NaN : values[place]]));
  }
  /** The numbers of the bars that got other values by the last append, tick or correct. */
  get changed() {
    const {engine, series} = this._held;
    const count = engine.call('SarvaneGetChangedBars', series, engine.scratch + 8);
    return Array.from(new Uint32Array(engine.memory, engine.uint(engine.scratch + 8), count));
  }

  /** Expressions, settings and all bars as bytes, for `Study.restore`. */
  save() {
    const {engine, series, names} = this._held;
    engine.check('SarvaneWriteSeries', series, engine.scratch + 8, engine.scratch + 12);
    const at = engine.uint(engine.scratch + 8), size = engine.uint(engine.scratch + 12);
    const header = new TextEncoder().encode(JSON.stringify(names));
    const saved = new Uint8Array(4 + header.length + size);
    new DataView(saved.buffer).setUint32(0, header.length, true);
    saved.set(header, 4);
    saved.set(new Uint8Array(engine.memory, at, size), 4 + header.length);
    engine.call('SarvaneFreeBytes', at);
    return saved;
  }
}

const Kinds = ['', 'curve', 'bar', 'count', 'number', 'switch', 'word'];

/** The operators, as they describe themselves. */
export async function operators() {
  const engine = await engineFor('columns');
  return engine.with([48], info => {
    const text = field => engine.text(engine.uint(info + 4 * field));
    const number = field => engine.uint(info + 4 * field);
    const list = (count, read) => Array.from({length: count}, (_, index) => read(index));
    const get = (name, ...place) => engine.check(name, engine.library, ...place, info);
    return list(engine.call('SarvaneOperatorCount', engine.library), op => {
      get('SarvaneGetOperatorInfo', op);
      const about = {keyword: text(0), sentence: text(1), keepsSnapshots: number(4) !== 0};
      const argumentCount = number(2), outputCount = number(3);
      about.arguments = list(argumentCount, argument => {
        get('SarvaneGetArgumentInfo', op, argument);
        const described = {name: text(0), meaning: text(1), standard: text(2), least: engine.double(info + 16),
          greatest: engine.double(info + 24), kind: Kinds[number(8)], isOptional: number(9) !== 0,
          canBeBound: number(10) !== 0};
        described.words = list(number(11), word => {
          get('SarvaneGetWordInfo', op, argument, word);
          return {text: text(0), meaning: text(1)};
        });
        return described;
      });
      about.outputs = list(outputCount, output => {
        get('SarvaneGetOutputInfo', op, output);
        return {name: text(0), meaning: text(1), drawing: Drawings[number(2)]};
      });
      return about;
    });
  });
}

/** The studies that are defined on the operators, such as RSI. */
export async function studies() {
  const engine = await engineFor('columns');
  return engine.with([48, 8], (info, counted) => {
    engine.check('SarvaneListDefinitions', engine.library, counted);
    const text = field => engine.text(engine.uint(info + 4 * field));
    return Array.from({length: engine.uint(counted)}, (_, index) => {
      engine.check('SarvaneGetDefinitionInfo', engine.library, index, info);
      const about = {name: text(0), sentence: text(1), group: text(2), source: text(3), text: text(5)};
      about.arguments = Array.from({length: engine.uint(info + 28)}, (_, argument) => {
        engine.check('SarvaneGetDefinitionArgument', engine.library, index, argument, info);
        const described = {name: text(0), meaning: text(1), standard: text(2)};
        engine.check('SarvaneGetDefinitionInfo', engine.library, index, info);
        return described;
      });
      return about;
    });
  });
}
