// The demo: the watch and its phone's console side by side, from one program.
import assert from 'node:assert/strict';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';

import { launchBrowser, watchFaults } from './support/browser.js';
import { eventually, find, skip, Watch } from './support/programs.js';

describe('the demo', { skip }, () => {
  let home, watch, browser, page, faults, phone;
  before(async () => {
    home = await mkdtemp(join(tmpdir(), 'tunevale-demo-'));
    watch = await Watch.start(home, { demo: true });
    browser = await launchBrowser();
    page = await browser.newPage({ viewport: { width: 1280, height: 800 }, locale: 'en-GB' });
    page.setDefaultTimeout(8000);
    faults = watchFaults(page);
    await page.goto(watch.url);
    phone = page.frameLocator('iframe[title="Demo phone console"]');
    await phone.getByText('Watch connected').waitFor();
  });
  after(async () => {
    await browser?.close();
    await watch?.stop();
    await rm(home, { recursive: true, force: true });
  });

  const button = (name) => phone.getByRole('button', { name, exact: true });
  const toggle = (name) => phone.getByRole('switch', { name, exact: true });
  const logged = (pattern) => phone.locator('#traffic-list li', { hasText: pattern });

  test('a chart pushed from the console is on the watch', async () => {
    await page.getByRole('button', { name: 'Weekly Top 15' }).click();
    await page.getByText('English  •  15 songs').waitFor();
    await button('Chart: Tamil').click();
    await page.getByText('Tamil  •  15 songs').waitFor();
    await page.locator('.screen:not([inert]) .table-row').first().getByText(/[\u0b80-\u0bff]/).first().waitFor();
    await logged('watch_purged_cache').waitFor();
  });

  test('what the watch asks is listed, newest on top, with its size and answer', async () => {
    await page.locator('.screen:not([inert]) .table-row .select').first().click();
    await page.locator('.screen:not([inert])[data-scene=PlayerHomeView]').waitFor();
    await logged('playWeeklyTop15').getByText('reply', { exact: true }).waitFor();
    assert.match(await logged('playWeeklyTop15').locator('.size').innerText(), /^[\d.]+ kB$/);
    const times = (await phone.locator('#traffic-list .time').allInnerTexts()).map(Number);
    assert.deepEqual(times, [...times].sort((a, b) => b - a));
    assert.ok(times.length <= 200);
  });

  test('what plays is shown with its artwork, and moves on', async () => {
    await button('Pause').waitFor();
    assert.ok(await phone.locator('#artwork').evaluate(async (image) => { await image.decode(); return image.naturalWidth; }) > 0);
    const elapsed = phone.locator('#elapsed');
    const shown = await elapsed.innerText();
    await eventually(async () => (await elapsed.innerText()) !== shown, 'the time moves');
    const title = await phone.locator('#song').innerText();
    await button('Next').click();
    await eventually(async () => (await phone.locator('#song').innerText()) !== title, 'the next song');
    await page.locator('.screen:not([inert]) .title').getByText(await phone.locator('#song').innerText()).waitFor();
    await button('Pause').click();
    await page.getByRole('button', { name: 'Play', exact: true }).waitFor();
  });

  test('the volume goes both ways', async () => {
    const level = async () => Number(await page.getByRole('slider', { name: 'Volume' }).getAttribute('aria-valuenow'));
    await phone.getByRole('slider', { name: 'Volume' }).focus();
    await page.keyboard.press('Home');
    await eventually(async () => (await level()) === 0, 'silent');
    await page.locator('#crown').focus();
    await page.keyboard.press('ArrowUp');
    await page.keyboard.press('ArrowUp');
    await eventually(async () => (await phone.locator('#volume').inputValue()) === '2', 'the console follows the crown');
  });

  test('switches do what they say, by keyboard', async () => {
    for (const [name, words] of [['Locked', 'Phone locked'], ['Unreachable', 'Phone unreachable']]) {
      await toggle(name).focus();
      await page.keyboard.press('Space');
      await page.getByText(words).waitFor();
      await page.keyboard.press('Space');
      await page.getByText('Phone connected').waitFor();
    }
    await phone.getByRole('textbox', { name: 'Words of the refusal' }).fill('Out of tune');
    await toggle('Refuse').focus();
    await page.keyboard.press('Space');
    await page.getByRole('button', { name: 'Next', exact: true }).click();
    await page.getByRole('alertdialog').getByText('Out of tune').waitFor();
    await page.getByRole('button', { name: 'OK' }).click();
    await toggle('Refuse').uncheck();
    await toggle('Fail').check();
    await page.getByRole('button', { name: 'Previous', exact: true }).click();
    await logged('prevMedia').getByText('failure').waitFor();
    await toggle('Fail').uncheck();
  });

  test('an empty queue offers the chart', async () => {
    await button('Empty queue').click();
    await phone.getByText('Nothing is playing').waitFor();
    await page.locator('.screen:not([inert]) .title').getByText('Weekly Top 15').waitFor();
    for (const name of ['Stations', 'Artwork', 'Context', 'User info', 'Now playing', 'Queue empty']) await button(name).click();
    await logged('chart_user_info').getByText('delivered').first().waitFor();
    const screen = await watch.screen();
    assert.equal(find(screen.tree, 'songTitleLabel').text, 'Weekly Top 15');
    assert.equal(await phone.locator('#error').innerText(), '');
  });

  test('a section has its own address', async () => {
    const alone = await browser.newPage();
    await alone.goto(new URL('/phone#switches', watch.url).href);
    await alone.getByText('Watch connected').waitFor();
    assert.equal(await alone.evaluate(() => document.activeElement.id), 'switches');
    await alone.close();
    assert.deepEqual(faults(), []);
  });
});
