"""The formats for other programs, each read back by a program in common use."""
import json
import os
import random
import shutil
import subprocess

from harness import NO_TIME, Case, record


class Readers(Case):
    def tool(self, name, package, *directories):
        path = shutil.which(name, path=os.pathsep.join([*directories, os.environ["PATH"]]))
        if path is None:
            self.skipTest(f"{name} not found (package {package})")
        return path

    def rows(self):
        draw = random.Random(5)

        def random_record(i):
            text = bytes(draw.randrange(1, 256) for _ in range(i // 2))
            severity = draw.choice((2, 3, 6, 9, 15, 77))
            first = draw.choice(((2025, 1 + i % 12, 1 + i % 28, i % 24, i % 60), NO_TIME))
            return record(i, severity, text, first, event=(draw.choice((0x21, 11)), 2))

        return [random_record(i) for i in range(400)]

    def store(self, entries, *files):
        remote = self.tool("systemd-journal-remote", "systemd-journal-remote", "/lib/systemd")
        for file in files:
            subprocess.run([remote, "-o", file, "-"], input=entries, capture_output=True, check=True)

    def journalctl(self, *words):
        return subprocess.run([self.tool("journalctl", "systemd"), *words], env=self.env(), capture_output=True,
                              check=True).stdout.splitlines()

    def query(self, *words):
        return sorted(int(json.loads(line)["IML_NUMBER"]) for line in self.journalctl("-o", "json", *words))

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
        journal, directory, cursor = self.directory / "x.journal", self.directory / "files", self.directory / "c"
        directory.mkdir()
        rows, boots = [], []
        for run in range(20):
            month = 2 if run < 10 else 1
            rows += [record(3 * run, first=NO_TIME),
                     record(3 * run + 1, first=(2025, month, 1 + run, 1, 0)),
                     record(3 * run + 2, first=(2025, month, 1 + run, 2, 0))]
            entries = self.run_imlog("-o", "export", "--cursor-file", cursor, self.file(*rows))
            boots.append(entries.partition(b"_BOOT_ID=")[2][:32].decode())
            self.store(entries, journal, directory / f"{run}.journal")
        self.journalctl(f"--file={journal}", "--verify")
        for run, boot in enumerate(boots):
            self.assertEqual(self.query(f"--file={journal}", f"--boot={boot}"), [3 * run, 3 * run + 1, 3 * run + 2])
        self.assertEqual(self.query(f"--file={journal}", "--until=2025-03-01"), list(range(60)))
        # Within the time that occurs twice one file cannot be searched. From several, newer versions of journalctl
        # list one boot after the other, and entries without a valid time only up to the first one that is too late.
        for words, expected in (
            ("--since=2025-01-01", range(60)),
            ("--since=2025-02-01", range(30)),
            ("--until=2025-02-01", range(30, 60)),
        ):
            found = [number for number in self.query(f"--directory={directory}", words) if number % 3 != 0]
            self.assertEqual(found, [number for number in expected if number % 3 != 0])

    def test_promtool(self):
        promtool = self.tool("promtool", "prometheus", os.environ.get("TOOLS", ""))
        for log in (self.file(*self.rows()), self.file(name="empty")):
            metrics = self.run_imlog("-o", "prometheus", log)
            run = subprocess.run([promtool, "check", "metrics"], input=metrics, capture_output=True, check=False)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, b"", b""))
