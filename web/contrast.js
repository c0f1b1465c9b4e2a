// Contrast as WCAG 2.2 defines it, for text over colours that arrive from outside. Components from 0 to 1.

const LEAST = 4.5;
const SECOND_LINE = 0.62;

function luminance(rgb) {
  const [r, g, b] = rgb.map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

export function contrast(one, other) {
  const [low, high] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (high + 0.05) / (low + 0.05);
}

/** A colour with alpha, laid over an opaque ground. */
export function over([r, g, b, a = 1], ground = [0, 0, 0]) {
  return [r, g, b].map((c, i) => c * a + ground[i] * (1 - a));
}

/** How much black must lie over a colour until white text of that opacity can be read on it: 0 to 1. */
export function scrimFor(color, textOpacity = SECOND_LINE) {
  const ground = over(color);
  for (let scrim = 0; scrim < 1; scrim += 0.02) {
    const dimmed = over([0, 0, 0, scrim], ground);
    if (contrast(over([1, 1, 1, textOpacity], dimmed), dimmed) >= LEAST) return Number(scrim.toFixed(2));
  }
  return 1;
}

/** Black or white, whichever reads better on a colour. */
export function inkFor(color) {
  const ground = over(color);
  return contrast([0, 0, 0], ground) >= contrast([1, 1, 1], ground) ? 'black' : 'white';
}

export function cssColor([r, g, b, a = 1]) {
  return `rgb(${[r, g, b].map((c) => Math.round(c * 255)).join(' ')} / ${a})`;
}
