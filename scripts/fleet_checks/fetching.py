"""imlog-fetch with ssh, a real sshd on loopback, and sudo with the shipped rule, over saved logs."""
import os

from fleet_checks.common import EXAMPLES, IMLOG, ZONES, free_port, imlog, run_apart, tool

# Each server has an address of its own, by which its imlog finds the log. At the last one nothing listens. The
# arguments are hosts, which are links to their logs in $WORK. sshd takes 16 addresses at most.
INNER = r"""
set -e
cd "$WORK"
mount -t tmpfs none /run
mount -t tmpfs -o mode=755 none /etc/sudoers.d
useradd --home-dir /run/fetcher --shell /bin/sh --password '*' fetcher
id -u sshd >/dev/null 2>&1 || useradd --system sshd
mkdir -p /run/sshd /run/fetcher/.ssh bin
ssh-keygen -q -t ed25519 -N '' -f host
ssh-keygen -q -t ed25519 -N '' -f user
cp user.pub /run/fetcher/.ssh/authorized_keys
sed 's/^nagios /fetcher /' "$EXAMPLES/sudoers-imlog" >/etc/sudoers.d/imlog
echo 'Defaults env_keep += SSH_CONNECTION' >/etc/sudoers.d/address
log="$WORK/\$(echo \"\$SSH_CONNECTION\" | cut -d ' ' -f 3)"
printf '%s\n' '#!/bin/sh' "exec '$IMLOG' \"\$@\" \"$log\"" >/usr/bin/imlog
printf '%s\n' '#!/bin/sh' "exec '$SSH' -F '$WORK/ssh_config' \"\$@\"" >bin/ssh
chmod 755 /usr/bin/imlog bin/ssh

printf '%s\n' "Port $PORT" "HostKey $WORK/host" 'UsePAM no' 'MaxStartups 100' >sshd_config
printf '%s\n' "Port $PORT" "IdentityFile $WORK/user" "UserKnownHostsFile $WORK/known" \
  'StrictHostKeyChecking no' >ssh_config
number=1
for host; do
  number=$((number + 1))
  mv "$host" 127.0.1.$number
  printf '%s\n' "Host $host" "HostName 127.0.1.$number" >>ssh_config
  [ $number -gt $# ] || echo "ListenAddress 127.0.1.$number" >>sshd_config
done
"$SSHD" -f sshd_config
for _ in $(seq 100); do (: <>/dev/tcp/127.0.1.2/"$PORT") 2>/dev/null && break; sleep 0.1; done
PATH=$WORK/bin:$PATH "$EXAMPLES/imlog-fetch" copies "${@/#/fetcher@}"
"""


def ask(fleet, table, work):
    directory = work / "fetching"
    directory.mkdir()
    whole, cut, down = fleet.hosts("whole", zone=ZONES[0])[:12], fleet.hosts("cut")[0], fleet.hosts("whole")[-1]
    copies = directory / "copies"
    copies.mkdir()
    for host in *whole, cut, down:
        os.symlink(fleet.path(host), directory / host)
        (copies / f"{host}.iml").write_bytes(b"old")
    table.start()
    run = run_apart(INNER, [*whole, cut, down], {
        "WORK": str(directory), "EXAMPLES": str(EXAMPLES), "IMLOG": str(IMLOG), "PORT": str(free_port()),
        "SSH": tool("ssh", "openssh-client"), "SSHD": tool("sshd", "openssh-server")})
    found = {path.name: path.read_bytes() for path in copies.iterdir()}
    want = {f"{host}.iml": imlog("-o", "raw", str(fleet.path(host)), zone=ZONES[0]) for host in whole}
    want |= {f"{cut}.iml": b"old", f"{down}.iml": b"old"}
    table.row("imlog-fetch, ssh, sshd, sudo: copies, two of them old", found, want, sum(map(len, found.values())))
    entries = sum(len(fleet.truth[host]["entries"]) for host in whole)
    table.costs.add("sshd", len(whole), entries, sum(len(want[f"{host}.iml"]) for host in whole), ", for imlog-fetch")
    reported = sorted(line.partition(": ssh ended with status ")[0]
                      for line in run.stderr.splitlines() if "imlog-fetch" in line)
    table.row("hosts that it reports", [run.returncode, *reported],
              [1, *sorted(f"imlog-fetch: fetcher@{host}" for host in (cut, down))])
    if found != want:
        print(run.stderr[-2000:])
