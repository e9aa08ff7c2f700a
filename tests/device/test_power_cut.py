# SPDX-License-Identifier: MIT
"""Power cuts of the box, and of a model of a disk that follows the system calls shown by strace."""
import ast
import collections
import itertools
import json
import re

import pytest

from trials import end_of_trial

RECORDS = "/etc/systemd/velnet/trials"
OWN, RESOLVED = "/etc/systemd/velnet", "/etc/systemd/resolved.conf.d"
REAL = {"/etc/systemd/network/01_local.network.d/50-routes.conf": f"{OWN}/01_local-routes.conf",
        **{f"{RESOLVED}/{name}.conf": f"{OWN}/{name}.conf" for name in ("dns_server_0", "dns_server_1", "dns_domain")}}
CHANGED = list(REAL.values())
TRY = "velnetctl set-ip local 10.0.0.1/8 --try 99"
STRACE = "strace -o /dev/null -e inject"


@pytest.mark.parametrize("state, begin", [
    ("waiting|rolling back", f"{STRACE}=clone3:signal=KILL:when=3 {TRY}"),
    ("counting", TRY),
    ("counting", f"chown root:root {OWN}/01_local.network; {TRY}"),  # the guard cannot make root the owner again
    ("rolling back", f"{TRY}; systemctl kill -s STOP velnet-guard\n"
                     f"{STRACE}=renameat:signal=KILL:when=2 velnetctl rollback"),
    ("confirmed", f"{TRY}; velnetctl confirm"),
], ids=["waiting", "counting", "file of root", "rolling back", "confirmed"])
def test_only_confirmed_settings_outlive_a_power_cut(box, units, state, begin):
    def settings():
        return box.exec("sh", "-c", "sha256sum /etc/systemd/network/*.network").stdout, box.ipv4("local")

    old = settings()
    box.exec("sh", "-c", begin, check=False)
    files, _ = settings()
    pending = box.velnetctl("pending", "--json", check=False).stdout
    assert files != old[0] and re.search(f'"state": "({state})"', pending)
    box.run("cut")
    box.run("up")
    assert settings() == ((files, ["10.0.0.1/8"]) if state == "confirmed" else old)
    if state != "confirmed":
        assert end_of_trial(box) == ("rolled back", "the device was started before it was confirmed")
        assert box.show("Result", "velnet-guard-boot") == ["success"]
        restored, = box.show("ExecMainExitTimestampMonotonic", "velnet-guard-boot")
        started, = box.show("ExecMainStartTimestampMonotonic", "systemd-networkd")
        assert 0 < int(restored) < int(started)


class File:
    """The new content of a file. It is unknown after a power cut, unless it was synced after the write."""
    text, is_synced = b"", False


class Disk:
    """The files that a power cut may leave after the calls so far."""

    def __init__(self):
        self.seen = {}  # path: File, True for a directory, None for a removed file
        self.durable = {}
        self.pending = collections.defaultdict(list)  # directory: the changes since its last sync

    def call(self, name, text):
        path = re.match(r"(?:\d+<([^>]*)>)?", text)[1]  # the open file, or the directory
        if name == "write" and path in self.seen:
            self.seen[path].text += ast.literal_eval("b" + re.search(r'"(?:[^"\\]|\\.)*"', text)[0])
            self.seen[path].is_synced = False
        elif name == "fsync" and isinstance(self.seen.get(path), File):
            self.seen[path].is_synced = True
        elif name == "fsync":
            for entries in self.pending.pop(path, []):
                self.durable.update(entries)
        elif name != "write" and (name != "openat" or "O_CREAT" in text):
            first, *others = [path + "/" + entry for entry in re.findall('"([^"]*)"', text)]
            made = {"openat": File(), "mkdirat": True, "unlinkat": None, "renameat": self.seen.get(first)}[name]
            self.pending[path].append({first: None, **{to: made for to in others or [first]}})
            self.seen.update(self.pending[path][-1])

    def states(self):
        """Yields the possible states. In each directory, any number of its pending changes has happened, in order."""
        for counts in itertools.product(*(range(len(changes) + 1) for changes in self.pending.values())):
            happened = [entries for changes, count in zip(self.pending.values(), counts) for entries in changes[:count]]
            yield dict(collections.ChainMap(*reversed(happened), self.durable))


def verdict(state, old, new):
    """The files after the next boot: "old", "restored" or "new", or the files themselves if they are a mixture."""
    def text(path):  # None without a file, False for an unknown text
        file = state.get(path, old.get(path))
        return file.is_synced and file.text.decode() if isinstance(file, File) else file

    texts = {path: text(path) for path in CHANGED}
    trial, rollback, confirmed = (state.get(RECORDS) and text(f"{RECORDS}/{name}")
                                  for name in ("trial", "rollback", "confirmed"))
    record = rollback if trial is None else trial
    if record:
        before = {REAL[file["path"]]: file["before"] for file in json.loads(record.rpartition("checksum ")[0])["files"]}
        return "restored" if before == old else before
    return "new" if record is None and confirmed and texts == new else "old" if texts == old else texts


@pytest.mark.parametrize("end, last", [("confirm", "new"), ("rollback", "old")])
def test_unsynced_writes_never_mix_the_files(aside, end, last):
    told = aside(f"""texts() {{ for file in {' '.join(CHANGED)}; do echo "== $1 $file"; cat $file || true; done; }}
        strace="strace -qqys 99999 -o /dev/fd/3 -e trace=/^(open|p?write|f.*sync|rename|(un|sym)?link|mkdir|f?trunc)"
        kill_guard() {{ pkill -KILL -f '[v]elnetctl guard --detach'; }}  # it is not traced, and would help
        texts old; echo '== calls'; {{ $strace $change --try 9; kill_guard; $strace ${end}; }} 3>&1 >&2; texts new""")
    old, new = ({path: told[f"{time} {path}"] or None for path in CHANGED} for time in ("old", "new"))
    disk, seen = Disk(), set()
    for name, text in re.findall(r"^(\w+)\((.*)\) += \d", told["calls"], re.MULTILINE):
        disk.call(name, text)
        possible = [verdict(state, old, new) for state in disk.states()]
        assert all(one in ("old", "restored", "new") for one in possible), f"{possible} after {text}"
        seen.update(possible)
    assert seen == {"old", "restored", last} and set(possible) == {last}
