// A value of every kind at every key that a phone may send, over every transport.
import assert from 'node:assert/strict';
import { readdir } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';

import { eventually, find, plain, skip } from '../browser/support/programs.js';
import { ARTWORK, artworkIn, goHome, startTalkativePair, strangeLines, textOf } from './support/watching.js';

const str = (v) => ({ t: 'str', v });
const arr = (...v) => ({ t: 'arr', v });
const dict = (v) => ({ t: 'dict', v });
const int = (v) => ({ t: 'int', v });

const KINDS = {
  'null': { t: 'null' },
  'a bool': { t: 'bool', v: true },
  'an integer': int('-7'),
  'a large integer': int('9223372036854775807'),
  'a real': { t: 'real', v: '1e300' },
  'an empty text': str(''),
  'a text': str('../../../x\u0000\u202e%@%n'),
  'no bytes': { t: 'data', v: '' },
  'bytes': { t: 'data', v: 'YnBsaXN0MDDRAQJRYVFi' },
  'an empty list': arr(),
  'a list': arr({ t: 'null' }, int('1'), str('x'), arr(arr()), dict({})),
  'an empty dictionary': dict({}),
  'a dictionary': dict({ '': int('1'), title: arr(), more_info: int('3'), list: str('x'), language: dict({}) }),
};
const SONG = { id: str('s1'), title: str('A Song'), more_info: dict({ album: str('An Album') }) };

/** Dictionaries that hold the odd value at one place each. */
const songs = (odd) => [odd, ...['id', 'title', 'more_info', 'type', 'source_view'].map((key) => dict({ ...SONG, [key]: odd })),
                        ...['album', 'artistMap', 'show_title', 'season_title', 'season_number'].map((key) => dict({ ...SONG, more_info: dict({ [key]: odd }) }))];
const languages = (odd) => (odd.t === 'str' && odd.v !== '' ? [] : [odd]);  // a text there is a language
const charts = (odd) => [
  odd,
  dict({ list: odd }),
  dict({ list: arr(...songs(odd)) }),
  ...languages(odd).flatMap((language) => [dict({ list: arr(dict(SONG)), language }),
                                           dict({ list: arr(dict({ ...SONG, language })) })]),
  dict({ list: arr(dict(SONG)), error: odd }),
];
const stations = (odd) => [
  odd,
  ...['featured', 'artist'].flatMap((key) => [
    dict({ [key]: odd }),
    dict({ [key]: arr(odd, ...['title', 'image', 'more_info'].map((inner) => dict({ [inner]: odd })),
                      ...['color', 'language'].map((inner) =>
                        dict({ title: str('T'), more_info: dict({ [inner]: odd }) }))) }),
  ]),
];
const atKey = (key) => (value) => dict({ [key]: value });

describe('wrong kinds', { skip }, () => {
  let pair, watch, phone;
  let told = 0;
  before(async () => {
    pair = await startTalkativePair({ settled: false, phoneOptions: ['--no-push'] });
    ({ watch, phone } = pair);
    await watch.until((s) => s.phone.reachable);
    // What a good phone sent before, so that every screen has something that could be spoilt.
    for (const name of ['push_stations', 'push_now_playing', 'push_artwork']) await phone.do(name);
    await phone.do('push_chart', { language: 'english' });
    const sent = (kind) => phone.events.filter(({ event, what }) => event === kind && what !== 'command').length;
    await eventually(async () => (await artworkIn(pair.home)).length === ARTWORK && phone.delivered('chart_context') &&
                                 phone.delivered('now_playing_artwork') && sent('sent') === sent('outcome'), 'all of it');
  });
  after(() => pair?.end());

  /** Writes a command, without waiting; gives the reference by which `outcomes` finds what became of it. */
  function tell(name, more) {
    const ref = `line ${++told}`;
    phone.child.stdin.write(`${JSON.stringify({ do: name, ref, ...more })}\n`);
    return ref;
  }

  async function outcomes(refs) {
    const found = new Map();
    await eventually(() => {
      assert.deepEqual(phone.events.filter(({ event }) => event === 'error'), []);
      for (const e of phone.events) if (e.event === 'outcome') found.set(e.ref, { result: e.result, code: e.code, body: e.body });
      return refs.every((ref) => found.has(ref));
    }, `outcomes of ${refs.length} commands`);
    return refs.map((ref) => found.get(ref)).map((one) => ({ ...one, body: plain(one.body) }));
  }

  /** Runs what sends, and gives the lines logged meanwhile, at least so many. The last thing is a message, answered. */
  async function logged(send, count = 0) {
    const before = watch.log.length;
    const refs = await send();
    const became = await outcomes(refs);
    const [last] = await outcomes([tell('message', { body: dict({ request: str('anything') }) })]);
    assert.deepEqual(last, { result: 'reply', code: undefined, body: { request: 'failed' } });
    await eventually(() => watch.log.length >= before + count, `${count} lines of log`);
    return { outcomes: became, log: watch.log.slice(before) };
  }

  for (const [name, odd] of Object.entries(KINDS)) {
    test(`${name}: messages, message data and user infos are taken in silence`, async () => {
      const { outcomes: answered, log } = await logged(async () => [
        tell('message', { body: dict({ request: odd }) }),
        tell('message', { body: dict({ request: str('volume'), value: odd }) }),
        tell('message', { body: dict({}) }),
      ]);
      assert.deepEqual(answered.map(({ body }) => body), [{ request: 'failed' }, { request: 'success' }, { request: 'failed' }]);
      assert.deepEqual(log, []);

      const bodies = [odd, ...charts(odd).map(atKey('weekly_top_15')), ...stations(odd).map(atKey('radio_stations')),
                      ...songs(odd).flatMap((song) => [dict({ appPlaying: song }), dict({ appPaused: song })]),
                      dict({ appPaused: odd, volume: odd }), dict({ appPlaying: dict({ title: str('B') }), volume: odd })];
      const data = await logged(async () => bodies.map((body) => tell('data', { body })));
      assert.ok(data.outcomes.every(({ result, code }) => result === 'error' && code === 7011), 'never answered');
      assert.deepEqual(data.log, []);

      const infos = await logged(async () => bodies.filter(({ t }) => t === 'dict').map((body) => tell('user_info', { body })));
      assert.ok(infos.outcomes.every(({ result }) => result === 'delivered'));
      assert.deepEqual(infos.log, []);
    });

    test(`${name}: contexts are logged, files dropped or kept, each once`, async () => {
      const serial = (body) => ({ body: dict({ ...body.v, push: str(`${name} ${Math.random()}`) }) });
      const contexts = [
        ...charts(odd).map((chart) => ({ ...serial(dict({ weekly_top_15: chart })), archive: ['weekly_top_15'] })),
        serial(dict({ weekly_top_15: odd })), serial(dict({ cachedSongList: odd })),
        serial(dict({ cachedSongList: int('1'), pids: odd })),
      ];
      const { log } = await logged(async () => {
        // One by one, as a later one replaces it; the last once more, as an equal one is delivered and not told.
        for (const context of [...contexts, contexts.at(-1)]) await outcomes([tell('context', context)]);
        return [];
      }, contexts.length);
      assert.equal(log.length, contexts.length);
      assert.ok(log.every((line) => line.startsWith('applicationContext:')), log.join('\n'));

      const metadata = [['radio_image', 'radio_title'], ['radio_title', 'radio_image'],
                        ['playlist_image', 'image_name'], ['image_name', 'playlist_image']]
        .map(([odd1, good]) => dict({ [odd1]: odd, [good]: str('fine') }));
      const files = await logged(async () => [
        ...metadata.map((about) => tell('file', { artwork: name, format: 'png', metadata: about })),
        ...metadata.map((about) => tell('file', { data: 'bm8gcGljdHVyZQ==', metadata: about })),
        tell('file', { data: '', metadata: dict({}) }),
      ], 9);
      assert.equal(files.log.filter((line) => line.startsWith('Receiving File:')).length, 9);
      assert.deepEqual(files.log.filter((line) => !/^(Receiving File:|Error writing File: )/.test(line)), []);
    });

    test(`${name}: every screen opens afterwards`, async () => {
      for (const row of [0, 2, 1]) {
        await goHome(watch);
        const screen = await watch.input({ select: { table: 'table', row } });
        assert.equal(screen.identifier, ['PlaylistHomeView', 'RadioHomeView', 'PlayerHomeView'][row]);
      }
      await watch.input({ page: 1 });
      assert.equal((await watch.input({ tap: 'flipThrough' })).identifier, 'RadioPickerView');
      await goHome(watch);
    });
  }

  test('nothing was written beside the cache, and a good phone is shown again', async () => {
    const entries = await readdir(pair.home, { recursive: true });
    const own = [/^Documents(\/ImageCache(\/[^/]+\.png)?)?$/, /^Library(\/Preferences(\/com\.tunevale\.watch\.plist)?)?$/,
                 /^Library\/Link(\/(identity\.pem|link\.sqlite(-wal)?|Spool))?$/, /^\.?lock$/];
    const outside = entries.filter((path) => !own.some((pattern) => pattern.test(path)));
    assert.deepEqual(outside, []);
    assert.ok(entries.some((path) => path.startsWith(join('Documents', 'ImageCache', 'fine'))), 'a good name was kept');
    await phone.do('push_chart', { language: 'tamil' });
    await phone.do('play_song', { index: 1 });
    await phone.do('push_now_playing');
    const before = phone.events.length;
    await phone.do('push_stations');
    await eventually(() => phone.events.slice(before).some((e) => e.event === 'outcome' && e.what === 'stations'), 'stations');
    const player = await watch.input({ select: { table: 'table', row: 2 } });
    assert.ok(textOf(player, 'songTitleLabel').length > 0);
    await goHome(watch);
    await watch.input({ select: { table: 'table', row: 1 } });
    await watch.until((s) => find(s.tree, 'radioTable').rows.length === 12);
    assert.deepEqual(strangeLines(watch.log), []);
    assert.equal(watch.child.exitCode, null);
  });
});
