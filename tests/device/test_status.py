# SPDX-License-Identifier: MIT
"""velnetctl status against ip, networkctl and /sys."""
import json
import shlex

import pytest

from conftest import INTERFACES, VELNETCTL, wait_until


@pytest.mark.parametrize("interface", INTERFACES)
def test_an_interface_is_shown_as_the_kernel_has_it(box, interface):
    def attribute(name):
        return box.exec("cat", f"/sys/class/net/{interface}/{name}").stdout.strip()

    shown = box.status()["interfaces"][interface]
    first = box.addresses(interface)[0]
    assert shown["addresses"] == box.addresses(interface)
    assert (shown["live"]["ip"], shown["live"]["mask"]) == (first["address"], first["mask"])
    assert shown["live"]["ip"] in box.exec("networkctl", "status", "--no-pager", interface).stdout
    assert (shown["mac"], shown["speed"], shown["duplex"]) == tuple(map(attribute, ("address", "speed", "duplex")))
    assert shown["link"] is True and shown["present"] is True


def test_status_needs_no_privilege_and_never_sleeps(box):
    trace = box.exec("strace", "-f", "-e", "trace=nanosleep,clock_nanosleep", "setpriv", "--bounding-set=-all", "--inh-caps=-all",
                     VELNETCTL, "status", "--json")
    assert json.loads(trace.stdout)["host"]["gateway"] == "192.168.50.1"
    assert "nanosleep(" not in trace.stderr


def test_a_full_standard_output_is_a_failure(box):
    result = box.exec("sh", "-c", f"{shlex.quote(VELNETCTL)} status >/dev/full", check=False)
    assert (result.returncode, result.stderr) == (1, "velnetctl: cannot write to standard output\n")


def test_the_log_is_shown_only_when_asked_for(box):
    assert box.velnetctl("status").stderr == ""
    assert "<7>libVelNetworkManager: refresh done!\n" in box.velnetctl("status", "-v").stderr
