import { assign, element } from '../common/dom.js';
import { setText, sizeText } from './text.js';

const MOST = 200;

/** What went over the link, newest on top, one line each. */
export function trafficList(list, count) {
  const lines = new Map();

  function line(entry) {
    const known = lines.get(entry.n);
    if (known) return known;
    const fresh = element('li', {}, ...['time', 'way', 'what', 'size', 'result'].map((name) => element('span', { class: name })));
    lines.set(entry.n, fresh);
    return fresh;
  }

  return {
    show({ log = [] }) {
      const newest = log.slice(0, MOST);
      const kept = new Set(newest.map(({ n }) => n));
      for (const [n, old] of lines) {
        if (kept.has(n)) continue;
        old.remove();
        lines.delete(n);
      }
      setText(count, newest.length ? String(newest.length) : 'nothing yet');
      newest.forEach((entry, i) => {
        const here = line(entry);
        const [time, way, what, size, result] = here.children;
        setText(time, (entry.at / 1000).toFixed(1));
        setText(way, entry.direction === 'in' ? '←' : '→');
        assign(way, 'aria-label', entry.direction === 'in' ? 'from the watch' : 'to the watch');
        assign(way, 'role', 'img');
        setText(what, entry.what);
        setText(size, sizeText(entry.size));
        setText(result, wording(entry));
        assign(here, 'class', `${entry.direction} ${outcome(wording(entry))}`);
        assign(here, 'title', `${entry.what}, ${entry.transport.replace('_', ' ')}: ${result.textContent}`);
        if (list.children[i] !== here) list.insertBefore(here, list.children[i] ?? null);
      });
    },
  };
}

// The watch never answers message data, and the link reports that as 7011: all is well then.
function wording({ result, transport }) {
  if (!result) return '…';
  return transport === 'message_data' && /^error 7011\b/.test(result) ? 'taken' : result;
}

function outcome(result) {
  if (result === '…') return 'waiting';
  return /error|failure|silence|failed/.test(result) ? 'bad' : 'good';
}
