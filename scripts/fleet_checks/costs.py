"""The cost of the collectors: processor time and memory of their processes, over servers and entries."""
import contextlib
import os
import pathlib
import threading
import time

TICKS = os.sysconf("SC_CLK_TCK")


class Meter(threading.Thread):
    """Looks at the descendants of this process until it ends. What they use after the last look is lost."""

    def __init__(self):
        super().__init__(daemon=True)
        self.used = {}  # by program and process: seconds, and at most how many bytes of memory
        self.start()

    def run(self):
        while True:
            self.look()
            time.sleep(0.2)

    def look(self):
        parents = {}
        for directory in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                parents[int(directory.name)] = int(stat_of(directory)[1])
        for process in parents:
            ancestor = process
            while ancestor not in (os.getpid(), 0):
                ancestor = parents.get(ancestor, 0)
            if ancestor and process != ancestor:
                with contextlib.suppress(OSError, StopIteration):
                    self.note(pathlib.Path(f"/proc/{process}"))

    def note(self, directory):
        stat = stat_of(directory)
        program = os.path.basename(os.readlink(directory / "exe"))
        peak = next(line for line in (directory / "status").read_text().splitlines() if line.startswith("VmHWM:"))
        self.used[program, directory.name] = (int(stat[11]) + int(stat[12])) / TICKS, int(peak.split()[1]) * 1024

    def take(self, program):
        """Seconds of all processes of a program since the last time, and the memory of the largest."""
        self.look()
        keys = [key for key in list(self.used) if key[0] == program]
        seconds, memory = zip(*(self.used.pop(key) for key in keys)) if keys else ((0,), (0,))
        return sum(seconds), max(memory)


def stat_of(directory):
    """The fields of /proc/PID/stat from the state on; the name before them may have blanks."""
    return (directory / "stat").read_text().rpartition(") ")[2].split()


class Costs:
    def __init__(self):
        self.meter, self.rows = Meter(), []

    def add(self, program, servers, entries, size, words=""):
        """Adds a program that has collected these entries of servers in so many bytes. 0 entries: one page a server."""
        self.rows.append((f"{program}{words}", servers, entries, size, *self.meter.take(program)))

    def print(self):
        model = next((line.partition(": ")[2] for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
                      if line.startswith("model name")), "unknown processor")
        print(f"\nCosts on {time.strftime('%Y-%m-%d')}, {os.cpu_count()} processors ({model})")
        print(f"{'collector':<44} {'':>15} {'bytes per':>17} {'ms of processor per':>19} {'memory':>17}")
        print(f"{'':<44} {'servers':>7} {'entries':>7} {'server':>9} {'entry':>7} {'server':>10} {'entry':>8} "
              f"{'MB':>7} {'KB/server':>9}")
        for name, servers, entries, size, seconds, memory in self.rows:
            per_entry = (f"{size / entries:.0f}", f"{1000 * seconds / entries:.3f}") if entries else ("", "")
            print(f"{name:<44} {servers:>7} {entries or '':>7} {size / servers:>9.0f} {per_entry[0]:>7} "
                  f"{1000 * seconds / servers:>10.2f} {per_entry[1]:>8} "
                  f"{memory / 1e6:>7.1f} {memory / servers / 1e3:>9.0f}")
