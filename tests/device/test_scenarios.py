# SPDX-License-Identifier: MIT
"""The same steps on the device box and on the simulated device must have the same results."""
import os
import random
import subprocess

import pytest

from devicebox import PROJECT, SCENARIOS, Lines

pytestmark = pytest.mark.usefixtures("settings")


class Run:
    """The scenario program, running on a device."""

    def __init__(self, *command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)
        self.lines = Lines(self.process.stdout)
        self.answer("the first look at the device")

    def answer(self, step):
        """Returns all results of the step. The line "." ends them."""
        return "".join(self.lines.take_until(lambda line: line == ".\n", f"{step} is done", limit=60)[:-1])

    def step(self, text):
        self.process.stdin.write(text + "\n")
        self.process.stdin.flush()
        return self.answer(text)


@pytest.fixture
def in_the_box(box):
    run = Run(*box.command, "exec", SCENARIOS)

    def step(text):
        verb, *words = text.split()
        if verb in ("plug", "unplug"):
            box.run("link", words[0], "up" if verb == "plug" else "down")
        elif verb == "add-address":
            box.exec("ip", "address", "add", words[1], "dev", words[0])
        return run.step(text)
    yield step
    run.process.stdin.close()
    run.process.wait()


def recorded():
    """The scenarios that do not need faults of the simulated device."""
    for path in sorted((PROJECT / "tests/scenarios").glob("*.txt")):
        for block in ("\n" + path.read_text()).split("\n== ")[1:]:
            heading, steps = block.split("\n", 1)
            if not heading.endswith("[simulated]"):
                yield pytest.param(steps, id=f"{path.stem} {heading}")


@pytest.mark.parametrize("steps", recorded())
def test_a_scenario_comes_out_as_recorded(in_the_box, steps):
    for recorded_step in ("\n" + steps.rstrip("\n")).split("\n> ")[1:]:
        step, *expected = recorded_step.split("\n")
        assert in_the_box(step) == "".join(line[4:] + "\n" for line in expected), step


def random_step(chance):
    interface = chance.choice(["local", "remote"])
    network = {"local": "192.168.10", "remote": "192.168.50"}[interface]
    host = chance.choice([1, 2, 2, 20, 21, 22, 255])
    gateway = chance.choice([f"{network}.{host}", f"{network}.{host}", "10.99.99.99", "192.168.50.007", "300.1.1.1"])
    mask = chance.choice(["255.255.0.0", "255.0.0.0", "255.0.255.0"])
    return chance.choice([
        f"set-ip {interface} dhcp",
        f"set-ip {interface} {network}.{chance.randint(20, 40)} 255.255.255.0",
        f"set-ip {interface} 10.{chance.randint(1, 9)}.0.5 {mask}",
        f"set-gateway {gateway}",
        "set-gateway 0.0.0.0",
        f"set-routes {interface} dst=10.{chance.randint(10, 19)}.0.0/16 gw={gateway}",
        f"set-routes {interface} dst=10.20.0.{host} gw={gateway}; dst=10.{chance.randint(21, 29)}.0.0/33 gw={gateway}",
        f"set-routes {interface}",
        f"set-dns {chance.randint(0, 3)} {chance.choice([gateway, '0.0.0.0'])}",
        f"set-domain {chance.choice(['', 'a.example', 'b.example. ~c.example'])}",
        f"add-address {interface} 10.{chance.randint(30, 250)}.8.7/24",
        f"unplug {interface}",
        f"plug {interface}",
        f"plug {interface}",
    ])


def test_random_steps_come_out_the_same(in_the_box):
    seed = int(os.environ.get("SCENARIO_SEED", 1))
    print(f"SCENARIO_SEED={seed}")
    chance = random.Random(seed)
    simulated = Run(SCENARIOS, "--simulated")
    for number in range(int(os.environ.get("SCENARIO_STEPS", 15))):
        step = random_step(chance)
        assert in_the_box(step) == simulated.step(step), f"SCENARIO_SEED={seed}, step {number}: {step}"
    simulated.process.stdin.close()
    simulated.process.wait()
