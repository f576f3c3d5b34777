#!/usr/bin/python3
"""validate_json.py SCHEMA: the document on standard input against a schema.

The schemas allow members that they don't name, since later versions may add some. Here they are
closed first, so that nothing is printed that no schema describes.
"""
import json
import sys

import jsonschema


def close(schema):
    if isinstance(schema, dict):
        if "properties" in schema:
            schema["additionalProperties"] = False
        for value in schema.values():
            close(value)
    elif isinstance(schema, list):
        for value in schema:
            close(value)


def no_duplicates(pairs):
    names = [name for name, _ in pairs]
    if len(set(names)) != len(names):
        raise ValueError("a member twice: %s" % names)
    return dict(pairs)


with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
close(schema)
document = json.loads(sys.stdin.buffer.read().decode("utf-8"), object_pairs_hook=no_duplicates)
faults = sorted(jsonschema.Draft202012Validator(schema).iter_errors(document), key=str)
for fault in faults:
    print("%s: %s" % ("/".join(str(step) for step in fault.absolute_path), fault.message))
sys.exit(1 if faults else 0)
