"""Shared by the benchmarks of whole processes."""
import re
import subprocess

RECORD = 240


def sample_records(path):
    """The records of a log without its gaps."""
    with open(path, "rb") as file:
        log = file.read()
    return [log[at:at + RECORD] for at in range(0, len(log), RECORD) if any(log[at:at + RECORD])]


def instructions(command, env):
    """Instructions of one run. They are counted, so that unlike times they are the same in each run."""
    counted = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command]
    run = subprocess.run(counted, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))
