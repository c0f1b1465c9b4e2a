// Killed at any moment while charts and artwork stream in, the watch comes back with all it had.
import assert from 'node:assert/strict';
import { readdir, readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { describe, test } from 'node:test';

import { eventually, find, skip, Watch } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, phoneState, randomFrom,
         rowTexts, settled, startTalkativePair, strangeLines, textOf } from './support/watching.js';

const PNG_START = Buffer.from('89504e470d0a1a0a', 'hex');
const PNG_END = Buffer.from('0000000049454e44ae426082', 'hex');  // an empty chunk IEND and its checksum

/** A file that was cut short anywhere lacks its end. */
async function assertWholePictures(home) {
  for (const name of (await artworkIn(home)).filter((file) => file.endsWith('.png'))) {
    const bytes = await readFile(join(home, 'Documents/ImageCache', name));
    assert.ok(bytes.subarray(0, 8).equals(PNG_START) && bytes.subarray(-12).equals(PNG_END), `${name} is whole`);
  }
}

/** Every file in the home, checked: whole pictures, the defaults, and nothing half-done beside them. */
async function assertTidy(home) {
  const known = /^(Documents\/ImageCache\/[^/]+\.png|Library\/Preferences\/com\.tunevale\.watch\.plist|Library\/Link\/(identity\.pem|link\.sqlite(-wal)?|Spool\/[^/]+)|\.?lock)$/;
  // What the killed watch had received, this one handles: a file may be half-written for a moment.
  await eventually(async () => {
    const entries = await readdir(home, { recursive: true, withFileTypes: true });
    return entries.every((entry) => !entry.isFile() || known.test(join(entry.path, entry.name).slice(home.length + 1)));
  }, 'nothing half-written is left');
  await assertWholePictures(home);
}

describe('a killed watch', { skip, concurrency: 2 }, () => {
  const seeds = process.env.SEED ? [Number(process.env.SEED)] : [11, 12];
  for (const seed of seeds) {
    test(`comes back with all it had (SEED=${seed})`, async () => {
      const random = randomFrom(seed);
      const pair = await startTalkativePair();
      const { phone, home } = pair;
      const volumes = new Set([(await phoneState(phone)).volume]);
      const languages = ['english', 'hindi', 'tamil'];
      let interrupted = 0;  // kills that came while something was on its way
      let startedAt = 0;    // the phone's line at which the watch in use was started
      try {
        for (let kill = 0; kill < 5; kill++) {
          const language = languages[Math.floor(random() * 3)];
          await phone.do('push_chart', { language });
          await phone.do('push_artwork');
          const volume = Math.floor(random() * 11);
          volumes.add(volume);
          await phone.do('volume', { value: volume });
          const before = phone.lines.length;
          const wanted = 1 + Math.floor(random() * 40);
          // The moment is a number of things under way, so that slow machines are killed in the middle as well.
          await eventually(() => phone.lines.length >= before + wanted || settled(phone), 'things under way');
          interrupted += !settled(phone);
          await pair.watch.stop('SIGKILL');
          assert.deepEqual(strangeLines(pair.watch.log), []);
          await assertWholePictures(home);
          const { display, link } = pair.watch;
          // Where the phone does not find it, it has only what it kept.
          pair.watch = await Watch.start(home);
          await assertTidy(home);
          const kept = await pair.watch.input({ select: { table: 'table', row: 2 } });
          assert.ok(volumes.has(find(kept.tree, 'volumePicker').selected), 'a volume that the phone had');
          await pair.watch.stop('SIGKILL');
          assert.deepEqual(strangeLines(pair.watch.log), []);
          startedAt = phone.lines.length;
          pair.watch = await Watch.start(home, { display, link });
          if (kill < 4) await pair.watch.until((s) => s.phone.reachable);
        }
        assert.ok(interrupted > 0, 'some kills came in the middle');
        const { watch } = pair;
        await watch.until((s) => s.phone.reachable);
        await eventually(() => phone.delivered('volume', startedAt), 'the phone has found this watch');
        await eventually(async () => (await artworkIn(home)).length === ARTWORK, 'all artwork is there again');
        const state = await phoneState(phone);
        await eventually(() => settled(phone), 'everything that was on its way has arrived');

        // Alone now, from what it has kept: nobody is there to tell it anything.
        await watch.stop('SIGKILL');
        await phone.stop();
        pair.watch = await Watch.start(home);
        await assertTidy(home);
        assert.deepEqual(strangeLines(pair.watch.log), []);
        assert.equal((await artworkIn(home)).length, ARTWORK);
        const chart = await pair.watch.input({ select: { table: 'table', row: 0 } });
        assert.equal(rowTexts(chart, 'playlistTable', 'songName').length, 15);
        assert.equal(textOf(chart, 'languageLabel'), `${state.language[0].toUpperCase()}${state.language.slice(1)}  •  15 songs`);
        await goHome(pair.watch);
        const player = await pair.watch.input({ select: { table: 'table', row: 2 } });
        assert.equal(find(player.tree, 'volumePicker').selected, state.volume);
        await goHome(pair.watch);
        await pair.watch.input({ select: { table: 'table', row: 1 } });
        const picker = await pair.watch.input({ tap: 'flipThrough' });
        const items = find(picker.tree, 'radioPicker').items;
        assert.ok(items.length === 12 && items.every(({ image }) => /^art-/.test(image)), 'artwork from the files');
      } finally {
        await pair.end();
      }
    });
  }
});
