# SPDX-License-Identifier: MIT
"""Usage: in_box.py LOOP-HOST. Runs it in the device box, with clients. Exit code 77: the device box cannot run here."""
import json
import os
import pathlib
import re
import select
import socket
import subprocess
import sys
import threading
import time

DEVICEBOX = pathlib.Path(__file__).resolve().parents[3] / "tools/devicebox/devicebox"
BOX = [DEVICEBOX, "--name", os.environ.get("DEVICEBOX_NAME", "check")]
HELD = """mkdir -p /run/systemd/system/systemd-networkd.service.d
          echo "[Service]\nExecStartPre=/bin/sh -c 'until [ -e /run/go-on ]; do sleep 0.1; done'" \
              >/run/systemd/system/systemd-networkd.service.d/held.conf"""


def box(*arguments):
    return subprocess.run([*BOX, *arguments], check=True, stdout=subprocess.PIPE, text=True).stdout


def request(text):
    """Sends the request to the socket in the box. Returns the connection, on which the answer will arrive."""
    client = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    client.connect(f"/proc/{init}/root/run/host.socket")
    client.settimeout(60)
    client.send(text.encode())
    return client


def wait_for_line(line, times=1):
    end = time.monotonic() + 20
    while sum(printed.startswith(line) for printed in lines) < times:
        assert host.poll() is None and time.monotonic() < end, f"not {times} times '{line}', but {lines}"
        time.sleep(0.02)


if code := subprocess.run([DEVICEBOX, "check"]).returncode:
    sys.exit(code)
if os.geteuid() != 0:  # devicebox does the same
    os.execvp("sudo", ["sudo", "-n", "--preserve-env=DEVICEBOX_NAME,DEVICEBOX_CACHE", sys.executable, *sys.argv])
box("down")
try:
    box("up")
    init = re.search(r"init +PID (\d+)", box("status"))[1]
    host = subprocess.Popen([*BOX, "exec", sys.argv[1], "/run/host.socket"], stdout=subprocess.PIPE, text=True)
    lines = []
    threading.Thread(target=lambda: lines.extend(host.stdout)).start()
    wait_for_line("host hostname: velnet-device")
    box("link", "remote", "down")
    wait_for_line("remote link: down")

    # During a change, the host must answer, print changes, and run its timer.
    box("exec", "sh", "-c", HELD)
    first = request("set remote 192.168.50.20/24 192.168.50.1")
    request("set remote 192.168.50.21/24 192.168.50.1").close()
    last = request("set remote 192.168.50.22/24 192.168.50.1")
    assert json.loads(request("state").recv(65536))["interfaces"]["remote"]["link"] is False
    wait_for_line("changes under way: 3")
    box("link", "remote", "up")
    wait_for_line("remote link: up", 2)
    assert not select.select([first, last], [], [], 0)[0], "networkd had not been restarted"
    box("exec", "touch", "/run/go-on")
    assert first.recv(4096) == b"OK\n"
    assert last.recv(4096) == b"OK\n"
    wait_for_line("remote live: 192.168.50.22/24")

    assert request("set remote 192.168.50.22").recv(4096).startswith(b"'192.168.50.22' has no prefix length")
    box("exec", "pkill", "-HUP", "-x", "loop-host")
    wait_for_line('{"trial":null,')
    box("exec", "pkill", "-TERM", "-x", "loop-host")
    assert host.wait(timeout=20) == 0
finally:
    box("down")
