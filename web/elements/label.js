import { assign, element } from '../common/dom.js';
import { marquee } from '../marquee.js';

export function label(node, context) {
  const text = element('span', { class: 'run', dir: 'auto' });
  const el = element('span', { 'aria-hidden': context.quiet ? 'true' : null }, text);
  return {
    el,
    update(next) {
      const words = next.text ?? '';
      if (text.textContent === words && el.hasAttribute('data-empty') === !words) return;
      text.textContent = words;
      assign(el, 'data-empty', words ? null : '');
      if (el.classList.contains('marquee')) marquee(el, text);
    },
  };
}
