# SPDX-License-Identifier: MIT
"""Obstacles in place of files, exhausted resources and a jumping clock: they are reported, and nothing is left."""
import base64
import os
import pathlib
import re

import pytest

from devicebox import VELNETCTL, wait_until
from monitors import Monitor, has_address, lacks_address, velnetctl_inside
from trials import ASIDE

# No other process may have this user, because the process limit counts those of the whole machine.
USER = 100000 + os.getpid()

# The settings of all changes below are already live. Therefore no change waits for daemons.
PREPARE = ASIDE + f"""
mount -o remount,nr_inodes=1k /etc/systemd
printf 'nameserver 10.0.0.5%s\\n' 0 1 9 >>../live
printf '#!/bin/sh\\nexec "$@"\\n' | install /dev/stdin ../sudo
mount --bind ../sudo /usr/bin/sudo
echo '[Resolve]' >../resolved.conf.d/dns_domain.conf
chown -R {USER}:velnet ../velnet
mount -t tmpfs none /media
exec prlimit --as=600000000 $velnetctl monitor --json
"""
CHANGES = {"01_local.network.d/50-routes.conf": "set-routes local dst=10.3.0.0/16,gw=192.168.10.2 --force",
           "../resolved.conf.d/dns_server_0.conf": "set-dns 0 10.0.0.59",
           "01_local.network": "set-ip local 192.168.10.9/24"}
CLOCK = "LD_PRELOAD=/var/ft.so FAKETIME_TIMESTAMP_FILE=/var/ft FAKETIME_NO_CACHE=1 FAKETIME_DONT_FAKE_MONOTONIC=1"
DONE = "OK\n|Routes updated\n"


@pytest.fixture
def beside(box, installed):
    """Runs scripts with their own files beside a monitor. It must continue after the fault, and nothing may be left."""
    monitor = Monitor(box, "unshare", "--mount", "sh", "-ec", PREPARE)
    monitor.wait_for("resolver", "domains", [])
    inside = velnetctl_inside(box)

    def run(script):
        tools = "cd /etc/systemd/network; velnetctl=velnetctl limited='prlimit --as=600000000 timeout 20'\n"
        return box.exec("nsenter", "-m", "-t", inside, "sh", "-ec", tools + script).stdout

    def things():
        """All files, descriptors and processes, except those that a change should leave."""
        others = "! -name trials ! -name '*.lock' ! -name 'rolled-*'"
        find = f"find . ../resolved.conf.d ../velnet {others} -printf '%p,%y,%m\\n'"
        return sorted(run(f"{find}; ls /proc/{inside}/fd; pgrep --ns {inside} --nslist mnt | wc -l").split())

    before = things()
    run.monitor, run.inside = monitor, inside
    yield run
    run("$velnetctl set-domain after.example")
    monitor.wait_for("resolver", "domains", ["after.example"])
    wait_until(lambda: things() == before, f"only {before} is left")
    monitor.stop()


@pytest.mark.parametrize("put, told", [
    ("mkdir $file", "it is not a regular file"),
    ("mkfifo $file", "it is not a regular file"),
    ("mknod $file c 1 5", "it is not a regular file"),
    ("cp $file.old $file; chattr +i $file", "Operation not permitted"),
    ("ln -s /etc/systemd/other $file; cp $file.old ../other", DONE),
    ("ln -s /etc/systemd/other $file", DONE),
    ("ln -s /etc/systemd/other $file; chown -h velnet $file", "a symbolic link or directory on the way"),
])
def test_obstacles_are_told_and_links_followed(beside, put, told):
    beside("".join(f"file={file}; mv $file $file.old; {put}\n" for file in CHANGES))
    beside("$limited $velnetctl status")
    for change in CHANGES.values():
        assert re.search(told, beside(f"$limited $velnetctl {change} 2>&1 | tail -c 400"))
    back = "chattr -i {0} || :; rm -r {0}; mv {0}.old {0}\n"
    beside("rm -f ../other\n" + "".join(back.format(file) for file in CHANGES))
    for change in CHANGES.values():
        assert re.search(DONE, beside(f"$velnetctl {change}"))


@pytest.mark.parametrize("limit, values", [
    ("prlimit --nofile=$n", "3 17"),
    ("prlimit --as=$((n * 100000))", "76 130"),
    (f"prlimit --nproc=$n setpriv --reuid={USER} --regid=velnet --clear-groups", "1 5"),
])
def test_a_change_without_means_is_done_or_undone(beside, limit, values):
    told = beside(f"""mkdir /media/old; cp -a ../network ../resolved.conf.d ../velnet /media/old
        hash() {{ cat ../velnet/*.conf | sha256sum; }}
        for n in $(seq {values}); do
            echo "== $n"; {limit} $velnetctl apply ../new.json 2>&1 || echo "exit $?"; hash
            rm ../velnet/*.conf; cp -a /media/old/. ..
        done
        hash; rm -r /media/old""")
    *tries, last = told.split("== ")[1:]
    *_, done, new, old = last.splitlines()
    assert done == "OK" and new != old
    for one in tries:
        assert one.splitlines()[-1] == (old if "exit " in one else new), one
        assert "exit " not in one or re.search("velnetctl: |terminate called|exit (12[67]|139)", one), one
    assert "exit 1\n" in told
    assert told.count("exit 139") <= 2  # before the program starts, the loader of Debian 13 crashes at some limit


def test_a_monitor_survives_without_descriptors(beside):
    for limit, gateway in (3, ""), (1024, "192.168.50.1"):
        text = f"[Resolve]\nDomains=of-{limit}.example\n"
        beside(f"prlimit --pid {beside.inside} --nofile={limit}:; printf '{text}' >../resolved.conf.d/dns_domain.conf")
        beside.monitor.wait_for("host", "gateway", gateway)


def test_a_change_that_runs_out_of_memory_is_undone(beside):
    """The restart of the daemon prints more than fits into the memory."""
    before = beside("cp ../systemctl ../quiet; echo 'head -c 99M /dev/zero' >>../systemctl; cat ../velnet/*.conf")
    told = beside("prlimit --as=40000000 $velnetctl set-dns 0 10.0.0.59 2>&1 || true; cat ../velnet/*.conf")
    assert told == "velnetctl: std::bad_alloc\n" + before
    beside("cat ../quiet >../systemctl; rm ../quiet")


@pytest.fixture
def jump(box):
    """Moves the wall clock of the processes that run with CLOCK."""
    library = next(pathlib.Path("/usr/lib").glob("*/faketime/libfaketimeMT.so.1")).read_bytes()
    library = library.replace(b"\0timerfd_settime\0", b"\0timerfd_unknown\0")  # it would change the time of every clock
    box.exec("sh", "-c", "base64 -d >/var/ft.so", input=base64.b64encode(library).decode())
    box.write("/var/ft", "+0")
    return lambda by: box.write("/var/ft", by)


def test_a_monitor_goes_on_when_the_clock_jumps(box, jump):
    monitor = Monitor(box, "env", *CLOCK.split(), VELNETCTL, "monitor", "--json")
    monitor.wait_for("resolver", "domains", [])
    times = []
    for by, verb, seen in (("+10h", "add", has_address), ("-10h", "delete", lacks_address)):
        jump(by)
        box.exec("ip", "address", verb, "10.9.8.7/24", "dev", "local")
        times.append(monitor.wait_for("local", "addresses", seen("10.9.8.7"))[-1]["time"])
    assert times[0] > times[1]
    monitor.stop()


def test_a_trial_keeps_its_time_if_the_clock_jumps(beside, jump):
    change = f"export {CLOCK}; $velnetctl set-dns 2 10.0.0.59 --try"
    for by in ("+10h", "-10h"):
        beside(f"{change} 60")
        jump(by)
        assert beside(f"export {CLOCK}; timeout 2 $velnetctl guard || echo $?") == "124\n"  # a trial is still pending
        beside(f"$velnetctl rollback; {change} 1")
        jump("+0")
        wait_until(lambda: beside("$velnetctl pending || :").endswith("it was not confirmed in time\n"), "it ends")
