"""Checks tunevale-plist against Python's plistlib, in both directions: roundtrip.py PATH-TO-TUNEVALE-PLIST"""
import datetime
import json
import plistlib
import random
import subprocess
import sys

import keyed


def run(arguments, data, status=0):
    done = subprocess.run([sys.argv[1], *arguments], input=data, capture_output=True, timeout=60, check=False)
    assert done.returncode == status and not (done.stdout if status else done.stderr), (arguments, data[:80], done)
    assert not status or done.stderr.endswith(b"\n") and done.stderr.count(b"\n") == 1, done
    return done.stderr if status else done.stdout


def random_value(chance, depth=0):
    kind = chance.randrange(9 if depth < 5 else 7)
    if kind == 0:
        return chance.choice([None, True, False])
    if kind == 1:
        return chance.choice([1, -1]) * chance.getrandbits(chance.choice([1, 8, 16, 32, 63]))
    if kind == 2:
        return chance.choice([0.5, -0.0, 1e300, chance.random(), float("inf"), 5e-324])
    if kind < 6:
        return random_text(chance)
    if kind == 6:
        return chance.randbytes(chance.choice([0, 1, 14, 15, 16, 300]))
    size = chance.choice([0, 1, 3, 15, 40])
    if kind == 7:
        return [random_value(chance, depth + 1) for _ in range(size)]
    return {random_text(chance): random_value(chance, depth + 1) for _ in range(size)}


def random_text(chance):
    alphabet = chance.choice(["abc $", "é\n\"\\", "नमस्ते", "😀\u0000\uffff"])
    return "".join(chance.choice(alphabet) for _ in range(chance.choice([0, 1, 5, 14, 15, 300])))


def check(text, expected, what):
    def exact(item):  # of several texts for one real number each will do
        return {"t": "real", "v": float(item["v"]).hex()} if item.get("t") == "real" else item

    actual, expected = (json.loads(each, object_hook=exact) for each in (text, json.dumps(keyed.tagged(expected))))
    assert actual == expected, f"{what}: {str(actual)[:2000]}\nis not {str(expected)[:2000]}"


def check_both_ways(value):
    text = json.dumps(keyed.tagged(value)).encode()
    check(run(["decode"], keyed.archive(value)), value, "decode")
    check(run(["decode"], keyed.archive(value, mutable=True)), value, "decode mutable")
    check(json.dumps(keyed.tagged(keyed.unarchive(run(["encode"], text)))), value, "encode")
    plain = plistlib.loads(run(["--plain", "encode"], text), fmt=plistlib.FMT_BINARY)
    check(json.dumps(keyed.tagged(plain)), value, "encode plain")
    if b'{"t": "null"}' not in text:  # which plistlib does not write
        check(run(["--plain", "decode"], plistlib.dumps(value, fmt=plistlib.FMT_BINARY)), value, "decode plain")


def main():
    chance = random.Random(20)
    for _ in range(20):
        check_both_ways(random_value(chance))
    check_both_ways([[{"k": [random_value(chance) for _ in range(40)]}], {f"key {i}": i for i in range(300)}])
    check_both_ways(float("nan"))
    null_in_words = '{"t":"str","v":"$null"}'
    check(json.dumps(keyed.tagged(keyed.unarchive(run(["encode"], null_in_words.encode())))), "$null", "encode")

    date = datetime.datetime(2020, 1, 2)
    for value in ([date, "x"], {"huge": 2**64 - 1, "day": date}):
        check(run(["decode"], keyed.archive(value)), value, "decode")
        check(run(["--plain", "decode"], plistlib.dumps(value, fmt=plistlib.FMT_BINARY)), value, "decode plain")

    whole = keyed.archive({"a": [1, "x"]})
    for size in range(0, len(whole), 23):
        run(["decode"], whole[:size], 3)
    run(["decode"], plistlib.dumps([1], fmt=plistlib.FMT_BINARY), 3)
    run(["--plain", "decode"], plistlib.dumps([1]), 3)
    for text in ("", "{", "7", '{"t":"int","v":7}', '{"t":"int","v":"9223372036854775808"}', '{"t":"int","v":" 7"}', '{"t":"int","v":"7x"}',
                 '{"t":"real","v":"0x1"}', '{"t":"real","v":"1e999"}', '{"t":"data","v":"YQ"}', '{"t":"data","v":"YR=="}', '{"t":"data","v":"YWJ="}',
                 '{"t":"null","v":1}', '{"t":"str"}', '{"t":"str","v":"a","w":1}', '{"t":"date","v":"x"}',
                 '{"t":"dict","v":{"a\\nb":{"t":"arr","v":[{"t":"bool","v":1}]}}}', '{"t":"null"} x', '{"t":"str","v":"\xff"}',
                 '{"t":"arr","v":[' * 65 + '{"t":"null"}' + "]}" * 65):
        run(["encode"], text.encode("latin-1"), 3)
    nested = b'{"t":"dict","v":{"a":{"t":"arr","v":[{"t":"null"},{"t":"dict","v":{"b":{"t":"int","v":"x"}}}]}}}'
    assert b'["a"][1]["b"]: not a whole number' in run(["encode"], nested, 3)
    for arguments in ([], ["--plain"], ["decode", "encode"], ["decode", "file"], ["--version", "x"]):
        run(arguments, b"", 2)
    assert run(["--help"], b"").startswith(b"usage: tunevale-plist")
    assert run(["--version"], b"").startswith(b"tunevale-plist ")


main()
