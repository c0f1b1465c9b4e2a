// From the phone's chart to a song that plays, by POST /api/input alone; and a chart in another language.
import assert from 'node:assert/strict';
import { readdir } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';

import { eventually, find, skip } from '../browser/support/programs.js';
import { goHome, LOCKED, phoneState, rowTexts,
         startTalkativePair, strangeLines, textOf, UNREACHABLE } from './support/watching.js';

describe('the chart by inputs', { skip }, () => {
  let pair, watch, phone;
  before(async () => {
    pair = await startTalkativePair();
    ({ watch, phone } = pair);
  });
  after(() => pair?.end());

  const plays = () => phone.requests('playWeeklyTop15');
  const openChart = async () => {
    await goHome(watch);
    return watch.input({ select: { table: 'table', row: 0 } });
  };
  const allRequests = () => phone.events.filter((event) => event.event === 'request').length;

  test('home opens the chart: fifteen songs, the language, no download where the phone has the song', async () => {
    const home = await watch.screen();
    assert.deepEqual([home.identifier, home.title, home.presentation, home.back, home.alert],
                     ['Home', 'Tunevale', 'root', null, null]);
    assert.deepEqual(rowTexts(home, 'table', 'headerTitle'), ['Weekly Top 15', 'Radio Stations', 'My Player']);
    await phone.do('cached', { add: ['eng002', 'eng015'], remove: ['eng003'] });
    const opened = await openChart();
    assert.deepEqual([opened.identifier, opened.presentation], ['PlaylistHomeView', 'push']);
    assert.equal(rowTexts(opened, 'playlistTable', 'songName').length, 15);
    assert.equal(textOf(opened, 'languageLabel'), 'English  •  15 songs');
    const { cached, queue } = await phoneState(phone);
    const hidden = (screen) => find(screen.tree, 'playlistTable').rows
      .map((row) => find(row.tree, 'downloadButton').hidden === true);
    const expected = queue.map(({ id }) => cached.includes(id));
    assert.ok(expected.includes(true) && expected.includes(false));
    const screen = await watch.until((s) => JSON.stringify(hidden(s)) === JSON.stringify(expected));
    // The watch shows a dash of any length as a hyphen.
    assert.deepEqual(rowTexts(screen, 'playlistTable', 'songName'), queue.map(({ title }) => title.replace('–', '-')));
    assert.equal(phone.requests('open:playlist_home').length, 1);
    assert.equal(phone.requests('cachedSongList').length, 1);
    const row = expected.indexOf(true);
    await assert.rejects(watch.input({ tap: { table: 'playlistTable', row, outlet: 'downloadButton' } }), /409.*hidden/);
  });

  for (const [state, change, back, words] of [
    ['locked', { locked: true }, { locked: false }, LOCKED],
    ['unreachable', { reachable: false }, { reachable: true }, UNREACHABLE],
  ]) {
    test(`with the phone ${state}, a tap says why and sends nothing`, async () => {
      await phone.do('set', change);
      await watch.until((s) => (state === 'locked' ? s.phone.locked : !s.phone.reachable));
      const before = allRequests();
      for (const input of [{ select: { table: 'playlistTable', row: 4 } }, { tap: 'playAll' }]) {
        const screen = await watch.input(input);
        assert.deepEqual(screen.alert, { title: 'Tunevale', message: words, actions: [{ title: 'OK' }] });
        await assert.rejects(watch.input(input), /409/);
        assert.equal((await watch.input({ alert: 0 })).alert, null);
      }
      await phone.do('set', back);
      await watch.until((s) => !s.phone.locked && s.phone.reachable);
      // What had been sent before is now followed by one that is, so nothing can still be on its way.
      await goHome(watch);
      await watch.input({ select: { table: 'table', row: 0 } });
      await eventually(() => phone.requests('cachedSongList').length > 1, 'the list opened again');
      assert.deepEqual(phone.events.filter((event) => event.event === 'request').slice(before)
        .map(({ body }) => body.v.request.v).sort(), ['cachedSongList', 'open:playlist_home']);
      assert.equal(plays().length, 0);
    });
  }

  test('a tapped song plays on the phone and the player shows it; back returns', async () => {
    await watch.input({ select: { table: 'playlistTable', row: 3 } });
    const sent = plays().at(-1);
    assert.equal(sent.currentPosition, '3');
    assert.equal(sent.data.length, 15);
    assert.ok(sent.data.every((song) => song.source_view === 'apple_watch'));
    assert.deepEqual(sent.reply, { request: 'success' });
    const { song, playing, index } = await phoneState(phone);
    assert.deepEqual([playing, index], [true, 3]);
    const player = await watch.until((s) => s.identifier === 'PlayerHomeView' && textOf(s, 'songTitleLabel') === song.title);
    assert.ok(textOf(player, 'songMetaLabel').startsWith(song.album));
    assert.equal(find(player.tree, 'playButton').image, 'Pause');
    await watch.until((s) => /^art-/.test(find(s.tree, 'bgGroupView').image ?? ''));
    const picture = await fetch(new URL(`/api/image/${find((await watch.screen()).tree, 'bgGroupView').image}`, watch.url));
    assert.deepEqual([picture.status, picture.headers.get('content-type')], [200, 'image/png']);
    assert.equal((await watch.input({ back: true })).identifier, 'PlaylistHomeView');
    assert.equal((await watch.input({ back: true })).identifier, 'Home');
  });

  test('another language empties artwork and stations once, tells the phone once, and screens follow', async () => {
    const cache = join(pair.home, 'Documents/ImageCache');
    await eventually(() => phone.delivered('station_artwork') && phone.delivered('chart_artwork'), 'all artwork');
    const stationsBefore = phone.requests('radio_stations').length;
    assert.ok((await readdir(cache)).length >= 14);
    // Nothing that the phone sends by itself hides the purge from here on.
    await phone.do('set', { pushes: false });
    const opened = await openChart();
    const english = rowTexts(opened, 'playlistTable', 'songName');
    await phone.do('push_chart', { language: 'hindi' });
    await eventually(() => phone.requests('watch_purged_cache').length === 1, 'the phone heard of the purge');
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
  });
});
