"""The common part of the tests over the built programs: records, a directory for each test, and runs of imlog."""
import codecs
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import threading
import unittest

BUILD = pathlib.Path(os.environ["BUILD"])
IMLOG = str(BUILD / "imlog/imlog")
SAMPLE = BUILD / "samples/server"
FAULTS = os.environ["FAULTS"]  # the library that faults.cpp makes
HAS_SANITIZER = "address" in os.environ["SANITIZE"]

NOTE = (0x21, 2)  # class and code of a maintenance note
NO_TIME = (0,) * 6
HOSTILE_TEXTS = [
    b"Fan 3\x7freplaced today\x07",
    "\u0080\u009f\u00a0\u00e9\u20ac\U0001f600".encode(),
    "\u200a\u200b\u200c|\u2027\u2028\u2029|\u202a\u202e\u202f".encode(),
    "\u2065\u2066\u2069\u206a|\ufefe\ufeff\uff00".encode(),
    "\ud7ff\ue000\u0800|\U0001f600\U00102028\U0001feff\U0010ffff".encode(),
    b"\xff\xe2\x82 12345678\"\\ | \n'%s'",
    b"\xc3(\xc0\x80 \xc1\xbf \xe0\x9f\x80 \xed\xa0\x80",  # overlong forms, a surrogate
    b"\xf0\x8f\x80\x80 \xf4\x90\x80\x80 \xf5\x80\x80\x80 \xe2\x82\xc0 \xc2",  # and numbers above the last character
]

# One replacement character for each byte that is no UTF-8, as imlog has it; Python's own handler merges some.
codecs.register_error("each", lambda error: ("\ufffd" * (error.end - error.start), error.end))


def stamp(time):
    """The six bytes of a time. A time of six numbers is the bytes themselves."""
    return bytes(time) if len(time) == 6 else bytes([time[0] // 100, time[0] % 100, *time[1:]])


def record(number=0, severity=2, text=b"x", first=(2025, 9, 1, 13, 5), last=None, count=1, event=NOTE):
    """A record of 240 bytes, by default a maintenance note."""
    header = struct.pack("<HIBBHH6s6sI", 240, number, 1, severity, *event, stamp(first), stamp(last or first), count)
    return header + text[:212].ljust(212, b"\0")


def blanked(text):
    """A text without control characters, as lines of text have it."""
    return re.sub("[\0-\x1f\x7f-\x9f\u200b\u2028-\u202e\u2066-\u2069\ufeff]", " ", text)


def fields(entry):
    """The fields of one entry in the journal's export format."""
    return dict(line.split("=", 1) for line in entry.split("\n"))


class Case(unittest.TestCase):
    maxDiff = None
    command = [IMLOG]

    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="imlog-test-"))
        self.addCleanup(shutil.rmtree, self.directory)

    def file(self, *records, name="log"):
        (self.directory / name).write_bytes(b"".join(records))
        return str(self.directory / name)

    def copy_sample(self):
        """A server of the test's own, which the simulator serves."""
        shutil.copytree(SAMPLE, self.directory / "server")
        return self.directory / "server"

    def env(self, **more):
        """The environment of a run; what is None is not set."""
        env = {
            **os.environ,
            "TZ": "Europe/Berlin",
            "LC_ALL": "C",
            "LD_LIBRARY_PATH": str(BUILD / "simulator"),
            "ORVLOG_SIMULATOR": str(self.directory / "server"),
            **more,
        }
        return {name: value for name, value in env.items() if value is not None}

    def preloaded(self, **faults):
        """Variables that preload the library of faults; its name has no path, since a blank in one would end it."""
        return {
            "LD_PRELOAD": os.path.basename(FAULTS),
            "LD_LIBRARY_PATH": os.path.dirname(FAULTS),
            "ASAN_OPTIONS": "verify_asan_link_order=0",
            **faults,
        }

    def run_imlog(self, *words, status=0, stderr=b"", env=None, stdout=subprocess.PIPE, **more):
        """Runs imlog and returns its standard output. Standard error is one message with `stderr` in it, or empty."""
        run = subprocess.run([*self.command, *words], env=self.env(**(env or {})), stdout=stdout,
                             stderr=subprocess.PIPE, timeout=60, check=False, **more)
        self.assertEqual(run.returncode, status, (words, run.stderr))
        message = rb"\Aimlog: [^\n]*%s[^\n]*\n\Z" % re.escape(stderr) if stderr else rb"\A\Z"
        self.assertRegex(run.stderr, message, words)
        return run.stdout

    def start(self, *words, env=None, stdout=subprocess.PIPE, **more):
        """Starts imlog, which is killed after a minute or with the end of the test."""
        run = subprocess.Popen([*self.command, *words], env=self.env(**(env or {})), stdout=stdout,
                               stderr=subprocess.PIPE, **more)
        limit = threading.Timer(60, run.kill)
        limit.start()
        for end in run.communicate, run.kill, limit.cancel:  # the last one comes first
            self.addCleanup(end)
        return run

    def version(self):
        return self.run_imlog("--version").decode().split()[1]

    def objects(self, *words, **more):
        """The entries that imlog prints as JSON."""
        return [json.loads(line) for line in self.run_imlog("-o", "json", *words, **more).splitlines()]

    def numbers(self, *words, **more):
        return [entry["number"] for entry in self.objects(*words, **more)]

    def exported(self, *words):
        """The entries that imlog prints for the journal, as dictionaries."""
        entries = self.run_imlog("-o", "export", *words).decode().split("\n\n")
        self.assertEqual(entries.pop(), "")
        return [fields(entry) for entry in entries]
