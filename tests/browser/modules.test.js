// The page's modules that need no page.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { follow } from '../../web/common/connection.js';
import { applyPatch } from '../../web/common/patch.js';
import { contrast, inkFor, over, scrimFor } from '../../web/contrast.js';
import { backLabel, focusedPicker } from '../../web/screen.js';

test('a patch changes what it names and shares the rest', () => {
  const before = { a: { x: 1 }, list: [{ n: 1 }, { n: 2 }, { n: 3 }], 'odd/key~': 1, '~1': 2 };
  const frozen = structuredClone(before);
  const added = { deep: [1] };
  const after = applyPatch(before, [
    { op: 'replace', path: '/list/1/n', value: 20 }, { op: 'remove', path: '/list/0' },
    { op: 'add', path: '/list/0', value: 'first' }, { op: 'add', path: '/list/-', value: 'last' },
    { op: 'replace', path: '/odd~1key~0', value: null }, { op: 'remove', path: '/~01' },
    { op: 'add', path: '/fresh', value: added }, { op: 'replace', path: '/fresh/deep/0', value: 2 },
  ]);
  assert.deepEqual(after, { a: { x: 1 }, list: ['first', { n: 20 }, { n: 3 }, 'last'], 'odd/key~': null,
                            fresh: { deep: [2] } });
  assert.deepEqual([before, added], [frozen, { deep: [1] }]);
  assert.equal(after.a, before.a);
  assert.equal(after.list[2], before.list[2]);
  assert.deepEqual(applyPatch(before, [{ op: 'replace', path: '', value: 7 }]), 7);
});

test('a patch that does not fit is refused', () => {
  const cases = [['replace', '/no'], ['remove', '/no'], ['add', '/no/deeper'], ['add', '/list/2'],
                 ['replace', '/list/-'], ['remove', '/list/01'], ['replace', '/list/x'], ['add', 'list'],
                 ['move', '/list'], ['replace', '/text/0'], ['replace', '/__proto__/x']];
  for (const [op, path] of cases) {
    const value = op === 'remove' ? undefined : 1;
    assert.throws(() => applyPatch({ list: [1], text: 'ab' }, [{ op, path, value }]), Error, `${op} ${path}`);
  }
});

test('a lost server is tried again, ever later, and soon again once it was there', (t) => {
  t.mock.timers.enable({ apis: ['setTimeout'] });
  t.mock.method(console, 'warn', () => {});
  const [sockets, heard, listeners] = [[], [], {}];
  const addEventListener = (name, listener) => { listeners[name] = listener; };
  class Socket {
    static OPEN = 1;
    readyState = 1;
    sent = [];
    constructor() { sockets.push(this); }
    send(text) { this.sent.push(text); }
    close() { this.onclose(); }
    say(message) { this.onmessage({ data: JSON.stringify(message) }); }
  }
  Object.assign(globalThis, { WebSocket: Socket, addEventListener, document: { addEventListener, hidden: false } });
  const { send } = follow('ws://here', { member: 'screen', onState: (state) => heard.push(state),
                                         onStatus: (status) => heard.push(status), onMessage: (other) => heard.push(other) });
  const now = () => sockets.at(-1);
  const triedAfter = (...pauses) => {
    for (const pause of pauses) {
      const count = sockets.length;
      now().close();
      assert.equal(send({ back: true }), false);
      t.mock.timers.tick(pause - 1);
      assert.equal(sockets.length, count, `not before ${pause} ms`);
      t.mock.timers.tick(1);
      assert.equal(sockets.length, count + 1, `after ${pause} ms`);
    }
  };
  triedAfter(200, 400, 800, 1600, 3200, 4000, 4000);
  now().say({ screen: { a: 1 } });
  now().say({ patch: [{ op: 'add', path: '/b', value: 2 }] });
  now().say({ refused: 'no' });
  assert.equal(send({ back: true }), true);
  assert.deepEqual(now().sent, ['{"back":true}']);
  assert.deepEqual(heard.filter((each) => each !== 'lost'), ['live', { a: 1 }, { a: 1, b: 2 }, { refused: 'no' }]);
  triedAfter(200, 400);
  now().say({ screen: {} });
  const { length } = sockets;
  now().say({ patch: [{ op: 'remove', path: '/b' }] });
  assert.equal(heard.at(-1), 'lost', 'out of step with the server: it starts afresh');
  for (const hidden of [true, false]) {
    document.hidden = hidden;
    listeners.visibilitychange();
    assert.equal(sockets.length, length + Number(!hidden));
  }
  listeners.online();
  t.mock.timers.tick(10_000);
  assert.equal(sockets.length, length + 1, 'somebody looks again: at once, and only once');
});

test('a scrim makes white text readable on any colour, and no darker than it must', () => {
  for (let i = 0; i < 216; i++) {
    const color = [i % 6, Math.floor(i / 6) % 6, Math.floor(i / 36)].map((c) => c / 5).concat(0.8);
    const scrim = scrimFor(color);
    const readsAt = (alpha) => {
      const ground = over([0, 0, 0, alpha], over(color));
      return contrast(over([1, 1, 1, 0.62], ground), ground);
    };
    assert.ok(readsAt(scrim) >= 4.5, `${color}: ${readsAt(scrim)}`);
    assert.ok(scrim === 0 || readsAt(scrim - 0.03) < 4.5, `${color}: too dark`);
    const ink = inkFor(color) === 'black' ? [0, 0, 0] : [1, 1, 1];
    assert.ok(contrast(ink, over(color)) >= 4.5, `${color}: ink`);
  }
  assert.equal(contrast([1, 1, 1], [0, 0, 0]).toFixed(2), '21.00');
  assert.equal(contrast([0.5, 0.5, 0.5], [1, 1, 1]).toFixed(2), '3.98');
});

test('the way back is named by the screen before, or by a title that looks like it', () => {
  for (const [back, title, named] of [[null, 'Tunevale', null], ['Weekly Top 15', 'Player', 'Weekly Top 15'],
                                      ['Close', '< Player', 'Player'], ['< Featured', 'Stations', 'Featured']]) {
    assert.equal(backLabel({ back, title }), named);
  }
});

test('the crown belongs to the picker that has it, if a person can reach it', () => {
  const picker = { kind: 'picker', focused: true };
  const inside = (node, more) => ({ kind: 'group', children: [{ kind: 'label' }, { kind: 'group', children: [node], ...more }] });
  assert.equal(focusedPicker(inside(picker)), picker);
  for (const tree of [inside({ ...picker, enabled: false }), inside(picker, { hidden: true }), inside({ kind: 'picker' })]) {
    assert.equal(focusedPicker(tree), null);
  }
});
