/** What went wrong: with a text, with arguments, or with the module's memory. */
export class SarvaneError extends Error {
  /** What is wrong, without the text. */
  readonly reason: string;
  /** The expression or definition, or "" where the fault lies in none. */
  readonly text: string;
  /** The text's name: "" for the first expression, "expression 2" and so on. */
  readonly source: string;
  /** The place of the fault in the text, in UTF-16 units. The length is 0 at the text's end. */
  readonly offset: number;
  readonly length: number;
  /** Known words that look like an unknown one, the best first. */
  readonly nearest: string[];
}

/**
 * Loads the module, which everything else does by itself: from a URL, from bytes or compiled, where the file
 * sarvane.wasm beside this one can't be reached.
 */
export function load(source?: URL | string | BufferSource | WebAssembly.Module): Promise<WebAssembly.Module>;

export interface Options {
  /** A result for each output of an expression with several, instead of one for the first. */
  allOutputs?: boolean;
  /** Bars that operators keep where no argument says how many; 400 if not given. */
  history?: number;
  /** Digits of precision, 4 to 15, for the averages that round. */
  digits?: number;
  /** Bar arithmetic repeats a missing input. */
  holdsInputs?: boolean;
  /** What some operators round prices to; 1 if not given. */
  priceStep?: number;
}

export interface Result {
  title: string;
  /** The output's name, with `allOutputs`; else "". */
  output: string;
  /** The expression in the words of its operators. */
  formula: string;
  meaning: string;
  /** Bars, through all operators behind it. */
  lookback: number;
  /** Its values are texts. */
  isLabel: boolean;
  inPriceUnits: boolean;
  drawing: 'line' | 'step' | 'band' | 'histogram' | 'marker';
}

type Columns = Readonly<Record<string, ArrayLike<number>>>;
/** A Float64Array for each result, by title, with NaN for a missing value; an array of texts for labels. */
type Results = Record<string, Float64Array>;

/**
 * Runs expressions over whole columns: `await run({close}, ['Sim(Close, 5)'])`. A NaN is a missing value. Columns are
 * found in any letter case; open, high, low and close make the Bar. Throws a SarvaneError for a text that can't be
 * compiled, and for columns that are missing or of different lengths.
 */
export function run(columns: Columns, expressions: string | readonly string[], options?: Options): Promise<Results>;

declare abstract class Owned {
  readonly titles: string[];
  readonly results: Result[];
  /** Frees the memory at once, which otherwise happens some time after the object was forgotten. */
  free(): void;
}

/** Expressions compiled once, for many runs over whole columns and for values one by one. */
export class Compiled extends Owned {
  static create(columns: readonly string[], expressions: string | readonly string[], options?: Options):
    Promise<Compiled>;
  run(columns: Columns): Results;
  /**
   * Starts a run bar by bar, and gives the function that takes the next bar: a value for each column, in their order.
   * It answers the first result; `values` holds all. With one column, or with open, high, low, close and perhaps volume,
   * it allocates nothing. Each bar is final: Study is for bars that tick.
   */
  start(): (...bar: number[]) => number;
  /** The results of the last bar, in the order of `titles`; labels are packed. */
  readonly values: Float64Array;
}

/** An object with a value for each column, an array in their order, or a number where there is one column. */
export type Bar = number | ArrayLike<number | null> | Readonly<Record<string, number | null>>;
/** A number for each result, by title; NaN where there is none. A label is a text, or null. */
export type Values = Record<string, number | string | null>;

/** Expressions over bars that are appended, tick and are corrected. Values are those of `run` over the same bars. */
export class Study extends Owned {
  static create(columns: readonly string[], expressions: string | readonly string[], options?: Options): Promise<Study>;
  /** The study that `save` wrote. All bars are calculated again, and must give the same results, bit for bit. */
  static restore(saved: Uint8Array): Promise<Study>;
  /** The number of bars. */
  readonly length: number;
  readonly columns: string[];
  /** A new bar. Its time is a whole number and later than all others; the next one if not given. */
  append(bar: Bar, time?: number): Values;
  /** Other values for the last bar. */
  tick(bar: Bar): Values;
  /** Other values for the bar with this number, from 0 on. Gives the values of the last bar. */
  correct(index: number, bar: Bar): Values;
  timeOf(index: number): number;
  /** The values of the last bar. */
  readonly values: Values;
  valuesOf(index: number): Values;
  /** The numbers of the bars that got other values by the last append, tick or correct. */
  readonly changed: number[];
  /** Expressions, settings and all bars as bytes, for `Study.restore`. */
  save(): Uint8Array;
}

export interface Argument {
  name: string;
  meaning: string;
  /** The text that stands for one that is left out; "" if there is none. */
  standard: string;
  least: number;
  greatest: number;
  kind: 'curve' | 'bar' | 'count' | 'number' | 'switch' | 'word';
  isOptional: boolean;
  /** A curve may stand in its place. */
  canBeBound: boolean;
  words: {text: string; meaning: string}[];
}

export interface Operator {
  keyword: string;
  sentence: string;
  keepsSnapshots: boolean;
  arguments: Argument[];
  outputs: {name: string; meaning: string; drawing: Result['drawing']}[];
}

/** The operators, as they describe themselves, in the order of their keywords. */
export function operators(): Promise<Operator[]>;

export interface Definition {
  name: string;
  sentence: string;
  group: string;
  source: string;
  text: string;
  arguments: Pick<Argument, 'name' | 'meaning' | 'standard'>[];
}

/** The studies that are defined on the operators, such as RSI. */
export function studies(): Promise<Definition[]>;
