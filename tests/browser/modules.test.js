// The page's modules that need no page.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { applyPatch } from '../../web/common/patch.js';
import { contrast, inkFor, over, scrimFor } from '../../web/contrast.js';
import { backLabel, focusedPicker } from '../../web/screen.js';
import { Trail } from '../../web/trail.js';

test('a patch changes what it names and shares the rest', () => {
  const before = { a: { x: 1 }, list: [{ n: 1 }, { n: 2 }, { n: 3 }], 'odd/key~': 1 };
  const frozen = structuredClone(before);
  const after = applyPatch(before, [
    { op: 'replace', path: '/list/1/n', value: 20 },
    { op: 'remove', path: '/list/0' },
    { op: 'add', path: '/list/0', value: 'first' },
    { op: 'add', path: '/list/-', value: 'last' },
    { op: 'replace', path: '/odd~1key~0', value: null },
    { op: 'add', path: '/fresh', value: false },
  ]);
  assert.deepEqual(after, { a: { x: 1 }, list: ['first', { n: 20 }, { n: 3 }, 'last'], 'odd/key~': null,
                            fresh: false });
  assert.deepEqual(before, frozen);
  assert.equal(after.a, before.a);
  assert.equal(after.list[2], before.list[2]);
  assert.deepEqual(applyPatch(before, [{ op: 'replace', path: '', value: 7 }]), 7);
  assert.deepEqual(applyPatch(before, [{ op: 'remove', path: '/a' }]), { list: before.list, 'odd/key~': 1 });
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
  assert.equal(backLabel({ back: null, title: 'Tunevale' }), null);
  assert.equal(backLabel({ back: 'Weekly Top 15', title: 'Player' }), 'Weekly Top 15');
  assert.equal(backLabel({ back: 'Close', title: '< Player' }), 'Player');
  assert.equal(backLabel({ back: '< Featured', title: 'Stations' }), 'Featured');
});

test('the crown belongs to the picker that has it, if a person can reach it', () => {
  const picker = { kind: 'picker', focused: true };
  const inside = (node, more) => ({ kind: 'group', children: [{ kind: 'label' }, { kind: 'group', children: [node], ...more }] });
  assert.equal(focusedPicker(inside(picker)), picker);
  assert.equal(focusedPicker(inside({ ...picker, enabled: false })), null);
  assert.equal(focusedPicker(inside(picker, { hidden: true })), null);
  assert.equal(focusedPicker(inside({ kind: 'picker' })), null);
});

test('the trail knows from where a screen comes', () => {
  const trail = new Trail();
  const push = { presentation: 'push' };
  assert.equal(trail.go('home', { presentation: 'root' }), null);
  trail.at.scrollTop = 12;
  assert.equal(trail.go('list', push), 'forward');
  assert.equal(trail.go('player', push), 'forward');
  assert.equal(trail.go('list', push), 'back');
  assert.equal(trail.go('home', { presentation: 'root' }), 'back');
  assert.equal(trail.at.scrollTop, 12);
  assert.equal(trail.go('radio 0', { presentation: 'modal', pages: { index: 0 } }), 'up');
  assert.equal(trail.go('radio 1', { presentation: 'modal', pages: { index: 1 } }), 'right');
  assert.equal(trail.go('picker', push), 'forward');
  assert.equal(trail.go('radio 1', { presentation: 'modal', pages: { index: 1 } }), 'back');
  assert.equal(trail.go('radio 0', { presentation: 'modal', pages: { index: 0 } }), 'left');
});
