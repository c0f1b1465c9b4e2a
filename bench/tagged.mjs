/** A plain value as tagged JSON, for the bodies of the phone's commands; whole numbers become integers. */
export function tagged(value) {
  if (value === null) return { t: 'null' };
  if (Array.isArray(value)) return { t: 'arr', v: value.map(tagged) };
  if (typeof value === 'object') {
    return { t: 'dict', v: Object.fromEntries(Object.entries(value).map(([key, inner]) => [key, tagged(inner)])) };
  }
  if (typeof value === 'number') return { t: Number.isInteger(value) ? 'int' : 'real', v: String(value) };
  return typeof value === 'boolean' ? { t: 'bool', v: value } : { t: 'str', v: value };
}
