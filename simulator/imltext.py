#!/usr/bin/env python3
"""Turns the readable form of a simulated server into the files that the simulator serves, and logs back into text.

  imltext.py server DIRECTORY OUT   every file of DIRECTORY: *.iml and *.bytes are compiled, the rest is copied
  imltext.py log TEXT LOG        one log
  imltext.py bytes TEXT FILE     one binary file
  imltext.py text LOG            a log as text, on standard output; compiling it gives the same bytes again
  imltext.py place DUMP LOG      a raw dump, each record moved to the slot of its own number
  imltext.py renumber DUMP LOG   a raw dump, each record given the number of its slot

README.md describes the text form.
"""

import datetime
import pathlib
import re
import struct
import sys

HEADER = struct.Struct("<HIBBHH6s6sI")
RECORD_SIZE = 240
PAYLOAD_SIZE = RECORD_SIZE - HEADER.size
MAX_SLOTS = 1 << 20

SEVERITIES = {"information": 2, "repaired": 6, "caution": 9, "critical": 15}
INTEGERS = {"u8": "<B", "u16": "<H", "u32": "<I", "be16": ">H", "be32": ">I"}
ESCAPES = {"n": "\n", "t": "\t", "r": "\r"}

TOKEN = re.compile(r"""\s*(?:(?P<comment>\#.*)
                         |"(?P<text>(?:[^"\\]|\\.)*)"
                         |'(?P<bare>(?:[^'\\]|\\.)*)'
                         |(?P<comma>,)
                         |(?P<word>[^\s\#"',]+))""", re.VERBOSE)
ESCAPE = re.compile(r"\\(x[0-9A-Fa-f]{2}|.)")
STAMP = re.compile(r"(\d\d)(\d\d)-(\d\d)-(\d\d) (\d\d):(\d\d)")


class TextError(Exception):
    """What is wrong, and where."""

    def __init__(self, place, message):
        super().__init__(f"{place}: {message}")


class Line:
    """The tokens of one line: (kind, value) pairs, kind being word, comma, text or bare."""

    def __init__(self, file, number, source):
        self.place = f"{file}:{number}"
        self.tokens = []
        source = source.rstrip()
        position = 0
        while position < len(source):
            match = TOKEN.match(source, position)
            if not match:
                raise self.error("a quote is not closed")
            if match.lastgroup != "comment":
                self.tokens.append((match.lastgroup, match[match.lastgroup]))
            position = match.end()

    @property
    def keyword(self):
        return self.tokens[0][1] if self.tokens and self.tokens[0][0] == "word" else ""

    def error(self, message):
        return TextError(self.place, message)

    def fields(self):
        """The words of the line, in one list for each field: commas separate the fields."""
        fields = [[]]
        for kind, value in self.tokens:
            if kind == "comma":
                fields.append([])
            elif kind == "word":
                fields[-1].append(value)
            else:
                raise self.error(f"a text does not belong here: {value!r}")
        if not all(fields):
            raise self.error("a field is missing beside a comma")
        return fields

    def number(self, word, limit):
        try:
            value = int(word, 0)
        except ValueError:
            raise self.error(f"not a number: {word}") from None
        if not 0 <= value <= limit:
            raise self.error(f"{word} is not within 0 to {limit}")
        return value

    def characters(self, text):
        def plain(match):
            escape = match[1]
            if len(escape) == 3:
                return chr(int(escape[1:], 16))
            if escape.isalnum() and escape not in ESCAPES:
                raise self.error(f"unknown escape \\{escape}")
            return ESCAPES.get(escape, escape)

        try:
            return ESCAPE.sub(plain, text).encode("latin-1")
        except UnicodeEncodeError:
            raise self.error("a character does not fit into a byte") from None

    def data(self):
        result = bytearray()
        for kind, value in self.tokens:
            name, colon, digits = value.partition(":")
            if kind == "text":
                result += self.characters(value) + b"\0"
            elif kind == "bare":
                result += self.characters(value)
            elif colon and name in INTEGERS:
                form = struct.Struct(INTEGERS[name])
                result += form.pack(self.number(digits, (1 << 8 * form.size) - 1))
            elif re.fullmatch("[0-9A-Fa-f]{2}", value):
                result.append(int(value, 16))
            else:
                raise self.error(f"neither a byte of two hex digits, a number such as u16:350 nor a text: {value}")
        return bytes(result)

    def stamp(self, words):
        if len(words) == 6 and all(re.fullmatch("[0-9A-Fa-f]{2}", word) for word in words):
            return bytes.fromhex("".join(words))
        match = STAMP.fullmatch(" ".join(words))
        if not match or len(words) != 2:
            raise self.error("a time is YYYY-MM-DD hh:mm, or six bytes of two hex digits")
        century, year, *rest = map(int, match.groups())
        try:
            datetime.datetime(century * 100 + year, *rest)
        except ValueError as problem:
            raise self.error(str(problem)) from None
        return bytes([century, year, *rest])


def read_lines(path):
    source = pathlib.Path(path).read_text(encoding="utf-8")
    lines = (Line(path, number, text) for number, text in enumerate(source.split("\n"), 1))
    return [line for line in lines if line.tokens]


def compile_bytes(path):
    return b"".join(line.data() for line in read_lines(path))


FIELD_LIMITS = {"severity": 0xFF, "revision": 0xFF, "class": 0xFFFF, "code": 0xFFFF, "length": 0xFFFF,
                "number": 0xFFFFFFFF, "count": 0xFFFFFFFF}
REQUIRED_FIELDS = ("severity", "class", "code", "first")


def read_field(line, name, words):
    if name in ("first", "last"):
        return line.stamp(words)
    if name not in FIELD_LIMITS:
        raise line.error(f"unknown field: {name}")
    if len(words) != 1:
        raise line.error(f"{name} takes one value")
    if name == "severity" and words[0] in SEVERITIES:
        return SEVERITIES[words[0]]
    return line.number(words[0], FIELD_LIMITS[name])


def compile_entry(head, lines, number):
    fields = {}
    payload = None
    for line in lines:
        if line.keyword == "payload" and payload is None:
            line.tokens = line.tokens[1:]
            payload = bytearray()
        if payload is not None:
            payload += line.data()
            if len(payload) > PAYLOAD_SIZE:
                raise line.error(f"the payload is longer than {PAYLOAD_SIZE} bytes")
            continue
        for name, *words in line.fields():
            if name in fields:
                raise line.error(f"{name} is given twice")
            fields[name] = read_field(line, name, words)
    for name in REQUIRED_FIELDS:
        if name not in fields:
            raise head.error(f"the entry has no {name}")
    payload = payload or b""
    get = fields.get
    header = HEADER.pack(get("length", HEADER.size + len(payload)), get("number", number), get("revision", 0),
                         get("severity"), get("class"), get("code"), get("first"), get("last", get("first")),
                         get("count", 1))
    return (header + payload).ljust(RECORD_SIZE, b"\0")


def read_blocks(path):
    """The entries, gaps and tail of a log's text: pairs of the line that begins one and the lines that follow."""
    blocks = []
    for line in read_lines(path):
        if line.keyword in ("entry", "gap", "tail"):
            if blocks and blocks[-1][0].keyword == "tail":
                raise line.error("nothing follows the tail")
            blocks.append((line, []))
        elif blocks:
            blocks[-1][1].append(line)
        else:
            raise line.error("a log begins with an entry or a gap")
    return blocks


def compile_log(path):
    log = bytearray()
    base = 0
    for head, lines in read_blocks(path):
        words = [word for field in head.fields() for word in field][1:]
        if head.keyword == "tail" and not words:
            log += b"".join(line.data() for line in lines)
            break
        if len(words) > 1 or head.keyword == "tail":
            raise head.error(f"too many words after {head.keyword}")
        if not log and head.keyword == "entry" and words == ["1"]:
            base = 1
        expected = len(log) // RECORD_SIZE + base
        if words and head.number(words[0], 0xFFFFFFFF) != expected:
            raise head.error(f"number {expected} comes next, not {words[0]}")
        if head.keyword == "entry":
            log += compile_entry(head, lines, expected)
        elif lines:
            raise lines[0].error("a gap has no fields")
        else:
            log += bytes(RECORD_SIZE)
    return bytes(log)


def quoted(text, quote):
    def character(byte):
        if byte in (0x5C, ord(quote)):
            return "\\" + chr(byte)
        return chr(byte) if 0x20 <= byte < 0x7F else f"\\x{byte:02X}"

    return quote + "".join(map(character, text)) + quote


def data_lines(data):
    """Texts of four characters and more as texts, one per line; all else as bytes, 16 per line."""
    lines = []
    for match in re.finditer(rb"(?P<text>[\x20-\x7E]{4,})(?P<end>\0?)|(?:(?![\x20-\x7E]{4}).)+", data, re.DOTALL):
        if match["text"]:
            lines.append(quoted(match["text"], '"' if match["end"] else "'"))
        else:
            lines += [match[0][i:i + 16].hex(" ").upper() for i in range(0, len(match[0]), 16)]
    return ["  " + line for line in lines]


def stamp_text(stamp):
    century, year, *rest = stamp
    try:
        if year < 100:
            return datetime.datetime(century * 100 + year, *rest).strftime(f"{century:02d}{year:02d}-%m-%d %H:%M")
    except ValueError:
        pass
    return stamp.hex(" ").upper()


def record_text(record, number):
    if not any(record):
        return [f"gap {number}"]
    length, stored, revision, severity, event_class, code, first, last, count = HEADER.unpack_from(record)
    payload = record[HEADER.size:]
    meant = length - HEADER.size
    data = payload[:meant] if 0 <= meant and not any(payload[meant:]) else payload.rstrip(b"\0")
    words = {value: word for word, value in SEVERITIES.items()}
    lines = [f"entry {number}"]
    lines += [f"number {stored}"] if stored != number else []
    lines += [f"severity {words.get(severity, severity)}, class 0x{event_class:02X}, code 0x{code:02X}"]
    history = [f"first {stamp_text(first)}"]
    history += [f"last {stamp_text(last)}"] if last != first else []
    history += [f"count {count}"] if count != 1 else []
    lines += [", ".join(history)]
    lines += [f"revision {revision}"] if revision else []
    lines += [f"length {length}"] if length != HEADER.size + len(data) else []
    return lines + (["payload", *data_lines(data)] if data else [])


def log_text(log):
    whole = len(log) - len(log) % RECORD_SIZE
    base = 1 if whole and HEADER.unpack_from(log)[1] == 1 else 0
    blocks = [record_text(log[at:at + RECORD_SIZE], at // RECORD_SIZE + base) for at in range(0, whole, RECORD_SIZE)]
    if log[whole:]:
        blocks.append(["tail", *data_lines(log[whole:])])
    return "\n\n".join("\n".join(block) for block in blocks) + "\n"


def read_dump(path):
    """The records of a dump: pairs of the unchanged record and its number."""
    dump = pathlib.Path(path).read_bytes()
    if len(dump) % RECORD_SIZE:
        raise TextError(path, f"the size is not a multiple of {RECORD_SIZE} bytes")
    records = (dump[at:at + RECORD_SIZE] for at in range(0, len(dump), RECORD_SIZE))
    return [(record, HEADER.unpack_from(record)[1]) for record in records]


def place(path):
    slots = {}
    for position, (record, number) in enumerate(read_dump(path)):
        if any(record):
            if number in slots or number >= MAX_SLOTS:
                raise TextError(path, f"record {position}: number {number} is used before or too large")
            slots[number] = record
    return b"".join(slots.get(number, bytes(RECORD_SIZE)) for number in range(max(slots, default=-1) + 1))


def renumber(path):
    return b"".join(record[:2] + struct.pack("<I", position) + record[6:] if any(record) else record
                    for position, (record, _) in enumerate(read_dump(path)))


def compile_server(directory, out):
    compilers = {".iml": compile_log, ".bytes": compile_bytes}
    for source in sorted(pathlib.Path(directory).rglob("*")):
        if source.is_file():
            target = pathlib.Path(out) / source.relative_to(directory)
            target.parent.mkdir(parents=True, exist_ok=True)
            if source.suffix in compilers:
                target.with_suffix("").write_bytes(compilers[source.suffix](source))
            else:
                target.write_bytes(source.read_bytes())


def compile_file(compiler):
    return lambda source, target: pathlib.Path(target).write_bytes(compiler(source))


def print_log(log):
    sys.stdout.write(log_text(pathlib.Path(log).read_bytes()))


# The function of each command, and the number of its arguments.
COMMANDS = {
    "server": (compile_server, 2),
    "log": (compile_file(compile_log), 2),
    "bytes": (compile_file(compile_bytes), 2),
    "text": (print_log, 1),
    "place": (compile_file(place), 2),
    "renumber": (compile_file(renumber), 2),
}


def main(arguments):
    command, count = COMMANDS.get(arguments[0] if arguments else "", (None, 0))
    if command is None or len(arguments) != 1 + count:
        sys.stderr.write(__doc__)
        return 2
    try:
        command(*arguments[1:])
    except (TextError, OSError, UnicodeDecodeError) as problem:
        sys.stderr.write(f"imltext.py: {problem}\n")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
