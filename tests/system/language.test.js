// A chart in another language: what of the last one is thrown away, once.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { eventually, skip } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, rowTexts, settled, startTalkativePair, strangeLines, textOf } from './support/watching.js';

test('another language empties artwork and stations once, tells the phone once, and screens follow', { skip }, async () => {
  const pair = await startTalkativePair();
  const { watch, phone } = pair;
  const openChart = async () => {
    await goHome(watch);
    return watch.input({ select: { table: 'table', row: 0 } });
  };
  try {
    await eventually(async () => (await artworkIn(pair.home)).length === ARTWORK && settled(phone), 'all artwork');
    const stationsBefore = phone.requests('radio_stations').length;
    // Nothing that the phone sends by itself hides the purge from here on.
    await phone.do('set', { pushes: false });
    const opened = await openChart();
    const english = rowTexts(opened, 'playlistTable', 'songName');
    await phone.do('push_chart', { language: 'hindi' });
    await eventually(() => phone.requests('watch_purged_cache').length === 1, 'the phone heard of the purge');
    assert.deepEqual(await artworkIn(pair.home), [], 'no artwork is left');
    const hindi = await watch.until((s) => rowTexts(s, 'playlistTable', 'songName').every((name, i) => name !== english[i]));
    assert.ok(rowTexts(hindi, 'playlistTable', 'songName').some((name) => /[\u0900-\u097f]/.test(name)));
    await phone.do('push_chart', { language: 'hindi' });
    await eventually(() => phone.requests('weekly_top_15').length >= 4, 'every chart was acknowledged');
    await goHome(watch);
    assert.equal(textOf(await openChart(), 'languageLabel'), 'Hindi  •  15 songs');
    await goHome(watch);
    assert.equal(phone.requests('watch_purged_cache').length, 1, 'once');
    await phone.do('set', { pushes: true });
    await eventually(() => phone.requests('radio_stations').length > stationsBefore, 'stations again');
    await watch.input({ select: { table: 'table', row: 1 } });
    await watch.until((s) => s.identifier === 'RadioHomeView' && rowTexts(s, 'radioTable', 'radioName').length === 12);
    await goHome(watch);
    assert.equal(phone.requests('watch_purged_cache').length, 1, 'still once');
    assert.deepEqual(strangeLines(watch.log), []);
  } finally {
    await pair.end();
  }
});
