"""Shared by the checks of the packages: bare systems, commands in them, their files, failures."""
import os
import pathlib
import re
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SUITES = ("bullseye", "bookworm", "trixie")
LIBRARIES = "/usr/lib/x86_64-linux-gnu/orvlog-simulator"  # of the .deb
SERVER = "/usr/share/orvlog-simulator/server"


class Failure(Exception):
    """A check that failed, in words."""


def expect(condition, failure):
    if not condition:
        raise Failure(failure)


def run(*command, statuses=(0,), **more):
    """Runs a command and returns what it printed to standard output. Another status than these is a failure."""
    result = subprocess.run(command, capture_output=True, text=True, check=False, **more)
    if statuses and result.returncode not in statuses:
        raise Failure(f"{' '.join(map(str, command))} ended with status {result.returncode}:\n"
                      f"{result.stdout[-4000:]}{result.stderr[-4000:]}")
    return result.stdout


def command_in(root, *command, **variables):
    """The words that run a command in a bare system, in a bare environment."""
    variables = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", **variables}
    return ["unshare", "--mount", f"--root={root}", "--mount-proc", "/usr/bin/env", "-i",
            *(f"{name}={value}" for name, value in variables.items()), *command]


def in_root(root, *command, statuses=(0,), **variables):
    return run(*command_in(root, *command, **variables), statuses=statuses)


def report_in(root, *command, **variables):
    """The output of a command in a bare system, errors included, and its status."""
    result = subprocess.run(command_in(root, *command, **variables), stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, check=False)
    return result.stdout, result.returncode


def debian(suite, root):
    """Makes root a bare Debian, and returns it."""
    run(ROOT / "scripts/debian-root", suite, root)
    return root


def install(root, *packages):
    """Installs packages of the distribution."""
    in_root(root, "apt-get", "-qq", "update")
    in_root(root, "apt-get", "-qq", "install", "-y", "--no-install-recommends", *packages,
            DEBIAN_FRONTEND="noninteractive")


def install_debs(root, debs):
    """Installs packages of ours."""
    directory = root / "packages"
    directory.mkdir()
    for deb in debs:
        shutil.copy(deb, directory)
    in_root(root, "dpkg", "-i", *(f"/packages/{deb.name}" for deb in debs))
    shutil.rmtree(directory)


# Records that apt, dpkg and the loader keep, which every installation changes.
RECORDS = re.compile(r"var/(log|lib/systemd|(lib|cache)/(apt|dpkg|ldconfig))$")


def files(root):
    """The files of a system but those records."""
    found = set()
    for directory, directories, names in os.walk(root):
        inside = pathlib.Path(directory).relative_to(root)
        directories[:] = [name for name in directories if not RECORDS.match(str(inside / name))]
        found.update(str(inside / name) for name in (*directories, *names))
    return found


class Packages:
    """The packages of scripts/package --release."""

    def __init__(self, directory):
        self.directory = directory
        self.debs, self.rpms = sorted(directory.glob("*.deb")), sorted(directory.glob("*.rpm"))
        self.version = run("dpkg-parsechangelog", "-l", ROOT / "packaging/debian/changelog", "-S", "Version").strip()

    def rpm(self, name):
        return next(self.directory.glob(f"{name}-[0-9]*.rpm"))

    def deb(self, name):
        return next(self.directory.glob(f"{name}_*.deb"))

    def unpack_rpms(self, root):
        root.mkdir(exist_ok=True)
        for rpm in self.rpms:
            archive = subprocess.run(["rpm2cpio", rpm], stdout=subprocess.PIPE, check=True).stdout
            subprocess.run(["cpio", "-idmu", "--quiet"], input=archive, cwd=root, check=True)
