# SPDX-License-Identifier: MIT
"""Usage: yocto.py BUILD. Installs the build by the Yocto recipe, and sorts the files into packages like BitBake."""
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BUILD, PROJECT = pathlib.Path(sys.argv[1]), pathlib.Path(__file__).absolute().parents[2]
YOCTO = PROJECT / "packaging/yocto"
RECIPE = next(YOCTO.glob("recipes-*/*/*.bb"))
NAME, VERSION = RECIPE.stem.split("_")
TEXT = RECIPE.read_text().replace("\\\n", "").replace("${PN}", NAME)
CACHE = dict(re.findall(r"^(\w+):\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE))


def sort_into_packages(stage, systemd):
    """Sorts the files into packages. systemd's own files are in the given directory."""
    paths = {"bindir": "/usr/bin", "includedir": "/usr/include", "libdir": "/usr/" + CACHE["CMAKE_INSTALL_LIBDIR"],
             "datadir": "/usr/share", "mandir": "/usr/share/man", "nonarch_libdir": "/usr/lib", "sysconfdir": "/etc",
             "systemd_unitdir": systemd, "systemd_system_unitdir": systemd + "/system"}
    install = re.search(r"^do_install:append\(\) (\{.*?^\})", TEXT, re.MULTILINE | re.DOTALL)[1]
    as_root = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]
    subprocess.run([*as_root, "sh", "-euc", f"cmake --install '{BUILD}' --prefix /usr >/dev/null\n{install}"],
                   env={**os.environ, **paths, "D": stage, "DESTDIR": stage, "S": str(PROJECT)}, check=True)

    def expanded(text):
        return re.sub(r"\$\{(\w+)\}", lambda name: paths.get(name[1], name[0]), text)

    recipe = dict(re.findall(r'^(\S+) [?+]*= "(.*)"$', expanded(TEXT), re.MULTILINE))
    left = {pathlib.PurePath("/", path.relative_to(stage)) for path in pathlib.Path(stage).rglob("*")
            if path.is_symlink() or path.is_file()}
    package_of = {}
    for package in recipe["PACKAGES"].split():
        for pattern in recipe.get("FILES:" + package, "").split():
            matching = {file for file in left if any(path.match(pattern) for path in (file, *file.parents))}
            assert matching - package_of.keys(), f"{pattern} of {package} brings nothing"
            package_of.update(dict.fromkeys(matching, package))
        left -= package_of.keys()
    assert not left, f"in no package: {left}"

    listed = dict(reversed(line.split()) for line in expanded((YOCTO / "files.txt").read_text()).splitlines()[1:])
    directories = [entry for entry in listed if entry.endswith("/")]
    found = {next((entry for entry in directories if str(file).startswith(entry)), str(file)): package
             for file, package in package_of.items()}
    assert found == listed, found.items() ^ listed.items()
    return recipe


for directory in "/usr/lib/systemd", "/lib/systemd":
    with tempfile.TemporaryDirectory() as stage:
        recipe = sort_into_packages(stage, directory)
host = "velnetworkmanager-host"
assert VERSION == CACHE["CMAKE_PROJECT_VERSION"], VERSION
assert recipe["LIC_FILES_CHKSUM"].endswith("=" + hashlib.md5((PROJECT / "LICENSE").read_bytes()).hexdigest())
options = re.findall(r"-D(\w+)=", recipe["EXTRA_OECMAKE"] + recipe["PACKAGECONFIG[watch]"])
assert options and all(option in CACHE for option in options), options
parts = PROJECT, PROJECT / "src", PROJECT / "src/networkhost", PROJECT / "src/velnetctl"
packages = re.findall(r"find_package\((\w+)", "".join((part / "CMakeLists.txt").read_text() for part in parts))
assert {name.lower().replace("_", "-") for name in packages} - {"threads", "curses"} == set(recipe["DEPENDS"].split())
programs = re.search(r"device-runtime\)\s+echo (.*)", (PROJECT / "tools/install-packages").read_text())[1]
assert set(programs.split()) - {"libstdc++6"} <= set(recipe["RDEPENDS:" + host].split())
classes = set(" ".join(re.findall("^inherit (.*)", TEXT, re.MULTILINE)).split())
assert classes >= {"cmake", "externalsrc", "pkgconfig", "systemd", "useradd"}, classes
guards = {unit.name for unit in PROJECT.glob("packaging/systemd/velnet-*") if "[Install]" in unit.read_text()}
assert (recipe["SYSTEMD_PACKAGES"], set(recipe["SYSTEMD_SERVICE:" + host].split())) == (host, guards)
assert recipe["USERADD_PACKAGES"] == host and recipe["USERADD_PARAM:" + host].endswith(" velnet")
