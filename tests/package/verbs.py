# SPDX-License-Identifier: MIT
"""Usage: verbs.py VELNETCTL STAGE MAKER SOURCES. Compares verbs and options of --help, manual page and completion."""
import pathlib
import re
import subprocess
import sys

velnetctl, stage, maker, sources = (pathlib.Path(path).absolute() for path in sys.argv[1:])
manual = stage / "share/man/man1/velnetctl.1"
completion = stage / "share/bash-completion/completions/velnetctl"
COMPLETE = """source "$1"; COMP_WORDS=("${@:2}"); COMP_CWORD=$(($# - 2)); offer=$(complete -p velnetctl)
              offer=${offer#* -F }; "${offer% velnetctl}"; printf '%s\\n' "${COMPREPLY[@]}" """


def output(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def offered(*words, **options):
    """The completions that bash offers for the last word after velnetctl."""
    shown = output("bash", "--norc", "-c", COMPLETE, "bash", completion, "velnetctl", *words, **options)
    return list(filter(None, shown.split("\n")))


for template, installed in ("velnetctl.1.in", manual), ("velnetctl.bash.in", completion):
    assert output(maker, sources / "documents" / template, "/dev/stdout") == installed.read_text(), (
        f"{installed} is behind; run: cmake --build --preset release --target velnetctl_documents")

help_texts = {"": output(velnetctl, "--help")}
for verb in re.findall(r"^  ([a-z-]+)  ", help_texts[""].partition("Commands:")[2].partition("Examples:")[0], re.M):
    help_texts[verb] = output(velnetctl, verb, "--help")
page = re.sub(r"\\f[BIR]", "", manual.read_text()).replace(r"\-", "-").replace(r"\(aq", "'")
described = {verb: [".TP\n--help\n"] for verb in help_texts if verb}
described[""] = [page.partition(".SH OPTIONS")[2].partition(".S")[0]]
for verbs, text in re.findall(r"^\.SS For (.*)\n((?:(?!\.S).*\n)*)", page, re.M):
    for verb in verbs.split(", "):
        described[verb].append(text)
for verb, text in help_texts.items():
    options = set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.M))
    assert set(re.findall(r"^\.TP\n(?:-\w, )?(--[a-z-]+)", "".join(described[verb]), re.M)) == options, verb
    assert sorted(offered(*verb.split(), "--")) == sorted(options | {"--verbose"}), verb
    if verb:
        summary = re.search(rf"^\.SS {verb}\b.*\n.*\n((?:\.br\nOptions: .*)?)", page, re.M)[1]
        assert {"--help", *re.findall(r"--[a-z-]+", summary)} == options, verb
    for example in text.partition("Examples:\n")[2].partition("\n\n")[0].splitlines():
        assert "    " + re.split(" {3,}", example.strip())[0] in page.splitlines(), example

for words, candidates in [(("",), list(help_texts)[1:]), (("-v", "set-d"), ["set-dns", "set-domain"]),
                          (("set-ip", ""), ["local", "remote"]), (("set-ip", "remote", ""), ["dhcp"]),
                          (("set-ip", "--wait", "20", "lo"), ["local"]), (("set-ip", "--try", "--wai"), ["--wait"]),
                          (("set-ip", "--gateway", "=", "n"), ["none"]),
                          (("set-dns", ""), []), (("set-dns", "0", ""), ["none"]), (("nonesuch", ""), []),
                          (("status", "local", ""), ["remote"]), (("monitor", "--json", "--j"), []),
                          (("save", "velnetctl.b"), ["velnetctl.bash-completion"])]:
    assert offered(*words, cwd=sources) == candidates, words
