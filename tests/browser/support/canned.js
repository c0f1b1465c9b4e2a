// The page with a canned server: files from web/, screens from the test over the live socket.
import { readFile } from 'node:fs/promises';
import { extname } from 'node:path';

const WEB = new URL('../../../web', import.meta.url).pathname;
const IMAGES = new URL('../../../layout/images', import.meta.url).pathname;
const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml',
                '.png': 'image/png' };
const ORIGIN = 'http://watch.test';

/** Opens the page; `pictures` maps image IDs that are not the layout's to PNG bytes, or to a function's result. */
export async function openCanned(page, screen, { pictures = {} } = {}) {
  const sockets = [];
  const received = [];
  await page.routeWebSocket(`${ORIGIN.replace('http', 'ws')}/api/live`, (socket) => {
    sockets.push(socket);
    socket.onMessage((text) => received.push(JSON.parse(text)));
    socket.send(JSON.stringify({ screen }));
  });
  await page.route(`${ORIGIN}/**`, async (route) => {
    const { pathname } = new URL(route.request().url());
    const file = pathname.startsWith('/api/image/')
      ? `${IMAGES}/${pathname.slice('/api/image/'.length)}.png`
      : WEB + (pathname === '/' ? '/index.html' : pathname);
    const picture = pictures[pathname.split('/').at(-1)];
    try {
      const body = picture ? await (typeof picture === 'function' ? picture() : picture) : await readFile(file);
      await route.fulfill({ body, contentType: TYPES[extname(picture ? '.png' : file)] });
    } catch {
      await route.fulfill({ status: 404 });
    }
  });
  await page.goto(`${ORIGIN}/`);
  await page.locator('.screen').waitFor();
  return {
    received,
    patch: (...patch) => sockets.at(-1).send(JSON.stringify({ patch })),
    show: (next) => sockets.at(-1).send(JSON.stringify({ screen: next })),
    drop: () => sockets.at(-1).close(),
    connections: () => sockets.length,
  };
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
      id: `0.0/r${i}/0`, kind: 'group', style: 'card', outlet: 'backgroundGroup', color: colors[i], children: [
        { id: `0.0/r${i}/0.0`, kind: 'label', outlet: 'headerTitle', style: 'row-title', text },
        { id: `0.0/r${i}/0.1`, kind: 'label', outlet: 'subTitle', style: 'second-line', text: 'Second line' },
      ] } })) }],
});
