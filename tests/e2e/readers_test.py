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

    def journalctl(self, *words):
        return subprocess.run([self.tool("journalctl", "systemd"), *words], env=self.env(), capture_output=True,
                              check=True).stdout.splitlines()

    def query(self, *words):
        return sorted(int(json.loads(line)["IML_NUMBER"]) for line in self.journalctl("-o", "json", *words))

    def test_journal(self):
        log, journal = self.file(*self.rows()), self.directory / "x.journal"
        remote = self.tool("systemd-journal-remote", "systemd-journal-remote", "/lib/systemd")
        entries = self.run_imlog("-o", "export", "--host", "r17u04", log)
        subprocess.run([remote, "-o", journal, "-"], input=entries, capture_output=True, check=True)
        file, ours = f"--file={journal}", self.objects(log)
        self.journalctl(file, "--verify")
        self.assertEqual(self.query(file), list(range(400)))
        self.assertEqual(self.query(file, "-p", "crit", "IML_CLASS=11", "_HOSTNAME=r17u04"),
                         [entry["number"] for entry in ours if entry["priority"] == 2 and entry["class"] == 11])
        self.assertEqual(self.query(file, "-S", "2025-06-01"),
                         [entry["number"] for entry in ours if entry["last"] and entry["last"] >= "2025-06-01"])

    def test_promtool(self):
        promtool = self.tool("promtool", "prometheus", os.environ.get("TOOLS", ""))
        for log in (self.file(*self.rows()), self.file(name="empty")):
            metrics = self.run_imlog("-o", "prometheus", log)
            run = subprocess.run([promtool, "check", "metrics"], input=metrics, capture_output=True, check=False)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, b"", b""))
