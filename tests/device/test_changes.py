# SPDX-License-Identifier: MIT
"""Every set operation, with its outcome read from the kernel, the daemons and the files."""
import os
import subprocess

import pytest

from conftest import VELNETCTL, wait_until

IMPATIENT_HOST = os.environ["IMPATIENT_HOST"]
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


def test_remote_goes_to_static_with_the_gateway_of_its_lease_and_back(box):
    lease, = box.ipv4("remote")
    accept(box, "set-ip", "remote", "192.168.50.20", "255.255.255.0", "--wait", "20")
    assert box.read(REMOTE) == ("[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.20/24\n"
                                "[Route]\nGateway=192.168.50.1\n\n")
    assert (box.ipv4("remote"), box.gateways()) == (["192.168.50.20/24"], ["192.168.50.1"])
    accept(box, "set-ip", "remote", "192.168.50.20/24", status="nothing to change")
    accept(box, "set-ip", "remote", "192.168.50.21/24", "--wait", "20")
    assert (box.ipv4("remote"), box.gateways()) == (["192.168.50.21/24"], ["192.168.50.1"])

    accept(box, "set-ip", "remote", "dhcp", "--wait", "20")
    assert box.read(REMOTE) == "[Match]\nName=remote\n\n[Network]\nDHCP=ipv4\n\n"
    assert (box.ipv4("remote"), box.gateways()) == ([lease], ["192.168.50.1"])
    assert "DHCP4 via 192.168.50.1" in box.exec("networkctl", "status", "--no-pager", "remote").stdout
    accept(box, "set-ip", "remote", "dhcp", status="nothing to change")


def test_local_changes_its_address_and_keeps_remote(box):
    accept(box, "set-ip", "local", "10.20.30.40/16", "--wait", "20")
    assert box.read(LOCAL) == ("[Match]\nName=local\n\n[Network]\nLinkLocalAddressing=ipv6\nMulticastDNS=true\n"
                               "Address=10.20.30.40/16\n\n")
    assert box.ipv4("local") == ["10.20.30.40/16"]
    wait_until(lambda: box.gateways() == ["192.168.50.1"], "remote has its default route again")


def test_the_gateway_is_set_changed_refused_and_removed(box, static_remote):
    accept(box, "set-gateway", "192.168.50.2", "--wait", "20")
    assert "[Route]\nGateway=192.168.50.2\n" in box.read(REMOTE)
    assert (box.ipv4("remote"), box.gateways()) == (["192.168.50.20/24"], ["192.168.50.2"])
    before = box.read(REMOTE)
    assert "SIOCADDRT: Network is unreachable" in refuse(box, "set-gateway", "10.99.99.99")
    assert "invalid ip or mask" in refuse(box, "set-gateway", "192.168.50")
    assert (box.read(REMOTE), box.gateways()) == (before, ["192.168.50.2"])
    accept(box, "set-gateway", "192.168.50.002", status="nothing to change")
    # Without a default route, a removal rewrites the file each time.
    for _ in range(2):
        accept(box, "set-gateway", "none", "--wait", "20")
        assert (box.read(REMOTE), box.gateways()) == (before.replace("[Route]\nGateway=192.168.50.2\n", ""), [])


def test_the_gateway_is_refused_while_dhcp_is_in_use(box, static_remote):
    accept(box, "set-ip", "remote", "dhcp", "--wait", "20")
    assert "Gateway from DHCP not overwritten!" in refuse(box, "set-gateway", "192.168.50.2")
    accept(box, "set-ip", "remote", "192.168.50.20/24", "--wait", "20")
    accept(box, "set-gateway", "none", "--wait", "20")
    accept(box, "set-ip", "local", "dhcp")  # no lease there; and no default route on remote
    assert "Gateway from DHCP not overwritten!" in refuse(box, "set-gateway", "192.168.50.2")
    assert box.gateways() == []
    box.exec("ip", "address", "flush", "dev", "remote")
    box.write(LOCAL, "")
    assert "there is no IPv4 address to keep" in refuse(box, "set-gateway", "none")


def test_dns_servers_and_search_domain_are_set_and_cleared(box):
    def resolver(verb):
        return box.exec("resolvectl", verb).stdout.splitlines()[0].split()[1:]

    addresses = ["192.168.50.1", "10.0.0.53", "10.0.0.54"]
    for index, address in enumerate(addresses):
        accept(box, "set-dns", str(index), address, "--wait", "20")
    accept(box, "set-domain", "box.example", "--wait", "20")
    assert (resolver("dns"), resolver("domain")) == (addresses, ["box.example"])
    assert "192.168.50.2" in box.exec("resolvectl", "query", "server").stdout
    for index in range(3):
        accept(box, "set-dns", str(index), "none", "--wait", "20")
    accept(box, "set-domain", "--wait", "20")
    assert (resolver("dns"), resolver("domain")) == ([], [])
    assert box.read("/etc/systemd/resolved.conf.d/dns_server_2.conf") == "[Resolve]\n"
    assert "'fe80::1' is not a valid IPv4 address" in refuse(box, "set-dns", "0", "fe80::1")


def test_routes_are_set_replaced_and_cleared(box):
    drop_in = REMOTE + ".d/50-routes.conf"
    accept(box, "set-routes", "remote", "10.1.0.0/16", "via", "192.168.50.1", "10.2.0.7", "via", "192.168.50.2",
           "--wait", "20", status="Routes updated")
    assert box.routes("remote") == {("10.1.0.0/16", "192.168.50.1"), ("10.2.0.7", "192.168.50.2")}
    assert box.read(drop_in) == ("[Route]\nDestination=10.1.0.0/16\nGateway=192.168.50.1\n"
                                 "[Route]\nDestination=10.2.0.7\nGateway=192.168.50.2\n")
    accept(box, "set-routes", "remote", "dst=10.3.0.0/24", "gw=192.168.50.2", "--wait", "20", status="Routes updated")
    assert box.routes("remote") == {("10.3.0.0/24", "192.168.50.2")}
    for routes, reason in (("dst=10.0.0.0/33 gw=192.168.50.1", "Invalid route format: 10.0.0.0/33"),
                           ("dst=10.0.0.0/8 gw=here", "Invalid gateway format: here"),
                           ("gw=192.168.50.1 dst=10.0.0.0/8", "has to be first"),
                           ("dst=10.0.0.0/8 gw=192.168.50.1 dst=10.0.0.0/99999999999", "out of range")):
        assert reason in refuse(box, "set-routes", "remote", routes)
    assert box.routes("remote") == {("10.3.0.0/24", "192.168.50.2")}
    accept(box, "set-routes", "remote", "--wait", "20", status="Routes updated")
    assert (box.routes("remote"), box.read(drop_in)) == (set(), "[Route]\n")


def test_another_process_reads_everything_back(box, static_remote):
    accept(box, "set-routes", "remote", "10.1.0.0/16", "via", "192.168.50.2", status="Routes updated")
    accept(box, "set-ip", "local", "dhcp")
    shown = box.status()["interfaces"]
    assert shown["local"]["configured"]["dhcp"] is True
    assert shown["remote"]["configured"] == {"ip": "192.168.50.20", "mask": "255.255.255.0", "dhcp": False, "gateway": ""}
    assert shown["remote"]["routes"] == "dst=10.1.0.0/16,gw=192.168.50.2"


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
        script = f"{prepare} && exec {VELNETCTL} {' '.join(change)}"
        result = box.exec("unshare", "--mount", "sh", "-c", script, check=False)
        assert result.returncode == 1 and f"velnetctl: cannot write {path}: {reason}\n" in result.stderr
    assert (started(), box.ipv4("local"), box.read(LOCAL)) == before


def test_a_gateway_that_cannot_be_written_has_cost_the_default_route(box, static_remote):
    script = f"mount -o bind,ro /etc/systemd /etc/systemd && exec {VELNETCTL} set-gateway 192.168.50.2"
    result = box.exec("unshare", "--mount", "sh", "-c", script, check=False)
    assert (result.returncode, box.gateways()) == (1, [])
    assert "Gateway=192.168.50.1\n" in box.read(REMOTE)


def test_a_daemon_that_does_not_start_is_told_and_the_file_stands(box):
    drop_in = "/run/systemd/system/systemd-networkd.service.d/broken.conf"
    box.exec("mkdir", "-p", drop_in.rsplit("/", 1)[0])
    box.write(drop_in, "[Service]\nExecStartPre=/bin/false\n")
    try:
        reason = refuse(box, "set-ip", "local", "10.0.0.1/8")
        assert "'sudo /bin/systemctl restart systemd-networkd' failed: Job for systemd-networkd.service failed" in reason
        assert "Address=10.0.0.1/8\n" in box.read(LOCAL)
    finally:
        box.exec("rm", "-r", drop_in.rsplit("/", 1)[0])
        box.restart_networkd()


def test_a_change_while_the_default_route_is_away_loses_the_gateway_after_a_warning(box, static_remote):
    box.run("link", "remote", "down")
    wait_until(lambda: not box.gateways(), "the default route is away")
    result = box.velnetctl("set-ip", "remote", "192.168.50.30/24", "--wait", "1", check=False)
    assert "warning: the live state lacks the" in result.stderr and "which the change may lose" in result.stderr
    assert "Gateway" not in box.read(REMOTE)
    assert result.returncode == 1 and "still lacks the address 192.168.50.30 of remote; it shows" in result.stderr
    box.run("link", "remote", "up")
    wait_until(lambda: box.ipv4("remote") == ["192.168.50.30/24"], "the new address comes with the carrier")


def test_a_cable_that_is_pulled_in_the_middle_of_a_change_delays_it(box, static_remote):
    change = subprocess.Popen([*box.command, "exec", VELNETCTL, "set-ip", "remote", "192.168.50.30/24", "--wait", "20"])
    wait_until(lambda: "192.168.50.30" in box.read(REMOTE), "the file is written")
    box.run("link", "remote", "down")
    box.run("link", "remote", "up")
    assert change.wait(timeout=30) == 0
    assert (box.ipv4("remote"), box.gateways()) == (["192.168.50.30/24"], ["192.168.50.1"])


def test_a_switch_to_dhcp_is_not_done_before_the_lease_is_there(box):
    assert "still lacks an address of local by DHCP" in refuse(box, "set-ip", "local", "dhcp", "--wait", "1")


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


@pytest.mark.parametrize("changes, statuses, file", [
    # The cell still holds the old address, so that going back to it looks like no change: the file says otherwise.
    (("192.168.50.30 255.255.255.0", "192.168.50.20 255.255.255.0"), ["OK", "nothing to change"],
     "Address=192.168.50.30/24\n[Route]\nGateway=192.168.50.1\n\n"),
    # The restarted networkd has not brought the default route back, so that there is none to carry over.
    (("192.168.50.30 255.255.255.0", "192.168.50.40 255.255.255.0"), ["OK", "OK"], "Address=192.168.50.40/24\n\n"),
    # Nor the address through which the new gateway would be reached.
    (("192.168.50.30 255.255.255.0", "192.168.50.2"), ["OK", "SIOCADDRT: Network is unreachable"],
     "Address=192.168.50.30/24\n[Route]\nGateway=192.168.50.1\n\n"),
])
def test_a_host_that_does_not_wait_for_the_cells_gets_what_the_guide_says(box, static_remote, changes, statuses, file):
    assert box.exec(IMPATIENT_HOST, *changes).stdout.splitlines() == statuses
    assert box.read(REMOTE) == "[Match]\nName=remote\n\n[Network]\n" + file


def test_velnetctl_waits_for_the_live_state_before_each_change(box, static_remote):
    for last in (30, 31, 20):
        accept(box, "set-ip", "remote", f"192.168.50.{last}/24")
        assert f"Address=192.168.50.{last}/24\n[Route]\nGateway=192.168.50.1\n" in box.read(REMOTE)


def test_a_gateway_outside_the_new_subnet_is_warned_of_and_never_comes(box, static_remote):
    result = box.velnetctl("set-ip", "remote", "10.5.5.5/24", "--wait", "2", check=False)
    assert "warning: the gateway 192.168.50.1 is carried over and does not lie in the new subnet" in result.stderr
    assert (result.returncode, result.stdout) == (1, "OK\n")
    assert "lacks the default route via 192.168.50.1; it shows local 192.168.10.1/24, remote 10.5.5.5/24, gateway none" \
        in result.stderr
