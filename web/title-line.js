import { backLabel, plainTitle } from './screen.js';

/** The line that stays: the way back or the title at its left. (The time beside it is the clock's.) */
export function titleLine({ back, name, title }, onBack) {
  const text = back.querySelector('.back-text');
  back.addEventListener('click', onBack);
  return {
    show(screen) {
      const label = backLabel(screen);
      const plain = plainTitle(screen.title);
      back.hidden = label === null;
      text.textContent = label || 'Back';
      back.setAttribute('aria-label', label ? `Back, ${label}` : 'Back');
      name.textContent = label === null ? plain : '';
      title.textContent = plain || 'Screen';
      document.title = plain && plain !== 'Tunevale' ? `${plain} – Tunevale Watch` : 'Tunevale Watch';
    },
  };
}
