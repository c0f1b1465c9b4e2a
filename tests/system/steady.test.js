// A thousand screens opened and left cost nothing that stays.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, startTalkativePair, strangeLines } from './support/watching.js';

const ROUNDS = 1000;
const WARM_UP = 150;
// A screen that stayed behind would keep some kilobytes each time: a thousand would be several times this.
const MOST_GROWTH_KIB = 1536;

describe('steadiness', { skip }, () => {
  let pair, watch;
  before(async () => {
    pair = await startTalkativePair();
    ({ watch } = pair);
    await eventually(async () => (await artworkIn(pair.home)).length === ARTWORK, 'all artwork');
  });
  after(() => pair?.end());

  const resident = async () => Number(/^VmRSS:\s+(\d+) kB/m.exec(await readFile(`/proc/${watch.child.pid}/status`, 'utf8'))[1]);

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

  test('a thousand screens leave memory where it was', async (t) => {
    for (let round = 0; round < WARM_UP; round++) await openAndLeave(round);
    const memory = await resident();
    for (let round = 0; round < ROUNDS; round++) await openAndLeave(round);
    const memoryAfter = await resident();
    t.diagnostic(`resident ${memory} KiB, then ${memoryAfter} KiB`);
    assert.ok(memoryAfter - memory < MOST_GROWTH_KIB, `${memory} KiB grew to ${memoryAfter} KiB`);
    assert.equal((await goHome(watch)).identifier, 'Home');
    assert.deepEqual(strangeLines(watch.log), []);
  });
});
