import { isLevel } from './elements/picker.js';

const SCROLL_STEP = 44;
const DRAG_STEP = 12;
const FINE_WHEEL_STEP = 24;
const NOTCH = 100;

/**
 * The crown: it turns by the wheel, by a drag and by keys, and can be pressed. Turning goes to the picker that
 * has it, in whole steps gathered for one frame, and scrolls the screen when there is none.
 */
export function crown(button, { picker, turn, scroll, press, wheelOver }) {
  let angle = 0;
  let rest = 0;
  let gathered = 0;
  let frame = 0;

  function roll(distance) {
    angle += distance / 3;
    button.style.setProperty('--turn', `${angle.toFixed(1)}px`);
  }

  function turnBy(steps) {
    roll(steps * DRAG_STEP);
    gathered += steps;
    frame ||= requestAnimationFrame(() => {
      frame = 0;
      if (gathered) turn(gathered);
      gathered = 0;
    });
  }

  /** A turn by a part of a step, away from the person for negative ones, as a wheel turns. */
  function turnPartly(part) {
    const target = picker();
    if (!target) return scroll(part * SCROLL_STEP);
    // Away is up: more of a level, but the one before in a row of choices.
    const signed = isLevel(target) ? -part : part;
    if (signed * rest < 0) rest = 0;
    rest += signed;
    const steps = Math.trunc(rest);
    rest -= steps;
    if (steps) turnBy(steps);
    else roll(part * DRAG_STEP);
  }

  function wheel(event) {
    const pixels = event.deltaY * (event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 33 : 1);
    const overCrown = button.contains(event.target);
    if (!picker() && !overCrown) return;
    event.preventDefault();
    turnPartly(pixels / (Math.abs(pixels) >= 60 ? NOTCH : FINE_WHEEL_STEP));
  }
  wheelOver.addEventListener('wheel', wheel, { passive: false });
  button.addEventListener('wheel', wheel, { passive: false });

  let dragged = null;
  button.addEventListener('pointerdown', (event) => {
    button.setPointerCapture(event.pointerId);
    dragged = { y: event.clientY, moved: false };
  });
  button.addEventListener('pointermove', (event) => {
    if (!dragged || !button.hasPointerCapture(event.pointerId)) return;
    const distance = event.clientY - dragged.y;
    if (!dragged.moved && Math.abs(distance) < 4) return;
    dragged = { y: event.clientY, moved: true };
    turnPartly(distance / DRAG_STEP);
  });
  button.addEventListener('click', () => {
    const turned = dragged?.moved;
    dragged = null;
    if (!turned) press();
  });

  return { turnBy, roll, key: turnPartly };
}
