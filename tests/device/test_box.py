# SPDX-License-Identifier: MIT
"""The box keeps the machine from harm, and removes only what it made."""
import os
import pathlib
import re
import shutil
import subprocess

import pytest

from conftest import DEVICEBOX, VELNETCTL, Box

PROJECT = DEVICEBOX.parents[2]
CAP_SYS_TIME = 1 << 25


@pytest.fixture
def other_checkout(tmp_path, monkeypatch):
    """What devicebox needs of the project, once more, in a path that needs quoting; with a cache of its own."""
    project = tmp_path / "with blank: and colon"
    for part in "tools/devicebox", "packaging":
        shutil.copytree(PROJECT / part, project / part, symlinks=True)
    monkeypatch.setenv("DEVICEBOX_CACHE", str(tmp_path / "cache"))
    return project


def devicebox_of(project, *arguments):
    return subprocess.run([project / "tools/devicebox/devicebox", *arguments], capture_output=True, text=True)


def test_a_command_has_the_capabilities_of_the_init_and_cannot_set_the_clock(box):
    def capabilities(process, kind):
        return int(re.search(rf"{kind}:\s*(\w+)", box.read(f"/proc/{process}/status"))[1], 16)

    assert capabilities("self", "CapBnd") == capabilities("self", "CapEff") == capabilities(1, "CapBnd")
    assert capabilities("self", "CapBnd") & CAP_SYS_TIME == 0


def test_a_program_of_the_project_is_found_by_its_path_from_here_and_others_are_told_from_missing_ones(box, tmp_path):
    found = box.exec("./velnetctl", "--version", cwd=pathlib.Path(VELNETCTL).parent)
    assert found.stdout.startswith("velnetctl ")
    outside = box.exec("./true", cwd=tmp_path, check=False)
    assert outside.returncode == 127 and f"no {tmp_path}/true inside" in outside.stderr and str(PROJECT) in outside.stderr
    missing = box.exec("./missing", cwd=PROJECT, check=False)
    assert missing.returncode == 127 and f"no such program: {PROJECT}/missing" in missing.stderr


@pytest.mark.parametrize("name", ["", "a-", "-a", "a.b", "A", "ten-digits"])
def test_a_name_that_would_not_work_is_refused(name):
    assert devicebox_of(PROJECT, "--name", name, "status").returncode == 2


def test_a_second_checkout_does_not_take_the_box_of_the_first_for_its_own(booted_box, other_checkout):
    refused = devicebox_of(other_checkout, "--name", booted_box.command[-1], "up")
    assert refused.returncode == 1 and str(PROJECT) in refused.stderr


def test_a_box_removes_no_files_that_it_did_not_make(booted_box, other_checkout):
    name, cache = f"t{os.getpid()}", other_checkout.parent / "cache"
    made = pathlib.Path(re.search(r"root +(.*)/root\n", booted_box.run("status").stdout)[1])
    strangers = cache / "rootfs-mine/file", cache / f"new-{name}/file", cache / f"tmp.{name}/file"
    for file in strangers:
        file.parent.mkdir(parents=True)
        file.touch()
    (cache / made.name).symlink_to(made)  # to spare the time of making another
    try:
        up = devicebox_of(other_checkout, "--name", name, "up")
        assert up.returncode == 0, up.stderr
        seen = devicebox_of(other_checkout, "--name", name, "exec", "ls", str(other_checkout))
        assert seen.stdout.split() == ["packaging", "tools"]
    finally:
        assert devicebox_of(other_checkout, "--name", name, "down").returncode == 0
    assert all(file.exists() for file in strangers)


def test_a_power_cut_keeps_what_was_written_until_the_box_is_taken_down():
    name, boot_id = f"t{os.getpid()}", "/proc/sys/kernel/random/boot_id"
    box = Box(name)
    try:
        box.run("up")
        box.write("/etc/written", "text")
        before = box.read(boot_id)
        box.run("cut")
        status, refused = box.run("status", check=False), box.run("cut", check=False)
        assert status.returncode == 3 and "it was cut" in status.stdout
        assert refused.returncode == 1 and "not up" in refused.stderr
        box.run("up")
        assert box.read("/etc/written") == "text" and box.read(boot_id) != before
        box.run("cut")
        box.run("down")
        left = [*pathlib.Path("/run/velnet-devicebox").glob(name), *pathlib.Path("/sys/fs/cgroup").rglob(f"*-{name}")]
        assert not left and f"/{name}/" not in pathlib.Path("/proc/mounts").read_text()
        box.run("up")
        assert box.exec("test", "-e", "/etc/written", check=False).returncode == 1
    finally:
        box.run("down")


@pytest.mark.parametrize("script", ["check", "demo"])
def test_a_checkout_that_cannot_be_written_is_told_in_one_line(script):
    mount = 'mount --bind "$0" "$0"; mount -o remount,bind,ro "$0"; exec "$0/$1"'
    told = subprocess.run(["unshare", "--map-root-user", "--mount", "sh", "-ec", mount, PROJECT, script],
                          capture_output=True, text=True)
    assert (told.returncode, told.stdout) == (1, "")
    assert told.stderr == f"{script}: cannot write to {PROJECT}, where the build goes\n"
