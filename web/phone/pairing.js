import { element } from '../common/dom.js';
import { command } from './commands.js';

/** Who the phone's watch is, and the question whether two codes are the same. */
export function pairing(section, unpairButton, send) {
  let shown = '';
  let asksSince = 0;

  const button = (text, what, more = {}) => element('button', { type: 'button', text, onclick: () => send(what), ...more });

  function question({ code }) {
    const yes = button('Yes, pair', command('confirm_pairing', { code }), { disabled: true });
    const asked = ++asksSince;
    // A click that was meant for what was there before must not say yes.
    setTimeout(() => { if (asked === asksSince) yes.disabled = false; }, 700);
    return [element('p', { class: 'say' }, 'Does the watch show the same code?'),
            element('p', { class: 'code', text: `${code.slice(0, 3)} ${code.slice(3)}` }),
            button('No', command('refuse_pairing', { code }), { class: 'no' }), yes];
  }

  function form(said) {
    const address = element('input', { type: 'text', 'aria-label': "The watch's pairing address", spellcheck: 'false',
                                       placeholder: 'tunevale-pair://… or 127.0.0.1:8421', autocomplete: 'off' });
    const pair = () => address.value && send(command('pair', { address: address.value.trim() }));
    address.addEventListener('keydown', ({ key }) => key === 'Enter' && pair());
    return [element('p', { class: 'say', role: 'status', text: said }), address,
            element('button', { type: 'button', text: 'Pair', onclick: pair })];
  }

  const said = ({ step, text, trouble }) =>
    trouble === 'other key' ? 'Who answers there is not the paired watch.'
      : trouble === 'incomplete' ? 'Pairing incomplete, pair again.'
        : step === 'failed' ? `Not paired: ${text}` : 'No watch is paired.';

  return {
    show({ pairing: now }) {
      const text = JSON.stringify(now);
      if (!now || text === shown) return;
      shown = text;
      const calm = now.watch && !now.trouble;
      unpairButton.hidden = !now.watch;
      const under = ['open', 'comparing', 'waiting'].includes(now.step);
      section.hidden = Boolean(calm && !under);
      if (section.hidden) return;
      section.querySelector('.pairing').replaceChildren(
        ...now.step === 'comparing' ? question(now)
          : now.step === 'open' ? [element('p', { class: 'say', role: 'status', text: 'Looking for the watch …' })]
            : now.step === 'waiting' ? [element('p', { class: 'say', role: 'status', text: 'Now say yes on the watch' }),
                                        element('p', { class: 'code', text: `${now.code.slice(0, 3)} ${now.code.slice(3)}` })]
              : form(said(now)));
      if (now.step === 'comparing') section.querySelector('.no').focus();
    },
  };
}
