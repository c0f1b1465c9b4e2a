// The commands that the console sends; docs/phone.md lists all that there are.

const text = (v) => ({ t: 'str', v });

export const command = (name, more = {}) => ({ do: name, ...more });
export const setSwitch = (name, value) => command('set', { [name]: value });

/**
 * Commands of which a control shows what was asked for until the phone has answered: a state that comes before may
 * be older than the click. `ask(control, command)` sends one, `answered(ref)` is to be told of each answer, and
 * `forget()` when none will come.
 */
export function questions(send) {
  const open = new Map();
  let count = 0;
  return {
    ask(control, what) {
      // Answers go to every console, so a reference tells pages apart as well.
      const ref = `${performance.timeOrigin} ${++count}`;
      if (send({ ...what, ref })) open.set(control, ref);
    },
    waits: (control) => open.has(control),
    answered(ref) {
      for (const [control, asked] of open) if (asked === ref) open.delete(control);
    },
    forget: () => open.clear(),
  };
}

/** What can be pushed at the watch: a name, what it does in words, and the command. */
export function pushCommands(languages) {
  const charts = languages.map((language) => ({
    name: `Chart: ${language.charAt(0).toUpperCase()}${language.slice(1)}`,
    hint: 'As message data, then as application context',
    command: command('push_chart', { language }),
  }));
  return [
    ...charts,
    { name: 'Stations', hint: 'Both lists, as message data', command: command('push_stations') },
    { name: 'Artwork', hint: 'Pictures of the chart and the stations, as files', command: command('push_artwork') },
    { name: 'Context', hint: 'The cached songs, as application context', command: command('push_cached') },
    { name: 'User info', hint: 'The chart, as user info', command: command('push_user_info') },
    { name: 'Now playing', hint: 'The song and its artwork', command: command('push_now_playing') },
    { name: 'Queue empty', hint: 'A message that nothing is left to play',
      command: command('message', { body: { t: 'dict', v: { request: text('queue_empty') } } }) },
  ];
}
