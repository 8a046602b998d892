"""Entries that no maintenance note has closed."""
import re

from harness import NOTE, Case, record


def fault(number, first, last=None):
    return record(number, 15, b"", first, last, event=(11, 2))


def note(number, first, text=b""):
    return record(number, 6, text, first)


class Unserviced(Case):
    def test_what_is_a_note(self):
        for severity, event, expected in (
            (6, NOTE, [2]),
            (6, (0x21, 1), [0, 1, 2]),
            (6, (0x22, 2), [0, 1, 2]),
            (9, NOTE, [0, 1, 2]),
        ):
            log = self.file(record(0), record(1, severity, event=event), record(2))
            self.assertEqual(self.numbers("-u", log), expected)

    def test_what_a_note_closes(self):
        noon, later = (2025, 9, 1, 12, 0), (2025, 9, 1, 12, 1)
        for text, expected in (
            (b"PSU 1 replaced", [1, 4]),  # one updated after the note, and one whose place is after it
            (b"PSU 1 replaced, closes #0 and 1", [1, 2, 4]),
        ):
            log = self.file(fault(0, noon), fault(1, noon, later), fault(2, noon), note(3, noon, text), fault(4, noon))
            self.assertEqual(self.numbers("-u", log), expected)
            self.assertEqual(self.numbers("-u", "-p", "critical", "-r", "-n1", log), [1])
            metrics = self.run_imlog("-o", "prometheus", log, "-c", "11").decode()
            gauge = 'iml_unserviced_entries{severity="critical",class="Power Subsystem"}'
            self.assertIn(f"{gauge} {len(expected)}\n", metrics)
            check = self.run_imlog("-uo", "check", log, status=2).decode()
            self.assertIn(f"critical={len(expected)};", check)

    def test_hour_that_occurs_twice(self):
        early, late = (2025, 10, 26, 2, 10), (2025, 10, 26, 2, 30)
        for first, last, written, expected in ((early, early, late, [0]), (late, late, early, []),
                                               (early, late, early, [0])):
            self.assertEqual(self.numbers("-u", self.file(fault(0, first, last), note(1, written))), expected)

    def test_clock_set_back(self):
        noon, morning = (2025, 9, 1, 12, 0), (2025, 9, 1, 9, 59)
        right = self.file(fault(0, noon), name="r0.iml")
        for last, status, piece in ((morning, 1, "; clock set back at 1"), (noon, 0, "")):
            log = self.file(fault(1, noon, last), note(2, noon), name="r1.iml")
            metrics = self.run_imlog("-o", "prometheus", "-p", "critical", "-n", "0", log)
            self.assertIn(b"\niml_clock_set_back %d\n" % status, metrics)
            words = "-o", "check", "-u", "-c", "1", log  # a class without entries
            self.assertIn(f"0 critical, 0 caution{piece} |", self.run_imlog(*words, status=status).decode())
            self.run_imlog("-o", "check", "-c", "1", log)
            line = self.run_imlog(*words, right, status=status).decode()
            self.assertIn(f"0 critical, 0 caution{piece.replace('at ', 'at r1: ')} |", line)

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
