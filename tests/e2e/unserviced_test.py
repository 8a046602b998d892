"""Entries that no maintenance note has closed."""
import re

from harness import NO_TIME, NOTE, Case, record


def at(minute):
    return NO_TIME if minute is None else (2025, 9, 1, 13, minute)


def event(number, first, last):
    return record(number, 15, b"", at(first), at(last), event=(11, 2))


def note(number, minute):
    return record(number, 6, b"", at(minute))


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
