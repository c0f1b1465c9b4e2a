import { element, flash } from '../common/dom.js';
import { command, pushCommands, setSwitch } from './commands.js';
import { setText } from './text.js';

/** Previous, play or pause, next, empty queue, and the volume. */
export function transport(root, send, asked) {
  const toggle = root.querySelector('#play-pause');
  const volume = root.querySelector('#volume');
  const output = root.querySelector('#volume-text');
  let playing = false;
  const names = { previous: () => 'prev', next: () => 'next', emptyQueue: () => 'empty_queue',
                  playPause: () => (playing ? 'pause' : 'play') };
  for (const button of root.querySelectorAll('[data-do]')) {
    button.addEventListener('click', () => {
      flash(button);
      send(command(names[button.dataset.do]()));
    });
  }
  volume.addEventListener('input', () => {
    setText(output, volume.value);
    asked.ask(volume, command('volume', { value: Number(volume.value) }));
  });
  return {
    show(state) {
      playing = Boolean(state.song && state.playing);
      setText(toggle, playing ? 'Pause' : 'Play');
      // While somebody drags it, it stays where the finger is.
      if (!volume.matches(':active') && !asked.waits(volume)) volume.value = state.volume;
      setText(output, volume.value);
    },
  };
}

/** One button for each push, the languages of the catalogue among them. */
export function pushes(root, send) {
  let shown = '';
  return {
    show({ languages, language }) {
      if (languages.join() !== shown) {
        shown = languages.join();
        root.replaceChildren(...pushCommands(languages).map(({ name, hint, command: what }) =>
          element('button', { type: 'button', text: name, title: hint, 'data-language': what.language ?? null,
                              onclick: ({ currentTarget }) => { flash(currentTarget); send(what); } })));
      }
      for (const button of root.querySelectorAll('[data-language]')) {
        button.classList.toggle('current', button.dataset.language === language);
      }
    },
  };
}

/** How the phone behaves: each switch is what the phone says it is, once it has answered the last click. */
export function switches(root, asked) {
  const boxes = [...root.querySelectorAll('[data-switch]')];
  const refuse = root.querySelector('#refuse');
  const words = root.querySelector('#refuse-text');
  for (const box of boxes) {
    const name = box.dataset.switch;
    box.addEventListener('change', () =>
      asked.ask(box, name === 'unreachable' ? setSwitch('reachable', !box.checked) : setSwitch(name, box.checked)));
  }
  const sendRefusal = () => asked.ask(refuse, setSwitch('refuse', refuse.checked ? words.value || 'No' : ''));
  refuse.addEventListener('change', sendRefusal);
  words.addEventListener('change', () => refuse.checked && sendRefusal());
  return {
    show({ switches: now }) {
      for (const box of boxes) {
        if (asked.waits(box)) continue;
        box.checked = box.dataset.switch === 'unreachable' ? !now.reachable : now[box.dataset.switch];
      }
      if (asked.waits(refuse)) return;
      refuse.checked = Boolean(now.refuse);
      if (now.refuse && document.activeElement !== words) words.value = now.refuse;
    },
  };
}
