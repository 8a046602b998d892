"""Entries that no maintenance note has closed."""
import re
import time

from harness import NO_TIME, NOTE, Case, record


def at(minute):
    return NO_TIME if minute is None else (2025, 9, 1, 13, minute)


def event(number, first, last):
    return record(number, 15, b"", at(first), at(last), event=(11, 2))


def note(number, minute, text=b""):
    return record(number, 6, text, at(minute))


class Unserviced(Case):
    def test_what_is_a_note(self):
        for severity, code, expected in ((6, NOTE, [2]), (6, (0x21, 1), [0, 1, 2]), (9, NOTE, [0, 1, 2])):
            log = self.file(record(0), record(1, severity, event=code), record(2))
            self.assertEqual(self.numbers("-u", log), expected)

    def test_what_a_note_closes(self):
        for rows, expected in (
            ([event(0, 1, 1), note(1, 5), event(2, 2, 2)], [2]),  # the place, not the time
            ([event(0, 1, 5), event(1, 1, 6), event(2, 5, 6), event(3, 6, 7), event(4, None, 6), event(5, 9, 8),
              note(6, 5)], [1, 2, 4, 5]),
        ):
            log = self.file(*rows)
            self.assertEqual(self.numbers("-u", log), expected)
            self.assertEqual(self.numbers("-u", "-p", "critical", "-r", "-n1", log), expected[-1:])
            metrics = self.run_imlog("-o", "prometheus", log, "-c", "11").decode()
            gauge = 'iml_unserviced_entries{severity="critical",class="Power Subsystem"}'
            self.assertIn(f"{gauge} {len(expected)}\n", metrics)
            check = self.run_imlog("-uo", "check", log, status=2).decode()
            self.assertIn(f"critical={len(expected)};", check)

    def test_what_a_note_names(self):
        for text, expected in (
            (b"DIMM 3 replaced", []),
            (b"DIMM 3 replaced, closes #1, 2 and 9", [0]),
            (b"DIMM 3 replaced, closes", [0, 1, 2]),
        ):
            log = self.file(event(0, 1, 1), event(1, 1, 1), event(2, 1, 9), note(3, 10, text))
            self.assertEqual(self.numbers("-u", log), expected, text)
        log = self.file(event(0, 1, 9), event(1, 6, 9), note(2, 5, b"closes 0 1"), event(1, 1, 1))
        self.assertEqual(self.numbers("-u", log), [0, 1, 1])  # updated after the note, and an entry after it

    def test_times_to_come(self):
        def hours_from_now(hours):
            return time.localtime(time.time() + 3600 * hours)[:5]

        for hours, expected in ((23, [0]), (25, [])):
            log = self.file(record(0, 15, b"", at(1), hours_from_now(hours), event=(11, 2)), note(1, 5))
            self.assertEqual(self.numbers("-u", log, env={"TZ": None}), expected)
            log = self.file(event(0, 1, 9), record(1, 6, b"closes 0", at(1), hours_from_now(hours)))
            self.assertEqual(self.numbers("-u", log, env={"TZ": None}), [])
        log = self.file(record(0, 9, b"", at(1), (2099, 1, 1, 0, 0)), note(1, 5))
        self.assertEqual(self.objects(log, "-S", "2099-01-01")[0]["last"], "2099-01-01T00:00:00+01:00")

    def test_hour_that_occurs_twice(self):
        def at_two(minute):
            return (2025, 10, 26, 2, minute)

        for first, last, written, expected in ((10, 10, 30, [0]), (30, 30, 10, []), (10, 30, 10, [0])):
            log = self.file(record(0, 15, b"", at_two(first), at_two(last), event=(11, 2)),
                            record(1, 6, b"", at_two(written)))
            self.assertEqual(self.numbers("-u", log), expected)

    def test_clock_set_back(self):
        noon, ten, earlier = (2025, 9, 1, 12, 0), (2025, 9, 1, 10, 0), (2025, 9, 1, 9, 59)

        def entry(number, first, last=None, severity=15):
            return record(number, severity, b"", first, last, event=(11, 2))

        def closing(number, first=noon):
            return record(number, 6, b"", first)

        for rows, shown in (
            ([entry(1, noon, earlier), closing(2)], 1),
            ([entry(1, noon, ten), closing(2)], None),  # two hours
            ([entry(1, (2099, 1, 2, 0, 0), (2099, 1, 1, 0, 0)), closing(2)], 1),
            ([entry(1, noon, earlier, severity=77), closing(2)], 1),
            ([entry(1, noon, earlier, severity=9), closing(2)], 1),
            ([entry(1, noon, earlier, severity=2), closing(2)], None),
            ([entry(1, noon, earlier)], None),  # open
            ([closing(1), entry(2, ten)], None),
            ([closing(1), entry(2, NO_TIME), entry(3, earlier)], 3),
            ([entry(0, noon), closing(1, first=earlier), entry(2, earlier)], None),  # set right before the first note
        ):
            log = self.file(*rows, name="r1.iml")
            metrics = self.run_imlog("-o", "prometheus", "-p", "critical", "-n", "0", log)
            self.assertIn(b"\niml_clock_set_back %d\n" % (shown is not None), metrics)
            words = "-o", "check", "-u", "-c", "1", log  # a class without entries
            line = self.run_imlog(*words, status=0 if shown is None else 1).decode()
            piece = "" if shown is None else f"; clock set back at {shown}"
            self.assertIn(f"0 critical, 0 caution{piece} |", line)
            self.run_imlog("-o", "check", "-c", "1", log)
            line = self.run_imlog(*words, self.file(entry(0, noon)), status=0 if shown is None else 1).decode()
            self.assertIn(piece.replace("at ", "at r1: ") + " |", line)

    def test_each_log_its_notes(self):
        closed = self.file(record(0), record(1, 6), name="a")
        unclosed = self.file(record(2, 15), record(3, 9, event=(0xFFF0, 1)), name="b")
        self.assertEqual(self.numbers("-u", closed, unclosed), [2, 3])
        metrics = self.run_imlog("-o", "prometheus", unclosed).decode()
        self.assertEqual(re.findall("unserviced_entries{(.*)", metrics), [
            'severity="caution",class="Unknown"} 1',
            'severity="critical",class="Maintenance"} 1',
        ])

    def test_with_a_cursor(self):
        words = ["-u", "--cursor-file", self.directory / "c"]
        late = (2025, 9, 3, 0, 0)
        self.assertEqual(self.numbers(*words, self.file(record(0), record(1, 6))), [])
        self.assertEqual(self.numbers(*words, self.file(record(0), record(1, 6), record(0, count=2, last=late))), [0])
        log = self.file(record(9), record(0, count=3, last=late), record(1, 6))
        self.assertEqual(self.numbers(*words, log), [9, 0])  # the note is old

    def test_number_of_lines(self):
        log = self.file(record(0, 15), record(1, 6), record(2, 15), record(3, 15))
        for words in (["-n", "1"], ["-n", "1", "-u"]):
            metrics = self.run_imlog("-o", "prometheus", *words, log).decode()
            self.assertIn('iml_unserviced_entries{severity="critical",class="Maintenance"} 1\n', metrics)
