/**
 * Brings the views of a parent's children in line with a list of nodes, each known by its `id`.
 *
 * `views` (a Map from id to view, kept by the caller) is updated in place. A view is `{ el, node, update(node) }`,
 * and may have `discard()`, called when it is dropped; one whose node is the very same object is not touched, and elements move only when their order changed. `make`
 * builds a view for a node. `after` is the element behind which the children start, null for the beginning.
 */
export function reconcile(parent, views, nodes, make, after = null) {
  const wanted = new Set(nodes.map((node) => node.id));
  for (const [id, view] of views) {
    if (!wanted.has(id)) remove(views, id, view);
  }
  let previous = after;
  for (const node of nodes) {
    let view = views.get(node.id);
    if (view && view.node.kind !== node.kind) {
      remove(views, node.id, view);
      view = undefined;
    }
    if (!view) {
      view = make(node);
      views.set(node.id, view);
    } else if (view.node !== node) {
      view.update(node);
    }
    view.node = node;
    const place = previous ? previous.nextSibling : parent.firstChild;
    if (place !== view.el) parent.insertBefore(view.el, place);
    previous = view.el;
  }
}

function remove(views, id, view) {
  view.el.remove();
  view.discard?.();
  views.delete(id);
}
