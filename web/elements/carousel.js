import { element } from '../common/dom.js';
import { picture } from '../pictures.js';
import { reconcile } from '../reconcile.js';

// Only what can be seen is drawn and fetched, however many there are.
const SIDE = 2;

/** Artworks side by side, the selected one in the middle with its caption above. */
export function carousel(onPick) {
  const caption = element('p', { class: 'caption', dir: 'auto' });
  const strip = element('div', { class: 'strip' });
  const views = new Map();
  const itemsShown = new Map();

  function nodeFor(item, index) {
    const known = itemsShown.get(index);
    return known?.item === item ? known : { id: index, kind: 'artwork', item };
  }

  return {
    el: element('div', { class: 'carousel-body', 'aria-hidden': 'true' }, caption, strip),
    update(items, selected) {
      const first = Math.max(0, selected - SIDE);
      const nodes = items.slice(first, selected + SIDE + 1).map((item, i) => nodeFor(item, first + i));
      itemsShown.clear();
      for (const node of nodes) itemsShown.set(node.id, node);
      reconcile(strip, views, nodes, (node) => artwork(node, onPick));
      for (const [index, { el }] of views) {
        el.style.setProperty('--offset', index - selected);
        el.style.setProperty('--away', Math.abs(index - selected));
        el.classList.toggle('selected', index === selected);
      }
      caption.textContent = items[selected]?.caption ?? '';
    },
  };
}

function artwork(node, onPick) {
  const content = picture();
  const letter = element('span', { class: 'letter' });
  const el = element('div', { class: 'artwork', onclick: () => onPick(node.id) }, letter, content.el);
  const made = {
    el,
    node,
    update({ item }) {
      const [first = '♪'] = (item.title || item.caption || '').trim();
      letter.textContent = first;
      content.show(item.image ?? null);
    },
    // What was passed is not waited for: what comes next should not stand behind it.
    discard: () => content.show(null),
  };
  made.update(node);
  return made;
}
