# SPDX-License-Identifier: MIT
"""velnetctl monitor and the events of kernel and files: very many, lost ones, and files that appear and disappear."""
import contextlib
import re
import shlex
import signal
import time

import pytest

from devicebox import VELNETCTL, ten_thousand_routes, wait_until
from monitors import Monitor, has_address, lacks_address, velnetctl_inside, wait_until_stalled

NETWORK, RESOLVED = "/etc/systemd/network", "/etc/systemd/resolved.conf.d"
LOCAL, SERVER, DOMAIN = f"{NETWORK}/01_local.network", f"{RESOLVED}/dns_server_0.conf", f"{RESOLVED}/dns_domain.conf"


@contextlib.contextmanager
def stopped(box, monitor):
    """Stops the monitor for a while. Yields its process ID in the box."""
    inside = velnetctl_inside(box)
    box.exec("kill", "-STOP", inside)
    try:
        yield inside
    finally:
        box.exec("kill", "-CONT", inside)
        monitor.process.send_signal(signal.SIGCONT)  # its parent command was stopped as well


def held_by(box, process):
    """The numbers of descriptors and watched directories of the monitor."""
    listed = box.exec("sh", "-c", f"cd /proc/{process}; ls fd; grep -h ^inotify fdinfo/*").stdout
    return len(listed.splitlines())


@pytest.fixture
def own_etc(box):
    """A monitor with its own /etc without directories, and a function that runs a script there."""
    prepare = "mount -t tmpfs none /etc && echo velnet-device >/etc/hostname"
    script = f"{prepare} && exec {shlex.quote(VELNETCTL)} monitor --json"
    monitor = Monitor(box, "unshare", "--mount", "sh", "-c", script)
    monitor.wait_for("resolver", "domains", [])
    inside = velnetctl_inside(box)
    yield monitor, lambda script: box.exec("nsenter", "-m", "-t", inside, "sh", "-ec", script)
    monitor.stop()


def test_a_link_that_went_and_came_between_two_looks_is_told(box, monitor):
    def counts():
        return [int(box.read(f"/sys/class/net/local/carrier_{way}_count")) for way in ("down", "up")]

    downs, ups = counts()
    with stopped(box, monitor):
        box.run("link", "local", "down")
        wait_until(lambda: counts() == [downs + 1, ups], "the link is gone")
        box.run("link", "local", "up")
        wait_until(lambda: box.read("/sys/class/net/local/operstate") == "up\n", "the link is back")
    changes = monitor.wait_for("local", "carrier", {"downs": downs + 1, "ups": ups + 1})
    assert "link" not in [change["name"] for change in changes]


def test_many_events_cost_two_looks_in_50_ms(box, tmp_path):
    log = tmp_path / "log"
    monitor = Monitor(box, VELNETCTL, "-v", "monitor", "--json", log=log)
    monitor.wait_for("resolver", "domains", [])
    inside, looks_before = velnetctl_inside(box), log.read_text().count("refresh...")
    held, begin = held_by(box, inside), time.monotonic()
    for verb, gateway in ("add", "192.168.50.2"), ("delete", "192.168.50.1"):
        box.ip_batch([*ten_thousand_routes("add"), *ten_thousand_routes("delete"),
                      f"route {verb} default via 192.168.50.2 dev remote metric 1"])
        monitor.wait_for("host", "gateway", gateway)
    looks = log.read_text().count("refresh...") - looks_before
    assert looks <= (time.monotonic() - begin) / 0.050 * 2 + 2
    assert held_by(box, inside) == held
    monitor.stop()


def test_a_change_among_dropped_events_is_seen(box, monitor):
    def dropped(by):
        table = box.read("/proc/net/netlink").splitlines()[1:]  # columns: sk Eth Pid Groups Rmem Wmem Dump Locks Drops
        return sum(int(row.split()[8]) for row in table if row.split()[1:3] == ["0", by])

    with stopped(box, monitor) as inside:
        box.ip_batch([*ten_thousand_routes("add"), *ten_thousand_routes("delete")])
        before = dropped(inside)
        box.exec("ip", "address", "add", "10.9.8.7/24", "dev", "local")
        assert dropped(inside) > before > 0
    monitor.wait_for("local", "addresses", has_address("10.9.8.7"))
    box.exec("ip", "address", "delete", "10.9.8.7/24", "dev", "local")
    monitor.wait_for("local", "addresses", lacks_address("10.9.8.7"))


def test_a_change_among_lost_file_events_is_seen(box, own_etc):
    monitor, run = own_etc
    run(f"mkdir -p {NETWORK}; echo '[Match]\nName=local\n[Network]\nDHCP=yes' >{LOCAL}")
    monitor.wait_for("local", "configured", lambda value: value["dhcp"])
    most = box.read("/proc/sys/fs/inotify/max_queued_events").strip()
    with stopped(box, monitor):
        # Each new file is at least one event. The queue has no room for the events of the other directory.
        run(f"cd {NETWORK}; seq {most} | xargs touch; mkdir {RESOLVED}; echo '[Resolve]\nDNS=10.0.0.1' >{SERVER}")
    monitor.wait_for("resolver", "servers", ["10.0.0.1"])
    run(f"echo '[Resolve]\nDomains=a.example' >{DOMAIN}")
    monitor.wait_for("resolver", "domains", ["a.example"])


def test_a_file_is_seen_however_it_comes(own_etc):  # RealHintsTest.cpp has more cases
    monitor, run = own_etc
    run(f"mkdir -p {NETWORK}; echo '[Match]\nName=local\n[Network]\nDHCP=yes' >{LOCAL}")
    monitor.wait_for("local", "configured", lambda value: value["dhcp"])

    def resolved(script, server):
        run(script)
        monitor.wait_for("resolver", "servers", [server] if server else [])

    resolved(f"mkdir {RESOLVED}; echo '[Resolve]\nDNS=10.0.0.5' >{SERVER}", "10.0.0.5")
    resolved(f"rm -r {RESOLVED}; mkdir {RESOLVED}", None)
    resolved(f"echo '[Resolve]\nDNS=10.0.0.6' >{SERVER}", "10.0.0.6")
    resolved("mv /etc/systemd /etc/older", None)
    resolved(f"mkdir -p {RESOLVED}; echo '[Resolve]\nDNS=10.0.0.8' >{SERVER}", "10.0.0.8")
    run("echo other >/etc/hostname")
    monitor.wait_for("host", "hostname", "other")


def test_a_directory_moved_away_leaves_no_watch(box, own_etc):
    monitor, run = own_etc
    held = []
    for name in "abcdef":
        run(f"mkdir -p {NETWORK} {RESOLVED}; echo '[Resolve]\nDomains={name}.example' >{DOMAIN}")
        monitor.wait_for("resolver", "domains", [f"{name}.example"])
        held.append(held_by(box, velnetctl_inside(box)))
        run(f"mv /etc/systemd /etc/{name}")
    assert held == held[:1] * 6


def test_a_reader_that_stalls_costs_no_memory(box, tmp_path):
    log = tmp_path / "log"
    monitor = Monitor(box, VELNETCTL, "-v", "monitor", "--json", log=log, is_read=False, pipesize=4096)
    inside = wait_until_stalled(box, log)

    def memory():
        return re.findall(r"(?:VmData|RssAnon):\s*(\d+)", box.read(f"/proc/{inside}/status"))

    before = memory()
    box.ip_batch([f"address {verb} 10.9.8.7/24 dev local" for _ in range(2500) for verb in ("add", "delete")])
    box.ip_batch(["address add 10.9.8.7/24 dev local"])
    assert memory() == before
    monitor.read()  # the monitor must reach the last state
    monitor.wait_for("local", "addresses", has_address("10.9.8.7"))
    box.ip_batch(["address delete 10.9.8.7/24 dev local"])
    monitor.wait_for("local", "addresses", lacks_address("10.9.8.7"))
    monitor.stop()


def test_a_monitor_without_anything_to_do_sleeps(box, monitor):
    inside = velnetctl_inside(box)
    wake_ups = []

    def is_idle():  # for 50 checks; a pass every 30 s is allowed
        status = box.read(f"/proc/{inside}/status")
        wake_ups.append(int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status, re.MULTILINE)[1]))
        return len(wake_ups) > 50 and wake_ups[-1] - wake_ups[-51] <= 1

    wait_until(is_idle, "the monitor sleeps", limit=60)
    assert box.exec("ls", f"/proc/{inside}/task").stdout.split() == [inside]
