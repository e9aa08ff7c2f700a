# SPDX-License-Identifier: MIT
"""Faults of commands, daemons and interfaces: they are reported, readers continue, and nothing is left behind."""
import contextlib
import re
import socket
import subprocess

import pytest

from devicebox import AS_VELNET, VELNETCTL, drop_in, ten_thousand_routes, wait_until
from monitors import has_address, lacks_address
from trials import end_of_trial, is_pending

RULE = "/etc/sudoers.d/velnet-host"
ADDRESS = "set-ip local 10.0.0.1 255.0.0.0"


@contextlib.contextmanager
def fault(box, begin, end):
    box.exec("sh", "-ec", begin)
    try:
        yield
    finally:
        box.exec("sh", "-ec", end)


def moved_away(box, *paths):
    away = "".join(f"mv {path} {path}.away; " for path in paths)
    back = "".join(f"mv {path}.away {path}; " for path in paths)
    return fault(box, f"{away} systemctl daemon-reload", f"{back} systemctl daemon-reload")


def no_sudo(box):
    return moved_away(box, "/usr/bin/sudo")


def sudo_refuses(box):
    return moved_away(box, RULE)


def sudo_asks(box):
    return fault(box, f"cp -p {RULE} /run; sed -i 's/NOPASSWD: //; s/!fqdn/&, visiblepw/' {RULE}",
                 f"mv /run/velnet-host {RULE}")


def networkd_masked(box):
    return fault(box, "systemctl mask systemd-networkd", "systemctl unmask systemd-networkd")


def networkd_crashes(box):
    crash = "ExecStart=\nExecStart=sh -c 'kill -KILL $$$$'"
    return drop_in(box, "systemd-networkd", f"[Unit]\nStartLimitIntervalSec=0\n[Service]\n{crash}\n")


def no_resolved(box):
    box.exec("systemctl", "stop", "systemd-resolved")
    program = "/lib/systemd/systemd-resolved"
    return moved_away(box, "/lib/systemd/system/systemd-resolved.service", program, "/run/systemd/resolve")


@pytest.fixture
def nothing_is_left(box, settings):
    yield
    command = "pgrep", "-lx", "velnetctl|scenario|sudo|systemctl|sh"
    wait_until(lambda: box.exec(*command, check=False).stdout == "", "no process is left")
    assert box.exec("find", "/etc/systemd", "-name", "*.new").stdout == ""
    assert not is_pending(box)
    box.exec("sh", "-ec", "cd /etc/systemd/velnet; [ ! -e trials ] || flock -n trials/change.lock true")


def files(box):
    return box.exec("sh", "-c", "cd /etc/systemd; md5sum network/*.network resolved.conf.d/*", check=False).stdout


def publishes(box, monitor):
    for verb, expected in ("add", has_address), ("delete", lacks_address):
        box.exec("ip", "address", verb, "10.9.8.7/24", "dev", "local")
        monitor.wait_for("local", "addresses", expected("10.9.8.7"))


def without_terminal(box, *command):
    """Runs the command as the user of the host, with a standard input that stays silent."""
    silent, far_end = socket.socketpair()
    with silent, far_end:
        return box.exec("setsid", "-w", *AS_VELNET, *command, stdin=silent, timeout=60, check=False)


@pytest.mark.parametrize("begin, change, reason", [
    (no_sudo, ADDRESS, "sudo: not found"),
    (sudo_refuses, ADDRESS, "sudo: a terminal is required to read the password"),
    (sudo_asks, ADDRESS, "sudo: no password was provided"),
    (networkd_masked, ADDRESS, "service is masked."),
    (networkd_crashes, ADDRESS, "Job for systemd-networkd.service failed"),
    (no_resolved, "set-dns 0 192.168.50.3", "Unit systemd-resolved.service not found."),
])
def test_a_change_without_its_daemon_is_undone(box, nothing_is_left, installed, monitor, begin, change, reason):
    before = files(box)
    with begin(box):
        for options, whose in ("--force", "the old"), ("--force --try 9", "the previous"):
            refused = without_terminal(box, "velnetctl", *f"{change} {options}".split())
            assert refused.returncode == 1 and reason in refused.stderr
            assert ("password" in reason) == ("(run it as root, or as a user who may" in refused.stderr)
            back = rf"{whose} files are back, but systemd-(networkd|resolved) could not be restarted\n"
            assert re.search(back, refused.stderr)
            assert files(box) == before
        publishes(box, monitor)
        assert is_pending(box)
    state, why = end_of_trial(box)
    assert state == "rolled back" and reason in why  # the reason of the first fault stays
    assert without_terminal(box, "velnetctl", *change.split(), "--force", "--wait", "20").stdout == "OK\n"


@pytest.mark.parametrize("options, code, address",
                         [("--wait 20", 0, "10.0.0.1/8"), ("--try 1 --wait 1", 1, "192.168.10.1/24")])
def test_a_restart_that_hangs_stops_nobody_else(box, nothing_is_left, monitor, options, code, address):
    hang = "TimeoutStartSec=infinity\nExecStartPre=timeout 99 sh -c 'while [ -e /run/hang ]; do sleep 0.1; done'"
    before = files(box)
    with (drop_in(box, "systemd-networkd", f"[Unit]\nStartLimitIntervalSec=0\n[Service]\n{hang}\n"),
          fault(box, "touch /run/hang", "rm /run/hang")):
        change = subprocess.Popen([*box.command, "exec", VELNETCTL, *f"set-ip local 10.0.0.1/8 {options}".split()])
        wait_until(lambda: box.exec("pgrep", "-fx", "sh -c while .* /run/hang .*", check=False).stdout, "it hangs")
        refused = box.velnetctl("set-dns", "0", "192.168.50.3", check=False)
        holder = r"velnetctl: (another change is at work|a trial is pending): .*process \d+ \(velnetctl\)"
        assert refused.returncode == 1 and re.match(holder, refused.stderr)
        wait_until(lambda: (files(box) == before) == bool(code), "the guard has put the file back")
        publishes(box, monitor)
        assert change.poll() is None
    assert change.wait(timeout=60) == code
    wait_until(lambda: box.ipv4("local") == [address], "the address is live")
    wait_until(lambda: not is_pending(box), "no trial is pending")
    assert box.velnetctl("set-dns", "0", "192.168.50.3", "--wait", "20").stdout == "OK\n"


def test_a_disabled_daemon_is_an_objection(box, nothing_is_left):
    fault_of_networkd = "systemd-networkd is not enabled: after a reboot the device has no network"
    with fault(box, "systemctl disable systemd-networkd", "systemctl enable systemd-networkd"):
        refused = box.velnetctl("set-ip", "local", "10.0.0.1/8", check=False)
        assert refused.returncode == 1 and fault_of_networkd in refused.stderr
        networkd, resolved = box.status()["daemons"]
        assert fault_of_networkd in networkd["fault"] and resolved["fault"] == ""
    assert box.status()["daemons"][0]["fault"] == ""


def make_local(box, mac):
    """Makes local and its far end again after the deletion."""
    init = re.search(r"PID (\d+)", box.run("status").stdout)[1]
    for command in (f"link add local-peer type veth peer name local address {mac} netns {init}",
                    "address add 192.168.10.2/24 dev local-peer", "link set local-peer up"):
        box.run("peer", "ip", *command.split())


def test_an_interface_may_go_and_come_back(box, nothing_is_left, monitor):
    mac = box.ip("link", "show", "local")[0]["address"]
    box.exec("ip", "link", "delete", "local")
    try:
        refused = box.velnetctl("set-ip", "local", "10.0.0.1/8", check=False)
        assert refused.returncode == 1 and "local is absent: it has no MAC address" in refused.stderr
        assert box.status()["interfaces"]["local"]["present"] is False
        make_local(box, "02:00:00:00:00:01")
        monitor.wait_for("local", "mac", "02:00:00:00:00:01")
        assert box.velnetctl("set-ip", "local", "10.0.0.1/8", "--wait", "20").stdout == "OK\n"
    finally:
        box.exec("ip", "link", "delete", "local", check=False)
        make_local(box, mac)


def test_every_route_of_a_long_table_is_found(box):
    with fault(box, "true", "ip route flush dev local via 192.168.10.2"):
        box.ip_batch(ten_thousand_routes("add"))
        assert len(box.status()["interfaces"]["local"]["liveRoutes"]) == 10000
