"""The command line of imlog: wrong usage, words, filters, and the zone."""
import subprocess
import time

from harness import IMLOG, NO_TIME, Case, record


class CommandLine(Case):
    def test_usage(self):
        """Rows are lines whose words are separated by '|'. The first fault counts."""
        for line, message in (
            ("--bogus|-o|bad", "unrecognized option '--bogus'; see 'imlog --help'"),
            ("--l=2", "option '--l=2' is ambiguous; see 'imlog --help'"),
            ("--u|x", "option '--u' is ambiguous; see 'imlog --help'"),
            ("-fz", "invalid option -- 'z'; see 'imlog --help'"),
            ("-o", "option '--output' requires an argument; see 'imlog --help'"),
            ("--follow=x", "option '--follow' takes no argument; see 'imlog --help'"),
            ("-o|CHECK", "unknown format 'CHECK'; use short, json, "),
            ("--output=", "unknown format ''; use short, json, "),
            ("-p|bad", "unknown severity 'bad'; use information, repaired, caution or critical"),
            ("-p|C", "severity 'C' is ambiguous; use caution or critical"),
            ("-c|0x:1", "unknown class '0x:1'; use a number up to 0xFFFF, or a name that '-c help' prints"),
            ("--exclude=", "unknown class ''; use a number up to 0xFFFF, or a name that '-c help' prints"),
            ("-c|p", "class 'p' is ambiguous; use PCI Bus, POST Messages, Power Subsystem, Pellory or Power Capping"),
            ("-x|Unk:", "invalid code in class 'Unk:'; use a number up to 0xFFFF"),
            ("-c|un:2", "class 'un:2' is ambiguous; use Unrecoverable System Error or Unknown"),
            ("-x|CPU:0x10000", "invalid code in class 'CPU:0x10000'; use a number up to 0xFFFF"),
            ("-n|-5", "invalid number of lines '-5'; use 0 to 4294967295"),
            ("-n|4294967296", "invalid number of lines '4294967296'; use 0 to 4294967295"),
            ("-S|help", "invalid time 'help'; use 2025-09-01, "),
            ("--color=help", "invalid argument 'help' of option '--color'; use auto, always or never"),
            ("--color=Always", "invalid argument 'Always' of option '--color'; use auto, always or never"),
            ("--utc|-o|prometheus",
             "option '--utc' cannot be used with format 'prometheus'; use short, json, export, journal or check"),
            ("-f|log", "option '--follow' is for the live log, not for FILE 'log'; leave one of them out"),
            ("-rf", "option '--reverse' cannot be used with option '--follow'; leave one of them out"),
            ("-ro|export|log", "option '--reverse' cannot be used with format 'export'; use short or json"),
            ("--level|-o|journal|log",
             "option '--level-prefix' cannot be used with format 'journal'; use short or json"),
            ("--host|a", "option '--host' requires a FILE; name a FILE, or leave --host out"),
            ("--cursor-file=|log", "option '--cursor-file' requires a file name; name a file"),
            ("--cursor-file|c|-o|prometheus",
             "option '--cursor-file' cannot be used with format 'prometheus'; use short, json, export"),
            ("-|log|-", "standard input is named twice; give '-' once"),
            ("--host|x|log|b", "option '--host' is for one FILE; read the FILEs one by one, or leave the option out"),
            ("a/x.iml|log|b/x", "'a/x.iml' and 'b/x' have the same host; rename one, or read them one by one"),
            ("-n|-o|check", "invalid number of lines '-o'; use "),
            ("-o|check|-o|json|-z", "invalid option -- 'z'; see "),
        ):
            self.assertEqual(self.run_imlog(*line.split("|"), status=3, stderr=message.encode()), b"")
        self.assertEqual(self.run_imlog("-n", "9", "-n", "0", "-o", "json", "-o", "short", self.file(record())), b"")
        self.assertTrue(self.run_imlog("--help", "-o", "bad").startswith(b"Usage: imlog ["))
        self.assertRegex(self.run_imlog("--version"), rb"^imlog \d+\.\d+\.\d+\n$")

    def test_words(self):
        """Each word that is printed for "help" is one that the option takes."""
        self.assertEqual(self.run_imlog("-p", "help", "-x", "bad"), b"information\nrepaired\ncaution\ncritical\n")
        for name in self.run_imlog("-o", "help").split():
            self.run_imlog("-o", name, "--version")
        *classes, unknown = self.run_imlog("--exclude=help", "-o", "check").decode().splitlines()
        self.assertEqual((classes[11], len(classes), unknown), ("0x0B Power Subsystem", 29, "Unknown"))
        log = self.file(*(record(code, event=(code, 1)) for code in range(256)))
        codes = [int(line[:4], 16) for line in classes]
        for line, code in zip(classes, codes):
            self.assertEqual(self.numbers("-c", line[:4], log), [code])
            self.assertEqual(self.numbers("-c", line[5:], log), [code])
        self.assertEqual(self.numbers("-c", unknown, log), [code for code in range(256) if code not in codes])

    def test_filters(self):
        log = self.file(
            record(0, 2, event=(2, 6)),
            record(1, 6, event=(3, 1)),
            record(2, 9, event=(0x21, 2)),
            record(3, 15, event=(0xFFFF, 1)),
            record(4, 33, event=(2, 0xFFFF)),
            record(5, 3, event=(0x10, 2)),
        )
        for line, expected in (
            ("", "012345"),
            ("-p|information", "012345"),
            ("-p|REPAIRED", "1234"),
            ("--pri=Ca", "234"),
            ("-p|crit", "34"),
            ("-p|critical|-p|i|-c|2", "04"),
            ("-c|2", "04"),
            ("-c|0x21|-c|0XFFFF", "23"),
            ("-c|010", ""),
            ("-c|main MEMORY|-c|Maintenance", "12"),
            ("-c|2:0x6|-c|MAINTENANCE:2", "02"),
            ("-c|2:7|-c|2:65535", "4"),
            ("-c|unknown", "35"),
            ("-c|main m|-c|mAINT:2", "12"),
            ("-x|unk|-c|Unknown|-c|mac:6", "0"),
            ("-c|Unknown:2", "5"),
            ("-x|Unknown|-x|2", "12"),
            ("-x|2:6|-x|3:2|-x|unknown:1", "1245"),
            ("-c|2|-c|3|-x|3", "04"),
        ):
            self.assertEqual(self.numbers(log, *filter(None, line.split("|"))), [*map(int, expected)], line)

    def test_times(self):
        times = (2025, 8, 31, 23, 59), (2025, 9, 1, 0, 0), (2025, 9, 1, 13, 5), (2025, 9, 1, 13, 6), NO_TIME
        log = self.file(*(record(number, last=last) for number, last in enumerate(times)))
        for line, expected in (
            ("-S|2025-09-01", "1234"),
            ("-U|2025-09-01", "014"),
            ("-S|2025-09-01 13:05", "234"),
            ("-U|2025-09-01T13:05", "0124"),
            ("-S|2025-09-01T13:05:01", "34"),
            ("-S|9999-12-31", "4"),
            ("-S|2025-09-01 13:05:00|-U|2025-09-01 13:05:59", "24"),
        ):
            self.assertEqual(self.numbers(log, *line.split("|")), [*map(int, expected)], line)

    def test_last_ones(self):
        """The order of updates; entry 0 has none that is known, 3 and 4 come with 2, and 5 with 1."""
        def at(day):
            return (2025, 9, day, 0, 0)

        rows = [
            record(0, first=NO_TIME),
            record(6, first=at(1), last=at(8)),
            record(2, first=at(2), last=at(4)),
            record(3, 15, first=at(3), last=NO_TIME),
            record(4, 15, first=at(3), last=(2099, 1, 1, 0, 0)),
            record(1, first=at(4), last=at(3)),
            record(5, 15, first=NO_TIME),
        ]
        log = self.file(*rows)
        for words, expected in (
            ([], [0, 6, 2, 3, 4, 1, 5]),
            (["-r"], [6, 4, 3, 2, 5, 1, 0]),
            (["-n", "3"], [6, 3, 4]),
            (["-rn", "3"], [6, 4, 3]),
            (["-rp", "critical"], [4, 3, 5]),
            (["-p", "critical", "-n", "2"], [3, 4]),
            (["-u", "-n", "6"], [6, 2, 3, 4, 1, 5]),
            (["-n", "0"], []),
            (["-n", "4", "--cursor-file", self.directory / "cursor"], [6, 2, 3, 4]),
        ):
            self.assertEqual(self.numbers(*words, log), expected, words)
        self.assertEqual(self.run_imlog("-o", "raw", "-n", "2", log), rows[1] + rows[4])
        self.assertIn(b"; 4 Maint", self.run_imlog("-o", "check", log, status=2))
        exported = [entry["IML_NUMBER"] for entry in self.exported("-n", "3", log)]
        self.assertEqual(exported, ["3", "6", "4"])  # by the times that the journal stores
        metrics = self.run_imlog("-o", "prometheus", "-n", "2", log).decode()
        self.assertRegex(metrics, r'\niml_unserviced_entries\{severity="critical",class="Maintenance"\} 1\n')

    def test_times_before_now(self):
        now = time.time()
        log = self.file(*(record(i, first=time.gmtime(now - age)[:5]) for i, age in enumerate((600, 60, -600))))
        for words, expected in (
            ("-S -5m -U now", [1]),
            ("-U -5m -n 1", [0]),  # the last one of those wanted
        ):
            self.assertEqual(self.numbers(*words.split(), log, env={"TZ": "UTC"}), expected, words)

    def test_zones(self):
        def is_known(zone, **variables):
            env = self.env(TZ=zone, **variables)
            return subprocess.run([IMLOG, "/dev/null"], env=env, capture_output=True, check=True).stderr == b""

        zones = self.directory / "zones"
        zones.mkdir()
        (zones / "Moon").write_bytes(b"TZif2")
        (zones / "Short").write_bytes(b"TZi")
        for zone in (None, "", "UTC", ":GMT", "UTC0", "EST5EDT", "<+0530>-5:30", "CET-1CEST,M3.5.0,M10.5.0/3",
                     "IST-2IDT,M3.4.4/26,M10.5.0", "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1", "XYZ-24:59:59",
                     "ABC1DEF2,J60,300/4:30", "Europe/Berlin", f"{zones}/Moon", f":{zones}/Moon"):
            self.assertTrue(is_known(zone), zone)
        for zone in (":", "CT", "ABC", "CET-25", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0", "CET-1:60", "UTC0 ",
                     "+1", "<+1>-1", "CET-1CEST,M3.6.0,M10.5.0", "Europe/Berln", "/etc/passwd", "/nowhere", "..",
                     "UTC0\n", f"{zones}/Short", "Moon"):
            self.assertFalse(is_known(zone), zone)
        self.assertTrue(is_known("Moon", TZDIR=str(zones)))
        self.assertTrue(is_known(":Moon", TZDIR=str(zones)))
        self.assertFalse(is_known("Europe/Berlin", TZDIR=str(zones)))
        self.assertTrue(is_known("Europe/Berlin", TZDIR=""))

    def test_unknown_zone(self):
        log = self.file(record(0, 9))
        message = b"TZ is unknown, and times are read as UTC; set 'Europe/Berln' to a zone"
        for words, status in ([log], 0), (["-o", "raw", log], 0), ([log, log + "2"], 2):
            run = subprocess.run([IMLOG, *words], env=self.env(TZ="Europe/Berln"), capture_output=True, check=False)
            self.assertEqual((run.returncode, run.stderr.count(message)), (status, 1))
        self.run_imlog("--help", env={"TZ": "Europe/Berln"})
        for words, status, line in (
            ([log], 1, b"; 0 Maintenance note: x; TZ is unknown | critical=0;;0 caution=1"),
            (["/no"], 3, b"No such file or directory; TZ is unknown\n"),
        ):
            check = self.run_imlog("-o", "check", *words, env={"TZ": "Europe/Berln"}, status=status)
            self.assertIn(line, check)
