# SPDX-License-Identifier: MIT
"""The kernel after changes that fail half way, and the terminal output of a plan."""
import shlex

import pytest

from devicebox import VELNETCTL, wait_until

REMOTE = "/etc/systemd/network/02_remote.network"
pytestmark = pytest.mark.usefixtures("settings")


def test_a_failed_change_keeps_the_default_route(box):
    box.velnetctl("set-ip", "remote", "192.168.50.20/24", "--wait", "20")  # keeps the gateway of the lease
    mounts = f"file=$(realpath {REMOTE}); mount --bind $file $file; mount -o remount,bind,ro $file"
    script = f"{mounts}; exec {shlex.quote(VELNETCTL)} set-gateway 192.168.50.2"
    result = box.exec("unshare", "--mount", "sh", "-c", script, check=False)
    assert result.returncode == 1 and "the old files are back\n" in result.stderr
    wait_until(lambda: box.gateways() == ["192.168.50.1"], "the default route is back")


def test_a_diff_is_escaped_on_a_terminal_only(box):
    box.write("/etc/systemd/resolved.conf.d/dns_domain.conf", "[Resolve]\nDomains=a\x1b[2J\n")
    change = f"{shlex.quote(VELNETCTL)} set-domain b.example --dry-run"
    assert "-Domains=a\x1b[2J\n" in box.exec("sh", "-c", change).stdout
    assert "-Domains=a\\x1b[2J\n" in box.exec("script", "-qec", change, "/dev/null").stdout


def test_a_plan_leaves_a_permanent_neighbour(box):
    box.exec("ip", "neighbour", "replace", "192.168.50.9", "lladdr", "02:00:00:00:00:09", "dev", "remote")
    plan = box.velnetctl("set-ip", "remote", "192.168.50.20/24", "--gateway", "192.168.50.9", "--dry-run")
    assert "does not answer" not in plan.stderr
    assert "PERMANENT" in box.exec("ip", "neighbour", "show", "192.168.50.9").stdout
    box.exec("ip", "neighbour", "delete", "192.168.50.9", "dev", "remote")
