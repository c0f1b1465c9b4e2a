// Who this phone is: a P-256 key and a certificate that it signed itself (X.509, in DER).
import { createHash, createPrivateKey, createPublicKey, generateKeyPairSync, randomBytes, sign } from 'node:crypto';

function der(tag, ...parts) {
  const body = Buffer.concat(parts);
  const size = body.length < 128 ? [body.length] : [0x82, body.length >> 8, body.length & 255];
  return Buffer.concat([Buffer.from([tag, ...size]), body]);
}
const sequence = (...parts) => der(0x30, ...parts);
const text = (tag, content) => der(tag, Buffer.from(content));

const ECDSA_WITH_SHA256 = sequence(Buffer.from('06082a8648ce3d040302', 'hex'));

function certificateFor(publicKey, privateKey) {
  const name = sequence(der(0x31, sequence(Buffer.from('0603550403', 'hex'), text(0x0c, 'example phone'))));
  const serial = randomBytes(16);
  serial[0] = (serial[0] & 0x3f) | 0x40;
  const contents = sequence(
    der(0xa0, Buffer.from('020102', 'hex')), der(0x02, serial), ECDSA_WITH_SHA256, name,
    sequence(text(0x17, '200101000000Z'), text(0x18, '99991231235959Z')), name,
    publicKey.export({ type: 'spki', format: 'der' }));
  const signature = sign('sha256', contents, privateKey);
  const whole = sequence(contents, ECDSA_WITH_SHA256, der(0x03, Buffer.from([0]), signature));
  return `-----BEGIN CERTIFICATE-----\n${whole.toString('base64').replace(/.{64}/g, '$&\n')}\n-----END CERTIFICATE-----\n`;
}

/** What a state needs to hold for this phone to stay who it is. */
export function newIdentity() {
  const { publicKey, privateKey } = generateKeyPairSync('ec', { namedCurve: 'P-256' });
  return { key: privateKey.export({ type: 'pkcs8', format: 'pem' }), certificate: certificateFor(publicKey, privateKey) };
}

export function keyHash(publicKey) {
  return createHash('sha256').update(publicKey.export({ type: 'spki', format: 'der' })).digest();
}

export function ownKeyHash(identity) {
  return keyHash(createPublicKey(createPrivateKey(identity.key)));
}
