# SPDX-License-Identifier: MIT
"""Every command in a document is run: here, in the order of the document, or by what is named here."""
# Every other line of a block stands in a program, a test or an example as well, but for pictures, which have arrows.
# The programs below ```cpp are built, and run, by tests/package/documents.
import pathlib
import re
import shlex

import pytest

from conftest import VELNETCTL

PROJECT = pathlib.Path(__file__).parents[2]
TEXTS = {str(path.relative_to(PROJECT)): path.read_text() for pattern in ("*.md", "*/*.md", "packaging/*/*.md")
         for path in sorted(PROJECT.glob(pattern))}
TRIAL = "velnetctl set-ip local 172.16.0.5/16 --try 60"
# The manual page has examples of each verb. Those of some need a settled device of their own, and something before.
BEFORE = {"set-ip": "true", "set-gateway": "velnetctl set-ip remote 192.168.50.20/24 --wait 20", "set-routes": "true",
          "apply": "velnetctl save settings.json", "confirm": TRIAL, "rollback": TRIAL, "pending": TRIAL}
PAGE = re.sub(r"\\f[BIR]|\\(?=-)", "", (PROJECT / "src/velnetctl/velnetctl.1").read_text()).replace(r"\(aq", "'")
for examples, verb in re.findall(r"^\.EX\n( *velnetctl (\S+)(?s:.*?))^\.EE", PAGE, re.M):
    name = verb if verb in BEFORE else "velnetctl.1"
    TEXTS[name] = TEXTS.get(name, "") + examples.replace("\n        ", "   # ")  # what it does stands below it
BLOCK = re.compile(r"^```(.*)\n((?:.*\n)*?)```$|^((?: {4}.*\n|\s*\n(?= {4}))+)", re.M)
IS_PICTURE = re.compile(r"--[->]|<--")
IS_RUN_HERE = re.compile(r"(velnetctl|systemctl|systemd-\w+|printf) ")
RUN_BY = {".ci/run": r"\./demo$|\./check( (unit|device|fuzz) |$)|\./check(?= (unit|device|package)$)|"
                     r"\./check (armhf|abi|docs)$|tools/install-packages build",
          "check": r"cmake (--build )?--preset release",
          "tools/armhf": r"cmake (--build )?--preset armhf",
          "tests/device/test_packages.py": "tools/build-packages|apt-get",
          "tools/devicebox/devicebox": "packaging/install",
          "tests/package/CMakeLists.txt": "(?<=cmake )--install"}
# They take from a quarter of an hour to an hour, and the documents have figures of theirs; or there is no BitBake here.
IS_RUN_BY_HAND = re.compile(r"bitbake|\./check coverage|tools/bench|benchmarks/|EVERY_CALL=|SCENARIO_|ORDERS_")


def without_blanks(text):
    return re.sub(r"\s", "", re.sub(r"\s(//|#) .*", "", text))


@pytest.fixture(scope="module")
def code():
    files = [path for name in ("examples", "tests") for path in (PROJECT / name).rglob("*.*")
             if path.suffix in (".cpp", ".h", ".py", ".txt") and path.name != "test_documents.py"]
    programs = [text for document in TEXTS.values() for kind, text, _ in BLOCK.findall(document) if kind == "cpp"]
    return without_blanks("\n".join([path.read_text() for path in files] + programs))


@pytest.fixture
def shell(box, settings, installed):
    """Runs a command line in the box; what is wrong with its end, if anything."""
    def run(command, good=(0,)):
        command = command.replace("build/release", str(pathlib.Path(VELNETCTL).parents[2]))
        command = command.partition(" | jq ")[0]  # the device has none
        commands.append(command)
        if re.match("velnetctl (monitor|watch)", command):  # until Ctrl-C
            command = f"TERM=xterm timeout --foreground --preserve-status -s INT 1 {command}"
            command = shlex.join(["script", "-qec", command, "/dev/null"])
        result = box.exec("sh", "-c", f"cd /var/tmp; {command}", check=False)
        return result.returncode not in good and f"exit code {result.returncode}: {result.stdout}{result.stderr}"
    commands = []
    neighbour = "10.0.0.1/24", "dev", "remote-peer"  # the gateway of the examples
    box.run("peer", "ip", "address", "add", *neighbour)
    yield run
    box.run("peer", "ip", "address", "del", *neighbour)
    if "--try" in str(commands):
        run("velnetctl rollback")
    for units in re.findall("systemctl enable --now ([^']*)", str(commands)):
        run(f"systemctl disable --now {units}")


def fault_of(line, shell, code):
    command, _, comment = re.match(r"(.*?)(\s+# (.*))?$", line).groups(default="")
    if IS_RUN_BY_HAND.match(command):
        return ""
    for runner, pattern in RUN_BY.items():
        if found := re.search(pattern, command):
            return found[0] not in (PROJECT / runner).read_text() and f"{runner} does not run it"
    if IS_RUN_HERE.match(command):
        codes = re.findall(r"\d+", comment.partition("exit code")[2])
        fault = comment.startswith("or ") and shell(TRIAL)  # instead of the line before, which has ended the trial
        return fault or shell(command, list(map(int, codes)) or [0])
    return without_blanks(line) not in code and "this is run by no test, and stands in no program"


@pytest.mark.parametrize("document", filter(lambda name: BLOCK.search(TEXTS[name]), TEXTS))
def test_a_document_holds_what_can_be_run(document, box, shell, code):
    faults = []
    shell(BEFORE.get(document, "true"))
    for kind, fenced, indented in BLOCK.findall(TEXTS[document]):
        if kind == "json":  # all settings as one document
            box.velnetctl("apply", "--dry-run", "--force", "-", input=fenced)
        elif kind != "cpp" and not IS_PICTURE.search(fenced + indented):
            for line in re.findall(r"\S.*", fenced + indented):
                if fault := fault_of(line, shell, code):
                    faults.append(f"{line}\n    {fault}")
    assert not faults, "\n".join([document, *faults])
