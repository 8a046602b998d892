"""Several logs in one listing."""
import json
import re
import resource
import subprocess

from harness import IMLOG, NO_TIME, Case, record


class SeveralLogs(Case):
    def fleet(self):
        def at(minute):
            return (2025, 9, 1, 0, minute)

        return [
            self.file(record(0, 9, b"a", at(3)), record(1, 15, b"b", at(0), at(5)), name="r1.iml"),
            self.file(record(7, 15, b"c", at(5)), record(8, 2, b"d", NO_TIME), name="r\u00e9\x01|.iml"),
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
        self.assertEqual(self.numbers("-r", fleet[0]), [1, 0])
        self.assertEqual(self.numbers("-rn1", fleet[2]), [3])
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

    def test_check_of_unread_logs(self):
        good, critical, _ = self.fleet()
        torn = self.file(record(5, 2), b"x", name="torn")
        text = self.file(b"x" * 5000, name="text")
        empty = self.file(name="empty")
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

    def test_bad_ones(self):
        good, other, _ = self.fleet()
        torn = self.file(record(5), b"x", name="torn")
        text = self.file(b"x" * 5000, name="text")
        run = subprocess.run([IMLOG, "-o", "json", "/no", good, torn, text, other], env=self.env(),
                             capture_output=True, check=False)
        self.assertEqual(run.returncode, 2)
        self.assertEqual([json.loads(line)["number"] for line in run.stdout.splitlines()], [8, 0, 1, 7, 5])
        messages = re.findall(b"^imlog: (.{12})", run.stderr, re.M)
        self.assertEqual(messages, [b"cannot open ", b"the log ends", b"the file is "])

    def test_more_than_descriptors(self):
        names = [self.file(record(i, first=(2025, 9, 1, i % 24, i // 24 % 60)), name=f"{i}.iml") for i in range(2000)]
        numbers = self.numbers(*names, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))
        self.assertEqual(numbers, sorted(range(2000), key=lambda i: (i % 24, i // 24 % 60, i)))
