"""Tests of imltext.py: python3 imltext_test.py FOLDER_OF_IMLTEXT SAMPLE_SERVER."""

import pathlib
import random
import sys
import tempfile
import unittest

TOOLS, SAMPLE = sys.argv[1:3]
sys.path.insert(0, TOOLS)
sys.dont_write_bytecode = True
import imltext  # noqa: E402

HEAD = "entry\nseverity 2, class 3, code 4\nfirst 2025-03-21 14:05\n"


class ImlText(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self.folder.name) / "log.iml"
        self.addCleanup(self.folder.cleanup)

    def compile(self, text):
        self.path.write_text(text, encoding="utf-8")
        return imltext.compile_log(self.path)

    def test_bytes(self):
        log = self.compile("""
            gap
            entry 1            # a comment
            severity critical, class 0x13, code 0x102
            first 2025-03-21 14:05, last 14 19 FF 00 00 00, count 70000
            revision 7
            payload 0a ff u8:255 u16:0x1234 u32:1 be16:0x1234 be32:1
              "a\\t\\"#\\x80" 'it\\'s' ""
            """)
        expected = (bytes(240) + bytes.fromhex("3600 01000000 07 0F 1300 0201 14190315 0E05 1419FF000000 70110100")
                    + bytes.fromhex("0AFF FF 3412 01000000 1234 00000001") + b'a\t"#\x80\0it\'s\0')
        self.assertEqual(log, expected.ljust(480, b"\0"))

    def test_errors_name_file_and_line(self):
        for text, line, message in [
                ("severity 2\n", 1, "begins with an entry"),
                ("entry 2\n", 1, "number 0 comes next"),
                ("gap\nentry 1\nseverity 2\n", 2, "has no class"),
                ("gap\npayload 00\n", 2, "no fields"),
                (HEAD + "count 1\ncount 2\n", 5, "given twice"),
                (HEAD + "color 2\n", 4, "unknown field"),
                (HEAD + "count 2,\n", 4, "beside a comma"),
                (HEAD + "revision 256\n", 4, "not within"),
                (HEAD + "last 2025-02-29 00:00\n", 4, "day"),
                (HEAD + "payload\n00\n0\n", 6, "neither a byte"),
                (HEAD + "payload\nu16:65536\n", 5, "not within"),
                (HEAD + 'payload "open\n', 4, "quote"),
                (HEAD + 'payload "\\q"\n', 4, "escape"),
                (HEAD + 'payload "\u20ac"\n', 4, "byte"),
                (HEAD + f"payload '{'x' * 212}'\n\"\"\n", 5, "longer than 212"),
                ("tail 00\n", 1, "too many"),
                ("tail\n00\ngap\n", 3, "follows"),
        ]:
            with self.subTest(text=text), self.assertRaises(imltext.TextError) as caught:
                self.compile(text)
            self.assertTrue(str(caught.exception).startswith(f"{self.path}:{line}: "), str(caught.exception))
            self.assertIn(message, str(caught.exception))

    def test_round_trip(self):
        sample = imltext.compile_log(pathlib.Path(SAMPLE) / "cevt.iml")
        chance = random.Random(1)
        damaged = bytearray(sample)
        for _ in range(5000):
            damaged[chance.randrange(len(damaged))] = chance.choice([0, 1, 20, 65, 92, 39, 34, chance.randrange(256)])
        from_one = sample[240:480] + sample[480:720]
        noise = chance.randbytes(240 * 200 + 101)
        for log in [b"", sample, bytes(damaged), from_one, noise, bytes(480), b"A" * 240]:
            self.assertEqual(self.compile(imltext.log_text(log)), log)

    def test_dumps_are_brought_in_order(self):
        first, second = self.compile(HEAD + "number 3\n"), self.compile(HEAD + "number 1\n")
        in_order = self.compile(HEAD + "gap\n" + HEAD)
        self.path.write_bytes(first + bytes(240) + second)
        self.assertEqual(imltext.renumber(self.path), in_order)
        self.assertEqual(imltext.place(self.path), bytes(240) + second + bytes(240) + first)
        for dump in [first + first, self.compile(HEAD + "number 0xFFFFFFFF\n"), first[:-1]]:
            self.path.write_bytes(dump)
            with self.assertRaises(imltext.TextError):
                imltext.place(self.path)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
