import { assign, element, flash } from '../common/dom.js';
import { reconcile } from '../reconcile.js';

export function table(node, context, view) {
  const el = element('ul', { 'aria-label': node.label ?? null, role: 'list' });
  const rows = new Map();
  return {
    el,
    update(next) {
      const nodes = next.rows ?? [];
      assign(el, 'data-empty', nodes.length ? null : '');
      reconcile(el, rows, nodes.map((row, index) => rowNode(row, index, rows)),
                (row) => rowView(row, node, context, view));
    },
  };
}

// Rows have no id of their own; one that stayed as it was keeps its wrapper too, so that it is not touched.
function rowNode(row, index, rows) {
  const known = rows.get(index)?.node;
  return known?.row === row ? known : { id: index, kind: row.type, row };
}

function rowView(node, { id, outlet: name }, context, view) {
  const inputs = { ...context, quiet: true, address: (outlet) => ({ table: name, row: node.id, outlet }) };
  const content = new Map();
  const select = element('button', { type: 'button', class: 'select' });
  const el = element('li', { class: `table-row ${node.kind}`, 'data-id': `${id} row ${node.id}` }, select);
  select.addEventListener('click', () => {
    flash(el);
    context.send({ select: { table: name, row: node.id } }, el);
  });
  const made = {
    el,
    node,
    update({ row }) {
      reconcile(el, content, [row.tree], (tree) => view(tree, inputs), select);
      assign(select, 'aria-label', words(row.tree).join(', ') || 'Row');
    },
  };
  made.update(node);
  return made;
}

/** What a screen reader says for a row: its texts, but not those of its own buttons. */
function words(node) {
  if (node.hidden || node.kind === 'button') return [];
  const own = node.kind === 'label' && /\p{L}|\p{N}/u.test(node.text ?? '') ? [node.text] : [];
  return [...own, ...(node.children ?? []).flatMap(words)];
}
