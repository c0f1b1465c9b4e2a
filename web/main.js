// Wires the page: the server's screen goes to the parts that draw it, and what a person does goes back.
import { alerts } from './alert.js';
import { clock } from './clock.js';
import { follow, liveAddress } from './common/connection.js';
import { consoleBeside } from './console-frame.js';
import { crown } from './crown.js';
import { flash } from './common/dom.js';
import { keys } from './keys.js';
import { pages } from './pages.js';
import { pairingScreen } from './pairing.js';
import { phoneMark } from './phone-mark.js';
import { fitFace } from './scale.js';
import { focusedPicker } from './screen.js';
import { stage } from './stage.js';
import { titleLine } from './title-line.js';
import { watchFace } from './watch-face.js';

const byId = (id) => document.getElementById(id);
let current = null;
let lastTouched = null;
// What had the focus when something came to lie over the app.
let focusedBefore = null;

const connection = follow(liveAddress('/api/live'), {
  member: 'screen',
  onState: show,
  onStatus: (status) => phone.connection(status),
  onMessage({ refused }) {
    if (refused && lastTouched?.isConnected) flash(lastTouched, 'refused');
  },
});

/** Sends an input; `element` is what was touched for it, and shows when the watch refuses. */
function send(input, element = null) {
  lastTouched = element;
  return connection.send(input);
}

const turning = crown(byId('crown'), {
  picker: () => current && focusedPicker(current.tree),
  turn: (steps) => send({ crown: steps }),
  scroll: (distance) => screens.scroll(distance),
  press: () => current && send({ foreground: !current.foreground }),
  wheelOver: byId('face'),
});
const screens = stage(byId('screens'), { send, turn: turning.turnBy, onScroll: turning.roll });
const layer = byId('layer');
const app = byId('app');
const parts = [
  screens,
  titleLine({ back: byId('back'), name: byId('name'), title: byId('title') }, () => send({ back: true })),
  pages(byId('dots'), byId('face'), (index) => send({ page: index })),
  watchFace(layer, () => send({ foreground: true }), giveFocusBack),
  alerts(layer, (index, element) => send({ alert: index }, element), giveFocusBack),
];
const pairing = pairingScreen(layer, byId('pairing-open'), {
  onOpen: () => setInert(),
  giveFocusBack,
});
parts.push(pairing);
const phone = phoneMark({ mark: byId('phone-mark'), notice: byId('notice'), face: byId('face') });

/** Under an alert, the watch face or pairing the app is there, but not to be reached. */
function setInert() {
  const covered = Boolean(current?.alert) || current?.foreground === false || pairing.isOpen;
  if (covered && !app.inert) focusedBefore = document.activeElement;
  app.inert = covered;
}

/** Called when something that had the focus has gone: what lies under it gets it, at last the app's own part. */
function giveFocusBack() {
  // Whoever has taken it meanwhile keeps it.
  if (document.activeElement !== document.body) return;
  if (app.inert) return layer.lastElementChild?.querySelector('button:not(:disabled)')?.focus({ preventScroll: true });
  focusedBefore?.focus({ preventScroll: true });
  if (document.activeElement === document.body) screens.focus();
}

function show(screen) {
  current = screen;
  setInert();
  for (const part of parts) part.show(screen);
  phone.show(screen.phone, screen.pairing);
}

keys({ screen: () => (pairing.isOpen ? null : current), send, turn: turning.key });
clock(byId('time'));
fitFace(document.querySelector('.bench'), byId('watch'), byId('face'));
consoleBeside(document.body);
