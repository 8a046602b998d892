#!/usr/bin/env python3
"""The files in examples/fleet, each read by a program that uses it. What is missing skips its test and says so."""
import json
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

IMLOG, SAMPLE, ROOT = (os.environ["IMLOG"], pathlib.Path(os.environ["SAMPLE_SERVER"]), pathlib.Path(os.environ["ROOT"]))
FILES = ROOT / "examples/fleet"
PATH = os.pathsep.join([os.environ["PATH"], "/usr/sbin", str(ROOT / "build/tools")])


def read(name):
    return (FILES / name).read_text()


class Fleet(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="imlog-fleet-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def tool(self, name, package):
        path = shutil.which(name, path=PATH)
        if path is None:
            self.skipTest(f"{name} not found (package {package})")
        return path

    def succeed(self, *command, **more):
        run = subprocess.run(command, capture_output=True, text=True, check=False, timeout=120, **more)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout

    def test_alerts(self):
        promtool = self.tool("promtool", "prometheus")
        self.succeed(promtool, "check", "rules", FILES / "iml.rules.yml")
        self.succeed(promtool, "test", "rules", FILES / "iml.rules.test.yml")

    def test_schema(self):
        try:
            import jsonschema
        except ImportError:
            self.skipTest("jsonschema not found (package python3-jsonschema)")
        schema = json.loads(read("iml-1.schema.json"))
        jsonschema.Draft7Validator.check_schema(schema)
        judge = jsonschema.Draft7Validator(schema)
        draw = random.Random(11)
        log = (SAMPLE / "cevt").read_bytes()
        for _ in range(2000):  # some of them plausible
            stamps = bytes(
                draw.randrange(*bounds) for bounds in ((19, 22), (0, 100), (0, 13), (0, 32), (0, 25), (0, 61)) * 2
            )
            log += struct.pack(
                "<HIBBHH12sI",
                240,
                draw.getrandbits(32),
                1,
                draw.choice((2, 6, 9, 15, draw.randrange(256))),
                draw.randrange(0x2C),
                draw.randrange(64),
                stamps,
                draw.getrandbits(32),
            ) + draw.randbytes(212)
        (self.folder / "log").write_bytes(log)
        seen = set()
        for words in [], ["--utc"], ["--cursor-file", self.folder / "cursor"]:
            for line in self.succeed(
                IMLOG, "-o", "json", *words, self.folder / "log", env={"TZ": "Europe/Berlin"}
            ).splitlines():
                entry = json.loads(line)
                self.assertEqual([error.message for error in judge.iter_errors(entry)], [], line)
                seen |= set(entry)
        self.assertEqual(seen, set(schema["properties"]))
        for name, value in (
            ("schema", "iml/2"),
            ("severity", "fatal"),
            ("number", -1),
            ("last", "2025-13-01T00:00:00Z"),
            ("last_unix", 1.5),
            ("message", None),
            ("class", 65536),
        ):
            self.assertFalse(judge.is_valid({**entry, name: value}), name)
        for name in schema["required"]:
            self.assertFalse(judge.is_valid({key: value for key, value in entry.items() if key != name}), name)

    def test_mail(self):
        """A text that echo or printf would change arrives whole, once, and after a failure with the next run."""
        texts = [rb"\c %s %d \n $(date) `date` '\"", b"second"]
        log = b"".join(
            struct.pack("<HIBBHH12sI", 240, i, 1, 15, 0x21, 2, bytes((20, 25, 9, 1, 13, 5) * 2), 1)
            + text.ljust(212, b"\0")
            for i, text in enumerate(texts)
        )
        (self.folder / "log").write_bytes(log)
        box = self.folder / "box"
        for name, line in (
            ("imlog", f'exec {IMLOG} "$@" {self.folder}/log'),
            ("mail", f"[ ! -e {self.folder}/broken ] && cat >>{box}"),
        ):
            (self.folder / name).write_text(f"#!/bin/sh\n{line}\n")
            (self.folder / name).chmod(0o755)
        for shell in "dash", "bash":
            state = self.folder / shell
            state.mkdir()
            command = [self.tool(shell, shell), FILES / "imlog-mail", "root", state]
            environment = {**os.environ, "PATH": f"{self.folder}:{os.environ['PATH']}"}
            (self.folder / "broken").touch()
            self.assertNotEqual(subprocess.run(command, env=environment, check=False).returncode, 0)
            (self.folder / "broken").unlink()
            for _ in range(2):
                self.succeed(*command, env=environment)
            self.assertEqual(
                [line[41:].encode() for line in box.read_text().splitlines()],
                [b"Maintenance note: " + text for text in texts],
            )
            box.unlink()

    def test_sudo(self):
        """sudo takes the file, and it allows exactly what the checks call."""
        self.succeed(self.tool("visudo", "sudo"), "-c", "-f", FILES / "sudoers-imlog")
        allowed = re.findall(r"NOPASSWD: (.*)", read("sudoers-imlog"))
        nrpe = re.findall(r"^command\[\w+\]=/usr/bin/sudo -n (.*)", read("nrpe-imlog.cfg"), re.M)
        icinga = [
            " ".join(re.findall(r'"(.*?)"', line)[2:])
            for line in re.findall(r"command = \[(.*)\]", read("icinga2-iml.conf"))
        ]
        self.assertEqual((allowed, allowed), (nrpe, icinga))
        for command in allowed:
            words = command.split()[1:]
            run = subprocess.run([IMLOG, *words, SAMPLE / "cevt"], capture_output=True, check=False)
            self.assertRegex(run.stdout, b"^IML (OK|WARNING|CRITICAL) - ")

    def test_forms(self):
        try:
            import yaml
        except ImportError:
            self.skipTest("yaml not found (package python3-yaml)")
        self.assertEqual(set(yaml.safe_load(read("vector-iml.yaml"))), {"sources", "transforms", "sinks"})
        self.assertEqual(set(yaml.safe_load(read("promtail-iml.yaml"))), {"clients", "scrape_configs"})
        json.loads(read("lnav-iml.json"))


unittest.main()
