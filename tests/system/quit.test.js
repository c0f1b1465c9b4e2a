// However a run ends, it ends in peace; under the address sanitizer this shows who lets go too late.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { startTalkativePair, strangeLines } from './support/watching.js';

describe('quitting', { skip }, () => {
  test('while a left player still waits for its answers', async () => {
    const pair = await startTalkativePair();
    const { watch, phone } = pair;
    try {
      await phone.do('set', { silent: true });
      await watch.input({ select: { table: 'table', row: 2 } });
      await watch.input({ tap: 'playButton' });
      await watch.input({ crown: -1 });
      await eventually(() => phone.requests('volume').length > 0, 'both requests are on their way');
      await watch.input({ back: true });
      assert.deepEqual(await watch.stop(), { code: 0, signal: null });
      assert.deepEqual(strangeLines(watch.log), []);
    } finally {
      await pair.end();
    }
  });
});
