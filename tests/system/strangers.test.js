// What the link says to those it does not know, seen by other programs than ours: OpenSSL's own client and
// the example phone. Only the paired phone ever gets a byte of the application.
import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { copyFile, mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { promisify } from 'node:util';

import { eventually, Program, skip, Watch } from '../browser/support/programs.js';
import { artworkIn, goHome, rowTexts } from './support/watching.js';
import { FrameReader, writeFrame } from '../../examples/phone/connection.mjs';
import { pairingNumbers } from '../../examples/phone/pairing.mjs';
import { readArchive, writeArchive } from '../../examples/phone/plist.mjs';

const EXAMPLE = new URL('../../examples/phone/phone.mjs', import.meta.url).pathname;
const run = promisify(execFile);

class ExamplePhone extends Program {
  constructor(home, ...args) {
    super(process.execPath, [EXAMPLE, '--home', home, ...args]);
  }
  get events() {
    return this.lines.map((line) => JSON.parse(line));
  }
  until(name, what) {
    return eventually(() => this.events.find((e) => e.event === name && (what === undefined || e.what === what)),
                      `${name} ${what} among ${this.lines.join(' ')} ${this.log.join(' ')}`);
  }
}

const PATIENCE_MS = 4000;

/** A client of OpenSSL's that holds its input open: what it got from the application, and how long it lasted. */
function stranger(address, args) {
  return new Promise((resolve) => {
    const began = Date.now();
    const client = spawn('openssl', ['s_client', '-connect', address, '-quiet', '-verify_quiet', '-ign_eof', ...args], { stdio: ['pipe', 'pipe', 'pipe'] });
    let bytes = 0;
    let text = '';
    client.stdout.on('data', (data) => { bytes += data.length; });
    client.stderr.on('data', (data) => { text += data; });
    client.stdin.on('error', () => {});
    client.stdin.write(writeFrame('HELLO', 0, { version: 1, role: 'phone', run: Buffer.alloc(16), epoch: Buffer.alloc(16) }));
    const giveUp = setTimeout(() => client.kill(), PATIENCE_MS);
    client.on('exit', (code) => {
      clearTimeout(giveUp);
      resolve({ bytes, text, code, time: Date.now() - began });
    });
  });
}

describe('strangers', { skip }, () => {
  let folder, watch, phone, phoneHome;
  const start = async (more) => (watch = await Watch.start(join(folder, 'watch'), more));
  before(async () => {
    folder = await mkdtemp(join(tmpdir(), 'tunevale-strangers-'));
    phoneHome = join(folder, 'phone');
    await run('openssl', ['req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:P-256', '-nodes', '-days', '2', '-subj', '/CN=stranger',
                          '-keyout', join(folder, 'key.pem'), '-out', join(folder, 'cert.pem')]);
    await run('mkdir', ['-p', join(folder, 'watch')]);
    await start({ pairing: true });
    phone = new ExamplePhone(phoneHome, '--pair', watch.pairing);
  });
  after(async () => {
    await Promise.all([phone?.stop(), watch?.stop()]);
    if (folder) await rm(folder, { recursive: true, force: true });
  });

  test('the phone written from the page pairs by a token and gives a chart, stations and artwork', async () => {
    await phone.until('paired');
    for (const what of ['chart', 'stations']) await phone.until('taken', what);
    await phone.until('request', 'weekly_top_15');
    await eventually(async () => (await artworkIn(join(folder, 'watch'))).length === 5, 'all artwork');
    await watch.until((s) => s.phone.reachable);
    const chart = await watch.input({ select: { table: 'table', row: 0 } });
    assert.equal(rowTexts(chart, 'playlistTable', 'songName')[1], 'Monsoon & Mint');
    // What is tapped on the watch is played by it.
    const playing = await watch.input({ select: { table: 'playlistTable', row: 2 } });
    assert.equal(playing.alert ?? null, null);
    await phone.until('playing', 'Nine Lanterns');
    await watch.until((s) => JSON.stringify(s.tree).includes('Nine Lanterns'));
    await goHome(watch);
  });

  test('nobody else gets a byte', async () => {
    const { identity } = JSON.parse(await readFile(join(phoneHome, 'phone.json'), 'utf8'));
    await writeFile(join(folder, 'paired.pem'), identity.key + identity.certificate, { mode: 0o600 });
    const known = ['-cert', join(folder, 'paired.pem'), '-key', join(folder, 'paired.pem')];
    const own = ['-cert', join(folder, 'cert.pem'), '-key', join(folder, 'key.pem')];
    const kinds = {
      'an unknown key': ['-alpn', 'tunevale-link/1', ...own],
      'no certificate': ['-alpn', 'tunevale-link/1'],
      'the paired key and another protocol': ['-alpn', 'http/1.1', ...known],
      'the paired key and no protocol': known,
      'pairing while nobody may': ['-alpn', 'tunevale-pair/1', ...own],
      'the paired key and TLS 1.2': ['-alpn', 'tunevale-link/1', '-tls1_2', ...known],
      'a pre-shared key': ['-alpn', 'tunevale-link/1', '-psk', '00112233445566778899aabbccddeeff', '-ciphersuites', 'TLS_AES_128_GCM_SHA256'],
    };
    let slowest = 0;
    for (const [kind, args] of Object.entries(kinds)) {
      const { bytes, text, time } = await stranger(watch.link, args);
      assert.equal(bytes, 0, `${kind}: ${text}`);
      assert.match(text, /alert|error/i, kind);
      assert.ok(time < PATIENCE_MS, `${kind} was not sent away`);
      slowest = Math.max(slowest, time);
    }
    // The same client with the right protocol is answered, until the phone takes the session back.
    const paired = await stranger(watch.link, ['-alpn', 'tunevale-link/1', ...known]);
    assert.ok(paired.bytes > 100, paired.text);
    console.log(`FAULT F9   ${Object.keys(kinds).length} kinds of openssl s_client: no application byte, each ended within ${slowest} ms`);
  });

  test('a phone that had the token too late stays outside', async () => {
    const late = new ExamplePhone(join(folder, 'late'), '--pair', watch.pairing);
    assert.equal((await late.ended).code, 1);
    assert.equal(late.events.at(-1).event, 'not paired');
    await watch.until((s) => s.phone.reachable);
  });

  test('the paired one comes back to a watch that was started again, and its unpairing is the watch\'s too', async () => {
    const { link } = watch;
    const count = (name) => phone.events.filter((e) => e.event === name).length;
    await watch.until((s) => s.phone.reachable);
    const [connected, delivered] = [count('connected'), count('delivered')];
    const store = join(folder, 'watch', 'Library', 'Link', 'link.sqlite');
    await watch.stop();
    await copyFile(store, join(folder, 'copy'));
    await start({ link });
    await eventually(() => count('connected') > connected && count('delivered') >= delivered + 5, 'another session');
    assert.equal(count('reset'), 0);
    await watch.stop('SIGKILL');
    await rm(`${store}-wal`, { force: true });
    await copyFile(join(folder, 'copy'), store);
    await start({ link });
    await phone.until('reset');
    await watch.until((s) => s.phone.reachable);
    phone.child.stdin.write('unpair\n');
    await phone.ended;
    await watch.until((s) => !s.phone.reachable);
    await watch.stop();
    await start({ link });
    const { pin } = JSON.parse(await readFile(join(phoneHome, 'phone.json'), 'utf8'));
    assert.equal(pin, null);
    // Had the watch kept its pin, the phone's key would still do.
    const { text, bytes } = await stranger(link, ['-alpn', 'tunevale-link/1', '-cert', join(folder, 'paired.pem'), '-key', join(folder, 'paired.pem')]);
    assert.equal(bytes, 0);
    assert.match(text, /alert/);
  });

  test('two people who see the same code pair', async () => {
    await watch.stop();
    await start({ more: ['--pair'] });
    let shown = '';
    watch.child.stdout.on('data', (data) => { shown += data; });  // a question has no line's end
    const second = new ExamplePhone(join(folder, 'second'), '--pair', watch.link);
    const { what: code } = await second.until('code');
    assert.match(code, /^\d{3} \d{3}$/);
    await eventually(() => shown.includes(`Code: ${code}.`), `the watch shows ${code}`);
    watch.child.stdin.write('y\n');
    second.child.stdin.write('yes\n');
    await second.until('paired');
    await second.until('taken', 'chart');
    await second.stop();
  });
});

describe('the vectors', () => {
  const load = async (name) => JSON.parse(await readFile(new URL(`../link/vectors/${name}.json`, import.meta.url)));
  const value = ({ t, v }) => {
    if (t === 'arr') return v.map(value);
    if (t === 'dict') return Object.fromEntries(Object.entries(v).map(([key, inner]) => [key, value(inner)]));
    if (t === 'int') return Number.isSafeInteger(Number(v)) ? Number(v) : BigInt(v);
    if (t === 'data') return Buffer.from(v, 'base64');
    return t === 'real' ? Number(v) : t === 'null' ? null : v;
  };

  test('are what the example phone reads and computes', async () => {
    for (const { name, hex, body } of (await load('frames')).frames) {
      const [frame] = [...new FrameReader().take(Buffer.from(hex, 'hex'))];
      assert.equal(frame.name, name);
      assert.deepEqual(frame.body, body === null ? {} : value(body), name);
    }
    for (const { name, hex, value: wanted } of await load('archives')) {
      assert.deepEqual(readArchive(Buffer.from(hex, 'hex')), value(wanted), name);
      assert.deepEqual(readArchive(writeArchive(value(wanted))), value(wanted), name);
    }
    const v = await load('pairing');
    const bytes = (key) => Buffer.from(v[key], 'hex');
    const numbers = { k: bytes('K'), fW: bytes('fW'), fP: bytes('fP'), nW: bytes('nW'), nP: bytes('nP') };
    assert.equal(pairingNumbers.commitment(numbers).toString('hex'), v.commit);
    assert.equal(pairingNumbers.code(numbers), v.code);
    for (const role of ['watch', 'phone']) {
      assert.equal(pairingNumbers.proof(numbers, role).toString('hex'), v.proof[role]);
      assert.equal(pairingNumbers.tokenProof(numbers, role, bytes('token')).toString('hex'), v.tokenProof[role]);
    }
  });
});
