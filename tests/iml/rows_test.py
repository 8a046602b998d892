# Translates the records of tests/iml/rows with the shared library: rows_test.py LIBIMLTEXT ROWS...
#
# A row is one line, its parts separated by two blanks. Class, code and bytes are hexadecimal:
#
#     CLASS.CODE  PAYLOAD  = LINE
#
# The payload is a sequence of
#     2D        a byte; FFFF and 00010005 are numbers of two and of four bytes, the lowest byte first
#     "Box1"    a text with its terminator
#     '1E'      characters without one
# and may end with
#     fill=FF   what the rest of the payload holds in place of zeros
#     len=33    the length that the record states in place of its own
# The line is one or more texts, or a dash for an event without a text. After "~" in place of "=" the line only has to
# contain them. *N after a token repeats it: 00*8. Numbers can have alternatives, and every combination is tried:
# 02.01|04  00|06|FF. Texts know Python's escapes.
import ctypes
import re
import struct
import sys

ROW = re.compile(r"(\w+)\.(\w+)  (.*?)(?: fill=(\w+))?(?: len=(\d+))?  ([=~]) (.*)")
TOKEN = re.compile(r"""(?<!\S)(?:(["'])((?:\\.|[^\\])*?)\1|([0-9A-F]+))(?:\*(\d+))?(?!\S)""")
HEADER_SIZE, PAYLOAD_SIZE = 28, 212
translate = ctypes.CDLL(sys.argv[1]).TranslateEventLogMessage


def variants(row):
    """The rows with one alternative each."""
    found = re.search(r"\w+(\|\w+)+", re.split("  [=~] ", row)[0])
    if found is None:
        return [row]
    return [variant for choice in found[0].split("|")
            for variant in variants(row[:found.start()] + choice + row[found.end():])]


def bytes_of(text):
    assert not TOKEN.sub("", text).strip(), text
    parts = []
    for quote, quoted, number, times in TOKEN.findall(text):
        part = quoted.encode().decode("unicode_escape").encode("latin-1") if quote else bytes.fromhex(number)[::-1]
        parts.append((part + (b"\0" if quote == '"' else b"")) * int(times or 1))
    return b"".join(parts)


def translated(row):
    """The line of a row's record, and whether it is what the row says."""
    event_class, code, payload, fill, length, comparison, line = ROW.fullmatch(row).groups()
    event_class, code, data = int(event_class, 16), int(code, 16), bytes_of(payload)
    header = struct.pack("<HIBBHH16x", int(length or HEADER_SIZE + len(data)), 0, 0, 0, event_class, code)
    text = ctypes.create_string_buffer(2048)
    is_known = translate(header + data.ljust(PAYLOAD_SIZE, bytes.fromhex(fill or "00")), text, len(text)) == 1
    wanted = b"Unknown Event (Class 0x%02X, Code 0x%02X)" % (event_class, code)
    if line != "-":
        wanted = bytes_of(line).replace(b"\0", b"")
    is_line = text.value == wanted if comparison == "=" else wanted in text.value
    return text.value.decode("latin-1"), is_line and is_known == (line != "-")


failed = 0
for path in sys.argv[2:]:
    with open(path, encoding="ascii") as rows:
        for number, row in enumerate(rows, 1):
            for variant in [] if row.startswith("#") else variants(row.rstrip("\n")):
                line, is_right = translated(variant)
                if not is_right:
                    print(f"{path}:{number}: {line}\n  in place of\n{variant}")
                    failed = 1
sys.exit(failed)
