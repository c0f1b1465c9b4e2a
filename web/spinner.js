import { element, lessMotion } from './common/dom.js';
import { imageAddress } from './pictures.js';

// What a sequence without its own pace gets.
const FRAMES = 11;
const SECONDS = 0.8;

/** An image sequence: frames `name` + number, all loaded at once, each shown for its share of a pass. */
export function spinner(name, { location = 0, length, duration, repeatCount } = {}) {
  const count = length || FRAMES;
  const pass = (duration || SECONDS) * 1000;
  const frames = Array.from({ length: count }, (_, i) =>
    element('img', { alt: '', src: imageAddress(`${name}${location + i}`), draggable: 'false' }));
  const el = element('div', { class: 'picture spinner', 'aria-hidden': 'true' }, ...frames);
  frames.forEach((frame, i) => {
    if (lessMotion.matches) {
      frame.style.opacity = i === 0 ? 1 : 0;
      return;
    }
    const share = 1 / count;
    frame.animate([{ opacity: 0, offset: 0, easing: 'step-end' },
                   { opacity: 1, offset: i * share, easing: 'step-end' },
                   { opacity: 0, offset: Math.min(1, (i + 1) * share), easing: 'step-end' },
                   { opacity: i === count - 1 ? 1 : 0, offset: 1 }],
                  { duration: pass, iterations: repeatCount || Infinity });
  });
  return el;
}
