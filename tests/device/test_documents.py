# SPDX-License-Identifier: MIT
"""Runs the commands of the documents in the box. A comment before each block of a document says what runs it:

<!-- run -->                 the commands run here, in the order of the document; JSON is applied as settings
<!-- run during a trial -->  the same, after a trial has begun
<!-- run by FILE ... -->     one of the files has a line with the first two words of each command
<!-- run by hand -->         nothing runs it: it takes too long, or needs something that this machine does not have
<!-- quoted -->              each line is in an example, a test or a program of a document
<!-- shown -->               a picture or an output

The programs are C++ and CMake. tests/package/documents builds them, and runs those marked with <!-- run -->.
"""
import pathlib
import re
import shlex

import pytest

from conftest import VELNETCTL

PROJECT = pathlib.Path(__file__).parents[2]
TEXTS = {str(path.relative_to(PROJECT)): path.read_text() for pattern in ("*.md", "*/*.md", "packaging/*/*.md")
         for path in sorted(PROJECT.glob(pattern))}
TRIAL = "velnetctl set-ip local 172.16.0.5/16 --try 60"
# The manual page has examples of each verb. For these verbs, they need a settled device and a command before them.
BEFORE = {"set-ip": "true", "set-gateway": "velnetctl set-ip remote 192.168.50.20/24 --wait 20", "set-routes": "true",
          "apply": "velnetctl save settings.json", "confirm": TRIAL, "rollback": TRIAL, "pending": TRIAL}
PAGE = re.sub(r"\\f[BIR]|\\(?=-)", "", (PROJECT / "src/velnetctl/velnetctl.1").read_text()).replace(r"\(aq", "'")
for examples, verb in re.findall(r"^\.EX\n( *velnetctl (\S+)(?s:.*?))^\.EE", PAGE, re.M):
    name = verb if verb in BEFORE else "velnetctl.1"
    commands = examples.replace("\n        ", "   # ")  # the line below an example explains it
    TEXTS[name] = TEXTS.get(name, "") + "<!-- run -->\n\n" + commands + "\n"
BLOCK = re.compile(r"(?:^<!-- (.*) -->\n\n?)?(?:^```(.*)\n((?:.*\n)*?)```$|((?:^ {4}.*\n|^\s*\n(?= {4}))+))", re.M)
PROGRAMS = "cpp", "cmake"


def without_blanks(text):
    return re.sub(r"\s", "", re.sub(r"\s(//|#) .*", "", text))


@pytest.fixture(scope="module")
def code():
    files = [path for name in ("examples", "tests") for path in (PROJECT / name).rglob("*.*")
             if path.suffix in (".cpp", ".h", ".py", ".txt") and path.name != "test_documents.py"]
    programs = [text for document in TEXTS.values() for _, kind, text, _ in BLOCK.findall(document) if kind == "cpp"]
    return without_blanks("\n".join([path.read_text() for path in files] + programs))


@pytest.fixture
def shell(box, settings, installed):
    """Runs a command line in the box. Returns a text when the exit code is wrong."""
    def run(command, good=(0,)):
        command = command.replace("build/release", str(pathlib.Path(VELNETCTL).parents[2]))
        command = command.partition(" | jq ")[0]  # the device has no jq
        commands.append(command)
        if re.match("velnetctl (monitor|watch)", command):  # ends with Ctrl-C
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


def has(path, command):
    """Whether a line of the file has the first two words of the command. A word in capitals is a placeholder."""
    words = [word for word in command.split() if not word.isupper()][:2]
    return any(all(word in line for word in words) for line in (PROJECT / path).read_text().splitlines())


def fault_of(line, mark, shell, code):
    command, _, comment = re.match(r"(.*?)(\s+# (.*))?$", line).groups(default="")
    if mark in ("run", "run during a trial"):
        codes = re.findall(r"\d+", comment.partition("exit code")[2])
        return shell(command, list(map(int, codes)) or [0])
    if mark == "quoted":
        return without_blanks(line) not in code and "this stands in no example, test or program"
    runners = mark.removeprefix("run by ").split()
    return not any(has(path, command) for path in runners) and f"none of {runners} runs it"


@pytest.mark.parametrize("document", filter(lambda name: BLOCK.search(TEXTS[name]), TEXTS))
def test_a_document_says_what_runs_its_blocks(document, box, shell, code):
    faults = []
    shell(BEFORE.get(document, "true"))
    for mark, kind, fenced, indented in BLOCK.findall(TEXTS[document]):
        text = fenced + indented
        if kind in PROGRAMS and mark in ("run", "build") or mark in ("run by hand", "shown"):
            continue
        if not re.match("run$|run during a trial$|run by |quoted$", mark):
            faults.append(f"{text}    no comment before it says what runs it")
        elif kind == "json":
            box.velnetctl("apply", "--dry-run", "--force", "-", input=text)
        else:
            fault = mark == "run during a trial" and shell(TRIAL)
            faults += filter(None, [fault])
            for line in re.findall(r"\S.*", text):
                if fault := fault_of(line, mark, shell, code):
                    faults.append(f"{line}\n    {fault}")
    assert not faults, "\n".join([document, *faults])
