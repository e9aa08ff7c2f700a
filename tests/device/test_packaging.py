# SPDX-License-Identifier: MIT
"""packaging/: the rights and limits of the host's user, and the daemons' start limit."""
import shlex

import pytest

from devicebox import AS_VELNET, drop_in, run_in_unit, wait_until
from trials import end_of_trial

DAEMONS = "systemd-networkd", "systemd-resolved"
REFUSED = ("id",
           "-u systemd-network id",
           "-u systemd-network /bin/systemctl daemon-reload",
           "/bin/systemctl",
           "/bin/systemctl stop systemd-networkd",
           "/bin/systemctl restart systemd-networkd foo",
           "/bin/systemctl restart systemd-journald",
           "/bin/systemctl reset-failed")


@pytest.fixture
def host(box, settings, installed):
    """Runs a command instead of the host."""
    return lambda *command, **options: run_in_unit(box, *command, **options)


def test_sudo_runs_the_five_commands_and_no_other(box):
    def sudo(command):
        return box.exec(*AS_VELNET, "sudo", "-n", *command.split(), check=False)

    assert "/etc/sudoers.d/velnet-host: parsed OK" in box.exec("visudo", "-c").stdout  # also checks owner and mode
    before = box.show("InvocationID", *DAEMONS)
    assert [sudo(f"/bin/systemctl restart {daemon}").returncode for daemon in DAEMONS] == [0, 0]
    after = box.show("InvocationID", *DAEMONS)
    assert before[0] != after[0] and before[1] != after[1]
    assert [sudo(f"/bin/systemctl reset-failed {daemon}").returncode for daemon in DAEMONS] == [0, 0]
    assert sudo("/bin/systemctl daemon-reload").returncode == 0
    for command in REFUSED:
        refused = sudo(command)
        assert refused.returncode == 1 and "password is required" in refused.stderr, command
    assert box.show("InvocationID", *DAEMONS) == after


def test_sudo_looks_up_no_device_name(box):
    unknown = "; ".join(f"mount --bind /dev/null /etc/{name}" for name in ("hosts", "nsswitch.conf", "resolv.conf"))
    script = f"{unknown}; sudo -n true; echo next >&2; {shlex.join(AS_VELNET)} sudo -n /bin/systemctl daemon-reload"
    of_root, of_velnet = box.exec("unshare", "--mount", "sh", "-ec", script).stderr.split("next\n")
    assert "unable to resolve host" in of_root and of_velnet == ""


def test_a_trial_of_the_unit_is_of_this_boot(box, units, host):
    """The unit has its own /proc. In a container, the kernel's boot ID differs there."""
    assert host("velnetctl", "set-ip", "local", "10.0.0.1/8", "--try", "99")
    assert '"state": "counting"' in box.velnetctl("pending", "--json").stdout
    box.velnetctl("rollback")


# A host that changes settings all the time, and ends after the running change.
BUSY = """[Service]
Restart=no
Type=exec
RuntimeMaxSec=90
KillMode=mixed
TimeoutStopSec=20
ExecStart=
ExecStart=bash -c 'trap stop=1 TERM; until [ $$stop ]; do \\
    velnetctl set-ip local 10.0.0.1/8; velnetctl set-ip local 192.168.10.1/24; done'
"""


def test_the_unit_stops_in_the_middle_of_a_change(box, settings, installed):
    with drop_in(box, "velnet-host", BUSY):
        box.exec("systemctl", "start", "velnet-host")
        wait_until(lambda: box.ipv4("local") == ["10.0.0.1/8"], "the host is at work")
        for verb in "restart", "stop":
            box.exec("systemctl", verb, "velnet-host")
            assert box.show("Result", "velnet-host") == ["success"]


def test_a_host_in_the_unit_writes_nowhere_else(box, host):
    box.exec(*AS_VELNET, "touch", "/run/lock/velnet")  # inside the unit, the same is refused
    assert host("touch", "/etc/systemd/velnet/x")
    for path in "/etc/hostname", "/etc/systemd/system/velnet.service", "/usr/bin/velnet", "/run/lock/velnet":
        assert not host("touch", path), path


@pytest.mark.parametrize("without, command", [
    ("ReadOnlyPaths=", "echo 0 >/proc/sys/net/ipv4/ip_forward"),
    ("InaccessiblePaths=", "touch /dev/shm/velnet"),
    ("NoExecPaths=", "cd /etc/systemd/velnet; cp /bin/true velnet; ./velnet"),
    ("NoExecPaths=", "cd /tmp; cp /bin/true velnet; ./velnet"),
    ("IPAddressDeny=", "echo text >/dev/udp/192.168.50.1/9"),
])
def test_these_options_keep_something_from_the_host(host, without, command):
    assert host("bash", "-ec", command, changes=without)
    assert not host("bash", "-ec", command)


def test_no_message_queue_outlives_the_host(box, host):
    box.exec(*AS_VELNET, "ipcmk", "--queue")
    assert host("true", changes="RemoveIPC=no") and "velnet" in box.exec("ipcs", "--queues").stdout
    assert host("true") and "velnet" not in box.exec("ipcs", "--queues").stdout


def test_many_changes_leave_no_unit_failed(box, settings):
    assert box.show("StartLimitIntervalUSec", *DAEMONS) == ["0", "0"]
    for number in range(1, 9):
        box.velnetctl("set-dns", "0", f"192.168.50.{number}")
        box.exec("systemctl", "restart", "systemd-networkd")
    assert box.exec("resolvectl", "dns").stdout.startswith("Global: 192.168.50.8\n")
    assert not box.exec("systemctl", "list-units", "--failed", "--no-legend").stdout


@pytest.mark.parametrize("daemon, change", [
    ("systemd-networkd", "set-routes local 10.1.0.0/16 via 192.168.10.2"),
    ("systemd-resolved", "set-dns 0 192.168.50.3"),
])
def test_without_its_drop_in_no_daemon_stays_dead(box, units, daemon, change):
    velnetctl = *AS_VELNET, "velnetctl", *change.split()
    with drop_in(box, daemon, "[Unit]\nStartLimitIntervalSec=1h\nStartLimitBurst=1\n"):
        box.exec(*velnetctl, "--try", "1")
        assert end_of_trial(box) == ("rolled back", "it was not confirmed in time")
        assert box.show("ActiveState", daemon) == ["active"]
        box.exec("systemctl", "restart", daemon, check=False)
        assert box.show("Result", daemon) == ["start-limit-hit"]
        box.exec(*velnetctl)
        assert box.show("ActiveState", daemon) == ["active"]
