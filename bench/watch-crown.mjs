// The time of answers to a crown that turns: where each step changes the stored volume, on this disk and on a slow one,
// and where nothing is stored. bench/watch runs this.
import { resolve } from 'node:path';

import { Watch } from '../tests/browser/support/programs.js';

const STEPS = 200;
const SLOW_DISK = resolve(process.env.TUNEVALE_BIN, '../../bench/libslow_disk.so');

async function answers(watch, steps) {
  const times = [];
  for (let i = 0; i < steps; i++) {
    const begin = performance.now();
    await watch.input({ crown: i % 20 < 10 ? -1 : 1 });
    times.push(performance.now() - begin);
  }
  return times;
}

/** Tells `row` of each; `home` is a folder for the watch, whose phone is away. */
export async function measureCrown(home, row, spread) {
  for (const [disk, preload] of [['', undefined], [', each sync of the disk 50 ms', SLOW_DISK]]) {
    if (preload) process.env.LD_PRELOAD = preload;
    const watch = await Watch.start(home);
    delete process.env.LD_PRELOAD;
    try {
      await watch.input({ select: { table: 'table', row: 2 } });
      row(`crown on the player${disk}`, spread(await answers(watch, STEPS)));
      await watch.input({ back: true });
      if (preload) continue;
      await watch.input({ select: { table: 'table', row: 0 } });
      row('crown on the playlist, where nothing is stored', spread(await answers(watch, STEPS)));
    } finally {
      await watch.stop();
    }
  }
}
