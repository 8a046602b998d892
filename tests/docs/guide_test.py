#!/usr/bin/env python3
"""The commands and queries of docs/guide.md as they stand there, over the sample server and a fleet with its truth."""
import collections
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

BUILD, ROOT = pathlib.Path(os.environ["BUILD"]), pathlib.Path(os.environ["ROOT"])
IMLOG, SAMPLE, GUIDE = BUILD / "imlog/imlog", BUILD / "samples/server", (ROOT / "docs/guide.md").read_text()
SEVERITIES = {15: "Critical", 9: "Caution", 6: "Repaired", 2: "Information", 3: "Information"}
RECORD = 240


def records(log):
    """Number, severity, class and code of each entry."""
    for at in range(0, len(log), RECORD):
        length, number, _, severity, event_class, code = struct.unpack_from("<HIBBHH", log, at)
        if length != 0:
            yield number, SEVERITIES.get(severity, "Unknown"), event_class, code


def numbers(lines):
    return [int(line.split()[2]) for line in lines]


class Guide(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="imlog-guide-", dir=BUILD))  # /tmp may be noexec
        self.addCleanup(shutil.rmtree, self.directory)
        self.environment = {**os.environ, "ORVLOG_SIMULATOR": str(self.directory / "server"), "TZ": "Europe/Berlin",
                            "PATH": f"{BUILD}/imlog:{BUILD}/orvlog:{ROOT}/build/tools:{os.environ['PATH']}",
                            "LD_LIBRARY_PATH": str(BUILD / "simulator")}  # the sanitizers ignore the run path
        for tool, package in ("bash", "bash"), ("jq", "jq"), ("promtool", "prometheus"):
            if shutil.which(tool, path=self.environment["PATH"]) is None:
                self.skipTest(f"{tool} not found (package {package})")
        shutil.copytree(SAMPLE, self.directory / "server")
        made = subprocess.run([ROOT / "simulator/fleet.py", "--servers", "20", "--now", "1760000000", "--zone",
                               "Europe/Berlin", self.directory / "fleet"], capture_output=True, text=True, check=False)
        self.assertEqual(made.returncode, 0, made.stderr)
        self.servers = json.loads((self.directory / "fleet/truth.json").read_text())["servers"]
        for host in "r01u01", "r01u02":  # which cannot be read to their end
            (self.directory / f"fleet/{host}.iml").rename(self.directory / f"{host}.iml")

    def bash(self, command, statuses=(0,)):
        run = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=self.directory, env=self.environment,
                             capture_output=True, text=True, timeout=60, check=False)
        self.assertIn(run.returncode, statuses, (command, run.stderr))
        self.assertEqual(run.stderr, "", command)
        return run.stdout.splitlines()

    def entries(self, is_wanted):
        """(host, entry) of the logs in the fleet's directory."""
        return [(host, entry) for host, server in self.servers.items() if server["state"] == "whole"
                for entry in server["entries"] if is_wanted(entry)]

    def worst(self, hosts):
        """The ten servers with the most critical entries that no note has closed, and how many these are."""
        rows = self.entries(lambda entry: entry["unserviced"] and entry["severity"] == "critical")
        counted = collections.Counter(host for host, _ in rows if host in hosts).most_common()
        self.assertGreater(counted[9][1], counted[10][1], "the order of equal ones is open: take another seed")
        return dict(counted[:10])

    def test_commands(self):
        sample = (SAMPLE / "cevt").read_bytes()
        live = {number: what for number, *what in records(sample)}
        raised = [number for number, (severity, *_) in live.items() if severity in ("Caution", "Critical", "Unknown")]

        def saves():
            """Two saves: in the second, entry 70 was repeated and two entries are new."""
            first, second = sample[:98 * RECORD], bytearray(sample)
            struct.pack_into("<I", second, 70 * RECORD + 24, 16)
            (self.directory / "r17u04-monday.iml").write_bytes(first)
            (self.directory / "r17u04-friday.iml").write_bytes(second)

        def changes(lines):
            self.assertEqual([(line[0], *line[2:].split()[2:4]) for line in lines if line[0] in "<>"],
                             [("<", "70", "x15"), (">", "70", "x16"), (">", "98", "x1"), (">", "99", "x1")])

        def others_are_open(lines):
            severities = [live[number][0] for number in raised if number not in (57, 58, 59)]
            critical = severities.count("Critical")  # the rest counts as caution
            self.assertIn(f" {critical} critical, {len(severities) - critical} caution", lines[0])

        def most_frequent(lines):
            texts = [json.loads(line) for line in self.bash("imlog -p caution -o json fleet/")]
            raised = self.entries(lambda entry: entry["severity"] in ("caution", "critical", "unknown"))
            self.assertEqual(len(texts), len(raised))
            want = collections.Counter(f"{entry['class_name']}: {re.split(r' *[(]', entry['message'])[0]}"
                                       for entry in texts)
            got = [re.fullmatch(r" *(\d+) (.*)", line).groups() for line in lines]
            self.assertEqual([int(count) for count, _ in got], [count for _, count in want.most_common(10)])
            self.assertEqual([int(count) for count, _ in got], [want[text] for _, text in got])

        def worst(lines):
            self.assertEqual({host: int(count) for count, host in map(str.split, lines)}, self.worst(self.servers))

        def one_entry(lines):
            entry = json.loads("".join(lines))
            self.assertEqual((entry["number"], entry["severity"], entry["class"], entry["code"]),
                             (58, "critical", 0x0B, 0x13))

        # The answers, in the order of the commands in the guide.
        expected = [
            ("TZ=America", lambda lines: self.assertRegex(lines[-1], "^2025-09-21T17:13Z Critical +97 ")),
            ("imlog -u -p caution$", lambda lines: self.assertEqual(numbers(lines), raised)),
            ("imlog -o raw", lambda _: self.assertEqual((self.directory / "r17u04.iml").read_bytes(),
                                                        b"".join(self.whole(sample)))),
            ("imlog -c", lambda lines: self.assertEqual(
                numbers(lines), [number for number, (_, event_class, _) in live.items() if event_class == 0x0B])),
            ("orvlog -s", lambda lines: self.assertEqual(lines, [])),
            ("imlog -o check", others_are_open),
            ("imlog -u -p caution r17", lambda lines: self.assertEqual(numbers(lines), raised)),
            ("diff", changes),
            (r"imlog -o json \|", one_entry),
            ("imlog -p caution \\| awk", lambda lines: self.assertEqual(
                numbers(lines), [number for number in raised if live[number][0] == "Caution"])),
            (r"imlog \| grep", lambda lines: self.assertEqual(
                numbers(lines)[:-1], [6, 12, 20, 28, 29, 30, 31, 35, 40, 41, 42, 43, 99])),  # before the note above
            (r"imlog -p caution -o json fleet/ \|", most_frequent),
            ("imlog -u -p critical -o json", worst),
        ]
        text = re.sub(r"\|\n +", "| ", GUIDE)  # joins a command of two lines
        commands = re.findall(r"^ {4,}(?:# )?((?:TZ=\S+ |)(?:imlog|orvlog|diff) .*)$", text, re.M)
        self.assertEqual(len(commands), len(re.findall(r"^ {4,}\S", text, re.M)) - 1)  # the other one is an entry
        self.assertEqual(len(commands), len(expected), commands)
        saves()
        (self.directory / "r17u04.iml").write_bytes(sample)
        for command, (start, compare) in zip(commands, expected):
            self.assertRegex(command, "^" + start)
            with self.subTest(command):
                status = 1 if command.startswith("diff") else 2 if start == "imlog -o check" else 0
                compare(self.bash(command, statuses=(status,)))

    @staticmethod
    def whole(log):
        """The records that are entries."""
        chunks = (log[at:at + RECORD] for at in range(0, len(log), RECORD))
        return [chunk for chunk in chunks if any(chunk)]

    def series(self, host, new):
        """The metrics of a log over a day in which its last entries came, as series of promtool: a value a minute."""
        path = self.directory / "before.iml"
        path.write_bytes((self.directory / f"fleet/{host}.iml").read_bytes()[:-new * RECORD])
        before, after = ({line.rpartition(" ")[0]: line.rpartition(" ")[2] for line in self.bash(
            f"imlog -o prometheus {log}") if not line.startswith("#")} for log in (path, f"fleet/{host}.iml"))
        for name in before | after:
            first = before.get(name, "_")
            yield {"series": re.sub(r"\{|$", f'{{job="node",instance="{host}",', name, count=1).removesuffix("}") + "}",
                   "values": f"{first}x719 {after.get(name, '_')}x720"}

    def test_queries(self):
        """promtool evaluates the queries over the fleet's metrics. Three servers have none; one more is down."""
        names = dict(re.findall(r"^0x(\S+) (.+)$", "\n".join(self.bash("imlog -c help")), re.M))
        hosts = [host for host, server in self.servers.items() if server["state"] == "whole"]
        down, new = hosts.pop(), 3
        series = [one for host in hosts for one in self.series(host, new)]
        series += [{"series": f'up{{job="node",instance="{host}"}}', "values": f"{int(host != down)}x1440"}
                   for host in self.servers]
        series.append({"series": 'up{job="prometheus",instance="p"}', "values": "1x1440"})

        by_class = collections.Counter((names.get(f"{entry['class']:02X}", "Unknown"), entry["severity"])
                                       for host, entry in self.entries(lambda entry: entry["unserviced"])
                                       if host in hosts and entry["severity"] not in ("information", "repaired"))
        recent = collections.Counter(entry["severity"] for host in hosts
                                     for entry in self.servers[host]["entries"][-new:])
        expected = [
            {f'{{class="{name}",severity="{severity}"}}': count
             for (name, severity), count in by_class.items()},
            {f'{{instance="{host}"}}': count for host, count in self.worst(hosts).items()},
            {f'up{{job="node",instance="{host}"}}': int(host != down) for host in self.servers if host not in hosts},
            {f'{{severity="{severity}"}}': recent[severity]
             for severity in ("information", "repaired", "caution", "critical", "unknown")},
            {f'{{version="{self.bash("imlog --version")[0].split()[1]}"}}': len(hosts)},
        ]
        queries = re.findall(r"^```promql\n(.*?)```$", GUIDE, re.M | re.S)
        self.assertEqual(len(queries), len(expected))
        tests = [{"expr": query, "eval_time": "24h", "exp_samples": [
            {"labels": labels, "value": value} for labels, value in samples.items()]}
            for query, samples in zip(queries, expected)]
        (self.directory / "test.json").write_text(json.dumps({"evaluation_interval": "1m", "tests": [
            {"interval": "1m", "input_series": series, "promql_expr_test": tests}]}))
        self.assertEqual(self.bash("promtool test rules test.json"), ["Unit Testing:  test.json", "  SUCCESS", ""])

    def test_entry(self):
        """The entry that the guide explains is one of the sample server."""
        (line,) = re.findall(r"^    (\d{4}-.*)$", GUIDE, re.M)
        self.assertIn(line, self.bash("imlog"))


unittest.main()
