// What the tests of the whole system share beyond starting the programs.
import { readdir } from 'node:fs/promises';
import { join, resolve } from 'node:path';

import { find, startPair } from '../../browser/support/programs.js';

const folder = process.env.TUNEVALE_BIN ?? new URL('../../../build/dev/src/apps', import.meta.url).pathname;
export const program = (name) => resolve(join(folder, name));

/** A watch and a phone, which has sent all it has; long conversations are parsed once, not at every look. */
export async function startTalkativePair(options) {
  const pair = await startPair(options);
  const { phone } = pair;
  const events = [];
  Object.defineProperty(phone, 'events', { get() {
    for (const line of phone.lines.slice(events.length)) events.push(JSON.parse(line));
    return events;
  } });
  return pair;
}

/** Every line that the watch may log while nothing is wrong with the machine under it. */
const LITERALS = new RegExp('^(Launching app launch successful|Unable to (launch or wake up phone app|purge image cache ): |' +
  'applicationContext:|Receiving File:file://|This should not happen$|Error (writing File|handling message): |' +
  'Selected Song:|rowIndex:\\d+$|Selected Dict: |Reply message : |Received reply : |Error Firing radio : |' +
  'DV:>>> Reply received$|Error is : )');

export const strangeLines = (log) => log.filter((line) => !LITERALS.test(line));

/** Answers alerts and goes back until the home screen is there. */
export async function goHome(watch) {
  for (let steps = 0; steps < 50; steps++) {
    const screen = await watch.screen();
    if (!screen.foreground) await watch.input({ foreground: true });
    else if (screen.alert) await watch.input({ alert: 0 });
    else if (screen.back !== null) await watch.input({ back: true });
    else return screen;
  }
  throw new Error('no way home');
}

export const rowTexts = (screen, table, outlet) =>
  find(screen.tree, table).rows.map((row) => find(row.tree, outlet).text);

export const textOf = (screen, outlet) => find(screen.tree, outlet)?.text;

/** The phone's own state, as it is now. */
export async function phoneState(phone) {
  await phone.do('state');
  return phone.events.findLast((event) => event.event === 'state');
}

/** How many pictures of its chart and stations the phone sends: two and twice twelve. */
export const ARTWORK = 26;

/** The names of the cached pictures, as the watch's home has them now. */
export async function artworkIn(home) {
  return readdir(join(home, 'Documents/ImageCache')).catch((error) => {
    if (error.code === 'ENOENT') return [];
    throw error;
  });
}

/** Whether each thing that the phone sent since it last found the watch has been answered. */
export function settled(phone) {
  const { events } = phone;
  const connected = events.findLastIndex((event) => event.event === 'link' && event.connected);
  const since = events.slice(connected).filter(({ n }) => n !== undefined);
  const done = new Set(since.filter(({ event }) => event === 'outcome').map(({ n }) => n));
  return since.every(({ event, n }) => event !== 'sent' || done.has(n));
}

/** Numbers from 0 to 1 that a seed determines: mulberry32, by Tommy Ettinger (public domain). */
export function randomFrom(seed) {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let mixed = Math.imul(state ^ (state >>> 15), state | 1);
    mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}
