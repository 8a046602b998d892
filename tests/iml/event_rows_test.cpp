// Translates the records of tests/iml/rows. compile_rows.py describes their form.
#include <gtest/gtest.h>

#include "tests/iml/event_record.h"

namespace {

struct EventRow {
  const char *file;
  int line;
  unsigned event_class;
  unsigned code;
  int length;           // the record's length as its header states it
  const char *payload;  // 212 bytes
  bool whole;           // the line is `text`, rather than contains it
  const char *text;     // null for an event without a text
};

constexpr EventRow kRows[] = {
#include "event_rows.inc"
};

TEST(EventRows, TranslateAsExpected) {
  for (const EventRow &row : kRows) {
    EVT_LOG_ENTRY record = record_of(row.event_class, row.code, {row.payload, sizeof(EVT_FREE_FORM)});
    record.Hdr.wEvtLength = static_cast<uint16_t>(row.length);
    char text[kLineSize];
    const bool known = TranslateEventLogMessage(&record, text, sizeof(text)) == 1;
    char fallback[64];
    snprintf(fallback, sizeof(fallback), "Unknown Event (Class 0x%02X, Code 0x%02X)", row.event_class,
             row.code);
    const std::string wanted = row.text != nullptr ? row.text : fallback;
    const bool right = row.whole ? text == wanted : std::string(text).find(wanted) != std::string::npos;
    if (!right || known != (row.text != nullptr)) {
      ADD_FAILURE_AT(row.file, row.line) << text << "\n  in place of\n" << wanted;
    }
  }
}

}  // namespace
