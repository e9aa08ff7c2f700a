# SPDX-License-Identifier: MIT
"""velnetctl monitor: the published changes while the network changes, and the end of the program."""
import fcntl
import os
import re
import signal
import subprocess
import time

import pytest

from devicebox import VELNETCTL
from monitors import wait_until_stalled


def test_a_pulled_cable_is_published(box, monitor):
    box.run("link", "remote", "down")
    changes = monitor.wait_for("host", "gateway", "")
    assert {("remote", "link", "False"), ("remote", "speed", "0")} <= {
        (c["source"], c["name"], str(c["value"])) for c in changes}
    assert not [c for c in changes if c["source"] == "local"]

    box.run("link", "remote", "up")
    changes = monitor.wait_for("host", "gateway", "192.168.50.1")
    assert ("link", True) in [(c["name"], c["value"]) for c in changes]


def test_an_address_comes_and_goes(box, monitor):
    added = {"family": "IPv4", "address": "10.9.8.7", "mask": "255.255.255.0"}
    box.exec("ip", "address", "add", "10.9.8.7/24", "dev", "local")
    changes = monitor.wait_for("local", "addresses", lambda addresses: added in addresses)
    assert [c["name"] for c in changes] == ["addresses"]  # the first address is the same: no other cell changed

    box.exec("ip", "address", "delete", "10.9.8.7/24", "dev", "local")
    changes = monitor.wait_for("local", "addresses", lambda addresses: added not in addresses)
    now = time.gmtime()
    assert re.fullmatch(rf"{now.tm_year}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{{3}}Z", changes[-1]["time"])


@pytest.mark.parametrize("end", [signal.SIGINT, signal.SIGTERM])
def test_a_monitor_ends_though_its_reader_stalls(box, tmp_path, end):
    reader, writer = os.pipe()
    os.write(writer, bytes(fcntl.fcntl(writer, fcntl.F_GETPIPE_SZ)))  # fills the pipe, which nobody reads
    log = tmp_path / "log"
    with log.open("w") as stderr:
        monitor = subprocess.Popen([*box.command, "exec", VELNETCTL, "-v", "monitor"], stdout=writer, stderr=stderr)
    os.close(writer)
    box.exec("kill", f"-{end.name[3:]}", wait_until_stalled(box, log))
    assert monitor.wait(timeout=20) == 1
    os.close(reader)


def test_a_monitor_ends_without_a_reader(box):
    monitor = subprocess.Popen([*box.command, "exec", VELNETCTL, "monitor"], stdout=subprocess.PIPE)
    monitor.stdout.readline()
    monitor.stdout.close()
    assert monitor.wait(timeout=20) == 1
