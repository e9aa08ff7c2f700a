# SPDX-License-Identifier: MIT
"""Trials in the device box: their ends, and an environment in which many of them can run at once."""
import json
import re

from devicebox import VELNETCTL, wait_until


def is_pending(box):
    return {0: True, 3: False}[box.velnetctl("pending", check=False).returncode]


def end_of_trial(box):
    """Waits for the end of the trial. Returns its state, and why it is over."""
    def end():
        state = json.loads(box.velnetctl("pending", "--json", check=False).stdout)
        return not state["pending"] and (state["state"], state["why"])
    return wait_until(end, "the trial is over")


NEW_SETTINGS = json.dumps({
    "interfaces": {
        "local": {"address": "192.168.10.1/24", "routes": [{"destination": "10.2.0.0/16", "gateway": "192.168.10.2"}]},
        "remote": {"address": "dhcp"}},
    "gateway": None,
    "dns": {"servers": ["10.0.0.53"], "domains": ["new.example"]}})

# Prepares a mount namespace with its own files and without daemons. Many trials can run at once in such namespaces. The
# new settings are already live there. Applying them replaces three files and makes one.
ASIDE = f"""
mount -t tmpfs -o nr_inodes=96 none /mnt
cp -a /etc/systemd/. /mnt
mount --move /mnt /etc/systemd
cd /etc/systemd/network
rm -rf ../velnet/trials
printf '#!/bin/sh\\ncase $1 in is-*) exit 1; esac\\n' | install /dev/stdin ../systemctl
mount --bind ../systemctl /usr/bin/systemctl
mount --bind /bin/false /usr/bin/systemd-run
printf 'nameserver 10.0.0.53\\nsearch new.example\\n' >../live
mount --bind ../live /run/systemd/resolve/resolv.conf
mkdir -p 01_local.network.d
printf '[Route]\\nDestination=10.1.0.0/16\\nGateway=192.168.10.2\\n' >01_local.network.d/50-routes.conf
for n in 0 1; do printf "[Resolve]\\nDNS=10.0.0.5$n\\n" >../resolved.conf.d/dns_server_$n.conf; done
chown velnet:velnet ../velnet/*
echo '{NEW_SETTINGS}' >../new.json
velnetctl={VELNETCTL}
change="$velnetctl apply ../new.json"
confirm="$velnetctl confirm"
rollback="$velnetctl rollback"
pending="$velnetctl pending"
files() {{
    echo "== $1"
    find ../velnet -maxdepth 1 -type f ! -name '.*' -exec stat -c '%n %a %U %G' {{}} \\; \\
        -exec sha256sum {{}} \\; | sort
}}
await_end() {{
    timeout 15 sh -c "until $pending >/dev/null; [ \\$? = 3 ]; do sleep 0.1; done" || echo "== pending"
}}
"""


def run_aside(box, script):
    """Runs the script after ASIDE. Returns its output, split at the marks "== name"."""
    result = box.exec("unshare", "--mount", "sh", "-ec", ASIDE + script)
    return dict(part.split("\n", 1) for part in re.split("^== ", result.stdout, flags=re.MULTILINE)[1:])
