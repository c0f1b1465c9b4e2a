// Two hundred random inputs and phone events leave nothing behind that a fresh watch would not show.
// SEED=… replays a run's choices.
import assert from 'node:assert/strict';
import { cp, mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { describe, test } from 'node:test';

import { eventually, find, skip, Watch } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, phoneState,
         randomFrom, settled, startTalkativePair, strangeLines } from './support/watching.js';

const EVENTS = 200;
const PATIENCE_MS = 60;
const CALM = { locked: false, reachable: true, refuse: '', silent: false, failing: false };
const LANGUAGES = ['english', 'hindi', 'tamil'];

/** What a person could do on a screen, and a little of what they could not. */
function inputsOn(screen, pick, whole) {
  if (!screen.foreground) return [{ foreground: true }];
  if (screen.alert) return [{ alert: 0 }];
  const inputs = [{ crown: whole(9) - 4 }, { crown: whole(3) - 1 }, { foreground: false }, { back: true }, { tap: 'nothing' }];
  if (screen.back !== null) inputs.push({ back: true });
  if (screen.pages) inputs.push({ page: whole(screen.pages.count) }, { page: 7 });
  const visit = (node) => {
    const name = node.outlet ?? node.name;
    if (node.kind === 'button' && name && node.enabled !== false && !node.hidden) {
      inputs.push({ tap: name }, { tap: name });
    }
    if (node.kind === 'picker' && name && node.items?.length) {
      inputs.push({ pick: { picker: name, index: whole(node.items.length) } });
    }
    if (node.kind === 'table' && node.rows?.length) {
      const row = whole(node.rows.length);
      const choice = { select: { table: node.outlet, row } };
      inputs.push(choice, choice, choice);
      const download = find(node.rows[row].tree, 'downloadButton');
      if (download) inputs.push({ tap: { table: node.outlet, row, outlet: 'downloadButton' } });
    }
    for (const child of node.children ?? []) visit(child);
  };
  visit(screen.tree);
  for (const name of ['flipThrough', 'playAll', 'playRadio', 'featuredRadio']) if (find(screen.tree, name)) inputs.push({ tap: name });
  return [pick(inputs)];
}

/** Ids of a few songs of the phone's. */
const ids = (whole) => [...new Set(Array.from({ length: whole(4) }, () =>
  `${['eng', 'hin', 'tam'][whole(3)]}${String(1 + whole(15)).padStart(3, '0')}`))];

function phoneEvent(pick, whole) {
  return pick([
    () => ['play'], () => ['pause'], () => ['next'], () => ['prev'], () => ['play_episode'], () => ['empty_queue'],
    () => ['play_song', { index: whole(15) }],
    () => ['play_station', { type: pick(['featured', 'artist']), index: whole(12) }],
    () => ['volume', { value: whole(11) }], () => ['volume', { value: whole(11) }],
    () => ['cached', { add: ids(whole), remove: ids(whole) }],
    () => ['push_chart', { language: pick(LANGUAGES) }],
    () => ['push_user_info', { language: pick(LANGUAGES) }],
    () => ['push_stations'], () => ['push_artwork'], () => ['push_cached'], () => ['push_now_playing'],
    () => ['set', { locked: true }], () => ['set', { reachable: false }], () => ['set', { refuse: 'Not now' }],
    () => ['set', { silent: true }], () => ['set', { failing: true }],
    () => ['set', CALM], () => ['set', CALM], () => ['set', CALM],
  ])();
}

/** Every screen, freshly opened. The number of changes so far is not a part of what is shown, and a picture's name
 * is that of a file in its home. */
async function tour(watch) {
  const shown = {};
  const keep = (name, { version, pairing, ...screen }) =>
    (shown[name] = JSON.parse(JSON.stringify(screen).replace(/"art-[0-9a-f]+"/g, '"art"')));
  keep('home', await goHome(watch));
  for (const [row, name] of [[0, 'playlist'], [2, 'player']]) {
    keep(name, await watch.input({ select: { table: 'table', row } }));
    await watch.input({ back: true });
  }
  keep('featured', await watch.input({ select: { table: 'table', row: 1 } }));
  keep('featured picker', await watch.input({ tap: 'flipThrough' }));
  await watch.input({ back: true });
  keep('artists', await watch.input({ page: 1 }));
  keep('artists picker', await watch.input({ tap: 'flipThrough' }));
  await goHome(watch);
  return shown;
}

describe('two hundred random events', { skip }, () => {
  test('end in what a fresh watch shows', async (t) => {
    const seed = Number(process.env.SEED ?? Math.floor(Math.random() * 2 ** 32));
    t.diagnostic(`SEED=${seed}`);
    let random = randomFrom(seed);
    const whole = (below) => Math.floor(random() * below);
    const pick = (list) => list[whole(list.length)];
    const pair = await startTalkativePair();
    const { phone } = pair;
    const copy = await mkdtemp(join(tmpdir(), 'tunevale-copy-'));
    const [done, answers] = [[], []];
    try {
      const { watch } = pair;
      let calmAfter = 0;  // no phone stays out of reach or silent for long
      for (let i = 0; i < EVENTS; i++) {
        // Each step has numbers of its own, so that a replay keeps in step whatever a screen offered in the meantime.
        random = randomFrom(seed ^ Math.imul(i + 1, 0x9e3779b1));
        if (whole(5) < 3) {
          const [input] = inputsOn(await watch.screen(), pick, whole);
          done.push(JSON.stringify(input));
          // A screen may have changed since it was read: then the input is refused, and nothing else.
          const answer = watch.input(input).catch((error) => assert.match(error.message, /^409: /, JSON.stringify(input)));
          answers.push(answer);
          // While a phone owes an answer, inputs are answered late: a person does not wait for that.
          await Promise.race([answer, new Promise((enough) => setTimeout(enough, PATIENCE_MS))]);
        } else {
          const [name, more] = phoneEvent(pick, whole);
          done.push(`${name} ${JSON.stringify(more ?? {})}`);
          await phone.do(name, more);
          if (name === 'set') calmAfter = more === CALM ? 0 : i + 6;
        }
        if (i === calmAfter) await phone.do('set', CALM);
      }

      await Promise.all(answers);
      await phone.do('set', CALM);
      // What only memory knows is told anew: a fresh watch has never heard of a song that has ended.
      if ((await phoneState(phone)).song === null) await phone.do('play_song', { index: whole(15) });
      for (const value of [1, 2, whole(11)]) await phone.do('volume', { value });
      await watch.until((s) => s.phone.reachable && !s.phone.locked);
      await eventually(async () => settled(phone) && (await artworkIn(pair.home)).length >= ARTWORK, 'everything is told');
      const before = await tour(watch);
      assert.deepEqual(strangeLines(watch.log), []);

      const { display, link } = watch;
      assert.deepEqual(await watch.stop(), { code: 0, signal: null });
      await cp(pair.home, copy, { recursive: true });
      const lines = phone.lines.length;
      pair.watch = await Watch.start(copy, { display, link });
      await pair.watch.until((s) => s.phone.reachable);
      await eventually(() => phone.lines.length > lines && phone.events.slice(lines).some((e) => e.what === 'stations' && e.event === 'outcome') &&
                             settled(phone), 'the fresh watch was told everything');
      assert.deepEqual(await tour(pair.watch), before);
      assert.deepEqual(strangeLines(pair.watch.log), []);
    } catch (error) {
      t.diagnostic(`SEED=${seed}: ${done.join('; ')}`);
      throw error;
    } finally {
      await pair.end();
      await rm(copy, { recursive: true, force: true });
    }
  });
});
