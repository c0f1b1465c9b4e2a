// What a recording keeps, and that a watch without a phone comes out the same from it.
import assert from 'node:assert/strict';
import { mkdir, mkdtemp, readdir, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { describe, test } from 'node:test';

import { eventually, find, Phone, skip, Watch } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, rowTexts, settled, strangeLines } from './support/watching.js';

describe('a recording', { skip }, () => {
  test('replayed in a fresh home shows what the phone showed, and holds no secrets', async () => {
    const folder = await mkdtemp(join(tmpdir(), 'tunevale-replay-'));
    const [file, fresh] = [join(folder, 'recording'), join(folder, 'fresh')];
    const programs = [];
    const chartOf = async (watch) => {
      const screen = await watch.input({ select: { table: 'table', row: 0 } });
      await watch.input({ back: true });
      return rowTexts(screen, 'playlistTable', 'songName');
    };
    try {
      const watch = await Watch.start(join(folder, 'home'), { pairing: true, more: ['--record', file] });
      programs.push(watch);
      const phone = await Phone.start(join(folder, 'phone'), { pairing: watch.pairing });
      programs.push(phone);
      await eventually(async () => (await artworkIn(join(folder, 'home'))).length === ARTWORK && settled(phone), 'all is sent');
      await phone.do('push_chart', { language: 'tamil' });
      await eventually(() => settled(phone) && phone.requests('watch_purged_cache').length > 0, 'another chart');
      await eventually(async () => (await artworkIn(join(folder, 'home'))).length === ARTWORK && settled(phone), 'its artwork');
      const volume = 9;
      await phone.do('volume', { value: volume });
      await eventually(() => settled(phone), 'the volume');
      const [chart, artwork] = [await chartOf(watch), (await artworkIn(join(folder, 'home'))).sort()];
      await watch.stop();

      const recorded = await readFile(file, 'utf8');
      const [, key, token] = watch.pairing.match(/key=([0-9a-f]{64})&token=([0-9a-f]{32})$/);
      const identity = await readFile(join(folder, 'home/Library/Link/identity.pem'), 'utf8');
      for (const secret of [key, token, ...identity.split('\n').filter((line) => line.length > 60)]) {
        assert.ok(!recorded.includes(secret), 'a key is in the recording');
      }

      await mkdir(join(fresh, 'Replay'), { recursive: true });
      await writeFile(join(fresh, 'Replay', 'notes'), 'of the person');
      const again = await Watch.start(fresh, { link: null, demo: true, more: ['--replay', file, '--replay-speed', '0'] });
      programs.push(again);
      await eventually(() => again.log.some((line) => line === 'The recording has ended.'), 'the end');
      assert.deepEqual(await chartOf(again), chart);
      assert.deepEqual((await artworkIn(fresh)).sort(), artwork);
      assert.deepEqual((await readdir(fresh)).sort(), ['.lock', 'Documents', 'Library', 'Replay'], 'nothing is left of it');
      assert.deepEqual(await readdir(join(fresh, 'Replay')), ['notes']);
      const player = await again.input({ select: { table: 'table', row: 2 } });
      assert.equal(find(player.tree, 'volumePicker').selected, volume);
      assert.deepEqual([player.pairing, player.phone.reachable], [null, true], 'as it was last');
      assert.deepEqual(strangeLines(again.log.filter((line) => line !== 'The recording has ended.')), []);
    } finally {
      await Promise.all(programs.map((program) => program.stop()));
      await rm(folder, { recursive: true, force: true });
    }
  });
});
