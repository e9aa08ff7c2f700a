# SPDX-License-Identifier: MIT
"""The box does not harm the machine, and removes only its own files and processes."""
import os
import pathlib
import re
import shutil
import subprocess

import pytest

from devicebox import PROJECT, VELNETCTL, Box

CAP_SYS_TIME = 1 << 25


@pytest.fixture
def other_checkout(tmp_path, monkeypatch):
    """A second project with all files that devicebox needs, in a path that needs quoting. It has its own cache."""
    project = tmp_path / "with blank: and colon"
    for part in "tools/devicebox", "packaging":
        shutil.copytree(PROJECT / part, project / part, symlinks=True)
    monkeypatch.setenv("DEVICEBOX_CACHE", str(tmp_path / "cache"))
    return project


def devicebox_of(project, *arguments):
    return subprocess.run([project / "tools/devicebox/devicebox", *arguments], capture_output=True, text=True)


def test_no_command_in_the_box_can_set_the_clock(box):
    def capabilities(process, kind):
        return int(re.search(rf"{kind}:\s*(\w+)", box.read(f"/proc/{process}/status"))[1], 16)

    assert capabilities("self", "CapBnd") == capabilities("self", "CapEff") == capabilities(1, "CapBnd")
    assert capabilities("self", "CapBnd") & CAP_SYS_TIME == 0


def test_a_relative_path_leads_into_the_project(box):
    found = box.exec("./velnetctl", "--version", cwd=pathlib.Path(VELNETCTL).parent)
    assert found.stdout.startswith("velnetctl ")


@pytest.mark.parametrize("name", ["", "a-", "-a", "a.b", "A", "ten-digits"])
def test_a_name_that_would_not_work_is_refused(name):
    assert devicebox_of(PROJECT, "--name", name, "status").returncode == 2


def test_a_box_belongs_to_one_checkout(booted_box, other_checkout):
    refused = devicebox_of(other_checkout, "--name", booted_box.command[-1], "up")
    assert refused.returncode == 1 and str(PROJECT) in refused.stderr


def test_a_box_removes_only_its_own_files(booted_box, other_checkout):
    name, cache = f"t{os.getpid()}", other_checkout.parent / "cache"
    made = pathlib.Path(re.search(r"root +(.*)/root\n", booted_box.run("status").stdout)[1])
    strangers = cache / "rootfs-mine/file", cache / f"new-{name}/file", cache / f"tmp.{name}/file"
    for file in strangers:
        file.parent.mkdir(parents=True)
        file.touch()
    (cache / made.name).symlink_to(made)  # saves the time for another root
    try:
        up = devicebox_of(other_checkout, "--name", name, "up")
        assert up.returncode == 0, up.stderr
        seen = devicebox_of(other_checkout, "--name", name, "exec", "ls", str(other_checkout))
        assert seen.stdout.split() == ["packaging", "tools"]
    finally:
        assert devicebox_of(other_checkout, "--name", name, "down").returncode == 0
    assert all(file.exists() for file in strangers)


def test_a_box_that_was_cut_leaves_nothing_behind():
    name = f"t{os.getpid()}"
    box = Box(name)
    try:
        box.run("up")
        box.write("/etc/written", "text")
        box.run("cut")
        box.run("down")
        left = [*pathlib.Path("/run/velnet-devicebox").glob(name), *pathlib.Path("/sys/fs/cgroup").rglob(f"*-{name}")]
        assert not left and f"/{name}/" not in pathlib.Path("/proc/mounts").read_text()
        box.run("up")
        assert box.exec("test", "-e", "/etc/written", check=False).returncode == 1
    finally:
        box.run("down")
