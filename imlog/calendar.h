// The log's times: the server's local time, in the zone of TZ.
#pragma once

#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>
#include <vector>

#include "iml/iml_record.h"

constexpr int64_t kLastInstant = 253'402'300'799;  // 9999-12-31T23:59:59 in UTC

struct LogTime {
  EVT_TIME_STAMP stamp;
  bool is_valid;    // a date and time of the years 1970 to 9999, where the zone's offset is 24 hours at most
  bool is_trusted;  // valid, and at most a day later than the start of the reading
  int32_t offset_minutes;  // local time minus UTC, cut to minutes; this and the next only where valid
  int64_t instant;         // seconds since 1970, UTC
};

// The instant of a stamp of UTC. Nothing if there is no such time in the years 1970 to 9999.
std::optional<int64_t> instant_in_utc(const EVT_TIME_STAMP &stamp);

// Turns stamps into instants. An hour that occurs twice is taken as summer time, one that does not exist as
// standard time.
class Calendar {
 public:
  // The instants that a stamp may mean: two in an hour that occurs twice, else the same one.
  struct Instants {
    int64_t earlier;
    int64_t later;
  };

  Calendar();

  // From now on times are trusted up to a day after `now`; before the first call all valid ones are.
  void start_reading(int64_t now);

  LogTime at(const EVT_TIME_STAMP &stamp);

  Instants instants_of(const LogTime &valid);

 private:
  // Remembered for each day, because mktime takes thousands of instructions.
  struct Day {
    uint32_t date;           // the date bytes of its stamps; 0 while there is no day
    int32_t offset_seconds;  // local time minus UTC on the whole day, or kChanges or kNoOffset
    int64_t midnight;        // 00:00 as if it were UTC
  };

  const Day *find_day(const EVT_TIME_STAMP &stamp);

  std::vector<Day> days_;
  int64_t trusted_until_ = std::numeric_limits<int64_t>::max();
};
