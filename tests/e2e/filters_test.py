"""The filters of imlog in a process of its own; tests/imlog tries each of them."""
import time

from harness import NO_TIME, Case, record


class Filters(Case):
    def test_last_ones(self):
        """The order of updates; entry 0 has none that is known, 3 and 4 come with 2, and 5 with 1."""
        def at(day):
            return (2025, 9, day, 0, 0)

        rows = [
            record(0, first=NO_TIME),
            record(6, first=at(1), last=at(8)),
            record(2, first=at(2), last=at(4)),
            record(3, 15, first=at(3), last=NO_TIME),
            record(4, 15, first=at(3), last=(2099, 1, 1, 0, 0)),
            record(1, first=at(4), last=at(3)),
            record(5, 15, first=NO_TIME),
        ]
        log = self.file(*rows)
        for words, expected in (
            ([], [0, 6, 2, 3, 4, 1, 5]),
            (["-r"], [6, 4, 3, 2, 5, 1, 0]),
            (["-n", "3"], [6, 3, 4]),
            (["-rn", "3"], [6, 4, 3]),
            (["-rp", "critical"], [4, 3, 5]),
            (["-p", "critical", "-n", "2"], [3, 4]),
            (["-u", "-n", "6"], [6, 2, 3, 4, 1, 5]),
            (["-n", "0"], []),
            (["-n", "4", "--cursor-file", self.directory / "cursor"], [6, 2, 3, 4]),
        ):
            self.assertEqual(self.numbers(*words, log), expected, words)
        self.assertEqual(self.run_imlog("-o", "raw", "-n", "2", log), rows[1] + rows[4])
        self.assertIn(b"; 4 Maint", self.run_imlog("-o", "check", log, status=2))
        exported = [entry["IML_NUMBER"] for entry in self.exported("-n", "3", log)]
        self.assertEqual(exported, ["3", "6", "4"])  # by the times that the journal stores
        metrics = self.run_imlog("-o", "prometheus", "-n", "2", log).decode()
        self.assertRegex(metrics, r'\niml_unserviced_entries\{severity="critical",class="Maintenance"\} 1\n')

    def test_times_before_now(self):
        now = time.time()
        log = self.file(*(record(i, first=time.gmtime(now - age)[:5]) for i, age in enumerate((600, 60, -600))))
        for words, expected in (
            ("-S -5m -U now", [1]),
            ("-U -5m -n 1", [0]),  # the last one of those wanted
        ):
            self.assertEqual(self.numbers(*words.split(), log, env={"TZ": "UTC"}), expected, words)
