// The one exchange that makes a watch and a phone know each other.
import { createHash, createHmac, randomBytes, timingSafeEqual } from 'node:crypto';

import { dial, FrameReader, writeFrame } from './connection.mjs';
import { ownKeyHash } from './identity.mjs';

export function parseAddress(text) {
  const match = /^(?:tunevale-pair:\/\/)?(?:\[([0-9a-f:]+)\]|([0-9.]+)):(\d+)(?:\?key=([0-9a-f]{64})(?:&token=([0-9a-f]{32}))?)?$/.exec(text);
  if (!match) throw new Error(`${text} is no address`);
  const bytes = (hex) => (hex ? Buffer.from(hex, 'hex') : undefined);
  return { host: match[1] ?? match[2], port: Number(match[3]), key: bytes(match[4]), token: bytes(match[5]) };
}

/** The arithmetic, over k, the key hashes of watch and phone, and the two nonces. */
export const pairingNumbers = {
  commitment: ({ k, fW, fP, nP }) => createHash('sha256').update(Buffer.concat([Buffer.from('commit'), k, fW, fP, nP])).digest(),
  code: ({ k, fW, fP, nW, nP }) => {
    const hash = createHash('sha256').update(Buffer.concat([Buffer.from('code'), k, fW, fP, nW, nP])).digest();
    return String(hash.readBigUInt64BE() % 1_000_000n).padStart(6, '0');
  },
  proof: ({ k, fW, fP, nW, nP }, role) =>
    createHmac('sha256', k).update(Buffer.concat([Buffer.from(`${role}confirm`), fW, fP, nW, nP])).digest(),
  tokenProof: ({ k, fW, fP }, role, token) =>
    createHmac('sha256', token).update(Buffer.concat([Buffer.from(role), k, fW, fP])).digest(),
};

/**
 * Pairs with the watch at an address. `confirm(code)` asks the person, where there is no token; `pin(keyHash)` writes
 * the pin down. Throws when it does not come about.
 */
export async function pair(address, identity, { confirm, pin }) {
  const { socket, peer } = await dial({ ...address, identity, protocol: 'tunevale-pair/1', wanted: address.key });
  const n = {
    k: socket.exportKeyingMaterial(32, 'EXPORTER-tunevale-pairing'), fW: peer, fP: ownKeyHash(identity), nP: randomBytes(32),
  };
  const send = (name, body) => socket.write(writeFrame(name, 0, body));
  const isProof = (proof, wanted) => Buffer.isBuffer(proof) && proof.length === 32 && timingSafeEqual(proof, wanted);
  let [said, proved, pinned] = [false, false, false];

  const finish = () => {
    if (!said || !proved || pinned) return;
    pin(peer);
    pinned = true;
    send('PAIR_DONE');
  };
  const fail = (reason) => {
    send('PAIR_FAIL', { reason });
    throw new Error(reason);
  };
  const answers = {
    PAIR_NONCE(body) {
      n.nW = body.nonce;
      if (address.token || said || n.asked || n.nW?.length !== 32) fail('a frame out of its turn');
      n.asked = true;
      send('PAIR_REVEAL', { nonce: n.nP });
      Promise.resolve(confirm(pairingNumbers.code(n))).then((yes) => {
        if (!yes) {
          send('PAIR_FAIL', { reason: 'the phone\'s user said no' });
          return socket.destroy(new Error('refused here'));
        }
        said = true;
        send('PAIR_PROOF', { proof: pairingNumbers.proof(n, 'phone') });
        finish();
      });
    },
    PAIR_PROOF(body) {
      if (address.token || !n.nW || !isProof(body.proof, pairingNumbers.proof(n, 'watch'))) fail('a wrong proof');
      proved = true;
      finish();
    },
    PAIR_TOKEN(body) {
      if (!address.token || !isProof(body.proof, pairingNumbers.tokenProof(n, 'watch', address.token))) fail('a wrong proof');
      said = proved = true;
      finish();
    },
    PAIR_FAIL(body) {
      throw new Error(String(body.reason));
    },
  };

  await new Promise((resolve, reject) => {
    const frames = new FrameReader();
    socket.on('error', reject);
    socket.on('close', () => (pinned ? resolve() : reject(new Error('the watch has ended the pairing'))));
    socket.on('data', (bytes) => {
      try {
        for (const frame of frames.take(bytes)) {
          if (frame.name === 'PAIR_DONE' && pinned) socket.end();
          else if (answers[frame.name]) answers[frame.name](frame.body);
          else if (frame.name !== 'PAIR_DONE') fail('a frame that does not belong here');
        }
      } catch (error) {
        reject(error);
        socket.destroySoon();
      }
    });
    if (address.token) send('PAIR_TOKEN', { proof: pairingNumbers.tokenProof(n, 'phone', address.token) });
    else send('PAIR_COMMIT', { commit: pairingNumbers.commitment(n) });
  });
}
