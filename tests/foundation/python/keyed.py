"""Tagged JSON and keyed archives on top of plistlib, written apart from the C++ so that each checks the other."""
import base64
import datetime
import plistlib


def tagged(value):
    """A value as tagged JSON; what the system has no kind for is null."""
    if isinstance(value, bool):
        return {"t": "bool", "v": value}
    if isinstance(value, int) and -(2**63) <= value < 2**63:
        return {"t": "int", "v": str(value)}
    if isinstance(value, float):
        return {"t": "real", "v": repr(value)}
    if isinstance(value, str):
        return {"t": "str", "v": value}
    if isinstance(value, bytes):
        return {"t": "data", "v": base64.b64encode(value).decode()}
    if isinstance(value, list):
        return {"t": "arr", "v": [tagged(item) for item in value]}
    if isinstance(value, dict):
        return {"t": "dict", "v": {key: tagged(item) for key, item in value.items()}}
    return {"t": "null"}


def archive(value, mutable=False):
    """Writes records as the platform's archiver does: every container an entry, each equal leaf one entry."""
    objects, leaves, classes = ["$null"], {}, {}
    prefix = "NSMutable" if mutable else "NS"

    def entry(value):
        objects.append(value)
        return plistlib.UID(len(objects) - 1)

    def class_record(name):
        if name not in classes:
            parents = [name.replace("NSMutable", "NS")] if name.startswith("NSMutable") else []
            classes[name] = entry({"$classname": name, "$classes": [name, *parents, "NSObject"]})
        return classes[name]

    def add(value):
        if isinstance(value, (list, dict)):
            record = {}
            reference = entry(record)
            if isinstance(value, dict):
                record["NS.keys"] = [add(key) for key in value]
            record["NS.objects"] = [add(item) for item in (value.values() if isinstance(value, dict) else value)]
            record["$class"] = class_record(prefix + ("Dictionary" if isinstance(value, dict) else "Array"))
            return reference
        if value is None:
            return entry({"$class": class_record("NSNull")})
        if isinstance(value, datetime.datetime):
            seconds = (value - datetime.datetime(2001, 1, 1)).total_seconds()
            return entry({"NS.time": seconds, "$class": class_record("NSDate")})
        if mutable and isinstance(value, bytes):
            return entry({"NS.data": value, "$class": class_record("NSMutableData")})
        if mutable and isinstance(value, str):
            return entry({"NS.string": value, "$class": class_record("NSMutableString")})
        key = (type(value), repr(value))
        if key not in leaves:
            leaves[key] = entry(value)
        return leaves[key]

    content = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": add(value)}, "$objects": objects}
    return plistlib.dumps(content, fmt=plistlib.FMT_BINARY)


def unarchive(data):
    content = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
    objects = content["$objects"]
    assert (content["$archiver"], content["$version"], objects[0]) == ("NSKeyedArchiver", 100000, "$null")

    def resolve(reference):
        value = objects[reference.data]
        if not isinstance(value, dict):
            return None if value == "$null" else value  # other readers take the bare text for nothing
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
