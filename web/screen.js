// Questions to a screen as the server describes it.

/** The picker that has the crown, or null. */
export function focusedPicker(node) {
  if (!node || node.hidden) return null;
  if (node.kind === 'picker' && node.focused && node.enabled !== false) return node;
  for (const child of node.children ?? []) {
    const found = focusedPicker(child);
    if (found) return found;
  }
  return null;
}

/** A title without the "< " that some carry to look like a way back. */
export function plainTitle(title) {
  return (title ?? '').replace(/^<\s*/, '');
}

/** What stands beside the arrow back: a title made to look like one is shown as such. */
export function backLabel({ back, title }) {
  if (back === null || back === undefined) return null;
  return plainTitle(title?.startsWith('<') ? title : back);
}

/** What makes two states the same screen: going from one to another is a transition, not an update. */
export function screenKey({ identifier, presentation, pages }) {
  return `${presentation} ${identifier} ${pages?.index ?? ''}`;
}

export const actionTitle = (action) => (typeof action === 'string' ? action : action.title);
