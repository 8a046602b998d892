"""How runs of imlog end: exit statuses and messages."""
import errno
import os
import resource
import signal
import threading
import time
import unittest

from harness import FAULTS, HAS_SANITIZER, SAMPLE, Case, record

NOT_READ = (b"# HELP iml_build_info The version of imlog.\n"
            b"# TYPE iml_build_info gauge\n"
            b'iml_build_info{version="%s"} 1\n'
            b"# HELP iml_read_success Whether the log was read to its end.\n"
            b"# TYPE iml_read_success gauge\n"
            b"iml_read_success 0\n")


class Statuses(Case):
    def not_read(self):
        return NOT_READ % self.version().encode()

    def test_check_is_quiet(self):
        for words in "--bogus", "-n", "-o bad", "-f", "/", self.file(b"short"):
            printed = self.run_imlog("-o", "check", *words.split(), status=3)
            self.assertRegex(printed, rb"^IML UNKNOWN - [^|\n]+\n$", words)
        for words in ([], ["/no"]):
            printed = self.run_imlog("-o", "check", *words, status=3)
            self.assertEqual(printed, b"IML UNKNOWN - cannot open the log: No such file or directory\n")
        with open("/dev/full", "wb") as full:
            for word in (self.file(record()), "--help"):
                self.run_imlog("-o", "check", word, stdout=full, status=3)

    def test_check_over_what_cannot_all_be_read(self):
        for rows, status, start in (
            ([record(0, 15), record(1, 9)], 2, "CRITICAL - 1 critical, 1 caution; 0 Maintenance note: x"),
            ([record(0, 9)], 3, "UNKNOWN - 0 critical, 1 caution; 0 Maintenance note: x"),
            ([record(0)], 3, "UNKNOWN - 0 critical, 0 caution"),
        ):
            printed = self.run_imlog("-o", "check", self.file(*rows, b"x"), status=status).decode()
            problem = "the log ends within a record, after 1 of its 240 bytes"
            self.assertTrue(printed.startswith(f"IML {start}; not all was read: {problem} | critical="), printed)

    @unittest.skipIf(HAS_SANITIZER, "hangs without descriptors")
    def test_no_descriptors(self):
        def close_all():
            os.closerange(0, 2)
            resource.setrlimit(resource.RLIMIT_NOFILE, (1, 1))

        self.run_imlog("-o", "check", status=3, preexec_fn=close_all)

    def test_unreadable_logs(self):
        for path, message in (
            ("/dev/zero", b"ten million records"),
            ("/no\x1b", b"cannot open the log: No such file or directory; "),
        ):
            self.assertEqual(self.run_imlog(path, status=2, stderr=message), b"")
            self.assertEqual(self.run_imlog("-o", "prometheus", path, status=2, stderr=message), self.not_read())
        (self.directory / "libkelmintrfc64.so.3").touch()
        self.run_imlog(status=2, stderr=b"cannot load the request library: %s/libkelm" % bytes(self.directory),
                       env={"LD_LIBRARY_PATH": str(self.directory)})

    def test_torn_log(self):
        whole = [record(i) for i in range(600)]
        torn = self.file(*whole, record()[:239])
        message = b"the log ends within a record, after 239 of its 240"
        self.assertEqual(self.run_imlog("-o", "raw", torn, status=2, stderr=message), b"".join(whole))
        metrics = self.run_imlog("-o", "prometheus", torn, status=2, stderr=message)
        self.assertIn(b'{severity="information"} 600\n', metrics)
        self.assertTrue(metrics.endswith(self.not_read()))
        with open("/dev/full", "wb") as full:
            self.run_imlog(torn, status=2, stderr=b"cannot write the output: No space left", stdout=full)

    def test_closed_streams(self):
        log, cursor = self.file(record()), self.directory / "cursor"
        for word, closed in ((log, 1), ("-", 0)):
            self.run_imlog(word, "--cursor-file", cursor, status=2, stderr=b"Bad file descriptor",
                           preexec_fn=lambda fd=closed: os.close(fd))

    def test_same_file(self):
        """The output is the log or the cursor, or what takes the place of the cursor."""
        log = self.file(record(0), record(1), name="x.imlog-tmp")
        for words, mode, file in (
            (["-o", "raw", log], "ab", b"log"),
            (["-"], "r+b", b"log"),
            (["-o", "export", log], "r+b", b"log"),
            (["--cursor-file", log], "ab", b"cursor"),
            (["--cursor-file", log.removesuffix(".imlog-tmp")], "ab", b"cursor"),
        ):
            with open(log, mode) as output, open(log, "rb") as source:
                message = b"the %s is also the output" % file
                self.run_imlog(*words, status=2, stderr=message, stdout=output, stdin=source)
            self.assertEqual(os.path.getsize(log), 480)

    def test_reader_goes(self):
        log, cursor = self.file(*(record(i) for i in range(3000))), self.directory / "cursor"
        for handler, status in ((signal.SIG_DFL, -signal.SIGPIPE), (signal.SIG_IGN, 2)):
            run = self.start("--cursor-file", cursor, log,
                             preexec_fn=lambda handler=handler: signal.signal(signal.SIGPIPE, handler))
            run.stdout.close()
            self.assertEqual(run.wait(), status)
            self.assertEqual(b"cannot write the output: Broken pipe" in run.stderr.read(), status == 2)
            self.assertFalse(cursor.exists())

    def test_no_blocking(self):
        """Both ends are pipes that do not block; the log comes late, and the output is read late."""
        rows = b"".join(record(i) for i in range(3000))
        (source, feed), (taken, sink) = os.pipe(), os.pipe()

        def write_late():
            time.sleep(0.5)
            with open(feed, "wb") as log:
                log.write(rows)

        os.set_blocking(source, False)
        os.set_blocking(sink, False)
        run = self.start("-o", "raw", "-", stdin=source, stdout=sink)
        os.close(source)
        os.close(sink)
        threading.Thread(target=write_late).start()
        time.sleep(1)
        with open(taken, "rb") as output:
            self.assertEqual(output.read(), rows)
        self.assertEqual(run.wait(), 0)

    def test_live_log(self):
        log = self.copy_sample() / "cevt"
        self.assertEqual(self.run_imlog("-o", "raw"), self.run_imlog("-o", "raw", str(SAMPLE / "cevt")))
        self.assertEqual({entry["host"] for entry in self.objects()}, {os.uname().nodename})
        for rows, end in (
            (record(0) * 2, b"it does not advance past entry 1"),
            (record(2**31 - 1), b"entry 2147483648: status -1, Invalid argument"),
        ):
            log.write_bytes(rows)
            self.run_imlog(status=2, stderr=b"cannot read the log to its end: " + end)
        log.write_bytes(b"")
        self.assertIn(b"IML OK - ", self.run_imlog("-o", "check"))
        log.unlink()
        self.run_imlog(status=2, stderr=b"cannot open the log: No such file or directory")

    def test_refused_entry(self):
        library = {"LD_LIBRARY_PATH": os.path.dirname(FAULTS)}
        self.assertEqual(self.numbers(env={**library, "REFUSE": f"2 {errno.EPERM}"}), [0, 1])
        self.run_imlog("-p", "critical", env={**library, "REFUSE": f"10000000 {errno.EPERM}"})
        for refused, end in (
            (f"0 {errno.EPERM}", b"to its end: entry 0: status -1, Operation not permitted"),
            ("2 0", b"to its end: entry 2: status -1, the request library gave no reason"),
            (f"10000001 {errno.EPERM}", b"has more than ten million records"),
        ):
            self.run_imlog("-p", "critical", env={**library, "REFUSE": refused}, status=2, stderr=end)

    def test_what_is_no_log(self):
        good, empty = record(1), bytes(240)
        long = b"\1\2" + record(2)[2:]  # of 513 bytes by its own words
        half = [good, long, empty] * 90
        cursor = self.directory / "cursor"
        for rows, is_log in (
            (half, True),
            (half + [long], False),
            ([long], False),
            ([empty] * 272 + [long] + [good] * 9, False),
            ([empty] * 273 + [long] * 9, True),
            ([b"\0\2" + record(2)[2:]], True),
            ([long, b"x"], False),
        ):
            log = self.file(*rows)
            more = {} if is_log else {"status": 2, "stderr": b"the file is not a raw log; 'imlog -o raw' writes one"}
            self.assertEqual(self.run_imlog(log, "--cursor-file", cursor, **more) != b"", is_log)
            self.assertEqual(self.run_imlog("-o", "prometheus", log, **more) != self.not_read(), is_log)
            self.assertEqual(cursor.exists(), is_log)
            cursor.unlink(missing_ok=True)
        for rows in ([], [empty]):
            log = self.file(*rows)
            self.assertEqual(self.run_imlog("-o", "check", log, status=3), b"IML UNKNOWN - the log has no entries\n")
            self.assertEqual(self.run_imlog("-o", "json", log), b"")
