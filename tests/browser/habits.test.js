// What the pages do when a person or the server does something, with states of the test's own.
import assert from 'node:assert/strict';

import { withPages } from './support/browser.js';
import { list, openCanned, player, screenWith } from './support/canned.js';
import { drawn, plainPicture } from './support/measure.js';
import { eventually } from './support/programs.js';

const [test] = withPages();

/** Notes in `touched` which elements of the screen change, by their ids. */
const noteTouches = (page) => page.evaluate(() => {
  globalThis.touched = [];
  new MutationObserver((records) => globalThis.touched.push(...records.map(({ target }) =>
    (target.nodeType === 3 ? target.parentElement : target).closest('[data-id]')?.dataset.id)))
    .observe(document.querySelector('.screen'), { subtree: true, childList: true, characterData: true, attributes: true });
});
const touched = async (page) => [...new Set(await page.evaluate(() => globalThis.touched.splice(0)))].sort();

test('a tap shows at once and says on what; a disabled button keeps the focus and sends nothing', async ({ page }) => {
  const watch = await openCanned(page, screenWith(list(['One', 'Two <b>&amp;</b>'])));
  const row = page.getByRole('button', { name: 'Two <b>&amp;</b>, Second line' });
  assert.ok(await row.evaluate((button) => {
    button.click();
    return button.matches('.taken, .taken *');
  }), 'before anything else');
  assert.deepEqual(await watch.sent(), [{ select: { table: 'table', row: 1 } }]);
  watch.say({ refused: 'no', input: {} });
  await page.locator('.table-row.refused').waitFor();

  watch.show(player());
  await page.getByRole('button', { name: 'Pause' }).focus();
  watch.patch({ op: 'add', path: '/tree/children/1/children/0/children/0/enabled', value: false });
  const button = page.locator('[data-outlet=playButton][aria-disabled=true]');
  await button.waitFor();
  await page.keyboard.press('Enter');
  await button.click({ force: true });
  assert.ok(await button.evaluate((el) => el === document.activeElement && !el.matches('.taken')));
  // What comes after has come, so nothing came before.
  await page.keyboard.press('Escape');
  assert.deepEqual(await watch.sent(), [{ back: true }]);

  await page.evaluate(() => { globalThis.setTimeout = (...given) => { globalThis.later = given; }; });
  watch.patch({ op: 'add', path: '/pairing', value: { step: 'comparing', code: '482913', caller: 'a1b2' } });
  const yes = page.getByRole('button', { name: 'Yes, pair' });
  assert.equal(await yes.isDisabled(), true, 'a tap may be meant for what was there before');
  assert.ok(await page.evaluate(() => { globalThis.later[0](); return globalThis.later[1]; }) >= 500);
  assert.equal(await yes.isEnabled(), true);
});

test('a patch touches only what it changes; a screen built anew from the same touches nothing', async ({ page }) => {
  const screen = screenWith(list(['One', 'Two', 'Three']));
  const watch = await openCanned(page, screen);
  await noteTouches(page);
  watch.patch({ op: 'replace', path: '/tree/children/0/rows/1/tree/children/0/text', value: '2' });
  await page.getByText('2', { exact: true }).waitFor();
  assert.deepEqual(await touched(page), ['0.0 row 1', '0.0/1.0']);

  await page.getByRole('button', { name: '2, Second line' }).focus();
  await touched(page);
  const again = structuredClone(screen);
  again.tree.children[0].rows[1].tree.children[0].text = '2';
  watch.show(again);
  watch.patch({ op: 'replace', path: '/phone/reachable', value: false });
  await page.getByText('Phone unreachable').waitFor();
  assert.deepEqual(await touched(page), []);
  watch.patch({ op: 'remove', path: '/tree/children/0/rows/0' }, { op: 'remove', path: '/tree/children/0/rows/1' });
  await page.waitForFunction(() => document.querySelectorAll('.table-row').length === 1);
  assert.equal(await page.locator('.table-row').innerText(), '2\nSecond line');

  watch.patch({ op: 'replace', path: '/tree/children/0/rows/0/type', value: 'OtherRow' },
              { op: 'replace', path: '/tree/children/0/rows/0/tree/children/1',
                value: { id: '0.0/1.1', kind: 'button', outlet: 'use', label: 'Use',
                         children: [{ id: '0.0/1.1.0', kind: 'label', text: 'Use' }] } });
  await page.locator('.table-row.OtherRow').getByRole('button', { name: 'Use' }).click();
  assert.deepEqual(await watch.sent(), [{ tap: { table: 'table', row: 0, outlet: 'use' } }]);
  assert.equal(await page.locator('.screen').innerText(), '2\nUse', 'what was of another kind has gone');
  assert.equal(await page.locator('.select').getAttribute('aria-label'), '2', 'its button speaks for itself');
});

test('an alert takes the focus, keeps it, and gives it back to where it was', async ({ page }) => {
  const watch = await openCanned(page, screenWith(list(['One', 'Two']), { back: 'Before' }));
  const focused = () => page.evaluate(() => {
    const { activeElement: here } = document;
    return here === document.body ? 'nothing' : (here.ariaLabel ?? here.dataset.scene ?? here.textContent);
  });
  assert.equal(await page.locator('#name').innerText(), '', 'the way back stands in its place');
  const dialog = page.getByRole('alertdialog', { name: 'Tunevale' });
  const alert = async (message) => {
    watch.patch({ op: 'replace', path: '/alert', value: message && { title: 'Tunevale', message, actions: [{ title: 'OK' }] } });
    await (message ? dialog.getByText(message).waitFor() : dialog.waitFor({ state: 'detached' }));
  };
  const foreground = async (value, name) => {
    watch.patch({ op: 'replace', path: '/foreground', value });
    await eventually(async () => name.test(await focused()), `${name} has the focus`, 3000);
  };
  for (const name of ['Two, Second line', 'Back, Before', 'Crown: press for the watch face, turn with the arrow keys']) {
    await page.getByRole('button', { name }).focus();
    await alert('Please unlock');
    assert.equal(await focused(), 'OK');
    for (const key of ['Tab', 'Shift+Tab', 'ArrowDown', 'ArrowRight']) await page.keyboard.press(key);
    assert.equal(await focused(), 'OK');
    await page.keyboard.press('Escape');
    assert.deepEqual(await watch.sent(), [{ alert: 0 }]);
    await alert('the next one');
    await foreground(false, /complication/);
    assert.equal(await dialog.count(), 0, 'it waits while the watch shows its face');
    await foreground(true, /^OK$/);
    await alert(null);
    assert.equal(await focused(), name);
  }
  await page.getByRole('button', { name: 'Two, Second line' }).focus();
  await alert('gone meanwhile');
  watch.patch({ op: 'remove', path: '/tree/children/0/rows/1' });
  await alert(null);
  assert.equal(await focused(), 'Home', 'the screen as a whole');
});

test('turns of the crown are gathered, and a crown that nobody has scrolls', async ({ page }) => {
  const watch = await openCanned(page, player());
  const crown = await page.locator('#crown').boundingBox();
  await page.evaluate(() => {
    const face = document.getElementById('face');
    for (let i = 0; i < 40; i++) face.dispatchEvent(new WheelEvent('wheel', { deltaY: -100, bubbles: true, cancelable: true }));
  });
  assert.deepEqual(await watch.sent(), [{ crown: 40 }]);
  for (const key of ['Control+ArrowDown', 'ArrowDown']) await page.keyboard.press(key);
  await page.mouse.move(crown.x + 6, crown.y + 60);
  await page.mouse.down();
  await page.mouse.move(crown.x + 6, crown.y + 24, { steps: 6 });
  await page.mouse.up();
  await drawn(page);
  await page.locator('#crown').click();
  const sent = [];
  while (sent.at(-1)?.foreground !== false) sent.push(...await watch.sent());
  assert.equal(sent.slice(0, -1).reduce((sum, input) => sum + input.crown, 0), 2, JSON.stringify(sent));

  const long = screenWith(list(Array.from({ length: 30 }, (_, i) => `Row ${i}`)));
  watch.show(long);
  await page.getByText('Row 29').waitFor({ state: 'attached' });
  await page.keyboard.press('ArrowDown');
  const scrolled = () => page.waitForFunction(() => document.querySelector('.screen:not([inert])').scrollTop > 20);
  await scrolled();
  watch.show(player());
  await page.locator('.screen:not([inert])').getByText('Evening').waitFor();
  watch.show(long);
  await scrolled();  // as it was left
});

test('of two thousand stations only those near the selected one are drawn and asked for', async ({ page }) => {
  const stations = (first, count) => Array.from({ length: count }, (_, i) =>
    ({ title: `Station ${first + i}`, caption: `Station ${first + i}`, image: `art-${first + i}` }));
  const tree = { id: '0', kind: 'group', style: 'tint fill', children: [{ id: '0.0', kind: 'group', style: 'carousel', children: [
    { id: '0.0.0', kind: 'picker', outlet: 'radioPicker', label: 'Station', focused: true, selected: 200, items: stations(0, 2000) },
  ] }] };
  const PICKER = '/tree/children/0/children/0';
  const png = await plainPicture(page, 'teal');
  const any = (id) => (id === 'art-702' ? Promise.reject(new Error('gone')) : /^art-5/.test(id) ? new Promise(() => {}) : png);
  const watch = await openCanned(page, screenWith(tree, { identifier: 'RadioPickerView', back: '< Featured', title: '' }),
                                 { images: { any } });
  const select = (value) => watch.patch({ op: 'replace', path: `${PICKER}/selected`, value });
  const asked = async (...places) => {
    await eventually(() => watch.asked.length >= places.length, `${places} asked for, not ${watch.asked}`, 5000);
    await drawn(page);
    assert.deepEqual(watch.asked.splice(0).sort(), places.map((place) => `art-${place}`));
    assert.equal(await page.locator('.artwork').count(), 5);
  };
  await asked(198, 199, 200, 201, 202);
  await noteTouches(page);
  watch.patch(...stations(2000, 100).map((value) => ({ op: 'add', path: `${PICKER}/items/-`, value })));
  await page.locator('[aria-valuetext="Station 200, 201 of 2100"]').waitFor();
  assert.deepEqual(await touched(page), ['0.0.0'], 'the picker itself, and none of its artworks');
  select(201);
  await asked(203);

  // Those that were only passed, and never come, do not keep the later ones waiting.
  for (const middle of [502, 512, 522]) {
    select(middle);
    await asked(...[-2, -1, 0, 1, 2].map((i) => middle + i));
  }
  select(700);
  await asked(698, 699, 700, 701, 702);
  await page.locator('.artwork.selected img[src$="/art-700"]').waitFor();
  select(702);
  await asked(703, 704);
  await page.getByText('Station 702', { exact: true }).waitFor();
  assert.equal(await page.locator('.artwork.selected').innerText(), 'S', 'a letter for what is gone');
  await page.locator('.artwork').nth(3).click({ position: { x: 120, y: 60 } });
  assert.deepEqual(await watch.sent(), [{ pick: { picker: 'radioPicker', index: 703 } }]);
});

test("the console's switches show what was asked for until the phone has answered", async ({ page }) => {
  const log = ['silence', 'failure', 'error 7007', 'delivered', ''].map((result, n) => (
    { n, at: 0, direction: 'in', transport: 'message', what: 'Hello', size: 5, result }));
  const state = { song: null, playing: false, volume: 5, queue: [], index: 0, languages: ['tamil'], language: 'tamil', log,
                  switches: { locked: false, reachable: true, silent: false, failing: false, pushes: true, refuse: '' },
                  link: { connected: true, reachable: true }, pairing: { watch: 'a1b2', step: 'closed', trouble: null } };
  const phone = await openCanned(page, state, { path: '/phone' });
  assert.deepEqual(await page.locator('#traffic-list .bad .result').allInnerTexts(), ['silence', 'failure', 'error 7007']);
  let count = 0;
  /** A state that is older than what was asked has been drawn. */
  const olderState = async () => {
    phone.show({ ...state, song: { title: `Song ${++count}` } });
    await page.locator('#song', { hasText: `Song ${count}` }).waitFor();
  };
  const flip = (name) => page.getByRole('switch', { name, exact: true });
  const volume = page.locator('#volume');
  for (const [act, isSet, wanted] of [
    [() => flip('Locked').check(), () => flip('Locked').isChecked(), { do: 'set', locked: true }],
    [() => flip('Unreachable').check(), () => flip('Unreachable').isChecked(), { do: 'set', reachable: false }],
    [() => flip('Refuse').check(), () => flip('Refuse').isChecked(), { do: 'set', refuse: 'Song not available' }],
    [() => volume.press('End'), async () => (await volume.inputValue()) === '10', { do: 'volume', value: 10 }],
  ]) {
    for (const event of ['error', 'done']) {
      await act();
      const [{ ref, ...command }] = await phone.sent();
      assert.deepEqual(command, wanted);
      await olderState();
      phone.say({ event: { event: 'done', ref: 'somebody else' } });
      await olderState();
      assert.equal(await isSet(), true, JSON.stringify(command));
      phone.say({ event: { event, ref, text: 'No' } });
      if (event === 'error') await page.locator('#error', { hasText: 'No' }).waitFor();
      else await olderState();
      assert.equal(await isSet(), false, 'it is as the phone says again');
    }
  }
});
