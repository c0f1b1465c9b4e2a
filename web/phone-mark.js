const STATES = {
  connected: 'Phone connected',
  unreachable: 'Phone unreachable',
  locked: 'Phone locked',
  unpaired: 'No phone paired',
  starting: 'Phone link not active',
};

const stateOf = ({ activated, reachable, locked }, pairing) => {
  if (pairing && !pairing.phone) return 'unpaired';
  if (!activated) return 'starting';
  if (locked) return 'locked';
  return reachable ? 'connected' : 'unreachable';
};

// A server that answers at once should not flash a notice first.
const PATIENCE = 400;

/** Outside the face: how the phone is, in words, and a notice while the watch itself does not answer. */
export function phoneMark({ mark, notice, face }) {
  let status = null;

  function connection(next) {
    if (next === status) return;
    status = next;
    face.inert = next === 'lost';
    document.body.classList.toggle('lost', next === 'lost');
    if (next === 'live') notice.textContent = '';
    else setTimeout(() => {
      if (status === 'lost') notice.textContent = 'The watch does not answer. Trying again …';
    }, PATIENCE);
  }

  return {
    connection,
    show(phone, pairing) {
      const state = stateOf(phone ?? {}, pairing);
      if (mark.dataset.state === state) return;
      mark.dataset.state = state;
      mark.textContent = STATES[state];
    },
  };
}
