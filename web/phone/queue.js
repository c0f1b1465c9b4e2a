import { assign, element } from '../common/dom.js';
import { clockText, setText } from './text.js';

/** The queue, one line a song, the one that plays marked. */
export function queueList(list, count) {
  return {
    show({ queue, queue_length: length = queue.length, index, song }) {
      setText(count, length ? String(length) : 'empty');
      while (list.children.length > queue.length) list.lastChild.remove();
      queue.forEach((entry, i) => {
        const line = list.children[i] ?? list.appendChild(
          element('li', {}, element('span', { class: 'title', dir: 'auto' }), element('span', { class: 'artist', dir: 'auto' }),
                  element('span', { class: 'length' })));
        const [title, artist, duration] = line.children;
        setText(title, entry.title);
        setText(artist, entry.artist ?? '');
        setText(duration, clockText(entry.duration));
        assign(line, 'aria-current', song && i === index ? 'true' : null);
      });
    },
  };
}
