"""The commands and queries of docs/guide.md as they stand there, over the sample server and a fleet with its truth."""
import collections
import json
import re
import struct

from fleet_test import LOG, ROOT, FleetCase
from harness import SAMPLE

GUIDE = (ROOT / "docs/guide.md").read_text()
RECORD = 240
RAISED = ("caution", "critical", "unknown")  # the severities of an alarm


class Guide(FleetCase):
    def setUp(self):
        super().setUp()
        for tool, package in ("jq", "jq"), ("promtool", "prometheus"):
            self.tool(tool, package)
        self.make_fleet("--servers", "20", "--now", "1760000000")
        servers = json.loads((self.directory / "fleet/truth.json").read_text())["servers"]
        self.states = {host: server["state"] for host, server in servers.items()}
        self.fleet = {host: server["entries"] for host, server in servers.items() if server["state"] == "whole"}

    def bash(self, command, status=0):
        run = self.run_in("bash", "-o", "pipefail", "-c", command)
        self.assertEqual((run.returncode, run.stderr), (status, ""), command)
        return run.stdout.splitlines()

    def worst(self, hosts):
        """The ten servers with the most critical entries that no note has closed, and how many these are."""
        counted = collections.Counter(host for host in hosts for entry in self.fleet[host]
                                      if entry["unserviced"] and entry["severity"] == "critical").most_common()
        self.assertGreater(counted[9][1], counted[10][1], "the order of equal ones is open: take another seed")
        return dict(counted[:10])

    def test_commands(self):
        live = {entry["number"]: entry for entry in self.objects(SAMPLE / "cevt")}
        raised = [number for number, entry in live.items() if entry["severity"] in RAISED]
        self.file(LOG[97 * RECORD:98 * RECORD], name="r17u04.iml")  # which the guide saves again, whole
        # Two more saves: in the second, entry 70 was repeated and two entries are new.
        self.file(LOG[:98 * RECORD], name="r17u04-monday.iml")
        friday = bytearray(LOG)
        struct.pack_into("<I", friday, 70 * RECORD + 24, 16)
        self.file(friday, name="r17u04-friday.iml")

        def changes(lines):
            self.assertEqual([(line[0], *line[2:].split()[2:4]) for line in lines if line[0] in "<>"],
                             [("<", "70", "x15"), (">", "70", "x16"), (">", "98", "x1"), (">", "99", "x1")])

        def others_are_open(lines):
            severities = [live[number]["severity"] for number in raised if number not in (57, 58, 59)]
            critical = severities.count("critical")  # the rest counts as caution
            self.assertIn(f" {critical} critical, {len(severities) - critical} caution", lines[0])

        def most_frequent(lines):
            want = collections.Counter(f"{entry['class_name']}: {re.split(r' *[(]', entry['message'])[0]}"
                                       for entry in self.objects(self.directory / "fleet")
                                       if entry["severity"] in RAISED)
            got = [re.fullmatch(r" *(\d+) (.*)", line).groups() for line in lines]
            self.assertEqual([int(count) for count, _ in got], [count for _, count in want.most_common(10)])
            self.assertEqual([int(count) for count, _ in got], [want[text] for _, text in got])

        (entry,) = re.findall(r"^    (\d{4}-.*)$", GUIDE, re.M)  # the one that is explained
        self.assertIn(entry, self.bash("imlog"))
        # The answers, in the order of the guide's commands: the numbers of the entries, or a function that compares.
        expected = [
            ("TZ=America", lambda lines: self.assertRegex(lines[-1], "^2025-09-21T17:13Z Critical +97 ")),
            ("imlog -u -p caution$", raised),
            ("imlog -o raw", []),
            ("imlog -c", [number for number, entry in live.items() if entry["class"] == 0x0B]),
            ("orvlog -s", []),
            ("imlog -o check", others_are_open),
            ("imlog -u -p caution r17", raised),
            ("diff", changes),
            (r"imlog -o json \|", lambda lines: self.assertEqual(json.loads("".join(lines))["number"], 58)),
            ("imlog -p caution \\| awk", [number for number in raised if live[number]["severity"] == "caution"]),
            (r"imlog \| grep", [6, 12, 20, 28, 29, 30, 31, 35, 40, 41, 42, 43, 99, 100]),  # the last is the note above
            (r"imlog -p caution -o json fleet/ \|", most_frequent),
            ("imlog -u -p critical -o json", lambda lines: self.assertEqual(
                {host: int(count) for count, host in map(str.split, lines)}, self.worst(self.fleet))),
        ]
        text = re.sub(r"\|\n +", "| ", GUIDE)  # joins a command of two lines
        commands = re.findall(r"^ {4,}(?:# )?((?:TZ=\S+ |)(?:imlog|orvlog|diff) .*)$", text, re.M)
        self.assertEqual(len(commands), len(re.findall(r"^ {4,}\S", text, re.M)) - 1)  # the other one is an entry
        self.assertEqual(len(commands), len(expected), commands)
        for command, (start, answer) in zip(commands, expected):
            self.assertRegex(command, "^" + start)
            lines = self.bash(command, {"diff": 1, "imlog -o check": 2}.get(start, 0))
            with self.subTest(command):
                if callable(answer):
                    answer(lines)
                else:
                    self.assertEqual([int(line.split()[2]) for line in lines], answer)

    def series(self, host, new):
        """The metrics of a log over a day in which its last entries came, as series of promtool: a value a minute."""
        path = self.directory / f"fleet/{host}.iml"
        before, after = ({line.rpartition(" ")[0]: line.rpartition(" ")[2] for line in self.run_imlog(
            "-o", "prometheus", log).decode().splitlines() if not line.startswith("#")}
            for log in (self.file(path.read_bytes()[:-new * RECORD]), path))
        for name in before | after:
            series = re.sub(r"\{|$", f'{{job="node",instance="{host}",', name, count=1).removesuffix("}") + "}"
            yield {"series": series, "values": f"{before.get(name, '_')}x719 {after.get(name, '_')}x720"}

    def test_queries(self):
        """promtool evaluates the queries over the fleet's metrics. Three servers have none; one more is down."""
        names = dict(re.findall(r"^0x(\S+) (.+)$", "\n".join(self.bash("imlog -c help")), re.M))
        *hosts, down = self.fleet
        new = 3
        series = [one for host in hosts for one in self.series(host, new)]
        series += [{"series": f'up{{job="node",instance="{host}"}}', "values": f"{int(host != down)}x1440"}
                   for host in self.states]
        series.append({"series": 'up{job="prometheus",instance="p"}', "values": "1x1440"})

        by_class = collections.Counter((names.get(f"{entry['class']:02X}", "Unknown"), entry["severity"])
                                       for host in hosts for entry in self.fleet[host]
                                       if entry["unserviced"] and entry["severity"] in RAISED)
        recent = collections.Counter(entry["severity"] for host in hosts for entry in self.fleet[host][-new:])
        expected = [
            {f'{{class="{name}",severity="{severity}"}}': count for (name, severity), count in by_class.items()},
            {f'{{instance="{host}"}}': count for host, count in self.worst(hosts).items()},
            {f'up{{job="node",instance="{host}"}}': int(host != down) for host in self.states if host not in hosts},
            {f'{{severity="{severity}"}}': recent[severity] for severity in ("information", "repaired", *RAISED)},
            {f'{{version="{self.version()}"}}': len(hosts)},
        ]
        queries = re.findall(r"^```promql\n(.*?)```$", GUIDE, re.M | re.S)
        self.assertEqual(len(queries), len(expected))
        tests = [{"expr": query, "eval_time": "24h", "exp_samples": [
            {"labels": labels, "value": value} for labels, value in samples.items()]}
            for query, samples in zip(queries, expected)]
        (self.directory / "test.json").write_text(json.dumps({"evaluation_interval": "1m", "tests": [
            {"interval": "1m", "input_series": series, "promql_expr_test": tests}]}))
        self.succeed("promtool", "test", "rules", "test.json")
