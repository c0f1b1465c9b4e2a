"""What bench/archives does with Python: `foreign DIR` writes the charts as another archiver would, each container
an entry of its own; `table RESULTS FILE...` measures plistlib on the same files and prints everything."""
import collections
import pathlib
import plistlib
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/foundation/python"))
import keyed  # noqa: E402


def foreign(folder):
    for path in pathlib.Path(folder).glob("*.plist"):
        value = plistlib.loads(path.read_bytes(), fmt=plistlib.FMT_BINARY)
        path.with_name(path.stem + "-foreign.archive").write_bytes(keyed.archive(value))


def median_microseconds(action):
    times = []
    end = time.perf_counter() + 2
    while len(times) < 5 or time.perf_counter() < end:
        start = time.perf_counter()
        action()
        times.append((time.perf_counter() - start) * 1e6)
    return statistics.median(times)


def table(results, files):
    figures = collections.defaultdict(dict)
    for line in pathlib.Path(results).read_text().splitlines():
        path, what, who, time_taken = line.split("\t")
        figures[path, what][who] = float(time_taken)
    print(f"{'archive':24}{'bytes':>10}  {'':8}{'tunevale':>12}{'libplist':>12}{'plistlib':>12}   faster than")
    print(f"{'':24}{'':>10}  {'':8}{'µs':>12}{'µs':>12}{'µs':>12}   libplist, plistlib")
    for path in files:
        data = pathlib.Path(path).read_bytes()
        tree = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
        actions = {
            "decode": lambda: plistlib.loads(data, fmt=plistlib.FMT_BINARY),
            "encode": lambda: plistlib.dumps(tree, fmt=plistlib.FMT_BINARY),
        }
        for what, action in actions.items():
            row = figures[path, what]
            row["plistlib"] = median_microseconds(action)
            ratios = [f"{row[who] / row['tunevale']:.1f}x" for who in ("libplist", "plistlib")]
            print(f"{pathlib.Path(path).stem:24}{len(data):>10,}  {what:8}{row['tunevale']:>12,.1f}"
                  f"{row['libplist']:>12,.1f}{row['plistlib']:>12,.1f}   {', '.join(ratios)}")


if sys.argv[1] == "foreign":
    foreign(sys.argv[2])
else:
    table(sys.argv[2], sys.argv[3:])
