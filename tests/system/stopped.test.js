// A phone that stands still: its machine sleeps, nothing is closed, and nobody says so.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { startTalkativePair } from './support/watching.js';

const reason = skip || (process.env.TUNEVALE_FAULTS !== 'full' && 'takes 25 s: ./test faults runs it');

test('a phone stopped for 20 s is unreachable within 16 s, and back within 3 s of going on', { skip: reason }, async () => {
  const pair = await startTalkativePair();
  const { watch, phone } = pair;
  const reachable = async () => (await watch.screen()).phone.reachable;
  try {
    await watch.until((s) => s.phone.reachable);
    const stopped = Date.now();
    phone.child.kill('SIGSTOP');
    await eventually(async () => !(await reachable()), 'it is missed', 18_000);
    const missed = Date.now() - stopped;
    await new Promise((wake) => setTimeout(wake, stopped + 20_000 - Date.now()));
    const went = Date.now();
    phone.child.kill('SIGCONT');
    await eventually(reachable, 'it is back');
    const back = Date.now() - went;
    assert.ok(missed <= 16_000, `missed after ${missed} ms`);
    assert.ok(back <= 3000, `back after ${back} ms`);
    console.log(`FAULT F5   phone stopped for 20 s: unreachable after ${missed} ms, back ${back} ms after it went on`);
  } finally {
    phone.child.kill('SIGCONT');
    await pair.end();
  }
});
