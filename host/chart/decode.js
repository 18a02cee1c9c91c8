// Reads what the program wrote into the page (page_data.h).

function bytesOf(base64) {
  const letters = atob(base64), bytes = new Uint8Array(letters.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = letters.charCodeAt(i);
  return bytes;
}

// The description, and the bytes of the columns.
async function unpackPage(text) {
  const stream = new Blob([bytesOf(text)]).stream().pipeThrough(new DecompressionStream('deflate'));
  const bytes = new Uint8Array(await new Response(stream).arrayBuffer());
  const start = 4 + new DataView(bytes.buffer).getUint32(0, true);
  return {study: JSON.parse(new TextDecoder().decode(bytes.subarray(4, start))), columns: bytes.subarray(start)};
}

// Whole numbers of the last decimal, each written as its difference from the one before.
function unpackDifferences(bytes, count, decimals) {
  const values = new Float64Array(count);
  let power = 1;
  for (let i = 0; i < decimals; ++i) power *= 10;
  for (let bar = 0, at = 0, number = 0; bar < count; ++bar) {
    let code = 0, place = 1, byte;
    do {
      byte = bytes[at++];
      code += (byte & 0x7f) * place;
      place *= 128;
    } while (byte & 0x80);
    if (code === 0) {
      values[bar] = NaN;
      continue;
    }
    const isDown = code % 2 === 0;  // 1 stands for 0, 2 for -1, 3 for 1
    number += isDown ? -code / 2 : (code - 1) / 2;
    values[bar] = number / power;
  }
  return values;
}

// The lowest bytes of all values, then their second bytes, and so on.
function unpackDoubles(bytes, count) {
  const values = new Float64Array(count), view = new DataView(values.buffer);
  for (let byte = 0; byte < 8; ++byte) {
    for (let bar = 0; bar < count; ++bar) view.setUint8(8 * bar + byte, bytes[byte * count + bar]);
  }
  return Float64Array.from(values, (_, bar) => view.getFloat64(8 * bar, true));
}

// The values in room for more, so that whoever holds the column sees those that come.
const roomForBars = 100000;
function growing(values) {
  const buffer = new ArrayBuffer(8 * values.length, {maxByteLength: 8 * (values.length + roomForBars)});
  const column = new Float64Array(buffer);
  column.set(values);
  return column;
}

// Values by bar; a gap is NaN. Null for no column.
function unpackColumn(packed) {
  if (!packed) return null;
  const {count, at, decimals} = packed, bytes = columnBytes.subarray(at);
  const values = decimals === undefined ? unpackDoubles(bytes, count) : unpackDifferences(bytes, count, decimals);
  return study.live ? growing(values) : values;
}
