# SPDX-License-Identifier: MIT
"""Asks the example host over its socket for a plan and for two trials."""
import os
import socket
import subprocess
import sys
import tempfile
import time


def ask(path, request):
    with socket.socket(socket.AF_UNIX) as client:
        client.connect(path)
        client.sendall(request.encode() + b"\n")
        return b"".join(iter(lambda: client.recv(4096), b"")).decode()


def is_listening(path):
    try:
        return ask(path, "pending") == "no trial is pending\n"
    except OSError:
        return False


with tempfile.TemporaryDirectory() as directory:
    path = os.path.join(directory, "host.socket")
    host = subprocess.Popen([sys.argv[1], path, "--simulated"])
    try:
        while not is_listening(path):
            assert host.poll() is None, "the host has ended"
            time.sleep(0.01)
        assert "\n+Address=192.168.60.5/24\n" in ask(path, "plan remote 192.168.60.5/24 192.168.60.1")
        assert ask(path, "plan remote 192.168.60.5/24").startswith("refused unless it is forced: the gateway ")
        assert ask(path, "try 60 remote 192.168.60.5/240").startswith("'/240' is not a prefix length")
        assert ask(path, "try 60 remote 192.168.50.20/24") == "OK\n"
        assert ask(path, "pending").startswith("a trial is pending: set-ip remote 192.168.50.20/24, by ")
        assert ask(path, "confirm") == "OK\n"
        assert ask(path, "try 60 remote dhcp") == "OK\n"
        assert ask(path, "rollback") == "OK\n"
        assert ask(path, "plan remote dhcp").endswith("\nruns: sudo /bin/systemctl restart systemd-networkd\n")
    finally:
        host.terminate()
