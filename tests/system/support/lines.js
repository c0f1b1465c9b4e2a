// The phone's lines, many at a time: commands are written without waiting, events are read once each.
import { eventually, plain } from '../../browser/support/programs.js';

export class Lines {
  #read = 0;
  #outcomes = new Map();
  #errors = [];
  #count = 0;

  constructor(phone) {
    this.phone = phone;
  }

  /** Writes a command; gives the reference by which `outcome` finds what became of it. */
  tell(name, more = {}) {
    const ref = `line ${++this.#count}`;
    this.phone.child.stdin.write(`${JSON.stringify({ do: name, ref, ...more })}\n`);
    return ref;
  }

  /** What became of everything told, in that order, as `{result, code, body}`. */
  async outcomes(refs) {
    await eventually(() => {
      this.#takeNew();
      if (this.#errors.length > 0) throw new Error(this.#errors.join('\n'));
      return refs.every((ref) => this.#outcomes.has(ref));
    }, `outcomes of ${refs.length} commands`);
    return refs.map((ref) => this.#outcomes.get(ref));
  }

  #takeNew() {
    for (const line of this.phone.lines.slice(this.#read)) {
      const event = JSON.parse(line);
      if (event.event === 'outcome' && event.ref) {
        this.#outcomes.set(event.ref, { result: event.result, code: event.code, body: plain(event.body) });
      } else if (event.event === 'error') {
        this.#errors.push(`${event.ref}: ${event.text}`);
      }
      this.#read++;
    }
  }
}
