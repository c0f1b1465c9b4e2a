// TLS and frames: what pairing and sessions share.
import { timingSafeEqual } from 'node:crypto';
import { connect } from 'node:tls';

import { keyHash, ownKeyHash } from './identity.mjs';
import { readList, writeList } from './plist.mjs';

export const TYPES = {
  HELLO: 0x01, HELLO_ACK: 0x02, STATE: 0x03, PING: 0x04, PONG: 0x05, BYE: 0x06, UNPAIR: 0x07,
  MSG: 0x10, REPLY: 0x11, MSG_ERR: 0x12,
  RESUME: 0x20, ITEM: 0x21, ACK: 0x22, NAK: 0x23, GAP: 0x24, CTX: 0x30, CTX_ACK: 0x31,
  FILE_BEGIN: 0x40, FILE_DATA: 0x41, FILE_HAVE: 0x42, FILE_DONE: 0x43, FILE_ERR: 0x44, FILE_CANCEL: 0x45,
  PAIR_COMMIT: 0x50, PAIR_NONCE: 0x51, PAIR_REVEAL: 0x52, PAIR_PROOF: 0x53, PAIR_TOKEN: 0x54, PAIR_DONE: 0x55, PAIR_FAIL: 0x56,
};
const NAMES = Object.fromEntries(Object.entries(TYPES).map(([name, type]) => [type, name]));
const MOST_BODY = 1_052_672;

export function writeFrame(name, id = 0, body = undefined) {
  const encoded = body === undefined ? Buffer.alloc(0) : writeList(body);
  const header = Buffer.alloc(16);
  header.writeUInt32BE(encoded.length, 0);
  header[4] = TYPES[name];
  header[5] = 1;  // critical
  header.writeBigUInt64BE(BigInt(id), 8);
  return Buffer.concat([header, encoded]);
}

/** Takes bytes as they come; gives whole frames. Throws for what is no frame. */
export class FrameReader {
  #bytes = Buffer.alloc(0);

  *take(bytes) {
    this.#bytes = Buffer.concat([this.#bytes, bytes]);
    while (this.#bytes.length >= 16) {
      const length = this.#bytes.readUInt32BE(0);
      if (length > MOST_BODY || this.#bytes.readUInt16BE(6) !== 0) throw new Error('no frame');
      if (this.#bytes.length < 16 + length) return;
      const [type, flags, id] = [this.#bytes[4], this.#bytes[5], Number(this.#bytes.readBigUInt64BE(8))];
      const body = this.#bytes.subarray(16, 16 + length);
      this.#bytes = this.#bytes.subarray(16 + length);
      if (!(type in NAMES)) {
        if (flags & 1) throw new Error('an unknown critical frame');
        continue;
      }
      yield { name: NAMES[type], id, get body() { return length === 0 ? {} : readList(body); } };
    }
  }
}

/**
 * Connects; gives the TLS socket and the watch's key hash. `wanted`: the only key hash that will do, or undefined.
 * Others are refused before a byte is sent.
 */
export function dial({ host, port, identity, protocol, wanted }) {
  return new Promise((resolve, reject) => {
    const socket = connect({
      host, port, ALPNProtocols: [protocol], minVersion: 'TLSv1.3', maxVersion: 'TLSv1.3',
      key: identity.key, cert: identity.certificate,
      rejectUnauthorized: false,  // keys are compared below; nobody signs them
    });
    const late = setTimeout(() => socket.destroy(new Error('the watch is too slow')), 8000);
    socket.once('error', reject);
    socket.once('close', () => reject(new Error('the watch has closed the connection')));
    socket.once('secureConnect', () => {
      clearTimeout(late);
      const peer = keyHash(socket.getPeerX509Certificate().publicKey);
      const fits = socket.alpnProtocol === protocol && !peer.equals(ownKeyHash(identity)) && (!wanted || timingSafeEqual(peer, wanted));
      if (!fits) return socket.destroy(new Error('another key than the watch\'s, or another protocol'));
      socket.setNoDelay(true);
      resolve({ socket, peer });
    });
  });
}
