# SPDX-License-Identifier: MIT
"""velnetctl monitor in the device box, and the changes that it publishes."""
import json
import subprocess

from devicebox import VELNETCTL, Lines, wait_until


class Monitor:
    """velnetctl monitor --json in the box, or a command that runs it. The standard error goes to the log, if given."""

    def __init__(self, box, *command, log=None, is_read=True, **options):
        command = command or (VELNETCTL, "monitor", "--json")
        self.process = subprocess.Popen([*box.command, "exec", *command], stdout=subprocess.PIPE,
                                        stderr=log and log.open("w"), text=True, **options)
        if is_read:
            self.read()

    def read(self):
        self.changes = Lines(self.process.stdout, json.loads)

    def wait_for(self, source, name, value):
        """Waits for that change. Removes and returns all changes up to it."""
        def is_it(change):
            return (change["source"], change["name"]) == (source, name) and (
                value(change["value"]) if callable(value) else change["value"] == value)
        return self.changes.take_until(is_it, f"{source} publishes {name} {value}")

    def stop(self):
        self.process.terminate()
        return self.process.wait(timeout=20)


def velnetctl_inside(box):
    """The process ID of the newest velnetctl in the box."""
    return box.exec("pgrep", "-nx", "velnetctl").stdout.strip()


def wait_until_stalled(box, log):
    """Waits until a monitor with -v, this log and a stalled reader blocks. Returns its process ID in the box."""
    wait_until(lambda: "refresh..." in log.read_text(), "the first look has begun")
    # During its first pass, the monitor only sleeps when it waits for the reader.
    return wait_until(lambda: box.exec("pgrep", "-r", "S", "-x", "velnetctl", check=False).stdout.strip(), "it stalls")


def has_address(address):
    return lambda value: address in [entry["address"] for entry in value]


def lacks_address(address):
    return lambda value: not has_address(address)(value)
