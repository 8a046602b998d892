"""Entries of three servers through imlog -o journal and imjournal of rsyslog, with the shipped file."""
import json
import os
import pathlib
import subprocess

from fleet_checks.common import EXAMPLES, IMLOG, TOOLS, ZONES, tool

# A journal daemon and rsyslog in a mount namespace, over folders that end with it. The names of logs are the arguments.
# rsyslog looks for a journal only when it starts.
INNER = r"""
set -e
mount -t tmpfs none /run
mount -t tmpfs none /var/log
mkdir -p /run/systemd/journal /run/log/journal "$WORK/rsyslog"
wait_for() { for _ in $(seq 300); do eval "$1" && return; sleep 0.1; done; }
"$JOURNALD" & journald=$!
trap 'kill $journald $rsyslogd; wait' EXIT
wait_for '[ -S /run/systemd/journal/socket ] && ls /run/log/journal/*/system.journal >/dev/null 2>&1'
"$RSYSLOGD" -n -f "$WORK/rsyslog.conf" -i "$WORK/rsyslog.pid" & rsyslogd=$!
wait_for '[ -e "$WORK/rsyslog.pid" ]'
for file; do "$IMLOG" -o journal "$file"; done
touch /var/log/iml.json /var/log/iml-critical.json
wait_for '[ "$(wc -l </var/log/iml.json)" -ge "$WANTED" ]'
cat /var/log/iml.json
echo critical
cat /var/log/iml-critical.json
"""
KEYS = ("severity", "number", "class", "count")


def ask(fleet, table, work):
    hosts = [host for host in fleet.hosts("whole", zone=ZONES[0])
             if any(entry["severity"] == "critical" for entry in fleet.truth[host]["entries"])][:3]
    want = [tuple(entry[key] for key in KEYS) for host in hosts for entry in fleet.truth[host]["entries"]]
    modules = [*TOOLS.glob("root/usr/lib/*/rsyslog"), *pathlib.Path("/usr/lib").glob("*/rsyslog")]
    (work / "rsyslog.conf").write_text(
        f'global(workDirectory="{work}/rsyslog")\n' + (EXAMPLES / "rsyslog-iml.conf").read_text())
    environment = {
        **os.environ, "WORK": str(work), "IMLOG": str(IMLOG), "WANTED": str(len(want)), "TZ": ZONES[0],
        "JOURNALD": tool("systemd-journald", "systemd"), "RSYSLOGD": tool("rsyslogd", "rsyslog"),
        "RSYSLOG_MODDIR": str(modules[0]),
        "LD_LIBRARY_PATH": os.pathsep.join(map(str, TOOLS.glob("root/usr/lib/*-linux-gnu")))}
    table.start()
    logs = [str(fleet.path(host)) for host in hosts]
    run = subprocess.run(["unshare", "--mount", "bash", "-c", INNER, "inner", *logs], env=environment,
                         capture_output=True, check=False, timeout=120)
    every, _, critical = run.stdout.decode().partition("critical\n")
    found = rows_of(every)
    table.row("imlog -o journal, imjournal of rsyslog: entries of three", found, sorted(want), len(run.stdout))
    table.row("the critical ones of them", rows_of(critical), sorted(row for row in want if row[0] == "critical"))
    if found != sorted(want):
        print(run.stderr.decode()[-2000:])


def rows_of(lines):
    return sorted(tuple(row[key] for key in KEYS) for row in map(json.loads, lines.splitlines()))
