# SPDX-License-Identifier: MIT
"""A trial ends with the old files unless it was confirmed, whatever happens to its processes, files and terminal."""
import collections
import concurrent.futures
import os
import pty
import re
import select
import shlex
import subprocess

import pytest

from devicebox import VELNETCTL, wait_until
from trials import end_of_trial, is_pending

LOCAL = "/etc/systemd/network/01_local.network"
EVERY = "EVERY_CALL" in os.environ
POOL = concurrent.futures.ThreadPoolExecutor(8)


def at_each_call(aside, before, victim, effect, most, kind=""):
    """Runs the victim once for each system call of this kind, with the effect at that call, but at most `most` times.
    Returns the old and the new files, the calls of this kind, and the files after each tried call."""
    told = aside(f"""files old; {before} >&2; echo '== calls'; strace -qqo /dev/fd/3 {victim} 3>&1 >&2
        $confirm >&2 || true; files new""")
    seen, calls = collections.Counter(), []
    for line in re.findall(r"^\w+\(.*", told["calls"], re.MULTILINE)[1:]:
        name = line.split("(")[0]
        seen[name] += 1
        if re.match(kind, line):
            calls.append((name, seen[name]))
    tried = calls if EVERY or len(calls) <= most else [calls[i * (len(calls) - 1) // (most - 1)] for i in range(most)]
    print(f"{victim}: {effect} at {len(tried)} of {len(calls)} calls")

    def run(call):
        name, number = call
        return aside(f"""{before} >&2; echo '== answer'
            strace -qqo /dev/null -e inject={name}:{effect}:when={number} {victim} 2>&1 && echo done
            files now; await_end; files end""")
    return told, calls, zip(tried, POOL.map(run, tried))


VICTIMS = pytest.mark.parametrize("before, victim", [
    pytest.param("", "$change --try 1 --wait 5", id="trial"),
    pytest.param("$change --try 3", "$confirm", id="confirm"),
    pytest.param("$change --try 3", "$rollback", id="rollback"),
])


@VICTIMS
def test_a_kill_at_any_call_leaves_no_mixed_files(aside, before, victim):
    told, calls, tries = at_each_call(aside, before, victim, "signal=KILL", 16)

    def expected(call):
        is_confirmed = victim == "$confirm" and calls.index(call) > calls.index(("renameat", 1))
        return told["new" if is_confirmed else "old"]
    assert not [(call, left["answer"]) for call, left in tries if "pending" in left or left["end"] != expected(call)]


@VICTIMS
def test_with_any_call_failing_the_answer_is_true(aside, before, victim):
    changing = r"mkdirat|openat.*O_CREAT|write\([^12]|fsync|rename|unlink|fch|clone"
    told, _, tries = at_each_call(aside, before, victim, "error=ENOSPC", 12, changing)

    def is_good(left):
        is_done = "done\n" in left["answer"]
        end = told["new" if is_done and victim == "$confirm" else "old"]
        now = left["now"] if is_done or before else told["old"]  # a trial that cannot begin restores the files at once
        return "pending" not in left and (left["now"], left["end"]) == (now, end)
    assert not [(call, left["answer"]) for call, left in tries if not is_good(left)]


@pytest.mark.parametrize("prepare, reason", [
    ("for n in $(seq 99); do mktemp -p .. || break; done", "No space left on device"),
    ("mount -o remount,size=256k /etc/systemd; cat /dev/zero >../full || true", "No space left on device"),
    ("mount -o remount,ro /etc/systemd", "Read-only file system"),
    ('chown -R 0:0 ../velnet; change="setpriv --reuid=velnet --regid=velnet --init-groups $change"',
     "Permission denied"),
], ids=["no inodes", "disk full", "read-only", "no permission"])
def test_a_failed_write_is_told_and_undone(aside, prepare, reason):
    left = aside(f"""{prepare}; files old; echo '== answers'
        for options in '' '--try 1'; do $change $options 2>&1 || echo failed; done; files now; await_end""")
    assert re.fullmatch(f"(.*{reason}.*\n(velnetctl: .*\n)*failed\n){{2}}", left["answers"])
    assert left["now"] == left["old"]


def test_a_mounted_file_takes_changes_but_no_trial(aside):
    left = aside("""cd 01_local.network.d; mount --bind 50-routes.conf 50-routes.conf; cd ..
        files old; echo '== trial'; $change --try 1 2>&1 || echo failed; files now; await_end
        echo '== change'; $change 2>&1; echo '== file'; cat 01_local.network.d/50-routes.conf""")
    assert "Device or resource busy" in left["trial"] and "failed\n" in left["trial"] and left["now"] == left["old"]
    assert "50-routes.conf was written in place, because it cannot be replaced (Device or res" in left["change"]
    assert left["file"] == "[Route]\nDestination=10.2.0.0/16\nGateway=192.168.10.2\n"


@pytest.mark.parametrize("visitor", ["$pending || true", "$velnetctl set-domain a.example || true"])
def test_the_next_caller_starts_a_missing_guard(aside, visitor):
    left = aside(f"""strace -o /dev/null -e inject=clone3:signal=KILL:when=2 $change --try 1 --wait 1 >&2 || true
        ls ../velnet/trials/trial >&2; {visitor} >&2
        timeout 15 sh -c 'until [ -e ../velnet/trials/rolled-back ]; do sleep 0.1; done'
        echo '== end'; $pending || true""")
    assert left["end"].endswith("apply, was rolled back: its process ended before it was live\n")


class Terminal:
    """A caller of velnetctl in its own terminal. The terminal already shows this text."""

    def __init__(self, box, line="set-ip local 10.0.0.1/8 --try 2", shown="n goes back; it is rolled back in 2 s"):
        self.master, terminal = pty.openpty()
        # script passes the control keys on. Otherwise they would end the command that enters the box.
        command = ["script", "-qec", f"exec env TERM=xterm {shlex.quote(VELNETCTL)} {line}", "/dev/null"]
        self.process = subprocess.Popen(["setsid", "--ctty", *box.command, "exec", *command],
                                        stdin=terminal, stdout=terminal, stderr=terminal)
        os.close(terminal)
        self.shown = ""
        self.read_until(shown)

    def read_until(self, text):
        def is_shown():
            if select.select([self.master], [], [], 0)[0]:
                self.shown += os.read(self.master, 4096).decode()
            return text in self.shown
        wait_until(is_shown, f"the terminal shows {text}", limit=60)

    def exit_code(self):
        return self.process.wait(timeout=60)


@pytest.mark.parametrize("end", ["closed", "HUP", "TERM", "INT", "KILL"])
def test_the_end_of_its_caller_keeps_no_trial(box, end):
    before = box.read(LOCAL)
    terminal = Terminal(box)
    wait_until(lambda: "10.0.0.1/8" in box.ipv4("local"), "the new address is live")
    if end == "closed":
        os.close(terminal.master)
    else:
        caller = re.search(r"by process (\d+)", box.velnetctl("pending").stdout)[1]
        box.exec("kill", "-" + end, caller)
    assert terminal.exit_code() != 0
    assert is_pending(box) and box.read(LOCAL) != before
    assert end_of_trial(box) == ("rolled back", "it was not confirmed in time")
    assert box.read(LOCAL) == before


@pytest.mark.parametrize("answer, state", [
    ("\n", "confirmed"),
    (" Yes \n", "confirmed"),
    ("confirm\n", "confirmed"),
    ("n\n", "rolled back"),
    ("q\n", "rolled back"),
    ("rollback\n", "rolled back"),
    ("", "rolled back"),
    ("nay\ny\n", "confirmed"),  # "nay" is not an answer: velnetctl asks again
    ("yeah\nn\n", "rolled back"),
])
def test_an_answer_ends_the_countdown(box, settings, answer, state):
    terminal = Terminal(box)
    os.write(terminal.master, answer.encode())
    terminal.read_until("was " + state)
    assert terminal.exit_code() == (0 if state == "confirmed" else 1)
    assert end_of_trial(box)[0] == state and ("10.0.0.1" in box.read(LOCAL)) == (state == "confirmed")


@pytest.mark.parametrize("key", ["\x03", "\x04", "\x1c"])  # Ctrl-C, Ctrl-D, Ctrl-\\
def test_leaving_the_terminal_leaves_the_trial(box, settings, key):
    terminal = Terminal(box, "set-ip local 10.0.0.1/8 --try 90s", "rolled back in 89 s")
    os.write(terminal.master, key.encode())
    terminal.read_until("velnetctl confirm keeps it, velnetctl rollback goes back at once")
    stands = "velnetctl: the trial goes on without this terminal: set-ip local 10.0.0.1/8 is rolled back in 8"
    assert stands in terminal.shown and terminal.exit_code() == 1
    assert box.velnetctl("rollback").stdout.endswith("was rolled back: velnetctl rollback was called\n")


def test_leaving_before_it_is_live_ends_the_trial(box, settings):
    terminal = Terminal(box, "set-ip local dhcp --try 9 --wait 1m", "DHCP ... 59 s")
    os.write(terminal.master, b"\x03")
    terminal.read_until("velnetctl: set-ip local dhcp was not live yet: its guard rolls it back now")
    assert end_of_trial(box) == ("rolled back", "its process ended before it was live")


def test_a_dumb_terminal_gets_no_escape_sequences(box, settings):
    def shown(line):
        command = shlex.join(map(str, [*box.command, "exec", "env", "TERM=dumb", VELNETCTL, *line.split()]))
        return subprocess.run(["script", "-qec", command, "/dev/null"], check=False, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True).stdout
    output = [shown(line) for line in ("status", "set-ip local 10.0.0.1/8 --try 1", "watch")]
    assert "host" in output[0] and "it is rolled back in 1 s" in output[1] and "of the type 'dumb'" in output[2]
    assert "\33" not in "".join(output)


def test_the_guards_unit_survives_every_kill(box, units):
    def guard():
        return int(box.show("MainPID", "velnet-guard")[0])

    before = box.read(LOCAL)
    trial = "set-ip", "local", "10.0.0.1/8", "--try", "5", "--wait", "2", "--require-boot-guard"
    killed = box.exec("strace", "-e", "inject=clone3:signal=KILL:when=4", VELNETCTL, *trial, check=False)
    assert killed.returncode == -9 and box.read(LOCAL) != before
    for _ in range(2):
        box.exec("kill", "-KILL", str(wait_until(guard, "there is a guard")))
    assert end_of_trial(box) == ("rolled back", "its process ended before it was live")
    assert box.read(LOCAL) == before
    assert box.ipv4("local") == ["192.168.10.1/24"]


def test_mode_owner_and_attributes_are_kept(box, units):
    seen = f"/proc/{re.search('PID (.*),', box.run('status').stdout)[1]}/root{LOCAL}"  # the box has no setfattr

    def kept():
        return box.exec("stat", "-Lc", "%a %U %G", LOCAL).stdout, os.getxattr(seen, "user.note")

    box.exec("chmod", "664", LOCAL)
    os.setxattr(seen, "user.note", b"text")
    before = box.read(LOCAL)
    box.velnetctl("set-ip", "local", "10.0.0.1/8", "--try", "1")
    assert box.read(LOCAL) != before and kept() == ("664 velnet velnet\n", b"text")
    end_of_trial(box)
    assert box.read(LOCAL) == before and kept() == ("664 velnet velnet\n", b"text")
    for line in ("set-ip local 10.0.0.2/8 --try 9", "confirm", "set-ip local 10.0.0.3/8"):
        box.velnetctl(*line.split())
        assert "Address=10.0.0." in box.read(LOCAL) and kept() == ("664 velnet velnet\n", b"text")
