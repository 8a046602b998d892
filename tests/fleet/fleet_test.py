#!/usr/bin/env python3
"""The files in examples/fleet, each read by a program that uses it, and the commands of the manual and the guide.

What is missing skips its test and says so.
"""
import fcntl
import importlib
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import struct
import subprocess
import tempfile
import unittest

BUILD, ROOT = pathlib.Path(os.environ["BUILD"]), pathlib.Path(os.environ["ROOT"])
IMLOG, SAMPLE, FILES = BUILD / "imlog/imlog", BUILD / "samples/server", ROOT / "examples/fleet"
HEADER = "<HIBBHH12sI"


def read(name):
    return (FILES / name).read_text()


class Case(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="imlog-fleet-", dir=BUILD))  # /tmp may be noexec
        self.addCleanup(shutil.rmtree, self.directory)

    def tool(self, name, package):
        path = shutil.which(name, path=f"{os.environ['PATH']}:/usr/sbin:/lib/systemd:{ROOT}/build/tools")
        return path or self.skipTest(f"{name} not found (package {package})")

    def module(self, name):
        try:
            return importlib.import_module(name)
        except ImportError:
            return self.skipTest(f"{name} not found (package python3-{name})")

    def program(self, name, line):
        (self.directory / name).write_text(f"#!/bin/sh\n{line}\n")
        (self.directory / name).chmod(0o755)

    def succeed(self, *command, **more):
        run = subprocess.run(command, capture_output=True, text=True, check=False, timeout=120, **more)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout


class Files(Case):
    def test_alerts(self):
        for words in ["check", "rules", FILES / "iml.rules.yml"], ["test", "rules", FILES / "iml.rules.test.yml"]:
            self.succeed(self.tool("promtool", "prometheus"), *words)

    def test_schema(self):
        judge = self.module("jsonschema").Draft7Validator(json.loads(read("iml-1.schema.json")))
        judge.check_schema(judge.schema)
        draw, log = random.Random(11), (SAMPLE / "cevt").read_bytes()
        bounds = ((19, 22), (0, 100), (0, 13), (0, 32), (0, 25), (0, 61)) * 2  # some of the stamps are times
        for _ in range(2000):
            severity = draw.choice((2, 6, 9, 15, draw.randrange(256)))
            stamps = bytes(draw.randrange(*bound) for bound in bounds)
            number, count = draw.getrandbits(32), draw.getrandbits(32)
            fields = number, 1, severity, draw.randrange(0x2C), draw.randrange(64), stamps, count
            log += struct.pack(HEADER, 240, *fields) + bytes(draw.choices(range(256), k=212))
        log += struct.pack(HEADER, 240, 2**32 - 1, 1, 255, 0xFFFF, 0xFFFF, bytes(12), 2**32 - 1) + bytes(212)
        (self.directory / "log").write_bytes(log)
        seen = set()
        for words in [], ["--utc"], ["--cursor-file", self.directory / "cursor"]:
            lines = self.succeed(IMLOG, "-o", "json", *words, self.directory / "log", env={"TZ": "Europe/Berlin"})
            for entry in map(json.loads, lines.splitlines()):
                self.assertEqual([error.message for error in judge.iter_errors(entry)], [], entry)
                seen |= set(entry)
        self.assertEqual(seen, set(judge.schema["properties"]))
        self.assertEqual(seen - {"host", "change"}, set(judge.schema["required"]))
        more = {"first_unix": -86400, "last_unix": 253402387199, "change": "repeated", "later": 1}
        self.assertTrue(judge.is_valid({**entry, **more}))
        bounds = [(name, bad) for name in ("number", "severity_code", "class", "code", "count")
                  for bad in (-1, entry[name] + 1)]
        for name, bad in (*bounds, ("schema", "iml/2"), ("severity", "fatal"), ("priority", 3), ("last_unix", 1.5),
                          ("first_unix", -86401), ("last_unix", 253402387200), ("last", "2025-13-01T00:00:00Z"),
                          ("first", "1969-12-31T00:00:00Z"), ("known", 1), ("message", None), ("class_name", ""),
                          ("change", "old"), ("host", None)):
            self.assertFalse(judge.is_valid({**entry, name: bad}), (name, bad))
        for name in judge.schema["required"]:
            self.assertFalse(judge.is_valid({key: value for key, value in entry.items() if key != name}), name)

    def mail(self, shell, **more):
        """Status and standard error of imlog-mail, and what was mailed: subjects and texts."""
        state, box = self.directory / shell, self.directory / "box"
        state.mkdir(exist_ok=True)
        box.unlink(missing_ok=True)
        command = [self.tool(shell, shell), FILES / "imlog-mail", "root", state]
        run = subprocess.run(command, env=self.environment(**more), capture_output=True, text=True, check=False,
                             timeout=60)
        return run.returncode, run.stderr, box.read_text().splitlines() if box.exists() else []

    def environment(self, **more):
        return {**os.environ, "PATH": f"{self.directory}:{os.environ['PATH']}", **more}

    def test_mail(self):
        """A text that echo or printf would change arrives whole, after a failure too, and once."""
        texts = [rb"\c %s %d \n $(date) `date` '\"", b"second"]
        (self.directory / "log").write_bytes(b"".join(
            struct.pack(HEADER, 240, i, 1, 15, 0x21, 2, bytes((20, 25, 9, 1, 13, 5) * 2), 1) + text.ljust(212, b"\0")
            for i, text in enumerate(texts)))
        self.program("imlog", f'exec "{IMLOG}" "$@" "{self.directory}/log"')
        self.program("mail", f'[ -z "$BROKEN" ] || {{ echo broken >&2; exit 7; }}; cat >>"{self.directory}/box"')
        for shell in "dash", "bash":
            self.assertEqual(self.mail(shell, BROKEN="1"), (1, "imlog-mail: mail ended with status 7. broken\n", []))
            self.assertEqual(self.mail(shell, BROKEN="1"), (1, "", []))
            status, errors, lines = self.mail(shell)
            self.assertEqual((status, errors), (0, ""))
            self.assertEqual([line[41:].encode() for line in lines], [b"Maintenance note: " + text for text in texts])
            self.assertEqual(self.mail(shell), (0, "", []))

    def test_mail_of_errors(self):
        """An error is mailed when it changes, and its end, both by the first run that can mail."""
        host = os.uname().nodename
        begun, ended = f"Error of imlog on {host}", f"No more error of imlog on {host}"
        self.program("imlog", '[ -z "$ERROR" ] || { printf "%s\\n" "$ERROR" >&2; exit 1; }')
        self.program("mail", f'[ -z "$BROKEN" ] || exit 7; (echo "$*"; cat) >>"{self.directory}/box"')
        for shell in "dash", "bash":
            for error, subject in (
                ("", None),
                ("imlog: no driver", begun),
                ("imlog: no driver", None),
                ("imlog: $(date) \\c", begun),
                ("", ended),
                ("", None),
            ):
                text = error or "It has ended."
                mailed = [f"-s {subject} root", text] if subject else []
                self.assertEqual(self.mail(shell, ERROR=error), (int(error != ""), "", mailed), error)
            for _ in range(2):
                status, errors, _ = self.mail(shell, ERROR="imlog: no library", BROKEN="1")
                self.assertEqual((status, errors), (1, "imlog-mail: mail ended with status 7. \nimlog: no library\n"))
                self.assertEqual(self.mail(shell, ERROR="imlog: no library")[2][1:], ["imlog: no library"])
                self.assertEqual(self.mail(shell, ERROR="")[2][1:], ["It has ended."])

    def test_mail_that_hangs(self):
        """Neither mail nor the driver holds up the runs that follow, and a run that finds another one says so."""
        self.program("timeout", 'shift 3; exec /usr/bin/timeout -k 1 1 "$@"')
        self.program("mail", f'[ -z "$HANGS" ] || sleep 50; cat >>"{self.directory}/box"')
        self.program("imlog", "sleep 50")
        self.assertEqual(self.mail("dash"), (124, "", ["imlog has not ended within two minutes"]))
        self.program("imlog", "echo entry")
        self.assertEqual(self.mail("dash", HANGS="1"), (1, "imlog-mail: mail ended with status 124. \n", []))
        with open(self.directory / "dash/mail.running", "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertEqual(self.mail("dash"), (1, "imlog-mail: another run has not ended\n", []))
        status, errors, lines = self.mail("dash")
        self.assertEqual((status, errors, lines[:2]), (0, "", ["entry", "entry"]))

    def test_mail_on_trial(self):
        self.program("mail", 'echo "$*"; cat; exit "$STATUS"')
        words = [FILES / "imlog-mail", "--test", "root"]
        mail = self.succeed(*words, env=self.environment(STATUS="0")).splitlines()
        self.assertRegex(mail[0], "^-s Test of imlog-mail on .* root$")
        self.assertEqual(len(mail), 2)
        for command, status in (words, 7), (words[:2], 2), ([words[0]], 2), ([words[0], "-x"], 2):
            run = subprocess.run(command, env=self.environment(STATUS="7"), capture_output=True, check=False)
            self.assertEqual(run.returncode, status)
            self.assertNotEqual(run.stderr, b"")

    def test_fetch(self):
        log, fleet, calls = (SAMPLE / "cevt").read_bytes(), self.directory / "fleet", self.directory / "calls"
        (self.directory / "log").write_bytes(log)
        self.program("timeout", f'echo "$3" >>"{calls}"; shift 3; exec /usr/bin/timeout -k 1 2 "$@"')
        # The four that meet fail unless they run at the same time.
        self.program("ssh", f"""cd "{self.directory}" && echo "$*" >>calls && shift 4
            case ${{1#*@}} in
              lost) cat log; echo 'sudo: no' >&2; printf '\033[1mno power\n' >&2; exit 2 ;;
              half) head -c 1000 log ;;
              empty) ;;
              down) echo 'ssh: connect to host down' >&2; exit 255 ;;
              hangs) cat log; sleep 50 ;;
              meet*)
                touch $1
                for i in $(seq 50); do [ $(ls | grep -c meet) = 4 ] && exec cat log; sleep 0.1; done ;;
              *) cat log ;;
            esac""")
        refused = "not the name of a host"
        reasons = {
            "lost": "ssh ended with status 2: [1mno power",
            "root@half": "the log ends within a record",
            "empty": "the log is empty",
            "down": "ssh ended with status 255: ssh: connect to host down",
            "hangs": "not fetched within five minutes",
            "-oProxyCommand=x": refused,
            "-oProxyCommand=x@y": refused,
            "../x": refused,
            "root@a/b": refused,
            "root@-x": refused,
            "root@": refused,
            "": refused,
        }
        good = ["changed", "root@new", "meet1", "meet2", "meet3", "meet4"]
        names = sorted(host.partition("@")[2] or host for host in good)
        for shell in "dash", "bash":
            shutil.rmtree(fleet, ignore_errors=True)
            fleet.mkdir()
            for name in "changed", "lost", "half", "empty", "down", "hangs":
                (fleet / f"{name}.iml").write_bytes(b"old")
            calls.unlink(missing_ok=True)
            run = subprocess.run([self.tool(shell, shell), FILES / "imlog-fetch", fleet, *good, *reasons],
                                 env=self.environment(), capture_output=True, text=True, check=False, timeout=60)
            self.assertEqual((run.returncode, run.stdout), (1, ""))
            self.assertEqual(sorted(run.stderr.splitlines()),
                             sorted(f"imlog-fetch: {host}: {reason}" for host, reason in reasons.items()))
            copies = {path.stem: path.read_bytes() for path in fleet.iterdir()}
            self.assertEqual(copies, {**dict.fromkeys(("lost", "half", "empty", "down", "hangs"), b"old"),
                                      **dict.fromkeys(names, log)})
            fetched = [*good, *(host for host, reason in reasons.items() if reason != refused)]
            wanted = [f"-o BatchMode=yes -o ConnectTimeout=20 {host} sudo -n imlog -o raw" for host in fetched]
            self.assertEqual(sorted(calls.read_text().splitlines()), sorted(wanted + ["300"] * len(fetched)))
            for path in self.directory.glob("meet*"):
                path.unlink()

    def test_fetch_alone(self):
        """Another command, a directory that it makes, a full disk that ends the copy after a record, wrong usage."""
        (self.directory / "log").write_bytes((SAMPLE / "cevt").read_bytes())
        self.program("ssh", "shift 5; eval \"$1\"")
        fleet, script = self.directory / "a/fleet", FILES / "imlog-fetch"
        self.succeed(script, f"--command=cat '{self.directory}/log'", fleet, "r17u04", env=self.environment())
        self.assertEqual((fleet / "r17u04.iml").read_bytes(), (SAMPLE / "cevt").read_bytes())
        for words, status, message in (
            (["prlimit", "--fsize=480", script, "--command=head -c 960 /dev/zero", fleet, "r17u04"], 1, "be written"),
            ([script, fleet], 2, "usage"),
            ([script, "--comand=x", fleet, "r17u04"], 2, "usage"),
            ([script], 2, "usage"),
        ):
            run = subprocess.run(words, env=self.environment(), capture_output=True, text=True, check=False,
                                 timeout=60)
            self.assertEqual(run.returncode, status, words)
            self.assertIn(message, run.stderr)
        self.assertEqual((fleet / "r17u04.iml").read_bytes(), (SAMPLE / "cevt").read_bytes())

    def test_sudo(self):
        """sudo takes the file, which allows exactly what the check and imlog-fetch call."""
        self.succeed(self.tool("visudo", "sudo"), "-c", "-f", FILES / "sudoers-imlog")
        *allowed, raw = re.findall(r"NOPASSWD: (.*)", read("sudoers-imlog"))
        fetched = re.search('^command="sudo -n (.*?)"', read("imlog-fetch"), re.M)[1]
        self.assertEqual(raw, f"/usr/bin/{fetched}")
        lines = re.findall(r"command = \[(.*)\]", read("icinga2-iml.conf"))
        self.assertEqual(re.findall(r"^command\[\w+\]=/usr/bin/sudo -n (.*)", read("nrpe-imlog.cfg"), re.M), allowed)
        self.assertEqual([" ".join(re.findall(r'"(.*?)"', line)[2:]) for line in lines], allowed)
        for command in allowed:
            run = subprocess.run([IMLOG, *command.split()[1:], SAMPLE / "cevt"], capture_output=True, check=False)
            self.assertRegex(run.stdout, b"^IML (OK|WARNING|CRITICAL) - ")

    def test_forms(self):
        json.loads(read("lnav-iml.json"))


class Examples(Case):
    """The commands as they are printed, in their order, in one shell over the sample server."""
    # What reads this machine's journal is run by scripts/check-machine.
    ELSEWHERE = r"journalctl (-t|IML)"
    # How the others begin, and what they print, in one line. Each must match one row, and each row a command.
    EXPECTED = {
        r"imlog -u -p caution$": r"Server Critical Fault",
        r"imlog -S yesterday -p repaired": r"^-{16} Caution ",
        r"imlog -o json --cursor-file=\S+ \|": r"Server Critical Fault",
        r"imlog -r -u -p critical -S yesterday fleet": r"^\d{4}-\d\d-\d\dT\d\d:\d\d r\d+u\d+ Critical ",
        r"imlog -p caution -x": r"^(?!.*Network Adapter Link)",
        r"imlog -o raw >|imlog -n 0 .*--cursor-file|imlog -o json fleet|orvlog -s REPAIRED|mkdir|imlog-fetch": r"^$",
        r"TZ=Europe/Berlin imlog": r"Server Critical Fault",
        r"imlog -o export": r"^",
        r"journalctl --directory=fleet": r" r\d+u\d+ imlog: ",
        r"imlog -o check -u fleet": r"^IML CRITICAL - \d+ critical, \d+ caution on \d+ of \d+ logs; r\d+u\d+: \d+ ",
    }

    @staticmethod
    def commands():
        page = (ROOT / "docs/imlog.8").read_text().partition(".Sh EXAMPLES")[2].partition(".Sh DIAGNOSTICS")[0]
        page = re.sub(r"^\.Dl ", "", page, flags=re.M).replace(r"\(aq", "'").replace(r"\-", "-")
        guide = re.sub(r"^    ", "", (ROOT / "docs/shipping.md").read_text(), flags=re.M)
        text = re.sub(r"\|\n +", "| ", page + guide)  # joins a command of two lines
        starts = r"TZ=|(?:journalctl|imlog|imlog-fetch|orvlog|mkdir) "
        return re.findall(rf"^(?:[#$] )?((?:{starts}).*)$", text, re.M)

    def test_all(self):
        self.tool("jq", "jq")
        remote = self.tool("systemd-journal-remote", "systemd-journal-remote")
        if subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            self.skipTest("mount namespaces not found (package util-linux)")
        shutil.copytree(SAMPLE, self.directory / "server")
        shutil.copy(FILES / "imlog-fetch", self.directory)
        made = self.directory / "fleet"
        self.succeed(ROOT / "simulator/fleet.py", "--servers", "12", "--zone", "Europe/Berlin", made)
        for host in "r01u01", "r01u02":  # which cannot be read
            (self.directory / f"fleet/{host}.iml").unlink()
        self.program("ssh", 'shift 5; exec sh -c "$1"')
        self.program("sudo", 'shift; exec "$@"')
        commands = [command for command in self.commands() if not re.search(self.ELSEWHERE, command)]
        script = ["mount -t tmpfs none /var/lib", "mkdir -p /var/lib/imlog", "echo r99u01 >hosts"]
        for command in commands:
            script += ["echo @@", command.replace("/lib/systemd/systemd-journal-remote", remote)]
        environment = {**os.environ, "ORVLOG_SIMULATOR": str(self.directory / "server"), "TZ": "Europe/Berlin",
                       "PATH": f"{self.directory}:{BUILD}/imlog:{BUILD}/orvlog:{os.environ['PATH']}",
                       "LD_LIBRARY_PATH": str(BUILD / "simulator")}  # the sanitizers ignore the run path
        run = subprocess.run(["unshare", "--mount", "bash", "-c", "\n".join(script)], cwd=self.directory,
                             env=environment, capture_output=True, text=True, timeout=120, check=False)
        self.assertNotRegex(run.stderr, "imlog: |not found")
        used, outputs = set(), run.stdout.split("@@\n")[1:]
        self.assertEqual(len(outputs), len(commands))
        for command, output in zip(commands, outputs):
            row = next((row for row in self.EXPECTED if re.match(row, command)), None)
            self.assertIsNotNone(row, f"nothing is expected of: {command}")
            self.assertRegex(" ".join(output.split()), self.EXPECTED[row], command)
            used.add(row)
        self.assertEqual(used, set(self.EXPECTED))


unittest.main()
