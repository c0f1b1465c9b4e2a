// Debian's Chromium, driven by playwright-core. Nothing is downloaded.
import { chromium } from 'playwright-core';

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
