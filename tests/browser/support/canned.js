// The pages with a canned server: files from web/, states from the test over the live socket.
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { extname } from 'node:path';

import { eventually } from './programs.js';

const WEB = new URL('../../../web', import.meta.url).pathname;
const IMAGES = new URL('../../../layout/images', import.meta.url).pathname;
const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml', '.png': 'image/png' };
const PICTURE = '/api/image/';

let asked = [];
let pictures = {};

async function answer({ url, method }, response) {
  const path = url.split('?')[0];
  const id = path.startsWith(PICTURE) && path.slice(PICTURE.length);
  if (id) asked.push(id);
  try {
    // The watch's page looks with HEAD whether there is a console beside it.
    if (method === 'HEAD') throw new Error('no console');
    const known = id && (pictures[id] ?? pictures.any);
    const file = id ? `${IMAGES}/${id}.png` : WEB + ({ '/': '/index.html', '/phone': '/phone/index.html' }[path] ?? path);
    const body = known ? await (typeof known === 'function' ? known(id) : known) : await readFile(file);
    response.writeHead(200, { 'content-type': TYPES[extname(file)], 'cache-control': id ? 'no-store' : 'max-age=600' });
    response.end(body);
  } catch {
    response.writeHead(404).end();
  }
}

const server = createServer(answer).unref();
const origin = new Promise((listening) => {
  server.listen(0, '127.0.0.1', () => listening(`http://127.0.0.1:${server.address().port}`));
});

/**
 * Opens the watch's page with a screen, or `/phone` with a state. `images` maps IDs that are not the layout's, or `any`
 * for all others, to PNG bytes or to a function's result.
 */
export async function openCanned(page, first, { path = '/', images = {} } = {}) {
  const member = path === '/phone' ? 'state' : 'screen';
  const received = [];
  let live;
  [asked, pictures] = [[], images];
  const watch = {
    asked,
    /** What the page has sent since the last time, once that is so many messages. */
    async sent(count = 1) {
      await eventually(() => received.length >= count, `${count} messages, not ${JSON.stringify(received)}`, 5000);
      return received.splice(0);
    },
    say: (message) => live.send(JSON.stringify(message)),
    patch: (...patch) => watch.say({ patch }),
    show: (next) => watch.say({ [member]: next }),
  };
  await page.routeWebSocket(/\/live$/, (socket) => {
    live = socket;
    socket.onMessage((text) => received.push(JSON.parse(text)));
    watch.show(first);
  });
  await page.goto((await origin) + path);
  await page.locator(path === '/phone' ? '#pushes button' : '.screen').first().waitFor();
  return watch;
}

export function screenWith(tree, more = {}) {
  return { version: 1, identifier: 'Home', title: 'Tunevale', presentation: 'root', pages: null, back: null,
           alert: null, foreground: true, face: null, tree,
           phone: { activated: true, reachable: true, locked: false }, ...more };
}

export const list = (titles, colors = []) => ({
  id: '0', kind: 'group', children: [{
    id: '0.0', kind: 'table', outlet: 'table', style: 'list', label: 'Menu',
    rows: titles.map((text, i) => ({ type: 'InterfaceRow', tree: {
      id: `0.0/${i}`, kind: 'group', style: 'card', outlet: 'backgroundGroup', color: colors[i], children: [
        { id: `0.0/${i}.0`, kind: 'label', outlet: 'headerTitle', style: 'row-title', text },
        { id: `0.0/${i}.1`, kind: 'label', outlet: 'subTitle', style: 'second-line', text: 'Second line' },
        { id: `0.0/${i}.2`, kind: 'label', outlet: 'unseen', text: 'Unseen', hidden: true },
      ] } })) }],
});

export const player = (more = {}) => screenWith({
  id: '0', kind: 'group', style: 'backdrop fill', outlet: 'bgGroupView', ...more, children: [
    { id: '0.0', kind: 'group', style: 'now-playing', children: [
      { id: '0.0.0', kind: 'label', style: 'title marquee', outlet: 'songTitleLabel', text: 'Evening' },
      { id: '0.0.1', kind: 'label', style: 'second-line marquee', text: 'Album – Artist' }] },
    { id: '0.1', kind: 'group', style: 'transport', children: [
      { id: '0.1.0', kind: 'group', style: 'play-ring', outlet: 'playButtonGroup', children: [
        { id: '0.1.0.0', kind: 'button', style: 'play-button', outlet: 'playButton', image: 'Pause' }] }] },
    { id: '0.2', kind: 'group', style: 'volume', children: [
      { id: '0.2.0', kind: 'picker', outlet: 'volumePicker', label: 'Volume', focused: true, selected: 5,
        items: Array.from({ length: 11 }, () => ({ title: '', caption: '' })) }] },
  ],
}, { identifier: 'PlayerHomeView', presentation: 'push', title: 'Player', back: 'Tunevale' });
