// Player, radio and the page's habits, with real programs.
import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';

import { FACE, launchBrowser, watchFaults } from './support/browser.js';
import { eventually, find, skip, startPair, tagged, Watch } from './support/programs.js';

describe('controls', { skip }, () => {
  let pair, browser, page, faults;
  before(async () => {
    pair = await startPair();
    browser = await launchBrowser();
  });
  after(async () => {
    await browser?.close();
    await pair?.end();
  });
  beforeEach(async () => {
    page = await browser.newPage(FACE);
    page.setDefaultTimeout(8000);
    faults = watchFaults(page);
    await page.goto(pair.watch.url);
    await page.getByRole('button', { name: 'My Player' }).waitFor();
  });
  afterEach(async () => {
    await page.close();
    await pair.phone.do('set', { locked: false, reachable: true, refuse: '', silent: false, failing: false });
    for (;;) {
      const screen = await pair.watch.screen();
      if (screen.alert) await pair.watch.input({ alert: 0 });
      else if (!screen.foreground) await pair.watch.input({ foreground: true });
      else if (screen.back !== null) await pair.watch.input({ back: true });
      else break;
    }
  });

  const openPlayer = async () => {
    await page.getByRole('button', { name: 'My Player' }).click();
    await page.getByRole('slider', { name: 'Volume' }).waitFor();
  };

  test('play, pause, next and previous drive the phone; buttons dim while it thinks', async () => {
    await pair.phone.do('play_song', { index: 1 });
    await openPlayer();
    await page.locator('.screen:not([inert]) .title').getByText('Copper Moon Cartography').waitFor();
    await page.getByRole('button', { name: 'Pause' }).click();
    await page.getByRole('button', { name: 'Play', exact: true }).waitFor();
    await eventually(() => pair.phone.requests('pauseMedia').length === 1, 'pauseMedia');
    await page.getByRole('button', { name: 'Play', exact: true }).click();
    await eventually(() => pair.phone.requests('playMedia').at(-1)?.weekly_top_15 === 0, 'playMedia');
    const title = await page.locator('.screen:not([inert]) .title').innerText();
    await page.getByRole('button', { name: 'Next' }).click();
    await eventually(async () => (await page.locator('.screen:not([inert]) .title').innerText()) !== title, 'another title');

    await pair.phone.do('set', { silent: true });
    const sent = pair.phone.requests('nextMedia').length;
    await page.getByRole('button', { name: 'Next' }).focus();
    await page.keyboard.press('Enter');
    await page.locator('.spinner').waitFor();
    for (const name of ['Previous', 'Next']) {
      assert.equal(await page.getByRole('button', { name }).getAttribute('aria-disabled'), 'true');
    }
    await page.keyboard.press('Enter');
    await eventually(() => pair.phone.requests('nextMedia').length === sent + 1, 'one more nextMedia');
    await page.waitForTimeout(150);
    assert.equal(pair.phone.requests('nextMedia').length, sent + 1, 'a disabled button sends nothing');
    assert.deepEqual(faults(), []);
  });

  test('stations: two pages by dots, keys and a swipe; a tap opens the player', async () => {
    await page.getByRole('button', { name: 'Radio Stations' }).click();
    await page.getByRole('button', { name: 'Morning Raga, Hindi' }).waitFor();
    await eventually(async () => (await page.locator('.screen:not([inert]) .table-row').count()) === 12, 'twelve stations');
    assert.equal(await page.locator('h1').textContent(), 'Featured');
    await page.keyboard.press('ArrowRight');
    await page.getByRole('button', { name: 'Mirelle Vantine, English' }).waitFor();
    const dots = page.getByRole('group', { name: 'Pages' });
    assert.equal(await dots.getByRole('button', { name: 'Page 2' }).getAttribute('aria-current'), 'page');
    const face = await page.locator('#face').boundingBox();
    await page.mouse.move(face.x + 80, face.y + 250);
    await page.mouse.down();
    await page.mouse.move(face.x + 260, face.y + 255, { steps: 4 });
    await page.mouse.up();
    await page.getByRole('button', { name: 'Night Drive, English' }).waitFor();
    assert.equal((await pair.watch.screen()).identifier, 'RadioHomeView', 'a swipe taps nothing');
    await dots.getByRole('button', { name: 'Page 2' }).click();
    await page.getByRole('button', { name: 'Ishvani Velkar, Hindi' }).click();
    await page.locator('.screen:not([inert])[data-scene=PlayerHomeView]').waitFor();
    const { type, dataSource } = pair.phone.requests('playRadio').at(-1);
    assert.equal(type, 'artist');
    assert.ok(!Object.values(dataSource.more_info).includes(null), 'without null entries');
    assert.equal(await page.getByRole('button', { name: /^Back/ }).getAttribute('aria-label'), 'Back, Player');
  });

  test('the picker flips through stations with their artwork, and plays one', async () => {
    await eventually(() => pair.phone.delivered('station_artwork'), 'station artwork');
    await page.getByRole('button', { name: 'Radio Stations' }).click();
    await page.getByRole('button', { name: 'Flip through' }).click();
    const picker = page.getByRole('slider', { name: 'Station' });
    await picker.waitFor();
    assert.equal(await picker.getAttribute('aria-valuetext'), 'morning raga, 1 of 12');
    assert.ok(await page.getByText('morning raga', { exact: true }).isVisible());
    const color = () => page.locator('.tint').evaluate((group) => group.style.getPropertyValue('--color'));
    const first = await color();
    await page.keyboard.press('ArrowDown');
    await page.locator('.screen:not([inert]) .title').getByText('Night Drive').waitFor();
    await page.locator('.tint .second-line').getByText('English').waitFor();
    assert.notEqual(await color(), first);
    assert.ok(!(await page.locator('.caption').isVisible()), 'the name stands there once');
    await page.locator('.artwork.selected img').first().waitFor();
    await page.getByRole('button', { name: 'Play', exact: true }).click();
    await eventually(() => pair.phone.requests('playRadio').at(-1)?.dataSource.title === 'Night Drive', 'playRadio');
    assert.equal((await pair.watch.screen()).identifier, 'RadioPickerView');
  });

  test('without a mouse: from the face to a song and back', async () => {
    const named = () => page.evaluate(() => document.activeElement.getAttribute('aria-label') ?? document.activeElement.textContent);
    const tabTo = async (pattern) => {
      for (let i = 0; i < 30; i++) {
        if (pattern.test(await named())) return;
        await page.keyboard.press('Tab');
      }
      assert.fail(`never reached ${pattern}, but ${await named()}`);
    };
    await page.waitForTimeout(50);
    await tabTo(/^Crown/);
    await page.keyboard.press('Enter');
    await page.getByRole('button', { name: /complication/ }).waitFor();
    assert.equal((await pair.watch.screen()).foreground, false);
    await page.keyboard.press('Enter');
    await eventually(async () => (await pair.watch.screen()).foreground, 'open again');
    await tabTo(/^Weekly Top 15$/);
    await page.keyboard.press('Enter');
    await page.getByText('15 songs').waitFor();
    const before = pair.phone.requests('playWeeklyTop15').length;
    await tabTo(/^Play all$/);
    assert.ok(await page.evaluate(() => document.activeElement.matches(':focus-visible')));
    await page.keyboard.press('Enter');
    await page.locator('.screen:not([inert])[data-scene=PlayerHomeView]').waitFor();
    assert.equal(pair.phone.requests('playWeeklyTop15').length, before + 1);
    await page.keyboard.press('Escape');
    await page.locator('.screen:not([inert])[data-scene=PlaylistHomeView]').waitFor();
    await eventually(async () => (await named()) === 'Play all', 'the focus is where it was');
    await page.keyboard.press('Escape');
    await eventually(async () => (await named()) === 'Weekly Top 15', 'and on the row that was chosen');
  });

  test('hostile texts are texts', async () => {
    await pair.phone.do('data', { body: tagged({ appPlaying: {
      title: '<img src=x onerror=alert(1)>\u202Eevil', more_info: { album: 'a'.repeat(5000), artistMap: 'no map' } } }) });
    const asked = pair.phone.requests('currentPlayingSong').length;
    await openPlayer();
    // What the player asks for as it opens would otherwise come after this.
    await eventually(() => pair.phone.requests('currentPlayingSong').length > asked, 'the player has asked');
    await pair.phone.do('data', { body: tagged({ appPlaying: { title: '<b>bold</b>', more_info: 7 } }) });
    await page.locator('.screen:not([inert]) .title').getByText('<b>bold</b>').waitFor();
    assert.equal(await page.locator('.screen b').count(), 0);
    await pair.phone.do('push_now_playing');
    assert.deepEqual(faults(), []);
  });

  test('a watch that went away is missed, and shown as it is when it returns', async () => {
    const { watch } = pair;
    await page.getByRole('button', { name: 'Weekly Top 15' }).click();
    await page.getByText('15 songs').waitFor();
    await watch.stop('SIGKILL');
    await page.getByText('The watch does not answer').waitFor();
    pair.watch = await Watch.start(pair.home, { display: watch.display, link: watch.link });
    await page.getByRole('button', { name: 'My Player' }).waitFor();
    assert.equal(await page.locator('#notice').textContent(), '');
    await page.getByText('Phone connected').waitFor();
    const screen = await pair.watch.input({ select: { table: 'table', row: 0 } });
    assert.equal(find(screen.tree, 'playlistTable').rows.length, 15, 'the chart has survived');
    await page.getByText('15 songs').waitFor();
  });
});
