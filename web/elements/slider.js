import { assign, element, flash } from '../common/dom.js';

/** A level. Its ends turn the crown by one, for those who would rather tap. */
export function slider(node, context) {
  const end = (name, sign, steps) =>
    element('button', { type: 'button', class: 'slider-end', 'aria-label': name, text: sign,
                        onclick: ({ currentTarget }) => { flash(currentTarget); context.turn(steps); } });
  const track = element('div', { class: 'track', role: 'meter', 'aria-label': node.label ?? 'Level' },
                        element('div', { class: 'filled' }), element('div', { class: 'knob' }));
  return {
    el: element('div', {}, end('Less', '−', -1), track, end('More', '+', 1)),
    update({ minimum = 0, maximum = 1, value = minimum }) {
      assign(track, 'aria-valuemin', minimum);
      assign(track, 'aria-valuemax', maximum);
      assign(track, 'aria-valuenow', value);
      track.style.setProperty('--part', maximum > minimum ? (value - minimum) / (maximum - minimum) : 0);
    },
  };
}
