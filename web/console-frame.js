import { element } from './common/dom.js';

const ADDRESS = '/phone';

/** Puts the demo phone's console beside the watch, where the server offers one. */
export async function consoleBeside(body) {
  const answer = await fetch(ADDRESS, { method: 'HEAD' }).catch(() => null);
  if (!answer?.ok) return;
  body.append(element('iframe', { class: 'console', src: ADDRESS, title: 'Demo phone console' }));
  body.classList.add('with-console');
}
