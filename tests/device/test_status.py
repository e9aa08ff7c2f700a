# SPDX-License-Identifier: MIT
"""velnetctl status as a process. tests/scenarios check its output."""
import json
import shlex

from devicebox import VELNETCTL


def test_status_needs_no_privilege_and_no_pause(box):
    unprivileged = "setpriv", "--bounding-set=-all", "--inh-caps=-all"
    calls = "trace=execve,nanosleep,clock_nanosleep"
    trace = box.exec("strace", "-fe", calls, *unprivileged, VELNETCTL, "status", "--json")
    assert json.loads(trace.stdout)["host"]["gateway"] == "192.168.50.1"
    assert "nanosleep(" not in trace.stderr
    assert trace.stderr.count("execve(") == 2  # setpriv and velnetctl


def test_a_full_standard_output_is_a_failure(box):
    result = box.exec("sh", "-c", f"{shlex.quote(VELNETCTL)} status >/dev/full", check=False)
    assert (result.returncode, result.stderr) == (1, "velnetctl: cannot write to standard output\n")
