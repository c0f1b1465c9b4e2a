// The volume, turned at both ends at once, and a watch that quits with a turn unanswered.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { eventually, find, skip } from '../browser/support/programs.js';
import { phoneState, randomFrom, startTalkativePair, strangeLines } from './support/watching.js';

test('a fast spin, and the phone at once: both ends come to agree, and quitting is in peace', { skip }, async () => {
  const pair = await startTalkativePair();
  const { watch, phone } = pair;
  const random = randomFrom(1);
  const shown = ({ tree }) => [find(tree, 'volumePicker').selected, find(tree, 'volumeSlider').value];
  try {
    await watch.input({ select: { table: 'table', row: 2 } });
    const spin = [];
    for (let i = 0; i < 60; i++) {
      spin.push(watch.input({ crown: random() < 0.5 ? 1 : -1 }));
      if (i % 4 === 0) spin.push(phone.do('volume', { value: Math.floor(random() * 11) }));
      await new Promise(setImmediate);
    }
    await Promise.all(spin);
    let agreedAt;
    await eventually(async () => {
      const [screen, state] = [await watch.screen(), await phoneState(phone)];
      const agree = shown(screen).every((volume) => volume === state.volume);
      agreedAt = agree ? agreedAt ?? performance.now() : undefined;
      return performance.now() - agreedAt > 1000;
    }, 'a whole second in which they agree');

    // Under the address sanitizer this shows who lets go too late.
    await phone.do('set', { silent: true });
    await watch.input({ tap: 'playButton' });
    const before = phone.requests('volume').length;
    await watch.input({ crown: shown(await watch.screen())[0] > 0 ? -1 : 1 });
    await eventually(() => phone.requests('volume').length > before, 'both requests are on their way');
    await watch.input({ back: true });
    assert.deepEqual(await watch.stop(), { code: 0, signal: null });
    assert.deepEqual(strangeLines(watch.log), []);
  } finally {
    await pair.end();
  }
});
