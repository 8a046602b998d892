#!/usr/bin/env python3
"""The programs end to end, over files and the simulator: end_to_end_test.py [GROUP ...], one class for each group."""
import codecs
import contextlib
import errno
import json
import os
import pathlib
import pty
import random
import re
import resource
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
import unittest

BUILD = pathlib.Path(os.environ["BUILD"])
IMLOG = str(BUILD / "imlog/imlog")
SAMPLE = BUILD / "samples/server"
FAULTS = os.environ["FAULTS"]  # faults.cpp
HAS_SANITIZER = "address" in os.environ["SANITIZE"]
codecs.register_error("each", lambda error: ("\ufffd" * (error.end - error.start), error.end))


def record(number=0, severity=2, text=b"x", first=(2025, 9, 1, 13, 5), last=None, count=1, event=(0x21, 2)):
    """A record, by default a maintenance note. Times of six numbers are the bytes themselves."""
    stamps = [bytes(at) if len(at) == 6 else bytes([at[0] // 100, at[0] % 100, *at[1:]])
              for at in (first, last or first)]
    return struct.pack("<HIBBHH6s6sI", 240, number, 1, severity, *event, *stamps, count) + text[:212].ljust(212, b"\0")


class Case(unittest.TestCase):
    maxDiff = None
    command = [IMLOG]

    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="imlog-test-"))
        self.addCleanup(shutil.rmtree, self.directory)

    def file(self, *records, name="log"):
        (self.directory / name).write_bytes(b"".join(records))
        return str(self.directory / name)

    def env(self, **more):
        return {**os.environ, "TZ": "Europe/Berlin", "LC_ALL": "C", "LD_LIBRARY_PATH": str(BUILD / "simulator"),
                "ORVLOG_SIMULATOR": str(self.directory / "server"), **more}

    def faults(self, **which):
        # Blanks separate the elements of LD_PRELOAD, so it gets no path.
        return {"LD_PRELOAD": os.path.basename(FAULTS), "LD_LIBRARY_PATH": os.path.dirname(FAULTS),
                "ASAN_OPTIONS": "verify_asan_link_order=0", **which}

    def run_imlog(self, *words, status=0, stderr=b"", env=None, **more):
        """Runs imlog and returns its standard output; standard error has to hold `stderr`, or be empty."""
        run = subprocess.run([*self.command, *words], env=self.env(**(env or {})), stdout=more.pop("stdout", subprocess.PIPE),
                             stderr=subprocess.PIPE, timeout=60, check=False, **more)
        self.assertEqual(run.returncode, status, (words, run.stderr))
        self.assertRegex(run.stderr, b"^imlog: [^\n]*%s[^\n]*\n\\Z" % re.escape(stderr) if stderr else b"^\\Z")
        return run.stdout

    def objects(self, *words, **more):
        return [json.loads(line) for line in self.run_imlog("-o", "json", *words, **more).splitlines()]

    def numbers(self, *words, **more):
        return [entry["number"] for entry in self.objects(*words, **more)]


class Orvlog(Case):
    """Round trips that involve several of its parts."""
    under = []  # a command to run it under

    def orvlog(self, *words):
        run = subprocess.run([*self.under, BUILD / "orvlog/orvlog", *words], env=self.env(), capture_output=True, text=True,
                             timeout=300, check=False)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return run.stdout

    def test_note_is_read_back(self):
        shutil.copytree(SAMPLE, self.directory / "server")
        note = 'Replaced fan 3; 100% "done" %s%n'
        self.assertEqual(self.orvlog("-s", "Repaired", "-l", note), "")
        listing = self.orvlog("-v")
        entries = re.findall(r"\n(\d{4,}) [A-Z][a-z]+ +\d\d:\d\d  \d\d/\d\d/\d{4} \d\d:\d\d  \d\d/\d\d/\d{4} \d{4,}"
                             r"\nLOG: (.*)\n", listing)
        numbers = [number for number, _ in entries]
        self.assertEqual((entries[-1][1], numbers), ("Maintenance note: " + note, sorted(numbers)))
        self.assertEqual(listing.count("\n"), 3 + 3 * len(entries))  # a header, the entries, and nothing else
        self.assertGreaterEqual(len(entries), 60)
        self.assertEqual(re.findall(r"\n(\d+ \w+)", self.orvlog("-V", numbers[-1])), [numbers[-1] + " Repaired"])

    def test_watchdog_and_reports(self):
        shutil.copytree(SAMPLE, self.directory / "server")
        self.assertEqual(self.orvlog("-a", "TIMEOUT=20"), "Setting ASR timer to 20\n")
        self.orvlog("-a", "DISABLE")
        (self.directory / "server/cdt/5002").write_bytes(b"\x12" + bytes(14))
        self.assertRegex(self.orvlog("-a", "STATUS", "-p", "-i", "-t"), (
            r"(?s)\ACurrent IPMI WatchDog Timer  Status is DISABLED and the timeout value is 20\n.*\nPower cap:.*\nBusNumber\t"
            r".*\n 5\t\t 0\t\t 0\t\t60\t\tdcb8\t\t 3\n.*\nSensor"))


class OrvlogUnderValgrind(Orvlog):
    under = ["valgrind", "-q", "--error-exitcode=99", "--leak-check=full"]


class Formats(Case):
    TEXTS = [b"Fan 3\x7freplaced today\x07", "\u0080\u009f\u00a0\u00e9\u20ac\U0001f600".encode(), b"\xff\xe2\x82 12345678\"\\ | \n'%s'"]

    def test_colors(self):
        log = self.file(record(1, 15))
        for words, more, is_colored in (
                ([], {}, True), ([], {"TERM": "dumb"}, False), ([], {"TERM": ""}, False), ([], {"TERM": None}, False),
                ([], {"NO_COLOR": ""}, True), ([], {"NO_COLOR": "0"}, False), (["--color=never"], {}, False),
                (["--color", "always"], {"TERM": "dumb", "NO_COLOR": "1"}, True), (["-o", "json"], {}, False)):
            env = {**self.env(), "TERM": "xterm", "NO_COLOR": None, **more}
            terminal, stdout = pty.openpty()
            subprocess.run([IMLOG, *words, log], env={name: value for name, value in env.items() if value is not None},
                           stdout=stdout, timeout=60, check=True)
            self.assertEqual(b" \x1b[1;31mCritical\x1b[0m    " in os.read(terminal, 4096), is_colored, (words, more))
            os.close(stdout)
            os.close(terminal)
        self.assertNotIn(b"\x1b", self.run_imlog(log, env={"TERM": "xterm"}))
        self.assertIn(b"\nIML_LAST=2025-09-01T11:05:00Z\n", self.run_imlog("-o", "export", "--utc", log))

    def test_texts(self):
        log = self.file(*(record(i, text=text) for i, text in enumerate(self.TEXTS)))
        shown = [line[41:] for line in self.run_imlog(log).decode().splitlines()]
        self.assertLess(255 + 41, max(map(len, self.run_imlog(str(SAMPLE / "cevt")).splitlines())))  # not cut
        raw_json = self.run_imlog("-o", "json", log, "--host", b"r\x1b\xff\xc2\x9b")
        lines = raw_json.decode().splitlines()
        exported = self.run_imlog("-o", "export", log, "--host", b"r\x1b\xff").decode().split("\n\n")
        self.assertFalse(set(raw_json) & (set(range(32)) - {10} | {0x7f}) or b"\xc2\x9f" in raw_json)
        self.assertIn("\u00a0\u00e9", lines[1])
        for i, text in enumerate(self.TEXTS):
            message = "Maintenance note: " + text.decode(errors="each")
            self.assertEqual(json.loads(lines[i])["message"], message)
            self.assertEqual(json.loads(lines[i])["host"], "r\x1b\ufffd\x9b")
            blank = "".join(" " if ord(c) < 32 or 127 <= ord(c) < 160 else c for c in message)
            self.assertEqual(shown[i], blank.replace("\ufffd", "?"))
            self.assertIn(f"\nMESSAGE={blank}\n", exported[i])
            self.assertIn("\n_HOSTNAME=r \ufffd\n", exported[i])

    def test_raw_and_gaps(self):
        rows = [record(i, severity) for i, severity in enumerate((2, 9, 15))]
        log = self.file(bytes(240), rows[0], bytes(480), rows[1], rows[2], bytes(240))
        self.assertEqual(self.run_imlog("-o", "raw", "-p", "caution", log), rows[1] + rows[2])
        self.assertEqual(self.run_imlog("-o", "raw", "-", input=b"".join(rows)), b"".join(rows))

    def test_export(self):
        times = ([(1999, 1, 1, 0, 0), (2025, 1, 1, 0, 0)], [(0,) * 6], [(2024, 1, 1, 0, 0)], [(1970, 1, 1, 1, 0)],
                 [(1970, 1, 1, 1, 1)], [(2024, 1, 1, 0, 0), (3112, 1, 1, 0, 0)])  # the last is beyond 2^55 microseconds
        log = self.file(*(record(i, 2, b"", *at) for i, at in enumerate(times + ([(2024, 1, 1, 0, 0)],) * 20)))
        entries = [dict(line.split("=", 1) for line in entry.split("\n"))
                   for entry in self.run_imlog("-o", "export", log).decode().split("\n\n")[:-1]]
        self.assertEqual([(int(e["IML_NUMBER"]), int(e["__REALTIME_TIMESTAMP"])) for e in entries], [
            (1, 1), (3, 1), (4, 60_000000), *((i, 1704063600_000000) for i in (2, *range(5, 26))),
            (0, 1735686000_000000)])
        self.assertEqual([int(e["__MONOTONIC_TIMESTAMP"]) for e in entries], list(range(1, 27)))
        self.assertEqual(list(entries[0])[-7:], [
            "IML_NUMBER", "IML_SEVERITY", "IML_CLASS", "IML_CODE", "IML_COUNT", "IML_CLASS_NAME", "IML_KNOWN"])
        self.assertEqual(entries[4]["IML_LAST"], "3112-01-01T00:00:00+01:00")
        self.assertRegex(entries[0]["_BOOT_ID"] + entries[0]["MESSAGE_ID"], "^[0-9a-f]{64}$")
        boots = [set(re.findall("_BOOT_ID=(.*)", self.run_imlog("-o", "export", log).decode())) for _ in range(3)]
        self.assertEqual(([len(ids) for ids in boots], len(set.union(*boots))), ([1, 1, 1], 3))

    def test_check(self):
        rows = [record(1, 9, b"a"), record(2, 15, b"b|c"), record(3, 15, b"d|e\nf"), record(4, 9), record(5, 2)]
        for severity, chosen, status, line in (
                ("caution", rows, 2,
                 "CRITICAL - 2 critical, 2 caution; 3 Maintenance note: d/e f | critical=2;;0 caution=2;0; entries=4"),
                ("information", rows[3:] + rows[:1], 1,
                 "WARNING - 0 critical, 2 caution; 1 Maintenance note: a | critical=0;;0 caution=2;0; entries=3"),
                ("repaired", [rows[4], record(9, 77)], 0,
                 "OK - 0 critical, 0 caution | critical=0;;0 caution=0;0; entries=1")):
            output = self.run_imlog("-o", "check", "-p", severity, self.file(*chosen), status=status)
            self.assertEqual(output.decode(), f"IML {line}\n")

    def test_prometheus(self):
        times = (6, (1970, 1, 1, 0, 59)), (9, (2025, 1, 1, 0, 0)), (9, (2024, 1, 1, 0, 0)), (15, (0,) * 6)
        log = self.file(*(record(1, severity, b"", at) for severity, at in times))
        lines = self.run_imlog("-o", "prometheus", log).decode().splitlines()
        self.assertEqual([line for line in lines if line[0] != "#"], [
            *(f'iml_entries{{severity="{name}"}} {count}' for name, count in (
                ("information", 0), ("repaired", 1), ("caution", 2), ("critical", 1), ("unknown", 0))),
            *(f'iml_last_timestamp_seconds{{severity="{name}"}} {at}'
              for name, at in (("repaired", -60), ("caution", 1735686000))),
            *(f'iml_unserviced_entries{{severity="{name}",class="Maintenance"}} {count}'
              for name, count in (("repaired", 0), ("caution", 2), ("critical", 1))), "iml_read_success 1"])


class Filters(Case):
    def test_lines_and_times(self):
        now = time.time()
        log = self.file(*(record(i, severity, first=time.gmtime(now - age)[:5])
                          for i, (age, severity) in enumerate(((600, 2), (60, 15), (60, 15), (-600, 2)))))
        for words, expected in (("-n 2", [2, 3]), ("-n 0", []), ("-n 99 -p crit", [1, 2]), ("-n 1 -p critical", [2]),
                                ("-S -5m -U now", [1, 2]), ("-S now -n 9", [3]), ("-U -5m", [0])):
            self.assertEqual(self.numbers(*words.split(), log, env={"TZ": "UTC"}), expected, words)


class Statuses(Case):
    def test_wrong_usage(self):
        log = self.file(record())
        for words, message in (
                (["--bogus"], b"unrecognized option '--bogus'; see"), (["-n", "9", "-o", "a\nb"], b"unknown format 'a b'"),
                (["-S", "2024-02-30"], b"invalid time '2024-02-30'; use 2025-09-01, "),
                (["-f", log], b"'--follow' is for the live log, not for FILE '%s'; leave" % log.encode())):
            self.assertEqual(self.run_imlog(*words, status=1, stderr=message), b"")
        self.assertEqual(self.run_imlog("-n", "9", "-n", "0", "-o", "json", "-o", "short", log), b"")
        self.assertTrue(self.run_imlog("--help").startswith(b"Usage: imlog ["))
        self.assertIn(b"\n0x0B Power Subsystem\n", self.run_imlog("-c", "help", "-o", "check"))
        self.assertRegex(self.run_imlog("--version"), rb"^imlog \d+\.\d+\.\d+\n$")

    def test_check_is_quiet(self):
        for words in ("--bogus -o check", "-n -o check", "-o check /", "-o check " + self.file(b"short")):
            self.assertRegex(self.run_imlog(*words.split(), status=3), rb"^IML UNKNOWN - [^|\n]+\n$", words)
        for words in [], ["/no"]:
            self.assertEqual(self.run_imlog("-o", "check", *words, status=3),
                             b"IML UNKNOWN - cannot open the log: No such file or directory\n")
        with open("/dev/full", "wb") as full:
            for word in self.file(record()), "--help":
                self.run_imlog(word, "-o", "check", stdout=full, status=3)
        if not HAS_SANITIZER:  # it hangs without descriptors
            self.run_imlog("-o", "check", status=3, preexec_fn=lambda: (
                os.closerange(0, 2), resource.setrlimit(resource.RLIMIT_NOFILE, (1, 1))))

    def test_failures(self):
        whole = [record(i) for i in range(600)]
        torn = self.file(*whole, record()[:239], name="torn")
        end = b"the log ends within a record, after 239 of its 240"
        self.assertEqual(self.run_imlog("-o", "raw", torn, status=2, stderr=end), b"".join(whole))
        metric = (b"# HELP iml_read_success Whether the log was read to its end.\n# TYPE iml_read_success gauge\n"
                  b"iml_read_success 0\n")
        for path, reason in ((self.directory, b"cannot open the log: Is a directory"), ("/dev/zero", b"ten million records"),
                             ("/no\x1b", b"cannot open the log: No such file or directory; ")):
            for words in [], ["-o", "prometheus"]:
                output = self.run_imlog(*words, path, status=2, stderr=reason)
                self.assertEqual(output, metric if words else b"")
        partial = self.run_imlog("-o", "prometheus", torn, status=2, stderr=end)
        self.assertTrue(b'{severity="information"} 600\n' in partial and partial.endswith(metric))
        with open("/dev/full", "wb") as full:
            self.run_imlog(torn, status=2, stderr=b"cannot write the output: No space left", stdout=full)
        for word, closed in ((torn, 1), ("-", 0)):
            self.run_imlog(word, "--cursor-file", self.directory / "cursor", status=2, stderr=b"Bad file descriptor",
                           preexec_fn=lambda fd=closed: os.close(fd))

    def test_same_file(self):
        log = self.file(record(0), record(1), name="x.imlog-tmp")
        for words, mode, file in ((["-o", "raw", log], "ab", b"log"), (["-"], "r+b", b"log"), (["-o", "export", log], "r+b", b"log"),
                                  (["--cursor-file", log], "ab", b"cursor"), (["--cursor-file", log[:-len(".imlog-tmp")]], "ab", b"cursor")):
            with open(log, mode) as output, open(log, "rb") as source:
                self.run_imlog(*words, status=2, stderr=b"the %s is also the output" % file, stdout=output, stdin=source)
            self.assertEqual(os.path.getsize(log), 480)

    @unittest.skipIf(HAS_SANITIZER, "replaces malloc")
    def test_out_of_memory(self):
        log = self.file(record(0, 15))
        for words in ["-uo", "check", log], [log], ["-n", "-o", "check"], ["-p", "bad"]:
            for first in range(1, 40):
                with open("/dev/full", "wb") as full:
                    run = subprocess.run([IMLOG, *words], stdout=subprocess.PIPE, stderr=full, check=False,
                                         env=self.env(**self.faults(NO_MEMORY=str(first))))
                if "check" in words and run.returncode in (0, 1, 2, 3):
                    line = b"IML UNKNOWN - " if run.returncode == 3 else b"IML CRITICAL - "
                    self.assertEqual((run.stdout[:len(line)], run.stdout[-1:]), (line, b"\n"), (words, first))
                self.assertTrue("check" in words or run.returncode != 3, (words, first))

    def test_pipes(self):
        rows = [record(i) for i in range(3000)]
        os.mkfifo(fifo_name := self.directory / "fifo")
        with subprocess.Popen([IMLOG, "-o", "raw", fifo_name], stdout=subprocess.PIPE, env=self.env()) as run:
            with open(fifo_name, "wb", buffering=0) as fifo:  # records in pieces
                for piece in (rows[0][:100], rows[0][100:] + rows[1][:9], rows[1][9:]):
                    fifo.write(piece)
                    time.sleep(0.02)
            self.assertEqual(run.stdout.read(), rows[0] + rows[1])
        for handler, status in ((signal.SIG_DFL, -signal.SIGPIPE), (signal.SIG_IGN, 2)):
            command = [IMLOG, "--cursor-file", self.directory / "cursor", self.file(*rows)]
            with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=self.env(),
                                  preexec_fn=lambda: signal.signal(signal.SIGPIPE, handler)) as run:
                run.stdout.close()
                self.assertEqual(run.wait(), status)
                self.assertEqual(b"cannot write the output: Broken pipe" in run.stderr.read(), status == 2)
            self.assertFalse((self.directory / "cursor").exists())

    def test_no_blocking(self):
        rows = b"".join(record(i) for i in range(3000))
        (source, feed), (taken, sink) = os.pipe(), os.pipe()

        def write_late():
            time.sleep(0.5)
            with open(feed, "wb") as log:
                log.write(rows)

        for fd in source, sink:
            os.set_blocking(fd, False)
        with subprocess.Popen([IMLOG, "-o", "raw", "-"], stdin=source, stdout=sink, env=self.env()) as run:
            os.close(source), os.close(sink)
            threading.Thread(target=write_late).start()
            time.sleep(1)
            with open(taken, "rb") as output:
                self.assertEqual(output.read(), rows)
            self.assertEqual(run.wait(), 0)

    def test_live(self):
        shutil.copytree(SAMPLE, self.directory / "server")
        self.assertEqual(self.run_imlog("-o", "raw"), self.run_imlog("-o", "raw", str(SAMPLE / "cevt")))
        self.assertEqual({entry["host"] for entry in self.objects()}, {os.uname().nodename})
        log = self.directory / "server/cevt"
        for rows, end in ((record(0) * 2, b"it does not advance past entry 1"),
                          (record(2 ** 31 - 1), b"entry 2147483648: status -1, Invalid argument")):
            log.write_bytes(rows)
            self.run_imlog(status=2, stderr=b"cannot read the log to its end: " + end)
        log.unlink()
        self.run_imlog(status=2, stderr=b"cannot open the log: No such file or directory")
        faults = {"LD_LIBRARY_PATH": os.path.dirname(FAULTS)}
        self.assertEqual(self.numbers(env={**faults, "REFUSE": "2"}), [0, 1])
        self.run_imlog("-p", "critical", env={**faults, "REFUSE": "10000000"})
        for refused, end in (("0", b"to its end: entry 0: status -1, Operation not permitted"),
                             ("10000001", b"has more than ten million records")):
            self.run_imlog("-p", "critical", env={**faults, "REFUSE": refused}, status=2, stderr=end)
        (self.directory / "libkelmintrfc64.so.3").touch()
        metric = self.run_imlog("-o", "prometheus", env={"LD_LIBRARY_PATH": str(self.directory)}, status=2,
                                stderr=b"cannot load the request library: %s/libkelmintrfc64.so.3: file" % os.fsencode(self.directory))
        self.assertEqual(metric[-19:], b"iml_read_success 0\n")


class SeveralLogs(Case):
    def fleet(self):
        at = [(2025, 9, 1, 0, minute) for minute in range(9)]
        return [self.file(record(0, 9, b"a", at[3]), record(1, 15, b"b", at[0], at[5]), name="r1.iml"),
                self.file(record(7, 15, b"c", at[5]), record(8, 2, b"d", (0,) * 6), name="r\u00e9\x01|.iml"),
                self.file(record(9, 9, b"e", at[3]), record(2, 9, b"f", at[1]), record(3, 15, b"g", at[3]), name="n")]

    def test_order(self):
        fleet = self.fleet()
        for words, expected in (([], [8, 2, 0, 9, 3, 1, 7]), (["-r"], [7, 1, 3, 9, 0, 2, 8]), (["-n", "2"], [1, 7]),
                                (["-rn", "2"], [7, 1]), (["-p", "critical", "-n", "2"], [1, 7]), (["-n0"], [])):
            self.assertEqual(self.numbers(*words, *fleet), expected)
        self.assertEqual(self.numbers(*fleet[::-1]), [8, 2, 9, 3, 0, 7, 1])
        self.assertEqual(self.numbers("-r", fleet[0]), [1, 0])
        self.assertEqual(self.numbers("-rn1", fleet[2]), [3])
        exported = self.run_imlog("-o", "export", "-n", "3", *fleet).decode().split("\n\n")[:-1]
        self.assertEqual([(*re.findall("MONOTONIC_TIMESTAMP=(.*)", e), *re.findall("_HOSTNAME=(.*)", e)) for e in exported],
                         [("1", "n"), ("2", "r1"), ("3", "r\u00e9 |")])

    def test_hosts(self):
        *fleet, last = self.fleet()
        with open(last, "rb") as log:
            lines = self.run_imlog(*fleet, "-", stdin=log).decode().splitlines()
        self.assertEqual(lines[-3:], [
            "2025-09-01T00:03 -    Critical        3 x1    Maintenance note: g",
            "2025-09-01T00:05 r1   Critical        1 x1    Maintenance note: b",
            "2025-09-01T00:05 r\u00e9 | Critical        7 x1    Maintenance note: c"])
        for words, end in (([], "3 critical, 3 caution; r\u00e9 /: 7 Maint"), (["-U", "2025-09-01 00:03"], "; n: 3 Maint")):
            self.assertIn(end, self.run_imlog("-o", "check", *words, *fleet, last, status=2).decode())
        for name, host in ((".iml", ".iml"), ("x.iml.iml", "x.iml"), ("x.imlx", "x.imlx")):
            self.assertEqual(self.objects(self.file(record(), name=name))[0]["host"], host)
        with open(last, "rb") as log:
            self.assertNotIn("host", self.objects("/dev/stdin", stdin=log)[0])

    def test_bad_ones(self):
        good, other, _ = self.fleet()
        torn = self.file(record(5), b"x", name="torn")
        text = self.file(b"x" * 5000, name="text")
        run = subprocess.run([IMLOG, "-o", "json", "/no", good, torn, text, other], env=self.env(), capture_output=True,
                             check=False)
        self.assertEqual((run.returncode, [json.loads(line)["number"] for line in run.stdout.splitlines()]),
                         (2, [8, 0, 1, 7, 5]))
        self.assertEqual(re.findall(b"^imlog: (.{12})", run.stderr, re.M), [b"cannot open ", b"the log ends", b"the file is "])
        self.assertEqual(self.run_imlog("-o", "check", good, text, "/no", status=3).decode(),
                         f"IML UNKNOWN - '{text}': the file is not a raw log\n")

    def test_many(self):
        names = [self.file(record(i, first=(2025, 9, 1, i % 24, i // 24 % 60)), name=f"{i}.iml") for i in range(2000)]
        numbers = self.numbers(*names, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))
        self.assertEqual(numbers, sorted(range(2000), key=lambda i: (i % 24, i // 24 % 60, i)))

    def test_what_is_no_log(self):
        good, long, empty = record(1), b"\1\2" + record(2)[2:], bytes(240)
        half = [good, long, empty] * 90
        metric = self.run_imlog("-o", "prometheus", "/no", status=2, stderr=b"cannot open the log")
        for rows, status in ((half, 0), (half + [long], 2), ([long], 2), ([empty] * 272 + [long] + [good] * 9, 2),
                             ([empty] * 273 + [long] * 9, 0), ([b"\0\2" + record(2)[2:]], 0), ([long, b"x"], 2)):
            log = self.file(*rows)
            message = b"the file is not a raw log; 'imlog -o raw' writes one" if status else b""
            printed = self.run_imlog(log, "--cursor-file", self.directory / "cursor", status=status, stderr=message)
            self.assertEqual(printed == b"", status == 2)
            self.assertEqual(status == 2, self.run_imlog("-o", "prometheus", log, status=status, stderr=message) == metric)
            self.assertEqual((self.directory / "cursor").exists(), status == 0)
            (self.directory / "cursor").unlink(missing_ok=True)
        for rows in [], [empty]:
            self.assertEqual(self.run_imlog("-o", "check", self.file(*rows), status=3),
                             b"IML UNKNOWN - the log has no entries\n")
            self.assertEqual(self.run_imlog("-o", "json", self.file(*rows)), b"")
        shutil.copytree(SAMPLE, self.directory / "server")
        (self.directory / "server/cevt").write_bytes(b"")
        self.assertIn(b"IML OK - ", self.run_imlog("-o", "check"))


class Unserviced(Case):
    def log(self, *rows):
        """Rows of a letter (n a note that closes, e an entry), the first minute, the last; a minute of 99 is invalid."""
        def at(minute):
            return (2025, 9, 1, 13, minute) if minute < 99 else (0,) * 6
        return self.file(*(record(i, 6 if kind == "n" else 15, b"", at(first), at(last), event=(0x21, 2) if kind == "n" else (11, 2))
                           for i, (kind, first, last) in enumerate(rows)))

    def test_notes(self):
        for severity, event, closes in ((6, (0x21, 2), True), (6, (0x21, 1), False), (9, (0x21, 2), False)):
            log = self.file(record(0), record(1, severity, event=event), record(2))
            self.assertEqual(self.numbers("-u", log), [2] if closes else [0, 1, 2])
        note = ("n", 5, 5)
        for rows, expected in (
                ([("e", 1, 1), note, ("e", 2, 2)], [2]),  # the place, not the time
                ([("e", 1, 5), ("e", 1, 6), ("e", 5, 6), ("e", 6, 7), ("e", 99, 6), ("e", 9, 8), note], [1, 2, 4, 5])):
            log = self.log(*rows)
            self.assertEqual(self.numbers("-u", log), expected, rows)
            self.assertEqual(self.numbers("-u", "-p", "critical", "-r", "-n1", log), expected[-1:])
            metrics = self.run_imlog("-o", "prometheus", log, "-c", "11").decode()
            self.assertIn(f'iml_unserviced_entries{{severity="critical",class="Power Subsystem"}} {len(expected)}\n', metrics)
            self.assertIn(f"critical={len(expected)};", self.run_imlog("-uo", "check", log, status=2).decode())

    def test_each_log_its_notes(self):
        logs = [self.file(*rows, name=name) for name, rows in (
            ("a", [record(0), record(1, 6)]), ("b", [record(2), record(3, 9, event=(0xFFF0, 1))]))]
        self.assertEqual(self.numbers("-u", *logs), [2, 3])
        self.assertEqual(self.numbers("-u", "--cursor-file", self.directory / "c", logs[0]), [])
        late = self.file(record(0), record(1, 6), record(0, count=2, last=(2025, 9, 3, 0, 0)), name="a")
        self.assertEqual(self.numbers("-u", "--cursor-file", self.directory / "c", late), [0])
        early = self.file(record(9), record(0, count=3, last=(2025, 9, 3, 0, 0)), record(1, 6), name="a")
        self.assertEqual(self.numbers("-u", "--cursor-file", self.directory / "c", early), [9, 0])  # the note is old
        gauge = re.findall("unserviced_entries{(.*)", self.run_imlog("-o", "prometheus", logs[1]).decode())
        self.assertEqual(gauge, ['severity="information",class="Maintenance"} 1', 'severity="caution",class="Unknown"} 1'])
        for words in ["-n", "1"], ["-n", "1", "-u"]:
            metrics = self.run_imlog("-o", "prometheus", *words, self.file(record(0), record(1, 6), record(2), record(3)))
            self.assertIn('iml_unserviced_entries{severity="information",class="Maintenance"} 1\n', metrics.decode())


class Cursor(Case):
    def setUp(self):
        super().setUp()
        self.cursor = str(self.directory / "cursor")

    def changes(self, *rows, words=(), **more):
        entries = self.objects("--cursor-file", self.cursor, self.file(*rows), *words, **more)
        return [(entry["number"], entry["change"]) for entry in entries]

    def test_changes(self):
        a, b, c = (record(i) for i in range(3))
        again = record(1, count=2, last=(2025, 9, 2, 0, 0))
        self.assertEqual(self.changes(a, b), [(0, "new"), (1, "new")])
        self.assertEqual(os.stat(self.cursor).st_mode & 0o777, 0o600)
        self.assertEqual(self.changes(a, again, c), [(1, "repeated"), (2, "new")])
        self.assertEqual(self.changes(), [])  # cleared
        self.assertEqual(self.changes(a, c, words=("-p", "critical")), [])
        self.assertEqual(self.changes(a, c), [])  # filtered out, yet seen
        self.assertEqual(self.changes(record(0, 15), again, c, b, words=("-n", "1")), [(1, "new")])
        self.assertEqual(self.changes(record(0, 9), b, a[:20] + b"\0" * 8 + a[28:]), [(0, "repeated")])
        self.assertEqual(sorted(os.listdir(self.directory)), ["cursor", "cursor.lock", "log"])
        self.assertEqual(self.changes(a, b[:9], status=2, stderr=b"within a record"), [(0, "repeated")])
        self.assertEqual(self.changes(a, b), [])  # of the rest that was not read, all was kept

    def test_bad_cursors(self):
        self.changes(record(0), record(7))
        good = pathlib.Path(self.cursor).read_bytes()
        for text in b"", good[:-1], good.replace(b"cursor 1", b"cursor 2"):
            pathlib.Path(self.cursor).write_bytes(text)
            self.assertEqual(self.changes(record(0), status=2, stderr=b"the cursor is "), [])
            self.assertEqual(pathlib.Path(self.cursor).read_bytes(), text)
        other = self.directory / "other"
        for i, make in enumerate((lambda path: os.symlink(other, path), os.mkdir, os.mkfifo)):
            self.cursor = str(self.directory / f"cursor{i}")
            make(self.cursor)
            self.assertEqual(self.changes(record(0), status=2, stderr=b"; name a regular file in place of"), [])
            self.assertFalse(os.path.exists(self.cursor + ".lock"))
        self.cursor = str(self.directory / "linked")
        os.symlink(other, self.cursor + ".lock")
        self.assertEqual(self.changes(record(0), status=2, stderr=b"cannot lock the cursor: Too many levels"), [])
        self.assertFalse(other.exists())
        self.cursor = "/no/cursor"
        self.assertEqual(self.changes(record(0), status=2, stderr=b"cannot lock the cursor: No such file"), [])

    def test_two_at_once(self):
        os.mkfifo(self.directory / "fifo")
        command = [IMLOG, "--cursor-file", self.cursor, self.directory / "fifo"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, env=self.env()) as run:
            with open(self.directory / "fifo", "wb"):
                self.assertEqual(self.changes(record(0), status=2, stderr=b"the cursor: another run uses it"), [])
            self.assertEqual(run.wait(), 0)
        self.assertEqual(self.changes(record(0)), [(0, "new")])

    def test_failing_writes(self):
        """The cursor's temporary file does not fit, a run is killed while it writes one, the output fails: nothing is lost."""
        self.changes(record(0))
        before = pathlib.Path(self.cursor).read_text()
        words = ["-o", "json", "--cursor-file", self.cursor, self.file(record(0), record(1))]

        def limit(handler):
            signal.signal(signal.SIGXFSZ, handler)
            resource.setrlimit(resource.RLIMIT_FSIZE, (10, 10))

        for handler, status, message in ((signal.SIG_IGN, 2, b"cannot write the cursor: File too large"),
                                         (signal.SIG_DFL, -signal.SIGXFSZ, b"")):
            self.assertEqual(b"", self.run_imlog(*words, status=status, stderr=message,
                                                 preexec_fn=lambda handler=handler: limit(handler)))
            self.assertEqual(os.path.exists(self.cursor + ".imlog-tmp"), status != 2)
        with open("/dev/full", "wb") as full:
            self.run_imlog(*words, status=2, stderr=b"cannot write the output", stdout=full)
        self.assertEqual(pathlib.Path(self.cursor).read_text(), before)
        self.assertEqual(self.changes(record(0), record(1)), [(1, "new")])
        self.assertFalse(os.path.exists(self.cursor + ".imlog-tmp"))

    def test_power_failure(self):
        """The run syncs the cursor's temporary file, the output, the directory; each fails, or the run dies there."""
        killed = -signal.SIGKILL
        for call, error, status, message, is_printed, is_saved in (
                (1, errno.ENOSPC, 2, b"cannot write the cursor: No space left", False, False),
                (1, 0, killed, b"", False, False), (2, errno.EIO, 2, b"cannot write the output: Input/", True, False),
                (2, errno.EINVAL, 0, b"", True, True), (2, 0, killed, b"", True, False),
                (3, errno.EIO, 2, b"cannot sync the directory of the cursor: Input/output error", True, True),
                (3, errno.EINVAL, 0, b"", True, True), (3, 0, killed, b"", True, True)):
            self.cursor = str(self.directory / f"cursor{call}-{error}")
            with open(self.directory / "out", "w+b") as out:
                self.run_imlog("--cursor-file", self.cursor, self.file(record(0)), status=status, stderr=message,
                               stdout=out, env=self.faults(FSYNC=f"{call} {error}"))
            self.assertEqual((os.path.getsize(self.directory / "out") != 0, os.path.exists(self.cursor)),
                             (is_printed, is_saved), (call, error))
            self.assertTrue(status == killed or not os.path.exists(self.cursor + ".imlog-tmp"))
            self.assertEqual(self.changes(record(0)), [] if is_saved else [(0, "new")])
            self.assertFalse(os.path.exists(self.cursor + ".imlog-tmp"))


class Follow(Case):
    @contextlib.contextmanager
    def follow(self, rows, *words):
        self.log = self.directory / "server/cevt"
        self.log.parent.mkdir()
        self.write(*rows)
        command = [IMLOG, "-f", "-o", "json", "--cursor-file", self.directory / "cursor", *words]
        with subprocess.Popen(command, env=self.env(), stdout=subprocess.PIPE, stderr=subprocess.PIPE) as run:
            limit = threading.Timer(60, run.kill)
            limit.start()
            try:
                yield run
            finally:
                run.kill()
                limit.cancel()

    def write(self, *rows):
        temporary = self.directory / "temporary"
        temporary.write_bytes(b"".join(rows))
        temporary.rename(self.log)

    def read(self, run):
        entry = json.loads(run.stdout.readline())
        return entry["number"], entry["change"]

    def test_new_and_changed(self):
        a, b, c = (record(i) for i in range(3))
        with self.follow([a, b], "-n", "1") as run:
            self.assertEqual(self.read(run), (1, "new"))
            self.write(a, record(1, count=2), c)
            self.assertEqual([self.read(run), self.read(run)], [(1, "repeated"), (2, "new")])
            time.sleep(0.5)
            run.send_signal(signal.SIGTERM)
            self.assertEqual((run.wait(), run.stderr.read()), (0, b""))
        self.assertEqual(self.numbers("--cursor-file", self.directory / "cursor"), [])

    def test_reader_goes(self):
        with self.follow([record(0)]) as run:
            self.read(run)
            time.sleep(0.5)  # the cursor is written, and nothing new to print
            run.stdout.close()
            self.assertEqual(run.wait(timeout=20), -signal.SIGPIPE)
        self.assertEqual(self.numbers("--cursor-file", self.directory / "cursor"), [])

    def test_failing_round(self):
        with self.follow([record(0)]) as run:
            self.read(run)
            self.log.unlink()
            self.assertEqual(run.wait(timeout=20), 2)
            self.assertIn(b"imlog: cannot open the log", run.stderr.read())

    def test_blocked_write(self):
        with self.follow([record(i, text=b"x" * 200) for i in range(2000)]) as run:
            self.assertEqual(self.read(run), (0, "new"))
            time.sleep(1)  # nobody reads: the pipe is full
            run.send_signal(signal.SIGINT)
            self.assertEqual((run.wait(timeout=10), run.stdout.read()[-1:]), (0, b"\n"))  # each line is one write
        self.assertFalse((self.directory / "cursor").exists())

    def test_signal_before_reading(self):
        os.mkfifo(pipe := self.directory / "libkelmintrfc64.so.3")
        with subprocess.Popen([IMLOG, "-f"], env=self.env(LD_LIBRARY_PATH=str(self.directory))) as run, open(pipe, "wb"):
            run.send_signal(signal.SIGTERM)  # while it loads the library
            self.assertEqual(run.wait(timeout=10), 0)


class Journal(Case):
    """The journal's socket is the test's own, in a namespace of imlog's."""

    def setUp(self):
        super().setUp()
        self.path = self.directory / "systemd/journal/socket"
        self.path.parent.mkdir(parents=True)
        namespace = ["unshare", "-m", *([] if os.getuid() == 0 else ["-r"])]
        if subprocess.run([*namespace, "true"], check=False).returncode != 0:
            self.skipTest("a namespace of mounts not found (package util-linux)")
        self.command = [*namespace, "sh", "-c", 'mount --bind "$0" /run && exec "$@"', str(self.directory), IMLOG]
        self.cursor = self.directory / "cursor"

    def bind(self):
        self.path.unlink(missing_ok=True)
        server = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(server.close)
        server.bind(str(self.path))
        server.settimeout(30)
        return server

    def send(self, *words, delay=0, **more):
        """Runs imlog and returns the entries that the journal gets, from the second `delay` on."""
        server, entries = self.bind(), []

        def take():
            time.sleep(delay)
            while entry := server.recv(1 << 20):
                entries.append(dict(line.split("=", 1) for line in entry.decode().removesuffix("\n").split("\n")))

        taker = threading.Thread(target=take)
        taker.start()
        try:
            self.assertEqual(self.run_imlog("-o", "journal", *words, **more), b"")
        finally:
            with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as end:
                end.sendto(b"", str(self.path))
            taker.join()
        return entries

    def test_fields(self):
        log = self.file(record(14, 9, b"\1\0\0\x09", (2024, 12, 2, 3, 14), (2025, 7, 1, 22, 40), 5, (2, 6)),
                        record(7, 200, b"", (99,) * 6, (1970, 1, 1, 0, 0), 70000, (0xFFFF, 0xABCD)),
                        *(record(i, text=text) for i, text in enumerate(Formats.TEXTS)))
        for words, host in ((["--host", b"r\x1b\xff"], "r \ufffd"), (["--cursor-file", self.cursor], "log")):
            entries = self.send(log, *words)
            self.cursor.unlink(missing_ok=True)
            exported = [dict(line.split("=", 1) for line in entry.split("\n"))
                        for entry in self.run_imlog("-o", "export", log, *words).decode().split("\n\n")[:-1]]
            numbers = [14, 7, *range(len(Formats.TEXTS))]
            exported.sort(key=lambda entry: numbers.index(int(entry["IML_NUMBER"])))
            times = ["2025-07-01T22:40", "1970-01-01T00:00", *["2025-09-01T13:05"] * len(Formats.TEXTS)]
            for entry, export, at in zip(entries, exported, times):
                text = " ".join((at, host, export["IML_NUMBER"], "x" + export["IML_COUNT"], export["MESSAGE"]))
                self.assertEqual(entry, {**{name: value for name, value in export.items() if name[0] != "_"},
                                         "IML_HOST": host, "IML_MESSAGE": export["MESSAGE"], "MESSAGE": text})
            self.assertEqual(len(entries), len(exported))
            self.assertEqual({entry.get("IML_CHANGE") for entry in entries}, {"new" if host == "log" else None})
        known, unknown = entries[:2]
        self.assertEqual(known["MESSAGE"], "2025-07-01T22:40 log 14 x5 System Fans Not Redundant (Location Chassis)")
        self.assertEqual([known[f"IML_{name}"] for name in ("KNOWN", "CLASS_NAME", "FIRST_UNIX", "LAST_UNIX", "LAST")],
                         ["1", "Machine Environment", "1733105640", "1751402400", "2025-07-01T22:40:00+02:00"])
        self.assertEqual([unknown.get(f"IML_{name}") for name in ("KNOWN", "CLASS_NAME", "FIRST_UNIX", "LAST_UNIX")],
                         ["0", "Unknown", None, "-3600"])

    def test_unreachable(self):
        for make, reason in ((lambda: None, b"No such file"), (lambda: self.bind().close(), b"Connection refused")):
            make()
            self.run_imlog("-o", "journal", "--cursor-file", self.cursor, "/no", status=2,
                           stderr=b"cannot reach the journal: " + reason)
        log = self.file(record())
        self.send("--host", b"x" * 70000, "--cursor-file", self.cursor, log, status=2,
                  stderr=b"cannot send to the journal: Message too long")
        self.assertFalse(self.cursor.exists())

    def test_full_queue(self):
        rows = [record(i) for i in range(3000)]
        words = ["--cursor-file", self.cursor, self.file(*rows)]
        server = self.bind()
        start = time.monotonic()
        self.run_imlog("-o", "journal", *words, status=2, stderr=b"cannot send to the journal: nothing was taken for 10")
        self.assertTrue(10 <= time.monotonic() - start < 20)
        self.assertFalse(self.cursor.exists())
        server.close()
        self.assertEqual([int(entry["IML_NUMBER"]) for entry in self.send(*words, delay=2)], list(range(3000)))
        self.assertEqual(self.send(*words), [])

    def test_follow(self):
        """The journal is restarted, and later its queue is full when a signal comes."""
        log = self.directory / "server/cevt"
        log.parent.mkdir()
        log.write_bytes(record(0))
        server = self.bind()
        with subprocess.Popen([*self.command, "-f", "-o", "journal"], env=self.env(), stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as run:
            self.assertNotIn(b"IML_HOST=", server.recv(10000))
            server.close()
            server = self.bind()
            (self.directory / "next").write_bytes(b"".join(record(i, count=2) for i in range(3000)))
            (self.directory / "next").rename(log)
            self.assertIn(b"\nIML_CHANGE=repeated\n", server.recv(10000))
            time.sleep(1)
            run.send_signal(signal.SIGTERM)
            self.assertEqual((run.wait(timeout=5), run.stdout.read(), run.stderr.read()), (0, b"", b""))


class Readers(Case):
    """Each format, read back by a program in common use."""

    def tool(self, name, package, *directories):
        path = shutil.which(name, path=os.pathsep.join([*directories, os.environ["PATH"]]))
        if path is None:
            self.skipTest(f"{name} not found (package {package})")
        return path

    def rows(self):
        draw = random.Random(5)
        return [record(i, draw.choice((2, 3, 6, 9, 15, 77)), bytes(draw.randrange(1, 256) for _ in range(i // 2)),
                       draw.choice(((2025, 1 + i % 12, 1 + i % 28, i % 24, i % 60), (0,) * 6)),
                       event=(draw.choice((0x21, 11)), 2)) for i in range(400)]

    def store(self, entries, *files):
        remote = self.tool("systemd-journal-remote", "systemd-journal-remote", "/lib/systemd")
        for file in files:
            subprocess.run([remote, "-o", file, "-"], input=entries, capture_output=True, check=True)

    def journalctl(self, *words):
        return subprocess.run([self.tool("journalctl", "systemd"), *words], env=self.env(), capture_output=True,
                              check=True).stdout.splitlines()

    def query(self, *words):
        return sorted(int(json.loads(line)["IML_NUMBER"]) for line in self.journalctl("-o", "json", *words))

    def test_jq(self):
        log = self.file(*self.rows())
        back = subprocess.run([self.tool("jq", "jq"), "-c", "."], input=self.run_imlog("-o", "json", log),
                              stdout=subprocess.PIPE, check=True).stdout
        self.assertEqual([json.loads(line) for line in back.splitlines()], self.objects(log))

    def test_journal(self):
        log, journal = self.file(*self.rows()), self.directory / "x.journal"
        self.store(self.run_imlog("-o", "export", "--host", "r17u04", log), journal)
        file, ours = f"--file={journal}", self.objects(log)
        self.journalctl(file, "--verify")
        self.assertEqual(self.query(file), list(range(400)))
        self.assertEqual(self.query(file, "-p", "crit", "IML_CLASS=11", "_HOSTNAME=r17u04"),
                         [entry["number"] for entry in ours if entry["priority"] == 2 and entry["class"] == 11])
        self.assertEqual(self.query(file, "-S", "2025-06-01"),
                         [entry["number"] for entry in ours if entry["last"] and entry["last"] >= "2025-06-01"])

    def test_journal_of_many_runs(self):
        """Twenty runs with a cursor, and a clock that was set back: in one file, and in a file each."""
        rows, boots, journal, directory = [], [], self.directory / "x.journal", self.directory / "files"
        directory.mkdir()
        for run in range(20):
            rows += [record(3 * run + i, first=(2025, 2 if run < 10 else 1, 1 + run, i, 0) if i else (0,) * 6)
                     for i in range(3)]
            entries = self.run_imlog("-o", "export", "--cursor-file", self.directory / "c", self.file(*rows))
            boots.append(re.search(b"_BOOT_ID=(.*)", entries)[1].decode())
            self.store(entries, journal, directory / f"{run}.journal")
        self.journalctl(f"--file={journal}", "--verify")
        for run, boot in enumerate(boots):
            self.assertEqual(self.query(f"--file={journal}", f"--boot={boot}"), [3 * run, 3 * run + 1, 3 * run + 2])
        self.assertEqual(self.query(f"--file={journal}", "--until=2025-03-01"), list(range(60)))
        # Within the time that occurs twice one file cannot be searched. From several, newer versions of journalctl list one
        # boot after the other, and entries without a valid time only up to the first one that is too late.
        for words, expected in (["--since=2025-01-01"], range(60)), (["--since=2025-02-01"], range(30)), (
                ["--until=2025-02-01"], range(30, 60)):
            self.assertEqual([number for number in self.query(f"--directory={directory}", *words) if number % 3],
                             [number for number in expected if number % 3])

    def test_promtool(self):
        promtool = self.tool("promtool", "prometheus", os.environ.get("TOOLS", ""))
        for log in (self.file(*self.rows()), self.file(name="empty")):
            metrics = self.run_imlog("-o", "prometheus", log)
            run = subprocess.run([promtool, "check", "metrics"], input=metrics, capture_output=True, check=False)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, b"", b""))


unittest.main()
