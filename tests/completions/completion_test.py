#!/usr/bin/env python3
"""The completion under bash's own line editor: completion_test.py FILE"""
import os
import pty
import re
import sys

OPTIONS = "-v -V -s -t -f -p -i -a"
LATER = "-v -t -f -p -i -a"
ACTIONS = "STATUS ENABLE DISABLE TIMEOUT=5 TIMEOUT=10 TIMEOUT=15 TIMEOUT=20 TIMEOUT=30"

# The line as typed, and the words that it has when all completions of the last one have been put in its place.
CASES = [
    ("", OPTIONS),
    ("-", OPTIONS),
    ("-x", "-x"),
    ("-v ", f"-v {LATER}"),
    ("-t ", "-t -v -t -f -p -i"),  # -t -a STATUS would be refused: its third word is too long
    ("-t -f ", f"-t -f {LATER}"),
    ("-V ", "-V"),
    ("-V 12 ", "-V 12"),
    ("-s ", "-s INFO REPAIRED CAUTION CRITICAL"),
    ("-s C", "-s CAUTION CRITICAL"),
    ("-s INFO ", "-s INFO -l"),
    ("-s INFO -l ", "-s INFO -l"),
    ("-s INFO -l 'a = b' ", f"-s INFO -l a = b {LATER}"),
    ("-t -s ", "-t -s"),  # the severity is only ever read from the second word
    ("-a ", f"-a {ACTIONS}"),
    ("-a E", "-a ENABLE"),
    ("-a T", "-a TIMEOUT=5 TIMEOUT=10 TIMEOUT=15 TIMEOUT=20 TIMEOUT=30"),
    ("-a TIMEOUT=", "-a TIMEOUT=10 15 20 30 5"),
    ("-a TIMEOUT=1", "-a TIMEOUT=10 15"),
    ("-a TIMEOUT=3", "-a TIMEOUT=30"),
    ("-a TIMEOUT=4", "-a TIMEOUT=4"),
    ("-a TIMEOUT=10 ", f"-a TIMEOUT=10 {LATER}"),
    ("-a TIMEOUT= ", f"-a TIMEOUT= {LATER}"),
]
UNBROKEN_CASES = [
    ("-a TIMEOUT=1", "-a TIMEOUT=10 TIMEOUT=15"),
    ("-a TIMEOUT=10 -", f"-a TIMEOUT=10 {LATER}"),
]


class Bash:
    """An interactive bash in which orvlog is a function that shows its words."""

    def __init__(self, completion):
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.environ.update(TERM="dumb", PS1="", PS2="", HISTFILE="", INPUTRC="/dev/null")
            os.execvp("bash", ["bash", "--norc", "--noprofile", "-i"])
        self.send("stty -echo -onlcr columns 1000\n"
                  "bind 'set bell-style none' '\"\\C-o\": insert-completions'\n"
                  f"bind 'set enable-bracketed-paste off'; source {completion}\n"
                  "orvlog() { printf '<%s>\\n' \"$*\"; }\n")

    def send(self, text):
        os.write(self.terminal, text.encode())

    def words(self, typed):
        self.send(f"orvlog {typed}\x0f\n")
        seen = ""
        while not (found := re.search("^<(.*)>\n", seen, re.MULTILINE)):
            seen += os.read(self.terminal, 4096).decode()
        return found.group(1)


def main():
    bash = Bash(sys.argv[1])
    faults = 0
    for cases, setting in ((CASES, ":"), (UNBROKEN_CASES, "COMP_WORDBREAKS=${COMP_WORDBREAKS//=}")):
        bash.send(f"{setting}\n")
        for typed, expected in cases:
            got = bash.words(typed)
            if sorted(got.split()) != sorted(expected.split()):
                print(f"orvlog {typed!r}: {got!r}, not {expected!r}")
                faults += 1
    sys.exit(1 if faults else 0)


main()
