// What both programs say to a command line that they cannot follow, and the phone's lines of commands.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdir, mkdtemp, readdir, rm, stat, writeFile } from 'node:fs/promises';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';

import { skip, Watch } from '../browser/support/programs.js';
import { program } from './support/watching.js';

/** Runs a program that ends by itself; one that does not is killed, and its signal told. */
function run(name, words, input = '') {
  return new Promise((done, fail) => {
    const child = spawn(program(name), words, { stdio: 'pipe', timeout: 10_000, killSignal: 'SIGKILL' });
    child.stdin.on('error', () => {});  // it may end without having read
    child.stdin.end(input);
    let [out, err] = ['', ''];
    child.stdout.on('data', (data) => (out += data));
    child.stderr.on('data', (data) => (err += data));
    child.on('error', fail);
    child.on('close', (code, signal) => done({ code, signal, out, err }));
  });
}

describe('command lines', { skip, concurrency: 4 }, () => {
  let folder, busy, busyAt, watch;
  before(async () => {
    folder = await mkdtemp(join(tmpdir(), 'tunevale-lines-'));
    await writeFile(join(folder, 'file'), 'not a folder');
    busy = createServer();
    await new Promise((listening) => busy.listen(0, '127.0.0.1', listening));
    busyAt = `127.0.0.1:${busy.address().port}`;
    watch = await Watch.start(join(folder, 'taken'));
  });
  after(async () => {
    busy.close();
    await watch?.stop();
    await rm(folder, { recursive: true, force: true });
  });

  const refused = (name, more, pattern) => test(`${name}: refuses ${pattern}`, async () => {
    const words = more();
    const { code, signal, out, err } = await run(name, words);
    assert.deepEqual([code, signal], [2, null], err);
    assert.equal(out, '');
    assert.match(err, new RegExp(`^${name}: [^\n]+\n$`));
    assert.match(err, pattern);
  });

  for (const name of ['tunevale-watch', 'tunevale-phone']) {
    test(`${name}: --help and --version`, async () => {
      const help = await run(name, ['--help']);
      assert.deepEqual([help.code, help.err], [0, '']);
      for (const word of [`usage: ${name}`, '--link ADDR:PORT', '--version']) assert.ok(help.out.includes(word), word);
      const version = await run(name, ['--version']);
      assert.deepEqual([version.code, version.err], [0, '']);
      assert.match(version.out, new RegExp(`^${name} \\d+\\.\\d+\\S*\n$`));
    });
    refused(name, () => ['--frobnicate'], /unknown option --frobnicate/);
    refused(name, () => ['--link'], /--link needs a value/);
    refused(name, () => ['--link', 'nowhere'], /--link takes ADDR:PORT, not nowhere/);
    refused(name, () => ['--link', '127.0.0.1:65536'], /not 127.0.0.1:65536/);
    refused(name, () => ['--link=127.0.0.1:1', '--link=127.0.0.1:2'], /given twice/);
    refused(name, () => ['surplus'], /unexpected argument surplus/);
  }

  const free = ['--display', '127.0.0.1:0', '--link', '127.0.0.1:0', '--no-demo'];
  const fresh = (tag) => ['--home', join(folder, tag)];
  refused('tunevale-watch', () => ['--home', ''], /--home takes a directory/);
  refused('tunevale-watch', () => ['--home', join(folder, 'file'), ...free], /file/);
  refused('tunevale-watch', () => ['--home', '/proc/nowhere', ...free], /\/proc\/nowhere/);
  refused('tunevale-watch', () => ['--home', join(folder, 'taken'), ...free], /another tunevale-watch uses it/);
  refused('tunevale-watch', () => [...fresh('a'), '--display', busyAt, '--link', '127.0.0.1:0'], /in use/);
  refused('tunevale-watch', () => [...fresh('b'), '--display', '127.0.0.1:0', '--link', busyAt], /in use/);
  refused('tunevale-watch', () => [...fresh('c'), ...free, '--record', join(folder, 'file')], /cannot record to .*file: File exists/);
  refused('tunevale-watch', () => [...fresh('e'), '--replay', join(folder, 'none')], /cannot read the recording/);
  refused('tunevale-watch', () => [...fresh('f'), '--replay', join(folder, 'file')], /file is no recording/);
  refused('tunevale-watch', () => ['--replay', 'x', '--pair'], /nobody to pair with/);
  refused('tunevale-watch', () => ['--replay', 'x', '--link', '127.0.0.1:0'], /no link for --link/);
  refused('tunevale-watch', () => ['--replay', 'x', '--record', 'y'], /no link for --record/);
  refused('tunevale-watch', () => ['--replay', 'x', '--replay-speed', '-1'], /takes 0 to 1000, not -1/);
  refused('tunevale-watch', () => ['--replay-speed', '2'], /is for --replay/);
  refused('tunevale-phone', () => [...fresh('d'), '--console', busyAt], /in use/);
  refused('tunevale-phone', () => [...fresh('g'), '--pair', 'tunevale-pair://127.0.0.1:1?key=12'], /address to pair with/);
  refused('tunevale-phone', () => ['--language', 'klingon'], /not klingon/);

  test('the phone leaves a folder of ours as open as it is, and shows nobody what it puts there', async () => {
    const home = join(folder, 'open');
    await mkdir(home, { mode: 0o755 });
    for (const path of [home, join(folder, 'new', 'phone')]) {
      assert.equal((await run('tunevale-phone', ['--home', path, '--link', '127.0.0.1:1'])).code, 0);
      const mode = async (name) => (await stat(name)).mode & 0o777;
      assert.equal(await mode(path), path === home ? 0o755 : 0o700);
      const inside = await readdir(path);
      assert.ok(inside.includes('identity.pem') && inside.includes('link.sqlite'));
      for (const name of inside) assert.equal((await mode(join(path, name))) & 0o077, 0, name);
    }
  });

  test('the phone obeys lines, refuses those too long, and ends with them', async () => {
    const lines = ['{"do":"volume","value":2,"ref":"a"}', 'nonsense', 'x'.repeat(2_000_000), '{"do":"state","ref":"b"}'];
    const { code, out, err } = await run('tunevale-phone', [...fresh('h'), '--link', '127.0.0.1:1'], lines.join('\n'));
    assert.equal(code, 0, err);
    const events = out.trim().split('\n').map((line) => JSON.parse(line));
    assert.equal(events[0].event, 'ready');
    assert.deepEqual(events.filter(({ event }) => ['done', 'error'].includes(event)).map(({ event, ref }) => [event, ref]),
                     [['done', 'a'], ['error', undefined], ['error', undefined], ['done', 'b']]);
  });

  test('the watch whose home was wanted by another still answers', async () => {
    assert.equal((await watch.screen()).identifier, 'Home');
    assert.deepEqual(watch.log.filter((line) => !line.startsWith('Unable to launch')), []);
  });
});
