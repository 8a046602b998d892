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
#     fill=FF   what the rest of the payload holds in place of zeros
#     len=33    the length that the record states in place of its own
# The line is one or more texts, or a dash for an event without a text. After "~" in place of "=" the line only has to
# contain them. *N after a token repeats it: 00*8. Codes and numbers can have alternatives, and every combination is
# tried: 02.01|04  00|06|FF. Texts know Python's escapes.
import ctypes
import itertools
import re
import struct
import sys

ROW = re.compile(r"([0-9A-F]+\.[0-9A-F.|]+)  (.*?)  ([=~]) (.*)")
TOKEN = re.compile(r"""\s*(?:(["'])((?:\\.|[^\\])*?)\1|(fill|len)=([\w|]+)|([0-9A-F|]+))(?:\*(\d+))?(?!\S)""")
HEADER_SIZE, PAYLOAD_SIZE = 28, 212
translate = ctypes.CDLL(sys.argv[1]).TranslateEventLogMessage


def tokens(text):
    # The bytes that each token may stand for, and the values of each setting.
    choices, settings = [], {"fill": [0], "len": [None]}
    while text.strip():
        match = TOKEN.match(text)
        quote, quoted, setting, value, numbers, times = match.groups()
        if setting:
            settings[setting] = [int(choice, 16 if setting == "fill" else 10) for choice in value.split("|")]
        elif quote:
            characters = quoted.encode().decode("unicode_escape").encode("latin-1")
            choices.append([(characters + (b"\0" if quote == '"' else b"")) * int(times or 1)])
        else:
            choices.append([bytes.fromhex(number)[::-1] * int(times or 1) for number in numbers.split("|")])
        text = text[match.end():]
    return choices, settings


def faults_of(row):
    # What is printed for each record of a row that is not what the row says.
    events, payload, comparison, line = ROW.fullmatch(row).groups()
    choices, settings = tokens(payload)
    text = None if line == "-" else b"".join(part for [part] in tokens(line)[0]).replace(b"\0", b"")
    event_class = ""
    for event in events.split("|"):
        event_class, _, code = event.rpartition(".") if "." in event else (event_class, "", event)
        for fill, length, *parts in itertools.product(settings["fill"], settings["len"], *choices):
            data = b"".join(parts)
            header = struct.pack("<HIBBHH16x", HEADER_SIZE + len(data) if length is None else length, 0, 0, 0,
                                 int(event_class, 16), int(code, 16))
            printed = ctypes.create_string_buffer(2048)
            is_known = translate(header + data + bytes([fill]) * (PAYLOAD_SIZE - len(data)), printed, len(printed)) == 1
            wanted = text or b"Unknown Event (Class 0x%02X, Code 0x%02X)" % (int(event_class, 16), int(code, 16))
            is_right = printed.value == wanted if comparison == "=" else wanted in printed.value
            if not is_right or is_known != (text is not None):
                yield printed.value.decode("latin-1")


failed = 0
for path in sys.argv[2:]:
    with open(path, encoding="ascii") as rows:
        for number, row in enumerate(rows, 1):
            for printed in faults_of(row.rstrip("\n")) if row.strip() and not row.startswith("#") else ():
                print(f"{path}:{number}: {printed}\n  in place of\n{row}")
                failed = 1
sys.exit(failed)
