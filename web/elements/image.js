import { assign, element } from '../common/dom.js';
import { picture } from '../pictures.js';

export function image(node) {
  const content = picture();
  const el = element('span', node.label ? { role: 'img', 'aria-label': node.label } : { 'aria-hidden': 'true' },
                     content.el);
  return {
    el,
    update(next) {
      assign(el, 'data-empty', next.image ? null : '');
      content.show(next.image ?? null);
    },
  };
}
