// How the page draws, with screens of the test's own.
import assert from 'node:assert/strict';

import { withPages } from './support/browser.js';
import { list, openCanned, player, screenWith } from './support/canned.js';
import { drawn } from './support/measure.js';

const [test] = withPages();

test('the busy sequence turns through its eleven frames in 0.8 s, and rests for less motion', async ({ page }) => {
  const watch = await openCanned(page, player());
  const spin = [{ op: 'add', path: '/tree/children/1/children/0/image', value: 'spinner' },
                { op: 'add', path: '/tree/children/1/children/0/animation',
                  value: { location: 0, length: 11, duration: 0.8, repeatCount: 0 } }];
  watch.patch(...spin, { op: 'remove', path: '/tree/children/1/children/0/children/0/image' });
  await page.locator('.spinner img').nth(10).waitFor({ state: 'attached' });
  const shown = await page.evaluate(() => Array.from({ length: 11 }, (_, i) => {
    for (const animation of document.getAnimations()) Object.assign(animation, { currentTime: (i * 800) / 11 + 820 }).pause();
    const frames = [...document.querySelectorAll('.spinner img')].filter((frame) => getComputedStyle(frame).opacity === '1');
    return frames.map((frame) => frame.src.split('/').at(-1)).join();
  }));
  assert.deepEqual(shown, Array.from({ length: 11 }, (_, i) => `spinner${i}`));
  watch.patch(...spin.map(({ path }) => ({ op: 'remove', path })));
  await page.locator('.spinner').waitFor({ state: 'detached' });
  await page.emulateMedia({ reducedMotion: 'reduce' });
  watch.patch(...spin);
  await page.locator('.spinner').waitFor({ state: 'attached' });
  assert.equal(await page.evaluate(() => document.getAnimations().length), 0);
});

test('a long title moves once, after a second; on a row it takes two lines at most', async ({ page }) => {
  const long = 'A title that is by far too long for the line on which it has to stand, and then some';
  const watch = await openCanned(page, player());
  watch.patch({ op: 'replace', path: '/tree/children/0/children/0/text', value: long });
  const run = page.locator('.title .run');
  await page.waitForFunction(() => document.querySelector('.title .run').getAnimations().length === 1);
  const [reach, delay, iterations] = await run.evaluate((text) => {
    const [animation] = text.getAnimations();
    const [{ transform }, { delay, iterations }] = [animation.effect.getKeyframes()[1], animation.effect.getTiming()];
    const end = text.scrollWidth - text.parentElement.clientWidth + parseFloat(transform.slice('translateX('.length));
    return [end, delay, iterations];
  });
  assert.deepEqual([delay, iterations], [1000, 1]);
  assert.ok(Math.abs(reach) < 20, `to its end and no further, but for ${reach}`);
  watch.patch({ op: 'replace', path: '/tree/children/0/children/0/text', value: 'Short' });
  await page.getByText('Short').waitFor();
  assert.equal(await run.evaluate((text) => text.getAnimations().length), 0);

  watch.show(screenWith(list([long, 'Next'])));
  const title = page.locator('.row-title').first();
  const lines = await title.evaluate((label) => label.clientHeight / parseFloat(getComputedStyle(label).lineHeight));
  assert.ok(lines <= 2.2, `${lines} lines`);
});

test('the face fits its window, its text follows the reader, and nothing leaves it sideways', async ({ page }) => {
  await openCanned(page, screenWith(list(['Weekly Top 15', 'Radio Stations', 'Unbreakable'.repeat(12)], [[1, 1, 1, 0.8]])));
  for (const [width, height, least] of [[1280, 800, 2], [900, 900, 2], [600, 720, 2], [320, 480, 1], [700, 320, 0.5]]) {
    await page.setViewportSize({ width, height });
    await drawn(page);
    const face = await page.locator('#face').boundingBox();
    assert.ok(face.width / 198 >= least && Math.abs(face.width / face.height - 198 / 242) < 0.01 && face.x >= 0 && face.y >= 0 &&
              face.x + face.width <= width && face.y + face.height <= height, `${width}x${height}: ${JSON.stringify(face)}`);
  }
  const background = await page.locator('.card').first().evaluate((card) => getComputedStyle(card).backgroundImage);
  assert.match(background, /rgba\(0, 0, 0, 0\.[4-9]/, 'white text can be read on a white card');
  const size = () => page.locator('.row-title').first().evaluate((label) => parseFloat(getComputedStyle(label).fontSize));
  const usual = await size();
  await page.evaluate(() => { document.documentElement.style.fontSize = '24px'; });
  assert.equal(((await size()) / usual).toFixed(2), '1.50');
  assert.equal(await page.evaluate(() => [...document.querySelectorAll('.screen, .screen .card')]
    .filter((box) => box.scrollWidth > box.clientWidth + 1).length), 0);
});
