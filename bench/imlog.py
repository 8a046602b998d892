#!/usr/bin/env python3
"""imlog over mixed entries: imlog.py BUILD ENTRIES. Instructions per entry, entries per second, the ratio to jq."""
import os
import random
import statistics
import struct
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from measure import RECORD, instructions, sample_records  # noqa: E402

RUNS = 9


def make_dump(sample, entries, path):
    """The sample's entries in random order, at random minutes of five years."""
    draw = random.Random(1)
    records = sample_records(sample)
    with open(path, "wb") as file:
        for number in range(entries):
            record = bytearray(draw.choice(records))
            struct.pack_into("<I", record, 2, number)
            first = 1_600_000_000 + draw.randrange(5 * 365 * 86400)
            for offset, at in ((12, first), (18, first + draw.randrange(86400))):
                year, *rest = time.gmtime(at)[:5]
                struct.pack_into("6B", record, offset, year // 100, year % 100, *rest)
            file.write(record)


def split(dump, directory):
    """The same entries as logs of 200 each."""
    logs = []
    with open(dump, "rb") as file:
        while part := file.read(200 * RECORD):
            logs.append(os.path.join(directory, f"r{len(logs):04}.iml"))
            with open(logs[-1], "wb") as log:
                log.write(part)
    return logs


def seconds(command, env):
    """Median of the processor time and of the time of one run."""
    costs = []
    for _ in range(RUNS):
        start = time.perf_counter()
        child = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL)
        _, _, usage = os.wait4(child.pid, 0)
        child.returncode = 0
        costs.append((usage.ru_utime + usage.ru_stime, time.perf_counter() - start))
    return [statistics.median(cost) for cost in zip(*costs)]


def starts(commands, env):
    """Median times of a start in microseconds, the commands in turn."""
    null = [(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)]
    costs = [[] for _ in commands]
    for _ in range(300):
        for command, cost in zip(commands, costs):
            start = time.perf_counter()
            os.waitpid(os.posix_spawn(command[0], command, env, file_actions=null), 0)
            cost.append(1e6 * (time.perf_counter() - start))
    return [statistics.median(cost) for cost in costs]


def main():
    build, entries = sys.argv[1], int(sys.argv[2])
    imlog = os.path.join(build, "imlog", "imlog")
    env = dict(os.environ, TZ="Europe/Berlin")
    with tempfile.TemporaryDirectory(prefix="imlog-bench-") as directory:
        dump, lines = os.path.join(directory, "dump"), os.path.join(directory, "lines")
        make_dump(os.path.join(build, "samples", "server", "cevt"), entries, dump)
        with open(lines, "wb") as file:
            subprocess.run([imlog, "-o", "json", dump], env=env, stdout=file, check=True)
        jq = seconds(["jq", "-c", ".", lines], env)[0]
        print(f"{'imlog over ' + str(entries) + ' entries':<28} {'instructions':>13} {'entries/s':>11} {'against jq -c .':>16}")
        limits = {
            "short": "   (wanted: at most 3000 instructions)",
            "json": "   (wanted: at least 8.0 x)",
        }
        for form in ("short", "json", "export", "raw", "prometheus"):
            command = [imlog, "-o", form, dump]
            processor, elapsed = seconds(command, env)
            print(f"  -o {form:<23} {instructions(command, env) / entries:13.0f} {entries / elapsed:11.0f}"
                  f" {jq / processor:14.1f} x{limits.get(form, '')}")
        logs = split(dump, directory)
        for name, words in ((f"{len(logs)} logs as one", logs), ("-u", ["-u", dump]), ("-r", ["-r", dump])):
            command = [imlog, *words]
            processor, elapsed = seconds(command, env)
            limit = "   (wanted: at least 500000 entries/s)" if words is logs else ""
            print(f"  {name:<26} {instructions(command, env) / entries:13.0f} {entries / elapsed:11.0f}"
                  f" {jq / processor:14.1f} x{limit}")
    ours, other = starts([[imlog, "/dev/null"], ["/bin/true"]], env)
    print(f"  start-up: {ours:.0f} us, /bin/true {other:.0f} us, ratio {ours / other:.2f} (wanted: below 2)")


main()
