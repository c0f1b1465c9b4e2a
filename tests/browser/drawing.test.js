// How the page draws, with screens of the test's own.
import assert from 'node:assert/strict';

import { withPages } from './support/browser.js';
import { list, openCanned, player, screenWith } from './support/canned.js';
import { boxes, drawn, drawnContrast, plainPicture } from './support/measure.js';
import { eventually } from './support/programs.js';

const [test] = withPages();

test('text can be read on any colour and any artwork', async ({ page }) => {
  const colors = [[1, 1, 1, 0.8], [1, 0.9, 0, 0.8], [0.1, 0.2, 0.8, 1], [0.2, 0.7, 0.35, 0.17]];
  const white = await plainPicture(page, 'white');
  const watch = await openCanned(page, screenWith(list(['One', 'Two', 'Three', 'Four'], colors)), { images: { any: white } });
  const readable = async (line, where) => {
    await line.scrollIntoViewIfNeeded();
    const found = await drawnContrast(page, line);
    assert.ok(found >= 4.4, `${where}: ${found}`); // edges of letters are blended a little
  };
  for (const [i, color] of colors.entries()) await readable(page.locator('.second-line').nth(i), color);
  watch.show(player({ image: 'art-0000000000000001' }));
  await page.locator('.fill > .picture img').waitFor();
  await page.evaluate(() => Promise.all(document.getAnimations().map(({ finished }) => finished)));
  await page.locator('.screen[inert]').waitFor({ state: 'detached' });
  for (const name of ['.title', '.second-line', '.back-text', '.time']) await readable(page.locator(name), name);
});

test('artwork that comes late moves nothing', async ({ page }) => {
  const white = await plainPicture(page, 'white');
  let arrive;
  const late = new Promise((resolve) => { arrive = () => resolve(white); });
  const watch = await openCanned(page, player(), { images: { 'art-2': () => late, 'art-3': () => new Promise(() => {}) } });
  const standing = await boxes(page);
  watch.patch({ op: 'add', path: '/tree/image', value: 'art-2' });
  await eventually(() => watch.asked.includes('art-2'), 'the artwork is asked for');
  assert.deepEqual(await boxes(page), standing);
  arrive();
  const shown = page.locator('.fill > .picture img');
  await shown.waitFor();
  assert.deepEqual(await boxes(page), standing);
  watch.patch({ op: 'replace', path: '/tree/image', value: 'art-3' });
  await eventually(() => watch.asked.includes('art-3'), 'the next artwork is asked for');
  assert.equal(await shown.getAttribute('src'), '/api/image/art-2', 'the one before stays until then');
});

test('the busy sequence turns through its eleven frames in 0.8 s, and rests for less motion', async ({ page }) => {
  const watch = await openCanned(page, player());
  const spin = [{ op: 'add', path: '/tree/children/1/children/0/image', value: 'spinner' },
                { op: 'add', path: '/tree/children/1/children/0/animation',
                  value: { location: 0, length: 11, duration: 0.8, repeatCount: 0 } }];
  watch.patch(...spin, { op: 'remove', path: '/tree/children/1/children/0/children/0/image' });
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
  const timing = () => run.evaluate((text) => text.getAnimations().map((a) => a.effect.getTiming()));
  await page.waitForFunction(() => document.querySelector('.title .run').getAnimations().length === 1);
  const [{ delay, iterations }] = await timing();
  assert.deepEqual([delay, iterations], [1000, 1]);
  const reach = await run.evaluate((text) => {
    const [animation] = text.getAnimations();
    const { transform } = animation.effect.getKeyframes()[1];
    animation.finish();
    return text.scrollWidth - text.parentElement.clientWidth + parseFloat(transform.slice('translateX('.length));
  });
  assert.ok(Math.abs(reach) < 20, `to its end and no further, but for ${reach}`);
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

test('the face fits its window, its text follows the reader, and nothing leaves it sideways', async ({ page }) => {
  await openCanned(page, screenWith(list(['Weekly Top 15', 'Radio Stations', 'Unbreakable'.repeat(12)])));
  for (const [width, height, least] of [[1280, 800, 2], [900, 900, 2], [600, 720, 2], [320, 480, 1], [700, 320, 0.5]]) {
    await page.setViewportSize({ width, height });
    await drawn(page);
    const face = await page.locator('#face').boundingBox();
    assert.ok(face.width / 198 >= least && Math.abs(face.width / face.height - 198 / 242) < 0.01 && face.x >= 0 && face.y >= 0 &&
              face.x + face.width <= width && face.y + face.height <= height, `${width}x${height}: ${JSON.stringify(face)}`);
  }
  const size = () => page.locator('.row-title').first().evaluate((label) => parseFloat(getComputedStyle(label).fontSize));
  const usual = await size();
  await page.evaluate(() => { document.documentElement.style.fontSize = '24px'; });
  assert.equal(((await size()) / usual).toFixed(2), '1.50');
  assert.equal(await page.evaluate(() => [...document.querySelectorAll('.screen, .screen .card')]
    .filter((box) => box.scrollWidth > box.clientWidth + 1).length), 0);
});
