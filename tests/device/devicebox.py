# SPDX-License-Identifier: MIT
"""The device box: runs commands in it, reads its network without the library, and waits with a limit."""
import contextlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import threading
import time

PROJECT = pathlib.Path(__file__).resolve().parents[2]
DEVICEBOX = PROJECT / "tools/devicebox/devicebox"
NAME = os.environ.get("DEVICEBOX_NAME", "check")
VELNETCTL = os.environ["VELNETCTL"]
SCENARIOS = os.environ["SCENARIOS"]
# Runs the next command as the host's user.
AS_VELNET = ("setpriv", "--reuid=velnet", "--regid=velnet", "--init-groups", "--")


def wait_until(condition, what, limit=20):
    """Returns the first true value of the condition."""
    end = time.monotonic() + limit
    while not (value := condition()):
        assert time.monotonic() < end, f"gave up waiting until {what}"
        time.sleep(0.05)
    return value


class Lines:
    """Collects what a process prints, line by line."""

    def __init__(self, stream, parse=str):
        self.lines = []
        self.reader = threading.Thread(target=lambda: self.lines.extend(map(parse, stream)), daemon=True)
        self.reader.start()

    def take_until(self, is_last, what, limit=20):
        """Waits for that line. Removes and returns all lines up to it."""
        count = wait_until(lambda: next((number for number, line in enumerate(self.lines, 1) if is_last(line)), 0),
                           what, limit)
        taken, self.lines[:count] = self.lines[:count], []
        return taken


class Box:
    def __init__(self, name=NAME, program=VELNETCTL):
        self.command = [DEVICEBOX, "--name", name]
        self.program = program

    def boot(self, **environment):
        self.run("down")
        subprocess.run([*self.command, "up"], check=True, env={**os.environ, **environment})

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

    def ip_batch(self, lines):
        self.exec("ip", "-batch", "-", input="\n".join(lines))

    def gateways(self):
        """The gateways of the kernel's default routes of remote."""
        return [route["gateway"] for route in self.ip("-4", "route", "show", "default", "dev", "remote")]

    def routes(self, interface):
        """The routes that networkd added from a file, without the default route."""
        return {(route["dst"], route["gateway"]) for route in self.ip("-4", "route", "show", "dev", interface)
                if route.get("protocol") == "static" and route["dst"] != "default"}

    def ipv4(self, interface):
        return [f"{entry['local']}/{entry['prefixlen']}"
                for link in self.ip("-4", "address", "show", "dev", interface) for entry in link.get("addr_info", [])]

    def read(self, path):
        return self.exec("cat", path).stdout

    def write(self, path, text):
        self.exec("tee", path, input=text)

    def show(self, name, *units):
        """systemd's value of this property for each unit."""
        return self.exec("systemctl", "show", "-P", name, *units).stdout.split()

    def restart_networkd(self):
        self.exec("systemctl", "daemon-reload")  # the library does this, too; it also resets the start limit
        self.exec("systemctl", "restart", "systemd-networkd")


def ten_thousand_routes(verb):
    """Lines for ip_batch."""
    return [f"route {verb} 10.{20 + number // 250}.{number % 250}.0/24 via 192.168.10.2" for number in range(10000)]


def copies_of_programs(directory):
    """Copies the programs and libraries of the build. Yields each copy with the directory where a device has it."""
    libraries = re.findall(r"libVelNetwork.* => (.*) \(", subprocess.check_output(["ldd", VELNETCTL], text=True))
    for path in VELNETCTL, SCENARIOS, *libraries:
        copy = shutil.copy(path, directory)
        # A unit that may only run installed files cannot use the libraries of the build.
        script = pathlib.Path(directory, "remove.cmake")
        script.write_text(f'file(RPATH_REMOVE FILE "{copy}")\n')
        subprocess.run(["cmake", "-P", script], check=True)
        yield copy, "/usr/lib/" if path in libraries else "/usr/bin/"


@contextlib.contextmanager
def drop_in(box, unit, text):
    """Changes the unit for a while. This drop-in replaces that of packaging/, if there is one."""
    path = f"/etc/systemd/system/{unit}.service.d/50-velnet.conf"
    box.exec("sh", "-ec", f"install -Dm644 /dev/stdin {path}; systemctl daemon-reload", input=text)
    try:
        yield
    finally:
        box.exec("sh", "-ec", f"rm {path}; systemctl daemon-reload")


def run_in_unit(box, *command, changes=""):
    """Runs the command in velnet-host.service instead of the host, with these changes of the unit."""
    start = f"[Service]\nType=oneshot\nRestart=no\nExecStart=\nExecStart={shlex.join(command)}\n{changes}"
    with drop_in(box, "velnet-host", start):
        return box.exec("systemctl", "start", "velnet-host", check=False).returncode == 0
