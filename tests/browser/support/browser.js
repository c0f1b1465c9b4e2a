// Debian's Chromium, driven by playwright-core. Nothing is downloaded.
import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';

import { chromium } from 'playwright-core';

import { skip } from './programs.js';

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
    const text = message.text();
    const expected = /Failed to load resource|WebSocket connection/.test(text);
    if (['error', 'warning'].includes(message.type()) && !expected) faults.push(text);
  });
  return () => faults;
}

async function openPage(here) {
  here.page = await here.context.newPage();
  here.page.setDefaultTimeout(8000);
  here.faults = watchFaults(here.page);
}

/**
 * Tests of pages without programs: gives a function that makes one, `(name, run)`, where `run({ page, faults })` has a
 * page of its own in the file's browser. At its end nothing may have been complained of.
 */
export function pageTests() {
  const here = {};
  let browser;
  before(async () => {
    browser = await launchBrowser();
    here.context = await browser.newContext(FACE);
  });
  after(() => browser?.close());
  beforeEach(() => openPage(here));
  afterEach(() => here.page.close());
  return (name, run) => test(name, async () => {
    await run(here);
    assert.deepEqual(here.faults(), []);
  });
}

/**
 * Tests with real programs: `start()` gives `{ watch, end(), … }`, and `body` the tests, by a function like that of
 * pageTests(). Their `run` gets what was started with `page`, at the watch's address, and `context`. All share one page,
 * or have one each (`perTest`).
 */
export function withPrograms(name, start, body, { perTest = false, view = FACE } = {}) {
  describe(name, { skip }, () => {
    const here = {};
    let browser;
    const open = async () => {
      await openPage(here);
      await here.page.goto(here.watch.url);
    };
    before(async () => {
      const [launched, started] = await Promise.allSettled([launchBrowser(), start()]);
      browser = launched.value;
      Object.assign(here, started.value);
      if (launched.reason ?? started.reason) throw launched.reason ?? started.reason;
      here.context = await browser.newContext(view);
      if (!perTest) await open();
    });
    after(() => Promise.all([browser?.close(), here.end?.()]));
    if (perTest) {
      beforeEach(open);
      afterEach(() => here.page.close());
    }
    body((title, run) => test(title, async () => {
      await run(here);
      assert.deepEqual(here.faults(), []);
    }), here);
  });
}
