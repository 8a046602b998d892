"""The shipped check through check_nrpe, NRPE and sudo, over the saved logs of four servers."""
import re

from fleet_checks.common import EXAMPLES, IMLOG, ZONES, free_port, run_apart, tool

# NRPE and sudo with the shipped files installed. imlog reads a saved log.
INNER = r"""
set -e
getent passwd nagios >/dev/null || useradd --system nagios
mount -t tmpfs -o mode=755 none /etc/sudoers.d
printf '#!/bin/sh\nTZ=%s exec "%s" "$@" "$(cat %s/log)"\n' "$TZ" "$IMLOG" "$WORK" >/usr/bin/imlog
chmod 755 /usr/bin/imlog "$WORK"
install -m 440 "$EXAMPLES/sudoers-imlog" /etc/sudoers.d/imlog
printf '%s\n' server_address=127.0.0.1 "server_port=$PORT" allowed_hosts=127.0.0.1 nrpe_user=nagios nrpe_group=nagios \
  command_timeout=60 "include=$EXAMPLES/nrpe-imlog.cfg" >"$WORK/nrpe.cfg"
"$NRPE" -n -f -c "$WORK/nrpe.cfg" &
sleep 2
for log; do
  echo "$log" >"$WORK/log"
  status=0
  "$CHECK_NRPE" -n -H 127.0.0.1 -p "$PORT" -t 60 -c check_iml || status=$?
  echo "status $status"
done
"""


def ask(fleet, table, work):
    directory = work / "nrpe"
    directory.mkdir()
    work.chmod(0o755)  # NRPE reads the logs as another user
    fleet.directory.chmod(0o755)
    tool("sudo", "sudo")
    environment = {"TZ": ZONES[0], "WORK": str(directory), "EXAMPLES": str(EXAMPLES), "IMLOG": str(IMLOG),
                   "NRPE": tool("nrpe", "nagios-nrpe-server"), "CHECK_NRPE": tool("check_nrpe", "nagios-nrpe-plugin"),
                   "PORT": str(free_port())}
    hosts = [*fleet.hosts("whole", zone=ZONES[0])[:3], *fleet.hosts("cut")]
    want = [answer(fleet.truth[host]) for host in hosts]
    table.start()
    run = run_apart(INNER, [str(fleet.path(host)) for host in hosts], environment)
    lines = [without_texts(line) for line in run.stdout.splitlines() if line.startswith(("IML ", "status "))]
    got = [f"{line} {status}" for line, status in zip(lines[::2], lines[1::2])]
    table.row("check_nrpe, NRPE, sudo: the check on four servers", got, want, len(run.stdout))
    table.costs.add("nrpe", len(hosts), 0, len(run.stdout))
    if got != want:
        print(run.stderr[-2000:])


def without_texts(line):
    unread = "; not all was read" if "; not all was read: " in line else ""
    return re.sub(r" caution[ ;][^|]*\|", f" caution{unread} |", line)


def answer(server):
    """Line and status that the check has to give."""
    severities = [entry["severity"] for entry in server["entries"] if entry["unserviced"]]
    critical, caution = severities.count("critical"), severities.count("caution")
    is_cut = server["state"] == "cut"
    status = 2 if critical else 3 if is_cut else 1 if caution else 0
    return (f"IML {('OK', 'WARNING', 'CRITICAL', 'UNKNOWN')[status]} - {critical} critical, {caution} caution"
            f"{'; not all was read' if is_cut else ''} "
            f"| critical={critical};;0 caution={caution};0; entries={len(severities)} status {status}")
