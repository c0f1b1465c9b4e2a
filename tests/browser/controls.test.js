// Chart, player, radio and the page's habits, with real programs.
import assert from 'node:assert/strict';
import { afterEach } from 'node:test';

import { withPages } from './support/browser.js';
import { eventually, startPair, Watch } from './support/programs.js';

const TOP = '.screen:not([inert])';

const [test, here] = withPages({ start: startPair });
afterEach(async () => {
  await here.phone.do('set', { locked: false, reachable: true, refuse: '', silent: false, failing: false });
  for (;;) {
    const screen = await here.watch.screen();
    if (!screen.alert && screen.foreground && screen.back === null) break;
    await here.watch.input(screen.alert ? { alert: 0 } : screen.foreground ? { back: true } : { foreground: true });
  }
});

const title = (page) => page.locator(`${TOP} .title`);

test('from the chart to a song that plays; what was downloaded loses its button, a refusal says why', async ({ page, phone }) => {
  await phone.do('cached', { remove: ['eng003'] });
  await page.getByRole('button', { name: 'Weekly Top 15', exact: true }).click();
  await page.getByText('English  •  15 songs').waitFor();
  const rows = page.locator(`${TOP} .table-row`);
  assert.equal(await rows.count(), 15);
  await rows.first().getByText('Paper Lanterns & Rain').waitFor();
  await page.locator('.hero-art img').first().waitFor();

  const dialog = page.getByRole('alertdialog');
  const download = rows.nth(2).getByRole('button', { name: 'Download' });
  await download.click();
  await dialog.getByText('is now on your phone').waitFor();
  await page.keyboard.press('Escape');
  await dialog.waitFor({ state: 'detached' });
  assert.equal(phone.requests('downloadSong')[0].data.id, 'eng003');
  await phone.do('set', { refuse: 'Out of tune' });
  await rows.nth(5).locator('.select').click();
  await dialog.getByText('Out of tune', { exact: true }).waitFor();
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'detached' });
  await phone.do('set', { refuse: '' });

  await rows.nth(3).locator('.select').click();
  await page.locator(`${TOP}[data-scene=PlayerHomeView]`).waitFor();
  await title(page).getByText('Seventeen Kites').waitFor();
  await page.locator('.second-line', { hasText: /^Seventeen Kites./ }).waitFor();
  await page.getByRole('button', { name: 'Pause' }).waitFor();
  await page.locator('.fill > .picture img').first().waitFor();
  assert.equal(phone.requests('playWeeklyTop15').at(-1).currentPosition, '3');
  await page.getByRole('button', { name: /^Back/ }).click();
  await page.getByText('English  •  15 songs').waitFor();
  await page.keyboard.press('Escape');
  await page.getByRole('button', { name: 'Weekly Top 15', exact: true }).click();
  await download.waitFor({ state: 'hidden' });
});

test('stations: two pages by dots, keys and a swipe; a tap opens the player; the picker flips through them and plays one', async ({ page, watch, phone }) => {
  await page.getByRole('button', { name: 'Radio Stations' }).click();
  await page.getByRole('button', { name: 'Morning Raga, Hindi' }).waitFor();
  await eventually(async () => (await page.locator(`${TOP} .table-row`).count()) === 12, 'twelve stations');
  await page.keyboard.press('ArrowRight');
  await page.getByRole('button', { name: 'Mirelle Vantine, English' }).waitFor();
  const dots = page.getByRole('group', { name: 'Pages' });
  const face = await page.locator('#face').boundingBox();
  await page.mouse.move(face.x + 80, face.y + 250);
  await page.mouse.down();
  await page.mouse.move(face.x + 260, face.y + 255, { steps: 4 });
  await page.mouse.up();
  await page.getByRole('button', { name: 'Night Drive, English' }).waitFor();
  assert.equal((await watch.screen()).identifier, 'RadioHomeView', 'a swipe taps nothing');
  await dots.getByRole('button', { name: 'Page 2' }).click();
  await page.getByRole('button', { name: 'Ishvani Velkar, Hindi' }).click();
  await page.locator(`${TOP}[data-scene=PlayerHomeView]`).waitFor();
  assert.equal(phone.requests('playRadio').at(-1).type, 'artist');
  await page.keyboard.press('Escape');
  await page.locator(`${TOP}[data-scene=RadioHomeView]`).waitFor();
  await eventually(() => phone.delivered('station_artwork'), 'station artwork');
  await dots.getByRole('button', { name: 'Page 1' }).click();
  await page.getByRole('button', { name: 'Flip through' }).click();
  const picker = page.getByRole('slider', { name: 'Station' });
  assert.equal(await picker.getAttribute('aria-valuetext'), 'morning raga, 1 of 12');
  await page.keyboard.press('ArrowDown');
  await title(page).getByText('Night Drive').waitFor();
  await page.locator('.tint .second-line').getByText('English').waitFor();
  await page.locator('.artwork.selected img').first().waitFor();
  await page.getByRole('button', { name: 'Play', exact: true }).click();
  await eventually(() => phone.requests('playRadio').at(-1)?.dataSource.title === 'Night Drive', 'playRadio');
  assert.equal((await watch.screen()).identifier, 'RadioPickerView');
});

test('without a mouse: from the face to a song and back', async ({ page, watch, phone }) => {
  await page.locator('.row-title').getByText('My Player').waitFor();
  const named = () => page.evaluate(() => document.activeElement.getAttribute('aria-label') ?? document.activeElement.textContent);
  const tabTo = async (pattern) => {
    for (let i = 0; i < 30; i++) {
      if (pattern.test(await named())) return;
      await page.keyboard.press('Tab');
    }
    assert.fail(`never reached ${pattern}, but ${await named()}`);
  };
  await tabTo(/^Crown/);
  await page.keyboard.press('Enter');
  await page.getByRole('button', { name: /complication/ }).waitFor();
  assert.equal((await watch.screen()).foreground, false);
  await page.keyboard.press('Enter');
  await page.locator('.watch-face').waitFor({ state: 'detached' });
  assert.match(await named(), /^Crown/, 'the focus is back where it was');
  await tabTo(/^Weekly Top 15$/);
  await page.keyboard.press('Enter');
  await page.getByText('15 songs').waitFor();
  await tabTo(/^Play all$/);
  await page.keyboard.press('Enter');
  await page.locator(`${TOP}[data-scene=PlayerHomeView]`).waitFor();
  assert.equal(phone.requests('playWeeklyTop15').at(-1).currentPosition, '0');
  await page.keyboard.press('Escape');
  await page.locator(`${TOP}[data-scene=PlaylistHomeView]`).waitFor();
  await eventually(async () => (await named()) === 'Play all', 'the focus is where it was');
  await page.keyboard.press('Escape');
  await eventually(async () => (await named()) === 'Weekly Top 15', 'and on the row that was chosen');
});

test('a watch that went away is missed, and shown as it is when it returns', async ({ page, watch }) => {
  await watch.stop('SIGKILL');
  await page.getByText('The watch does not answer').waitFor();
  here.watch = await Watch.start(here.home, { display: watch.display, link: watch.link });
  await page.getByText('The watch does not answer').waitFor({ state: 'hidden' });
  await page.getByText('Phone connected').waitFor();
  await page.getByRole('button', { name: 'Weekly Top 15', exact: true }).click();
  await page.getByText('15 songs').waitFor();
});
