import { animate, element } from './common/dom.js';
import { view } from './elements/index.js';
import { screenKey } from './screen.js';
import { Trail } from './trail.js';

const MOVES = {
  forward: ['translateX(28%)', 'translateX(-18%)'],
  back: ['translateX(-18%)', 'translateX(28%)'],
  right: ['translateX(100%)', 'translateX(-100%)'],
  left: ['translateX(-100%)', 'translateX(100%)'],
  up: ['translateY(24%)', 'scale(.94)'],
};

/** Shows the screens themselves: the tree of the one on top, and how one follows another. */
export function stage(host, { send, turn, onScroll }) {
  const context = { send, turn, address: (outlet) => outlet };
  const trail = new Trail();
  let place = null;
  let top = null;

  function enter(screen, key) {
    const leaving = place;
    const hadFocus = leaving?.contains(document.activeElement);
    if (leaving) trail.at.scrollTop = leaving.scrollTop;
    const move = trail.go(key, screen);
    top = view(screen.tree, context);
    place = element('section', { class: 'screen', tabindex: '-1', 'aria-labelledby': 'title',
                                 'data-scene': screen.identifier }, top.el);
    place.classList.toggle('paged', Boolean(screen.pages));
    host.append(place);
    if (trail.at.scrollTop) place.scrollTop = trail.at.scrollTop;
    const entered = place;
    const here = trail.at;
    let last = place.scrollTop;
    place.addEventListener('focusin', ({ target }) => { here.focus = target.closest('[data-id]')?.dataset.id; });
    place.addEventListener('scroll', () => {
      onScroll(entered.scrollTop - last);
      last = entered.scrollTop;
    }, { passive: true });
    if (hadFocus) focus();
    if (leaving) leave(leaving, move);
  }

  async function leave(leaving, move) {
    leaving.inert = true;
    leaving.setAttribute('aria-hidden', 'true');
    for (const earlier of host.querySelectorAll('.screen[inert]')) if (earlier !== leaving) earlier.remove();
    const [from, to] = MOVES[move] ?? MOVES.forward;
    animate(place, [{ transform: from, opacity: 0 }, { transform: 'none', opacity: 1 }]);
    await animate(leaving, [{ transform: 'none', opacity: 1 }, { transform: to, opacity: 0 }]);
    leaving.remove();
  }

  /** Puts the focus where it was on this screen, or on the screen as a whole. */
  function focus() {
    const known = trail.at?.focus && place.querySelector(`[data-id="${CSS.escape(trail.at.focus)}"]`);
    const target = known?.querySelector('.select') ?? known;
    (target ?? place)?.focus({ preventScroll: true });
  }

  return {
    focus,
    scroll: (distance) => place?.scrollBy({ top: distance }),
    show(screen) {
      const key = screenKey(screen);
      if (key !== trail.at?.key || top.node.kind !== screen.tree.kind) return enter(screen, key);
      if (top.node !== screen.tree) {
        top.update(screen.tree);
        top.node = screen.tree;
      }
    },
  };
}
