// One session with the watch: introductions, queues, messages, files. It ends with its connection; what the state
// holds is what goes on in the next.
import { createHash, randomBytes } from 'node:crypto';

import { dial, FrameReader, writeFrame } from './connection.mjs';
import { readArchive, writeArchive } from './plist.mjs';

const RUN = randomBytes(16);
const CHUNK = 65_536;

/**
 * What a new phone's queues hold; `theirs` is the cursor of what came from the watch, which has acknowledged what is
 * below `acknowledged`.
 */
export function newQueues() {
  return {
    epoch: randomBytes(16), nextItem: 1, nextFile: 1, items: [], files: [], context: null, contextVersion: 0,
    acknowledged: { item: 1, file: 1 },
    theirs: { epoch: Buffer.alloc(0), item: 1, file: 1, context: 0 },
  };
}

export class Session {
  #socket;
  #store;
  #handler;
  #waiting = new Map();
  #message = 0;
  #file = null;  // the one that is under way
  #resumed = false;
  #watchRun = '';
  #sentItem = 0;
  #sentContext = 0;
  #heard = Date.now();
  #introduced = 0;
  #watchIntroduced = 0;

  /** `store`: { queues, save() }. `handler`: { request(name, message), event(name, what) }. */
  static async open(options, store, handler) {
    const { socket } = await dial({ ...options, protocol: 'tunevale-link/1' });
    return new Session(socket, store, handler);
  }

  constructor(socket, store, handler) {
    [this.#socket, this.#store, this.#handler] = [socket, store, handler];
    const frames = new FrameReader();
    socket.on('data', (bytes) => {
      this.#heard = Date.now();
      try {
        for (const frame of frames.take(bytes)) this.#take(frame);
      } catch (error) {
        this.close(String(error.message));
      }
    });
    const life = setInterval(() => {
      const silence = Date.now() - this.#heard;
      if (silence > 15_000) socket.destroy();
      else if (silence > 5_000) this.#send('PING');
    }, 5_000);
    const hello = setTimeout(() => this.#resumed || socket.destroy(), 2_000);
    this.ended = new Promise((end) => socket.on('close', () => {
      clearInterval(life);
      clearTimeout(hello);
      for (const { reject } of this.#waiting.values()) reject(new Error('7014: the connection broke'));
      end();
    }));
    socket.on('error', () => {});
    this.#introduced = Date.now(); // goes on while the machine sleeps
    this.#send('HELLO', 0, { version: 1, role: 'phone', run: RUN, epoch: this.#queues.epoch });
  }

  get #queues() {
    return this.#store.queues;
  }

  #send(name, id, body) {
    if (!this.#socket.destroyed) this.#socket.write(writeFrame(name, id, body));
  }

  close(reason) {
    this.#send('BYE', 0, { reason });
    this.#socket.end();
  }

  /** Ends the pairing; the caller forgets its own side of it. */
  unpair() {
    this.#send('UNPAIR');
    this.#socket.end();
  }

  /** The reply, or an error that begins with the number. */
  message(dictionary) {
    return this.#ask({ message: dictionary });
  }
  messageData(value) {
    return this.#ask({ data: writeArchive(value) });
  }

  #ask(body) {
    return new Promise((resolve, reject) => {
      const id = ++this.#message;
      const late = setTimeout(() => this.#end(id, ({ reject: no }) => no(new Error('7012: no answer'))), 10_000);
      this.#waiting.set(id, { resolve, reject, late });
      this.#send('MSG', id, { ...body, ttl: 10_000, sent: Math.max(0, Date.now() - this.#introduced) });
    });
  }

  #end(id, how) {
    const waiting = this.#waiting.get(id);
    if (!waiting) return;
    clearTimeout(waiting.late);
    this.#waiting.delete(id);
    how(waiting);
  }

  /** The queues have something new. */
  wake() {
    if (!this.#resumed) return;
    const { context, contextVersion, items, files } = this.#queues;
    if (contextVersion > this.#sentContext) {
      this.#sentContext = contextVersion;
      this.#send('CTX', contextVersion, context);
    }
    for (const { number, body } of items.filter((item) => item.number > this.#sentItem)) {
      this.#sentItem = number;
      this.#send('ITEM', number, body);
    }
    if (this.#file || files.length === 0) return;
    this.#file = files[0];
    const { number, data, metadata } = this.#file;
    this.#send('FILE_BEGIN', number, { size: data.length, metadata, sha256: createHash('sha256').update(data).digest() });
  }

  #take(frame) {
    const take = this[`take${frame.name}`];
    if (!take) return;
    take.call(this, frame.body, frame.id);
  }

  takeHELLO_ACK({ version, role, run }) {
    if (version !== 1 || role !== 'watch') throw new Error('another version of the link');
    this.#watchRun = run.toString('hex');
    this.#watchIntroduced = Date.now();
    this.#send('STATE', 0, { active: true, locked: false });
    this.#send('RESUME', 0, { ...this.#queues.theirs });
  }
  takeBYE({ reason }) {
    this.#handler.event('bye', reason);
    this.#socket.end();
  }
  takeUNPAIR() {
    this.#handler.event('unpaired', '');
    this.#socket.end();
  }
  takePING() {
    this.#send('PONG');
  }
  takeSTATE({ active, locked }) {
    this.#handler.event('state', { active, locked });
  }

  takeRESUME({ epoch, item, file, context, refused = [] }) {
    const queues = this.#queues;
    const { acknowledged } = queues;
    const known = epoch.equals(queues.epoch) && item >= acknowledged.item && item <= queues.nextItem &&
                  file >= acknowledged.file && file <= queues.nextFile && context <= queues.contextVersion;
    if (known) {
      for (const one of refused) this.takeNAK({ code: one.code }, one.item);
      this.#dropItems(item - 1);
      this.#dropFiles(file - 1);
    } else {
      // It has lost what it acknowledged, or some of it.
      if (acknowledged.item > 1 || acknowledged.file > 1) this.#handler.event('reset', '');
      this.#send('GAP', 0, { epoch: queues.epoch, item: queues.items[0]?.number ?? queues.nextItem, file: queues.files[0]?.number ?? queues.nextFile });
    }
    this.#sentContext = known ? context : 0;
    this.#resumed = true;
    this.#handler.event('connected', this.#watchRun);
    this.wake();
  }
  takeGAP({ epoch, item, file }) {
    if (this.#queues.theirs.epoch.length > 0) this.#handler.event('reset', '');
    this.#queues.theirs = { epoch, item, file, context: 0 };
    this.#store.save();
  }

  #dropItems(upTo) {
    this.#queues.items = this.#queues.items.filter(({ number }) => number > upTo);
    this.#queues.acknowledged.item = Math.max(this.#queues.acknowledged.item, upTo + 1);
    this.#store.save();
  }
  #dropFiles(upTo) {
    this.#queues.files = this.#queues.files.filter(({ number }) => number > upTo);
    this.#queues.acknowledged.file = Math.max(this.#queues.acknowledged.file, upTo + 1);
    this.#store.save();
  }

  takeMSG(body, id) {
    const passed = Date.now() - this.#watchIntroduced;
    const age = Math.max(0, passed - (body.sent ?? passed) - passed / 2_000);
    if (body.ttl > 0 && body.ttl < 86_400_000 && age >= body.ttl) {
      this.#send('MSG_ERR', id, { code: 7012 });
      return;
    }
    const isData = body.data !== undefined;
    const message = isData ? readArchive(body.data) : body.message;
    const answer = this.#handler.request(String(message?.request), message ?? {});
    this.#send('REPLY', id, isData ? { data: writeArchive(answer) } : { reply: answer });
  }
  takeREPLY(body, id) {
    this.#end(id, ({ resolve }) => resolve(body.data ?? body.reply));
  }
  takeMSG_ERR({ code }, id) {
    this.#end(id, ({ reject }) => reject(new Error(`${code}: by the watch`)));
  }

  takeITEM(body, id) {
    const { theirs } = this.#queues;
    if (id >= theirs.item) {
      this.#handler.event('item', body);
      theirs.item = id + 1;
      this.#store.save();
    }
    this.#send('ACK', theirs.item - 1);
  }
  takeACK(_, id) {
    this.#dropItems(id);
  }
  takeNAK({ code }, id) {
    const items = this.#queues.items.filter(({ number }) => number !== id);
    if (items.length === this.#queues.items.length) return; // known already
    this.#queues.items = items;
    this.#store.save();
    this.#handler.event('refused', `item ${id}: ${code}`);
  }
  takeCTX(body, id) {
    const { theirs } = this.#queues;
    if (id > theirs.context) {
      this.#handler.event('context', body);
      theirs.context = id;
      this.#store.save();
    }
    this.#send('CTX_ACK', theirs.context);
  }
  takeCTX_ACK(_, id) {
    this.#handler.event('delivered', `context ${id}`);
  }

  /** This phone wants no files. */
  takeFILE_BEGIN(_, id) {
    const isOld = id < this.#queues.theirs.file;
    this.#send(isOld ? 'FILE_DONE' : 'FILE_ERR', id, isOld ? undefined : { code: 7015 });
  }
  takeFILE_HAVE({ offset }, id) {
    if (this.#file?.number !== id) return;
    for (let at = offset; at < this.#file.data.length; at += CHUNK) {
      this.#send('FILE_DATA', id, { offset: at, data: this.#file.data.subarray(at, at + CHUNK) });
    }
  }
  takeFILE_DONE(_, id) {
    this.#queues.acknowledged.file = Math.max(this.#queues.acknowledged.file, id + 1);
    this.#fileEnded(id, `file ${id}`, 'delivered');
  }
  takeFILE_ERR({ code }, id) {
    this.#fileEnded(id, `file ${id}: ${code}`, 'refused');
  }
  #fileEnded(id, what, how) {
    if (this.#file?.number === id) this.#file = null;
    this.#queues.files = this.#queues.files.filter(({ number }) => number !== id);
    this.#store.save();
    this.#handler.event(how, what);
    this.wake();
  }
}
