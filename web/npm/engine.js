// One instance of the module: its memory, its functions, and what becomes of it when it fails.

const encoder = new TextEncoder();
const decoder = new TextDecoder();

export const Undefined = -2147483648;  // a missing value inside the module; a NaN outside

/** What went wrong: with a text, with arguments, or with the module's memory. */
export class SarvaneError extends Error {
  constructor(message, details = {}) {
    super(message, details.cause ? {cause: details.cause} : undefined);
    this.name = 'SarvaneError';
    const {reason = message, text = '', source = '', offset = 0, length = 0, nearest = []} = details;
    Object.assign(this, {reason, text, source, offset, length, nearest});
  }
}

let compiling;  // the compiled module, which all instances share

async function compile(source) {
  if (source instanceof WebAssembly.Module) return source;
  if (source instanceof ArrayBuffer || ArrayBuffer.isView(source)) return WebAssembly.compile(source);
  const url = source ?? new URL('./sarvane.wasm', import.meta.url);
  if (String(url).startsWith('file:') && globalThis.process?.versions?.node) {
    const {readFile} = await import('node:fs/promises');
    return WebAssembly.compile(await readFile(new URL(url)));
  }
  const response = await fetch(url);
  if (!response.ok) throw new SarvaneError(`cannot load ${url}: ${response.status} ${response.statusText}`);
  return WebAssembly.compile(await response.arrayBuffer());
}

/** Compiles the module, once. */
export function load(source) {
  if (!compiling || source !== undefined) {
    const loading = compile(source);
    loading.catch(() => { if (compiling === loading) compiling = undefined; });
    compiling = loading;
  }
  return compiling;
}

const BadDescriptor = 8;  // WASI's answer for a file that is not there

export class Engine {
  static async create() {
    const engine = new Engine();
    // The module opens no file. Its C library asks for these functions all the same.
    const wasi = new Proxy({}, {
      get: (_, name) => name === 'proc_exit'
        ? code => { throw new WebAssembly.RuntimeError(`the module ended with ${code}`); }
        : () => BadDescriptor,
    });
    const module = await load();
    const imports = Object.fromEntries(WebAssembly.Module.imports(module).map(({name}) => [name, wasi[name]]));
    const {exports} = await WebAssembly.instantiate(module, {wasi_snapshot_preview1: imports});
    engine.exports = exports;
    engine.fault = null;
    engine.call('_initialize');
    engine.scratch = engine.allocate(64);
    engine.check('SarvaneOpenLibrary', 0, engine.scratch, engine.scratch + 4);
    engine.library = engine.uint(engine.scratch);
    return engine;
  }

  // Calls a function of the module. After a trap its memory can't be relied on: nothing is called there any more.
  call(name, ...args) {
    this.refuseIfFailed();
    try {
      return this.exports[name](...args);
    } catch (error) {
      throw this.fail(error);
    }
  }
  fail(error) {
    if (!(error instanceof WebAssembly.RuntimeError || error instanceof RangeError)) return error;
    this.fault = error;
    return new SarvaneError('the module ran out of memory or failed, and its memory is given up: '
      + `create what was made of it again (${error.message})`, {cause: error});
  }
  refuseIfFailed() {
    if (this.fault) {
      throw new SarvaneError('this was in the memory of a module that has failed: create it again', {cause: this.fault});
    }
  }

  // Calls a function that answers a status. The last argument is where it puts a problem, if it has one.
  check(name, ...args) {
    const place = this.scratch + 4;
    new Uint32Array(this.memory, place, 1)[0] = 0;
    const status = this.call(name, ...args);
    if (status === 0) return;
    const problem = this.uint(place);
    throw problem ? this.problemAt(problem) : new SarvaneError(this.text(this.call('SarvaneStatusText', status)));
  }
  problemAt(problem) {
    const at = field => this.uint(problem + 4 * field);
    const bytes = this.bytesAt(at(4));
    const units = end => decoder.decode(bytes.slice(0, end)).length;  // offsets of the module count bytes of UTF-8
    const offset = units(at(0));
    const details = {
      reason: this.text(at(2)), source: this.text(at(3)), text: decoder.decode(bytes),
      offset, length: units(at(0) + at(1)) - offset,
      nearest: Array.from({length: at(6)}, (_, i) => this.text(this.uint(at(5) + 4 * i))),
    };
    this.call('SarvaneFreeProblem', problem);
    const {text, nearest} = details;
    const start = text.lastIndexOf('\n', offset - 1) + 1;
    const line = text.slice(start).split('\n', 1)[0];
    const marks = '^'.repeat(Math.max(1, Math.min(details.length, line.length - offset + start)));
    const meant = nearest.length ? `; did you mean ${nearest.join(' or ')}?` : '';
    const where = text ? `\n    ${line}\n    ${' '.repeat(offset - start)}${marks}` : '';
    return new SarvaneError(details.reason + meant + where, details);
  }

  get memory() { return this.exports.memory.buffer; }
  uint(at) { return new Uint32Array(this.memory, at, 1)[0]; }
  double(at) { return new Float64Array(this.memory, at, 1)[0]; }
  bytesAt(at) {
    const bytes = new Uint8Array(this.memory);
    return bytes.slice(at, bytes.indexOf(0, at));
  }
  text(at) { return at ? decoder.decode(this.bytesAt(at)) : ''; }

  allocate(size) {
    const at = size < 2 ** 31 ? this.call('malloc', Math.max(size, 8)) >>> 0 : 0;
    if (!at) throw new SarvaneError(`there is too little memory for ${size} bytes`);
    return at;
  }
  free(...places) {
    if (this.fault) return;
    for (const at of places) this.call('free', at);
  }
  // Hands places to `use` that are freed after it: of bytes, or of texts that end with a zero.
  with(sizes, use) {
    const places = [];
    try {
      for (const size of sizes) {
        if (typeof size === 'number') {
          places.push(this.allocate(size));
        } else {
          if (size.includes('\0')) throw new SarvaneError('a text with a zero character can\'t be read');
          const bytes = encoder.encode(size);
          const at = this.allocate(bytes.length + 1);
          places.push(at);
          const room = new Uint8Array(this.memory, at, bytes.length + 1);
          room.set(bytes);
          room[bytes.length] = 0;
        }
      }
      return use(...places);
    } finally {
      this.free(...places);
    }
  }
}
