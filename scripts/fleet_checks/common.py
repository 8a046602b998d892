"""Shared by the checks of a fleet: the built programs, the fleet with its truth, the table of answers, servers."""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import time

import jsonschema

from fleet_checks.costs import Costs

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
EXAMPLES = ROOT / "examples/fleet"
UNPACKED = ROOT / "build/tools/root"
BUILD = ROOT / "build/fleet"
IMLOG, ORVLOG = BUILD / "imlog/imlog", BUILD / "orvlog/orvlog"
ZONES = ("Europe/Berlin", "America/New_York", "Asia/Kolkata")
PATH = f"{os.environ['PATH']}:/usr/sbin:/usr/lib/systemd:/usr/lib/nagios/plugins"


class Missing(Exception):
    """A program that is not installed, with its package."""


def tool(name, package):
    path = shutil.which(name, path=PATH)
    if path is None:
        raise Missing(f"{name} (package {package})")
    return path


def wait_for(condition, seconds, what):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"{what}: not within {seconds} seconds")
        time.sleep(0.2)


def is_listening(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@contextlib.contextmanager
def service(command, log, **more):
    """A server that runs in the background until the end of the block."""
    with open(log, "wb") as output, subprocess.Popen(command, stdout=output, stderr=output, stdin=subprocess.DEVNULL,
                                                     start_new_session=True, **more) as process:
        try:
            yield process
        finally:
            if process.poll() is not None:
                print(f"{command[0]} has ended by itself with status {process.returncode}:")
                print(pathlib.Path(log).read_text(errors="replace")[-2000:])
            process.terminate()  # it ends its own processes
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(timeout=60)
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)


def run_apart(script, arguments, environment):
    """Runs a script of bash with mounts and processes of its own, which all end with it and with this program."""
    apart = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if subprocess.run([*apart, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        raise Missing("namespaces of mounts and processes, as in some containers (package util-linux)")
    return subprocess.run([*apart, "bash", "-c", script, "bash", *arguments], env={**os.environ, **environment},
                          capture_output=True, text=True, check=False, timeout=120)


# A journal daemon over directories of its own, for the script that follows.
JOURNAL = r"""
set -e
mount -t tmpfs none /run
mount -t tmpfs none /var/log
mkdir -p /run/systemd/journal /run/log/journal
wait_for() { for _ in $(seq 300); do eval "$1" && return; sleep 0.1; done; }
forge_entries() { # what is no entry: that of another user, and a message of imlog
  printf '%s\n' SYSLOG_IDENTIFIER=imlog IML_NUMBER=1 IML_SEVERITY=critical MESSAGE=forged |
    setpriv --reuid=65534 --clear-groups logger --journald
  printf '%s\n' SYSLOG_IDENTIFIER=imlog MESSAGE=message | logger --journald
}
"$JOURNALD" &
wait_for '[ -S /run/systemd/journal/socket ] && ls /run/log/journal/*/system.journal >/dev/null 2>&1'
"""


def run_with_journal(script, arguments, environment):
    return run_apart(JOURNAL + script, arguments,
                     {"IMLOG": str(IMLOG), "JOURNALD": tool("systemd-journald", "systemd"), **environment})


# Lines of JSON that a collector has made of the journal's fields.
KEYS = ("severity", "number", "class", "code", "count")


def truth_of(fleet, hosts):
    """What is expected of rows_of."""
    entries = [entry for host in hosts for entry in fleet.truth[host]["entries"]]
    return sorted((*(entry[key] for key in KEYS), str(entry["last"])) for entry in entries)


def rows_of(lines):
    return sorted((*(row[key] for key in KEYS), str(row["last_unix"])) for row in map(json.loads, lines.splitlines()))


def judge(lines):
    """What the schema says against each line."""
    validator = jsonschema.Draft7Validator(json.loads((EXAMPLES / "iml-1.schema.json").read_text()))
    return [error.message for line in lines.splitlines() for error in validator.iter_errors(json.loads(line))]


class Table:
    """The answers, as they come."""

    def __init__(self):
        self.right = self.asked = self.skipped = 0
        self.costs = Costs()
        self.start()
        print(f"{'question':<64} {'entries':>8} {'seconds':>8} {'bytes':>11}")

    def start(self):
        """Starts the clock of the next question; otherwise it runs from the last answer."""
        self.started = time.monotonic()

    def row(self, question, got, want, size=0):
        seconds = time.monotonic() - self.started
        is_right = got == want
        self.asked += 1
        self.right += is_right
        entries = len(want) if hasattr(want, "__len__") and not isinstance(want, str) else 1
        print(f"{question:<64} {entries:>8} {seconds:>8.2f} {size:>11}{'' if is_right else '   WRONG'}", flush=True)
        if not is_right:
            if isinstance(want, set):
                got, want = got - want, want - got
            print(f"  expected {str(want)[:600]}\n  got      {str(got)[:600]}")
        self.start()

    def skip(self, question, reason):
        self.skipped += 1
        print(f"{question:<64} skipped: no {reason}", flush=True)


class Fleet:
    """The saved logs, and the truth about them."""

    def __init__(self, directory):
        self.directory = directory
        self.truth = json.loads((directory / "truth.json").read_text())["servers"]

    def path(self, host):
        return self.directory / self.truth[host]["zone"].replace("/", "-") / f"{host}.iml"

    def hosts(self, *states, zone=None):
        return sorted(host for host, server in self.truth.items()
                      if server["state"] in states and zone in (None, server["zone"]))

    def files(self, *states, zone=None):
        return [str(self.path(host)) for host in self.hosts(*states, zone=zone)]

    def entries(self, zone=None):
        """(host, entry) of what can be read, in the order of the files and of the logs."""
        hosts = self.hosts("whole", "cut", zone=zone)
        return [(host, entry) for host in hosts for entry in self.truth[host]["entries"]]

    def merged(self, zone, is_wanted):
        """The same in the order of several logs: of the last updates, or of the entry before where there is none."""
        rows = []
        for host in self.hosts("whole", "cut", zone=zone):
            updated = float("-inf")
            for entry in self.truth[host]["entries"]:
                updated = updated if entry["last"] is None else entry["last"]
                if is_wanted(entry):
                    rows.append((updated, host, entry))
        return [(host, entry) for _, host, entry in sorted(rows, key=lambda row: row[0])]


def ids(rows):
    return [(host, entry["number"]) for host, entry in rows]


def imlog(*words, zone, statuses=(0,)):
    run = subprocess.run([IMLOG, *words], env={**os.environ, "TZ": zone}, capture_output=True, check=False, timeout=120)
    if run.returncode not in statuses:
        sys.exit(f"imlog {words[:6]} ended with status {run.returncode}: {run.stderr.decode()[-2000:]}")
    return run.stdout
