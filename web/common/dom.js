/** An element with attributes and children. `text` and `class` are short ways; null and false leave one out. */
export function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (value === null || value === undefined || value === false) continue;
    if (key === 'text') made.textContent = value;
    else if (key.startsWith('on')) made.addEventListener(key.slice(2), value);
    else made.setAttribute(key, value === true ? '' : value);
  }
  made.append(...children);
  return made;
}

/** Sets an attribute, or removes it for null; touches nothing when it stands so already. */
export function assign(target, name, value) {
  if (value === null || value === undefined || value === false) target.removeAttribute(name);
  else if (target.getAttribute(name) !== String(value)) target.setAttribute(name, value);
}

export const lessMotion = matchMedia('(prefers-reduced-motion: reduce)');

/** Animates for at most 200 ms; not at all for those who asked for less motion. */
export function animate(target, frames, options = {}) {
  if (lessMotion.matches) return Promise.resolve();
  const running = target.animate(frames, { duration: 180, easing: 'cubic-bezier(.2, .7, .2, 1)', ...options });
  return running.finished.catch(() => {});
}

/** Shows at once that a tap was taken, by a class for a moment; `refused` does the same in red. */
export function flash(target, name = 'taken') {
  target.classList.add(name);
  setTimeout(() => target.classList.remove(name), name === 'taken' ? 160 : 400);
}
