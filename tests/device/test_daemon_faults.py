# SPDX-License-Identifier: MIT
"""Faults of commands, daemons and interfaces: what the host is told, that it goes on, that nothing of them is left."""
import contextlib
import re
import socket
import subprocess

import pytest

from conftest import VELNETCTL, end_of_trial, wait_until
from test_live import batch, has_address, lacks_address
from test_packaging import AS_VELNET, drop_in
from test_scenarios import SCENARIOS, Run

RULE = "/etc/sudoers.d/velnet-host"
OF_RESOLVED = "/lib/systemd/system/systemd-resolved.service", "/lib/systemd/systemd-resolved", "/run/systemd/resolve"
CRASHES = "/run/systemd/system/systemd-networkd.service.d"
# A change, the daemon that has to be restarted for it, what the library answers when that fails, and when it does not.
ADDRESS = ("set-ip local 10.0.0.1 255.0.0.0", "systemd-networkd", "emitted internal error\nfalse\n",
           "emitted OK\ntrue\npublished local addresses: 10.0.0.1/8")
SERVER = ("set-dns 0 192.168.50.3", "systemd-resolved", "false\n", "true\nresolver: 192.168.50.3")


@contextlib.contextmanager
def fault(box, begin, end):
    box.exec("sh", "-ec", begin)
    try:
        yield
    finally:
        box.exec("sh", "-ec", end)


@pytest.fixture
def nothing_is_left(box, settings):
    yield
    of_hosts = "pgrep", "-lx", "velnetctl|scenario|sudo|systemctl|sh"
    wait_until(lambda: box.exec(*of_hosts, check=False).stdout == "", "no process is left")
    assert box.exec("find", "/etc/systemd", "-name", "*.new").stdout == ""
    assert box.velnetctl("pending", check=False).returncode == 3
    box.exec("sh", "-ec", "cd /etc/systemd/velnet; [ ! -e trials ] || flock -n trials/change.lock true")


def files(box):
    return box.exec("sh", "-c", "cd /etc/systemd; md5sum network/*.network resolved.conf.d/*", check=False).stdout


def publishes(box, monitor):
    for verb, expected in ("add", has_address), ("delete", lacks_address):
        box.exec("ip", "address", verb, "10.9.8.7/24", "dev", "local")
        monitor.wait_for("local", "addresses", expected("10.9.8.7"))


# As the user of the host, with a standard input at which nothing ever comes.
def without_terminal(box, *command):
    silent, far_end = socket.socketpair()
    with silent, far_end:
        return box.exec("setsid", "-w", *AS_VELNET, *command, stdin=silent, timeout=60, check=False)


@pytest.mark.parametrize("begin, end, change, reason", [
    ("mv /usr/bin/sudo /usr/bin/sudo.away", "mv /usr/bin/sudo.away /usr/bin/sudo", ADDRESS, "sudo: not found"),
    (f"mv {RULE} /run", f"mv /run/velnet-host {RULE}", ADDRESS, "sudo: a terminal is required to read the password"),
    (f"cp -p {RULE} /run; sed -i 's/NOPASSWD: //; s/!fqdn/&, visiblepw/' {RULE}", f"mv /run/velnet-host {RULE}",
     ADDRESS, "sudo: no password was provided"),
    ("systemctl mask systemd-networkd", "systemctl unmask systemd-networkd", ADDRESS, "service is masked."),
    (f"mkdir -p {CRASHES}; printf '[Service]\nExecStart=\nExecStart=sh -c \"kill -KILL $$$$\"' >{CRASHES}/crashes.conf",
     f"rm -r {CRASHES}; systemctl daemon-reload", ADDRESS, "Job for systemd-networkd.service failed"),
    (f"systemctl stop systemd-resolved; mv {' '.join(OF_RESOLVED)} /var; systemctl daemon-reload",
     "".join(f"mv /var/{path.split('/')[-1]} {path}; " for path in OF_RESOLVED) + "systemctl daemon-reload",
     SERVER, "Unit systemd-resolved.service not found."),
], ids=["no sudo", "sudo refuses", "sudo asks", "networkd masked", "networkd crashes", "no resolved"])
def test_a_change_that_does_not_reach_its_daemon(box, nothing_is_left, installed, monitor, begin, end, change, reason):
    step, daemon, failed, done = change
    before = files(box)
    with fault(box, begin, end):
        for options, whose in ("--force", "the old"), ("--force --try 9", "the previous"):
            refused = without_terminal(box, "velnetctl", *f"{step} {options}".split())
            assert refused.returncode == 1 and reason in refused.stderr
            assert ("password" in reason) == ("(run it as root, or as a user who may" in refused.stderr)
            assert f"{whose} files are back, but {daemon} could not be restarted\n" in refused.stderr
            assert files(box) == before
        publishes(box, monitor)
        assert box.velnetctl("pending", check=False).returncode == 0
    state, why = end_of_trial(box)
    assert state == "rolled back" and reason in why  # that of the beginning

    library = Run(*box.command, "exec", "setsid", "-w", *AS_VELNET, "scenario")
    with fault(box, begin, end):
        told = library.step(step)
        assert "failed to run sudo /bin/systemctl " in told and reason in told and failed in told
        assert box.exec("pgrep", "-lx", "sudo|systemctl|sh", check=False).stdout == ""
    assert done in library.step(step)
    library.process.communicate()


@pytest.mark.parametrize("options, code, address",
                         [("--wait 20", 0, "10.0.0.1/8"), ("--try 1 --wait 1", 1, "192.168.10.1/24")])
def test_a_restart_that_hangs_stops_no_reader_and_no_guard(box, nothing_is_left, monitor, options, code, address):
    hang = "TimeoutStartSec=infinity\nExecStartPre=sh -c 'while [ -e /run/hang ]; do sleep 0.1; done'"
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
    wait_until(lambda: box.velnetctl("pending", check=False).returncode == 3, "no trial is pending")
    assert box.velnetctl("set-dns", "0", "192.168.50.3", "--wait", "20").stdout == "OK\n"


def test_a_change_brings_a_daemon_back_that_has_crashed_too_often(box, nothing_is_left, monitor):
    crash = "until systemctl is-failed systemd-networkd; do systemctl kill --signal=SEGV systemd-networkd; done"
    with drop_in(box, "systemd-networkd", "[Unit]\nStartLimitIntervalSec=1h\n[Service]\nLimitCORE=0\n"):
        box.restart_networkd()
        box.exec("timeout", "30", "sh", "-c", crash)
        publishes(box, monitor)
        assert box.velnetctl("set-ip", "local", "10.0.0.1/8", "--wait", "20").stdout == "OK\n"


def test_a_daemon_that_a_reboot_does_not_bring_back_is_an_objection(box, nothing_is_left):
    fault_of_networkd = "systemd-networkd is not enabled: after a reboot the device has no network"
    with fault(box, "systemctl disable systemd-networkd", "systemctl enable systemd-networkd"):
        refused = box.velnetctl("set-ip", "local", "10.0.0.1/8", check=False)
        assert refused.returncode == 1 and fault_of_networkd in refused.stderr
        networkd, resolved = box.status()["daemons"]
        assert fault_of_networkd in networkd["fault"] and resolved["fault"] == ""
    assert box.status()["daemons"][0]["fault"] == ""


def make_local(box, mac):
    """Anew, after it was deleted, with its far end."""
    init = re.search(r"PID (\d+)", box.run("status").stdout)[1]
    for command in (f"link add local-peer type veth peer name local address {mac} netns {init}",
                    "address add 192.168.10.2/24 dev local-peer", "link set local-peer up"):
        box.run("peer", "ip", *command.split())


def test_an_interface_that_is_gone_and_comes_back_as_another_one(box, nothing_is_left, monitor):
    mac = box.ip("link", "show", "local")[0]["address"]
    library = Run(*box.command, "exec", SCENARIOS)
    box.exec("ip", "link", "delete", "local")
    try:
        assert library.step(ADDRESS[0]).startswith(ADDRESS[2])  # without a command
        assert box.status()["interfaces"]["local"]["present"] is False
        make_local(box, "02:00:00:00:00:01")
        told = library.step(ADDRESS[0])
        assert "emitted OK\ntrue\npublished local mac: 02:00:00:00:00:01\npublished local addresses: 10.0.0.1/8" in told
        monitor.wait_for("local", "mac", "02:00:00:00:00:01")
    finally:
        library.process.communicate()
        box.exec("ip", "link", "delete", "local", check=False)
        make_local(box, mac)


def test_an_interface_that_has_another_name_for_a_while_is_absent(box, nothing_is_left, monitor):
    with fault(box, "ip link set local down name lost", "ip link set lost name local up"):
        refused = box.velnetctl("set-ip", "local", "10.0.0.1/8", check=False)
        assert refused.returncode == 1 and "local is absent: it has no MAC address" in refused.stderr
        box.exec("ip", "address", "add", "10.9.8.7/24", "dev", "remote")
        changes = monitor.wait_for("remote", "addresses", has_address("10.9.8.7"))
        assert {change["source"] for change in changes} == {"remote"}
    assert box.velnetctl("set-ip", "local", "10.0.0.1/8", "--wait", "20").stdout == "OK\n"
    monitor.wait_for("local", "live", {"ip": "10.0.0.1", "mask": "255.0.0.0", "dhcp": False, "gateway": ""})


def test_two_hundred_addresses_are_shown_in_the_order_of_the_kernel(box, monitor):
    every = "seq 0 199 | sed 's#.*#address {} 10.9.&.1/24 dev local#' | ip -batch -"
    with fault(box, every.format("add"), every.format("delete")):
        monitor.wait_for("local", "addresses", has_address("10.9.199.1"))
        shown = box.status()["interfaces"]["local"]["addresses"]
        assert shown == box.addresses("local") and len(shown) > 200
    monitor.wait_for("local", "addresses", lambda shown: shown == box.addresses("local"))


def test_a_route_is_found_behind_twenty_thousand_among_five_hundred_interfaces(box, monitor):
    # The kernel's table is in the order of the destinations.
    last = "203.0.113.0/24 via 192.168.10.2"
    with fault(box, f"ip link add many0 up group 77 type veth peer name far0; ip route add {last}",
               f"ip link delete group 77; ip route delete {last}"):
        batch(box, [f"link add many{number} group 77 type veth peer name far{number}" for number in range(1, 250)])
        batch(box, [f"route add 10.{number // 250}.{number % 250}.0/24 dev many0" for number in range(20000)])
        assert box.status()["interfaces"]["local"]["liveRoutes"] == [last]
        publishes(box, monitor)


def test_the_gateway_is_that_of_the_route_of_remote_with_the_lowest_metric(box):
    shown = []
    for verb in "add", "delete":
        for route in "192.168.10.2 metric 1", "192.168.50.3 metric 2000", "192.168.50.2 metric 5":
            box.exec("ip", "route", verb, "default", "via", *route.split())
            shown.append(box.status()["host"]["gateway"].removeprefix("192.168.50."))
    assert shown == ["1", "1", "2", "2", "2", "1"]
