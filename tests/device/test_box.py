# SPDX-License-Identifier: MIT
"""The box behaves like hardware: a restarted networkd removes what its files no longer say."""
import pytest

from conftest import wait_until

LOCAL = "/etc/systemd/network/01_local.network"
REMOTE = "/etc/systemd/network/02_remote.network"


@pytest.fixture
def files(box):
    before = {path: box.exec("cat", path).stdout for path in (LOCAL, REMOTE)}
    yield
    for path, text in before.items():
        box.write(path, text)
    box.restart_networkd()


def test_an_old_address_is_gone_after_a_restart(box, files):
    box.write(LOCAL, "[Match]\nName=local\n\n[Network]\nAddress=10.20.30.40/16\n")
    box.restart_networkd()
    expected = {"family": "IPv4", "address": "10.20.30.40", "mask": "255.255.0.0"}
    wait_until(lambda: [a for a in box.addresses("local") if a["family"] == "IPv4"] == [expected],
               "local has the new address and no other")


def test_an_old_default_route_is_gone_after_a_restart(box, files):
    static = "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.77/24\n"
    box.write(REMOTE, static + "[Route]\nGateway=192.168.50.2\n")
    box.restart_networkd()
    wait_until(lambda: box.gateways() == ["192.168.50.2"], "remote has the static gateway instead of the lease's")
    box.write(REMOTE, static)
    box.restart_networkd()
    wait_until(lambda: box.addresses("remote")[:1] and box.gateways() == [], "remote has no default route")
