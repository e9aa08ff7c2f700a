# SPDX-License-Identifier: MIT
"""velnetctl monitor over the events of the kernel and of the files: many, lost, and of what comes and goes."""
import contextlib
import re
import shlex
import signal
import subprocess
import time

import pytest

from conftest import VELNETCTL, Monitor, wait_until, wait_until_stalled

ETC = "/etc/systemd/network", "/etc/systemd/resolved.conf.d"
LOCAL, SERVER, DOMAIN = f"{ETC[0]}/01_local.network", f"{ETC[1]}/dns_server_0.conf", f"{ETC[1]}/dns_domain.conf"


def velnetctl_inside(box):
    """The number that the newest velnetctl has in the box."""
    return box.exec("pgrep", "-nx", "velnetctl").stdout.strip()


@contextlib.contextmanager
def stopped(box, monitor):
    """The monitor does nothing; gives the number that it has in the box."""
    inside = velnetctl_inside(box)
    box.exec("kill", "-STOP", inside)
    try:
        yield inside
    finally:
        box.exec("kill", "-CONT", inside)
        monitor.process.send_signal(signal.SIGCONT)  # the command that started it has stopped with it


def held_by(box, process):
    """How many descriptors and watched directories."""
    listed = box.exec("sh", "-c", f"cd /proc/{process}; ls fd; grep -h ^inotify fdinfo/*").stdout
    return len(listed.splitlines())


def batch(box, lines):
    box.exec("ip", "-batch", "-", input="\n".join(lines))


def routes(verb):
    return [f"route {verb} 10.{20 + number // 250}.{number % 250}.0/24 via 192.168.10.2" for number in range(10000)]


def has_address(address):
    return lambda value: address in [entry["address"] for entry in value]


def lacks_address(address):
    return lambda value: not has_address(address)(value)


@pytest.fixture
def own_etc(box):
    """A monitor that has an /etc of its own, with no directory in it, and a function that runs a script there."""
    prepare = "mount -t tmpfs none /etc && echo velnet-device >/etc/hostname"
    script = f"{prepare} && exec {shlex.quote(VELNETCTL)} monitor --json"
    monitor = Monitor(box, "unshare", "--mount", "sh", "-c", script)
    monitor.wait_for("resolver", "domains", [])
    inside = velnetctl_inside(box)
    yield monitor, lambda script: box.exec("nsenter", "-m", "-t", inside, "sh", "-ec", script)
    monitor.stop()


def test_ten_thousand_routes_cost_one_look_in_20_ms_at_most(box, tmp_path):
    log = tmp_path / "log"
    with log.open("w") as stderr:
        monitor = Monitor(box, VELNETCTL, "-v", "monitor", "--json", stderr=stderr)
    monitor.wait_for("resolver", "domains", [])
    inside, looks_before = velnetctl_inside(box), log.read_text().count("refresh...")
    held, begin = held_by(box, inside), time.monotonic()
    default = "default via 192.168.50.2 dev remote metric 1"
    batch(box, [*routes("add"), *routes("delete"), f"route add {default}"])
    monitor.wait_for("host", "gateway", "192.168.50.2")
    batch(box, [*routes("add"), *routes("delete"), f"route delete {default}"])
    monitor.wait_for("host", "gateway", "192.168.50.1")
    looks = log.read_text().count("refresh...") - looks_before
    assert looks <= (time.monotonic() - begin) / 0.020 + 1
    assert held_by(box, inside) == held
    monitor.stop()


def test_what_changes_while_the_kernel_drops_events_is_seen(box, monitor):
    def dropped(by):
        table = box.read("/proc/net/netlink").splitlines()[1:]  # columns: sk Eth Pid Groups Rmem Wmem Dump Locks Drops
        return sum(int(row.split()[8]) for row in table if row.split()[1:3] == ["0", by])

    with stopped(box, monitor) as inside:
        batch(box, [*routes("add"), *routes("delete")])
        before = dropped(inside)
        box.exec("ip", "address", "add", "10.9.8.7/24", "dev", "local")
        assert dropped(inside) > before > 0
    monitor.wait_for("local", "addresses", has_address("10.9.8.7"))
    box.exec("ip", "address", "delete", "10.9.8.7/24", "dev", "local")
    monitor.wait_for("local", "addresses", lacks_address("10.9.8.7"))


def test_what_changes_while_events_of_files_are_lost_is_seen(box, own_etc):
    monitor, run = own_etc
    run(f"mkdir -p {ETC[0]}; echo '[Network]\nDHCP=yes' >{LOCAL}")
    monitor.wait_for("local", "configured", lambda value: value["dhcp"])
    most = box.read("/proc/sys/fs/inotify/max_queued_events").strip()
    with stopped(box, monitor):
        # Each file that is made is an event at least: there is no room for those of the other directory.
        run(f"cd {ETC[0]}; seq {most} | xargs touch; mkdir {ETC[1]}; echo '[Resolve]\nDNS=10.0.0.1' >{SERVER}")
    monitor.wait_for("resolver", "servers", ["10.0.0.1"])
    run(f"echo '[Resolve]\nDomains=a.example' >{DOMAIN}")
    monitor.wait_for("resolver", "domains", ["a.example"])


# What is done, and what the monitor shows then: source, name and value. More of it: RealHintsTest.cpp.
FILES = [
    ("a file where no directory was", f"mkdir -p {ETC[0]}; echo '[Network]\nDHCP=yes' >{LOCAL}",
     ("local", "configured", lambda value: value["dhcp"])),
    ("another directory", f"mkdir {ETC[1]}; echo '[Resolve]\nDNS=10.0.0.5' >{SERVER}",
     ("resolver", "servers", ["10.0.0.5"])),
    ("a directory removed and made anew", f"rm -r {ETC[1]}; mkdir {ETC[1]}", ("resolver", "servers", [])),
    ("a file in the new one", f"echo '[Resolve]\nDNS=10.0.0.6' >{SERVER}", ("resolver", "servers", ["10.0.0.6"])),
    ("a directory above moved away", "mv /etc/systemd /etc/older", ("resolver", "servers", [])),
    ("and made anew, all at once", f"mkdir -p {ETC[1]}; echo '[Resolve]\nDNS=10.0.0.8' >{SERVER}",
     ("resolver", "servers", ["10.0.0.8"])),
    ("the host's name", "echo other >/etc/hostname", ("host", "hostname", "other")),
]


def test_a_file_is_seen_however_it_comes(own_etc):
    monitor, run = own_etc
    for what, script, expected in FILES:
        print(what)
        run(script)
        monitor.wait_for(*expected)


def test_directories_that_are_moved_away_leave_no_watch(box, own_etc):
    monitor, run = own_etc
    counts = []
    for domain in ("a.example", "b.example"):
        run(f"for i in $(seq 20); do mkdir -p {' '.join(ETC)}; sleep 0.1; mv /etc/systemd /etc/{domain}.$i; done;"
            f"mkdir -p {' '.join(ETC)}; echo '[Resolve]\nDomains={domain}' >{DOMAIN}")
        monitor.wait_for("resolver", "domains", [domain])
        counts.append(held_by(box, velnetctl_inside(box)))
    assert counts[0] == counts[1]


def test_a_reader_that_stalls_costs_no_memory_and_finds_the_last_state(box):
    monitor = Monitor(box, VELNETCTL, "-v", "monitor", "--json", is_read=False, pipesize=4096, stderr=subprocess.PIPE)
    inside = wait_until_stalled(box, monitor.process)

    def memory():
        return re.findall(r"(?:VmData|RssAnon):\s*(\d+)", box.read(f"/proc/{inside}/status"))

    before = memory()
    batch(box, [f"address {verb} 10.9.8.7/24 dev local" for _ in range(2500) for verb in ("add", "delete")])
    batch(box, ["address add 10.9.8.7/24 dev local"])
    assert memory() == before
    monitor.process.stderr.close()
    monitor.reader.start()
    monitor.wait_for("local", "addresses", has_address("10.9.8.7"))
    batch(box, ["address delete 10.9.8.7/24 dev local"])
    monitor.wait_for("local", "addresses", lacks_address("10.9.8.7"))
    monitor.stop()


def test_a_monitor_without_anything_to_do_sleeps(box, monitor):
    inside = velnetctl_inside(box)

    def wake_ups():
        return int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", box.read(f"/proc/{inside}/status"), re.MULTILINE)[1])

    def is_idle():  # a look each 30 s is all
        before = wake_ups()
        time.sleep(5)
        return wake_ups() - before <= 1

    wait_until(is_idle, "the monitor sleeps", limit=60)
    assert box.exec("ls", f"/proc/{inside}/task").stdout.split() == [inside]
