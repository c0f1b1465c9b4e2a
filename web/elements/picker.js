import { assign, element } from '../common/dom.js';
import { carousel } from './carousel.js';

const isBlank = (item) => !item.title && !item.caption && !item.image;
/** Whether a picker only sets a level: it has nothing to show but how far it is turned. */
export const isLevel = (node) => (node.items ?? []).every(isBlank);

/** A choice by the crown: a bar beside the crown for a level, a row of artworks otherwise. */
export function picker(node, context) {
  const el = element('div', { role: 'slider', tabindex: '0', 'aria-label': node.label ?? 'Choice',
                              'aria-valuemin': 0 });
  const bar = element('div', { class: 'bar' }, element('div', { class: 'filled' }));
  const artworks = carousel((index) => context.send({ pick: { picker: node.outlet, index } }, el));
  let body = null;

  return {
    el,
    update(next) {
      const items = next.items ?? [];
      const selected = next.selected ?? 0;
      const level = isLevel(next);
      el.classList.toggle('as-level', level);
      el.classList.toggle('as-artworks', !level);
      assign(el, 'aria-orientation', level ? 'vertical' : 'horizontal');
      assign(el, 'aria-valuemax', Math.max(0, items.length - 1));
      assign(el, 'aria-valuenow', selected);
      assign(el, 'aria-valuetext', level ? null : spoken(items, selected));
      assign(el, 'aria-disabled', next.enabled === false ? 'true' : null);
      const wanted = level ? bar : artworks.el;
      if (body !== wanted) el.replaceChildren((body = wanted));
      if (level) bar.style.setProperty('--part', items.length > 1 ? selected / (items.length - 1) : 0);
      else artworks.update(items, selected);
    },
  };
}

function spoken(items, selected) {
  const item = items[selected];
  return item ? `${item.caption || item.title || 'Untitled'}, ${selected + 1} of ${items.length}` : 'Empty';
}
