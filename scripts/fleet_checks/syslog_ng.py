"""Entries of three servers through imlog -o journal and syslog-ng with Debian's configuration and the shipped file."""
import shutil

from fleet_checks.common import EXAMPLES, ZONES, judge, rows_of, run_with_journal, tool, truth_of

# As in the check of rsyslog, syslog-ng has to read on where it stopped, and takes no entry from another user.
INNER = r"""
mkdir /run/systemd/system # without which Debian's configuration does not read the journal
start() {
  "$SYSLOG_NG" -F -R "$WORK/persist" -p "$WORK/pid" --control="$WORK/control" & pid=$!
  wait_for '[ -S "$WORK/control" ]'
}
start
for file; do
  "$IMLOG" -o journal "$file"
  sleep 1
  kill $pid
  wait $pid || true
  start
done
forge_entries
touch /var/log/iml.json
wait_for '[ "$(wc -l </var/log/iml.json)" -ge "$WANTED" ]'
sleep 2 # in which nothing more may come
cat /var/log/iml.json
"""


def ask(fleet, table, work):
    command, directory = tool("syslog-ng", "syslog-ng-core"), work / "syslog-ng"
    directory.mkdir()
    shutil.copy(EXAMPLES / "syslog-ng-iml.conf", "/etc/syslog-ng/conf.d/iml.conf")
    hosts = fleet.hosts("whole", zone=ZONES[0])[:3]
    want = truth_of(fleet, hosts)
    table.start()
    run = run_with_journal(INNER, [str(fleet.path(host)) for host in hosts], {
        "WORK": str(directory), "WANTED": str(len(want)), "TZ": ZONES[0], "SYSLOG_NG": command})
    found = rows_of(run.stdout)
    table.row("imlog -o journal, syslog-ng: entries of three", found, want, len(run.stdout))
    table.row("these lines by iml-1.schema.json", judge(run.stdout), [])
    table.costs.add("syslog-ng", len(hosts), len(want), len(run.stdout), ", to a file")
    if found != want:
        print(run.stderr[-2000:])
