const time = new Intl.DateTimeFormat(undefined, { hour: 'numeric', minute: '2-digit', hourCycle: 'h23' });
const day = new Intl.DateTimeFormat(undefined, { weekday: 'short', day: 'numeric', month: 'short' });

const targets = new Set();

function tick() {
  const now = new Date();
  for (const { place, format } of targets) place.textContent = format.format(now);
  setTimeout(tick, 60_000 - (now.getTime() % 60_000) + 20);
}

/** Keeps a place at the time of day, woken once a minute. */
export function clock(place, format = time) {
  if (targets.size === 0) setTimeout(tick, 0);
  targets.add({ place, format });
  place.textContent = format.format(new Date());
}

export const calendar = (place) => clock(place, day);
