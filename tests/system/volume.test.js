// The volume, turned at both ends at once.
import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, test } from 'node:test';

import { eventually, find, skip } from '../browser/support/programs.js';
import { goHome, phoneState, randomFrom, startTalkativePair, strangeLines } from './support/watching.js';

describe('volume', { skip }, () => {
  let pair, watch, phone;
  before(async () => {
    pair = await startTalkativePair();
    ({ watch, phone } = pair);
  });
  after(() => pair?.end());
  beforeEach(async () => {
    await goHome(watch);
    await watch.input({ select: { table: 'table', row: 2 } });
  });

  const picker = (screen) => find(screen.tree, 'volumePicker').selected;
  const slider = (screen) => find(screen.tree, 'volumeSlider').value;
  for (const seed of [1, 2, 3]) {
    test(`a fast spin, and the phone at once: both ends agree within a second (seed ${seed})`, async () => {
      const random = randomFrom(seed);
      const spin = [];
      for (let i = 0; i < 60; i++) {
        spin.push(watch.input({ crown: random() < 0.5 ? 1 : -1 }));
        if (i % 4 === 0) spin.push(phone.do('volume', { value: Math.floor(random() * 11) }));
        await new Promise(setImmediate);
      }
      await Promise.all(spin);
      const end = performance.now();
      let agreedAt;
      await eventually(async () => {
        const [screen, state] = [await watch.screen(), await phoneState(phone)];
        const agree = picker(screen) === state.volume && slider(screen) === state.volume;
        if (!agree) agreedAt = undefined;
        agreedAt ??= agree ? performance.now() : undefined;
        return performance.now() - end > 1500;
      }, 'time to settle');
      assert.ok(agreedAt, 'both ends agree in the end');
      assert.ok(agreedAt - end < 1000, `they agreed after ${Math.round(agreedAt - end)} ms`);
    });
  }

  // Under the address sanitizer this shows who lets go too late.
  test('quitting while a left player still waits for its answers ends in peace', async () => {
    await phone.do('set', { silent: true });
    await watch.input({ tap: 'playButton' });
    const before = phone.requests('volume').length;
    await watch.input({ crown: picker(await watch.screen()) > 0 ? -1 : 1 });
    await eventually(() => phone.requests('volume').length > before, 'both requests are on their way');
    await watch.input({ back: true });
    assert.deepEqual(await watch.stop(), { code: 0, signal: null });
    assert.deepEqual(strangeLines(watch.log), []);
  });
});
