// What a person would see, measured.

/** A PNG of one colour, made by the browser. */
export async function plainPicture(page, color) {
  await page.setContent(`<body style="background:${color}">`);
  return page.screenshot({ clip: { x: 0, y: 0, width: 16, height: 16 } });
}

/** Once what was begun has been drawn: callbacks of the next frame have run. */
export function drawn(page) {
  return page.evaluate(() => new Promise((done) => { requestAnimationFrame(() => requestAnimationFrame(done)); }));
}
