// Times of the log as texts.
#pragma once

#include <string_view>

#include "iml/event_text.h"
#include "imlog/calendar.h"

// A time to the minute: "2024-12-05T22:40", in UTC "2024-12-05T21:40Z", and dashes for one that is not valid.
// A time whose UTC form lies outside the years 1970 to 9999 is given in the log's zone all the same.
class MinuteText {
 public:
  MinuteText(const LogTime &time, bool in_utc);

  [[nodiscard]] std::string_view view() const {
    return text_.view();
  }

 private:
  iml::OwnText<sizeof("2024-12-05T21:40Z")> text_;
};

// A valid time with its zone: "2024-12-05T22:40:00+01:00", in UTC "2024-12-05T21:40:00Z", as above.
class ZonedText {
 public:
  ZonedText(const LogTime &time, bool in_utc);

  [[nodiscard]] std::string_view view() const {
    return text_.view();
  }

 private:
  iml::OwnText<sizeof("2024-12-05T22:40:00+01:00")> text_;
};
