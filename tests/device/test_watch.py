# SPDX-License-Identifier: MIT
"""velnetctl watch in a terminal."""
import re
import shlex
import subprocess

import pytest

from devicebox import VELNETCTL, wait_until
from trials import end_of_trial


class Screen:
    """A terminal of 100 by 40 characters that runs velnetctl watch, and cat after it."""

    def __init__(self, socket, command):
        self.socket = socket
        words = shlex.join(map(str, [*command, "exec", VELNETCTL, "watch"]))
        self.tmux("-f", "/dev/null", "new-session", "-d", "-x", "100", "-y", "40",
                  f"{words}; echo ended with $?; cat")

    def tmux(self, *arguments):
        command = ["tmux", "-S", self.socket, *arguments]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    def shows(self, pattern):
        """Matches the shown text. Marked text (reverse video) has brackets around it."""
        shown = re.sub(r"\x1b\[[\d;]*\b7m(?:\x1b\[[\d;]*m)*([^\x1b]*)", r"[\1]", self.tmux("capture-pane", "-pe"))
        return re.search(pattern, re.sub(r"\x1b\[[\d;]*m", "", shown))

    def wait_for(self, pattern):
        return wait_until(lambda: self.shows(pattern), f"{pattern} is shown")


@pytest.fixture
def screen(box, tmp_path):
    shown = Screen(tmp_path / "tmux", box.command)
    shown.wait_for("none yet")
    yield shown
    shown.tmux("kill-server")


def test_the_state_and_its_changes_are_shown(box, screen):
    for pattern in (r"name +velnet-device", r"gateway +192\.168\.50\.1 +live +192\.168\.50\.1, search none",
                    r"link +up, \d+ Mbit/s, full duplex +link +up, ", r"configured  192\.168\.10\.1/24  \(01_local",
                    r"configured  DHCP  \(02_remote"):
        screen.wait_for(pattern)

    box.run("link", "remote", "down")
    screen.wait_for(r"link +up, .* link +\[down\]")
    screen.wait_for(r"gateway +\[none\] +live +\[none, search none\]")
    screen.wait_for(r"last changes\n(  \d\d:\d\d:.*\n)*  \d\d:\d\d:\d\d\.\d{3}Z  remote +link +down\n")
    wait_until(lambda: not screen.shows(r"\["), "no mark is left")

    screen.tmux("resize-window", "-x", "60", "-y", "9")
    screen.wait_for(r"^local\n  link +up(.*\n)+\.\.\. \d+ more lines\n")


def test_an_interface_that_goes_is_shown_as_absent(box, screen):
    box.exec("sh", "-ec", "ip link set local down; ip link set local name away")
    try:
        screen.wait_for(r"link +\[absent\] +link +up")
    finally:
        box.exec("sh", "-ec", "ip link set away name local; ip link set local up")
    screen.wait_for(r"link +\[up\]")


@pytest.mark.parametrize("key, state", [("c", "confirmed"), ("r", "rolled back")])
def test_a_key_ends_a_trial_that_counts_down(box, settings, screen, key, state):
    box.velnetctl("set-ip", "local", "10.8.9.1/8", "--try", "60")
    screen.wait_for("c keeps the setting, r goes back at once")
    screen.wait_for(r"rolled\s+back\s+in\s+5[0-6]\s+s\s")  # only the time has changed
    screen.tmux("send-keys", key)
    screen.wait_for(f"\nno trial is pending; the last one, set-ip local 10.8.9.1/8, was {state}")
    assert end_of_trial(box)[0] == state


@pytest.mark.parametrize("end", ["q", "C-c", "TERM"])
def test_it_ends_and_the_terminal_is_as_before(box, screen, end):
    if end == "TERM":
        box.exec("pkill", "-TERM", "-f", "velnetctl watch")
    else:
        screen.tmux("send-keys", end)
    screen.wait_for("^ended with 0\n")
    screen.tmux("send-keys", "typed", "Enter")
    screen.wait_for("\ntyped\ntyped\n")  # once from the terminal's echo, and once from cat


def test_where_it_cannot_draw_it_says_so(box):
    refused = box.velnetctl("watch", check=False)
    assert refused.returncode == 1
    assert refused.stderr == "velnetctl: watch needs a terminal; where there is none, use: velnetctl monitor\n"
