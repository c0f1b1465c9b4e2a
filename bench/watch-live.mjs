// The least of a WebSocket client (RFC 6455) that reads /api/live and never writes: Node 18 has none.
import { randomBytes } from 'node:crypto';
import { connect } from 'node:net';

export class LiveSocket {
  #bytes = Buffer.alloc(0);
  #upgraded = false;
  #waiting = null;

  static open(host) {
    const [address, port] = host.split(':');
    const live = new LiveSocket();
    live.socket = connect(Number(port), address);
    live.socket.setNoDelay(true);
    live.socket.write(`GET /api/live HTTP/1.1\r\nHost: ${host}\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n` +
                      `Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: ${randomBytes(16).toString('base64')}\r\n\r\n`);
    const first = live.next('"screen"');
    live.socket.on('data', (data) => live.#take(data));
    return first.then(() => live);
  }

  /** Resolves when a message that holds this text has arrived whole. */
  next(text) {
    return new Promise((resolve) => (this.#waiting = { text, resolve }));
  }

  close() {
    this.socket.destroy();
  }

  #take(data) {
    this.#bytes = Buffer.concat([this.#bytes, data]);
    if (!this.#upgraded) {
      const end = this.#bytes.indexOf('\r\n\r\n');
      if (end < 0) return;
      if (!this.#bytes.toString('latin1').startsWith('HTTP/1.1 101')) throw new Error('no live socket');
      this.#upgraded = true;
      this.#bytes = this.#bytes.subarray(end + 4);
    }
    for (let frame = this.#frame(); frame; frame = this.#frame()) {
      if (frame.text.includes(this.#waiting?.text)) this.#waiting.resolve();
    }
  }

  /** The next frame if it is there; a server's frames are not masked. */
  #frame() {
    const bytes = this.#bytes;
    if (bytes.length < 2) return null;
    const short = bytes[1] & 0x7f;
    const start = short === 126 ? 4 : short === 127 ? 10 : 2;
    if (bytes.length < start) return null;
    const length = short === 126 ? bytes.readUInt16BE(2) : short === 127 ? Number(bytes.readBigUInt64BE(2)) : short;
    if (bytes.length < start + length) return null;
    this.#bytes = bytes.subarray(start + length);
    return { text: bytes.toString('utf8', start, start + length) };
  }
}
