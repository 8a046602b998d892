"""The output formats of imlog."""
import json
import os
import pty

from harness import HOSTILE_TEXTS, NO_TIME, SAMPLE, Case, blanked, record


class Formats(Case):
    def test_colors(self):
        log = self.file(record(1, severity=15))
        for words, variables, expected in (
            ([], {}, True),
            ([], {"TERM": "dumb"}, False),
            ([], {"TERM": ""}, False),
            ([], {"TERM": None}, False),
            ([], {"NO_COLOR": ""}, True),
            ([], {"NO_COLOR": "0"}, False),
            (["--color=never"], {}, False),
            (["--color", "always"], {"TERM": "dumb", "NO_COLOR": "1"}, True),
            (["-o", "json"], {}, False),
        ):
            terminal, stdout = pty.openpty()
            self.run_imlog(*words, log, stdout=stdout, env={"TERM": "xterm", "NO_COLOR": None, **variables})
            self.assertEqual(b" \x1b[1;31mCritical\x1b[0m    " in os.read(terminal, 4096), expected, (words, variables))
            os.close(stdout)
            os.close(terminal)
        self.assertNotIn(b"\x1b", self.run_imlog(log, env={"TERM": "xterm"}))  # no terminal

    def test_short(self):
        log = self.file(
            record(5, 15, b"a"),
            record(123456, 9, b"b", (2025, 9, 1, 0, 5), count=70000),
            record(7, 0, b"c", last=NO_TIME),
            record(0, 6, b"d", last=(1970, 1, 1, 0, 59)),
            record(0, 3, b"e", event=(0xFFFF, 2)),
        )
        self.assertEqual(self.run_imlog(log).decode(), (
            "2025-09-01T13:05 Critical        5 x1    Maintenance note: a\n"
            "2025-09-01T00:05 Caution     123456 x70000 Maintenance note: b\n"
            "---------------- Unknown         7 x1    Maintenance note: c\n"
            "1970-01-01T00:59 Repaired        0 x1    Maintenance note: d\n"
            "2025-09-01T13:05 Information     0 x1    Unknown Event (Class 0xFFFF, Code 0x02)\n"))
        self.assertEqual(self.run_imlog("--level-prefix", "--utc", "--color=always", log).decode(), (
            "<2>2025-09-01T11:05Z \x1b[1;31mCritical\x1b[0m        5 x1    Maintenance note: a\n"
            "<4>2025-08-31T22:05Z \x1b[33mCaution\x1b[0m     123456 x70000 Maintenance note: b\n"
            "<5>----------------  Unknown         7 x1    Maintenance note: c\n"
            "<5>1970-01-01T00:59  \x1b[32mRepaired\x1b[0m        0 x1    Maintenance note: d\n"
            "<6>2025-09-01T11:05Z Information     0 x1    Unknown Event (Class 0xFFFF, Code 0x02)\n"))
        longest = max(self.run_imlog(str(SAMPLE / "cevt")).splitlines(), key=len)
        self.assertGreater(len(longest), 41 + 255)

    def test_json(self):
        known = self.file(record(14, 9, b"\1\0\0\x09", (1970, 1, 1, 0, 14), (2025, 7, 1, 22, 40), 5, (2, 6)))
        self.assertEqual(self.run_imlog("-o", "json", "--level-prefix", "--host", "r17u04", known).decode(), (
            '<4>{"schema":"iml/1","host":"r17u04","number":14,"severity":"caution","severity_code":9,"priority":4,'
            '"first":"1970-01-01T00:14:00+01:00","last":"2025-07-01T22:40:00+02:00",'
            '"first_unix":-2760,"last_unix":1751402400,"count":5,"class":2,"code":6,'
            '"class_name":"Machine Environment","known":true,'
            '"message":"System Fans Not Redundant (Location Chassis)"}\n'))
        unknown = record(2**32 - 1, 200, b"", (2025, 7, 1, 22, 40), NO_TIME, 2**32 - 1, (0xFFFF, 0xABCD))
        words = ["-o", "json", "--utc", "--cursor-file", self.directory / "cursor", "-"]
        self.assertEqual(self.run_imlog(*words, input=unknown).decode(), (
            '{"schema":"iml/1","number":4294967295,"severity":"unknown","severity_code":200,"priority":5,'
            '"first":"2025-07-01T20:40:00Z","last":null,"first_unix":1751402400,"last_unix":null,'
            '"count":4294967295,"class":65535,"code":43981,"class_name":"Unknown","known":false,'
            '"message":"Unknown Event (Class 0xFFFF, Code 0xABCD)","change":"new"}\n'))

    def test_hostile_texts(self):
        log = self.file(*(record(i, text=text) for i, text in enumerate(HOSTILE_TEXTS)))
        messages = ["Maintenance note: " + text.decode(errors="each") for text in HOSTILE_TEXTS]

        shown = [line[41:] for line in self.run_imlog(log).decode().splitlines()]
        self.assertEqual(shown, [blanked(message).replace("\ufffd", "?") for message in messages])

        printed = self.run_imlog("-o", "json", log, "--host", b"r\x1b\xff\xc2\x9b")
        self.assertEqual(set(printed) - {*range(32, 127)}, {ord("\n")})
        objects = [json.loads(line) for line in printed.splitlines()]
        self.assertEqual([entry["message"] for entry in objects], messages)
        self.assertEqual({entry["host"] for entry in objects}, {"r\x1b\ufffd\x9b"})

    def test_pieces(self):
        """The newline of a line is the first byte of the second piece of 64 KiB that is written."""
        line = self.run_imlog(self.file(record()))
        padding = b"x" * ((65536 + 1) % len(line))
        log = self.file(record(text=b"x" + padding), *[record()] * 5000)
        self.assertEqual(self.run_imlog(log), line[:-1] + padding + b"\n" + line * 5000)

    def test_raw(self):
        rows = [record(i, severity) for i, severity in enumerate((2, 9, 15))]
        gap = bytes(240)
        log = self.file(gap, rows[0], gap, gap, rows[1], rows[2], gap)
        self.assertEqual(self.run_imlog("-o", "raw", "-p", "caution", log), rows[1] + rows[2])
        self.assertEqual(self.run_imlog("-o", "raw", "-", input=b"".join(rows)), b"".join(rows))

    def test_raw_to_a_terminal(self):
        terminal, stdout = pty.openpty()
        self.run_imlog("-o", "raw", self.file(record()), stdout=stdout, status=3,
                       stderr=b"format 'raw' is not for a terminal; ")
        os.close(stdout)
        with self.assertRaises(OSError):  # nothing was printed
            os.read(terminal, 1)
        os.close(terminal)

    def test_export(self):
        """Entries in the order of their times, which grow, and a name of the boot for each run."""
        new_year = (2024, 1, 1, 0, 0)
        log = self.file(
            record(0, first=(1999, 1, 1, 0, 0), last=(2025, 1, 1, 0, 0)),
            record(1, first=NO_TIME),
            record(2, first=new_year),
            record(3, first=(1970, 1, 1, 1, 0)),
            record(4, first=(1970, 1, 1, 1, 1)),
            record(5, first=new_year, last=(3112, 1, 1, 0, 0)),  # beyond 2^55 microseconds
            *(record(i, first=new_year) for i in range(6, 26)),
        )
        runs = [self.exported(log) for _ in range(3)]
        entries = runs[0]
        times = [(int(entry["IML_NUMBER"]), int(entry["__REALTIME_TIMESTAMP"])) for entry in entries]
        self.assertEqual(times, [
            (1, 1),
            (3, 1),
            (4, 60_000000),
            *((i, 1704063600_000000) for i in (2, *range(5, 26))),
            (0, 1735686000_000000),
        ])
        self.assertEqual([int(entry["__MONOTONIC_TIMESTAMP"]) for entry in entries], list(range(1, 27)))
        self.assertRegex(entries[0]["_BOOT_ID"], "^[0-9a-f]{32}$")
        boots = [{entry["_BOOT_ID"] for entry in run} for run in runs]
        self.assertEqual([len(boot) for boot in boots], [1, 1, 1])
        self.assertEqual(len(set.union(*boots)), 3)

    def test_check(self):
        a = record(1, 9, b"a")
        b = record(2, 15, b"b|c")
        c = record(3, 15, b"d|e\nf")
        d = record(4, 9)
        e = record(5, 2)
        unknown = record(9, 77, b"u")

        def check(severity, *rows, status):
            return self.run_imlog("-o", "check", "-p", severity, self.file(*rows), status=status).decode()

        self.assertEqual(check("caution", a, b, c, d, e, status=2), (
            "IML CRITICAL - 2 critical, 2 caution; 3 Maintenance note: d/e f | critical=2;;0 caution=2;0; entries=4\n"
            "2025-09-01T13:05 Critical        3 x1    Maintenance note: d/e f\n"
            "2025-09-01T13:05 Critical        2 x1    Maintenance note: b/c\n"
            "2025-09-01T13:05 Caution         4 x1    Maintenance note: x\n"
            "2025-09-01T13:05 Caution         1 x1    Maintenance note: a\n"))
        self.assertEqual(check("information", a, unknown, e, status=1), (
            "IML WARNING - 0 critical, 2 caution; 9 Maintenance note: u | critical=0;;0 caution=2;0; entries=3\n"
            "2025-09-01T13:05 Unknown         9 x1    Maintenance note: u\n"
            "2025-09-01T13:05 Caution         1 x1    Maintenance note: a\n"))
        self.assertEqual(check("information", unknown, a, status=1).count("; 1 Maintenance"), 1)  # one rank
        self.assertEqual(check("critical", e, a, status=0),
                         "IML OK - 0 critical, 0 caution | critical=0;;0 caution=0;0; entries=0\n")

    def test_check_lists_ten(self):
        rows = [record(i, 15 if i % 2 else 9) for i in range(18)]
        words = ["-o", "check", "--utc", "--color=always", self.file(*rows)]
        lines = self.run_imlog(*words, status=2).decode().splitlines()
        self.assertIn(" 9 critical, 9 caution; 17 ", lines[0])
        self.assertEqual([int(line.split()[2]) for line in lines[1:]], [17, 15, 13, 11, 9, 7, 5, 3, 1, 16])
        self.assertTrue(lines[1].startswith("2025-09-01T11:05Z Critical "))

    def test_prometheus(self):
        log = self.file(
            record(0, 6, b"", (1970, 1, 1, 0, 59)),
            record(1, 9, b"", (2025, 1, 1, 0, 0)),
            record(2, 9, b"", (2024, 1, 1, 0, 0)),
            record(3, 15, b"", NO_TIME),
            record(4, 77, b"", NO_TIME),
            record(5, 2, b"", NO_TIME),
        )
        lines = self.run_imlog("-o", "prometheus", log).decode().splitlines()
        self.assertEqual([line for line in lines if not line.startswith("#")], [
            'iml_entries{severity="information"} 1',
            'iml_entries{severity="repaired"} 1',
            'iml_entries{severity="caution"} 2',
            'iml_entries{severity="critical"} 1',
            'iml_entries{severity="unknown"} 1',
            'iml_last_timestamp_seconds{severity="repaired"} -60',
            'iml_last_timestamp_seconds{severity="caution"} 1735686000',
            'iml_unserviced_entries{severity="caution",class="Maintenance"} 2',
            'iml_unserviced_entries{severity="critical",class="Maintenance"} 1',
            'iml_unserviced_entries{severity="unknown",class="Maintenance"} 1',
            'iml_clock_set_back 1',
            f'iml_build_info{{version="{self.version()}"}} 1',
            'iml_read_success 1',
        ])
