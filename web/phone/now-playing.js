import { assign } from '../common/dom.js';
import { clockText, setText } from './text.js';

/** What plays, with a position bar that moves by itself between two states. */
export function nowPlaying(root) {
  const find = (id) => root.querySelector(`#${id}`);
  const [artwork, song, detail, position, passed, elapsed, remaining] =
    ['artwork', 'song', 'detail', 'position', 'passed', 'elapsed', 'remaining'].map(find);
  let moving = null;
  let timer = 0;
  let from = { at: 0, position: 0, duration: 0, playing: false };

  function tick() {
    const { at, playing, duration } = from;
    const now = Math.min(duration, from.position + (playing ? performance.now() - at : 0));
    setText(elapsed, duration ? clockText(now) : '');
    setText(remaining, duration ? `−${clockText(duration - now)}` : '');
    assign(position, 'aria-valuenow', Math.round(now / 1000));
    assign(position, 'aria-valuetext', duration ? `${clockText(now)} of ${clockText(duration)}` : 'Nothing');
    clearTimeout(timer);
    if (playing && now < duration) timer = setTimeout(tick, 1000 - (now % 1000) + 5);
  }

  function move() {
    moving?.cancel();
    moving = null;
    const part = (ms) => `scaleX(${from.duration ? Math.min(1, ms / from.duration) : 0})`;
    passed.style.transform = part(from.position);
    if (!from.playing || from.position >= from.duration) return;
    moving = passed.animate([{ transform: part(from.position) }, { transform: 'scaleX(1)' }],
                            { duration: from.duration - from.position });
  }

  return {
    show(state) {
      const playing = state.song;
      setText(song, playing ? playing.title : 'Nothing is playing');
      setText(detail, playing ? [playing.artist, playing.album].filter(Boolean).join(' – ') : 'The queue is empty');
      const address = playing?.artwork ? `/phone/artwork/${encodeURIComponent(playing.artwork)}` : null;
      artwork.hidden = !address;
      assign(artwork, 'src', address);
      from = { at: performance.now(), position: state.position ?? 0, duration: state.duration ?? 0,
               playing: Boolean(playing && state.playing) };
      assign(position, 'aria-valuemax', Math.round(from.duration / 1000));
      move();
      tick();
    },
  };
}
