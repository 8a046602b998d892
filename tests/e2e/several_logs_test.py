"""Several logs in one listing."""
import json
import os
import re
import resource
import subprocess
import time

from harness import IMLOG, NO_TIME, Case, record


class SeveralLogs(Case):
    def fleet(self):
        def at(minute):
            return (2025, 9, 1, 0, minute)

        return [
            self.file(record(0, 9, b"a", at(3)), record(1, 15, b"b", at(0), at(5)), name="r1.iml"),
            self.file(record(8, 2, b"d", NO_TIME), record(7, 15, b"c", at(5)), name="r\u00e9\x01|.iml"),
            self.file(record(9, 9, b"e", at(3)), record(2, 9, b"f", at(1)), record(3, 15, b"g", at(3)), name="n"),
        ]

    def test_order(self):
        fleet = self.fleet()
        for words, expected in (
            ([], [8, 2, 0, 9, 3, 1, 7]),
            (["-r"], [7, 1, 3, 9, 0, 2, 8]),
            (["-n", "2"], [1, 7]),
            (["-rn", "2"], [7, 1]),
            (["-p", "critical", "-n", "2"], [1, 7]),
            (["-n0"], []),
        ):
            self.assertEqual(self.numbers(*words, *fleet), expected)
        self.assertEqual(self.numbers(*fleet[::-1]), [8, 2, 9, 3, 0, 7, 1])
        repeated = self.file(record(10, first=(2025, 9, 1, 0, 4)), record(11, first=NO_TIME), name="r4.iml")
        self.assertEqual(self.numbers(*fleet, repeated), [8, 2, 0, 9, 3, 10, 11, 1, 7])
        entries = [(entry["__MONOTONIC_TIMESTAMP"], entry["_HOSTNAME"]) for entry in self.exported("-n", "3", *fleet)]
        self.assertEqual(entries, [("1", "n"), ("2", "r1"), ("3", "r\u00e9 |")])

    def test_hosts(self):
        *fleet, last = self.fleet()
        with open(last, "rb") as log:
            lines = self.run_imlog(*fleet, "-", stdin=log).decode().splitlines()
        self.assertEqual(lines[-3:], [
            "2025-09-01T00:03 -    Critical        3 x1    Maintenance note: g",
            "2025-09-01T00:05 r1   Critical        1 x1    Maintenance note: b",
            "2025-09-01T00:05 r\u00e9 | Critical        7 x1    Maintenance note: c",
        ])

    def test_check(self):
        fleet = self.fleet()
        lines = self.run_imlog("-o", "check", *fleet, status=2).decode().splitlines()
        self.assertTrue(lines[0].startswith("IML CRITICAL - 3 critical, 3 caution on 3 of 3 logs; r\u00e9 /: 7 Maint"))
        self.assertEqual(lines[1], "2025-09-01T00:05 r\u00e9 / Critical        7 x1    Maintenance note: c")
        self.assertEqual([int(line[31:39]) for line in lines[1:]], [7, 1, 3, 9, 0, 2])
        check = self.run_imlog("-o", "check", "-U", "2025-09-01 00:03", *fleet, status=2).decode()
        self.assertIn("1 critical, 3 caution on 2 of 3 logs; n: 3 Maint", check)

    def test_unread_logs(self):
        good, critical, _ = self.fleet()
        torn = self.file(record(5, 2), b"x", name="torn")
        text = self.file(b"x" * 5000, name="text")
        empty = self.file(name="empty")
        run = subprocess.run([IMLOG, "-o", "json", "/no", good, torn, text, critical], env=self.env(),
                             capture_output=True, check=False)
        self.assertEqual(run.returncode, 2)
        self.assertEqual([json.loads(line)["number"] for line in run.stdout.splitlines()], [8, 0, 1, 7, 5])
        self.assertEqual(re.findall(b"^imlog: (.{12})", run.stderr, re.M),
                         [b"cannot open ", b"the log ends", b"the file is "])
        for logs, status, start in (
            ((good, text, "/no"), 2, f"CRITICAL - 1 critical, 1 caution on 1 of 3 logs; r1: 1 Maintenance note: b;"
                                     f" 2 of 3 logs not read: '{text}': the file is not a raw log | "),
            ((torn, text), 3, f"UNKNOWN - 0 critical, 0 caution; 2 of 2 logs not read: '{torn}': the log ends "),
            ((empty, critical), 2, "CRITICAL - 1 critical, 0 caution on 1 of 2 logs; r\u00e9 /: 7 Maintenance note: c;"
                                   f" 1 of 2 logs not read: '{empty}': the log has no entries | "),
            ((text, "/no"), 3, f"UNKNOWN - '{text}': the file is not a raw log\n"),
        ):
            printed = self.run_imlog("-o", "check", *logs, status=status).decode()
            self.assertTrue(printed.startswith("IML " + start), printed)

    def test_host_of_a_file(self):
        for name, host in ((".iml", ".iml"), ("x.iml.iml", "x.iml"), ("x.imlx", "x.imlx")):
            self.assertEqual(self.objects(self.file(record(), name=name))[0]["host"], host)
        for name in ("/dev/stdin", "/proc/self/fd/0"):
            with open(self.file(record()), "rb") as log:
                self.assertNotIn("host", self.objects(name, stdin=log)[0])

    def test_directories(self):
        *fleet, last = self.fleet()
        for name in ".hidden.iml", "r0.iml.new", "iml":
            self.file(b"x" * 5000, name=name)
        for words in [], ["-r"], ["-n", "2"], ["-o", "json"], ["-o", "export", "-n1"], ["-o", "check"]:
            status = 2 if "check" in words else 0
            wanted = self.run_imlog(*words, *sorted(fleet), status=status)
            given = self.run_imlog(*words, self.directory, status=status)
            self.assertEqual(*(re.sub(b"_BOOT_ID=.*", b"", output) for output in (given, wanted)))
        self.assertEqual(self.run_imlog(f"{self.directory}/", last), self.run_imlog(*sorted(fleet), last))
        for words, status, message in (
            (["-o", "raw"], 3, b"several FILEs cannot be used with format 'raw'"),
            (["--host=h"], 3, b"option '--host' is for one FILE"),
            ([fleet[0]], 2, b"another log has its host; rename '%s'" % fleet[0].encode()),
        ):
            self.run_imlog(*words, self.directory, status=status, stderr=message)
        os.mkdir(self.directory / "none")
        self.run_imlog(self.directory / "none", status=2, stderr=b"the directory has no *.iml")
        os.mkdir(self.directory / "d.iml")
        self.run_imlog(self.directory, status=2, stderr=b"cannot open the log: Is a directory")
        self.assertRegex(self.run_imlog("-o", "check", self.directory, status=2),
                         b" on 2 of 3 logs; .*; 1 of 3 logs not read: '.*d.iml': cannot open the log: Is a directory ")

    def test_age(self):
        old, new = self.file(record(0, 9), name="old.iml"), self.file(record(1, 2), name="new.iml")
        for seconds, age, most in (
            (90 * 60, b"90 minutes", "89m"),
            (121 * 60, b"2 hours", "2h"),
            (50 * 3600, b"2 days", "-2d"),
            (8 * 86400, b"8 days", "1w"),
        ):
            written = time.time() - seconds
            os.utime(old, (written, written))
            message = b"the log was last written %s ago" % age
            for files, numbers in (["-"], []), ([old], []), ([new, old], [1]), ([self.directory], [1]):
                with open(old, "rb") as log:
                    words = f"--max-age={most}", *files
                    self.assertEqual(self.numbers(*words, stdin=log, status=2, stderr=message), numbers)
            self.assertIn(message, self.run_imlog("-o", "check", f"--max-age={most}", old, status=3))
            self.assertEqual(self.numbers(f"--max-age={seconds // 60 + 2}m", old), [0])
        for word in "", "-", "d", "1", "1y", "--1d", "1d ", "5000000000m":
            self.run_imlog(f"--max-age={word}", old, status=3, stderr=b"invalid age '%s'" % word.encode())
        self.run_imlog("--max-age=1d", status=3, stderr=b"option '--max-age' requires a FILE")

    def test_more_than_descriptors(self):
        names = [self.file(record(i, first=(2025, 9, 1, i % 24, i // 24 % 60)), name=f"{i}.iml") for i in range(2000)]
        numbers = self.numbers(*names, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))
        self.assertEqual(numbers, sorted(range(2000), key=lambda i: (i % 24, i // 24 % 60, i)))
