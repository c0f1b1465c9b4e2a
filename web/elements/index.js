import { assign } from '../common/dom.js';
import { button } from './button.js';
import { group } from './group.js';
import { image } from './image.js';
import { label } from './label.js';
import { picker } from './picker.js';
import { slider } from './slider.js';
import { table } from './table.js';

const kinds = { button, group, image, label, picker, slider, table };

/**
 * The view of one node of a screen: `{ el, node, update(node) }`. `context` tells views how to act: `send(input,
 * element)`, `turn(steps)` for what turns the crown, `address(outlet)` for how an input names an element, and
 * `quiet` where a row reads its labels out itself.
 */
export function view(node, context) {
  const made = kinds[node.kind](node, context, view);
  const { update } = made;
  const style = `${node.kind} ${node.style ?? ''}`.trim();
  made.el.classList.add(...style.split(/\s+/));
  made.el.dataset.id = node.id;
  if (node.outlet) made.el.dataset.outlet = node.outlet;
  made.update = (next) => {
    assign(made.el, 'hidden', next.hidden ? '' : null);
    update(next);
  };
  made.node = node;
  made.update(node);
  return made;
}
