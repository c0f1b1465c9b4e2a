// What a person would see, measured.

/** The contrast of a text as drawn: the brightest pixel of its box against the most common one. */
export async function drawnContrast(page, locator) {
  const shot = (await locator.screenshot()).toString('base64');
  return page.evaluate(async (png) => {
    const image = new Image();
    image.src = `data:image/png;base64,${png}`;
    await image.decode();
    const context = new OffscreenCanvas(image.width, image.height).getContext('2d');
    context.drawImage(image, 0, 0);
    const { data } = context.getImageData(0, 0, image.width, image.height);
    const linear = (byte) => (byte <= 10 ? byte / 255 / 12.92 : ((byte / 255 + 0.055) / 1.055) ** 2.4);
    const all = Array.from({ length: data.length / 4 }, (_, i) =>
      0.2126 * linear(data[4 * i]) + 0.7152 * linear(data[4 * i + 1]) + 0.0722 * linear(data[4 * i + 2]));
    all.sort((a, b) => a - b);
    const ground = all[Math.floor(all.length / 2)];
    return (all.at(-1) + 0.05) / (ground + 0.05);
  }, shot);
}

/** The boxes of everything on the screen, to see whether something moved. */
export function boxes(page) {
  return page.evaluate(() => [...document.querySelectorAll('.screen [data-id]')].map((element) => {
    const { x, y, width, height } = element.getBoundingClientRect();
    return [element.dataset.id, x, y, width, height].join(' ');
  }));
}

/** A PNG of one colour, made by the browser. */
export async function plainPicture(page, color) {
  await page.setContent(`<body style="background:${color}">`);
  return page.screenshot({ clip: { x: 0, y: 0, width: 16, height: 16 } });
}

/** Once what was begun has been drawn: callbacks of the next frame have run. */
export function drawn(page) {
  return page.evaluate(() => new Promise((done) => { requestAnimationFrame(() => requestAnimationFrame(done)); }));
}
