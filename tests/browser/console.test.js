// The demo: the watch and its phone's console side by side, from one program.
import assert from 'node:assert/strict';

import { withPages } from './support/browser.js';
import { eventually, Watch } from './support/programs.js';

const [test, here] = withPages({ start: async (folder) => ({ watch: await Watch.start(folder, { demo: true }) }),
                                 perTest: false, view: { viewport: { width: 1280, height: 800 }, locale: 'en-GB' } });
const frame = () => here.page.frameLocator('iframe[title="Demo phone console"]');
const button = (name) => frame().getByRole('button', { name, exact: true });
const toggle = (name) => frame().getByRole('switch', { name, exact: true });
const logged = (pattern) => frame().locator('#traffic-list li', { hasText: pattern });
const song = () => frame().locator('#song').innerText();
const top = (what) => here.page.locator(`.screen:not([inert])${what}`);

test('a chart pushed from the console is on the watch, and what the watch asks is listed', async ({ page }) => {
  await logged('chart_context').getByText('delivered').first().waitFor();
  await page.getByRole('button', { name: 'Weekly Top 15' }).click();
  await page.getByText('English  •  15 songs').waitFor();
  await button('Chart: Tamil').click();
  await page.getByText('Tamil  •  15 songs').waitFor();
  await top(' .table-row').first().getByText(/[\u0b80-\u0bff]/).first().waitFor();
  await logged('watch_purged_cache').waitFor();

  // What the watch asks is listed, newest on top, with its size and answer.
  await top(' .table-row .select').first().click();
  await top('[data-scene=PlayerHomeView]').waitFor();
  await logged('playWeeklyTop15').getByText('reply', { exact: true }).waitFor();
  assert.match(await logged('playWeeklyTop15').locator('.size').innerText(), /^[\d.]+ kB$/);
  const times = (await frame().locator('#traffic-list .time').allInnerTexts()).map(Number);
  assert.deepEqual(times, [...times].sort((a, b) => b - a));
});

test('what plays is shown with its artwork, and moves on', async ({ page }) => {
  assert.ok(await frame().locator('#artwork').evaluate(async (image) => { await image.decode(); return image.naturalWidth; }) > 0);
  const elapsed = frame().locator('#elapsed');
  const shown = await elapsed.innerText();
  await eventually(async () => (await elapsed.innerText()) !== shown, 'the time moves');
  const title = await song();
  await button('Next').click();
  await eventually(async () => (await song()) !== title, 'the next song');
  await top(' .title').getByText(await song()).waitFor();
  assert.equal(await frame().locator('li[aria-current=true] .title').innerText(), await song());
  await button('Pause').click();
  await page.getByRole('button', { name: 'Play', exact: true }).waitFor();
  await frame().getByRole('slider', { name: 'Volume' }).press('Home');
  await page.locator('.slider, .picker').and(page.locator('[aria-valuenow="0"]')).waitFor();
  await page.locator('#crown').press('ArrowUp');
  for (const name of ['More', 'More', 'Less']) await page.getByRole('button', { name, exact: true }).click();
  await eventually(async () => (await frame().locator('#volume').inputValue()) === '2', 'the console follows the crown');
  await eventually(() => page.locator('.bar').evaluate((bar) => bar.style.getPropertyValue('--part') === '0.2'), 'and the bar');
});

test('switches do what they say, by keyboard', async ({ page }) => {
  for (const [name, words] of [['Locked', 'Phone locked'], ['Unreachable', 'Phone unreachable']]) {
    await toggle(name).focus();
    await page.keyboard.press('Space');
    await page.getByText(words).waitFor();
    await page.keyboard.press('Space');
    await page.getByText('Phone connected').waitFor();
  }
  await toggle('Fail').check();
  await page.getByRole('button', { name: 'Previous', exact: true }).click();
  await logged('prevMedia').getByText('failure').waitFor();
  await toggle('Fail').uncheck();
});

test('an empty queue offers the chart', async ({ page }) => {
  await button('Empty queue').click();
  await frame().getByText('Nothing is playing').waitFor();
  await top(' .title').getByText('Weekly Top 15').waitFor();
  for (const name of ['Stations', 'Artwork', 'Context', 'User info', 'Now playing', 'Queue empty']) await button(name).click();
  await logged('chart_user_info').getByText('delivered').first().waitFor();
  assert.equal(await frame().locator('#error').innerText(), '');
});
