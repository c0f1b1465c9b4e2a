import { assign, element, flash } from '../common/dom.js';
import { picture } from '../pictures.js';
import { reconcile } from '../reconcile.js';

const isPicture = (id) => id?.startsWith('art-');

export function button(node, context, view) {
  const background = picture();
  const text = element('span', { class: 'text', dir: 'auto' });
  const el = element('button', { type: 'button' }, background.el, text);
  const views = new Map();
  let enabled = true;

  el.addEventListener('click', () => {
    if (!enabled) return;
    flash(el);
    context.send({ tap: context.address(node.outlet) }, el);
  });

  return {
    el,
    update(next) {
      enabled = next.enabled !== false;
      // A disabled button keeps the focus: it comes back in a moment, and the keyboard should still be there.
      assign(el, 'aria-disabled', enabled ? null : 'true');
      // An image of the layout is named by what the button does now, as "Play" and "Pause" are.
      const meaning = next.image && !isPicture(next.image) ? next.image : next.label;
      assign(el, 'aria-label', next.text ? null : meaning);
      text.textContent = next.text ?? '';
      text.hidden = !next.text;
      assign(el, 'data-image', next.image ?? null);
      background.show(next.image ?? null);
      reconcile(el, views, next.children ?? [], (child) => view(child, context), text);
    },
  };
}
