"""What the tests of orvane share."""

import json
import os
import time
import traceback

import jsonschema

REPOSITORY = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
with open(os.path.join(REPOSITORY, "Documentation", "orvane-schema.json"), encoding="utf-8") as schema:
    SCHEMA = jsonschema.Draft202012Validator(json.load(schema))


class Result:
    def __init__(self, done):
        self.status, self.output, self.errors = done.returncode, done.stdout, done.stderr


def equal(got, wanted):
    assert got == wanted, f"got {got!r}, wanted {wanted!r}"


def contains(text, part):
    assert part in text, f"no {part!r} in:\n{text}"


def lacks(text, part):
    assert part not in text, f"{part!r} in:\n{text}"


def documents(output):
    """The JSON documents, each held against the schema."""
    values = [json.loads(line) for line in output.splitlines()]
    assert values, "no document"
    for value in values:
        SCHEMA.validate(value)
    return values


def run_cases(everything, names, again):
    """Runs the functions that "test_" begins, or those named; says how to run again what failed. How many did."""
    cases = {name: case for name, case in everything.items() if name.startswith("test_")}
    failed = []
    for name in names or cases:
        began = time.time()
        try:
            cases[name]()
            print(f"ok    {name} ({time.time() - began:.1f} s)", flush=True)
        except Exception:  # whatever it is, the other cases are run
            failed.append(name)
            print(f"FAIL  {name}\n{traceback.format_exc()}", flush=True)
    if failed:
        print("again:", again, *failed)
    return len(failed)
