// A thousand screens opened and left cost nothing that stays.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { Lines } from './support/lines.js';
import { ARTWORK, artworkIn, goHome, startTalkativePair, strangeLines } from './support/watching.js';

const ROUNDS = 1000;
const WARM_UP = 150;
// A screen that stayed behind would keep some kilobytes each time: a thousand would be several times this.
const MOST_GROWTH_KIB = 1536;
const VOLUMES = 300;

describe('steadiness', { skip }, () => {
  let pair, watch, phone, lines;
  before(async () => {
    pair = await startTalkativePair();
    ({ watch, phone } = pair);
    lines = new Lines(phone);
    await eventually(async () => (await artworkIn(pair.home)).length === ARTWORK, 'all artwork');
  });
  after(() => pair?.end());

  const resident = async () => Number(/^VmRSS:\s+(\d+) kB/m.exec(await readFile(`/proc/${watch.child.pid}/status`, 'utf8'))[1]);
  /** Processor time of the watch so far, in ticks of 10 ms: fields 14 and 15 of proc(5), after the name. */
  const ticks = async () => {
    const fields = (await readFile(`/proc/${watch.child.pid}/stat`, 'utf8')).split(') ')[1].split(' ');
    return Number(fields[11]) + Number(fields[12]);
  };

  async function openAndLeave(round) {
    const row = round % 3;
    await watch.input({ select: { table: 'table', row } });
    if (row === 1) {
      await watch.input({ page: 1 });
      await watch.input({ tap: 'flipThrough' });
      await watch.input({ back: true });
    }
    await watch.input({ back: true });
  }

  /** What it costs that the volume changes, which every player screen alive observes and stores. */
  async function costOfVolumes() {
    const before = await ticks();
    const refs = Array.from({ length: VOLUMES }, (_, i) => lines.tell('message', { body: { t: 'dict', v: {
      request: { t: 'str', v: 'volume' }, value: { t: 'int', v: String(i % 11) } } } }));
    await lines.outcomes(refs);
    await watch.screen();  // answered by the main queue, after what was posted on it
    return (await ticks()) - before;
  }

  test('a thousand screens leave memory and observers where they were', async (t) => {
    for (let round = 0; round < WARM_UP; round++) await openAndLeave(round);
    const [memory, cost] = [await resident(), await costOfVolumes()];
    for (let round = 0; round < ROUNDS; round++) await openAndLeave(round);
    const [memoryAfter, costAfter] = [await resident(), await costOfVolumes()];
    t.diagnostic(`resident ${memory} KiB, then ${memoryAfter} KiB; ${VOLUMES} volumes ${cost * 10} ms, then ${costAfter * 10} ms`);
    assert.ok(memoryAfter - memory < MOST_GROWTH_KIB, `${memory} KiB grew to ${memoryAfter} KiB`);
    // A third of the screens were players: had they stayed, this would be hundreds of times as much.
    assert.ok(costAfter <= 5 * cost + 20, `${cost} ticks became ${costAfter}`);
    assert.equal((await goHome(watch)).identifier, 'Home');
    assert.deepEqual(strangeLines(watch.log), []);
  });
});
