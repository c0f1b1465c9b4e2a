// What this phone has to give: fifteen songs, two lists of stations, and a plain picture for each.
import { deflateSync } from 'node:zlib';

import { crc32 } from './crc32.mjs';

const TITLES = ['Paper Boats', 'Monsoon &amp; Mint', 'Nine Lanterns', 'Slow Tram Home', 'The Baker\'s Radio', 'Salt Wind', 'Borrowed Umbrella',
                'Kites over Ferrygate', 'Copper Moon', 'Left at the Lighthouse', 'Marigold Hour', 'Two Spoons', 'Rooftop Weather',
                'A Map of Mondays', 'Last Bus, First Light'];

export const chart = {
  id: 'example-chart', title: 'Weekly Top 15', language: 'english',
  list: TITLES.map((title, i) => ({
    id: `ex${i + 1}`, title, type: 'song', language: 'english', image: `example:${i + 1}`,
    more_info: {
      album: 'Small Hours', duration: String(180 + i),
      artistMap: { primary_artists: [{ id: 'a1', name: 'The Example Players', role: 'primary_artists', type: 'artist' }], featured_artists: [], artists: [] },
    },
  })),
};

const station = (kind) => (title, i) => ({
  id: `${kind}-${i}`, title, type: 'radio_station', image: `example:${title}`, more_info: { language: 'english', color: '2a6f97' },
});
export const stations = {
  featured: ['Night Drive', 'Kitchen Floor'].map(station('featured')),
  artist: ['The Example Players'].map(station('artist')),
};

/** A square PNG (ISO/IEC 15948) of one colour that follows from a name. */
export function picture(name, side = 120) {
  const colour = [...name].reduce((sum, character) => (sum * 31 + character.codePointAt(0)) >>> 0, 7);
  const row = Buffer.concat([Buffer.from([0]), Buffer.alloc(side * 3, Buffer.from([colour & 255, (colour >> 8) & 255, (colour >> 16) & 255]))]);
  const chunk = (type, body) => {
    const named = Buffer.concat([Buffer.from(type), body]);
    const [size, sum] = [Buffer.alloc(4), Buffer.alloc(4)];
    size.writeUInt32BE(body.length);
    sum.writeUInt32BE(crc32(named));
    return Buffer.concat([size, named, sum]);
  };
  const header = Buffer.alloc(13);
  header.writeUInt32BE(side, 0);
  header.writeUInt32BE(side, 4);
  header.set([8, 2, 0, 0, 0], 8);
  return Buffer.concat([Buffer.from('89504e470d0a1a0a', 'hex'), chunk('IHDR', header),
                        chunk('IDAT', deflateSync(Buffer.concat(Array(side).fill(row)))), chunk('IEND', Buffer.alloc(0))]);
}
