"""imlog -f over a log that changes."""
import json
import os
import signal
import time

from harness import Case, record


class Follow(Case):
    def follow(self, rows, *words, **more):
        self.log = self.directory / "server/cevt"
        self.log.parent.mkdir()
        self.cursor = self.directory / "cursor"
        self.write(*rows)
        return self.start("-f", "-o", "json", "--cursor-file", self.cursor, *words, **more)

    def write(self, *rows):
        """Replaces the log in one step."""
        temporary = self.directory / "temporary"
        temporary.write_bytes(b"".join(rows))
        temporary.rename(self.log)

    def read(self, run):
        entry = json.loads(run.stdout.readline())
        return entry["number"], entry["change"]

    def test_new_and_changed(self):
        a, b, c = (record(i) for i in range(3))
        run = self.follow([a, b], "-n", "1")
        self.assertEqual(self.read(run), (1, "new"))
        self.write(a, record(1, count=2), c)
        self.assertEqual([self.read(run), self.read(run)], [(1, "repeated"), (2, "new")])
        time.sleep(0.5)
        files = [os.readlink(file) for file in os.scandir(f"/proc/{run.pid}/fd")]
        self.assertEqual([file for file in files if "cevt" in file], [])  # each reading closes the log
        run.send_signal(signal.SIGTERM)
        self.assertEqual((run.wait(), run.stderr.read()), (0, b""))
        self.assertEqual(self.numbers("--cursor-file", self.cursor), [])

    def test_times_to_come(self):
        """A note closes an update of two days and a half later, until that time has come near."""
        late = time.localtime(time.time() + 60 * 3600)[:5]
        library = self.preloaded(LOG=str(self.directory / "server/cevt"), TZ=None)
        run = self.follow([record(0, 15, last=late), record(1, 6)], "-u", env=library)
        time.sleep(0.5)
        self.write(record(0, 15, last=late, count=2), record(2, 6))
        self.assertEqual(self.read(run), (0, "repeated"))

    def test_reader_goes(self):
        run = self.follow([record(0)])
        self.read(run)
        time.sleep(0.5)  # the cursor is written, and nothing new to print
        run.stdout.close()
        self.assertEqual(run.wait(timeout=20), -signal.SIGPIPE)
        self.assertEqual(self.numbers("--cursor-file", self.cursor), [])

    def test_failing_round(self):
        run = self.follow([record(0)])
        self.read(run)
        self.log.unlink()
        self.assertEqual(run.wait(timeout=20), 2)
        self.assertIn(b"imlog: cannot open the log", run.stderr.read())

    def test_blocked_write(self):
        run = self.follow([record(i, text=b"x" * 200) for i in range(2000)])
        self.assertEqual(self.read(run), (0, "new"))
        time.sleep(1)  # nobody reads: the pipe is full
        run.send_signal(signal.SIGINT)
        self.assertEqual(run.wait(timeout=10), 0)
        self.assertEqual(run.stdout.read()[-1:], b"\n")  # each line is one write
        self.assertFalse(self.cursor.exists())

    def test_signal_before_reading(self):
        library = self.directory / "libkelmintrfc64.so.3"
        os.mkfifo(library)
        run = self.start("-f", env={"LD_LIBRARY_PATH": str(self.directory)})
        with open(library, "wb"):
            run.send_signal(signal.SIGTERM)  # while it loads the library
            self.assertEqual(run.wait(timeout=10), 0)
