// From the phone's chart to a song that plays, with real programs: on the page, and once more through inputs.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import { FACE, launchBrowser, watchFaults } from './support/browser.js';
import { eventually, find, skip, startPair } from './support/programs.js';

const LOCKED = 'Please unlock your device then try again';
const UNREACHABLE = 'Oops something went wrong. Please open Tunevale on your device first then try again.';

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
    await pair.phone.do('cached', { add: ['eng002'], remove: ['eng003'] });
    await page.getByRole('button', { name: 'Weekly Top 15' }).click();
    await page.getByText('English  •  15 songs').waitFor();
    assert.equal(await rows().count(), 15);
    await rows().first().getByText('Paper Lanterns & Rain').waitFor();
    await page.locator('.hero-art img').first().waitFor();
    assert.ok(await page.locator('.hero-art img').evaluate((image) => image.naturalWidth > 0));
    await pair.phone.do('state');
    const { cached } = pair.phone.events.findLast((event) => event.event === 'state');
    for (const [index, id] of [[0, 'eng001'], [1, 'eng002'], [2, 'eng003'], [14, 'eng015']]) {
      const expected = cached.includes(id) ? 0 : 1;
      await eventually(async () => (await rows().nth(index).getByRole('button', { name: 'Download' }).count()) === expected,
                       `${id} can ${expected ? '' : 'not '}be downloaded`);
    }
    assert.equal(pair.phone.requests('open:playlist_home').length, 1);
  });

  test('a download makes its button vanish', async () => {
    await rows().nth(2).getByRole('button', { name: 'Download' }).click();
    const dialog = page.getByRole('alertdialog');
    await dialog.getByText('is now on your phone').waitFor();
    await page.keyboard.press('Escape');
    await dialog.waitFor({ state: 'detached' });
    assert.equal(pair.phone.requests('downloadSong')[0].data.id, 'eng003');
  });

  for (const [state, change, words] of [['locked', { locked: true }, LOCKED],
                                        ['unreachable', { reachable: false }, UNREACHABLE]]) {
    test(`with the phone ${state}, a tap says why and sends nothing`, async () => {
      const before = plays().length;
      await pair.phone.do('set', change);
      await page.getByText(`Phone ${state}`).waitFor();
      await rows().nth(3).locator('.select').click();
      const dialog = page.getByRole('alertdialog', { name: 'Tunevale' });
      await dialog.getByText(words, { exact: true }).waitFor();
      await dialog.getByRole('button', { name: 'OK' }).click();
      await dialog.waitFor({ state: 'detached' });
      await pair.phone.do('set', { locked: false, reachable: true });
      await page.getByText('Phone connected').waitFor();
      assert.equal(plays().length, before);
    });
  }

  test('a phone that refuses is quoted', async () => {
    await pair.phone.do('set', { refuse: 'Song not available' });
    await rows().nth(3).locator('.select').click();
    await page.getByRole('alertdialog', { name: 'Tunevale' }).getByText('Song not available').waitFor();
    await page.keyboard.press('Enter');
    await page.getByRole('alertdialog').waitFor({ state: 'detached' });
    await pair.phone.do('set', { refuse: '' });
    await page.getByText('English  •  15 songs').waitFor();
  });

  test('a tapped song plays, and the player shows it', async () => {
    await rows().nth(3).locator('.select').click();
    await page.locator('.screen:not([inert])[data-scene=PlayerHomeView]').waitFor();
    await page.locator('.screen:not([inert]) .title').getByText('Seventeen Kites').waitFor();
    await page.locator('.second-line', { hasText: /^Seventeen Kites./ }).waitFor();
    await page.getByRole('button', { name: 'Pause' }).waitFor();
    await page.locator('.fill > .picture img').first().waitFor();
    const sent = plays().at(-1);
    assert.equal(sent.currentPosition, '3');
    assert.equal(sent.data.length, 15);
    assert.equal(sent.data[0].source_view, 'apple_watch');
    await page.getByRole('button', { name: /^Back/ }).click();
    await page.getByText('English  •  15 songs').waitFor();
    await page.keyboard.press('Escape');
    await page.getByRole('button', { name: 'My Player' }).waitFor();
  });

  test('a chart in another language is taken over everywhere', async () => {
    await page.getByRole('button', { name: 'Weekly Top 15' }).click();
    await page.getByText('English  •  15 songs').waitFor();
    await pair.phone.do('push_chart', { language: 'hindi' });
    await eventually(async () => /[\u0900-\u097f]/.test(await rows().first().innerText()), 'Hindi titles');
    await page.getByText('Hindi  •  15 songs').waitFor();
    await eventually(() => pair.phone.requests('watch_purged_cache').length === 1, 'the phone heard of the purge');
    await page.keyboard.press('Escape');
    assert.deepEqual(faults(), []);
  });

  test('the same through inputs alone', async () => {
    const { watch, phone } = pair;
    await page.close();
    let screen = await watch.until((s) => s.identifier === 'Home');
    assert.deepEqual(find(screen.tree, 'table').rows.map((row) => find(row.tree, 'headerTitle').text),
                     ['Weekly Top 15', 'Radio Stations', 'My Player']);
    screen = await watch.input({ select: { table: 'table', row: 0 } });
    assert.equal(screen.identifier, 'PlaylistHomeView');
    assert.equal(find(screen.tree, 'playlistTable').rows.length, 15);
    await phone.do('set', { locked: true });
    await watch.until((s) => s.phone.locked);
    const before = plays().length;
    screen = await watch.input({ select: { table: 'playlistTable', row: 0 } });
    assert.deepEqual(screen.alert, { title: 'Tunevale', message: LOCKED, actions: [{ title: 'OK' }] });
    await assert.rejects(watch.input({ back: true }), /^Error: 409: /);
    await assert.rejects(watch.input({ tap: 7 }), /^Error: 4/);
    screen = await watch.input({ alert: 0 });
    assert.equal(screen.alert, null);
    assert.equal(plays().length, before);
    await phone.do('set', { locked: false });
    await watch.until((s) => !s.phone.locked && s.phone.reachable);
    await watch.input({ select: { table: 'playlistTable', row: 14 } });
    screen = await watch.until((s) => s.identifier === 'PlayerHomeView' && find(s.tree, 'playButton').image === 'Pause');
    assert.equal(plays().at(-1).currentPosition, '14');
    assert.equal(find(screen.tree, 'songTitleLabel').text.length > 0, true);
    screen = await watch.input({ back: true });
    assert.equal(screen.identifier, 'PlaylistHomeView');
    await assert.rejects(watch.input({ select: { table: 'playlistTable', row: 99 } }), /409/);
    await assert.rejects(watch.input({ tap: 'playButton' }), /409/);
    await watch.input({ back: true });
  });
});
