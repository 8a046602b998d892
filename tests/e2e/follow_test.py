"""imlog -f over a log that changes."""
import contextlib
import json
import os
import signal
import subprocess
import threading
import time

from harness import IMLOG, Case, record


class Follow(Case):
    @contextlib.contextmanager
    def follow(self, rows, *words, **env):
        self.log = self.directory / "server/cevt"
        self.log.parent.mkdir()
        self.cursor = self.directory / "cursor"
        self.write(*rows)
        command = [IMLOG, "-f", "-o", "json", "--cursor-file", self.cursor, *words]
        with subprocess.Popen(command, env=self.env(**env), stdout=subprocess.PIPE, stderr=subprocess.PIPE) as run:
            limit = threading.Timer(60, run.kill)
            limit.start()
            try:
                yield run
            finally:
                run.kill()
                limit.cancel()

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
        with self.follow([a, b], "-n", "1") as run:
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
        log = str(self.directory / "server/cevt")
        with self.follow([record(0, 15, last=late), record(1, 6)], "-u", **self.preloaded(LOG=log, TZ=None)) as run:
            time.sleep(0.5)
            self.write(record(0, 15, last=late, count=2), record(2, 6))
            self.assertEqual(self.read(run), (0, "repeated"))

    def test_reader_goes(self):
        with self.follow([record(0)]) as run:
            self.read(run)
            time.sleep(0.5)  # the cursor is written, and nothing new to print
            run.stdout.close()
            self.assertEqual(run.wait(timeout=20), -signal.SIGPIPE)
        self.assertEqual(self.numbers("--cursor-file", self.cursor), [])

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
            self.assertEqual(run.wait(timeout=10), 0)
            self.assertEqual(run.stdout.read()[-1:], b"\n")  # each line is one write
        self.assertFalse(self.cursor.exists())

    def test_signal_before_reading(self):
        library = self.directory / "libkelmintrfc64.so.3"
        os.mkfifo(library)
        with subprocess.Popen([IMLOG, "-f"], env=self.env(LD_LIBRARY_PATH=str(self.directory))) as run:
            with open(library, "wb"):
                run.send_signal(signal.SIGTERM)  # while it loads the library
                self.assertEqual(run.wait(timeout=10), 0)
