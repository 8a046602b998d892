"""Entries through imlog -o journal and imjournal of rsyslog, with the shipped files: to a file and a central server."""
from fleet_checks.common import EXAMPLES, ZONES, judge, rows_of, run_with_journal, tool, truth_of

# The names of logs are the arguments. rsyslog looks for a journal only when it starts. After each log it is started
# again, and has to read on where it stopped.
ONE = r"""
start_rsyslog() {
  "$RSYSLOGD" -n -f "$WORK/rsyslog.conf" -i "$WORK/rsyslog.pid" & rsyslogd=$!
  wait_for '[ -e "$WORK/rsyslog.pid" ]'
}
start_rsyslog
for file; do
  "$IMLOG" -o journal "$file"
  kill $rsyslogd
  wait $rsyslogd || true
  start_rsyslog
done
forge_entries
touch /var/log/iml.json /var/log/iml-critical.json
wait_for '[ "$(wc -l </var/log/iml.json)" -ge "$WANTED" ]'
sleep 2 # in which nothing more may come
cat /var/log/iml.json
echo critical
cat /var/log/iml-critical.json
"""

# The central server is killed after the first log, and comes back after the last one. Then the queue of the sender is
# on its disk.
CENTRAL = r"""
mkdir -p "$WORK/central" /etc/rsyslog.d/tls
echo 127.0.0.1 central.example.com >>/etc/hosts
(
  cd /etc/rsyslog.d/tls
  key=(-newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes)
  openssl req -x509 "${key[@]}" -days 1 -subj /CN=authority -keyout ca.key -out ca.pem
  for name in central server; do
    host=$name.example.com
    openssl req "${key[@]}" -subj /CN=$host -addext subjectAltName=DNS:$host -keyout $name.key -out $name.csr
    openssl x509 -req -in $name.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 1 -copy_extensions copy \
      -out $name.pem
  done
)
start_central() {
  "$RSYSLOGD" -n -f "$WORK/central.conf" -i "$WORK/central.pid" & central=$!
}
start_central
"$RSYSLOGD" -n -f "$WORK/rsyslog.conf" -i "$WORK/rsyslog.pid" &
wait_for '[ -e "$WORK/rsyslog.pid" ]'
touch /var/log/iml{,-central}.json
"$IMLOG" -o journal "$1"
wait_for '[ -s /var/log/iml-central.json ]'
sleep 2
kill -KILL $central
rm "$WORK/central.pid"
for file in "${@:2}"; do
  "$IMLOG" -o journal "$file"
done
wait_for '[ "$(wc -l </var/log/iml.json)" -ge "$WANTED" ]'
ls "$WORK"/rsyslog/iml-forward.0* >/dev/null
start_central
wait_for '[ "$(sort -u /var/log/iml-central.json | wc -l)" -ge "$(sort -u /var/log/iml.json | wc -l)" ]'
sleep 2
cat /var/log/iml.json
echo central
cat /var/log/iml-central.json
"""


def ask(fleet, table, work):
    ask_one(fleet, table, work)
    ask_central(fleet, table, work)


def ask_one(fleet, table, work):
    hosts = [host for host in fleet.hosts("whole", zone=ZONES[0])
             if any(entry["severity"] == "critical" for entry in fleet.truth[host]["entries"])][:3]
    want = truth_of(fleet, hosts)
    directory = work / "rsyslog-one"
    write(directory, (EXAMPLES / "rsyslog-iml.conf").read_text())
    table.start()
    run = run_rsyslog(ONE, directory, fleet, hosts)
    every, _, critical = run.stdout.partition("critical\n")
    found = rows_of(every)
    table.row("imlog -o journal, imjournal of rsyslog: entries of three", found, want, len(run.stdout))
    table.row("the critical ones of them", rows_of(critical), [row for row in want if row[0] == "critical"])
    table.row("these lines by iml-1.schema.json", judge(every), [])
    table.costs.add("rsyslogd", len(hosts), len(want), len(every), ", to a file")
    if found != want:
        print(run.stderr[-2000:])


def ask_central(fleet, table, work):
    hosts, directory = fleet.hosts("whole", zone=ZONES[0])[:20], work / "rsyslog-central"
    sender = (EXAMPLES / "rsyslog-iml.conf").read_text()
    write(directory, sender.replace("\n/*\n", "\n").replace("\n*/\n", "\n"))
    central = (EXAMPLES / "rsyslog-iml-central.conf").read_text()
    (directory / "central.conf").write_text(f'global(workDirectory="{directory}/central")\n{central}')
    table.start()
    run = run_rsyslog(CENTRAL, directory, fleet, hosts)
    every, _, arrived = run.stdout.partition("central\n")
    table.row("rsyslog to a central one that was away: lines that arrived", set(arrived.splitlines()),
              set(every.splitlines()), len(arrived))
    table.row("lines that were sent", len(every.splitlines()), len(truth_of(fleet, hosts)))
    table.costs.add("rsyslogd", len(hosts), len(every.splitlines()), len(arrived), ", both ends of a forward by TLS")
    if set(arrived.splitlines()) != set(every.splitlines()):
        print(run.stderr[-2000:])


def write(directory, configuration):
    (directory / "rsyslog").mkdir(parents=True)
    (directory / "rsyslog.conf").write_text(f'global(workDirectory="{directory}/rsyslog")\n{configuration}')


def run_rsyslog(script, directory, fleet, hosts):
    environment = {"WORK": str(directory), "WANTED": str(len(truth_of(fleet, hosts))), "TZ": ZONES[0],
                   "RSYSLOGD": tool("rsyslogd", "rsyslog")}
    return run_with_journal(script, [str(fleet.path(host)) for host in hosts], environment)
