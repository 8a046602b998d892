"""The cursor: what a run prints, keeps, and leaves when it fails or dies."""
import errno
import os
import pathlib
import resource
import signal

from harness import Case, record

KILLED = -signal.SIGKILL


class Cursor(Case):
    def setUp(self):
        super().setUp()
        self.cursor = self.directory / "cursor"
        self.temporary = self.directory / "cursor.imlog-tmp"

    def changes(self, *rows, words=(), **more):
        entries = self.objects("--cursor-file", self.cursor, self.file(*rows), *words, **more)
        return [(entry["number"], entry["change"]) for entry in entries]

    def test_changes(self):
        a, b, c = (record(i) for i in range(3))
        again = record(1, count=2, last=(2025, 9, 2, 0, 0))
        self.assertEqual(self.changes(a, b), [(0, "new"), (1, "new")])
        self.assertEqual(self.cursor.stat().st_mode & 0o777, 0o600)
        written = self.cursor.stat().st_ino
        self.assertEqual(self.changes(a, b), [])
        self.assertEqual(self.cursor.stat().st_ino, written)  # nothing has changed
        self.assertEqual(self.changes(a, again, c), [(1, "repeated"), (2, "new")])
        self.assertEqual(self.changes(), [])  # cleared
        self.assertEqual(self.changes(a, c, words=("-p", "critical")), [])
        self.assertEqual(self.changes(a, c), [])  # filtered out, yet seen
        self.assertEqual(self.changes(record(0, 15), again, c, b, words=("-n", "1")), [(1, "new")])
        self.assertEqual(self.changes(record(0, 9), b, a[:20] + bytes(8) + a[28:]), [(0, "repeated")])
        self.assertEqual(sorted(os.listdir(self.directory)), ["cursor", "cursor.lock", "log"])
        self.assertEqual(self.changes(a, b[:9], status=2, stderr=b"within a record"), [(0, "repeated")])
        self.assertEqual(self.changes(a, b), [])  # of the rest that was not read, all was kept

    def test_cleared_log(self):
        """What is equal to an old entry is new where the first entry is another than the one known with its number."""
        old = [record(i) for i in range(4)]
        later = (2025, 9, 2, 0, 0)
        for rows, expected in (
            ([record(0, first=later), old[1], old[3]], [0, 1, 3]),
            ([record(0, event=(0x21, 3)), old[1]], [0, 1]),
            ([record(0, event=(0x22, 2)), old[1]], [0, 1]),
            ([record(0, 15, b"y", last=later, count=2), old[1]], []),  # repeated
            ([old[0], record(1, first=later), old[2]], [1]),
            ([old[0], record(1, event=(0x21, 3)), record(2, event=(0x22, 2)), record(2**32 - 1)], [1, 2, 2**32 - 1]),
            ([record(9, first=later), old[1], record(0, first=later)], [9, 0]),  # unknown
            ([record(0, first=later), old[1], old[0]], []),  # a later one has its number
            ([record(2, first=later), old[1]], [2, 1]),
        ):
            self.cursor.unlink(missing_ok=True)
            self.changes(*old)
            new = [number for number, change in self.changes(*rows) if change == "new"]
            self.assertEqual(new, expected, rows)
            self.assertEqual(self.changes(*rows), [])

    def test_cleared_log_that_is_half_read(self):
        a, b, other = record(0), record(1), record(0, first=(2025, 9, 2, 0, 0))
        self.changes(a, b)
        self.assertEqual(self.changes(other, b"x", status=2, stderr=b"within a record"), [(0, "new")])
        self.assertEqual(self.changes(other, b), [(1, "new")])

    def test_damaged_cursor(self):
        self.changes(record(0), record(7))
        good = self.cursor.read_text()
        head, a, b, tail = good.splitlines(keepends=True)
        for text, fault in (
            ("", b"is empty"),
            ("imlog-cursor 2 x\n", b"is of another version"),
            ("imlog-cursor 2" + good[14:], b"is of another version"),
            ("\n", b"is damaged"),
            (good[:-1], b"is damaged"),
            (good + "\n", b"is damaged"),
            (head, b"is damaged"),
            (head + b + tail, b"is damaged"),
            (head + a + a + b + tail, b"is damaged"),
            (head + b + a + tail, b"is damaged"),
            (head + "0" + a + b + tail, b"is damaged"),
            (head + a + "8" + b[1:] + tail, b"is damaged"),
            ("\0" * 1000, b"is damaged"),
        ):
            self.cursor.write_text(text)
            self.assertEqual(self.changes(record(0), status=2, stderr=b"the cursor " + fault), [])
            self.assertEqual(self.cursor.read_text(), text)

    def test_no_regular_file(self):
        other = self.directory / "other"
        for name, make in (
            ("link", lambda path: os.symlink(other, path)),
            ("directory", os.mkdir),
            ("pipe", os.mkfifo),
        ):
            self.cursor = self.directory / name
            make(self.cursor)
            self.assertEqual(self.changes(record(0), status=2, stderr=b"; name a regular file in place of"), [])
            self.assertFalse(os.path.exists(f"{self.cursor}.lock"))
        self.cursor = self.directory / "cursor"
        os.symlink(other, f"{self.cursor}.lock")
        self.assertEqual(self.changes(record(0), status=2, stderr=b"cannot lock the cursor: Too many levels"), [])
        self.assertFalse(other.exists())
        self.cursor = "/no/cursor"
        self.assertEqual(self.changes(record(0), status=2, stderr=b"cannot lock the cursor: No such file"), [])

    def test_two_at_once(self):
        fifo = self.directory / "fifo"
        os.mkfifo(fifo)
        run = self.start("--cursor-file", self.cursor, fifo)
        with open(fifo, "wb"):
            (lock,) = (text for text in map(pathlib.Path.read_text, pathlib.Path(f"/proc/{run.pid}/fdinfo").iterdir())
                       if "FLOCK" in text)
            self.assertRegex(lock, r"flags:\t\d*2\n")  # open for writing, which NFS demands
            self.assertEqual(self.changes(record(0), status=2, stderr=b"the cursor: another run uses it"), [])
        self.assertEqual(run.wait(), 0)
        self.assertEqual(self.changes(record(0)), [(0, "new")])

    def test_failing_writes(self):
        """A temporary file that does not fit, a failing output: nothing is lost."""
        self.changes(record(0))
        before = self.cursor.read_text()
        words = ["-o", "json", "--cursor-file", self.cursor, self.file(record(0), record(1), name="longer")]

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (10, 10))

        printed = self.run_imlog(*words, status=2, stderr=b"cannot write the cursor: File too large", preexec_fn=limit)
        self.assertEqual((printed, self.temporary.exists()), (b"", False))
        self.temporary.touch()  # as a killed run leaves it
        self.assertEqual(self.changes(record(0)), [])
        self.assertFalse(self.temporary.exists())
        with open("/dev/full", "wb") as full:
            self.run_imlog(*words, status=2, stderr=b"cannot write the output", stdout=full)
        self.assertEqual(self.cursor.read_text(), before)
        self.assertEqual(self.changes(record(0), record(1)), [(1, "new")])

    def test_power_failure(self):
        """The run syncs the cursor's temporary file, the output, the directory; each fails, or the run dies there."""
        for call, error, status, message, is_printed, is_saved in (
            (1, errno.ENOSPC, 2, b"cannot write the cursor: No space left", False, False),
            (1, 0, KILLED, b"", False, False),
            (2, errno.EIO, 2, b"cannot write the output: Input/", True, False),
            (2, errno.EINVAL, 0, b"", True, True),
            (2, 0, KILLED, b"", True, False),
            (3, errno.EIO, 2, b"cannot sync the directory of the cursor: Input/output error", True, True),
            (3, errno.EINVAL, 0, b"", True, True),
            (3, 0, KILLED, b"", True, True),
        ):
            with self.subTest(call=call, error=error):
                self.cursor.unlink(missing_ok=True)
                output = self.directory / "out"
                with open(output, "wb") as stdout:
                    self.run_imlog("--cursor-file", self.cursor, self.file(record(0)), status=status, stderr=message,
                                   stdout=stdout, env=self.preloaded(FSYNC=f"{call} {error}"))
                self.assertEqual(output.read_bytes() != b"", is_printed)
                self.assertEqual(self.cursor.exists(), is_saved)
                self.assertTrue(status == KILLED or not self.temporary.exists())
                self.assertEqual(self.changes(record(0)), [] if is_saved else [(0, "new")])
                self.assertFalse(self.temporary.exists())

    def test_power_failure_while_following(self):
        with open(self.directory / "out", "wb") as stdout:
            self.run_imlog("-f", "--cursor-file", self.cursor, status=2, stderr=b"cannot write the output: Input/",
                           stdout=stdout, env=self.preloaded(FSYNC=f"2 {errno.EIO}", REFUSE=f"1 {errno.EPERM}"))
        self.assertFalse(self.cursor.exists())
