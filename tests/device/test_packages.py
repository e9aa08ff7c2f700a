# SPDX-License-Identifier: MIT
"""Installs, upgrades, removes and purges the Debian packages on a device that has nothing else of the project."""
import re
import subprocess

import pytest

from devicebox import AS_VELNET, NAME, PROJECT, Box, run_in_unit, wait_until
from trials import end_of_trial, is_pending

NAMES = "libvelnetworkmanager1", "libvelnetworkhost1", "velnetctl", "velnetworkmanager-host"
UNITS = "velnet-guard.path", "velnet-guard-boot.service", "velnet-host.service"
LOCAL = "/etc/systemd/network/01_local.network"
TRIAL = "set-ip", "local", "192.168.10.9/24", "--require-boot-guard", "--try"

# Makes the same packages with a lower version, a different sudo rule and different units.
MAKE_OLDER = """
cd /var/tmp
version=$(dpkg-deb --field "$1" Version)
for package; do
    dpkg-deb --raw-extract "$package" tree
    sed -i "s/$version/${version%%+*}~older/g" tree/DEBIAN/control
    find tree -type f '(' -path '*/sudoers.d/*' -o -path '*/systemd/*' ')' \\
        -exec sed -i 's/^Description=/&Older: /; $a # older' {} +
    dpkg-deb --root-owner-group --build tree "older-$(basename "$package")"
    rm -r tree
done"""

# Lists everything that a package can leave, except logs and dpkg's own files.
LIST = r"""
find / -xdev '(' -path /var/log -o -path /var/lib/dpkg -o -path /var/tmp ')' -prune -o -printf '%p %y %m %u %g %l\n'
getent passwd; getent group; systemctl list-unit-files --no-legend; systemctl list-units --no-legend --all 'velnet*'
systemctl show -P StartLimitIntervalUSec systemd-networkd systemd-resolved"""


def build(suite):
    subprocess.run([PROJECT / "tools/build-packages", "--suite", suite], check=True)
    return PROJECT / "build/packages" / suite


@pytest.fixture(scope="module")
def device():
    box = Box(NAME[:7] + "-b", "velnetctl")
    box.boot(DEVICEBOX_BARE="1")
    yield box
    box.run("down")


@pytest.fixture(scope="module")
def directory(device):
    return build(device.exec("sh", "-c", ". /etc/os-release; echo $VERSION_CODENAME").stdout.strip())


@pytest.fixture(scope="module")
def packages(directory):
    return packages_in(directory)


@pytest.fixture
def bare(device):
    yield device
    device.velnetctl("rollback", check=False)  # a test that failed may have left a trial
    device.exec("dpkg", "--purge", *NAMES)


def packages_in(directory):
    return [next(directory.glob(f"{name}_*.deb")) for name in NAMES]


def test_installed_documents_have_no_dead_link(directory, tmp_path):
    for package in directory.glob("*.deb"):
        subprocess.run(["dpkg-deb", "--extract", package, tmp_path], check=True)
    documents = {path: path.read_text() for path in tmp_path.glob("usr/share/doc/**/*.md")}
    links = [(path, link) for path, text in documents.items() for link in re.findall(r"\]\(([^)#\s]+)[^)\s]*\)", text)]
    assert len(links) > 40
    assert not [(path, link) for path, link in links if "://" not in link and not (path.parent / link).exists()]


def change_every_setting(box):
    """Changes each setting like the host, and then restores the settings of the boot."""
    def host(line):
        assert run_in_unit(box, "velnetctl", *line.split()), line

    box.write("/etc/systemd/resolved.conf.d/dns_server_0.conf", "[Resolve]\nDNS=192.168.50.3\n")  # left there by root
    box.exec("systemd-tmpfiles", "--create", "velnet-host.conf")
    host("set-ip remote 192.168.50.9/24")
    wait_until(lambda: box.ipv4("remote") == ["192.168.50.9/24"], "remote has the static address and no other")
    host("set-gateway 192.168.50.2")
    wait_until(lambda: box.gateways() == ["192.168.50.2"], "remote has the gateway")
    host("set-routes remote 10.1.0.0/16 via 192.168.50.2")
    wait_until(lambda: box.routes("remote") == {("10.1.0.0/16", "192.168.50.2")}, "remote has the route")
    for line in "set-dns 0 192.168.50.1", "set-dns 1 192.168.50.2", "set-domain velnet.example":
        host(line)
    assert box.exec("resolvectl", "dns").stdout.startswith("Global: 192.168.50.1 192.168.50.2\n")
    assert box.exec("resolvectl", "domain").stdout.startswith("Global: velnet.example\n")
    host("set-ip remote dhcp")
    wait_until(lambda: box.gateways() == ["192.168.50.1"], "remote has its lease")


def test_the_packages_alone_make_a_working_device(bare, packages):
    bare.exec("apt-get", "--yes", "install", *packages)
    change_every_setting(bare)
    before = bare.read(LOCAL)
    bare.exec(*AS_VELNET, "velnetctl", *TRIAL, "2")
    assert bare.read(LOCAL) != before
    assert end_of_trial(bare) == ("rolled back", "it was not confirmed in time")
    assert bare.read(LOCAL) == before
    assert "is rolled back: it was not confirmed in time" in bare.exec("journalctl", "-u", "velnet-guard").stdout
    wait_until(lambda: bare.ipv4("local") == ["192.168.10.1/24"], "local has its address again")


def test_an_upgrade_leaves_a_trial_to_its_guard(bare, packages):
    bare.exec("sh", "-ec", MAKE_OLDER, "sh", *packages_in(build("bookworm")))  # on a later Debian, its upgrade
    bare.exec("sh", "-ec", "dpkg --install /var/tmp/older-*; systemctl start velnet-host")
    bare.velnetctl(*TRIAL, "99")
    guard, host = bare.show("MainPID", "velnet-guard", "velnet-host")
    assert bare.show("Description", "velnet-guard.path")[0] == "Older:"
    bare.exec("dpkg", "--install", *packages)
    assert bare.show("Description", "velnet-guard.path")[0] == "Trial"
    assert "older" not in bare.read("/etc/sudoers.d/velnet-host")
    assert bare.show("ActiveState", "velnet-guard.path", "velnet-host") == ["active", "active"]
    assert bare.show("MainPID", "velnet-guard") == [guard] and bare.show("MainPID", "velnet-host") != [host]
    assert is_pending(bare)


# Makes the layout of an earlier version, whose user could write to the daemons' directories, with traces of an attack.
EARLIER = """
cd /etc/systemd/network
for link in *.network *.network.d/*.conf ../resolved.conf.d/*.conf; do
    target=../velnet/$(basename "$(readlink "$link")")
    rm "$link"; if [ -e "$target" ]; then mv -T "$target" "$link"; fi
done
mv ../velnet/trials .velnet; rm -r ../velnet
chmod 775 . *.d ../resolved.conf.d; chgrp velnet . *.d ../resolved.conf.d
install -m 600 -o velnet -g velnet /dev/stdin ../resolved.conf.d/dns_server_0.conf <<<'[Resolve]'
printf key | install -m 640 /dev/stdin 25-wg.netdev; mv 25-wg.netdev ../resolved.conf.d/dns_server_1.conf
ln -s /dev/null 20-mask.network; mv 20-mask.network 02_remote.network.d/50-routes.conf
as_velnet='setpriv --reuid=velnet --regid=velnet --init-groups'
$as_velnet sh -c 'rm -f ../resolved.conf.d/dns_domain.conf; ln -s /etc/shadow ../resolved.conf.d/dns_domain.conf
    touch 90-evil.link 03_more.network; mv 01_local.network.d 01_old; ln -s /root 01_local.network.d'
"""


def test_an_upgrade_takes_over_an_earlier_version(bare, packages):
    bare.exec("dpkg", "--install", *packages)
    bare.velnetctl(*TRIAL, "99")
    text = bare.read(LOCAL)
    bare.exec("bash", "-ec", EARLIER)
    bare.exec("dpkg", "--install", *packages)
    assert bare.read(LOCAL) == text and is_pending(bare)
    stat = "cd /etc/systemd; stat -c '%n %U %a %F' network resolved.conf.d velnet/*.* network/* resolved.conf.d/*"
    made = set(bare.exec("sh", "-c", stat).stdout.splitlines())
    assert {"network root 755 directory",
            "resolved.conf.d root 755 directory",
            "velnet/01_local.network velnet 644 regular file",
            "network/01_local.network root 777 symbolic link",
            "velnet/dns_server_0.conf velnet 600 regular file",
            "resolved.conf.d/dns_server_1.conf root 640 regular file",
            "resolved.conf.d/dns_domain.conf root 777 symbolic link",
            "network/03_more.network root 644 regular empty file",
            "network/90-evil.link.before1 root 644 regular empty file"} <= made
    routes = bare.exec("readlink", "/etc/systemd/network/02_remote.network.d/50-routes.conf").stdout
    assert routes == "/dev/null\n" and not bare.exec("find", "/root", "-name", "50-routes.conf").stdout
    bare.velnetctl("rollback")
    assert "192.168.10.1/24" in bare.read(LOCAL)
    bare.exec("sh", "-c", "cd /etc/systemd/network; rm -r ../resolved.conf.d *.before1 03* 01_old")


def test_a_purge_undoes_the_enabling_of_daemons(bare, packages):
    bare.exec("systemctl", "disable", "systemd-networkd")
    bare.exec("dpkg", "--install", *packages)
    assert bare.show("UnitFileState", "systemd-networkd", "systemd-resolved") == ["enabled", "enabled"]
    bare.exec("dpkg", "--purge", *NAMES)
    assert bare.show("UnitFileState", "systemd-networkd", "systemd-resolved") == ["disabled", "enabled"]
    bare.exec("systemctl", "enable", "systemd-networkd")


def test_a_purge_leaves_nothing_but_the_settings(bare, packages):
    before = bare.exec("sh", "-ec", LIST).stdout
    bare.exec("dpkg", "--install", *packages)
    assert bare.show("UnitFileState", *UNITS) == ["enabled", "enabled", "disabled"]
    assert bare.show("ActiveState", *UNITS) == ["active", "inactive", "inactive"]
    bare.exec(*AS_VELNET, "velnetctl", "set-routes", "local", "10.1.0.0/16", "via", "192.168.10.2")
    bare.exec("systemctl", "enable", "--now", "velnet-host")
    bare.velnetctl(*TRIAL, "99")
    refused = bare.exec("dpkg", "--remove", NAMES[3], check=False)
    assert refused.returncode == 1 and "set-ip local 192.168.10.9/24" in refused.stderr
    assert bare.show("ActiveState", *UNITS) == ["active", "inactive", "active"]
    bare.velnetctl("rollback")
    bare.exec("dpkg", "--remove", NAMES[3])
    assert bare.show("ActiveState", *UNITS) == ["inactive"] * 3
    assert not bare.exec("pgrep", "-u", "velnet", check=False).stdout
    bare.exec("dpkg", "--purge", *NAMES)
    after = bare.exec("sh", "-ec", LIST).stdout
    settings = {f"{LOCAL}.d d 755 root root ", f"{LOCAL}.d/50-routes.conf f 644 root root "}
    assert set(after.splitlines()) ^ set(before.splitlines()) == settings
