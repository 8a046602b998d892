"""The shipped checks through check_nrpe, NRPE and sudo, over the saved logs of three servers."""
import os
import shutil
import subprocess

from fleet_checks.common import EXAMPLES, IMLOG, Missing, free_port, tool

# NRPE and sudo in a mount namespace, in which the shipped files are installed and imlog reads a saved log.
INNER = r"""
set -e
mkdir "$WORK/upper" "$WORK/lower"
mount -t overlay none -o "lowerdir=/usr/bin,upperdir=$WORK/upper,workdir=$WORK/lower" /usr/bin
mount -t tmpfs -o mode=755 none /etc/sudoers.d
printf '#!/bin/sh\nexec %s "$@" "$(cat %s/log)"\n' "$IMLOG" "$WORK" >/usr/bin/imlog
chmod 755 /usr/bin/imlog "$WORK"
install -m 440 "$EXAMPLES/sudoers-imlog" /etc/sudoers.d/imlog
printf '%s\n' server_address=127.0.0.1 "server_port=$PORT" allowed_hosts=127.0.0.1 nrpe_user=nagios nrpe_group=nagios \
  command_timeout=60 "include=$EXAMPLES/nrpe-imlog.cfg" >"$WORK/nrpe.cfg"
"$NRPE" -n -f -c "$WORK/nrpe.cfg" & nrpe=$!
trap 'kill $nrpe; wait' EXIT
sleep 2
for log; do
  echo "$log" >"$WORK/log"
  for command in check_iml check_iml_30d; do
    status=0
    "$CHECK_NRPE" -n -H 127.0.0.1 -p "$PORT" -t 60 -c "$command" || status=$?
    echo "status $status"
  done
done
"""


def ask(fleet, table, work):
    folder = work / "nrpe"
    folder.mkdir()
    work.chmod(0o755)  # NRPE reads the logs as another user
    fleet.folder.chmod(0o755)
    check = shutil.which("check_nrpe", path="/usr/lib/nagios/plugins")
    if check is None:
        raise Missing("check_nrpe (package nagios-nrpe-plugin)")
    tool("sudo", "sudo")
    environment = {**os.environ, "WORK": str(folder), "EXAMPLES": str(EXAMPLES), "IMLOG": str(IMLOG),
                   "NRPE": tool("nrpe", "nagios-nrpe-server"), "CHECK_NRPE": check, "PORT": str(free_port())}
    logs = [*fleet.files("whole")[:2], *fleet.files("cut")]
    want = []
    for log in logs:
        for words in ["-u"], ["-S", "-30d"]:
            run = subprocess.run([IMLOG, "-o", "check", *words, log], capture_output=True, text=True, check=False,
                                 timeout=60)
            want += [run.stdout.strip(), f"status {run.returncode}"]
    table.start()
    run = subprocess.run(["unshare", "--mount", "bash", "-c", INNER, "inner", *logs], env=environment,
                         capture_output=True, text=True, check=False, timeout=120)
    table.row("check_nrpe, NRPE, sudo: the checks on three servers", run.stdout.splitlines(), want, len(run.stdout))
    if run.stdout.splitlines() != want:
        print(run.stderr[-2000:])
