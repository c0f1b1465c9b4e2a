// Binary property lists and keyed archives, as docs/phone-link.md describes them.

/** A reference into a keyed archive. */
export class Reference {
  constructor(entry) {
    this.entry = entry;
  }
}

/** A number that is to be written as a real number even when it is whole. */
export class Real {
  constructor(value) {
    this.value = value;
  }
}

const MOST_NESTING = 64;
const MOST_NODES = 1_048_576;

/** Numbers in 1, 2, 4 or 8 bytes, big-endian. */
function bigEndian(number, size) {
  const bytes = Buffer.alloc(8);
  bytes.writeBigUInt64BE(BigInt.asUintN(64, BigInt(number)));
  return bytes.subarray(8 - size);
}

function integer(number) {
  const value = BigInt(number);
  for (const [power, size] of [[0, 1], [1, 2], [2, 4]]) {
    if (value >= 0n && value < 1n << BigInt(size * 8)) return Buffer.concat([Buffer.from([0x10 | power]), bigEndian(value, size)]);
  }
  return Buffer.concat([Buffer.from([0x13]), bigEndian(value, 8)]);
}

function head(kind, count) {
  return count < 15 ? Buffer.from([(kind << 4) | count]) : Buffer.concat([Buffer.from([(kind << 4) | 15]), integer(count)]);
}

function leaf(value) {
  if (value === null || value === undefined) return Buffer.from([0x00]);
  if (typeof value === 'boolean') return Buffer.from([value ? 0x09 : 0x08]);
  if (typeof value === 'bigint' || Number.isInteger(value)) return integer(value);
  if (typeof value === 'number' || value instanceof Real) {
    const bytes = Buffer.alloc(9);
    bytes[0] = 0x23;
    bytes.writeDoubleBE(Number(value.value ?? value), 1);
    return bytes;
  }
  if (Buffer.isBuffer(value)) return Buffer.concat([head(4, value.length), value]);
  if (value instanceof Reference) return Buffer.concat([Buffer.from([0x83]), bigEndian(value.entry, 4)]);
  if (/^[\x00-\x7f]*$/.test(value)) return Buffer.concat([head(5, value.length), Buffer.from(value, 'latin1')]);
  return Buffer.concat([head(6, value.length), Buffer.from(value, 'utf16le').swap16()]);
}

const isDictionary = (value) => typeof value === 'object' && value !== null && value.constructor === Object;

export function writeList(top) {
  const objects = [];
  const add = (value) => {
    const number = objects.push(null) - 1;
    if (Array.isArray(value)) {
      const elements = value.map(add);
      objects[number] = () => Buffer.concat([head(0xa, elements.length), ...elements.map(reference)]);
    } else if (isDictionary(value)) {
      const entries = Object.entries(value).filter(([, inner]) => inner !== undefined);
      const keys = entries.map(([key]) => add(key));
      const values = entries.map(([, inner]) => add(inner));
      objects[number] = () => Buffer.concat([head(0xd, keys.length), ...keys.map(reference), ...values.map(reference)]);
    } else {
      objects[number] = () => leaf(value);
    }
    return number;
  };
  const reference = (number) => bigEndian(number, 4);
  add(top);
  const parts = [Buffer.from('bplist00')];
  const offsets = [];
  let at = 8;
  for (const make of objects) {
    offsets.push(bigEndian(at, 4));
    parts.push(make());
    at += parts.at(-1).length;
  }
  return Buffer.concat([...parts, ...offsets, Buffer.from([0, 0, 0, 0, 0, 0, 4, 4]), bigEndian(objects.length, 8), bigEndian(0, 8), bigEndian(at, 8)]);
}

/** The value that a property list holds; throws for anything else. Integers past 2^53 come as BigInt. */
export function readList(bytes) {
  const number = (at, size) => {
    if (at < 0 || at + size > bytes.length) throw new Error('past the end');
    let value = 0n;
    for (const byte of bytes.subarray(at, at + size)) value = (value << 8n) | BigInt(byte);
    return value;
  };
  if (bytes.length < 41 || bytes.toString('latin1', 0, 8) !== 'bplist00') throw new Error('no property list');
  const trailer = bytes.length - 32;
  const [offsetSize, referenceSize] = [bytes[trailer + 6], bytes[trailer + 7]];
  const [count, top, table] = [8, 16, 24].map((at) => Number(number(trailer + at, 8)));
  if (!(offsetSize >= 1 && offsetSize <= 8 && referenceSize >= 1 && referenceSize <= 8)) throw new Error('sizes');
  if (!(table >= 8 && table + count * offsetSize <= trailer)) throw new Error('table');
  let nodes = 0;

  const object = (which, depth) => {
    if (++nodes > MOST_NODES || which >= count) throw new Error('too much, or not there');
    let at = Number(number(table + which * offsetSize, offsetSize));
    const marker = bytes[at++];
    const kind = marker >> 4;
    let size = marker & 15;
    if (marker === 0x00) return null;
    if (marker === 0x08 || marker === 0x09) return marker === 0x09;
    if (kind === 1) {
      const value = size < 3 ? number(at, 1 << size) : BigInt.asIntN(64, number(at + (1 << size) - 8, 8));
      return BigInt.asIntN(53, value) === value ? Number(value) : value;
    }
    if (kind === 2 && (size === 2 || size === 3)) return size === 2 ? bytes.readFloatBE(at) : bytes.readDoubleBE(at);
    if (kind === 8) return new Reference(Number(number(at, size + 1)));
    if (size === 15) {
      const width = 1 << (bytes[at] & 15);
      size = Number(number(at + 1, width));
      at += 1 + width;
    }
    const width = { 4: 1, 5: 1, 6: 2, 0xa: referenceSize, 0xd: 2 * referenceSize }[kind];
    if (width === undefined) return null;
    if (at + size * width > table) throw new Error('past the end');
    if (kind === 4) return Buffer.from(bytes.subarray(at, at + size));
    if (kind === 5) return bytes.toString('latin1', at, at + size);
    if (kind === 6) return Buffer.from(bytes.subarray(at, at + 2 * size)).swap16().toString('utf16le');
    if (depth >= MOST_NESTING) throw new Error('too deep');
    const part = (i) => object(Number(number(at + i * referenceSize, referenceSize)), depth + 1);
    if (kind === 0xa) return Array.from({ length: size }, (_, i) => part(i));
    return Object.fromEntries(Array.from({ length: size }, (_, i) => [part(i), part(size + i)]));
  };
  return object(top, 0);
}

export function writeArchive(root) {
  const objects = ['$null'];
  const classes = new Map();
  const entry = (value) => new Reference(objects.push(value) - 1);
  const classOf = (name) => {
    if (!classes.has(name)) classes.set(name, entry({ $classname: name, $classes: [name, 'NSObject'] }));
    return classes.get(name);
  };
  const add = (value) => {
    if (value === null || value === undefined) return entry({ $class: classOf('NSNull') });
    if (Array.isArray(value)) return entry({ 'NS.objects': value.map(add), $class: classOf('NSArray') });
    if (!isDictionary(value)) return entry(value);
    const entries = Object.entries(value);
    return entry({
      'NS.keys': entries.map(([key]) => add(key)),
      'NS.objects': entries.map(([, inner]) => add(inner)),
      $class: classOf('NSDictionary'),
    });
  };
  const top = add(root);
  return writeList({ $archiver: 'NSKeyedArchiver', $version: 100000, $top: { root: top }, $objects: objects });
}

export function readArchive(bytes) {
  const { $archiver, $top, $objects } = readList(bytes);
  if ($archiver !== 'NSKeyedArchiver') throw new Error('no keyed archive');
  let nodes = 0;
  const read = (reference, depth) => {
    if (depth > MOST_NESTING || ++nodes > MOST_NODES) throw new Error('too much');
    const value = reference instanceof Reference ? $objects[reference.entry] : reference;
    if (reference.entry === 0 || value === undefined) return null;
    if (!isDictionary(value)) return value;
    const name = $objects[value.$class.entry].$classname.replace('NSMutable', 'NS');
    const parts = (key) => value[key].map((one) => read(one, depth + 1));
    if (name === 'NSArray') return parts('NS.objects');
    if (name === 'NSString') return read(value['NS.string'], depth + 1);
    if (name === 'NSData') return read(value['NS.data'], depth + 1);
    if (name !== 'NSDictionary') return null;
    const values = parts('NS.objects');
    return Object.fromEntries(parts('NS.keys').map((key, i) => [key, values[i]]));
  };
  return read($top.root, 0);
}
