// Times of the log as texts.
#pragma once

#include "iml/event_text.h"
#include "imlog/calendar.h"

// A time to the minute: "2024-12-05T22:40", in UTC "2024-12-05T21:40Z", and dashes for one that is not valid.
// A time whose UTC form lies outside the years 1970 to 9999 is given in the log's zone all the same.
struct MinuteText : iml::OwnText<sizeof("2024-12-05T21:40Z")> {
  MinuteText(const LogTime &time, bool in_utc);
};

// A valid time with its zone: "2024-12-05T22:40:00+01:00", in UTC "2024-12-05T21:40:00Z", as above.
struct ZonedText : iml::OwnText<sizeof("2024-12-05T22:40:00+01:00")> {
  ZonedText(const LogTime &time, bool in_utc);
};
