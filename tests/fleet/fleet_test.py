"""The files in examples/fleet and imlog's formats, read by programs that use them; the commands of two documents."""
import fcntl
import importlib.util
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from harness import BUILD, HOSTILE_TEXTS, IMLOG, NO_TIME, SAMPLE, Case, record

ROOT = pathlib.Path(os.environ["ROOT"])
FILES, LOG = ROOT / "examples/fleet", (SAMPLE / "cevt").read_bytes()
tempfile.tempdir = str(BUILD)  # in which the tests make programs: /tmp may be noexec


def read(name):
    return (FILES / name).read_text()


class FleetCase(Case):
    def env(self, **more):
        path = f"{self.directory}:{BUILD}/imlog:{BUILD}/orvlog:{ROOT}/build/tools:{os.environ['PATH']}"
        return super().env(PATH=f"{path}:/usr/sbin:/lib/systemd", **more)

    def tool(self, name, package):
        return shutil.which(name, path=self.env()["PATH"]) or self.skipTest(f"{name} not found (package {package})")

    def program(self, name, line):
        """Takes the place of a program in the runs of this test."""
        (self.directory / name).write_text(f"#!/bin/sh\n{line}\n")
        (self.directory / name).chmod(0o755)

    def run_in(self, *command, **env):
        return subprocess.run(command, cwd=self.directory, env=self.env(**env), capture_output=True, text=True,
                              check=False, timeout=120)

    def succeed(self, *command, **env):
        run = self.run_in(*command, **env)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout

    def make_fleet(self, *words):
        """A fleet without the two logs that cannot be read to their end, and a copy of the sample server."""
        self.copy_sample()
        self.succeed(ROOT / "simulator/fleet.py", "--zone", "Europe/Berlin", *words, self.directory / "fleet")
        for host in "r01u01", "r01u02":
            (self.directory / f"fleet/{host}.iml").unlink()


class Files(FleetCase):
    def test_forms(self):
        json.loads(read("lnav-iml.json"))
        for words in ("check", "rules", FILES / "iml.rules.yml"), ("test", "rules", FILES / "iml.rules.test.yml"):
            self.succeed(self.tool("promtool", "prometheus"), *words)

    @unittest.skipUnless(importlib.util.find_spec("jsonschema"), "jsonschema not found (package python3-jsonschema)")
    def test_schema(self):
        judge = importlib.import_module("jsonschema").Draft7Validator(json.loads(read("iml-1.schema.json")))
        judge.check_schema(judge.schema)
        log = self.file(
            LOG,
            *(record(severity=severity, event=event)
              for severity, event in itertools.product(range(256), ((4, 2), (0x21, 2)))),
            record(first=(1970, 1, 1, 12, 0), last=(9999, 12, 31, 23, 59)),
            record(2**32 - 1, 255, b"", NO_TIME, count=2**32 - 1, event=(0xFFFF, 0xFFFF)),
        )
        seen = set()
        for words in [], ["--utc"], ["--cursor-file", self.directory / "cursor"]:
            for entry in self.objects(*words, log):
                self.assertEqual([error.message for error in judge.iter_errors(entry)], [], entry)
                seen |= set(entry)
        self.assertEqual(seen, set(judge.schema["properties"]))
        self.assertEqual(seen - {"host", "change"}, set(judge.schema["required"]))
        more = {"first_unix": -86400, "last_unix": 253402387199, "change": "repeated", "later": 1}
        self.assertTrue(judge.is_valid(entry | more))
        bounds = [(name, bad) for name in ("number", "severity_code", "class", "code", "count")
                  for bad in (-1, entry[name] + 1)]
        for name, bad in (*bounds, ("schema", "iml/2"), ("severity", "fatal"), ("priority", 3), ("last_unix", 1.5),
                          ("first_unix", -86401), ("last_unix", 253402387200), ("last", "2025-13-01T00:00:00Z"),
                          ("first", "1969-12-31T00:00:00Z"), ("known", 1), ("message", None), ("class_name", ""),
                          ("change", "old"), ("host", None)):
            self.assertFalse(judge.is_valid(entry | {name: bad}), (name, bad))

    def test_readers_of_formats(self):
        """The journal takes hostile texts, and finds entries by its fields and by ours."""
        self.tool("systemd-journal-remote", "systemd-journal-remote")
        times = (2025, 7, 1, 0, 0), (2025, 5, 1, 0, 0), NO_TIME
        cases = itertools.product((2, 6, 9, 15, 77), HOSTILE_TEXTS, times, (0x21, 11))
        log = self.file(*(record(number, severity, text, first, event=(event_class, 2))
                          for number, (severity, text, first, event_class) in enumerate(cases)))
        command = f"imlog -o export --host r17u04 '{log}' | systemd-journal-remote -o x.journal -"
        self.succeed("bash", "-o", "pipefail", "-c", command)
        self.succeed("journalctl", "--file=x.journal", "--verify")

        def query(*words):
            lines = self.succeed("journalctl", "--file=x.journal", "-o", "json", *words).splitlines()
            return sorted(int(json.loads(line)["IML_NUMBER"]) for line in lines)

        ours = self.objects(log)
        self.assertEqual(query(), [entry["number"] for entry in ours])
        self.assertEqual(query("-p", "crit", "IML_CLASS=11", "_HOSTNAME=r17u04"),
                         [entry["number"] for entry in ours if entry["priority"] == 2 and entry["class"] == 11])
        self.assertEqual(query("-S", "2025-06-01"),
                         [entry["number"] for entry in ours if entry["last"] and entry["last"] >= "2025-06-01"])
        for path in log, "/dev/null":
            command = f"imlog -o prometheus '{path}' | {self.tool('promtool', 'prometheus')} check metrics 2>&1"
            self.assertEqual(self.succeed("bash", "-o", "pipefail", "-c", command), "")

    def mail(self, shell, **env):
        """Status and standard error of imlog-mail, and the lines that were mailed."""
        state, box = self.directory / shell, self.directory / "box"
        state.mkdir(exist_ok=True)
        box.unlink(missing_ok=True)
        self.program("mail", f'eval "$MAIL"; (echo "$*"; cat) >>"{box}"')
        run = self.run_in(self.tool(shell, shell), FILES / "imlog-mail", "root", state, **env)
        return run.returncode, run.stderr, box.read_text().splitlines() if box.exists() else []

    def test_mail(self):
        """A text that echo or printf would change arrives whole, after a failure too, and once."""
        texts = [rb"\c %s %d \n $(date) `date` '\"", b"second"]
        log = self.file(*(record(number, 15, text) for number, text in enumerate(texts)), record(2, 9))
        self.program("imlog", f'exec "{IMLOG}" "$@" "{log}"')
        broken = "echo broken >&2; exit 7"
        for shell in "dash", "bash":
            self.assertEqual(self.mail(shell, MAIL=broken), (1, "imlog-mail: mail ended with status 7. broken\n", []))
            self.assertEqual(self.mail(shell, MAIL=broken), (1, "", []))
            status, errors, (_, *lines) = self.mail(shell)
            self.assertEqual((status, errors), (0, ""))
            self.assertEqual([line[41:].encode() for line in lines], [b"Maintenance note: " + text for text in texts])
            self.assertEqual(self.mail(shell), (0, "", []))

    def test_mail_of_errors(self):
        """An error is mailed when it changes, and its end, both by the first run that can mail."""
        host = os.uname().nodename
        begun, ended = f"-s Error of imlog on {host} root", f"-s No more error of imlog on {host} root"
        self.program("imlog", '[ -z "$ERROR" ] || { printf "%s\\n" "$ERROR" >&2; exit 1; }')
        for shell in "dash", "bash":
            for error, mailed in (
                ("", []),
                ("imlog: no driver", [begun, "imlog: no driver"]),
                ("imlog: no driver", []),
                ("imlog: $(date) \\c", [begun, "imlog: $(date) \\c"]),
                ("", [ended, "It has ended."]),
                ("", []),
            ):
                self.assertEqual(self.mail(shell, ERROR=error), (int(error != ""), "", mailed), error)
            for _ in range(2):
                status, errors, _ = self.mail(shell, ERROR="imlog: no library", MAIL="exit 7")
                self.assertEqual((status, errors), (1, "imlog-mail: mail ended with status 7. \nimlog: no library\n"))
                self.assertEqual(self.mail(shell, ERROR="imlog: no library")[2], [begun, "imlog: no library"])
                self.assertEqual(self.mail(shell)[2], [ended, "It has ended."])

    def test_mail_that_hangs(self):
        """Neither mail nor the driver holds up the runs that follow, and a run that finds another one says so."""
        self.program("timeout", 'shift 3; exec /usr/bin/timeout -k 1 1 "$@"')
        self.program("imlog", "sleep 50")
        status, errors, lines = self.mail("dash")
        self.assertEqual((status, errors, lines[1:]), (124, "", ["imlog has not ended within two minutes"]))
        self.program("imlog", "echo entry")
        failure = "imlog-mail: mail ended with status 124. \n"
        self.assertEqual(self.mail("dash", MAIL="sleep 50"), (1, failure, []))
        with open(self.directory / "dash/mail.running", "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertEqual(self.mail("dash"), (1, "imlog-mail: another run has not ended\n", []))
        status, errors, lines = self.mail("dash")
        self.assertEqual((status, errors, lines[1:3]), (0, "", ["entry", "entry"]))

    def test_mail_on_trial(self):
        script = FILES / "imlog-mail"
        self.program("mail", 'echo "$*"; cat; exit "$STATUS"')
        subject, _ = self.succeed(script, "--test", "root", STATUS="0").splitlines()
        self.assertRegex(subject, "^-s Test of imlog-mail on .* root$")
        for words, status in (["--test", "root"], 7), (["--test"], 2), ([], 2), (["-x"], 2):
            run = self.run_in(script, *words, STATUS="7")
            self.assertEqual(run.returncode, status)
            self.assertNotEqual(run.stderr, "")

    def test_fetch(self):
        fleet, calls = self.directory / "fleet", self.directory / "calls"
        self.file(LOG)
        self.program("timeout", f'echo "$3" >>"{calls}"; shift 3; exec /usr/bin/timeout -k 1 2 "$@"')
        # The four that meet fail unless they run at the same time.
        self.program("ssh", """echo "$*" >>calls && shift 4
            case ${1#*@} in
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
        good = ["changed", "root@new", "meet1", "meet2", "meet3", "meet4"]
        refused = ["-oProxyCommand=x", "-oProxyCommand=x@y", "../x", "root@a/b", "root@-x", "root@", ""]
        failed = {
            "lost": "ssh ended with status 2: [1mno power",
            "root@half": "the log ends within a record",
            "empty": "the log is empty",
            "down": "ssh ended with status 255: ssh: connect to host down",
            "hangs": "not fetched within five minutes",
        }
        fleet.mkdir()
        old = dict.fromkeys(["changed", "lost", "half", "empty", "down", "hangs"], b"old")
        for name, content in old.items():
            (fleet / f"{name}.iml").write_bytes(content)
        run = self.run_in(FILES / "imlog-fetch", fleet, *good, *failed, *refused)
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        reasons = failed | dict.fromkeys(refused, "not the name of a host")
        self.assertEqual(sorted(run.stderr.splitlines()),
                         sorted(f"imlog-fetch: {host}: {reason}" for host, reason in reasons.items()))
        copies = {path.stem: path.read_bytes().replace(LOG, b"whole") for path in fleet.iterdir()}
        self.assertEqual(copies, old | {host.rpartition("@")[2]: b"whole" for host in good})
        fetched = [*good, *failed]
        wanted = [f"-o BatchMode=yes -o ConnectTimeout=20 {host} sudo -n imlog -o raw" for host in fetched]
        self.assertEqual(sorted(calls.read_text().splitlines()), sorted(wanted + ["300"] * len(fetched)))

    def test_fetch_alone(self):
        """Another command, a directory that it makes, a full disk that ends the copy after a record, wrong usage."""
        self.program("ssh", "shift 5; eval \"$1\"")
        fleet, script = self.directory / "a/fleet", FILES / "imlog-fetch"
        self.succeed(script, f"--command=cat '{self.file(LOG)}'", fleet, "r17u04")
        for words, status, message in (
            (["prlimit", "--fsize=480", script, "--command=head -c 960 /dev/zero", fleet, "r17u04"], 1, "be written"),
            ([script, fleet], 2, "usage"),
            ([script, "--comand=x", fleet, "r17u04"], 2, "usage"),
            ([script], 2, "usage"),
        ):
            run = self.run_in(*words)
            self.assertEqual(run.returncode, status, words)
            self.assertIn(message, run.stderr)
        self.assertEqual((fleet / "r17u04.iml").read_bytes(), LOG)

    def test_sudo(self):
        """sudo takes the file, which allows exactly what the check and imlog-fetch call."""
        self.succeed(self.tool("visudo", "sudo"), "-c", "-f", FILES / "sudoers-imlog")
        *allowed, raw = re.findall(r"NOPASSWD: (.*)", read("sudoers-imlog"))
        self.assertEqual(raw, "/usr/bin/" + re.search('^command="sudo -n (.*?)"', read("imlog-fetch"), re.M)[1])
        lines = re.findall(r"command = \[(.*)\]", read("icinga2-iml.conf"))
        self.assertEqual(re.findall(r"^command\[\w+\]=/usr/bin/sudo -n (.*)", read("nrpe-imlog.cfg"), re.M), allowed)
        self.assertEqual([" ".join(re.findall(r'"(.*?)"', line)[2:]) for line in lines], allowed)
        for command in allowed:
            self.assertRegex(self.run_in(IMLOG, *command.split()[1:], SAMPLE / "cevt").stdout, "^IML CRITICAL - ")


class Examples(FleetCase):
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
        r"imlog -o raw >|imlog -n 0 .*--cursor-file|imlog -o json fleet|mkdir|imlog-fetch": r"^$",
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
        starts = r"TZ=|(?:journalctl|imlog|imlog-fetch|mkdir) "
        return re.findall(rf"^(?:[#$] )?((?:{starts}).*)$", text, re.M)

    def test_all(self):
        self.tool("jq", "jq")
        remote = self.tool("systemd-journal-remote", "systemd-journal-remote")
        if self.run_in("unshare", "--mount", "true").returncode != 0:
            self.skipTest("mount namespaces not found (package util-linux)")
        self.make_fleet("--servers", "12")
        shutil.copy(FILES / "imlog-fetch", self.directory)
        self.program("ssh", 'shift 5; exec sh -c "$1"')
        self.program("sudo", 'shift; exec "$@"')
        commands = [command for command in self.commands() if not re.search(self.ELSEWHERE, command)]
        script = ["mount -t tmpfs none /var/lib", "mkdir -p /var/lib/imlog", "echo r99u01 >hosts"]
        for command in commands:
            script += ["echo @@", command.replace("/lib/systemd/systemd-journal-remote", remote)]
        run = self.run_in("unshare", "--mount", "bash", "-c", "\n".join(script))
        self.assertNotRegex(run.stderr, "imlog: |not found")
        used, outputs = set(), run.stdout.split("@@\n")[1:]
        self.assertEqual(len(outputs), len(commands))
        for command, output in zip(commands, outputs):
            row = next((row for row in self.EXPECTED if re.match(row, command)), None)
            self.assertIsNotNone(row, f"nothing is expected of: {command}")
            self.assertRegex(" ".join(output.split()), self.EXPECTED[row], command)
            used.add(row)
        self.assertEqual(used, set(self.EXPECTED))
