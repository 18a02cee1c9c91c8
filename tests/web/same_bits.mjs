// Runs the program same_bits, compiled to WebAssembly: all results of all classes against those of other platforms.
import fs from 'node:fs';
import {WASI} from 'node:wasi';

const wasi = new WASI({
  version: 'preview1', returnOnExit: true, preopens: {'/sarvane': process.cwd()},
  args: ['same_bits', '/sarvane/data/sp500_daily.csv', '/sarvane/tests/same_bits/fingerprints.txt'],
});
const imports = {wasi_snapshot_preview1: wasi.wasiImport};
process.exitCode = wasi.start((await WebAssembly.instantiate(fs.readFileSync(process.argv[2]), imports)).instance);
