"""imlog -o journal. The journal's socket is the test's own, in a namespace of imlog's."""
import os
import signal
import socket
import subprocess
import threading
import time

from harness import HOSTILE_TEXTS, IMLOG, Case, blanked, fields, record


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
        """Journal and export have the fields of JSON; in the journal MESSAGE begins with time and host."""
        unknown = record(700, 200, b"", (99,) * 6, (1970, 1, 1, 0, 0), 70000, (0xFFFF, 0xABCD))
        known = record(14, 9, b"\1\0\0\x09", (2024, 12, 2, 3, 14), (2025, 7, 1, 22, 40), 5, (2, 6))
        log = self.file(unknown, known, *(record(i, text=text) for i, text in enumerate(HOSTILE_TEXTS)))
        for words, host in (
            (["--host", b"r\x1b\xff"], "r \ufffd"),
            (["--cursor-file", self.cursor], "log"),
            (["--utc"], "log"),
        ):
            outputs = []
            for entries_of in self.send, self.objects, self.exported:
                outputs.append(entries_of(log, *words))
                self.cursor.unlink(missing_ok=True)
            self.assertEqual([len(entries) for entries in outputs], [2 + len(HOSTILE_TEXTS)] * 3)
            for sent, ours, exported in zip(*outputs):
                number, time_text, message = ours["number"], ours["last"][:16], blanked(ours["message"])
                if ours["last"].endswith("Z"):
                    time_text += "Z"
                shared = {
                    "MESSAGE_ID": "8c87242ae2964fe8ae541ffa16b208f2",
                    "SYSLOG_IDENTIFIER": "imlog",
                    "PRIORITY": str(ours.pop("priority")),
                    "IML_KNOWN": str(int(ours.pop("known"))),
                    **{f"IML_{name.upper()}": str(value) for name, value in ours.items()
                       if name not in ("schema", "host", "message") and value is not None},
                }
                self.assertEqual(sent, {
                    **shared,
                    "IML_HOST": host,
                    "IML_MESSAGE": message,
                    "MESSAGE": f"{time_text} {host} {number} x{ours['count']} {message}",
                })
                own = "__REALTIME_TIMESTAMP", "__MONOTONIC_TIMESTAMP", "_BOOT_ID"
                self.assertEqual({name: value for name, value in exported.items() if name not in own},
                                 {**shared, "_HOSTNAME": host, "MESSAGE": message})

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
        run = self.start("-f", "-o", "journal")
        self.assertNotIn(b"IML_HOST=", server.recv(10000))
        server.close()
        server = self.bind()
        (self.directory / "next").write_bytes(b"".join(record(i, count=2) for i in range(3000)))
        (self.directory / "next").rename(log)
        self.assertIn(b"\nIML_CHANGE=repeated\n", server.recv(10000))
        time.sleep(1)
        run.send_signal(signal.SIGTERM)
        self.assertEqual((run.wait(timeout=5), run.stdout.read(), run.stderr.read()), (0, b"", b""))
