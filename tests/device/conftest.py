# SPDX-License-Identifier: MIT
"""Fixtures: the device box, which is booted once for all tests, and preparations that several test files share."""
import os
import pathlib
import tempfile

import pytest

from devicebox import SCENARIOS, VELNETCTL, Box, copies_of_programs, wait_until
from monitors import Monitor
from trials import run_aside

INTERFACES = ("local", "remote")


@pytest.fixture(scope="session")
def booted_box():
    box = Box()
    box.boot()
    yield box
    box.run("down")


@pytest.fixture
def box(booted_box):
    """The box. Before and after each test, its network is settled as after the first boot."""
    yield booted_box
    booted_box.run("link", "local", "up")
    booted_box.run("link", "remote", "up")
    wait_until(lambda: booted_box.gateways() == ["192.168.50.1"], "remote has its lease again")
    wait_until(lambda: booted_box.ipv4("local") == ["192.168.10.1/24"], "local has its address again")


@pytest.fixture
def settings(box):
    """For tests that change settings: restores the files of the daemons if anything has changed."""
    directories = "/etc/systemd/network", "/etc/systemd/resolved.conf.d", "/etc/systemd/velnet"

    def state():
        files = f"find {' '.join(directories)} ! -type d -exec stat -c '%n %a %U' {{}} + -exec md5sum {{}} + | sort"
        return box.exec("sh", "-c", f"{files}; ip -4 -brief address; ip -4 route").stdout

    box.exec("tar", "-cf", "/var/settings.tar", *directories)
    before = state()
    yield
    if state() == before:
        return
    box.exec("sh", "-c", f"rm -rf {' '.join(directories)}; tar -C / -xf /var/settings.tar")
    for interface in INTERFACES:
        box.exec("ip", "-4", "address", "flush", "dev", interface)  # the restart must bring the addresses back
    box.restart_networkd()
    box.exec("systemctl", "restart", "systemd-resolved")


@pytest.fixture
def installed(box):
    """Installs the programs where units and users find them. The project may lie in /home or a root-only directory."""
    if "EMULATED" in os.environ:  # an emulator needs writable code and another call
        for unit in "velnet-guard", "velnet-guard-boot":
            box.exec("install", "-Dm644", "/dev/stdin", f"/etc/systemd/system/{unit}.service.d/emulated.conf",
                     input="[Service]\nMemoryDenyWriteExecute=no\nSystemCallFilter=\nNoExecPaths=\n")
        box.exec("systemctl", "daemon-reload")
        box.exec("cp", "--remove-destination", VELNETCTL, SCENARIOS, "/usr/bin/")
        return
    with tempfile.TemporaryDirectory(dir=pathlib.Path(VELNETCTL).parent) as directory:
        for copy, target in copies_of_programs(directory):
            box.exec("cp", "--remove-destination", copy, target)


@pytest.fixture
def units(box, settings, installed):
    box.exec("systemctl", "enable", "--now", "velnet-guard.path", "velnet-guard-boot.service")
    yield
    box.exec("systemctl", "disable", "--now", "velnet-guard.path", "velnet-guard-boot.service")


@pytest.fixture
def monitor(box):
    running = Monitor(box)
    running.wait_for("resolver", "domains", lambda domains: True)  # the last line of the first pass
    yield running
    running.stop()


@pytest.fixture
def aside(box):
    """Runs scripts with ASIDE. The kernel already has the route of the new settings."""
    box.exec("ip", "route", "add", "10.2.0.0/16", "via", "192.168.10.2")
    yield lambda script: run_aside(box, script)
    box.exec("ip", "route", "del", "10.2.0.0/16")
