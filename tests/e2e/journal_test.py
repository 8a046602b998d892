"""imlog -o journal. The journal's socket is the test's own, in a namespace of imlog's."""
import os
import signal
import socket
import subprocess
import threading
import time

from harness import HOSTILE_TEXTS, IMLOG, Case, fields, record


class Journal(Case):
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
        """Runs imlog and returns the entries that the journal gets, which it takes from the second `delay` on."""
        server, entries = self.bind(), []

        def take():
            time.sleep(delay)
            while entry := server.recv(1 << 20):
                entries.append(fields(entry.decode().removesuffix("\n")))

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
        """Each entry has the fields of export but the journal's own, and a MESSAGE that begins with time and host."""
        known = record(14, 9, b"\1\0\0\x09", (2024, 12, 2, 3, 14), (2025, 7, 1, 22, 40), 5, (2, 6))
        unknown = record(700, 200, b"", (99,) * 6, (1970, 1, 1, 0, 0), 70000, (0xFFFF, 0xABCD))
        log = self.file(known, unknown, *(record(i, text=text) for i, text in enumerate(HOSTILE_TEXTS)))
        times = ["2025-07-01T22:40", "1970-01-01T00:00", *["2025-09-01T13:05"] * len(HOSTILE_TEXTS)]
        for words, host, change in (
            (["--host", b"r\x1b\xff"], "r \ufffd", None),
            (["--cursor-file", self.cursor], "log", "new"),
        ):
            entries = self.send(log, *words)
            self.cursor.unlink(missing_ok=True)
            exported = {entry["IML_NUMBER"]: entry for entry in self.exported(log, *words)}
            self.assertEqual(len(entries), len(times))
            self.assertEqual({entry.get("IML_CHANGE") for entry in entries}, {change})
            for entry, time_text in zip(entries, times):
                export = exported[entry["IML_NUMBER"]]
                message = f"{time_text} {host} {export['IML_NUMBER']} x{export['IML_COUNT']} {export['MESSAGE']}"
                own = {"IML_HOST": host, "IML_MESSAGE": export["MESSAGE"], "MESSAGE": message}
                shared = {name: value for name, value in export.items() if not name.startswith("_")}
                self.assertEqual(entry, {**shared, **own})
        known, unknown = entries[:2]
        self.assertEqual(known["MESSAGE"], "2025-07-01T22:40 log 14 x5 System Fans Not Redundant (Location Chassis)")
        self.assertEqual(known["IML_KNOWN"], "1")
        self.assertEqual(known["IML_CLASS_NAME"], "Machine Environment")
        self.assertEqual(known["IML_FIRST_UNIX"], "1733105640")
        self.assertEqual(known["IML_LAST_UNIX"], "1751402400")
        self.assertEqual(known["IML_LAST"], "2025-07-01T22:40:00+02:00")
        self.assertEqual(unknown["IML_KNOWN"], "0")
        self.assertEqual(unknown["IML_CLASS_NAME"], "Unknown")
        self.assertNotIn("IML_FIRST_UNIX", unknown)
        self.assertEqual(unknown["IML_LAST_UNIX"], "-3600")
        in_utc = self.send("--utc", log)[0]
        self.assertEqual(in_utc["MESSAGE"], known["MESSAGE"].replace("22:40", "20:40Z"))

    def test_unreachable(self):
        words = ["-o", "journal", "--cursor-file", self.cursor, "/no"]
        self.run_imlog(*words, status=2, stderr=b"cannot reach the journal: No such file")
        self.bind().close()
        self.run_imlog(*words, status=2, stderr=b"cannot reach the journal: Connection refused")
        self.send("--host", b"x" * 70000, "--cursor-file", self.cursor, self.file(record()), status=2,
                  stderr=b"cannot send to the journal: Message too long")
        self.assertFalse(self.cursor.exists())

    def test_full_queue(self):
        log = self.file(*(record(i) for i in range(3000)))
        words = ["--cursor-file", self.cursor, log]
        server = self.bind()
        start = time.monotonic()
        self.run_imlog("-o", "journal", *words, status=2,
                       stderr=b"cannot send to the journal: nothing was taken for 10")
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
