"""Checks tunevale-plist against Python's plistlib, in both directions: roundtrip.py PATH-TO-TUNEVALE-PLIST"""
import datetime
import json
import plistlib
import random
import subprocess
import sys

import keyed

TOOL = sys.argv[1]


def run(arguments, data):
    return subprocess.run([TOOL, *arguments], input=data, capture_output=True, timeout=60, check=False)


def good(arguments, data):
    result = run(arguments, data)
    assert result.returncode == 0 and not result.stderr, (arguments, result)
    return result.stdout


def refused(arguments, data, status):
    result = run(arguments, data)
    assert result.returncode == status and not result.stdout, (arguments, data[:80], result)
    assert result.stderr.count(b"\n") == 1 and result.stderr.endswith(b"\n"), result


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


def check(actual, expected, what):
    assert keyed.same(actual, expected), f"{what}: {str(actual)[:2000]}\nis not {str(expected)[:2000]}"


def check_both_ways(value):
    expected = keyed.tagged(value)
    text = json.dumps(expected).encode()
    check(json.loads(good(["decode"], keyed.archive(value))), expected, "decode")
    check(json.loads(good(["decode"], keyed.archive(value, mutable=True))), expected, "decode mutable")
    check(keyed.tagged(keyed.unarchive(good(["encode"], text))), expected, "encode")
    plain = plistlib.loads(good(["--plain", "encode"], text), fmt=plistlib.FMT_BINARY)
    check(keyed.tagged(plain), expected, "encode plain")
    if not has_null(value):  # which plistlib does not write
        data = plistlib.dumps(value, fmt=plistlib.FMT_BINARY)
        check(json.loads(good(["--plain", "decode"], data)), expected, "decode plain")


def has_null(value):
    if isinstance(value, dict):
        return any(map(has_null, value.values()))
    return value is None or (isinstance(value, list) and any(map(has_null, value)))


def main():
    chance = random.Random(20)
    for _ in range(20):
        check_both_ways(random_value(chance))
    check_both_ways([[{"k": [random_value(chance) for _ in range(40)]}]])
    check_both_ways(float("nan"))

    date = datetime.datetime(2020, 1, 2)
    for value in ([date, "x"], {"huge": 2**64 - 1, "day": date}):
        for data, options in ((keyed.archive(value), []), (plistlib.dumps(value, fmt=plistlib.FMT_BINARY), ["--plain"])):
            check(json.loads(good([*options, "decode"], data)), keyed.tagged(value), "decode")

    whole = keyed.archive({"a": [1, "x"]})
    for size in range(0, len(whole), 23):
        refused(["decode"], whole[:size], 3)
    refused(["decode"], plistlib.dumps([1], fmt=plistlib.FMT_BINARY), 3)
    refused(["--plain", "decode"], plistlib.dumps([1]), 3)
    for text in ("", "{", "7", '{"t":"int","v":7}', '{"t":"int","v":"9223372036854775808"}', '{"t":"int","v":" 7"}',
                 '{"t":"real","v":"0x1"}', '{"t":"real","v":"1e999"}', '{"t":"data","v":"YQ"}', '{"t":"data","v":"YR=="}',
                 '{"t":"null","v":1}', '{"t":"str"}', '{"t":"str","v":"a","w":1}', '{"t":"date","v":"x"}',
                 '{"t":"dict","v":{"a\\nb":{"t":"arr","v":[{"t":"bool","v":1}]}}}', '{"t":"null"} x', '{"t":"str","v":"\xff"}',
                 '{"t":"arr","v":[' * 65 + '{"t":"null"}' + "]}" * 65):
        refused(["encode"], text.encode("latin-1"), 3)
    for arguments in ([], ["--plain"], ["decode", "encode"], ["decode", "file"], ["--version", "x"]):
        refused(arguments, b"", 2)
    assert good(["--help"], b"").startswith(b"usage: tunevale-plist")
    assert good(["--version"], b"").startswith(b"tunevale-plist ")


main()
