import { animate, element, flash } from './common/dom.js';
import { actionTitle } from './screen.js';

/** Alerts as dialogs over the app: they take the focus, keep it, and give it back. */
export function alerts(layer, onAction, giveFocusBack) {
  let shown = null;
  let dialog = null;

  function open(alert) {
    const buttons = alert.actions.map((action, index) =>
      element('button', { type: 'button', class: action.style ?? null, text: actionTitle(action),
                          onclick: ({ currentTarget }) => {
                            flash(currentTarget);
                            onAction(index, currentTarget);
                          } }));
    const fresh = element('div', { class: 'alert', role: 'alertdialog', 'aria-modal': 'true',
                                   'aria-labelledby': 'alert-title', 'aria-describedby': 'alert-message',
                                   tabindex: '-1', onkeydown: (event) => keydown(event, buttons) },
                          element('h2', { id: 'alert-title', text: alert.title, dir: 'auto' }),
                          element('p', { id: 'alert-message', text: alert.message, dir: 'auto' }),
                          element('div', { class: 'actions' }, ...buttons));
    dialog?.remove();
    dialog = fresh;
    layer.append(fresh);
    // A long message is read from its beginning, so the focus scrolls nothing.
    (buttons[0] ?? fresh).focus({ preventScroll: true });
    animate(fresh, [{ opacity: 0, transform: 'scale(1.06)' }, { opacity: 1, transform: 'none' }]);
  }

  function keydown(event, buttons) {
    if (event.key === 'Escape') {
      event.stopPropagation();
      const way = buttons.length === 1 ? buttons[0] : buttons.find((button) => button.classList.contains('cancel'));
      way?.click();
    } else if (event.key === 'Tab') {
      event.preventDefault();
      const next = buttons.indexOf(document.activeElement) + (event.shiftKey ? -1 : 1);
      buttons.at(next % buttons.length)?.focus();
    } else if (event.key.startsWith('Arrow')) {
      event.stopPropagation();
    }
  }

  function close() {
    dialog.remove();
    dialog = null;
    giveFocusBack();
  }

  return {
    show(screen) {
      // On the watch face an alert waits, as the app does.
      const alert = (screen.foreground !== false && screen.alert) || null;
      if (alert === shown) return;
      shown = alert;
      if (alert) open(alert);
      else close();
    },
  };
}
