"""Makes the vectors of docs/phone-link.md with Python's own library, apart from the C++, so that each checks the other.

The certificates are made once, by OpenSSL, and stay; their private keys were thrown away.
"""
import base64
import hashlib
import hmac
import json
import pathlib
import plistlib
import struct
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "foundation" / "python"))
import keyed  # noqa: E402

TYPES = {
    "HELLO": 0x01, "HELLO_ACK": 0x02, "STATE": 0x03, "PING": 0x04, "PONG": 0x05, "BYE": 0x06, "UNPAIR": 0x07,
    "MSG": 0x10, "REPLY": 0x11, "MSG_ERR": 0x12,
    "RESUME": 0x20, "ITEM": 0x21, "ACK": 0x22, "NAK": 0x23, "GAP": 0x24, "CTX": 0x30, "CTX_ACK": 0x31,
    "FILE_BEGIN": 0x40, "FILE_DATA": 0x41, "FILE_HAVE": 0x42, "FILE_DONE": 0x43, "FILE_ERR": 0x44, "FILE_CANCEL": 0x45,
    "PAIR_COMMIT": 0x50, "PAIR_NONCE": 0x51, "PAIR_REVEAL": 0x52, "PAIR_PROOF": 0x53, "PAIR_TOKEN": 0x54,
    "PAIR_DONE": 0x55, "PAIR_FAIL": 0x56,
}
FILE = b"not really a picture"
CHART = {
    "weekly_top_15": {
        "id": "chart-1", "title": "Weekly Top 15", "language": "hindi",
        "list": [{"id": "s1", "title": "बारिश", "type": "song",
                  "more_info": {"album": "Rain & Sun", "duration": "241"}}],
    }
}


def frame(name, number=0, body=None, flags=1):
    encoded = b"" if body is None else plistlib.dumps(body, fmt=plistlib.FMT_BINARY)
    bytes_ = struct.pack(">IBBHQ", len(encoded), TYPES[name], flags, 0, number) + encoded
    return {"name": name, "type": TYPES[name], "flags": flags, "id": str(number),
            "body": None if body is None else keyed.tagged(body), "hex": bytes_.hex()}


def said(by, name, **body):
    return {"from": by, **frame(name, body=body or None)}


def sha(*parts):
    return hashlib.sha256(b"".join(parts)).digest()


def mac(key, *parts):
    return hmac.new(key, b"".join(parts), hashlib.sha256).digest()


def public_key(name):
    key = subprocess.check_output(["openssl", "x509", "-in", HERE / f"{name}.pem", "-noout", "-pubkey"])
    return base64.b64decode(b"".join(key.splitlines()[1:-1]))


def pairing():
    phone_key, watch_key = public_key("phone"), public_key("watch")
    f_p, f_w = sha(phone_key), sha(watch_key)
    k, n_p, n_w = bytes(range(0x00, 0x20)), bytes(range(0x20, 0x40)), bytes(range(0x40, 0x60))
    token = bytes(range(0x60, 0x70))
    commit = sha(b"commit", k, f_w, f_p, n_p)
    digest = sha(b"code", k, f_w, f_p, n_w, n_p)
    proofs = {role: mac(k, role.encode(), b"confirm", f_w, f_p, n_w, n_p) for role in ("watch", "phone")}
    tokens = {role: mac(token, role.encode(), k, f_w, f_p) for role in ("watch", "phone")}
    return {
        "phoneKey": phone_key.hex(), "watchKey": watch_key.hex(), "fP": f_p.hex(), "fW": f_w.hex(),
        "K": k.hex(), "nP": n_p.hex(), "nW": n_w.hex(), "token": token.hex(),
        "commit": commit.hex(), "codeDigest": digest.hex(),
        "code": f"{int.from_bytes(digest[:8], 'big') % 10**6:06d}",
        "proof": {role: proof.hex() for role, proof in proofs.items()},
        "tokenProof": {role: proof.hex() for role, proof in tokens.items()},
        "address": f"tunevale-pair://127.0.0.1:8421?key={f_w.hex()}&token={token.hex()}",
        "byCode": [
            said("phone", "PAIR_COMMIT", commit=commit), said("watch", "PAIR_NONCE", nonce=n_w),
            said("phone", "PAIR_REVEAL", nonce=n_p), said("phone", "PAIR_PROOF", proof=proofs["phone"]),
            said("watch", "PAIR_PROOF", proof=proofs["watch"]), said("watch", "PAIR_DONE"), said("phone", "PAIR_DONE"),
        ],
        "byToken": [
            said("phone", "PAIR_TOKEN", proof=tokens["phone"]), said("watch", "PAIR_TOKEN", proof=tokens["watch"]),
            said("watch", "PAIR_DONE"), said("phone", "PAIR_DONE"),
        ],
        "refused": frame("PAIR_FAIL", body={"reason": "the code is another"}),
    }


def frames():
    run, epoch = bytes(range(0x10, 0x20)), bytes(range(0x30, 0x40))
    hello = {"version": 1, "role": "phone", "run": run, "epoch": epoch}
    metadata = {"radio_image": "featured", "radio_title": "Night Drive"}
    good = [
        frame("PING"), frame("PONG"), frame("UNPAIR"), frame("BYE", body={"reason": "closed on purpose"}),
        frame("HELLO", body=hello), frame("HELLO_ACK", body={**hello, "role": "watch"}),
        frame("STATE", body={"active": True, "locked": False}),
        frame("RESUME", body={"epoch": b"", "item": 1, "file": 1, "context": 0}),
        frame("RESUME", body={"epoch": epoch, "item": 300, "file": 70_000, "context": 5_000_000_000}),
        frame("GAP", body={"epoch": epoch, "item": 4, "file": 1}),
        frame("MSG", 1, {"message": {"request": "volume", "value": 4}, "ttl": 10_000, "sent": 3}),
        frame("MSG", 2, {"data": keyed.archive(CHART), "ttl": 2_500, "sent": 86_400_000}),
        frame("REPLY", 1, {"reply": {"request": "success"}}), frame("REPLY", 2, {"data": b"\x00\xff"}),
        frame("MSG_ERR", 2, {"code": 7011}),
        frame("ITEM", 2**62, {"weekly_top_15": {"list": [], "level": 0.5}}),
        frame("ACK", 258), frame("NAK", 7, {"code": 7010}),
        frame("CTX", 9, {"cachedSongList": True, "pids": ["s1", "s2"], "push": "a-1"}), frame("CTX_ACK", 9),
        frame("FILE_BEGIN", 1, {"size": len(FILE), "metadata": metadata, "sha256": sha(FILE)}),
        frame("FILE_HAVE", 1, {"offset": 4}), frame("FILE_DATA", 1, {"offset": 4, "data": FILE[4:]}),
        frame("FILE_DONE", 1), frame("FILE_ERR", 1, {"code": 7015}), frame("FILE_CANCEL", 1),
    ]
    broken = [
        {"name": "bytes 6 and 7 are not zero", "hex": "00000000040100010000000000000000"},
        {"name": "a body past 1,052,672 bytes", "hex": "00101001100100000000000000000001"},
        {"name": "a body of 4 GiB", "hex": "ffffffff100100000000000000000001"},
    ]
    incomplete = [
        {"name": "a header without its last byte", "hex": "000000000401000000000000000000"},
        {"name": "the largest body, announced", "hex": "00101000100100000000000000000001"},
        {"name": "a body without its last byte", "hex": good[3]["hex"][:-2]},
    ]
    return {"frames": good, "broken": broken, "incomplete": incomplete}


def archives():
    values = {
        "a chart": CHART,
        "what plays": {"appPlaying": CHART["weekly_top_15"]["list"][0], "volume": 6},
        "kinds": {"t": True, "f": False, "i": -1, "big": 2**62, "r": 0.25, "s": "नमस्ते 😀", "d": bytes(range(20)),
                  "a": ["x", "x", {}], "e": "", "n": None},
        "a text alone": "text",
    }
    return [{"name": name, "value": keyed.tagged(value), "hex": keyed.archive(value).hex()}
            for name, value in values.items()]


for name, content in {"pairing": pairing(), "frames": frames(), "archives": archives()}.items():
    (HERE / f"{name}.json").write_text(json.dumps(content, ensure_ascii=False, indent=1) + "\n")
