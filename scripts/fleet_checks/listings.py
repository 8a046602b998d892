"""imlog alone: listings and checks of many logs."""
import datetime
import re
import zoneinfo

from fleet_checks.common import ZONES, ids, imlog


def yesterday(zone):
    """When yesterday began on the servers of a zone."""
    now = datetime.datetime.now(zoneinfo.ZoneInfo(zone)).replace(tzinfo=None)
    start = datetime.datetime.combine(now.date() - datetime.timedelta(days=1), datetime.time())
    return start.replace(tzinfo=zoneinfo.ZoneInfo(zone)).timestamp()


def ask(fleet, table, _work):
    ask_for_critical(fleet, table)
    for zone in ZONES:
        ask_for_check(fleet, table, zone)
    ask_for_unreadable(fleet, table)


def ask_for_critical(fleet, table):
    got, want, size = [], [], 0
    for zone in ZONES:
        lines = imlog("-r", "-p", "critical", "-S", "yesterday", *fleet.files("whole", "cut", "compressed", zone=zone),
                      zone=zone, statuses=(0, 2))
        size += len(lines)
        got += [(line.split()[1], int(re.match(r"\S+ +\S+ +\w+ +(\d+) x", line)[1]))
                for line in lines.decode().splitlines()]
        since = yesterday(zone)
        want += ids(fleet.merged(zone, lambda entry: entry["severity"] == "critical" and (
            entry["last"] is None or entry["last"] >= since)))[::-1]
    table.row("imlog -r -p critical -S yesterday fleet/*.iml", got, want, size)


def ask_for_check(fleet, table, zone):
    line = imlog("-o", "check", "-u", *fleet.files("whole", zone=zone), zone=zone, statuses=(0, 1, 2)).decode()
    rows = [(host, entry) for host, entry in fleet.merged(zone, lambda entry: entry["unserviced"])
            if fleet.truth[host]["state"] == "whole"]
    critical = [row for row in rows if row[1]["severity"] == "critical"]
    caution = [row for row in rows if row[1]["severity"] == "caution"]
    host, entry = critical[-1]
    match = re.match(r"IML CRITICAL - (\d+) critical, (\d+) caution on (\d+) of (\d+) logs; (\S+): (\d+) ", line)
    bad = {host for host, _ in critical + caution}
    whole = fleet.hosts("whole", zone=zone)
    table.row(f"imlog -o check -u fleet/*.iml ({zone})", match and match.groups(),
              (str(len(critical)), str(len(caution)), str(len(bad)), str(len(whole)), host, str(entry["number"])),
              len(line))


def ask_for_unreadable(fleet, table):
    bad, good = fleet.files("cut", "compressed", "silent"), fleet.files("whole")[0]
    lines = [imlog("-o", "check", "-u", file, good, zone="UTC", statuses=(2, 3)).decode() for file in bad]
    problems = [re.search(r"; (\d+ of \d+ logs not read: '[^']*'): .*\|", line) for line in lines]
    table.row("imlog -o check: servers whose log cannot be read", [match and match[1] for match in problems],
              [f"1 of 2 logs not read: '{file}'" for file in bad])
