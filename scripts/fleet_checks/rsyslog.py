"""Entries of three servers through imlog -o journal and imjournal of rsyslog, with the shipped file."""
import datetime
import json

from fleet_checks.common import EXAMPLES, IMLOG, ZONES, run_apart, tool

# A journal daemon and rsyslog over directories that end with them. The names of logs are the arguments. rsyslog looks for a
# journal only when it starts. After each log it is started again, and has to read on where it stopped. What another
# user writes under the name of imlog is no entry, nor is a message of imlog.
INNER = r"""
set -e
mount -t tmpfs none /run
mount -t tmpfs none /var/log
mkdir -p /run/systemd/journal /run/log/journal "$WORK/rsyslog"
wait_for() { for _ in $(seq 300); do eval "$1" && return; sleep 0.1; done; }
start_rsyslog() {
  "$RSYSLOGD" -n -f "$WORK/rsyslog.conf" -i "$WORK/rsyslog.pid" & rsyslogd=$!
  wait_for '[ -e "$WORK/rsyslog.pid" ]'
}
"$JOURNALD" &
wait_for '[ -S /run/systemd/journal/socket ] && ls /run/log/journal/*/system.journal >/dev/null 2>&1'
start_rsyslog
for file; do
  "$IMLOG" -o journal "$file"
  kill $rsyslogd
  wait $rsyslogd || true
  start_rsyslog
done
printf '%s\n' SYSLOG_IDENTIFIER=imlog IML_NUMBER=1 IML_SEVERITY=critical MESSAGE=forged |
  setpriv --reuid=65534 --clear-groups logger --journald
printf '%s\n' SYSLOG_IDENTIFIER=imlog MESSAGE=message | logger --journald
touch /var/log/iml.json /var/log/iml-critical.json
wait_for '[ "$(wc -l </var/log/iml.json)" -ge "$WANTED" ]'
sleep 2 # in which nothing more may come
cat /var/log/iml.json
echo critical
cat /var/log/iml-critical.json
"""
KEYS = ("severity", "number", "class", "code", "count")


def ask(fleet, table, work):
    hosts = [host for host in fleet.hosts("whole", zone=ZONES[0])
             if any(entry["severity"] == "critical" for entry in fleet.truth[host]["entries"])][:3]
    want = [(*(entry[key] for key in KEYS), str(entry["last"]))
            for host in hosts for entry in fleet.truth[host]["entries"]]
    (work / "rsyslog.conf").write_text(
        f'global(workDirectory="{work}/rsyslog")\n' + (EXAMPLES / "rsyslog-iml.conf").read_text())
    environment = {
        "WORK": str(work), "IMLOG": str(IMLOG), "WANTED": str(len(want)), "TZ": ZONES[0],
        "JOURNALD": tool("systemd-journald", "systemd"), "RSYSLOGD": tool("rsyslogd", "rsyslog")}
    table.start()
    run = run_apart(INNER, [str(fleet.path(host)) for host in hosts], environment)
    every, _, critical = run.stdout.partition("critical\n")
    found = rows_of(every)
    table.row("imlog -o journal, imjournal of rsyslog: entries of three", found, sorted(want), len(run.stdout))
    table.row("the critical ones of them", rows_of(critical), sorted(row for row in want if row[0] == "critical"))
    if found != sorted(want):
        print(run.stderr[-2000:])


def rows_of(lines):
    return sorted((*(row[key] for key in KEYS), seconds(row["last"])) for row in map(json.loads, lines.splitlines()))


def seconds(last):
    return str(last and int(datetime.datetime.fromisoformat(last).timestamp()))
