"""The units of imlog in a Debian whose first process is systemd."""
import json
import os
import shutil
import struct

from machine_checks.common import BUILD, DEBIAN, HERE, run, write_initrd

SERVICES = ("imlog-ship", "prometheus-node-exporter-iml")
MANY = 30000
NOT_NEEDED = ("var/cache/apt", "var/lib/apt/lists", *(f"usr/share/{name}" for name in ("doc", "i18n", "locale", "man")))


def check(table, work):
    root = work / "debian"
    make_root(root)
    write_initrd(root, work / "initrd-debian")
    lines = run(root / "usr/bin/imlog", "-o", "json", root / "server/cevt").splitlines()
    table.boot("The units of imlog", work / "initrd-debian", report([json.loads(line) for line in lines]),
               "systemd.unit=check.service")


def make_root(root):
    run("cp", "-a", "--reflink=auto", DEBIAN, root)
    for directory in NOT_NEEDED:
        shutil.rmtree(root / directory, ignore_errors=True)
    for component in "imlog", "orvlog-simulator":
        run("cmake", "--install", BUILD, "--prefix", "/usr", "--component", component,
            env={**os.environ, "DESTDIR": str(root)})
    shutil.copytree(next((root / "usr/lib").rglob("orvlog-simulator")), root / "simulator")
    shutil.copytree(BUILD / "samples/server", root / "server")
    (root / "var/lib/prometheus/node-exporter").mkdir(parents=True)
    record = (root / "server/cevt").read_bytes()[:240]
    (root / "server/many").write_bytes(
        b"".join(record[:2] + struct.pack("<I", number) + record[6:] for number in range(MANY)))

    system = root / "etc/systemd/system"
    place("units.sh", root / "check")
    place("check.service", system / "check.service")
    place("journald.conf", root / "etc/systemd/journald.conf.d/check.conf")
    for service in SERVICES:
        for name in "simulator.conf", "bounds.conf":
            place(name, system / f"{service}.service.d/{name}")
    place("no-unix-sockets.conf", system / f"{SERVICES[1]}.service.d/no-unix-sockets.conf")
    (root / "init").symlink_to("lib/systemd/systemd")


def place(name, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(HERE / name, path)


def report(entries):
    """The lines that units.sh has to print."""
    critical = sum(entry["severity"] == "critical" for entry in entries)
    of_class_11 = sum(entry["class"] == 11 for entry in entries)
    return f"""\
imlog-ship.service: success
in the journal: {len(entries)}
imlog-ship.service: success
in the journal: {len(entries)}
imlog-ship.service: success
in the journal: {len(entries) + 1}
2024-12-05T22:40 14 x6 System Fans Not Redundant (Location Chassis)
Subject: Entry 14 of the Integrated Management Log
Severity: caution. Class: Machine Environment. Occurrences: 6.
closes 14"
critical in the journal: {critical}, of class 11: {of_class_11}
prometheus-node-exporter-iml.service: success
iml.prom
iml_read_success 1
The directory belongs to the exporter's user:
prometheus-node-exporter-iml.service: success
iml.prom
iml_read_success 1
The directory is full:
prometheus-node-exporter-iml.service: exit-code
iml.prom
other
iml_read_success 0
The directory is a link to /etc:
prometheus-node-exporter-iml.service: exit-code
A first run, without and with the journal:
imlog-ship.service: exit-code
cursor.lock
from a shell: not all
imlog-ship.service: success
in the journal: {MANY}
The timers:
imlog-ship.timer: triggered
imlog-ship.timer: will be triggered again
prometheus-node-exporter-iml.timer: triggered
prometheus-node-exporter-iml.timer: will be triggered again
""".splitlines()
