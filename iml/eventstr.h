// libimltext: turns records of the Integrated Management Log into text.
//
// The functions keep no state, allocate nothing and do no input or output. Each first sets all `ulSize` bytes
// of `szString` to zero and then writes one terminated line of at most `ulSize` - 1 characters. What does not
// fit is cut there. With `ulSize` 0 nothing is written and `szString` may be null.
//
// The headers need C99 or C++11, and a compiler that knows GCC's attributes.
#pragma once

#include <stdint.h>

#include "iml/iml_record.h"

#if defined(__GNUC__) && !defined(IML_API)
#  define IML_API __attribute__((visibility("default")))
#elif !defined(IML_API)
#  define IML_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Describes a whole record: 240 bytes at `pEvtLogEntry` of any content, which are only read. Returns 1 if the
// event is known. Returns 0 if "Unknown Event (Class 0x.., Code 0x..)" was written in its place, or if
// `ulSize` leaves no room for a first character. Texts stored in the record are copied byte by byte: the line
// can hold control characters.
IML_API uint8_t TranslateEventLogMessage(const EVT_LOG_ENTRY *pEvtLogEntry, char *szString, uint32_t ulSize);

// Names an event class. Returns 1, or 0 if the class has no name and "Unknown" was written.
IML_API uint8_t TranslateEventLogClass(uint16_t wClass, char *szString, uint32_t ulSize);

// Names a severity code. Returns 1, or 0 if the code has no name and "Unknown" was written.
IML_API uint8_t TranslateEventLogSeverity(uint8_t bSeverity, char *szString, uint32_t ulSize);

#ifdef __cplusplus
}
#endif
