// Screens opened and left cost nothing that stays.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, startTalkativePair, strangeLines } from './support/watching.js';

const ROUNDS = 300;
const WARM_UP = 150;
// A screen that stayed behind would keep some kilobytes each time: three hundred would be several times this.
const MOST_GROWTH_KIB = 460;

test('screens opened and left by the hundred keep memory where it was', { skip }, async (t) => {
  const pair = await startTalkativePair();
  const { watch } = pair;
  const resident = async () => Number(/^VmRSS:\s+(\d+) kB/m.exec(await readFile(`/proc/${watch.child.pid}/status`, 'utf8'))[1]);
  const openAndLeave = async (rounds) => {
    for (let round = 0; round < rounds; round++) {
      const row = round % 3;
      const inputs = [{ select: { table: 'table', row } }, ...(row === 1 ? [{ page: 1 }, { tap: 'flipThrough' }, { back: true }] : []), { back: true }];
      for (const input of inputs) await watch.input(input);
    }
    return resident();
  };
  try {
    await eventually(async () => (await artworkIn(pair.home)).length === ARTWORK, 'all artwork');
    const memory = [await openAndLeave(WARM_UP)];
    // What a busy machine makes the allocator keep comes once; what screens leave behind comes every time.
    const grows = () => memory.length < 2 || memory.at(-1) - memory.at(-2) >= MOST_GROWTH_KIB;
    while (grows() && memory.length < 7) memory.push(await openAndLeave(ROUNDS));
    t.diagnostic(`resident ${memory.join(', then ')} KiB`);
    assert.ok(!grows(), `it grew from ${memory.join(' to ')} KiB`);
    assert.equal((await goHome(watch)).identifier, 'Home');
    assert.deepEqual(strangeLines(watch.log), []);
  } finally {
    await pair.end();
  }
});
