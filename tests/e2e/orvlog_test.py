"""orvlog over the simulator: round trips that involve several of its parts."""
import re
import subprocess

from harness import BUILD, Case

ENTRY = r"""
(\d{4,}) [A-Z][a-z]+ +\d\d:\d\d  \d\d/\d\d/\d{4} \d\d:\d\d  \d\d/\d\d/\d{4} \d{4,}
LOG: (.*)
"""
REPORTS = r"""(?s)\ACurrent IPMI WatchDog Timer  Status is DISABLED and the timeout value is 20
.*
Power cap:.*
BusNumber\t.*
 5\t\t 0\t\t 0\t\t60\t\tdcb8\t\t 3
.*
Sensor"""


class Orvlog(Case):
    under = []  # a command to run it under

    def orvlog(self, *words):
        run = subprocess.run([*self.under, BUILD / "orvlog/orvlog", *words], env=self.env(), capture_output=True,
                             text=True, timeout=300, check=False)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return run.stdout

    def test_note_is_read_back(self):
        self.copy_sample()
        note = 'Replaced fan 3; 100% "done" %s%n'
        self.assertEqual(self.orvlog("-s", "Repaired", "-l", note), "")
        listing = self.orvlog("-v")
        entries = re.findall(ENTRY, listing)
        numbers = [number for number, _ in entries]
        self.assertEqual(entries[-1][1], "Maintenance note: " + note)
        self.assertEqual(numbers, sorted(numbers))
        self.assertEqual(listing.count("\n"), 3 + 3 * len(entries))  # a header, the entries, and nothing else
        self.assertGreaterEqual(len(entries), 60)
        last = self.orvlog("-V", numbers[-1])
        self.assertEqual(re.findall(r"\n(\d+ \w+)", last), [numbers[-1] + " Repaired"])
        command = [BUILD / "orvlog/orvlog", "-s", "info", "-l", "x"]
        writers = [subprocess.Popen(command, env=self.env()) for _ in range(20)]
        self.assertEqual([writer.wait() for writer in writers], [0] * 20)
        self.assertEqual(len(re.findall(ENTRY, self.orvlog("-v"))), len(entries) + 20)

    def test_watchdog_and_reports(self):
        server = self.copy_sample()
        self.assertEqual(self.orvlog("-a", "TIMEOUT=20"), "Setting ASR timer to 20\n")
        self.orvlog("-a", "DISABLE")
        (server / "cdt/5002").write_bytes(b"\x12" + bytes(14))
        self.assertRegex(self.orvlog("-a", "STATUS", "-p", "-i", "-t"), REPORTS)
        (server / "proc/fan").write_bytes(b"f" * 5000)
        self.assertEqual(self.orvlog("-f"), "f" * 4608 + "\n")


class OrvlogUnderValgrind(Orvlog):
    under = ["valgrind", "-q", "--error-exitcode=99", "--leak-check=full"]
