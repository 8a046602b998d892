"""Exports in journals by systemd-journal-remote: all logs as one, one per zone, and these sent by HTTP."""
import json
import subprocess
import time

from fleet_checks.common import ZONES, free_port, ids, imlog, is_listening, service, tool, wait_for


def ask(fleet, table, work):
    remote = tool("systemd-journal-remote", "systemd-journal-remote")
    every, hosts = sorted(ids(fleet.entries())), fleet.hosts("whole", "cut")
    one, zones, sent = (work / name for name in ("one-journal", "zone-journals", "sent-journals"))
    for directory in one, zones, sent:
        directory.mkdir()

    # Read in one zone, times are wrong by hours. But there are so many entries that the journal has several files.
    size = write(remote, fleet.files("whole", "cut"), "UTC", one / "fleet.journal")
    table.row("imlog -o export | systemd-journal-remote: all at once", query(one), every, size)
    table.costs.add("systemd-journal-remote", len(hosts), len(every), stored(one), ", from export, all at once")
    size = sum(write(remote, fleet.files("whole", "cut", zone=zone), zone, zones / f"{zone.replace('/', '-')}.journal")
               for zone in ZONES)
    table.row("imlog -o export | systemd-journal-remote: by zone", query(zones), every, size)
    table.costs.add("systemd-journal-remote", len(hosts), len(every), stored(zones), ", from export, by zone")
    upload(remote, zones, sent / "sent.journal", work)
    table.row("these, sent by systemd-journal-upload", query(sent), every, size)
    table.costs.add("systemd-journal-remote", len(hosts), len(every), stored(sent), ", from journal-upload")

    since = int(time.time()) - 86400
    for place, directory in (("", zones), (" (sent)", sent)):
        for words, is_wanted in (
                (["-p", "crit", f"--since=@{since}"],
                 lambda entry: entry["severity"] == "critical" and journal_time(entry) >= since),
                (["IML_CLASS=11"], lambda entry: entry["class"] == 11),
                (["IML_SEVERITY=caution", f"--until=@{since}"],
                 lambda entry: entry["severity"] == "caution" and journal_time(entry) <= since)):
            want = sorted(ids((host, entry) for host, entry in fleet.entries() if is_wanted(entry)))
            table.row(f"journalctl {' '.join(words)}{place}", query(directory, *words), want)


def stored(directory):
    return sum(file.stat().st_size for file in directory.iterdir())


def write(remote, logs, zone, path):
    """Makes a journal of logs, and returns the size of what was exported."""
    entries = imlog("-o", "export", *logs, zone=zone, statuses=(0, 2))
    subprocess.run([remote, "-o", path, "-"], input=entries, capture_output=True, check=True, timeout=240)
    for file in path.parent.glob("*.journal"):
        subprocess.run([tool("journalctl", "systemd"), f"--file={file}", "--verify"], capture_output=True, check=True,
                       timeout=240)
    return len(entries)


def upload(remote, source, target, work):
    """Sends the journals of a directory by HTTP into another one, as a server sends its own."""
    port = free_port()
    sender = tool("systemd-journal-upload", "systemd-journal-remote")
    with service([remote, f"--listen-http=127.0.0.1:{port}", "--split-mode=none", "-o", target], work / "remote.log"):
        wait_for(lambda: is_listening(port), 20, "systemd-journal-remote")
        subprocess.run([sender, f"--url=http://127.0.0.1:{port}", f"--directory={source}", "--follow=no"],
                       capture_output=True, check=True, timeout=240)


def query(directory, *words):
    run = subprocess.run([tool("journalctl", "systemd"), "-q", "-o", "json", f"--directory={directory}", *words],
                         capture_output=True, check=True, timeout=240)
    entries = (json.loads(line) for line in run.stdout.splitlines())
    return sorted((entry["_HOSTNAME"], int(entry["IML_NUMBER"])) for entry in entries)


def journal_time(entry):
    """The time that the journal has for an entry."""
    return next((instant for instant in (entry["last"], entry["first"]) if instant is not None and instant > 0), 1e-6)
