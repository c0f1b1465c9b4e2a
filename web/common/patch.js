// JSON Patch (RFC 6902): the operations add, remove and replace, with JSON Pointers (RFC 6901).
//
// A patch never changes the document it is applied to. What it does not touch is shared with the result, so a
// view may tell by `===` that a part stayed as it was.

/** The document after all operations; throws when one of them does not fit it. */
export function applyPatch(document, operations) {
  // What was copied for one operation is the patch's own, and changed in place by the next: a patch with as many
  // operations as a list has rows does not copy the list each time.
  const own = new Set();
  const copy = (node) => {
    if (own.has(node)) return node;
    const fresh = Array.isArray(node) ? node.slice() : { ...node };
    own.add(fresh);
    return fresh;
  };
  return operations.reduce((result, operation) => applyAt(result, pointer(operation.path), operation, copy), document);
}

function pointer(path) {
  if (path === '') return [];
  if (typeof path !== 'string' || path[0] !== '/') throw new Error(`not a JSON Pointer: ${path}`);
  return path.slice(1).split('/').map((part) => part.replaceAll('~1', '/').replaceAll('~0', '~'));
}

function applyAt(node, parts, operation, copy) {
  if (parts.length === 0) return edited(operation);
  if (node === null || typeof node !== 'object') throw new Error(`nothing at ${operation.path}`);
  const [part, ...rest] = parts;
  const { op, path } = operation;
  const list = Array.isArray(node);
  const adding = rest.length === 0 && op === 'add';
  const key = list ? indexOf(part, node, adding) : part;
  if (!adding && !Object.hasOwn(node, key)) throw new Error(`nothing at ${path}`);
  const result = copy(node);
  if (rest.length === 0 && op === 'remove') {
    if (list) result.splice(key, 1);
    else delete result[key];
  } else if (list && adding) {
    result.splice(key, 0, edited(operation));
  } else {
    result[key] = applyAt(node[key], rest, operation, copy);
  }
  return result;
}

function indexOf(part, list, adding) {
  const index = part === '-' && adding ? list.length : Number(part);
  if (!/^(0|[1-9][0-9]*|-)$/.test(part) || !(index <= list.length)) throw new Error(`no item ${part}`);
  return index;
}

function edited({ op, path, value }) {
  if ((op !== 'add' && op !== 'replace') || value === undefined) throw new Error(`cannot ${op} at ${path}`);
  return value;
}
