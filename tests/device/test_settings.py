# SPDX-License-Identifier: MIT
"""docs/settings.schema.json and velnetctl accept and refuse the same documents of settings."""
import functools
import json
import operator

import jsonschema
import pytest

from devicebox import PROJECT

SCHEMA = json.loads((PROJECT / "docs/settings.schema.json").read_text())
REMOTE = {"address": "10.0.0.2/24", "routes": [{"destination": "10.1.0.0/16", "gateway": "10.0.0.3"}]}
GOOD = json.dumps({"interfaces": {"local": {"address": "192.168.10.1/24"}, "remote": REMOTE}, "gateway": "10.0.0.1",
                   "dns": {"servers": ["10.0.0.53"], "domains": ["box.example"]}})
MISSING = object()


@pytest.mark.parametrize("place, good, bad", [
    (["interfaces", "local", "address"], [None, "dhcp", "172.16.0.1/16"],
     [MISSING, "auto", "172.16.0.1", "172.16.0.1/33", "172.16.0.01/16", "0.0.0.0/16", "172.16.0.1/16\n", 7]),
    (["interfaces", "remote"], [{"address": "10.0.0.2/24"}], [MISSING, None, {**REMOTE, "address": "dhcp"}]),
    (["interfaces", "eth9"], [], [{"address": None}]),
    (["interfaces", "remote", "routes"], [[]], [None, "", [{}], [None]]),
    (["interfaces", "remote", "routes", 0, "destination"], ["0.0.0.0/1"], ["10.1.0.0", "0.0.0.0/0", "10.1.0.0/016"]),
    (["interfaces", "remote", "routes", 0, "gateway"], ["10.0.0.4"], [MISSING, "10.0.0.256", "0.0.0.0", "::1", None]),
    (["interfaces", "remote", "routes", 0, "metric"], [], [1]),
    (["gateway"], [None, "10.0.0.4"], [MISSING, "", "10.0.0.4/24", False]),
    (["dns", "servers"], [[], ["10.0.0.53", "10.0.0.54"]], [MISSING, None, "10.0.0.53", [None], ["10.0.0.53:53"]]),
    (["dns", "domains"], [[], ["~.", "a.example"]], [MISSING, [""], ["a b"], ["a\t"], ["a\\"], ["a\n"], ["\u007f"]]),
])
def test_the_schema_and_apply_agree(booted_box, place, good, bad):
    for value in good + bad:
        document = json.loads(GOOD)
        holder = functools.reduce(operator.getitem, place[:-1], document)
        holder[place[-1]] = value
        if value is MISSING:
            del holder[place[-1]]
        applied = booted_box.velnetctl("apply", "--dry-run", "--force", "-", input=json.dumps(document), check=False)
        assert applied.returncode == (0 if value in good else 1), f"{value!r}: {applied}"
        assert jsonschema.Draft202012Validator(SCHEMA).is_valid(document) == (value in good), value
