// Pairing by two people: one at the watch's page, one at the phone's console or terminal.
import assert from 'node:assert/strict';
import { join } from 'node:path';

import { withPages } from './support/browser.js';
import { eventually, Phone, Watch } from './support/programs.js';

const [test, here] = withPages({ start: async (folder) => ({ watch: await Watch.start(join(folder, 'watch')) }), perTest: false });
const startPhone = (name, { pairing: address, more = [] }) =>
  Phone.start(join(here.folder, name), { pairing: address, more: ['--no-push', ...more] });
const dialog = () => here.page.getByRole('dialog');
const button = (name) => dialog().getByRole('button', { name, exact: true });
const code = () => here.page.locator('#pairing-code').innerText();
const pairing = async () => (await here.watch.screen()).pairing;

test('a watch without a phone says so, and offers a QR code', async ({ page, watch }) => {
  await page.getByText('No phone paired').waitFor();
  assert.equal((await watch.screen()).phone.activated, false);
  await page.getByRole('button', { name: 'Pair a phone' }).click();
  await button('Pair a phone').click();
  const picture = dialog().locator('img.qr');
  await picture.waitFor();
  assert.ok(await picture.evaluate(async (image) => { await image.decode(); return image.naturalWidth; }) > 0);
  assert.match(await dialog().locator('.left').innerText(), /^[12]:\d\d$/);
  assert.match(await picture.getAttribute('alt'), /tunevale-pair:\/\/127\.0\.0\.1:\d+\?key=[0-9a-f]{64}&token=[0-9a-f]{32}$/);
});

test('two people who see the same code and say yes have paired, once the later one has', async ({ page, watch }) => {
  const phone = await startPhone('phone', { pairing: watch.link, more: ['--console', '127.0.0.1:0'] });
  phone.child.stdin.end();  // a phone with a console goes on
  const consoleAt = await phone.line(/"console":"([^"]+)"/);
  const other = await here.context.newPage();
  await other.goto(consoleAt);
  await button('No').waitFor();
  assert.equal(await page.evaluate(() => document.activeElement.textContent), 'No', 'Enter says no');
  await other.getByText('Does the watch show the same code?').waitFor();
  const seen = await code();
  assert.match(seen, /^\d{3} \d{3}$/);
  assert.equal(await other.locator('.pairing .code').innerText(), seen);
  await button('Yes, pair').click();
  await page.getByText('Now say yes on the phone').waitFor();
  assert.equal((await pairing()).phone, null);
  await other.getByRole('button', { name: 'Yes, pair' }).click();
  await page.getByText('This is now your phone').waitFor();
  await button('Done').click();
  await page.getByText('Phone connected').waitFor();
  await eventually(() => phone.requests('Hello').length === 1, 'the new phone is greeted');
  assert.ok(await page.getByRole('button', { name: 'My Player' }).isVisible());
  await other.close();
});

test('in terminals: without a yes on the phone too, the one before stays', async ({ page }) => {
  let { watch } = here;
  const { phone: before } = await pairing();
  await watch.stop();
  here.watch = watch = await Watch.start(join(here.folder, 'watch'), { display: watch.display, link: watch.link, more: ['--pair'] });
  const phone = await startPhone('second', { pairing: watch.link });
  await button('No').waitFor();
  await eventually(() => phone.lines.some((line) => /"step":"comparing"/.test(line)), 'the phone asks');
  watch.child.stdin.write('yes\n');
  await page.getByText('Now say yes on the phone').waitFor();
  phone.child.stdin.write('{"do":"state","ref":"no answer"}\n');
  await eventually(() => phone.lines.some((line) => /"ref":"no answer"/.test(line)), 'a command is none');
  phone.child.stdin.write('\n');
  await page.getByText('Not paired').waitFor();
  await eventually(() => watch.lines.some((line) => /Code: \d{3} \d{3}.*\[y\/N\] Waiting for the phone/.test(line)), 'it asked');
  assert.equal((await pairing()).phone, before);
  await button('Close').click();
  await dialog().waitFor({ state: 'detached' });
  await page.getByText('Phone connected').waitFor();
  await phone.stop();
});

test('an unpaired phone is gone at once, and its call is told as what it is', async ({ page, watch }) => {
  await page.getByRole('button', { name: 'Pairing' }).click();
  await button('Unpair').click();
  await button('Unpair').click();
  await page.getByText('No phone paired').waitFor({ timeout: 2000 });
  await button('Close').click();
  assert.deepEqual([(await pairing()).phone, (await watch.screen()).phone.reachable], [null, false]);
});
