// The station picker full of pictures as large as they may be, while more arrive and the crown turns.
import { mkdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { deflateSync } from 'node:zlib';

import { find, eventually, Phone, Watch } from '../tests/browser/support/programs.js';
import { tagged } from './tagged.mjs';

const SIDE = 2048;
const ARRIVING = 100;
const AROUND = 3;  // pictures on each side of the selected one that a display has

function crc(bytes) {
  let sum = ~0;
  for (const byte of bytes) {
    sum ^= byte;
    for (let bit = 0; bit < 8; bit++) sum = (sum >>> 1) ^ (sum & 1 ? 0xedb88320 : 0);
  }
  return ~sum >>> 0;
}

function chunk(type, data) {
  const bytes = Buffer.alloc(data.length + 12);
  bytes.writeUInt32BE(data.length);
  bytes.write(type, 4, 'latin1');
  data.copy(bytes, 8);
  bytes.writeUInt32BE(crc(bytes.subarray(4, -4)), data.length + 8);
  return bytes;
}

/** A picture of one colour, a few kilobytes that decode to 16 MiB. */
function png() {
  const header = Buffer.alloc(13);
  header.writeUInt32BE(SIDE, 0);
  header.writeUInt32BE(SIDE, 4);
  header.set([8, 2], 8);  // red, green, blue
  const rows = Buffer.alloc(SIDE * (1 + 3 * SIDE), 0x60);
  for (let row = 0; row < SIDE; row++) rows[row * (1 + 3 * SIDE)] = 0;
  return Buffer.concat([Buffer.from('\x89PNG\r\n\x1a\n', 'latin1'), chunk('IHDR', header),
                        chunk('IDAT', deflateSync(rows)), chunk('IEND', Buffer.alloc(0))]);
}

const title = (i) => `Station ${i}`;
const record = (i) => ({ title: title(i), more_info: { language: 'english', color: '#406080' } });

async function timedCrown(watch, turn) {
  const begin = performance.now();
  const answer = await fetch(new URL('/api/input', watch.url), { method: 'POST', body: JSON.stringify({ crown: turn }) });
  await answer.arrayBuffer();
  return performance.now() - begin;
}

/** What a display does after a step: asks for the pictures around the selected one. */
async function look(watch) {
  const picker = find((await watch.screen()).tree, 'radioPicker');
  const near = picker.items.slice(Math.max(0, picker.selected - AROUND), picker.selected + AROUND + 1);
  for (const { image } of near) if (image) await (await fetch(new URL(`/api/image/${image}`, watch.url))).arrayBuffer();
  return picker.items.filter(({ image }) => image).length;
}

/** `home` is empty; `resident` gives a watch's memory as text, `row` takes a line of the table. */
export async function measurePictures(home, count, { resident, row, spread }) {
  const artwork = join(home, 'Documents/ImageCache');
  await mkdir(artwork, { recursive: true });
  const picture = png();
  for (let i = 0; i < count; i++) await writeFile(join(artwork, `Station_${i}_image.png`), picture);
  await writeFile(join(home, 'arriving.png'), picture);

  const watch = await Watch.start(home, { pairing: true });
  let phone;
  try {
    phone = await Phone.start(join(home, 'Phone'), { pairing: watch.pairing, more: ['--no-push'] });
    await eventually(() => phone.events.some(({ event, connected }) => event === 'link' && connected), 'a link');
    const stations = Array.from({ length: count + ARRIVING }, (_, i) => record(i)).slice(-2000);
    await phone.do('data', { body: tagged({ radio_stations: { featured: stations.reverse() } }) });
    await eventually(async () => (await watch.input({ select: { table: 'table', row: 1 } })).identifier === 'RadioHomeView', 'stations');
    const begin = performance.now();
    await watch.input({ tap: 'flipThrough' });
    const opening = performance.now() - begin;
    const label = `${count} stations with pictures of ${SIDE} px`;
    const pictures = await look(watch);
    row(`resident, ${label}`, `${await resident(watch)}; opened in ${opening.toFixed(0)} ms`);

    for (let i = 0; i < ARRIVING; i++) {
      const metadata = tagged({ radio_image: 'x', radio_title: title(count + i) });
      phone.child.stdin.write(`${JSON.stringify({ do: 'file', path: join(home, 'arriving.png'), metadata })}\n`);
    }
    const times = [];
    for (let step = 0, all = pictures; all < pictures + ARRIVING; step++) {
      times.push(await timedCrown(watch, step % 40 < 20 ? 1 : -1));
      if (step % 8 === 0) all = await look(watch);
    }
    row(`crown while ${ARRIVING} arrive, ${label}`, `${spread(times)}, latest ${Math.max(...times).toFixed(1)} ms of ${times.length}`);
    row(`resident after that, ${label}`, await resident(watch));
  } finally {
    await phone?.stop();
    await watch.stop();
  }
}
