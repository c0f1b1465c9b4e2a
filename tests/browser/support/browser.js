// Debian's Chromium, driven by playwright-core. Nothing is downloaded.
import assert from 'node:assert/strict';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, test } from 'node:test';

import { chromium } from 'playwright-core';

import { Program, skip } from './programs.js';

export const FACE = { viewport: { width: 560, height: 720 }, locale: 'en-GB' };

export function launchBrowser() {
  return chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
           '--disable-component-update', '--disable-sync'],
  });
}

/** Collects what a page complains of; `faults()` gives it. Lost servers and missing consoles are no faults. */
export function watchFaults(page) {
  const faults = [];
  page.on('pageerror', (error) => faults.push(String(error)));
  page.on('console', (message) => {
    const expected = /Failed to load resource|WebSocket connection/.test(message.text());
    if (['error', 'warning'].includes(message.type()) && !expected) faults.push(message.text());
  });
  return () => faults;
}

/**
 * Tests that share a browser: gives `[test, here]`. `test(name, run)` makes one; `run` gets `here`: `page`, `context`,
 * `folder` (a fresh one) and what `start(folder)` gives, real programs that is, which are stopped in the end. With
 * programs, pages stand at `here.watch`. All tests share one page, or have one each (`perTest`), and at the end of each
 * the page may have complained of nothing.
 */
export function withPages({ start, perTest = true, view = FACE } = {}) {
  const here = {};
  let browser;
  if (start && skip) return [(name) => test(name, { skip }), here];
  const open = async () => {
    here.page = await here.context.newPage();
    here.page.setDefaultTimeout(20_000);
    here.faults = watchFaults(here.page);
    if (here.watch) await here.page.goto(here.watch.url);
  };
  before(async () => {
    here.folder = await mkdtemp(join(tmpdir(), 'tunevale-pages-'));
    const [launched, started] = await Promise.allSettled([launchBrowser(), start?.(here.folder)]);
    browser = launched.value;
    if (launched.reason ?? started.reason) throw launched.reason ?? started.reason;
    here.context = await browser.newContext(view);
    Object.assign(here, started.value);
    if (!perTest) await open();
  });
  after(async () => {
    await Promise.all([browser?.close(), here.end?.(), ...Array.from(Program.running, (program) => program.stop())]);
    await rm(here.folder, { recursive: true, force: true });
  });
  if (perTest) beforeEach(open);
  if (perTest) afterEach(() => here.page.close());
  return [(name, run) => test(name, async () => {
    await run(here);
    assert.deepEqual(here.faults(), []);
  }), here];
}
