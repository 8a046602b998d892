"""The formats for other programs, each read back by a program in common use."""
import itertools
import json
import os
import shutil
import subprocess

from harness import HOSTILE_TEXTS, NO_TIME, Case, record


class Readers(Case):
    def tool(self, name, package, *directories):
        path = shutil.which(name, path=os.pathsep.join([*directories, os.environ["PATH"]]))
        if path is None:
            self.skipTest(f"{name} not found (package {package})")
        return path

    def rows(self):
        times = (2025, 7, 1, 0, 0), (2025, 5, 1, 0, 0), NO_TIME
        cases = itertools.product((2, 6, 9, 15, 77), HOSTILE_TEXTS, times, (0x21, 11))
        return [record(number, severity, text, first, event=(event_class, 2))
                for number, (severity, text, first, event_class) in enumerate(cases)]

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
        self.assertEqual(self.query(file), [entry["number"] for entry in ours])
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
