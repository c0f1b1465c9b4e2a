"""What bench/pictures does with Python: `pictures.py RESULTS FOLDER` measures Pillow on the same files, where it is
installed, and prints everything."""
import collections
import io
import pathlib
import statistics
import sys
import time

try:
    from PIL import Image
except ImportError:
    Image = None


def median_milliseconds(action):
    times = []
    for _ in range(9):
        start = time.process_time()
        action()
        times.append((time.process_time() - start) * 1e3)
    return statistics.median(times)


def to_png(data):
    out = io.BytesIO()
    Image.open(io.BytesIO(data)).save(out, "PNG")
    return len(out.getvalue())


results, folder = map(pathlib.Path, sys.argv[1:])
rows = collections.defaultdict(dict)
for line in results.read_text().splitlines():
    picture, what, who, milliseconds, size = line.split("\t")
    rows[picture, what][who] = float(milliseconds), int(size)
for (picture, what), row in rows.items() if Image else ():
    data = (folder / picture).read_bytes()
    if what == "decode":
        row["Pillow"] = median_milliseconds(lambda: Image.open(io.BytesIO(data)).load()), 0
    elif what == "to PNG":
        row["Pillow"] = median_milliseconds(lambda: to_png(data)), to_png(data)
for (picture, what), row in rows.items():
    own_time, own_size = row.pop("tunevale")
    size = lambda bytes_: f", {bytes_ / 1000:,.0f} kB" if what != "decode" and bytes_ else ""
    print(f"{picture} {what}: {own_time:.1f} ms{size(own_size)}")
    for who, (milliseconds, bytes_) in row.items():
        print(f"    {who}: {milliseconds:.1f} ms{size(bytes_)}: we take {own_time / milliseconds:.2f} of the time"
              + (f" for {own_size / bytes_:.2f} of the bytes" if size(bytes_) else ""))
