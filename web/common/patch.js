// JSON Patch (RFC 6902): the operations add, remove and replace, with JSON Pointers (RFC 6901).
//
// A patch never changes the document it is applied to. What it does not touch is shared with the result, so a
// view may tell by `===` that a part stayed as it was.

/** The document after all operations; throws when one of them does not fit it. */
export function applyPatch(document, operations) {
  return operations.reduce((result, operation) => applyAt(result, pointer(operation.path), operation),
                           document);
}

function pointer(path) {
  if (path === '') return [];
  if (typeof path !== 'string' || path[0] !== '/') throw new Error(`not a JSON Pointer: ${path}`);
  return path.slice(1).split('/').map((part) => part.replaceAll('~1', '/').replaceAll('~0', '~'));
}

function applyAt(node, parts, operation) {
  if (parts.length === 0) return edited(operation);
  const [part, ...rest] = parts;
  if (Array.isArray(node)) return applyInArray(node, part, rest, operation);
  if (node === null || typeof node !== 'object') throw new Error(`nothing at ${operation.path}`);
  return applyInObject(node, part, rest, operation);
}

function edited({ op, path, value }) {
  if ((op !== 'add' && op !== 'replace') || value === undefined) throw new Error(`cannot ${op} at ${path}`);
  return value;
}

function applyInObject(node, key, rest, operation) {
  const exists = Object.hasOwn(node, key);
  if (!exists && (rest.length > 0 || operation.op !== 'add')) throw new Error(`nothing at ${operation.path}`);
  if (rest.length === 0 && operation.op === 'remove') {
    const { [key]: removed, ...others } = node;
    return others;
  }
  return { ...node, [key]: applyAt(node[key], rest, operation) };
}

function applyInArray(node, part, rest, operation) {
  const adding = rest.length === 0 && operation.op === 'add';
  const index = part === '-' && adding ? node.length : Number(part);
  const valid = /^(0|[1-9][0-9]*|-)$/.test(part) && index < node.length + (adding ? 1 : 0);
  if (!valid) throw new Error(`nothing at ${operation.path}`);
  const result = node.slice();
  if (adding) result.splice(index, 0, edited(operation));
  else if (rest.length === 0 && operation.op === 'remove') result.splice(index, 1);
  else result[index] = applyAt(node[index], rest, operation);
  return result;
}
