import { animate, element } from './common/dom.js';

/** Where the server keeps an image of the layout or a decoded picture. */
export function imageAddress(id) {
  return `/api/image/${encodeURIComponent(id)}`;
}

/**
 * A picture that fills its place and changes only when the new one is ready, so that nothing jumps or flickers.
 * `show(id)` with null shows none.
 */
export function picture() {
  const el = element('div', { class: 'picture', 'aria-hidden': 'true' });
  let wanted = null;
  return {
    el,
    async show(id) {
      if (id === wanted) return;
      wanted = id;
      if (!id) return el.replaceChildren();
      const fresh = element('img', { alt: '', src: imageAddress(id), draggable: 'false' });
      const first = el.childElementCount === 0;
      try {
        await fresh.decode();
      } catch {
        if (wanted === id) el.replaceChildren();
        return;
      }
      if (wanted !== id) return;
      el.append(fresh);
      if (!first || el.closest('.fill')) await animate(fresh, [{ opacity: 0 }, { opacity: 1 }]);
      if (wanted === id) el.replaceChildren(fresh);
    },
  };
}
