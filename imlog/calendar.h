// The log's times: the server's local time, in the zone of TZ.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

#include "iml/iml_record.h"

struct LogTime {
  EVT_TIME_STAMP stamp;
  bool is_valid;  // a date and time of the years 1970 to 9999, where the zone's offset is 24 hours at most
  int32_t offset_minutes;  // local time minus UTC, cut to minutes; this and the next only where valid
  int64_t instant;         // seconds since 1970, UTC
};

// The instant of a stamp of UTC. Nothing if there is no such time in the years 1970 to 9999.
std::optional<int64_t> instant_in_utc(const EVT_TIME_STAMP &stamp);

// Turns stamps into instants. An hour that occurs twice is taken as summer time, one that does not exist as
// standard time.
class Calendar {
 public:
  Calendar();

  LogTime at(const EVT_TIME_STAMP &stamp);

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
