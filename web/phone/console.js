// The phone's console: shows what the phone does, and sends it commands.
import { follow, liveAddress } from '../common/connection.js';
import { command, questions } from './commands.js';
import { nowPlaying } from './now-playing.js';
import { pairing } from './pairing.js';
import { queueList } from './queue.js';
import { pushes, switches, transport } from './controls.js';
import { trafficList } from './traffic.js';

const byId = (id) => document.getElementById(id);
const linkState = byId('link-state');
const error = byId('error');
let status = null;
let state = null;

const connection = follow(liveAddress('/phone/live'), {
  member: 'state',
  onState: show,
  onStatus(next) {
    status = next;
    document.body.classList.toggle('lost', next === 'lost');
    if (next === 'lost') asked.forget();
    if (next === 'lost') linkState.textContent = 'The phone does not answer. Trying again …';
  },
  onMessage({ event }) {
    // What it did is in the states after this; what it did not do is not.
    asked.answered(event?.ref);
    if (event?.event !== 'error') return;
    error.textContent = event.text ?? 'The phone refused that.';
    if (state) show(state);
  },
});

function send(command) {
  error.textContent = '';
  return connection.send(command);
}

const asked = questions(send);
byId('unpair').addEventListener('click', () => send(command('unpair')));
const parts = [pairing(byId('pairing'), byId('unpair'), send), nowPlaying(byId('now')), queueList(byId('queue-list'), byId('queue-count')),
               transport(byId('now'), send, asked), pushes(byId('pushes'), send), switches(byId('switches'), asked),
               trafficList(byId('traffic-list'), byId('traffic-count'))];

function show(next) {
  state = next;
  for (const part of parts) part.show(state);
  const { connected, reachable } = state.link;
  linkState.dataset.state = connected ? (reachable ? 'reachable' : 'connected') : 'apart';
  if (status === 'live') linkState.textContent = connected ? 'Watch connected' : 'Watch not connected';
}

// An address like /phone#switches leads to its section, also by keyboard.
function goToSection() {
  const section = byId(location.hash.slice(1));
  section?.focus();
  section?.scrollIntoView({ block: 'nearest' });
}
addEventListener('hashchange', goToSection);
goToSection();

