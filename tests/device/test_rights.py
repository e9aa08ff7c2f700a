# SPDX-License-Identifier: MIT
"""The host's user may only change the network. The tests attack root's files, guard and commands."""
import json
import re
import subprocess

import pytest

from devicebox import AS_VELNET, VELNETCTL, wait_until
from trials import is_pending

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
    f"touch {NETWORK}/90-evil.link",
    f"touch {NETWORK}/90-evil.netdev",
    f"touch {NETWORK}/03_more.network",
    f"touch {NETWORK}/02_remote.network.d/90-evil.conf",
    f"touch {RESOLVED}/90-evil.conf",
    f"mkdir {NETWORK}/99-default.link.d",
    f"mv {NETWORK}/99-default.link {REMOTE}",
    f"mv {SECRET} {REMOTE}",
    f"mv {RESOLVED}/dns_domain.conf {RESOLVED}/x.conf",
    f"ln -sf /dev/null {REMOTE}",
    f"rm {REMOTE}",
    f"cat {SECRET}",
])
def test_users_cannot_make_move_or_read_roots_files(secret, velnet, attack):
    assert "Permission denied" in velnet(attack, check=False).stderr


@pytest.mark.parametrize("target", ["/dev/null", SECRET, "/etc/shadow", "/proc/1/maps"])
@pytest.mark.parametrize("who", [(), AS_VELNET], ids=["root", "velnet"])
def test_a_link_leads_root_and_the_guard_nowhere(box, secret, velnet, who, target):
    shadow = box.exec("stat", "-c", "%U:%G %a %s", "/etc/shadow").stdout
    box.exec(*who, VELNETCTL, *TRY, "99")
    velnet(f"ln -sfn {target} {OWN}/02_remote.network")
    told = box.velnetctl("rollback", check=False).stderr
    assert f"cannot write {REMOTE}" in told or f"{REMOTE} is root's and stays as it is" in told
    assert box.velnetctl(*TRY[:3], check=False).returncode == 1
    assert box.exec("stat", "-c", "%U:%G %a %s", "/etc/shadow").stdout == shadow
    assert "/usr/lib/" not in box.exec("sh", "-c", f"cat {OWN}/trials/*").stdout  # a path from /proc/1/maps
    velnet(f"rm {OWN}/02_remote.network")
    wait_until(lambda: not is_pending(box), "the trial is over")


def signed(record):
    """The record with its checksum (CRC-64/XZ), which detects damage but does not stop an attacker."""
    text, checksum = json.dumps(record) + "\n", 2**64 - 1
    for byte in text.encode():
        checksum ^= byte
        for _ in range(8):
            checksum = checksum >> 1 ^ (0xC96C5795D7870F42 if checksum & 1 else 0)
    return f"{text}checksum {checksum ^ 2**64 - 1:016x}\n"


def test_a_forged_record_spares_roots_files(box, settings, velnet):
    own = [f"{RESOLVED}/dns_server_{number}.conf" for number in (20, 21)]
    for path in own:
        box.exec("install", "-m", "600", "/dev/stdin", path, input="key\n")
    files = [{"path": path, "before": before, "mode": 0o777, "user": 0, "group": 0, "changedTo": None}
             for path, before in zip(own, ("[Resolve]\nDNS=6.6.6.6\n", None))]
    velnet(f"mkdir -p {OWN}/trials; cat >{OWN}/trials/trial", input=signed(
        {"title": "x", "by": "x", "boot": "x", "deadline": 0, "isLive": True, "why": "", "files": files}))
    told = box.velnetctl("rollback").stderr
    assert [path in told for path in own] == [True, True]
    assert box.exec("sh", "-c", f"stat -c '%U %a' {' '.join(own)}; cat {' '.join(own)}").stdout == (
        "root 600\nroot 600\nkey\nkey\n")
    assert "key" not in box.exec("sh", "-c", f"cat {OWN}/trials/*").stdout


def test_a_fifo_holds_up_neither_root_nor_networkd(box, settings, velnet):
    velnet(f"cd {OWN}; rm 01_local.network; mkfifo 01_local.network")
    assert box.velnetctl(*TRY[:3], "--force").stdout == "OK\n"
    velnet(f"rm {OWN}/01_local.network.aside1")
    assert box.exec("systemctl", "is-active", "systemd-networkd").stdout == "active\n"


def test_no_user_saves_a_part_of_the_settings(box, settings, velnet):
    nobody = "setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "--", VELNETCTL
    assert '"address": "192.168.10.1/24"' in box.exec(*nobody, "save").stdout
    velnet(f"chmod 600 {OWN}/01_local.network")
    refused = box.exec(*nobody, "save", check=False)
    assert refused.returncode == 1 and "cannot read /etc/systemd/network/01_local.network" in refused.stderr


def test_a_refusal_names_the_missing_right(box, settings):
    def told(user, *command):
        return box.exec("setpriv", f"--reuid={user}", "--clear-groups", "--", VELNETCTL, *command, check=False).stderr

    box.velnetctl(*TRY[:3], "--wait", "20")
    needs = r"'route .*' failed: .*Operation not permitted \(it needs CAP_NET_ADMIN: run it as root, or in a unit "
    assert re.search(needs, told("velnet", "set-gateway", "192.168.50.2"))
    needs = r"no change can begin: cannot write .*: Permission denied \(run it as root, or as a user who may "
    assert re.search(needs, told("nobody", "set-domain"))
    assert told("nobody", "rollback").startswith("velnetctl: no trial is pending")


def test_a_file_of_root_survives_a_trial(box, secret):
    box.velnetctl(*TRY, "99")
    box.exec("ln", "-sfn", "/dev/null", REMOTE)
    assert f"{REMOTE} is root's and stays as it is" in box.velnetctl("rollback").stderr
    assert box.exec("readlink", REMOTE).stdout == "/dev/null\n"
    assert '"interfaces"' in box.velnetctl("save").stdout
    assert "/dev/null: it is not a regular file" in box.velnetctl("save", "/dev/null", check=False).stderr
    box.exec("cp", "--remove-destination", f"{OWN}/02_remote.network", REMOTE)
    other = "set-ip", "remote", "192.168.50.21/24"
    refused = box.velnetctl(*other, "--try", "9", check=False)
    assert refused.returncode == 1 and f"{REMOTE} does not lie in {OWN}" in refused.stderr
    assert box.velnetctl(*other).stdout == "OK\n"


# Each command holds a lock until its input ends. For the guard's lock, it waits until the guard has ended.
LEASE = """exec perl -MFcntl -e 'open F, "+<", "trials/change.lock" or die; fcntl F, 1024, F_WRLCK or die; \
    system "echo ready"; <STDIN>'"""
LOCK = "exec 9<>trials/{}.lock; flock -n 9 || true; echo ready; flock 9; read || true"


@pytest.mark.parametrize("hold", [LOCK.format("change"), LOCK.format("guard"), LOCK.format("caller"), LEASE],
                         ids=["change", "guard", "caller", "lease"])
def test_root_rolls_back_with_the_user_in_the_way(box, units, velnet, hold):
    before = box.read(REMOTE)
    box.velnetctl(*TRY, "99")
    velnet(f"cd {OWN}; mkdir -p .02_remote.network.new/x trials/rollback/x trials/.rollback.new/x trials/rolled-back/x")
    command = [*box.command, "exec", *AS_VELNET, "bash", "-ec", f"cd {OWN}; {hold}"]
    with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as holder:
        assert holder.stdout.readline() == "ready\n"
        assert "was rolled back: velnetctl rollback was called" in box.velnetctl("rollback").stdout
    assert box.read(REMOTE) == before and not is_pending(box)


def test_the_guard_as_root_only_restarts(box, units):
    box.velnetctl(*TRY, "99")
    threads = box.exec("ps", "-o", "user=,nlwp=,args=", "--ppid", "1", "-C", "velnetctl").stdout
    users = re.findall(r"^(\w+) .*velnetctl guard$", threads, re.MULTILINE)
    assert sorted(users) == ["root", "velnet"]
    box.velnetctl("rollback")
    for unit in "velnet-guard", "velnet-guard-boot", "velnet-take-over":
        overall = box.exec("systemd-analyze", "security", "--no-pager", f"{unit}.service").stdout.splitlines()[-1]
        assert float(re.search(r": (\d+\.\d)", overall)[1]) < 3, overall


def test_the_users_half_of_a_guard_ends_with_roots(box, settings):
    box.velnetctl(*TRY, "99")
    guard = box.exec("sh", "-c", f"{VELNETCTL} guard >/dev/null 2>&1 </dev/null & echo $!").stdout.strip()
    half = wait_until(lambda: box.exec("pgrep", "-u", "velnet", "-P", guard, check=False).stdout.strip(), "it splits")
    box.exec("kill", "-KILL", guard)
    wait_until(lambda: box.exec("kill", "-0", half, check=False).returncode != 0, "the other half ends")
    box.velnetctl("rollback")
