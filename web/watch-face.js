import { calendar, clock } from './clock.js';
import { animate, element } from './common/dom.js';

/** The watch face: the time, the day, and the place of the complication, from which a tap opens the app. */
export function watchFace(layer, onOpen, giveFocusBack) {
  const time = element('time', { class: 'big-time' });
  const date = element('p', { class: 'date' });
  const content = element('span', { class: 'complication-text', dir: 'auto' });
  const place = element('button', { type: 'button', class: 'complication', onclick: onOpen }, content);
  const face = element('div', { class: 'watch-face' }, date, time, place);
  let showing = false;
  clock(time);
  calendar(date);

  return {
    show(screen) {
      const complication = screen.face?.complication;
      const entry = complication?.entry;
      const text = typeof entry === 'string' ? entry : (entry?.text ?? '');
      content.textContent = text;
      place.setAttribute('aria-label', `${text || 'Empty complication'}. Opens Tunevale`);
      const wanted = screen.foreground === false;
      if (wanted === showing) return;
      showing = wanted;
      if (!wanted) {
        face.remove();
        giveFocusBack();
        return;
      }
      layer.append(face);
      place.focus({ preventScroll: true });
      animate(face, [{ opacity: 0, transform: 'scale(1.1)' }, { opacity: 1, transform: 'none' }]);
    },
  };
}
