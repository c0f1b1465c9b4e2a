import { cssColor, inkFor, scrimFor } from '../contrast.js';
import { element } from '../common/dom.js';
import { picture } from '../pictures.js';
import { reconcile } from '../reconcile.js';
import { spinner } from '../spinner.js';

export function group(node, context, view) {
  const el = element('div');
  const background = picture();
  const views = new Map();
  let sequence = null;
  let shown = {};
  el.append(background.el);

  function paint(color) {
    el.classList.toggle('coloured', Boolean(color));
    if (!color) return;
    el.style.setProperty('--color', cssColor(color));
    el.style.setProperty('--scrim', scrimFor(color));
    el.style.setProperty('--ink', inkFor(color));
  }

  function animateOrShow({ image, animation }) {
    sequence?.remove();
    sequence = image && animation ? spinner(image, animation) : null;
    if (sequence) background.el.after(sequence);
    background.show(sequence ? null : (image ?? null));
    el.classList.toggle('has-picture', Boolean(image) && !animation);
    el.classList.toggle('busy', Boolean(sequence));
  }

  return {
    el,
    update(next) {
      if (next.color !== shown.color) paint(next.color);
      if (next.image !== shown.image || next.animation !== shown.animation) animateOrShow(next);
      reconcile(el, views, next.children ?? [], (child) => view(child, context), sequence ?? background.el);
      shown = next;
    },
  };
}
