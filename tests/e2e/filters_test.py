"""The filters of imlog in a process of its own; tests/imlog tries each of them."""
import time

from harness import Case, record


class Filters(Case):
    def test_times_before_now(self):
        now = time.time()
        log = self.file(*(record(i, first=time.gmtime(now - age)[:5]) for i, age in enumerate((600, 60, -600))))
        for words, expected in (
            ("-S -5m -n 9", [1, 2]),
            ("-S -5m -U now", [1]),
            ("-U -5m -n 1", [0]),  # the last one of those wanted
        ):
            self.assertEqual(self.numbers(*words.split(), log, env={"TZ": "UTC"}), expected, words)
