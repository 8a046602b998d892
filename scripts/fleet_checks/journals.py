"""One sorted export per zone into a journal by systemd-journal-remote, and the same by HTTP."""
import contextlib
import http.client
import json
import subprocess
import sys
import time

from fleet_checks.common import ZONES, free_port, ids, imlog, is_listening, service, tool, wait_for


def ask(fleet, table, work):
    remote = tool("systemd-journal-remote", "systemd-journal-remote")
    every = sorted(ids(fleet.entries()))
    size, written, sent = 0, [], []
    for zone in ZONES:
        entries = export(fleet, zone)
        size += len(entries)
        written.append(work / f"{zone.replace('/', '-')}.journal")
        subprocess.run([remote, "-o", written[-1], "-"], input=entries, capture_output=True, check=True, timeout=120)
        subprocess.run([tool("journalctl", "systemd"), f"--file={written[-1]}", "--verify"], capture_output=True,
                       check=True, timeout=120)
    table.row("imlog -o export | systemd-journal-remote: all entries", query(written), every, size)
    for zone in ZONES:
        sent.append(work / f"sent-{zone.replace('/', '-')}.journal")
        upload(remote, export(fleet, zone), sent[-1], work)
    table.row("the same, uploaded by HTTP", query(sent), every, size)

    since = int(time.time()) - 86400
    for place, journals in (("", written), (" (uploaded)", sent)):
        for words, is_wanted in (
                (["-p", "crit", f"--since=@{since}"],
                 lambda entry: entry["severity"] == "critical" and journal_time(entry) >= since),
                (["IML_CLASS=11"], lambda entry: entry["class"] == 11),
                (["IML_SEVERITY=caution", f"--until=@{since}"],
                 lambda entry: entry["severity"] == "caution" and journal_time(entry) <= since)):
            want = sorted(ids((host, entry) for host, entry in fleet.entries() if is_wanted(entry)))
            table.row(f"journalctl {' '.join(words)}{place}", query(journals, *words), want)


def export(fleet, zone):
    return imlog("-o", "export", *fleet.files("whole", "cut", zone=zone), zone=zone, statuses=(0, 2))


def upload(remote, entries, path, work):
    port = free_port()
    with service([remote, f"--listen-http=127.0.0.1:{port}", "--split-mode=none", "-o", path], work / "remote.log"):
        wait_for(lambda: is_listening(port), 20, "systemd-journal-remote")
        with contextlib.closing(http.client.HTTPConnection("127.0.0.1", port, timeout=60)) as connection:
            connection.request("POST", "/upload", entries, {"Content-Type": "application/vnd.fdo.journal"})
            if (status := connection.getresponse().status) not in (200, 202):
                sys.exit(f"systemd-journal-remote answers {status}")


def query(journals, *words):
    run = subprocess.run([tool("journalctl", "systemd"), "-q", "-o", "json", *(f"--file={path}" for path in journals),
                          *words], capture_output=True, check=True, timeout=120)
    entries = (json.loads(line) for line in run.stdout.splitlines())
    return sorted((entry["_HOSTNAME"], int(entry["IML_NUMBER"])) for entry in entries)


def journal_time(entry):
    """The time that the journal has for an entry."""
    return next((instant for instant in (entry["last"], entry["first"]) if instant is not None and instant > 0), 1e-6)
