# SPDX-License-Identifier: MIT
"""The box behaves like hardware: a restarted networkd removes what its files no longer say."""
from conftest import wait_until

LOCAL = "/etc/systemd/network/01_local.network"
REMOTE = "/etc/systemd/network/02_remote.network"


def test_an_old_address_is_gone_after_a_restart(box, settings):
    box.write(LOCAL, "[Match]\nName=local\n\n[Network]\nAddress=10.20.30.40/16\n")
    box.restart_networkd()
    wait_until(lambda: box.ipv4("local") == ["10.20.30.40/16"], "local has the new address and no other")


def test_an_old_default_route_is_gone_after_a_restart(box, settings):
    static = "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.77/24\n"
    box.write(REMOTE, static + "[Route]\nGateway=192.168.50.2\n")
    box.restart_networkd()
    wait_until(lambda: box.gateways() == ["192.168.50.2"], "remote has the static gateway instead of the lease's")
    box.write(REMOTE, static)
    box.restart_networkd()
    wait_until(lambda: box.ipv4("remote") and not box.gateways(), "remote has no default route")
