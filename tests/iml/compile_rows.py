# Compiles rows of events into the table of event_rows_test.cpp: compile_rows.py TABLE ROOT ROWS...
# The table names the files relative to ROOT.
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

import itertools
import os
import re
import sys

ROW = re.compile(r"([0-9A-F]+\.[0-9A-F.|]+)  (.*?)  ([=~]) (.*)")
TOKEN = re.compile(r"""\s*(?:(["'])((?:\\.|[^\\])*?)\1|(fill|len)=([\w|]+)|([0-9A-F|]+))(?:\*(\d+))?(?!\S)""")
HEADER_SIZE, PAYLOAD_SIZE = 28, 212


def characters(text):
    return text.encode("latin-1").decode("unicode_escape").encode("latin-1")


def tokens(text):
    # The bytes that each token may stand for, and the values of each setting.
    choices, settings = [], {"fill": [0], "len": [None]}
    while text.strip():
        match = TOKEN.match(text)
        if match is None:
            raise ValueError("cannot read " + text)
        quote, quoted, setting, value, numbers, times = match.groups()
        if setting:
            settings[setting] = [int(choice, 16 if setting == "fill" else 10) for choice in value.split("|")]
        elif quote:
            choices.append([(characters(quoted) + (b"\0" if quote == '"' else b"")) * int(times or 1)])
        else:
            choices.append([bytes.fromhex(number)[::-1] * int(times or 1) for number in numbers.split("|")])
        text = text[match.end():]
    return choices, settings


def literal(data):
    return '"' + "".join(f"\\{byte:03o}" for byte in data) + '"'


def records(row):
    # The records of a row as C++ initializers, without their place.
    parts = ROW.fullmatch(row)
    if parts is None:
        raise ValueError("no events, payload and line")
    events, payload, comparison, line = parts.groups()
    choices, settings = tokens(payload)
    wanted = "nullptr"
    if line != "-":
        wanted = literal(b"".join(text for [text] in tokens(line)[0]).replace(b"\0", b""))
    event_class = None
    for event in events.split("|"):
        event_class, _, code = event.rpartition(".") if "." in event else (event_class, "", event)
        for fill, length, *parts in itertools.product(settings["fill"], settings["len"], *choices):
            data = b"".join(parts)
            if len(data) > PAYLOAD_SIZE:
                raise ValueError("the payload is too long")
            if length is None:
                length = HEADER_SIZE + len(data)
            payload = literal(data + bytes([fill]) * (PAYLOAD_SIZE - len(data)))
            whole = "true" if comparison == "=" else "false"
            yield f"0x{event_class}, 0x{code}, {length}, {payload}, {whole}, {wanted}"


with open(sys.argv[1], "w", encoding="ascii") as table:
    for path in sys.argv[3:]:
        name = os.path.relpath(path, sys.argv[2])
        with open(path, encoding="ascii") as rows:
            for number, row in enumerate(rows, 1):
                if not row.strip() or row.startswith("#"):
                    continue
                try:
                    for record in records(row.rstrip("\n")):
                        table.write(f'{{"{name}", {number}, {record}}},\n')
                except ValueError as error:
                    sys.exit(f"{name}:{number}: error: not a row: {error}")
