import { applyPatch } from './patch.js';

const FIRST_PAUSE = 200;
const LONGEST_PAUSE = 4000;

/**
 * Follows a live address: the whole state first, then patches. Comes back by itself when the server is lost,
 * and then starts from the whole state again.
 *
 * `onState(state)` is called with each new state; `onStatus('live' | 'lost')` when that changes;
 * `onMessage(message)` with everything else that the server says. `now` tries again at once.
 */
export function follow(address, { member, onState, onStatus, onMessage }) {
  let socket = null;
  let state;
  let pause = FIRST_PAUSE;
  let timer = 0;

  function open() {
    clearTimeout(timer);
    const mine = new WebSocket(address);
    socket = mine;
    mine.onmessage = ({ data }) => {
      if (mine !== socket) return;
      try {
        take(JSON.parse(data));
      } catch (error) {
        // Out of step with the server: rather start afresh than show what is not so.
        console.warn('starting afresh:', error);
        mine.close();
      }
    };
    mine.onclose = () => {
      if (mine !== socket) return;
      socket = null;
      onStatus('lost');
      timer = setTimeout(open, pause);
      pause = Math.min(pause * 2, LONGEST_PAUSE);
    };
  }

  function take(message) {
    if (member in message) {
      state = message[member];
      pause = FIRST_PAUSE;
      onStatus('live');
      onState(state);
    } else if (message.patch && state !== undefined) {
      state = applyPatch(state, message.patch);
      onState(state);
    } else {
      onMessage?.(message);
    }
  }

  /** Sends an object; false, and nothing sent, while the server is lost. */
  function send(message) {
    if (socket?.readyState !== WebSocket.OPEN) return false;
    socket.send(JSON.stringify(message));
    return true;
  }

  function retryNow() {
    if (!socket && !document.hidden) open();
  }
  addEventListener('online', retryNow);
  document.addEventListener('visibilitychange', retryNow);
  open();
  return { send };
}

/** The WebSocket address of a path on the server that this page came from. */
export function liveAddress(path) {
  const address = new URL(path, location.href);
  address.protocol = address.protocol === 'https:' ? 'wss:' : 'ws:';
  return address.href;
}
