# SPDX-License-Identifier: MIT
"""Every set operation, with its outcome read from the kernel, the daemons and the files."""
import shlex
import subprocess

import pytest

from conftest import VELNETCTL, wait_until

LOCAL = "/etc/systemd/network/01_local.network"
REMOTE = "/etc/systemd/network/02_remote.network"
pytestmark = pytest.mark.usefixtures("settings")


@pytest.fixture
def static_remote(box):
    """remote is static, with the gateway of the lease that it had."""
    accept(box, "set-ip", "remote", "192.168.50.20/24", "--wait", "20")


def accept(box, *arguments, status="OK"):
    assert box.velnetctl(*arguments).stdout == status + "\n"


def refuse(box, *arguments, code=1):
    """The reason that velnetctl gives."""
    result = box.velnetctl(*arguments, check=False)
    assert result.returncode == code
    return result.stderr


@pytest.mark.parametrize("prepare, reason", [
    ("mount -o bind,ro /etc/systemd /etc/systemd", "Read-only file system"),
    ("mount -t tmpfs none /etc/systemd", "No such file or directory"),
])
def test_a_directory_that_cannot_be_written_is_named_and_nothing_is_restarted(box, prepare, reason):
    def started():
        return box.exec("systemctl", "show", "-P", "MainPID", "systemd-networkd", "systemd-resolved").stdout

    before = started(), box.ipv4("local"), box.read(LOCAL)
    for path, change in ((LOCAL, ("set-ip", "local", "10.0.0.1/8")),
                         (LOCAL + ".d/50-routes.conf", ("set-routes", "local")),
                         ("/etc/systemd/resolved.conf.d/dns_server_0.conf", ("set-dns", "0", "10.0.0.1")),
                         ("/etc/systemd/resolved.conf.d/dns_domain.conf", ("set-domain", "x"))):
        script = f"{prepare} && exec {shlex.quote(VELNETCTL)} {' '.join(change)}"
        result = box.exec("unshare", "--mount", "sh", "-c", script, check=False)
        assert result.returncode == 1 and f"velnetctl: cannot write {path}: {reason}\n" in result.stderr
    assert (started(), box.ipv4("local"), box.read(LOCAL)) == before


def test_a_gateway_that_cannot_be_written_does_not_cost_the_default_route(box, static_remote):
    script = f"mount -o bind,ro /etc/systemd /etc/systemd && exec {shlex.quote(VELNETCTL)} set-gateway 192.168.50.2"
    result = box.exec("unshare", "--mount", "sh", "-c", script, check=False)
    assert result.returncode == 1 and "the old files are back\n" in result.stderr
    wait_until(lambda: box.gateways() == ["192.168.50.1"], "the default route is back")


def test_a_daemon_that_does_not_start_is_told_and_the_old_file_is_back(box):
    drop_in = "/run/systemd/system/systemd-networkd.service.d/broken.conf"
    box.exec("mkdir", "-p", drop_in.rsplit("/", 1)[0])
    box.write(drop_in, "[Service]\nExecStartPre=/bin/false\n")
    before = box.read(LOCAL)
    try:
        reason = refuse(box, "set-ip", "local", "10.0.0.1/8")
        assert "'sudo /bin/systemctl restart systemd-networkd' failed: Job for systemd-networkd.service failed" in reason
        assert "the old files are back, but systemd-networkd could not be restarted" in reason
        assert box.read(LOCAL) == before
    finally:
        box.exec("rm", "-r", drop_in.rsplit("/", 1)[0])
        box.restart_networkd()


def test_a_cable_that_is_pulled_in_the_middle_of_a_change_delays_it(box, static_remote):
    change = subprocess.Popen([*box.command, "exec", VELNETCTL, "set-ip", "remote", "192.168.50.30/24", "--wait", "20"])
    wait_until(lambda: "192.168.50.30" in box.read(REMOTE), "the file is written")
    box.run("link", "remote", "down")
    box.run("link", "remote", "up")
    assert change.wait(timeout=30) == 0
    assert (box.ipv4("remote"), box.gateways()) == (["192.168.50.30/24"], ["192.168.50.1"])


def test_an_interface_that_disappears_is_refused_and_served_when_it_is_back(box, monitor):
    box.exec("ip", "link", "set", "local", "down", "name", "lost")
    try:
        assert "local is absent: it has no MAC address" in refuse(box, "set-ip", "local", "10.0.0.1/8")
        assert box.status()["interfaces"]["local"]["present"] is False
        box.exec("ip", "address", "add", "10.9.8.7/24", "dev", "remote")
        changes = monitor.wait_for("remote", "addresses", lambda found: "10.9.8.7" in [a["address"] for a in found])
        assert {change["source"] for change in changes} == {"remote"}
    finally:
        box.exec("ip", "link", "set", "lost", "name", "local", "up")
    accept(box, "set-ip", "local", "10.0.0.1/8", "--wait", "20")
    monitor.wait_for("local", "live", {"ip": "10.0.0.1", "mask": "255.0.0.0", "dhcp": False, "gateway": ""})
