// Pairing, as the watch itself shows it: over the app, whatever that does.
import { animate, element } from './common/dom.js';

const ADDRESS = '/api/pairing';
/** A tap that was meant for what was there before must not say yes. */
const HESITATION = 700;

const underWay = (step) => step === 'comparing' || step === 'waiting';
const grouped = (code) => `${code.slice(0, 3)} ${code.slice(3)}`;
const sentence = (text) => (text ? `${text[0].toUpperCase()}${text.slice(1)}${/[.?!]$/.test(text) ? '' : '.'}` : '');

function tell(what) {
  return fetch(ADDRESS, { method: 'POST', body: JSON.stringify(what) }).catch(() => null);
}

/** Which view a state of pairing has; `watched`: this page saw how it came about. */
function viewOf({ step, trouble, phone }, watched) {
  if (underWay(step) || step === 'open') return step;
  if (watched && step === 'failed') return 'failed';
  if (trouble) return trouble;
  if (watched && step === 'paired') return 'paired';
  return phone ? 'known' : 'nobody';
}

/**
 * The pairing screen over the face. `opener` is the button that opens it. `onOpen(open)` is called when that
 * changes.
 */
export function pairingScreen(layer, opener, { onOpen, giveFocusBack }) {
  let now = null;
  let wanted = false;
  let watched = false;
  let unpairing = false;
  let place = null;
  let shown = '';
  let timer = 0;

  const button = (text, run, attributes = {}) => element('button', { type: 'button', text, onclick: run, ...attributes });
  const close = () => { wanted = watched = unpairing = false; draw(); };
  const pair = () => tell({ open: true });
  const cancel = () => { tell({ close: true }); close(); };

  const views = {
    open: () => ({
      way: ['Cancel', cancel], aside: element('span', { class: 'left', role: 'timer' }), first: '.way',
      body: [element('img', { class: 'qr', alt: `QR code of ${now.address}`, src: `${ADDRESS}/qr.svg?until=${now.closes_at}` }),
             element('p', { class: 'hint' }, 'Scan it with the phone, or enter ',
                     element('b', { text: new URL(now.address.replace(/^[^:]+/, 'http')).host }), ' there')],
    }),
    comparing: () => ({
      way: null, title: 'Pair this phone?', first: '.no',
      body: [element('p', { class: 'hint', text: 'Only if it shows the same code' }),
             element('p', { class: 'code', id: 'pairing-code', 'aria-label': [...now.code].join(' '), text: grouped(now.code) }),
             element('p', { class: 'key', text: now.caller })],
      buttons: [button('No', () => tell({ no: now.code }), { class: 'no' }),
                button('Yes, pair', () => tell({ yes: now.code }), { class: 'yes', disabled: true })],
    }),
    waiting: () => ({
      way: ['Cancel', cancel], first: '.way',
      body: [element('p', { class: 'code', text: grouped(now.code) }),
             element('p', { class: 'hint', role: 'status', text: 'Now say yes on the phone' })],
    }),
    paired: () => ({
      way: null, title: 'Paired', first: '.done', mark: 'good',
      body: [element('p', { class: 'hint', role: 'status', text: 'This is now your phone' }),
             element('p', { class: 'key', text: now.phone })],
      buttons: [button('Done', close, { class: 'done' })],
    }),
    failed: () => ({
      way: null, title: 'Not paired', first: '.again', mark: 'bad',
      body: [element('p', { class: 'hint', role: 'status', text: sentence(now.text) })],
      buttons: [button('Close', close), button('Try again', pair, { class: 'again' })],
    }),
    incomplete: () => ({
      way: null, title: 'Pairing incomplete, pair again', first: '.again', mark: 'bad',
      body: [element('p', { class: 'hint', role: 'status', text: 'Only one of the two knows the other.' })],
      buttons: [button('Later', () => { tell({ dismiss: true }); close(); }), button('Pair again', pair, { class: 'again' })],
    }),
    'other key': () => ({
      way: null, title: 'Not your phone', first: '.no', mark: 'bad',
      body: [element('p', { class: 'hint', role: 'alert',
                            text: 'A phone with another key called, and was sent away.' }),
             element('p', { class: 'key', text: now.stranger })],
      buttons: [button('OK', () => { tell({ dismiss: true }); close(); }, { class: 'no' })],
    }),
    known: () => ({
      way: ['Close', close], title: 'Your phone', first: '.way', mark: 'good',
      body: [element('p', { class: 'key', text: now.phone })],
      buttons: [button('Unpair', () => { unpairing = true; draw(); }, { class: 'danger' }),
                button('Pair another', pair)],
    }),
    unpairing: () => ({
      way: null, title: 'Unpair the phone?', first: '.no',
      body: [element('p', { class: 'hint', text: 'What still waits to be sent is lost.' })],
      buttons: [button('Keep', () => { unpairing = false; draw(); }, { class: 'no' }),
                button('Unpair', () => { unpairing = false; tell({ unpair: true }); }, { class: 'danger' })],
    }),
    nobody: () => ({
      way: ['Close', close], title: 'No phone yet', first: '.again',
      body: [element('p', { class: 'hint', text: 'The phone and this watch must get to know each other first.' })],
      buttons: [button('Pair a phone', pair, { class: 'again' })],
    }),
  };

  function render(name) {
    const { way, aside, title, mark, body, buttons = [], first } = views[name]();
    const fresh = element('div', { class: 'pairing', role: 'dialog', 'aria-modal': 'true', 'aria-label': title ?? 'Pairing',
                                   'data-view': name, tabindex: '-1', onkeydown: keydown },
                          element('header', {}, way && button(way[0], way[1], { class: 'way' }) || '', aside ?? ''),
                          element('div', { class: 'middle' },
                                  title ? element('h2', { text: title, class: mark ?? null }) : '', ...body),
                          element('div', { class: buttons.length > 1 ? 'answers two' : 'answers' }, ...buttons));
    const entering = place === null;
    place?.remove();
    place = fresh;
    layer.append(fresh);
    (fresh.querySelector(first) ?? fresh).focus({ preventScroll: true });
    if (entering) animate(fresh, [{ opacity: 0, transform: 'scale(1.06)' }, { opacity: 1, transform: 'none' }]);
    const yes = fresh.querySelector('.yes');
    if (yes) setTimeout(() => { yes.disabled = false; }, HESITATION);
    clearInterval(timer);
    if (name === 'open') timer = setInterval(count, 1000);
    if (name === 'open') count();
  }

  function count() {
    const left = Math.max(0, Math.round(((now.closes_at ?? 0) - Date.now()) / 1000));
    const text = place?.querySelector('.left');
    if (text) text.textContent = `${Math.floor(left / 60)}:${String(left % 60).padStart(2, '0')}`;
  }

  /** Escape is the way out that changes nothing: no to a question, else what stands at the upper left. */
  function keydown(event) {
    const buttons = [...place.querySelectorAll('button:not(:disabled)')];
    if (event.key === 'Escape') {
      (place.querySelector('.no, .way, .done') ?? buttons[0])?.click();
    } else if (event.key === 'Tab' || event.key.startsWith('Arrow')) {
      const back = event.shiftKey || event.key === 'ArrowLeft' || event.key === 'ArrowUp';
      const next = buttons.indexOf(document.activeElement) + (back ? -1 : 1);
      buttons.at(next % buttons.length)?.focus();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  function draw() {
    if (!now) return;
    opener.textContent = now.trouble === 'other key' ? 'Not your phone called'
      : now.trouble ? 'Pairing incomplete' : now.phone ? 'Pairing' : 'Pair a phone';
    opener.dataset.state = now.trouble ? 'trouble' : now.phone ? 'known' : 'nobody';
    const open = wanted || underWay(now.step);
    const name = unpairing ? 'unpairing' : viewOf(now, watched);
    const next = open ? JSON.stringify([name, now.code, now.address, now.text, now.phone, now.stranger]) : '';
    if (next === shown) return;
    const changed = Boolean(next) !== Boolean(shown);
    shown = next;
    if (open) render(name);
    else {
      clearInterval(timer);
      place.remove();
      place = null;
    }
    if (changed) onOpen(open);
    if (!open) giveFocusBack();
  }

  opener.addEventListener('click', () => { wanted = true; draw(); });
  return {
    get isOpen() { return Boolean(shown); },
    show({ pairing }) {
      if (pairing === now) return;
      now = pairing ?? null;
      opener.hidden = !now;
      if (!now) return;
      if (underWay(now.step)) wanted = true;
      if (wanted && (underWay(now.step) || now.step === 'open')) watched = true;
      if (unpairing && !now.phone) unpairing = false;
      draw();
    },
  };
}
