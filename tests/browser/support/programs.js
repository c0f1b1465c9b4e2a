// The real programs: a watch in a home of its own, and a phone driven through its lines of JSON.
import { spawn } from 'node:child_process';
import { existsSync } from 'node:fs';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { createInterface } from 'node:readline';

const folder = process.env.TUNEVALE_BIN ?? new URL('../../../build/dev/src/apps', import.meta.url).pathname;
const WATCH = resolve(process.env.TUNEVALE_WATCH ?? join(folder, 'tunevale-watch'));
const PHONE = resolve(process.env.TUNEVALE_PHONE ?? join(folder, 'tunevale-phone'));
const named = process.env.TUNEVALE_BIN ?? process.env.TUNEVALE_WATCH;

/** Why these tests cannot run: only where nobody said where the programs are. */
export const skip = !named && !existsSync(WATCH) && `no programs in ${folder}: build first, or set TUNEVALE_BIN`;

const PATIENCE = 15_000;

/** Waits until `probe` gives something true, and gives that. */
export async function eventually(probe, what = String(probe), patience = PATIENCE) {
  const end = Date.now() + patience;
  for (;;) {
    const found = await probe();
    if (found) return found;
    if (Date.now() > end) throw new Error(`never came true: ${what}`);
    await new Promise((wake) => setTimeout(wake, 25));
  }
}

export class Program {
  static running = new Set();
  lines = [];
  log = [];

  constructor(path, args) {
    this.child = spawn(path, args, { stdio: ['pipe', 'pipe', 'pipe'] });
    this.ended = new Promise((end) => this.child.on('exit', (code, signal) => end({ code, signal })));
    Program.running.add(this);
    this.ended.then(() => Program.running.delete(this));
    this.child.on('error', (error) => this.log.push(String(error)));
    createInterface({ input: this.child.stdout }).on('line', (line) => this.lines.push(line));
    createInterface({ input: this.child.stderr }).on('line', (line) => this.log.push(line));
  }

  async line(pattern) {
    const found = await eventually(() => this.lines.find((line) => pattern.test(line)) ?? (this.child.exitCode !== null && 'ended'),
                                   `${pattern} among ${JSON.stringify(this.lines)}`);
    if (found === 'ended') throw new Error(`ended early: ${this.log.join('\n')}`);
    return found.match(pattern)[1];
  }

  async stop(signal = 'SIGTERM') {
    this.child.kill(signal);
    return this.ended;
  }
}

export class Watch extends Program {
  /**
   * `pairing`: also gives the address with which one phone may pair, as `watch.pairing`. A `link` of null is for a
   * watch without one.
   */
  static async start(home, { display = '127.0.0.1:0', link = '127.0.0.1:0', demo = false, pairing = false, more = [] } = {}) {
    const watch = new Watch(WATCH, ['--home', home, '--display', display, ...(link ? ['--link', link] : []),
                                    ...(demo || pairing ? [] : ['--no-demo']), ...(pairing ? ['--pairing-token'] : []), ...more]);
    watch.url = await watch.line(/^Display: (http\S+)/);
    if (link) watch.link = await watch.line(/^Link: (\S+)/);
    if (pairing) watch.pairing = await watch.line(/^Pairing: (\S+)/);
    return watch;
  }

  get display() {
    return new URL(this.url).host;
  }

  async screen() {
    return (await fetch(new URL('/api/screen', this.url))).json();
  }

  /** Sends one input; gives the screen after it, or throws with what the watch said. */
  async input(input) {
    const answer = await fetch(new URL('/api/input', this.url), { method: 'POST', body: JSON.stringify(input) });
    const body = await answer.json();
    if (answer.status !== 200) throw new Error(`${answer.status}: ${body.error}`);
    return body;
  }

  until(test) {
    return eventually(async () => {
      const screen = await this.screen();
      return test(screen) && screen;
    }, String(test));
  }
}

export class Phone extends Program {
  count = 0;

  /** A phone of that home, which knows the watch at `link`, or pairs with it by an address. */
  static async start(home, { link, pairing, more = [] }) {
    return new Phone(PHONE, ['--home', home, ...(pairing ? ['--pair', pairing] : ['--link', link]), ...more]);
  }

  get events() {
    return this.lines.map((line) => JSON.parse(line));
  }

  /** Gives a command; throws when the phone does not take it. */
  async do(name, more = {}) {
    const ref = `test ${++this.count}`;
    this.child.stdin.write(`${JSON.stringify({ do: name, ref, ...more })}\n`);
    const answer = await eventually(() => this.events.find((e) => e.ref === ref && ['done', 'error'].includes(e.event)),
                                    `an answer to ${name}`);
    if (answer.event === 'error') throw new Error(answer.text);
  }

  /** Requests of the watch of that name, as plain objects. */
  requests(name) {
    return this.events.filter((e) => e.event === 'request' && plain(e.body)?.request === name)
      .map((e) => ({ ...plain(e.body), answer: e.answer, reply: plain(e.reply) }));
  }

  /** Whether the watch has handled something that the phone pushed, as its lines from `from` on tell. It never
   * answers message data: 7011. */
  delivered(what, from = 0) {
    return this.events.slice(from).some((e) => e.event === 'outcome' && e.what === what && (e.result !== 'error' || e.code === 7011));
  }
}

/** A value of tagged JSON as plain JavaScript. */
export function plain(tagged) {
  if (!tagged) return undefined;
  const { t, v } = tagged;
  if (t === 'arr') return v.map(plain);
  if (t === 'dict') return Object.fromEntries(Object.entries(v).map(([key, value]) => [key, plain(value)]));
  if (t === 'int' || t === 'real') return Number(v);
  return t === 'null' ? null : v;
}

/** A watch and a paired phone that has given it all it has. `end()` stops both and removes their homes. */
export async function startPair({ settled = true, phoneOptions = [] } = {}) {
  const home = await mkdtemp(join(tmpdir(), 'tunevale-browser-'));
  const phoneHome = await mkdtemp(join(tmpdir(), 'tunevale-phone-'));
  const watch = await Watch.start(home, { pairing: true });
  const phone = await Phone.start(phoneHome, { pairing: watch.pairing, more: phoneOptions });
  const pair = {
    home, phoneHome, watch, phone,
    async end() {
      await Promise.all([this.phone.stop(), this.watch.stop()]);
      for (const folder of [home, phoneHome]) await rm(folder, { recursive: true, force: true });
    },
  };
  try {
    if (settled) await eventually(() => phone.delivered('chart_context') && phone.delivered('stations') &&
                                        phone.delivered('cached_context'), 'the phone has sent all');
  } catch (error) {
    await pair.end();
    throw error;
  }
  return pair;
}

/** The element of a screen's tree that an outlet or id names. */
export function find(node, name) {
  if (node.outlet === name) return node;
  return (node.children ?? []).reduce((found, child) => found ?? find(child, name), null);
}
