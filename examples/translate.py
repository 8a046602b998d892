#!/usr/bin/env python3
"""The same as translate.c, from Python: translate.py [FILE]. The loader has to find libimltext.so.1."""

import ctypes
import struct
import sys

RECORD = struct.Struct("<HIBBHH6s6sI212s")  # EVT_LOG_ENTRY

iml = ctypes.CDLL("libimltext.so.1")
iml.TranslateEventLogMessage.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint32]
iml.TranslateEventLogClass.argtypes = [ctypes.c_uint16, ctypes.c_char_p, ctypes.c_uint32]
iml.TranslateEventLogSeverity.argtypes = [ctypes.c_uint8, ctypes.c_char_p, ctypes.c_uint32]
for function in (iml.TranslateEventLogMessage, iml.TranslateEventLogClass, iml.TranslateEventLogSeverity):
    function.restype = ctypes.c_uint8


def translated(function, value, size=256):
    text = ctypes.create_string_buffer(size)
    function(value, text, size)
    return "".join(chr(byte) if 0x20 <= byte < 0x7F else " " for byte in text.value)


with open(sys.argv[1], "rb") if len(sys.argv) > 1 else sys.stdin.buffer as log:
    while len(record := log.read(RECORD.size)) == RECORD.size:
        length, number, _, severity, event_class, *_ = RECORD.unpack(record)
        if length != 0:  # else a slot that holds no entry
            print(number, translated(iml.TranslateEventLogSeverity, severity),
                  translated(iml.TranslateEventLogClass, event_class),
                  translated(iml.TranslateEventLogMessage, record), sep="\t")
