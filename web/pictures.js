import { animate, element } from './common/dom.js';

/** Where the server keeps an image of the layout or a decoded picture. */
export function imageAddress(id) {
  return `/api/image/${encodeURIComponent(id)}`;
}

/**
 * A picture that fills its place and changes only when the new one is ready, so that nothing jumps or flickers.
 * `show(id)` with null shows none; one that cannot be had leaves the place empty. Another ID ends what is on its way.
 */
export function picture() {
  const el = element('div', { class: 'picture', 'aria-hidden': 'true' });
  let wanted = null;
  let latest = null;
  return {
    el,
    async show(id) {
      if (id === wanted) return;
      wanted = id;
      if (!latest?.isConnected) latest?.removeAttribute('src');
      const fresh = id && element('img', { alt: '', src: imageAddress(id), draggable: 'false' });
      latest = fresh;
      if (!fresh) return el.replaceChildren();
      const first = el.childElementCount === 0;
      try {
        await fresh.decode();
      } catch {
        if (latest === fresh) el.replaceChildren();
        return;
      }
      if (latest !== fresh) return;
      el.append(fresh);
      if (!first || el.closest('.fill')) await animate(fresh, [{ opacity: 0 }, { opacity: 1 }]);
      if (latest === fresh) el.replaceChildren(fresh);
    },
  };
}
