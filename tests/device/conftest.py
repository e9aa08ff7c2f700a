# SPDX-License-Identifier: MIT
"""The device box, booted once for all tests, and ways to look into it without the library."""
import contextlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import threading
import time

import pytest

DEVICEBOX = pathlib.Path(__file__).resolve().parents[2] / "tools/devicebox/devicebox"
VELNETCTL = os.environ["VELNETCTL"]
INTERFACES = ("local", "remote")


def wait_until(condition, what, limit=20):
    """Returns the first true value of the condition."""
    end = time.monotonic() + limit
    while not (value := condition()):
        assert time.monotonic() < end, f"gave up waiting until {what}"
        time.sleep(0.05)
    return value


class Box:
    def __init__(self, name, program=VELNETCTL):
        self.command = [DEVICEBOX, "--name", name]
        self.program = program

    def run(self, *arguments, check=True, **options):
        return subprocess.run([*self.command, *arguments], check=check, capture_output=True, text=True, **options)

    def exec(self, *command, **options):
        return self.run("exec", *command, **options)

    def velnetctl(self, *arguments, **options):
        return self.exec(self.program, *arguments, **options)

    def status(self):
        return json.loads(self.velnetctl("status", "--json").stdout)

    def ip(self, *arguments):
        return json.loads(self.exec("ip", "-j", *arguments).stdout)

    def gateways(self):
        """Of the default routes of remote, as the kernel has them."""
        return [route["gateway"] for route in self.ip("-4", "route", "show", "default", "dev", "remote")]

    def routes(self, interface):
        """The routes that networkd added by a file, but for the default route."""
        return {(route["dst"], route["gateway"]) for route in self.ip("-4", "route", "show", "dev", interface)
                if route.get("protocol") == "static" and route["dst"] != "default"}

    def ipv4(self, interface):
        return [f"{entry['local']}/{entry['prefixlen']}"
                for link in self.ip("-4", "address", "show", "dev", interface) for entry in link.get("addr_info", [])]

    def read(self, path):
        return self.exec("cat", path).stdout

    def write(self, path, text):
        self.exec("tee", path, input=text)

    def restart_networkd(self):
        self.exec("systemctl", "daemon-reload")  # as the library does; it also resets the daemon's start limit
        self.exec("systemctl", "restart", "systemd-networkd")


def end_of_trial(box):
    def end():
        state = json.loads(box.velnetctl("pending", "--json", check=False).stdout)
        return not state["pending"] and (state["state"], state["why"])
    return wait_until(end, "the trial is over")


def wait_until_stalled(box, monitor):
    """The process is a monitor with the option -v, whose reader does not read. Returns its number in the box."""
    while "refresh..." not in monitor.stderr.readline():
        assert monitor.poll() is None
    # It has begun the first look. Nothing but the reader lets it sleep there.
    return wait_until(lambda: box.exec("pgrep", "-r", "S", "-x", "velnetctl", check=False).stdout.strip(), "it stalls")


@contextlib.contextmanager
def drop_in(box, unit, text):
    """In place of the one of packaging/, if the unit has one there."""
    path = f"/etc/systemd/system/{unit}.service.d/50-velnet.conf"
    box.exec("sh", "-ec", f"install -Dm644 /dev/stdin {path}; systemctl daemon-reload", input=text)
    try:
        yield
    finally:
        box.exec("sh", "-ec", f"rm {path}; systemctl daemon-reload")


def run_in_unit(box, *command, changes=""):
    """In place of the host, with everything else that velnet-host.service says, but for the changes."""
    start = f"[Service]\nType=oneshot\nRestart=no\nExecStart=\nExecStart={shlex.join(command)}\n{changes}"
    with drop_in(box, "velnet-host", start):
        return box.exec("systemctl", "start", "velnet-host", check=False).returncode == 0


def change_every_setting(box):
    """By velnetctl in place of the host, and back to what the device booted with."""
    def host(line):
        assert run_in_unit(box, "velnetctl", *line.split()), line

    box.write("/etc/systemd/resolved.conf.d/dns_server_0.conf", "[Resolve]\nDNS=192.168.50.3\n")  # left there by root
    box.exec("systemd-tmpfiles", "--create", "velnet-host.conf")
    host("set-ip remote 192.168.50.9/24")
    wait_until(lambda: box.ipv4("remote") == ["192.168.50.9/24"], "remote has the static address and no other")
    host("set-gateway 192.168.50.2")
    wait_until(lambda: box.gateways() == ["192.168.50.2"], "remote has the gateway")
    host("set-routes remote 10.1.0.0/16 via 192.168.50.2")
    wait_until(lambda: box.routes("remote") == {("10.1.0.0/16", "192.168.50.2")}, "remote has the route")
    for line in "set-dns 0 192.168.50.1", "set-dns 1 192.168.50.2", "set-domain velnet.example":
        host(line)
    assert box.exec("resolvectl", "dns").stdout.startswith("Global: 192.168.50.1 192.168.50.2\n")
    assert box.exec("resolvectl", "domain").stdout.startswith("Global: velnet.example\n")
    host("set-ip remote dhcp")
    wait_until(lambda: box.gateways() == ["192.168.50.1"], "remote has its lease")


class Monitor:
    """velnetctl monitor --json, or a command that runs it, in the box; collects what it prints."""

    def __init__(self, box, *command, is_read=True, **options):
        command = command or (VELNETCTL, "monitor", "--json")
        self.process = subprocess.Popen([*box.command, "exec", *command], stdout=subprocess.PIPE, text=True, **options)
        self.changes = []
        self.reader = threading.Thread(target=lambda: self.changes.extend(map(json.loads, self.process.stdout)),
                                       daemon=True)
        if is_read:
            self.reader.start()

    def wait_for(self, source, name, value):
        """Waits for that change; removes and returns everything up to it."""
        def position():
            for index, change in enumerate(self.changes):
                if (change["source"], change["name"]) == (source, name):
                    if value(change["value"]) if callable(value) else change["value"] == value:
                        return index + 1
            return 0
        count = wait_until(position, f"{source} publishes {name} {value}")
        taken, self.changes[:count] = self.changes[:count], []
        return taken

    def stop(self):
        self.process.terminate()
        self.reader.join()
        return self.process.wait()


@pytest.fixture(scope="session")
def booted_box():
    box = Box(os.environ.get("DEVICEBOX_NAME", "check"))
    box.run("down")
    subprocess.run([*box.command, "up"], check=True)
    yield box
    box.run("down")


@pytest.fixture
def box(booted_box):
    """The box, with its settled network of the first boot before and after each test."""
    yield booted_box
    booted_box.run("link", "local", "up")
    booted_box.run("link", "remote", "up")
    wait_until(lambda: booted_box.gateways() == ["192.168.50.1"], "remote has its lease again")
    wait_until(lambda: booted_box.ipv4("local") == ["192.168.10.1/24"], "local has its address again")


@pytest.fixture
def settings(box):
    """For tests that change settings: puts the files of the daemons back, where it does not find all as it was."""
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
        box.exec("ip", "-4", "address", "flush", "dev", interface)  # so that what is seen next comes from the restart
    box.restart_networkd()
    box.exec("systemctl", "restart", "systemd-resolved")


@pytest.fixture
def installed(box):
    """The programs lie where units and users find them: the project may lie in /home, or where only root may go."""
    if "EMULATED" in os.environ:  # an emulator writes the code that it runs, and is called in another way
        for unit in "velnet-guard", "velnet-guard-boot":
            box.exec("install", "-Dm644", "/dev/stdin", f"/etc/systemd/system/{unit}.service.d/emulated.conf",
                     input="[Service]\nMemoryDenyWriteExecute=no\nSystemCallFilter=\nNoExecPaths=\n")
        box.exec("systemctl", "daemon-reload")
        box.exec("cp", "--remove-destination", VELNETCTL, os.environ["SCENARIOS"], "/usr/bin/")
        return
    libraries = re.findall(r"libVelNetwork.* => (.*) \(", box.exec("ldd", VELNETCTL).stdout)
    with tempfile.TemporaryDirectory(dir=pathlib.Path(VELNETCTL).parent) as directory:
        for path in VELNETCTL, os.environ["SCENARIOS"], *libraries:
            copy = shutil.copy(path, directory)
            # A unit that may run what is installed, and nothing else, would find the libraries of the build.
            script = pathlib.Path(directory, "remove.cmake")
            script.write_text(f'file(RPATH_REMOVE FILE "{copy}")\n')
            subprocess.run(["cmake", "-P", script], check=True)
            box.exec("cp", "--remove-destination", copy, "/usr/lib/" if path in libraries else "/usr/bin/")


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
