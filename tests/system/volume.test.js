// The volume, turned at both ends at once.
import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, test } from 'node:test';

import { eventually, find, skip } from '../browser/support/programs.js';
import { goHome, phoneState, randomFrom, startTalkativePair } from './support/watching.js';

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

  const sent = () => phone.requests('volume').map(({ level }) => level);
  const picker = (screen) => find(screen.tree, 'volumePicker').selected;
  const slider = (screen) => find(screen.tree, 'volumeSlider').value;
  const both = (value) => watch.until((s) => picker(s) === value && slider(s) === value);
  const phoneSets = async (value) => {
    await phone.do('volume', { value });
    await both(value);
  };

  test('every step is sent in tenths, in single precision', async () => {
    await phoneSets(0);
    const before = sent().length;
    for (let step = 1; step <= 10; step++) assert.equal(picker(await watch.input({ crown: 1 })), step);
    await eventually(() => sent().length >= before + 10, 'ten requests');
    assert.deepEqual(sent().slice(before), Array.from({ length: 10 }, (_, i) => Math.fround((i + 1) / 10)));
    await eventually(async () => (await phoneState(phone)).volume === 10, 'the phone is as loud');
    await both(10);
  });

  test('a change on the phone moves picker and slider and sends nothing; the next turn is sent', async () => {
    await phoneSets(6);
    const before = sent().length;
    for (const value of [5, 8, 2, 9, 4]) await phoneSets(value);
    // A request that comes after all of these shows that none of them has been answered by another.
    const turned = await watch.input({ crown: -1 });
    assert.deepEqual([picker(turned), slider(turned)], [3, 3]);
    await eventually(() => sent().length > before, 'the turn was sent');
    assert.deepEqual(sent().slice(before), [Math.fround(0.3)]);
  });

  test('the volume that the phone already has, told again, sends nothing and swallows no turn', async () => {
    await phoneSets(5);
    const before = sent().length;
    await phone.do('message', { body: { t: 'dict', v: { request: { t: 'str', v: 'volume' }, value: { t: 'int', v: '5' } } } });
    await eventually(() => phone.events.some((e) => e.event === 'outcome' && e.what === 'command'), 'the watch took it');
    await both(5);
    await watch.input({ crown: 1 });
    await eventually(() => sent().length > before, 'the turn was sent');
    assert.deepEqual(sent().slice(before), [Math.fround(0.6)]);
  });

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

  test('a watch ends well while its phone owes answers to a screen that was left', async () => {
    await phone.do('set', { silent: true });
    for (let turn = 0; turn < 3; turn++) await watch.input({ crown: turn % 2 ? 1 : -1 });
    await watch.input({ back: true });
    assert.deepEqual(await watch.stop(), { code: 0, signal: null });
  });
});
