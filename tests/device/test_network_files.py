# SPDX-License-Identifier: MIT
"""The files of tests/networkfiles: what systemd-networkd and the kernel make of them is what velnetctl tells."""
import json
import os
import pathlib
import re
import signal

import pytest

from devicebox import NAME, PROJECT, wait_until

STATIC = "[Match]\nName=remote\n[Network]\nAddress=192.168.50.20/24\nGateway=192.168.50.1\n"
CORPUS = PROJECT / "tests/networkfiles"
MAIN = "/etc/systemd/network/02_remote.network"
BYTES = {"<BOM>": "\ufeff", "<CR>": "\r", "<LF>": "\n", "<NUL>": "\0", "<SPACE>": " ", "<FF>": "\udcff"}


def cases(path, version):
    """The name, the files and the expected answer of each case; CONTRIBUTING.md describes the form."""
    head, *texts = re.split(r"^== ", path.read_text(), flags=re.MULTILINE)
    beginning = "".join(line + "\n" for line in re.findall(r'"(.*?)"', head))
    for text in texts:
        name, text = text.split("\n", 1)
        expected = re.search(rf"^-- (?:{version}: )?(?!\d+: )(.*)$", text, re.MULTILINE)[1]
        parts = re.split(r"^-> (.*)\n", re.split(r"^-- ", text, flags=re.MULTILINE)[0], flags=re.MULTILINE)
        yield name, {MAIN: beginning + parts[0], **dict(zip(parts[1::2], parts[2::2]))}, expected


def with_bytes(text):
    return re.sub("|".join(BYTES), lambda token: BYTES[token[0]], text)


def kernels_answer(box):
    def ip(*words):
        return json.loads(box.exec("ip", "-json", "-4", *words).stdout or "[]")

    addresses = [address for link in ip("address", "show", "remote") for address in link["addr_info"] if "local" in address]
    parts = [f"{a['local']}/{a['prefixlen']}" for a in addresses if not a.get("dynamic")]
    parts += ["DHCP"] if any(a.get("dynamic") for a in addresses) else []
    routes = [route for route in ip("route", "show", "dev", "remote") if "gateway" in route]
    defaults = sorted((r for r in routes if r["dst"] == "default"), key=lambda route: route.get("metric", 0))
    if defaults:
        parts.append("gateway by DHCP" if defaults[0]["protocol"] == "dhcp" else f"gateway {defaults[0]['gateway']}")
    parts += [f"{r['dst']}{'' if '/' in r['dst'] else '/32'} via {r['gateway']}" for r in routes if r["dst"] != "default"]
    return sorted(parts) or ["nothing"]


def status(box):
    return json.loads(box.velnetctl("status", "remote", "--json").stdout)["interfaces"]["remote"]


@pytest.mark.parametrize("path", sorted(CORPUS.glob("*.txt")), ids=lambda path: path.stem)
def test_a_file_is_read_as_networkd_reads_it(box, settings, path):
    version = "252" if " 252 " in box.exec("systemctl", "--version").stdout else "257"
    for name, files, expected in cases(path, version):
        box.exec("sh", "-c", "rm -rf /etc/systemd/network/02_remote.network.d")
        for file, text in files.items():
            box.exec("sh", "-c", f"mkdir -p {file.rsplit('/', 1)[0]} && cat > {file}", input=with_bytes(text),
                     errors="surrogateescape")
        box.exec("ip", "-4", "address", "flush", "dev", "remote")
        box.restart_networkd()
        kind, _, text = expected.partition(": ")
        if kind == "not used":
            assert status(box)["lacks"].endswith(text), name
            assert status(box)["networkd"] == "unmanaged", name
        elif kind == "not read":
            assert any(text in sentence for sentence in status(box)["unread"]), name
        else:
            wait_until(lambda: kernels_answer(box) == sorted(expected.split(", ")), f"{path.stem}, {name}: {expected}")
            wait_until(lambda: status(box)["lacks"] == "", f"{path.stem}, {name}: velnetctl finds the same")
            assert status(box)["unread"] == [], name
        for file in files:
            box.exec("rm", file)


@pytest.mark.parametrize("script, reason", [
    ("mkdir -p $main.d/x.conf", "its drop-in /etc/systemd/network/02_remote.network.d/x.conf: it is a directory"),
    ("cp $main /usr/local/lib/systemd/network; ln -sf nowhere $main", "it is a link that leads nowhere"),
    ("chmod 600 $main", "systemd-networkd does not manage remote: see its journal)"),
    ("mv /etc/systemd/network /run/moved; ln -s /run/moved /etc/systemd/network", "")])
def test_a_file_that_networkd_cannot_read_is_named(box, settings, script, reason):
    box.exec("rm", "-rf", MAIN)  # it may be a link
    box.exec("tee", MAIN, input=STATIC)
    box.exec("mkdir", "-p", "/usr/local/lib/systemd/network")
    box.exec("sh", "-ec", script.replace("$main", MAIN))
    box.exec("ip", "-4", "address", "flush", "dev", "remote")
    box.restart_networkd()
    is_used = not reason
    wait_until(lambda: (kernels_answer(box) != ["nothing"]) == is_used, f"networkd uses the file: {is_used}")
    wait_until(lambda: status(box)["lacks"].endswith(reason) and bool(status(box)["lacks"]) != is_used, reason)
    box.exec("rm", "-rf", "/usr/local/lib/systemd", "/run/moved")


def test_classless_routes_of_a_lease_hide_its_router(box, settings):
    state = pathlib.Path("/run/velnet-devicebox", NAME)

    def set_options(text):
        (state / "dhcp-options").write_text(text)
        os.kill(int((state / "dnsmasq.pid").read_text()), signal.SIGHUP)
        box.restart_networkd()

    set_options("option:classless-static-route,10.8.0.0/16,192.168.50.2\n")
    wait_until(lambda: kernels_answer(box) == ["10.8.0.0/16 via 192.168.50.2", "DHCP"], "the classless route is there")
    wait_until(lambda: status(box)["lacks"] == "", "nothing is missing")
    set_options("")
    wait_until(lambda: "gateway by DHCP" in kernels_answer(box), "the router is back")
