# SPDX-License-Identifier: MIT
"""The host's user has the network and nothing else: it attacks root's files, the guard and root's own commands."""
import re

import pytest

from conftest import VELNETCTL, end_of_trial, wait_until
from test_packaging import AS_VELNET

NETWORK, RESOLVED, OWN = "/etc/systemd/network", "/etc/systemd/resolved.conf.d", "/etc/systemd/velnet"
SECRET = f"{NETWORK}/25-wg.netdev"
REMOTE = f"{NETWORK}/02_remote.network"
TRY = "set-ip", "remote", "192.168.50.20/24", "--try"


@pytest.fixture
def velnet(box):
    """Runs a script as the host's user."""
    return lambda script, **options: box.exec(*AS_VELNET, "bash", "-ec", script, **options)


@pytest.fixture
def secret(box, units):
    box.exec("sh", "-ec", f"echo key | install -m 640 -g systemd-network /dev/stdin {SECRET}")
    yield
    assert box.exec("stat", "-c", "%U:%G %a %F", SECRET, "/dev/null").stdout == (
        "root:systemd-network 640 regular file\nroot:root 666 character special file\n")
    assert box.read(SECRET) == "key\n"
    assert "key" not in box.exec(*AS_VELNET, "sh", "-c", f"cat {OWN}/* {OWN}/*/*", check=False).stdout


@pytest.mark.parametrize("attack", [
    f"touch {NETWORK}/90-evil.link", f"touch {NETWORK}/90-evil.netdev", f"touch {NETWORK}/03_more.network",
    f"touch {NETWORK}/02_remote.network.d/90-evil.conf", f"mkdir {NETWORK}/99-default.link.d",
    f"mv {NETWORK}/99-default.link {REMOTE}", f"mv {SECRET} {REMOTE}", f"cat {SECRET}", f"ln -sf /dev/null {REMOTE}",
    f"rm {REMOTE}", f"touch {RESOLVED}/90-evil.conf", f"mv {RESOLVED}/dns_domain.conf {RESOLVED}/x.conf",
])
def test_the_user_cannot_make_move_or_read_what_is_roots(secret, velnet, attack):
    assert "Permission denied" in velnet(attack, check=False).stderr


@pytest.mark.parametrize("target", ["/dev/null", SECRET, "/etc/shadow"])
@pytest.mark.parametrize("who", [(), AS_VELNET], ids=["root", "velnet"])
def test_a_link_of_the_user_leads_root_and_the_guard_nowhere(box, secret, velnet, who, target):
    shadow = box.exec("stat", "-c", "%U:%G %a %s", "/etc/shadow").stdout
    box.exec(*who, VELNETCTL, *TRY, "99")
    velnet(f"ln -sfn {target} {OWN}/02_remote.network")
    assert f"stays as it is: cannot write {REMOTE}" in box.velnetctl("rollback").stderr
    assert box.velnetctl(*TRY[:3], check=False).returncode == 1
    assert box.exec("stat", "-c", "%U:%G %a %s", "/etc/shadow").stdout == shadow


def test_what_root_puts_in_the_place_of_a_file_survives_a_trial_of_it(box, secret):
    box.velnetctl(*TRY, "99")
    box.exec("ln", "-sfn", "/dev/null", REMOTE)
    assert f"stays as it is: cannot write {REMOTE}: it is not a regular file" in box.velnetctl("rollback").stderr
    assert box.exec("readlink", REMOTE).stdout == "/dev/null\n"
    assert "/dev/null: it is not a regular file" in box.velnetctl("save", "/dev/null", check=False).stderr
    box.exec("cp", "--remove-destination", f"{OWN}/02_remote.network", REMOTE)
    refused = box.velnetctl(*TRY, "9", check=False)
    assert refused.returncode == 1 and f"{REMOTE} does not lie in {OWN}" in refused.stderr
    assert box.velnetctl(*TRY[:3]).stdout == "OK\n"


LEASE = """perl -MFcntl -e 'open F, "+<", "trials/change.lock" or die; fcntl F, 1024, F_WRLCK or die; sleep 99'"""
HOLD = "exec 9<>trials/{}.lock; flock 9; sleep 99"


@pytest.mark.parametrize("hold", [HOLD.format("change"), HOLD.format("guard"), HOLD.format("caller"), LEASE])
def test_root_rolls_back_whatever_the_user_holds_or_puts_in_the_way(box, units, velnet, hold):
    before = box.read(REMOTE)
    box.velnetctl(*TRY, "99")
    velnet(f"cd {OWN}; mkdir -p .02_remote.network.new/x trials/rollback/x trials/.rollback.new/x trials/rolled-back/x")
    holder = velnet(f"cd {OWN}; ({hold}) >/dev/null 2>&1 </dev/null & echo $!").stdout.strip()
    try:
        assert "was rolled back: velnetctl rollback was called" in box.velnetctl("rollback").stdout
    finally:
        box.exec("pkill", "-P", holder, check=False)
        box.exec("kill", holder, check=False)
    assert box.read(REMOTE) == before and box.velnetctl("pending", check=False).returncode == 3


def test_the_guard_works_as_the_user_and_root_only_restarts(box, units):
    box.velnetctl(*TRY, "99")
    threads = box.exec("ps", "-o", "user=,nlwp=,args=", "--ppid", "1", "-C", "velnetctl").stdout
    users = re.findall(r"^(\w+) .*velnetctl guard$", threads, re.MULTILINE)
    assert sorted(users) == ["root", "velnet"]
    box.velnetctl("rollback")
    for unit in "velnet-guard", "velnet-guard-boot", "velnet-take-over":
        overall = box.exec("systemd-analyze", "security", "--no-pager", f"{unit}.service").stdout.splitlines()[-1]
        assert float(re.search(r": (\d+\.\d)", overall)[1]) < 3, overall
