#!/usr/bin/env python3
"""CPU time, peak memory and instructions of whole processes: orvlog -v against the floor, and its start-up."""
import os
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from measure import instructions, sample_records  # noqa: E402


def cost(command, env):
    """User and system seconds of one run whose output is discarded."""
    child = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        sys.exit(f"{command[0]} ended with status {status}")
    return usage.ru_utime + usage.ru_stime


def peak_memory(command, env):
    """Peak memory of one run in MiB. A child of this script would count the script's own, so another starts it."""
    timed = ["/usr/bin/time", "-f", "%M"] + command
    run = subprocess.run(timed, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=True)
    return int(run.stderr.split()[-1]) / 1024


def compare(title, ours, other, env, runs):
    """Runs both in turn and prints the medians and the median of the pairs' ratios."""
    pairs = []
    for i in range(runs + 1):  # the first pair warms up
        pairs.append((cost(ours, env), cost(other, env)))
    pairs = pairs[1:]
    a = statistics.median(p[0] for p in pairs)
    b = statistics.median(p[1] for p in pairs)
    ratio = statistics.median(p[0] / max(p[1], 1e-9) for p in pairs)
    print(f"{title:<44} {a * 1e3:9.2f} ms {b * 1e3:9.2f} ms {ratio:6.2f}   {peak_memory(ours, env):.1f} MiB")


def make_server(sample, entries):
    """A copy of the sample server whose log repeats the sample's entries up to `entries`."""
    server = tempfile.mkdtemp(prefix="orvlog-bench-")
    shutil.copytree(sample, server, dirs_exist_ok=True)
    records = sample_records(os.path.join(sample, "cevt"))
    with open(os.path.join(server, "cevt"), "wb") as file:
        for number in range(entries):
            record = bytearray(records[number % len(records)])
            struct.pack_into("<I", record, 2, number)
            file.write(record)
    return server


def listing_commands(build, size):
    """The server, environment, listing and floor of a log of `size` entries."""
    server = make_server(os.path.join(build, "samples", "server"), size)
    env = dict(os.environ, ORVLOG_SIMULATOR=server)
    listing = [os.path.join(build, "orvlog", "orvlog"), "-v"]
    length = len(subprocess.run(listing, env=env, stdout=subprocess.PIPE, check=True).stdout)
    floor = [os.path.join(build, "bench", "listing_floor"), str(length), str(size)]
    if len(subprocess.run(floor, env=env, stdout=subprocess.PIPE, check=True).stdout) != length:
        sys.exit("the floor does not write as many bytes as the listing has")
    return server, env, listing, floor


def print_instructions(build, entries):
    """Prints instructions per entry: what the last `entries` of a log cost, so that the start-up does not count."""
    counts = []
    for size in (1000, 1000 + entries):
        server, env, *commands = listing_commands(build, size)
        counts.append([instructions(command, env) for command in commands])
        shutil.rmtree(server)
    ours, floor = ((after - before) / entries for before, after in zip(*counts))
    print(f"-v over {entries} entries: {ours:.0f} instructions per entry, {ours - floor:.0f} beyond the floor")


def main():
    build, entries = sys.argv[1], int(sys.argv[2])
    print(f"{'':<44} {'orvlog':>12} {'other':>12}  ratio   peak memory")
    for size in (entries // 100, entries):
        server, env, listing, floor = listing_commands(build, size)
        compare(f"-v over {size} entries, against the floor", listing, floor, env, 15)
        shutil.rmtree(server)
    env = dict(os.environ, ORVLOG_SIMULATOR=os.path.join(build, "samples", "server"))
    orvlog = os.path.join(build, "orvlog", "orvlog")
    compare("-t, 100 starts, against /bin/true",
            ["/bin/sh", "-c", f'for i in $(seq 100); do "{orvlog}" -t; done'],
            ["/bin/sh", "-c", "for i in $(seq 100); do /bin/true; done"], env, 9)
    print_instructions(build, 6000)


main()
