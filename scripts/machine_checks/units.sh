#!/bin/sh
# Run by check.service in the machine. The node in /dev is only there to try who may open it; the log is the
# simulator's.
stty -F /dev/ttyS1 raw
mkdir /dev/zythealth
mknod /dev/zythealth/cevt c 1 1 # /dev/mem's numbers, which no unit may open by default
run() {
  systemctl start "$1" 2>/dev/null
  echo "$1: $(systemctl show -P Result "$1")"
}
count() {
  journalctl -q MESSAGE_ID=8c87242ae2964fe8ae541ffa16b208f2 "$@" -o cat | wc -l
}
ship() {
  run imlog-ship.service
  journalctl --sync
  echo "in the journal: $(count)"
}
ship
ship
printf '\6' | dd of=/server/cevt bs=1 seek=$((14 * 240 + 24)) conv=notrunc status=none # the count of entry 14
ship
journalctl -q -t imlog -p warning -o cat -n 1
journalctl --update-catalog
journalctl -q -x IML_NUMBER=14 -n 1 | grep -o -e 'Subject: .*' -e 'Severity: .*' -e 'closes [0-9]*"'
echo "critical in the journal: $(count -p crit), of class 11: $(count IML_CLASS=11)"
collect() {
  run prometheus-node-exporter-iml.service
  ls -1 $directory && grep '^iml_read' $directory/iml.prom
}
directory=/var/lib/prometheus/node-exporter
collect
echo "The directory belongs to the exporter's user:"
chown daemon $directory
rm $directory/iml.prom
collect
echo "The directory is full:"
mount -t tmpfs -o size=8k none $directory
echo iml_read_success 0 >$directory/iml.prom
cat /dev/zero >$directory/other 2>/dev/null
collect
umount $directory
echo "The directory is a link to /etc:"
mv $directory $directory.moved
ln -s /etc $directory # which systemd then makes writable, against the bounds
rm /etc/systemd/system/prometheus-node-exporter-iml.service.d/bounds.conf
systemctl daemon-reload
run prometheus-node-exporter-iml.service
ls /etc | grep '^iml'
rm $directory
mv $directory.moved $directory

echo "A first run, without and with the journal:"
rm /var/lib/imlog/cursor
mv /server/many /server/cevt
systemctl stop systemd-journald.service systemd-journald.socket systemd-journald-dev-log.socket \
  systemd-journald-audit.socket 2>/dev/null
run imlog-ship.service
ls -1 /var/lib/imlog
systemctl start systemd-journald.socket systemd-journald.service
systemd-run -q --scope --unit=shell imlog -o journal /server/cevt
journalctl --sync
# journald's limit for others grows with its free space.
[ "$(count _SYSTEMD_UNIT=shell.scope)" -lt 30000 ] && echo "from a shell: not all"
journalctl -q --rotate --vacuum-size=1M 2>/dev/null
ship

echo "The timers:"
# Their first time after the boot has passed before they are enabled, so they start their services at once.
while [ "$(cut -d. -f1 /proc/uptime)" -le 60 ]; do sleep 1; done
systemctl enable --now imlog-ship.timer prometheus-node-exporter-iml.timer 2>/dev/null
for timer in imlog-ship.timer prometheus-node-exporter-iml.timer; do
  while [ "$(systemctl show -P SubState $timer)" = running ]; do sleep 1; done
  [ "$(systemctl show -P LastTriggerUSecMonotonic $timer)" = 0 ] || echo "$timer: triggered"
  [ "$(systemctl show -P NextElapseUSecMonotonic $timer)" = infinity ] || echo "$timer: will be triggered again"
done
