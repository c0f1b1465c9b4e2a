#!/usr/bin/env node
// A small phone, written from docs/phone-link.md alone: pairs with a watch, gives it a chart, stations and artwork,
// and plays (silently) what the watch asks for. Prints one JSON event a line. It needs Node.js 18.3 and nothing else.
//
//   phone.mjs --home DIR --pair ADDRESS     pairs first; asks here when the address has no token
//   phone.mjs --home DIR --link HOST:PORT   connects to the watch that it is paired with
//
// It ends with its input or by SIGTERM. The line "unpair" on its input ends the pairing.
import { closeSync, existsSync, fsyncSync, mkdirSync, openSync, readFileSync, renameSync, writeSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { parseArgs } from 'node:util';

import { chart, picture, stations } from './catalogue.mjs';
import { newIdentity } from './identity.mjs';
import { pair, parseAddress } from './pairing.mjs';
import { writeArchive } from './plist.mjs';
import { newQueues, Session } from './session.mjs';

const { values: options } = parseArgs({ options: { home: { type: 'string' }, pair: { type: 'string' }, link: { type: 'string' } } });
if (!options.home || !(options.pair || options.link)) {
  console.error('usage: phone.mjs --home DIR --pair ADDRESS | --link HOST:PORT');
  process.exit(2);
}
const event = (name, what = '') => console.log(JSON.stringify({ event: name, what }));

/** All that outlives this process: identity, pin and queues, in one file that is replaced as a whole. */
class Store {
  #path = join(options.home, 'phone.json');

  constructor() {
    mkdirSync(options.home, { recursive: true, mode: 0o700 });
    const revive = (_, value) => (value?.type === 'Buffer' ? Buffer.from(value.data) : value);
    Object.assign(this, existsSync(this.#path) ? JSON.parse(readFileSync(this.#path, 'utf8'), revive)
                                               : { identity: newIdentity(), pin: null, queues: newQueues() });
    this.save();
  }

  save() {
    const file = openSync(`${this.#path}.new`, 'w', 0o600);
    writeSync(file, JSON.stringify({ identity: this.identity, pin: this.pin, queues: this.queues }));
    fsyncSync(file);
    closeSync(file);
    renameSync(`${this.#path}.new`, this.#path);
  }

  pair(pin) {
    if (!this.pin?.equals(pin)) this.queues = newQueues();
    this.pin = pin;
    this.save();
  }
  unpair() {
    [this.pin, this.queues] = [null, newQueues()];
    this.save();
  }

  setContext(context) {
    this.queues.context = context;
    this.queues.contextVersion++;
    this.save();
  }
  queueFile(name, metadata) {
    this.queues.files.push({ number: this.queues.nextFile++, data: picture(name), metadata });
  }
}

const store = new Store();
const lines = createInterface({ input: process.stdin });
const player = { queue: [], at: 0, playing: false, volume: 6 };
let session = null;
let quitting = false;
let owesContext = false;  // the chart has gone as message data and not yet as context
let servedRun = '';  // of the watch; each gets everything once

/** What the watch asks, by its name. */
const answers = {
  Hello: () => { if (!servedRun) push(); },
  fetch_app_data: () => { push(); },
  watch_purged_cache: () => { pushArtwork(); },
  weekly_top_15: () => {
    // It has the chart; the context is the form that it reads its list of songs back from. That is acknowledged too.
    if (!owesContext) return;
    owesContext = false;
    store.setContext({ weekly_top_15: writeArchive(chart), push: `${Date.now()}` });
    session.wake();
  },
  currentPlayingSong: () => ({
    currentPlayingSong: writeArchive({ ...(player.queue.length ? { songInfo: player.queue[player.at] } : {}), status: player.playing ? 'playing' : 'paused' }),
  }),
  playWeeklyTop15: ({ data, currentPosition }) => play(data ?? [], Number(currentPosition)),
  playRadio: ({ dataSource }) => play(chart.list, String(dataSource?.title).length % chart.list.length),
  playMedia: ({ weekly_top_15 }) => play(player.queue.length || !weekly_top_15 ? player.queue : chart.list, player.at),
  pauseMedia: () => { player.playing = false; tellPlayer(); },
  nextMedia: () => play(player.queue, (player.at + 1) % player.queue.length),
  prevMedia: () => play(player.queue, Math.max(0, player.at - 1)),
  volume: ({ level }) => { player.volume = Math.round(Number(level) * 10); },
  downloadSong: ({ data }) => ({ downloadSong: `“${data?.title}” is now on your phone.` }),
  cachedSongList: () => ({ pids: [] }),
};

function play(queue, at) {
  if (!queue[at]) return { error: 'There is nothing to play.' };
  Object.assign(player, { queue, at, playing: true });
  event('playing', queue[at].title);
  tellPlayer();
}

function tellPlayer() {
  const song = player.queue[player.at];
  if (song) data('player', player.playing ? { appPlaying: song, volume: player.volume } : { appPaused: song });
}

/** Message data is never answered: 7011 says that the watch has handled it. */
function data(what, value) {
  session?.messageData(value).catch((error) => event(error.message.startsWith('7011') ? 'taken' : 'failed', what));
}

function push() {
  session.message({ request: 'volume', value: player.volume }).then(() => event('taken', 'volume'), () => event('failed', 'volume'));
  owesContext = true;
  data('chart', { weekly_top_15: chart });
  data('stations', { radio_stations: stations });
  pushArtwork();
}

function pushArtwork() {
  store.queues.files = [];
  for (const name of ['weekly_top_15', 'weekly_top_15_blur']) store.queueFile(name, { playlist_image: 'weekly_top_15', image_name: name });
  for (const [kind, list] of Object.entries(stations)) {
    for (const { title } of list) store.queueFile(title, { radio_image: kind, radio_title: title });
  }
  store.save();
  session.wake();
}

const handler = {
  request(name, message) {
    event('request', name);
    const answer = answers[name]?.(message);
    return answer ?? { request: 'success' };
  },
  event(name, what) {
    event(name, what);
    if (name === 'unpaired') store.unpair();
    if (name === 'connected' && what !== servedRun) {
      servedRun = what;
      setImmediate(push);
    }
  },
};

async function pairNow(address) {
  const ask = (code) => new Promise((resolve) => {
    event('code', `${code.slice(0, 3)} ${code.slice(3)}`);
    lines.once('line', (line) => resolve(line === 'yes'));
  });
  await pair(address, store.identity, { confirm: ask, pin: (pin) => store.pair(pin) });
  event('paired', store.pin.toString('hex'));
}

async function stayConnected({ host, port }) {
  for (let failures = 0; !quitting && store.pin; failures++) {
    const since = Date.now();
    try {
      session = await Session.open({ host, port, identity: store.identity, wanted: store.pin }, store, handler);
      await session.ended;
    } catch (error) {
      event('away', error.message);
    }
    if (Date.now() - since > 10_000) failures = 0;
    await new Promise((wake) => setTimeout(wake, Math.random() * Math.min(2000, 250 * 2 ** failures)));
  }
}

function quit() {
  quitting = true;
  session?.close('closed on purpose');
  setTimeout(() => process.exit(0), 200);
}
process.on('SIGTERM', quit);

const address = parseAddress(options.pair ?? options.link);
try {
  if (options.pair) await pairNow(address);
} catch (error) {
  event('not paired', error.message);
  process.exit(1);
}
lines.on('close', quit);
lines.on('line', (line) => {
  if (line !== 'unpair') return;
  session?.unpair();
  store.unpair();
  event('unpaired');
});
await stayConnected(address);
process.exit(0);
