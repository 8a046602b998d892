// The log's times: the server's local time, in the zone of TZ.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string_view>
#include <vector>

#include "iml/iml_record.h"

struct LogTime {
  EVT_TIME_STAMP stamp;
  bool is_valid;  // a date and time of the years 1970 to 9999, where the zone's offset is 24 hours at most
  int32_t offset_minutes;  // local time minus UTC, cut to minutes; this and the next only where valid
  int64_t instant;         // seconds since 1970, UTC
};

// A time to the minute: "2024-12-05T22:40", in UTC "2024-12-05T21:40Z", and dashes for one that is not valid.
// A time whose UTC form lies outside the years 1970 to 9999 is given in the log's zone all the same.
class MinuteText {
 public:
  MinuteText(const LogTime &time, bool in_utc);

  [[nodiscard]] std::string_view view() const {
    return {text_, size_};
  }

 private:
  char text_[sizeof("2024-12-05T21:40Z") - 1];
  size_t size_;
};

// A valid time with its zone: "2024-12-05T22:40:00+01:00", in UTC "2024-12-05T21:40:00Z", as above.
class ZonedText {
 public:
  ZonedText(const LogTime &time, bool in_utc);

  [[nodiscard]] std::string_view view() const {
    return {text_, size_};
  }

 private:
  char text_[sizeof("2024-12-05T22:40:00+01:00") - 1];
  size_t size_;
};

// The times of the command line, for the help and messages.
inline constexpr char kTimeForms[] =
    "2025-09-01, '2025-09-01 13:05', 2025-09-01T13:05:00, 2025-09-01T13:05:00+02:00, 2025-09-01T11:05Z, "
    "@1756724700, now, today, yesterday, -30m, -12h, -7d or -2w";

// Turns stamps into instants. An hour that occurs twice is taken as summer time, one that does not exist as
// standard time.
class Calendar {
 public:
  Calendar();

  LogTime at(const EVT_TIME_STAMP &stamp);

  // A time in one of kTimeForms; "-7d" is counted back from `now`. Nothing if it has another form, or if
  // there is no such time in the years 1970 to 9999.
  std::optional<int64_t> parse(std::string_view text, int64_t now);

 private:
  // Remembered for each day, because mktime takes thousands of instructions.
  struct Day {
    uint32_t date;           // the date bytes of its stamps; 0 while there is no day
    int32_t offset_seconds;  // local time minus UTC on the whole day, or kChanges or kNoOffset
    int64_t midnight;        // 00:00 as if it were UTC
  };

  const Day *find_day(const EVT_TIME_STAMP &stamp);

  std::vector<Day> days_;
};
