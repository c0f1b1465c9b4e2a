// How the page draws and behaves, with screens of the test's own.
import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, test } from 'node:test';

import { FACE, launchBrowser, watchFaults } from './support/browser.js';
import { list, openCanned, screenWith } from './support/canned.js';
import { boxes, drawnContrast, plainPicture } from './support/measure.js';

let browser;
let page;
let faults;
before(async () => { browser = await launchBrowser(); });
after(() => browser.close());
beforeEach(async () => {
  page = await browser.newPage(FACE);
  page.setDefaultTimeout(5000);
  faults = watchFaults(page);
});
afterEach(() => page.close());

const player = (more = {}) => ({
  id: '0', kind: 'group', style: 'backdrop fill', outlet: 'bgGroupView', ...more, children: [
    { id: '0.0', kind: 'group', style: 'now-playing', children: [
      { id: '0.0.0', kind: 'label', style: 'title marquee', outlet: 'songTitleLabel', text: 'Evening' },
      { id: '0.0.1', kind: 'label', style: 'second-line marquee', text: 'Album – Artist' }] },
    { id: '0.1', kind: 'group', style: 'transport', children: [
      { id: '0.1.0', kind: 'group', style: 'play-ring', outlet: 'playButtonGroup', children: [
        { id: '0.1.0.0', kind: 'button', style: 'play-button', outlet: 'playButton', image: 'Pause' }] }] },
    { id: '0.2', kind: 'group', style: 'volume', children: [
      { id: '0.2.0', kind: 'picker', outlet: 'volumePicker', label: 'Volume', focused: true, selected: 5,
        items: Array.from({ length: 11 }, () => ({ title: '', caption: '' })) }] },
  ],
});
const playerScreen = (more) => screenWith(player(more), { identifier: 'PlayerHomeView', presentation: 'push',
                                                         title: 'Player', back: 'Tunevale' });
const alert = { title: 'Tunevale', message: 'Please unlock your device then try again',
                actions: [{ title: 'OK', style: 'regular' }] };

test('a tap on a row shows at once, and says which row', async () => {
  const watch = await openCanned(page, screenWith(list(['One', 'Two <b>&amp;</b>'])));
  const row = page.getByRole('button', { name: 'Two <b>&amp;</b>, Second line' });
  const taken = await row.evaluate((button) => {
    const start = performance.now();
    button.click();
    return button.closest('.taken') ? performance.now() - start : Infinity;
  });
  assert.ok(taken < 100, `${taken} ms`);
  await page.waitForTimeout(20);
  assert.deepEqual(watch.received, [{ select: { table: 'table', row: 1 } }]);
  assert.deepEqual(faults(), []);
});

test('a patch touches only what it changes; a screen built anew from the same touches nothing', async () => {
  const screen = screenWith(list(['One', 'Two', 'Three']));
  const watch = await openCanned(page, screen);
  await page.evaluate(() => {
    globalThis.touched = [];
    new MutationObserver((records) => globalThis.touched.push(...records.map(({ target }) =>
      (target.nodeType === 3 ? target.parentElement : target).closest('[data-id]')?.dataset.id)))
      .observe(document.querySelector('.screen'), { subtree: true, childList: true, characterData: true, attributes: true });
  });
  watch.patch({ op: 'replace', path: '/tree/children/0/rows/1/tree/children/0/text', value: '2' });
  await page.getByText('2', { exact: true }).waitFor();
  assert.deepEqual([...new Set(await page.evaluate(() => globalThis.touched))].sort(), ['0.0 row 1', '0.0/r1/0.0']);

  await page.getByRole('button', { name: '2, Second line' }).focus();
  await page.evaluate(() => { globalThis.touched.length = 0; });
  const again = structuredClone(screen);
  again.tree.children[0].rows[1].tree.children[0].text = '2';
  watch.show(again);
  watch.patch({ op: 'replace', path: '/phone/reachable', value: false });
  await page.getByText('Phone unreachable').waitFor();
  assert.deepEqual(await page.evaluate(() => globalThis.touched), []);
  watch.patch({ op: 'remove', path: '/tree/children/0/rows/0' }, { op: 'remove', path: '/tree/children/0/rows/1' });
  await page.waitForFunction(() => document.querySelectorAll('.table-row').length === 1);
  assert.equal(await page.locator('.table-row').innerText(), '2\nSecond line');
});

test('text can be read on any colour and any artwork', async () => {
  const colors = [[1, 1, 1, 0.8], [1, 0.9, 0, 0.8], [0.1, 0.2, 0.8, 1], [0.2, 0.7, 0.35, 0.17]];
  await openCanned(page, screenWith(list(['One', 'Two', 'Three', 'Four'], colors)));
  for (let i = 0; i < colors.length; i++) {
    const line = page.locator('.second-line').nth(i);
    await line.scrollIntoViewIfNeeded();
    const found = await drawnContrast(page, line);
    assert.ok(found >= 4.4, `on ${colors[i]}: ${found}`); // edges of letters are blended a little
  }
  const white = await plainPicture(page, 'white');
  const other = await browser.newPage(FACE);
  await openCanned(other, playerScreen({ image: 'art-0000000000000001' }),
                   { pictures: { 'art-0000000000000001': white } });
  await other.locator('.fill > .picture img').waitFor();
  await other.waitForTimeout(300);
  for (const name of ['.title', '.second-line', '.back-text', '.time']) {
    const found = await drawnContrast(other, other.locator(name));
    assert.ok(found >= 4.4, `${name} on white artwork: ${found}`);
  }
  await other.close();
});

test('artwork that comes late moves nothing', async () => {
  const white = await plainPicture(page, 'white');
  let arrive;
  const late = new Promise((resolve) => { arrive = () => resolve(white); });
  const watch = await openCanned(page, playerScreen(), { pictures: { 'art-2': () => late } });
  const standing = await boxes(page);
  watch.patch({ op: 'add', path: '/tree/image', value: 'art-2' });
  await page.waitForTimeout(100);
  assert.deepEqual(await boxes(page), standing);
  arrive();
  await page.locator('.fill > .picture img').first().waitFor();
  assert.deepEqual(await boxes(page), standing);
});

test('the busy sequence turns through its eleven frames in 0.8 s, and rests for less motion', async () => {
  const watch = await openCanned(page, playerScreen());
  const spin = { op: 'add', path: '/tree/children/1/children/0/animation',
                 value: { location: 0, length: 11, duration: 0.8, repeatCount: 0 } };
  watch.patch({ op: 'add', path: '/tree/children/1/children/0/image', value: 'spinner' }, spin,
              { op: 'remove', path: '/tree/children/1/children/0/children/0/image' });
  await page.locator('.spinner img').nth(10).waitFor({ state: 'attached' });
  const shown = await page.evaluate(() => {
    const frames = [...document.querySelectorAll('.spinner img')];
    const running = frames.flatMap((frame) => frame.getAnimations());
    for (const animation of running) animation.pause();
    return Array.from({ length: 23 }, (_, i) => {
      for (const animation of running) animation.currentTime = (i * 800) / 11 + 20;
      return frames.filter((frame) => getComputedStyle(frame).opacity === '1').map((frame) => frame.src.split('/').at(-1));
    });
  });
  assert.deepEqual(shown, Array.from({ length: 23 }, (_, i) => [`spinner${i % 11}`]));
  watch.patch({ op: 'remove', path: '/tree/children/1/children/0/animation' },
              { op: 'remove', path: '/tree/children/1/children/0/image' });
  await page.locator('.spinner').waitFor({ state: 'detached' });
  await page.emulateMedia({ reducedMotion: 'reduce' });
  watch.patch({ op: 'add', path: '/tree/children/1/children/0/image', value: 'spinner' }, spin);
  await page.locator('.spinner').waitFor({ state: 'attached' });
  assert.equal(await page.evaluate(() => document.getAnimations().length), 0);
});

test('a long title moves once, after a second; on a row it takes two lines at most', async () => {
  const long = 'A title that is by far too long for the line on which it has to stand, and then some';
  const watch = await openCanned(page, playerScreen());
  watch.patch({ op: 'replace', path: '/tree/children/0/children/0/text', value: long });
  const run = page.locator('.title .run');
  const timing = () => run.evaluate((text) => text.getAnimations().map((a) => a.effect.getTiming()));
  await page.waitForFunction(() => document.querySelector('.title .run').getAnimations().length === 1);
  const [{ delay, iterations }] = await timing();
  assert.deepEqual([delay, iterations], [1000, 1]);
  await run.evaluate((text) => text.getAnimations()[0].finish());
  assert.equal(await run.evaluate((text) => getComputedStyle(text).transform), 'none');
  watch.patch({ op: 'replace', path: '/tree/children/0/children/0/text', value: 'Short' });
  await page.getByText('Short').waitFor();
  assert.deepEqual(await timing(), []);

  watch.show(screenWith(list([long, 'Next'])));
  const title = page.locator('.row-title').first();
  await title.waitFor();
  const lines = await title.evaluate((label) => label.clientHeight / parseFloat(getComputedStyle(label).lineHeight));
  assert.ok(lines <= 2.2, `${lines} lines`);
});

test('an alert takes the focus, keeps it, and gives it back', async () => {
  const watch = await openCanned(page, screenWith(list(['One', 'Two'])));
  await page.getByRole('button', { name: 'Two' }).focus();
  watch.patch({ op: 'replace', path: '/alert', value: alert });
  const dialog = page.getByRole('alertdialog', { name: 'Tunevale' });
  await dialog.waitFor();
  const focused = () => page.evaluate(() => document.activeElement.textContent);
  assert.equal(await focused(), 'OK');
  for (const key of ['Tab', 'Shift+Tab', 'ArrowDown', 'ArrowRight']) await page.keyboard.press(key);
  assert.equal(await focused(), 'OK');
  assert.equal(await page.evaluate(() => document.getElementById('app').inert), true);
  await page.keyboard.press('Escape');
  await page.waitForTimeout(20);
  assert.deepEqual(watch.received, [{ alert: 0 }]);
  watch.patch({ op: 'replace', path: '/alert', value: null });
  await dialog.waitFor({ state: 'detached' });
  assert.match(await focused() + (await page.evaluate(() => document.activeElement.ariaLabel)), /Two/);
});

test('turns of the crown are gathered, and a crown that nobody has scrolls', async () => {
  const watch = await openCanned(page, playerScreen());
  const crown = await page.locator('#crown').boundingBox();
  await page.locator('#face').hover();
  await page.evaluate(() => {
    const face = document.getElementById('face');
    for (let i = 0; i < 40; i++) face.dispatchEvent(new WheelEvent('wheel', { deltaY: -100, bubbles: true, cancelable: true }));
  });
  await page.waitForTimeout(60);
  assert.deepEqual(watch.received.splice(0), [{ crown: 40 }]);
  await page.keyboard.press('ArrowDown');
  await page.mouse.move(crown.x + 6, crown.y + 60);
  await page.mouse.down();
  await page.mouse.move(crown.x + 6, crown.y + 24, { steps: 6 });
  await page.mouse.up();
  await page.waitForTimeout(60);
  const sent = watch.received.splice(0);
  assert.equal(sent.reduce((sum, input) => sum + input.crown, 0), 2, JSON.stringify(sent));
  assert.notEqual(await page.locator('#crown').evaluate((c) => c.style.getPropertyValue('--turn')), '');
  await page.locator('#crown').click();
  await page.waitForTimeout(20);
  assert.deepEqual(watch.received.splice(0), [{ foreground: false }]);

  watch.show(screenWith(list(Array.from({ length: 30 }, (_, i) => `Row ${i}`))));
  await page.getByText('Row 29').waitFor({ state: 'attached' });
  await page.keyboard.press('ArrowDown');
  await page.waitForFunction(() => [...document.querySelectorAll('.screen')].at(-1).scrollTop > 20);
  assert.deepEqual(watch.received, []);
});

test('a picker of several hundred artworks draws only those near', async () => {
  const items = Array.from({ length: 400 }, (_, i) => ({ title: `Station ${i}`, caption: `Station ${i}` }));
  const tree = { id: '0', kind: 'group', style: 'tint fill', children: [
    { id: '0.0', kind: 'group', style: 'carousel', children: [
      { id: '0.0.0', kind: 'picker', outlet: 'radioPicker', label: 'Station', focused: true, selected: 200, items }] }] };
  const watch = await openCanned(page, screenWith(tree, { identifier: 'RadioPickerView', back: '< Featured', title: '' }));
  const picker = page.getByRole('slider', { name: 'Station' });
  assert.equal(await picker.getAttribute('aria-valuetext'), 'Station 200, 201 of 400');
  assert.equal(await page.locator('.artwork').count(), 5);
  await page.locator('.artwork').nth(3).click({ position: { x: 120, y: 60 } });
  await page.waitForTimeout(20);
  assert.deepEqual(watch.received, [{ pick: { picker: 'radioPicker', index: 201 } }]);
  watch.patch({ op: 'replace', path: '/tree/children/0/children/0/selected', value: 399 });
  await page.getByText('Station 399', { exact: true }).waitFor();
  assert.equal(await page.locator('.artwork').count(), 3);
});

test('a page that lost the server says so, and comes back with what is so then', async () => {
  const watch = await openCanned(page, screenWith(list(['One'])));
  watch.drop();
  await page.waitForTimeout(700);
  assert.equal(watch.connections(), 2);
  assert.equal(await page.locator('#notice').textContent(), '');
  watch.patch({ op: 'replace', path: '/tree/children/9/text', value: 'does not fit' });
  await page.waitForTimeout(700);
  assert.equal(watch.connections(), 3);
  assert.equal(await page.getByText('One', { exact: true }).count(), 1);
});

test('the face fits its window, its text follows the reader, and nothing leaves it sideways', async () => {
  await openCanned(page, screenWith(list(['Weekly Top 15', 'Radio Stations', 'Unbreakable'.repeat(12)])));
  for (const [width, height, least] of [[1280, 800, 2], [900, 900, 2], [600, 720, 2], [320, 480, 1], [700, 320, 0.5]]) {
    await page.setViewportSize({ width, height });
    await page.waitForTimeout(60);
    const face = await page.locator('#face').boundingBox();
    assert.ok(face.width / 198 >= least, `${width}x${height}: ${face.width}`);
    assert.ok(face.x >= 0 && face.y >= 0 && face.x + face.width <= width && face.y + face.height <= height,
              `${width}x${height}: ${JSON.stringify(face)}`);
    assert.ok(Math.abs(face.width / face.height - 198 / 242) < 0.01, 'shape');
  }
  const size = () => page.locator('.row-title').first().evaluate((label) => parseFloat(getComputedStyle(label).fontSize));
  const usual = await size();
  await page.evaluate(() => { document.documentElement.style.fontSize = '24px'; });
  assert.equal(((await size()) / usual).toFixed(2), '1.50');
  assert.equal(await page.evaluate(() => [...document.querySelectorAll('.screen, .screen .card')]
    .filter((box) => box.scrollWidth > box.clientWidth + 1).length), 0);
});
