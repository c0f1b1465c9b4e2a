// From the phone's chart to a song that plays, on the page, with real programs.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import { FACE, launchBrowser, watchFaults } from './support/browser.js';
import { skip, startPair } from './support/programs.js';

describe('the chart', { skip }, () => {
  let pair, browser, page, faults;
  before(async () => {
    pair = await startPair();
    browser = await launchBrowser();
    page = await browser.newPage(FACE);
    page.setDefaultTimeout(8000);
    faults = watchFaults(page);
    await page.goto(pair.watch.url);
  });
  after(async () => {
    await browser?.close();
    await pair?.end();
  });

  const rows = () => page.locator('.screen:not([inert]) .table-row');
  const plays = () => pair.phone.requests('playWeeklyTop15');

  test('home shows its three rows', async () => {
    for (const name of ['Weekly Top 15', 'Radio Stations', 'My Player']) {
      await page.getByRole('button', { name, exact: true }).waitFor();
    }
    await page.getByText('Phone connected').waitFor();
  });

  test('the chart opens with its songs, its language and its artwork', async () => {
    await pair.phone.do('cached', { remove: ['eng003'] });
    await page.getByRole('button', { name: 'Weekly Top 15' }).click();
    await page.getByText('English  •  15 songs').waitFor();
    assert.equal(await rows().count(), 15);
    await rows().first().getByText('Paper Lanterns & Rain').waitFor();
    await page.locator('.hero-art img').first().waitFor();
    assert.ok(await page.locator('.hero-art img').evaluate((image) => image.naturalWidth > 0));
  });

  test('a download makes its button vanish', async () => {
    await rows().nth(2).getByRole('button', { name: 'Download' }).click();
    const dialog = page.getByRole('alertdialog');
    await dialog.getByText('is now on your phone').waitFor();
    await page.keyboard.press('Escape');
    await dialog.waitFor({ state: 'detached' });
    assert.equal(pair.phone.requests('downloadSong')[0].data.id, 'eng003');
  });

  test('with the phone locked, unreachable or refusing, a tap says why', async () => {
    for (const [wrong, right, mark, words] of [
      [{ locked: true }, { locked: false }, 'Phone locked', 'Please unlock your device then try again'],
      [{ reachable: false }, { reachable: true }, 'Phone unreachable',
        'Oops something went wrong. Please open Tunevale on your device first then try again.'],
      [{ refuse: 'Out of tune' }, { refuse: '' }, 'Phone connected', 'Out of tune'],
    ]) {
      await pair.phone.do('set', wrong);
      await page.getByText(mark).waitFor();
      const before = plays().length;
      await rows().nth(5).locator('.select').click();
      const dialog = page.getByRole('alertdialog');
      await dialog.getByText(words, { exact: true }).waitFor();
      await dialog.getByRole('button', { name: 'OK' }).click();
      await dialog.waitFor({ state: 'detached' });
      assert.equal(plays().length - before, wrong.refuse ? 1 : 0, mark);
      await pair.phone.do('set', right);
      await page.getByText('Phone connected').waitFor();
    }
  });

  test('a tapped song plays, and the player shows it', async () => {
    await rows().nth(3).locator('.select').click();
    await page.locator('.screen:not([inert])[data-scene=PlayerHomeView]').waitFor();
    await page.locator('.screen:not([inert]) .title').getByText('Seventeen Kites').waitFor();
    await page.locator('.second-line', { hasText: /^Seventeen Kites./ }).waitFor();
    await page.getByRole('button', { name: 'Pause' }).waitFor();
    await page.locator('.fill > .picture img').first().waitFor();
    assert.equal(plays().at(-1).currentPosition, '3');
    await page.getByRole('button', { name: /^Back/ }).click();
    await page.getByText('English  •  15 songs').waitFor();
    await page.keyboard.press('Escape');
    await page.getByRole('button', { name: 'My Player' }).waitFor();
    assert.deepEqual(faults(), []);
  });
});
