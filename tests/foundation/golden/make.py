"""Makes the golden files of python-plistlib and libplist anew, with what they are to decode to.

gnustep/ was made by compiling its make.m against GNUstep 1.28; its .json was checked by eye against make.m.
"""
import datetime
import json
import pathlib
import plistlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "python"))
import keyed  # noqa: E402

ARTIST = {"id": "a1", "name": "Asha Verma", "role": "singer"}
SONG = {
    "id": "7",
    "title": "नमस्ते 😀",
    "more_info": {"album": "Rain & Sun", "artistMap": {"artists": [ARTIST, ARTIST], "primary_artists": [ARTIST]}},
    "plays": 4_000_000_000,
    "rank": -1,
    "score": 0.1,
    "explicit": False,
    "art": bytes(range(32)),
}
VALUES = {
    "chart": {"list": [SONG, SONG | {"id": "8", "title": "Plain"}], "language": "hindi"},
    "leaves": [0, 255, 256, 65536, 2**32, 2**63 - 1, -(2**63), 2**63, 2**64 - 1, 0.5, -0.0, True, "", "é", b""],
    "others": {"day": datetime.datetime(2020, 1, 2), "name": "beside a date"},
    "keys": {f"key {i}": i for i in range(300)},
}


def main():
    for name, value in VALUES.items():
        folder = HERE / "python-plistlib"
        (folder / f"{name}.plist").write_bytes(plistlib.dumps(value, fmt=plistlib.FMT_BINARY))
        (folder / f"{name}.archive").write_bytes(keyed.archive(value))
        (folder / f"{name}-mutable.archive").write_bytes(keyed.archive(value, mutable=True))
        text = json.dumps(keyed.tagged(value), ensure_ascii=False) + "\n"
        (folder / f"{name}.json").write_text(text, encoding="utf-8")

        folder = HERE / "libplist"
        xml = plistlib.dumps(value)
        binary = subprocess.run(["plistutil", "-i", "-", "-f", "bin"], input=xml, capture_output=True, check=True)
        (folder / f"{name}.plist").write_bytes(binary.stdout)
        (folder / f"{name}.json").write_text(text, encoding="utf-8")


main()
