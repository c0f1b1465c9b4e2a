// Measures tunevale-watch without its demo phone: start, a change on its way to the page, memory, idle time.
// bench/watch builds the programs and runs this.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { get } from 'node:http';
import { cpus, tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

import { measureCrown } from './watch-crown.mjs';
import { measurePictures } from './watch-pictures.mjs';
import { LiveSocket } from './watch-live.mjs';
import { eventually, Phone, Watch } from '../tests/browser/support/programs.js';
import { ARTWORK, artworkIn, program, settled } from '../tests/system/support/watching.js';
import { tagged } from './tagged.mjs';

const STARTS = 15;
const CHANGES = 200;
const IDLE_SECONDS = 20;
const TICK_MS = 10;  // proc(5): 1/sysconf(_SC_CLK_TCK), a hundredth of a second on Linux

const table = [];
const row = (what, value) => table.push([what, value]);
const sorted = (numbers) => [...numbers].sort((a, b) => a - b);
const at = (numbers, share) => sorted(numbers)[Math.min(numbers.length - 1, Math.floor(numbers.length * share))];
const ms = (number) => `${number.toFixed(2)} ms`;
const spread = (numbers) => `${ms(at(numbers, 0.5))} (best ${ms(at(numbers, 0))}, 9 of 10 within ${ms(at(numbers, 0.9))})`;

async function inHome(run) {
  const home = await mkdtemp(join(tmpdir(), 'tunevale-bench-'));
  try {
    await run(home);
  } finally {
    await rm(home, { recursive: true, force: true });
  }
}

const field = async (watch, name) => {
  const status = await readFile(`/proc/${watch.child.pid}/status`, 'utf8');
  return Number(new RegExp(`^${name}:\\s+(\\d+)`, 'm').exec(status)[1]);
};
const mib = (kib) => `${(kib / 1024).toFixed(1)} MiB`;
const memory = async (watch) => `${mib(await field(watch, 'VmRSS'))} (highest ${mib(await field(watch, 'VmHWM'))})`;

/** Processor time and switches to and from the processor, of all threads so far. */
async function work(watch) {
  const { pid } = watch.child;
  const fields = (await readFile(`/proc/${pid}/stat`, 'utf8')).split(') ')[1].split(' ');
  return { time: (Number(fields[11]) + Number(fields[12])) * TICK_MS, wakes: await voluntarySwitches(pid) };
}

async function voluntarySwitches(pid) {
  let sum = 0;
  for (const thread of await readdir(`/proc/${pid}/task`)) {
    const status = await readFile(`/proc/${pid}/task/${thread}/status`, 'utf8');
    sum += Number(/^voluntary_ctxt_switches:\s+(\d+)/m.exec(status)[1]);
  }
  return sum;
}

async function measureIdle(watch, state) {
  await new Promise((wake) => setTimeout(wake, 1000));  // what the last thing left to do is done
  const before = await work(watch);
  await new Promise((wake) => setTimeout(wake, IDLE_SECONDS * 1000));
  const after = await work(watch);
  row(`resident, ${state}`, await memory(watch));
  row(`idle for ${IDLE_SECONDS} s, ${state}`, `${after.time - before.time} ms of processor, woken ${after.wakes - before.wakes} times`);
}

/** From before the process is made until its first screen has been read whole. */
async function measureStarts(label, home) {
  const times = [];
  for (let i = 0; i < STARTS; i++) {
    const begin = performance.now();
    const child = spawn(program('tunevale-watch'), ['--home', home, '--display', '127.0.0.1:0', '--link', '127.0.0.1:0', '--no-demo'],
                        { stdio: ['ignore', 'pipe', 'ignore'] });
    const ended = once(child, 'exit');
    const [line] = await once(createInterface({ input: child.stdout }), 'line');
    const [answer] = await once(get(`${line.replace('Display: ', '')}api/screen`), 'response');
    await answer.toArray();
    times.push(performance.now() - begin);
    child.kill();
    await ended;
  }
  row(`start to first screen, ${label}`, spread(times));
}

/** From the phone's line with a now-playing report until the page has its title. */
async function measureChanges(watch, phone) {
  await watch.input({ select: { table: 'table', row: 2 } });
  const live = await LiveSocket.open(watch.display);
  const times = [];
  for (let i = 0; i < CHANGES; i++) {
    const title = `Change ${i} ${Math.random()}`;
    const seen = live.next(title);
    const line = `${JSON.stringify({ do: 'data', body: tagged({ appPlaying: { title } }) })}\n`;
    const begin = performance.now();
    phone.child.stdin.write(line);
    await seen;
    times.push(performance.now() - begin);
  }
  live.close();
  row('phone sends to page has it', `${spread(times)}, of ${CHANGES}`);
}

await inHome(async (home) => {
  await measureStarts('empty home', home);
  const watch = await Watch.start(home, { pairing: true });
  let phone;
  try {
    await measureIdle(watch, 'no phone');
    phone = await Phone.start(join(home, 'Phone'), { pairing: watch.pairing });
    await eventually(async () => (await artworkIn(home)).length === ARTWORK && settled(phone), 'all was sent');
    await phone.do('pause');  // what plays goes on to the next song by itself
    await eventually(() => settled(phone), 'the watch knows');
    await measureIdle(watch, 'with a phone');
    await measureChanges(watch, phone);
    await watch.input({ back: true });
  } finally {
    await phone?.stop();
    await watch.stop();
  }
  await measureStarts('full home', home);
  await measureCrown(home, row, spread);
});

for (const count of [90, 200, 2000]) await inHome((home) => measurePictures(home, count, { resident: memory, row, spread }));

const width = Math.max(...table.map(([what]) => what.length));
console.log(`${cpus().length} × ${cpus()[0].model}, load ${(await readFile('/proc/loadavg', 'utf8')).split(' ')[0]}`);
for (const [what, value] of table) console.log(`${what.padEnd(width)}  ${value}`);
