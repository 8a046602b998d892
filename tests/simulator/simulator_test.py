"""Tests of the simulator: of its libraries through their contracts, and of the text form of its logs."""
import ctypes
import datetime
import errno
import os
import random
import struct

import imltext
from harness import BUILD, SAMPLE, Case, record

driver, variables = (ctypes.CDLL(BUILD / "simulator" / library, use_errno=True)
                     for library in ("libkelmintrfc64.so.3", "liborvev64.so.1"))
ADD, READ = 1, 2
FULL = b"f" * 212


def ask(name, code, buffer, length):
    """The answer of a node, or -errno."""
    fd = driver.orvOpenRequest(f"/dev/zythealth/{name}".encode(), os.O_RDONLY)
    status = -1 if fd < 0 else driver.orvIoctlRequest(fd, code, buffer, length)
    answer = status if status >= 0 else -ctypes.get_errno()
    driver.orvCloseRequest(fd)
    return answer


def request(choice, number=0, entry=b"", length=256):
    return ctypes.create_string_buffer(struct.pack("<Iiii", length, choice, 0, number) + entry, 256)


def entry(text, length=None, number=0, time=b"", count=0):
    return imltext.HEADER.pack(length or 28 + len(text), number, 0, 0, 0, 0, time, time, count) + text


def add(text):
    return ask("cevt", 81, request(ADD, entry=entry(text), length=44 + len(text)), 256)


def ask_table(size, index=0):
    data = ctypes.create_string_buffer(8)
    return ask("cdt", 69, struct.pack("<IHBBBBQI", size, 51, index, 0, 0, 0, ctypes.addressof(data), 0), 22)


def listing():
    """The log as a reader sees it: number and text of each entry, else the answer."""
    entries, answer = [], 0
    while answer != 1:
        buffer = request(READ, len(entries))
        answer = ask("cevt", 81, buffer, 256)
        entries.append((struct.unpack_from("<I", buffer, 18)[0], buffer[44:].rstrip(b"\0")) if answer == 0 else answer)
    return entries


class Simulator(Case):
    def setUp(self):
        super().setUp()
        self.server = self.copy_sample()
        os.environ["ORVLOG_SIMULATOR"] = str(self.server)
        self.open_before = len(os.listdir("/proc/self/fd"))

    def tearDown(self):
        self.assertEqual(len(os.listdir("/proc/self/fd")), self.open_before, "descriptors leak")

    def test_entries_are_numbered_by_their_slots(self):
        log = self.server / "cevt"
        log.write_bytes(record(0, text=FULL) + bytes(240) + record(77, text=b"odd") + b"x" * 239)
        self.assertEqual(listing(), [(0, FULL), 3, (77, b"odd"), 1])
        self.assertEqual(add(b"after"), 0)
        self.assertEqual(listing(), [(0, FULL), 3, (77, b"odd"), (3, b"after"), 1])
        log.write_bytes(record(1, text=b"first"))
        self.assertEqual(add(b"after"), 0)
        self.assertEqual(listing(), [3, (1, b"first"), (2, b"after"), 1])

    def test_add_fills_in_the_header(self):
        os.environ["TZ"] = "EST5"
        (self.server / "cevt").write_bytes(record(1))
        now = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=-5))).replace(tzinfo=None)
        self.assertEqual(add(b"note"), 0)
        added = (self.server / "cevt").read_bytes()[240:]
        century, year, *rest = added[12:18]
        stamp = datetime.datetime(century * 100 + year, *rest)
        self.assertLess(abs(now - stamp), datetime.timedelta(minutes=2))
        self.assertEqual(added, entry(b"note", 32, 2, added[12:18], 1).ljust(240, b"\0"))

    def test_wrong_requests_are_refused(self):
        buffer = request(READ)
        for name, code, length, wrong in (("cdt", 69, 22, (68, 70)), ("cevt", 81, 256, (80, 82)),
                                          ("casr", 6, 4, (5, 7)), ("proc", 2, 1, (0, 6))):
            self.assertEqual(ask(name, code, None, length), -errno.EFAULT)
            self.assertEqual([ask(name, code, buffer, length + off) for off in (-1, 1)], [-errno.EINVAL] * 2)
            self.assertEqual([ask(name, other, buffer, length) for other in wrong], [-errno.ENOTTY] * 2)
        self.assertEqual([ask_table(2), ask_table(3), ask_table(4), ask_table(3, 1)], [-22, 0, -22, -22])
        self.assertEqual(ask("casr", 4, buffer, 0), -errno.EINVAL)
        self.assertEqual(ask("cevt", 81, request(READ, -1), 256), -errno.EINVAL)
        for length, stated in ((43, 27), (257, 241), (256, 40)):
            wrong_add = request(ADD, entry=entry(b"", stated), length=length)
            self.assertEqual(ask("cevt", 81, wrong_add, 256), -errno.EINVAL, stated)

    def test_asr_state(self):
        state = ctypes.c_int32(-1)
        for code, expected in ((3, 0), (4, 1)):
            self.assertEqual([ask("casr", code, None, 0), ask("casr", 6, ctypes.byref(state), 4)], [0, 0])
            self.assertEqual(state.value, expected)
        for text in ("", "1x", "2147483648", "0000000000000001"):
            (self.server / "casr/state").write_text(text)
            self.assertEqual(ask("casr", 6, ctypes.byref(state), 4), -errno.EIO, text)

    def test_firmware_variables(self):
        value, size = ctypes.create_string_buffer(b"?" * 9, 9), ctypes.c_int(7)
        self.assertNotEqual(variables.get_ev(b"VXHCPR", value, ctypes.byref(size)), 0)
        self.assertEqual((value.raw, size.value), (b"?" * 9, 8))
        size.value = 9
        self.assertEqual(variables.get_ev(b"VXHCPR", value, ctypes.byref(size)), 0)
        self.assertEqual((value.raw, size.value), ((SAMPLE / "ev/VXHCPR").read_bytes() + b"?", 8))
        (self.server / "ev/.VXHCPR.tmp").touch()  # a killed writer left it
        self.assertEqual(variables.set_ev(b"VXHCPR", value, ctypes.byref(size)), 0)
        for wrong in (b"", b".x", bytes(self.server / "cdt/51"), b"x" * 255):
            for call in (variables.get_ev, variables.set_ev):
                self.assertNotEqual(call(wrong, value, ctypes.byref(size)), 0, wrong)
        self.assertNotEqual(variables.set_ev(b"VXHCPR", value, ctypes.byref(ctypes.c_int(0))), 0)
        self.assertEqual(os.listdir(self.server / "ev"), ["VXHCPR"])

    def test_links_are_not_followed(self):
        for name in "cevt", "cdt/51", "casr/state", "proc/fan":
            (self.server / name).rename(self.directory / "other")
            (self.server / name).symlink_to(self.directory / "other")
        data = ctypes.create_string_buffer(4608)
        answers = [ask_table(3), add(b"note"), ask("casr", 6, data, 4), ask("proc", 2, data, 1)]
        self.assertEqual(answers, [-errno.ELOOP] * 4)


HEAD = "entry\nseverity 2, class 3, code 4\nfirst 2025-03-21 14:05\n"


class ImlText(Case):
    def setUp(self):
        super().setUp()
        self.path = self.directory / "log.iml"

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
                ("severity 2\n", 1, "begins with an entry"), ("entry 2\n", 1, "number 0 comes next"),
                ("gap\nentry 1\nseverity 2\n", 2, "has no class"), ("gap\npayload 00\n", 2, "no fields"),
                (HEAD + "count 1\ncount 2\n", 5, "given twice"), (HEAD + "color 2\n", 4, "unknown field"),
                (HEAD + "count 2,\n", 4, "beside a comma"), (HEAD + "revision 256\n", 4, "not within"),
                (HEAD + "last 2025-02-29 00:00\n", 4, "day"), (HEAD + "payload\n00\n0\n", 6, "neither a byte"),
                (HEAD + "payload\nu16:65536\n", 5, "not within"), (HEAD + 'payload "open\n', 4, "quote"),
                (HEAD + 'payload "\\q"\n', 4, "escape"), (HEAD + 'payload "\u20ac"\n', 4, "byte"),
                (HEAD + f"payload '{'x' * 212}'\n\"\"\n", 5, "longer than 212"),
                ("tail 00\n", 1, "too many"), ("tail\n00\ngap\n", 3, "follows")]:
            with self.assertRaisesRegex(imltext.TextError, rf"^{self.path}:{line}: .*{message}"):
                self.compile(text)

    def test_round_trip(self):
        sample = (SAMPLE / "cevt").read_bytes()
        chance = random.Random(1)
        damaged = bytearray(sample)
        for _ in range(5000):
            damaged[chance.randrange(len(damaged))] = chance.choice([0, 1, 20, 65, 92, 39, 34, chance.randrange(256)])
        for log in [b"", sample, bytes(damaged), sample[240:720], chance.randbytes(48101), bytes(480), b"A" * 240]:
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
