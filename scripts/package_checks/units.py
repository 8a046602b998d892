"""The units of imlog: what they may do, and their command lines, with the readers of what they write.

The command lines run on the simulated server. A socket of this program stands in for the journal's.
"""
import json
import pathlib
import re
import shutil
import socket
import subprocess
import threading

from package_checks.common import (LIBRARIES, ROOT, SERVER, debian, expect, in_root, install_debs, report_in, run)

SHIP, COLLECT = "imlog-ship", "prometheus-node-exporter-iml"
METRICS = "var/lib/prometheus/node-exporter"
TARGETS = pathlib.Path("/usr/lib/systemd/system")
LIVE = {"LD_LIBRARY_PATH": LIBRARIES, "ORVLOG_SIMULATOR": "/server"}
REMOTE = "/usr/lib/systemd/systemd-journal-remote"
COUNT_OF_14 = 14 * 240 + 24  # where the log has the low byte of that entry's count


def check(packages, work, suite):
    root = debian(suite, work / "units")
    (root / METRICS).mkdir(parents=True)  # made by node_exporter
    install_debs(root, packages.debs)
    expect((root / "var/lib/imlog").stat().st_mode & 0o777 == 0o700, "/var/lib/imlog is not for root only")
    shutil.copytree(root / SERVER[1:], root / "server")
    check_bounds(root)
    check_shipping(root)
    check_export(root, work)
    check_metrics(root)


def check_bounds(root):
    units = root / "lib/systemd/system"
    targets = [target.name for target in TARGETS.glob("*.target")]  # which the units depend on, and a bare system lacks
    for target in targets:
        shutil.copy(TARGETS / target, units / target)
    for unit in SHIP, COLLECT:
        verify = ["systemd-analyze", "verify", f"--root={root}", "--man=no", f"{unit}.service", f"{unit}.timer"]
        result = subprocess.run(verify, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        expect(result.returncode == 0 and not result.stdout, f"systemd-analyze verify {unit}: {result.stdout}")
        exposure = run("systemd-analyze", "security", f"--root={root}", "--offline=yes", "--threshold=20", "--no-pager",
                       f"{unit}.service")
        print(exposure.splitlines()[-1])
    for target in targets:
        (units / target).unlink()


def command_of(root, unit):
    """The command line of a service as a shell takes it, and its environment."""
    text = (root / f"lib/systemd/system/{unit}.service").read_text()
    variables = dict(re.findall(r"^Environment=(\w+)=(.*)$", text, re.M))
    return re.search("^ExecStart=(.*)$", text, re.M)[1].replace("%S", "/var/lib"), {**LIVE, **variables}


class Journal:
    """Receives at the journal's socket in a system, entry by entry."""

    def __init__(self, root):
        self.entries, self.path = [], root / "run/systemd/journal/socket"
        self.path.parent.mkdir(parents=True, exist_ok=True)
        self.server = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.server.bind(str(self.path))
        self.server.settimeout(60)
        self.receiver = threading.Thread(target=self.receive)

    def receive(self):
        while entry := self.server.recv(1 << 20):
            self.entries.append(dict(line.split("=", 1) for line in entry.decode().splitlines()))

    def __enter__(self):
        self.receiver.start()
        return self.entries

    def __exit__(self, *_):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
            sender.sendto(b"", str(self.path))
        self.receiver.join()
        self.server.close()
        shutil.rmtree(self.path.parent)


def check_shipping(root):
    command, variables = command_of(root, SHIP)
    with Journal(root) as entries:
        in_root(root, "sh", "-c", command, **variables)
        in_root(root, "sh", "-c", command, **variables)  # which has nothing to ship
        log = bytearray((root / "server/cevt").read_bytes())
        log[COUNT_OF_14] = 6
        (root / "server/cevt").write_bytes(log)
        in_root(root, "sh", "-c", command, **variables)
    new, repeated = ([entry for entry in entries if entry.get("IML_CHANGE") == change]
                     for change in ("new", "repeated"))
    print(f"{command}: {len(new)} new, {len(repeated)} repeated")
    expect(len(entries) == len(new) + len(repeated), "an entry is neither new nor repeated")
    expect(len(new) == len(in_root(root, "imlog", **LIVE).splitlines()), "not every entry is new once")
    expect([(entry["IML_NUMBER"], entry["IML_COUNT"]) for entry in repeated] == [("14", "6")], "the repeated entry")


def check_export(root, work):
    """A dump of the server's log, read on this machine."""
    dump, journal = work / "dump", work / "iml.journal"
    with open(dump, "wb") as output:
        command = ["chroot", root, "env", *(f"{name}={value}" for name, value in LIVE.items()), "imlog", "-o", "raw"]
        subprocess.run(command, stdout=output, check=True)
    export = run(root / "usr/bin/imlog", "-o", "export", "--host=server", dump)
    run(REMOTE, "-o", journal, "-", input=export)
    run("journalctl", f"--file={journal}", "--verify")
    want = [json.loads(line) for line in in_root(root, "imlog", "-o", "json", **LIVE).splitlines()]
    for words, entries in (((), want), (("-p", "crit"), critical(want))):
        rows = run("journalctl", "-q", f"--file={journal}", "-o", "json", *words).splitlines()
        found = sorted(int(json.loads(row)["IML_NUMBER"]) for row in rows)
        expect(found == sorted(entry["number"] for entry in entries), f"the journal has other entries {words}")
    print(run("journalctl", "-q", f"--file={journal}", "-p", "crit", "-n", "1", "-o", "short-iso"), end="")


def critical(entries):
    return [entry for entry in entries if entry["severity"] == "critical"]


def check_metrics(root):
    command, variables = command_of(root, COLLECT)
    page = root / METRICS / "iml.prom"
    in_root(root, "sh", "-c", command, **variables)
    run(promtool(), "check", "metrics", input=page.read_text())
    want = len(critical([json.loads(line) for line in in_root(root, "imlog", "-o", "json", **LIVE).splitlines()]))
    line = f'iml_entries{{severity="critical"}} {want}'
    print(line)
    expect(line in page.read_text().splitlines(), "the metrics")
    (root / "server/cevt").unlink()
    _, status = report_in(root, "sh", "-c", command, **variables)
    samples = [line for line in page.read_text().splitlines() if not line.startswith(("#", "iml_build_info"))]
    expect((status, samples) == (2, ["iml_read_success 0"]),
           f"a log that cannot be read is not reported (status {status})")
    expect([path.name for path in page.parent.iterdir()] == ["iml.prom"], "the collector leaves files")


def promtool():
    return shutil.which("promtool") or ROOT / "build/tools/promtool"
