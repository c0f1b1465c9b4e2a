import { focusedPicker } from './screen.js';

/** Keys for the whole page: Escape goes back, up and down turn the crown, left and right turn pages. */
export function keys({ screen, send, turn }) {
  addEventListener('keydown', (event) => {
    const now = screen();
    if (!now || now.alert || now.foreground === false || event.defaultPrevented) return;
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const run = actions(now, { send, turn })[event.key];
    if (!run) return;
    event.preventDefault();
    run();
  });
}

function actions(now, { send, turn }) {
  const across = (by) => {
    const { pages } = now;
    if (!pages) return focusedPicker(now.tree) && turnChoice(by);
    const index = pages.index + by;
    if (index >= 0 && index < pages.count) send({ page: index });
  };
  const turnChoice = (by) => send({ crown: by });
  return {
    Escape: () => now.back != null && send({ back: true }),
    ArrowUp: () => turn(-1),
    ArrowDown: () => turn(1),
    ArrowLeft: () => across(-1),
    ArrowRight: () => across(1),
  };
}
