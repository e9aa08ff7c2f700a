# SPDX-License-Identifier: MIT
"""A device with its own kernel and disk: power cuts lose what was not written, and udev and the boot are real."""
import json
import os
import pathlib
import random
import re
import subprocess
import time
import warnings

import pytest

from devicebox import NAME, PROJECT, Box, copies_of_programs, wait_until
from trials import end_of_trial, is_pending

LAYOUTS = ["ext4", "f2fs", "overlay"]
CUTS = int(os.environ.get("VM_CUTS", "12"))  # for all layouts together
SEED = int(os.environ.get("VM_SEED", random.randrange(10 ** 6)))
UNITS = "velnet-guard.path", "velnet-guard-boot.service"


def settings(host, routes, domain):
    """A document in which every file differs from that of another host."""
    return json.dumps({"interfaces": {"local": {"address": f"192.168.10.{host}/24", "routes": routes},
                                      "remote": {"address": f"192.168.50.{host}/24"}},
                       "gateway": "192.168.50.1" if host < 50 else "192.168.50.2",
                       "dns": {"servers": [f"192.168.50.{host}", f"10.0.0.{host}"], "domains": [domain]}})


DOCUMENTS = {"first": settings(20, [], "first.example"),
             "second": settings(60, [{"destination": "10.1.0.0/16", "gateway": "192.168.10.2"}], "second.example")}


class Vm(Box):
    def __init__(self):
        super().__init__(NAME, "velnetctl")
        self.known, self.seconds = {}, {}  # see learn
        self.command = [PROJECT / "tools/devicevm/devicevm", "--name", NAME]

    def install(self, directory):
        """Installs the programs of the build without their debug information, to send less through the agent."""
        mode = re.search(r" / \S+ (r[wo])", self.read("/proc/mounts"))[1]
        self.exec("mount", "-o", "remount,rw", "/")
        for copy, target in copies_of_programs(directory):
            subprocess.run(["strip", copy], check=True)
            with open(copy, "rb") as file:
                self.exec("install", "-m755", "/dev/stdin", target + pathlib.Path(copy).name, stdin=file)
        self.exec("mount", "-o", f"remount,{mode}", "/")
        self.exec("systemctl", "enable", "--now", *UNITS)

    def files(self):
        """The files of the configuration, with their whole text."""
        told = self.exec("sh", "-c", "cd /etc/systemd; for file in network/*.network network/*.d/* resolved.conf.d/*; "
                                     "do [ ! -e $file ] || { echo \"== $file\"; cat $file; }; done").stdout
        return dict(part.split("\n", 1) for part in re.split("^== ", told, flags=re.MULTILINE)[1:])

    def learn(self):
        """Learns the files of both documents, and the time that commands take."""
        self.velnetctl("apply", "/var/second.json")
        self.known["second"] = self.files()
        begin = time.monotonic()
        self.velnetctl("apply", "/var/first.json", "--try", "600")
        tried = time.monotonic()
        self.velnetctl("confirm")
        self.known["first"] = self.files()
        self.seconds = {"apply": tried - begin, "rollback": tried - begin, "confirm": time.monotonic() - tried}

    def cut_and_boot(self):
        self.run("cut")
        self.run("up")

    def await_configured_addresses(self):
        """Waits until the configured addresses answer the far ends."""
        for interface in "01_local", "02_remote":
            address = re.search("^Address=(.*)/", self.files()[f"network/{interface}.network"], re.MULTILINE)[1]
            wait_until(lambda: self.run("peer", "ping", "-nc1", "-W5", address, check=False).returncode == 0,
                       f"{address} answers", 60)


@pytest.fixture(scope="module", name="vm")
def booted_vm(request, tmp_path_factory):
    vm = Vm()
    able = vm.run("check", check=False)
    if able.returncode == 77:
        warnings.warn(f"power cuts of a device with its own disk are NOT TESTED: {able.stderr}")
        pytest.skip(able.stderr)
    vm.run("down")
    vm.run("up", request.param)
    vm.install(tmp_path_factory.mktemp("programs"))
    for name, text in DOCUMENTS.items():
        vm.exec("tee", f"/var/{name}.json", input=text)
    vm.exec("sync")  # otherwise a cut may take back the programs as well
    vm.learn()
    yield vm
    vm.run("down")


on_each_layout = pytest.mark.parametrize("vm", LAYOUTS, indirect=True, scope="module")


@on_each_layout
def test_the_boot_rolls_a_trial_back_before_the_network_starts(vm):
    old = vm.files()
    vm.velnetctl("apply", "/var/second.json", "--try", "600")
    assert vm.files() != old
    vm.cut_and_boot()
    assert vm.files() == old
    vm.await_configured_addresses()
    assert end_of_trial(vm) == ("rolled back", "the device was started before it was confirmed")
    assert vm.show("Result", "velnet-guard-boot") == ["success"]
    restored, = vm.show("ExecMainExitTimestampMonotonic", "velnet-guard-boot")
    started, = vm.show("ExecMainStartTimestampMonotonic", "systemd-networkd")
    assert 0 < int(restored) < int(started)


# What happens before, the command that is cut, and the files that the cut may leave: while it runs, and after it.
CHANGES = {
    "change": (None, "apply", {"old", "new", "mixed"}, {"new"}),
    "trial": (None, "apply --try 600", {"old"}, {"old"}),
    "confirmation": ("apply --try 600", "confirm", {"old", "new"}, {"new"}),
    "roll-back": ("apply --try 600", "rollback", {"old"}, {"old"}),
}


@on_each_layout
def test_files_are_old_or_new_after_a_power_cut(vm, request):
    layout = request.node.callspec.params["vm"]
    chance = random.Random(f"{SEED} {layout}")
    print(f"VM_SEED={SEED}")
    for number in range(CUTS // len(LAYOUTS) - 1):
        old = next((name for name in DOCUMENTS if vm.known[name] == vm.files()), None)
        if not old:  # after a cut change
            old = "first"
            vm.velnetctl("apply", "/var/first.json")
        new = "second" if old == "first" else "first"
        kind = chance.choice(list(CHANGES))
        before, command, during, after = CHANGES[kind]
        if before:
            vm.velnetctl(*before.replace("apply", f"apply /var/{new}.json").split())
        # Most files are written early.
        moment = vm.seconds[command.split()[0]] * chance.random() ** 2
        change = subprocess.Popen(
            [*vm.command, "exec", "velnetctl", *command.replace("apply", f"apply /var/{new}.json").split()],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        try:
            code = change.wait(timeout=moment)
        except subprocess.TimeoutExpired:
            code = None
        vm.cut_and_boot()
        found = vm.files()
        state = next((name for name, known in (("old", old), ("new", new)) if found == vm.known[known]), "mixed")
        print(f"{layout}, cut {number}: {kind}, after {moment:.2f} s, ended with {code}: files {state}", flush=True)
        assert code in (None, 0), change.communicate()
        assert state in (during if code is None else after), found
        for file in {file for texts in (found, *vm.known.values()) for file in texts}:
            assert found.get(file) in [known.get(file) for known in vm.known.values()], file
        assert not is_pending(vm)
        vm.await_configured_addresses()
        change.communicate()


@pytest.mark.parametrize("vm", ["ext4"], indirect=True, scope="module")
def test_a_device_whose_networkd_is_disabled(vm):
    fault = "systemd-networkd is not enabled: after a reboot the device has no network"
    vm.exec("systemctl", "disable", "systemd-networkd")
    vm.exec("sync")
    vm.cut_and_boot()
    assert vm.ipv4("local") == []
    assert fault in vm.status()["daemons"][0]["fault"]
    before = vm.files()
    refused = vm.velnetctl("set-ip", "local", "192.168.10.9/24", check=False)
    assert refused.returncode == 1 and fault in refused.stderr and vm.files() == before
    vm.exec("systemctl", "enable", "--now", "systemd-networkd")
    vm.await_configured_addresses()
