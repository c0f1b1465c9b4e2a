import { lessMotion } from './common/dom.js';

const POINTS_PER_SECOND = 34;
const PAUSE = 1000;
const LONGEST = 20_000;

/** Moves a line that is too long for its place once to its end and back, after a second; then it rests. */
export function marquee(line, text) {
  for (const old of text.getAnimations()) old.cancel();
  requestAnimationFrame(() => {
    const overflow = text.scrollWidth - line.clientWidth;
    line.classList.toggle('overflowing', overflow > 1);
    if (overflow <= 1 || lessMotion.matches) return;
    const scale = line.closest('.face')?.dataset.scale ?? 1;
    const travel = Math.min(LONGEST, Math.max(600, (overflow / scale / POINTS_PER_SECOND) * 1000));
    const rtl = getComputedStyle(text).direction === 'rtl' ? 1 : -1;
    const duration = travel * 2 + PAUSE;
    const away = { transform: `translateX(${rtl * overflow}px)` };
    text.animate([{ transform: 'none', easing: 'ease-in-out' },
                  { ...away, offset: travel / duration },
                  { ...away, offset: (travel + PAUSE) / duration, easing: 'ease-in-out' },
                  { transform: 'none' }],
                 { delay: PAUSE, duration });
  });
}
