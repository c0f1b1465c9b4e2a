import { element } from './common/dom.js';

const SWIPE = 40;

/** Page dots, and a swipe over the face that turns the page. (The arrow keys are in keys.js.) */
export function pages(dots, face, onPage) {
  let shown = null;
  let start = null;

  function go(index) {
    if (shown && index >= 0 && index < shown.count && index !== shown.index) onPage(index);
  }

  face.addEventListener('pointerdown', (event) => { start = shown && event.isPrimary ? event : null; });
  face.addEventListener('pointercancel', () => { start = null; });
  addEventListener('pointerup', (event) => {
    if (!start || !event.isPrimary) return;
    const [across, along] = [event.clientX - start.clientX, event.clientY - start.clientY];
    start = null;
    if (Math.abs(across) < SWIPE || Math.abs(across) < 2 * Math.abs(along)) return;
    // What the swipe ended on was not tapped.
    const eat = (click) => { click.stopPropagation(); click.preventDefault(); };
    face.addEventListener('click', eat, { capture: true, once: true });
    setTimeout(() => face.removeEventListener('click', eat, { capture: true }), 50);
    go(shown.index + (across < 0 ? 1 : -1));
  });

  return {
    show(screen) {
      if (screen.pages === shown) return;
      shown = screen.pages ?? null;
      dots.hidden = !shown;
      if (!shown) return;
      while (dots.children.length > shown.count) dots.lastChild.remove();
      while (dots.children.length < shown.count) {
        const index = dots.children.length;
        dots.append(element('button', { type: 'button', 'aria-label': `Page ${index + 1}`, onclick: () => go(index) }));
      }
      [...dots.children].forEach((dot, index) => {
        if (index === shown.index) dot.setAttribute('aria-current', 'page');
        else dot.removeAttribute('aria-current');
      });
    },
  };
}
