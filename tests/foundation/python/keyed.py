"""Tagged JSON and keyed archives on top of plistlib, written apart from the C++ so that each checks the other."""
import base64
import datetime
import math
import plistlib


def tagged(value):
    """A value as tagged JSON; what the system has no kind for is null."""
    if value is None or isinstance(value, (datetime.datetime, plistlib.UID)):
        return {"t": "null"}
    if isinstance(value, bool):
        return {"t": "bool", "v": value}
    if isinstance(value, int):
        return {"t": "int", "v": str(value)} if -(2**63) <= value < 2**63 else {"t": "null"}
    if isinstance(value, float):
        return {"t": "real", "v": real_text(value)}
    if isinstance(value, str):
        return {"t": "str", "v": value}
    if isinstance(value, bytes):
        return {"t": "data", "v": base64.b64encode(value).decode()}
    if isinstance(value, list):
        return {"t": "arr", "v": [tagged(item) for item in value]}
    return {"t": "dict", "v": {key: tagged(item) for key, item in value.items()}}


def real_text(value):
    return str(value) if math.isnan(value) or math.isinf(value) else repr(value)


def same(left, right):
    """Whether two tagged values are the same; of several texts for one real number each will do."""
    if left.keys() != right.keys() or left["t"] != right["t"]:
        return False
    tag, one, other = left["t"], left.get("v"), right.get("v")
    if tag == "real":
        return float(one).hex() == float(other).hex()
    if tag == "arr":
        return len(one) == len(other) and all(map(same, one, other))
    if tag == "dict":
        return one.keys() == other.keys() and all(same(one[key], other[key]) for key in one)
    return one == other


class Archiver:
    """Writes records as the platform's archiver does: every container an entry, each equal leaf one entry."""

    def __init__(self, mutable=False):
        self.objects = ["$null"]
        self.leaves = {}
        self.classes = {}
        self.prefix = "NSMutable" if mutable else "NS"

    def entry(self, value):
        self.objects.append(value)
        return plistlib.UID(len(self.objects) - 1)

    def class_record(self, name):
        if name not in self.classes:
            parents = [name.replace("NSMutable", "NS")] if name.startswith("NSMutable") else []
            self.classes[name] = self.entry({"$classname": name, "$classes": [name, *parents, "NSObject"]})
        return self.classes[name]

    def add(self, value):
        if isinstance(value, (list, dict)):
            record = {}
            reference = self.entry(record)
            if isinstance(value, dict):
                record["NS.keys"] = [self.add(key) for key in value]
                record["NS.objects"] = [self.add(item) for item in value.values()]
                record["$class"] = self.class_record(self.prefix + "Dictionary")
            else:
                record["NS.objects"] = [self.add(item) for item in value]
                record["$class"] = self.class_record(self.prefix + "Array")
            return reference
        if value is None:
            return self.entry({"$class": self.class_record("NSNull")})
        if isinstance(value, datetime.datetime):
            seconds = (value - datetime.datetime(2001, 1, 1)).total_seconds()
            return self.entry({"NS.time": seconds, "$class": self.class_record("NSDate")})
        if isinstance(value, bytes) and self.prefix == "NSMutable":
            return self.entry({"NS.data": value, "$class": self.class_record("NSMutableData")})
        if isinstance(value, str) and self.prefix == "NSMutable":
            return self.entry({"NS.string": value, "$class": self.class_record("NSMutableString")})
        key = (type(value), repr(value))
        if key not in self.leaves:
            self.leaves[key] = self.entry(value)
        return self.leaves[key]


def archive(value, mutable=False):
    archiver = Archiver(mutable)
    root = archiver.add(value)
    content = {
        "$version": 100000,
        "$archiver": "NSKeyedArchiver",
        "$top": {"root": root},
        "$objects": archiver.objects,
    }
    return plistlib.dumps(content, fmt=plistlib.FMT_BINARY)


def unarchive(data):
    content = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
    assert content["$archiver"] == "NSKeyedArchiver" and content["$version"] == 100000
    objects = content["$objects"]
    assert objects[0] == "$null"

    def resolve(reference):
        value = objects[reference.data]
        if not isinstance(value, dict):
            return value
        record = objects[value["$class"].data]
        name = record["$classname"]
        assert record["$classes"][0] == name and record["$classes"][-1] == "NSObject"
        if name == "NSNull":
            return None
        if name == "NSMutableString":
            return value["NS.string"]
        items = [resolve(item) for item in value["NS.objects"]]
        if name == "NSArray":
            return items
        assert name == "NSDictionary", name
        return dict(zip([resolve(key) for key in value["NS.keys"]], items, strict=True))

    return resolve(content["$top"]["root"])
