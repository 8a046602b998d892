#!/usr/bin/env python3
"""Makes the saved logs of a fleet of servers, HOST.iml each, and the truth about them: fleet.py [OPTIONS] DIRECTORY

The same seed, number and time give the same logs. With several zones each has a directory of its own. DIRECTORY/truth.json
has, for every server, its zone, its state and what its log says: number, severity, class, code, count, times in
seconds since 1970 or null, and whether no maintenance note has closed the entry. Of three servers or more the first
log is cut within a record, the second is compressed, and the third is silent: it has no log.
"""
import argparse
import datetime
import gzip
import json
import pathlib
import random
import struct
import sys
import time
import zoneinfo

sys.dont_write_bytecode = True
import imltext  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent

DAY = 86400
NOTE = (0x21, 2)
REPAIRED = 6
SEVERITIES = {2: "information", 3: "information", 6: "repaired", 9: "caution", 15: "critical"}


def stamp(instant, zone):
    """The six bytes of a time, moved on until the zone's clock shows it only once."""
    if instant is None:
        return None, bytes(6)
    instant -= instant % 60
    while True:
        local = datetime.datetime.fromtimestamp(instant, zone)
        other = local.replace(fold=1 - local.fold)
        if local.timestamp() == other.timestamp():
            return instant, bytes(
                [local.year // 100, local.year % 100, local.month, local.day, local.hour, local.minute]
            )
        instant += 3600


def is_note(entry):
    return (entry["class"], entry["code"]) == NOTE and entry["severity"] == "repaired"


def is_closed_by(entry, note):
    """Whether a note closes an entry that precedes it in the log."""
    if entry["last"] is None or note["last"] is None or entry["last"] <= note["last"]:
        return True
    return entry["first"] is not None and note["last"] < entry["first"] <= entry["last"]


class Server:
    def __init__(self, draw, zone, templates, now):
        self.draw, self.zone, self.templates, self.now = draw, zoneinfo.ZoneInfo(zone), templates, now
        self.truth = {"zone": zone, "state": "whole", "entries": []}
        self.log = b""

    def add(self, record, first, last, count):
        length, _, kind, severity, event_class, code = imltext.HEADER.unpack_from(record)[:6]
        number = len(self.truth["entries"])
        (first, first_stamp), (last, last_stamp) = stamp(first, self.zone), stamp(last, self.zone)
        event = (kind, severity, event_class, code)
        self.log += imltext.HEADER.pack(length, number, *event, first_stamp, last_stamp, count)
        self.log += record[imltext.HEADER.size :]
        self.truth["entries"].append(
            {
                "number": number,
                "severity": SEVERITIES.get(severity, "unknown"),
                "class": event_class,
                "code": code,
                "count": count,
                "first": first,
                "last": last,
            }
        )

    def add_note(self, at):
        header = imltext.HEADER.pack(240, 0, 1, REPAIRED, *NOTE, bytes(6), bytes(6), 1)
        self.add(header + b"Serviced".ljust(212, b"\0"), at, at, 1)

    def add_event(self, at, severity=None):
        record = self.draw.choice(self.templates[severity] if severity else sum(self.templates.values(), []))
        count = self.draw.choice((1, 1, 1, 2, 7))
        last = at if count == 1 else min(at + self.draw.randrange(30 * DAY), self.now - 60)
        odd = self.draw.randrange(100)
        self.add(record, None if odd == 0 else at, None if odd in (0, 1) else last, count)

    def fill(self, critical_since_yesterday, serviced):
        times = sorted(
            self.draw.randrange(self.now - 700 * DAY, self.now - 3 * DAY) for _ in range(self.draw.randrange(40, 400))
        )
        for at in times:
            if self.draw.randrange(60) == 0:
                self.add_note(at)
            else:
                self.add_event(at)
        if serviced:
            self.add_note(self.now - 2 * 3600)
        if critical_since_yesterday:
            self.add(self.draw.choice(self.templates["critical"]), *[self.now - self.draw.randrange(600, 3600)] * 2, 1)

    def finish(self):
        entries = self.truth["entries"]
        for index, entry in enumerate(entries):
            entry["unserviced"] = not any(is_note(note) and is_closed_by(entry, note) for note in entries[index:])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("directory", type=pathlib.Path)
    parser.add_argument("--servers", type=int, default=50)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument(
        "--zone", action="append", help="of the servers' clocks, once for each zone (default: this machine's)"
    )
    parser.add_argument("--now", type=int, default=int(time.time()), help="seconds since 1970")
    options = parser.parse_args()

    templates = {name: [] for name in ("information", "repaired", "caution", "critical")}
    installed = HERE / "server/cevt"
    sample = installed.read_bytes() if installed.exists() else imltext.compile_log(HERE.parent / "samples/server/cevt.iml")
    for at in range(0, len(sample), imltext.RECORD_SIZE):
        record = sample[at : at + imltext.RECORD_SIZE]
        severity, *event = struct.unpack_from("<BHH", record, 7)
        if severity in SEVERITIES and tuple(event) != NOTE:
            templates[SEVERITIES[severity]].append(record)

    zones = options.zone or [None]
    truth = {"made": options.now, "servers": {}}
    for index in range(options.servers):
        draw = random.Random(f"{options.seed} {index}")
        zone = zones[index % len(zones)]
        host = f"r{1 + index // 40:02}u{1 + index % 40:02}"
        server = Server(draw, zone or local_zone(), templates, options.now)
        server.fill(index % 10 == 3, index % 4 == 0)
        server.finish()
        directory = options.directory / zone.replace("/", "-") if len(zones) > 1 else options.directory
        directory.mkdir(parents=True, exist_ok=True)
        if options.servers >= 3 and index < 3:
            server.truth["state"] = ("cut", "compressed", "silent")[index]
        if server.truth["state"] == "cut":
            server.log += b"\xf0"
        elif server.truth["state"] == "compressed":
            server.log = gzip.compress(server.log, mtime=0)
        if server.truth["state"] != "silent":
            (directory / f"{host}.iml").write_bytes(server.log)
        truth["servers"][host] = server.truth
    (options.directory / "truth.json").write_text(json.dumps(truth))


def local_zone():
    """The name of this machine's zone."""
    link = pathlib.Path("/etc/localtime").resolve()
    return str(link).partition("zoneinfo/")[2] or "UTC"


if __name__ == "__main__":
    main()
