#include "imlog/calendar.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/time_stamp.h"

namespace {

static_assert(sizeof(time_t) >= sizeof(int64_t), "stamps reach the year 9999");

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;

constexpr size_t kRememberedDays = 4096;  // a log of eleven years, and a power of two
// Values of offset_seconds.
constexpr int32_t kChanges = INT32_MIN;      // a day on which the zone's offset changes, or near one
constexpr int32_t kNoOffset = kChanges + 1;  // a day on which, or near which, it exceeds 24 hours

int year_of(const EVT_TIME_STAMP &stamp) {
  return stamp.bCentury * 100 + stamp.bYear;
}

tm to_tm(const EVT_TIME_STAMP &stamp) {
  tm time = {};
  time.tm_year = year_of(stamp) - 1900;
  time.tm_mon = stamp.bMonth - 1;
  time.tm_mday = stamp.bDay;
  time.tm_hour = stamp.bHour;
  time.tm_min = stamp.bMinute;
  return time;
}

// Local time minus UTC in seconds, if it is the same on the whole day and half a day around it; else kChanges
// or kNoOffset.
int32_t steady_offset(int64_t midnight) {
  tm local = {};
  time_t probe = midnight;
  if (localtime_r(&probe, &local) == nullptr || std::abs(local.tm_gmtoff) > kDay) {
    return kNoOffset;
  }
  const tm first = local;
  bool changes = false;
  const int64_t start = midnight - first.tm_gmtoff;
  // No zone changes back and forth within a day.
  for (probe = start - kDay / 2; probe <= start + kDay + kDay / 2; probe += kDay) {
    if (localtime_r(&probe, &local) == nullptr || std::abs(local.tm_gmtoff) > kDay) {
      return kNoOffset;
    }
    changes = changes || local.tm_gmtoff != first.tm_gmtoff || local.tm_isdst != first.tm_isdst;
  }
  return changes ? kChanges : static_cast<int32_t>(first.tm_gmtoff);
}

// The instant of a stamp near a change; `local` is the stamp taken as UTC.
int64_t instant_near_change(const EVT_TIME_STAMP &stamp, int64_t local) {
  // The answer of mktime depends on its previous call in an hour that occurs twice, if neither is summer
  // time. Asking for the day before makes it use that day's offset.
  tm day_before = to_tm(stamp);
  day_before.tm_mday -= 1;
  day_before.tm_isdst = -1;
  mktime(&day_before);

  for (const int is_summer : {1, 0}) {
    tm time = to_tm(stamp);
    time.tm_isdst = is_summer;
    time.tm_wday = -1;  // is set unless the call fails
    const time_t instant = mktime(&time);
    const EVT_TIME_STAMP back = to_stamp(time);
    if (time.tm_wday >= 0 && (is_summer == 0 || memcmp(&back, &stamp, sizeof(stamp)) == 0)) {
      return instant;
    }
  }
  // mktime fails for an hour that is skipped by a change that is not summer time: use the offset of the day
  // before.
  tm before = {};
  const time_t probe = local - kDay;
  localtime_r(&probe, &before);
  return local - before.tm_gmtoff;
}

}  // namespace

std::optional<int64_t> instant_in_utc(const EVT_TIME_STAMP &stamp) {
  tm time = to_tm(stamp);
  const int64_t instant = timegm(&time);  // of another stamp where there is no such time
  const EVT_TIME_STAMP back = to_stamp(time);
  const bool is_in_range = instant >= 0 && instant <= kLastInstant;
  return is_in_range && memcmp(&back, &stamp, sizeof(stamp)) == 0 ? std::optional(instant) : std::nullopt;
}

Calendar::Calendar() : days_(kRememberedDays) {
  tzset();
}

void Calendar::start_reading(int64_t now) {
  trusted_until_ = now + kDay;
}

LogTime Calendar::at(const EVT_TIME_STAMP &stamp) {
  const Day *const day = find_day(stamp);
  if (day == nullptr || stamp.bHour > 23 || stamp.bMinute > 59) {
    return {stamp, false, false, 0, 0};
  }
  const int64_t local = day->midnight + stamp.bHour * kHour + stamp.bMinute * kMinute;
  int64_t offset = day->offset_seconds;
  if (offset == kChanges) {
    offset = local - instant_near_change(stamp, local);
  }
  if (std::abs(offset) > kDay) {
    return {stamp, false, false, 0, 0};
  }
  const int64_t instant = local - offset;
  return {stamp, true, instant <= trusted_until_, static_cast<int32_t>(offset / kMinute), instant};
}

Calendar::Instants Calendar::instants_of(const LogTime &valid) {
  Instants instants = {valid.instant, valid.instant};
  const Day *const day = find_day(valid.stamp);
  if (day == nullptr || day->offset_seconds != kChanges) {
    return instants;
  }
  const int64_t local = day->midnight + valid.stamp.bHour * kHour + valid.stamp.bMinute * kMinute;
  for (const time_t probe : {valid.instant - kDay, valid.instant + kDay}) {
    tm time = {};
    localtime_r(&probe, &time);
    const time_t candidate = local - time.tm_gmtoff;
    localtime_r(&candidate, &time);
    const EVT_TIME_STAMP back = to_stamp(time);
    if (memcmp(&back, &valid.stamp, sizeof(back)) == 0) {
      instants.earlier = std::min<int64_t>(instants.earlier, candidate);
      instants.later = std::max<int64_t>(instants.later, candidate);
    }
  }
  return instants;
}

const Calendar::Day *Calendar::find_day(const EVT_TIME_STAMP &stamp) {
  uint32_t date = 0;
  memcpy(&date, &stamp, sizeof(date));
  const size_t index = (static_cast<unsigned>(year_of(stamp)) * 12 + stamp.bMonth) * 31 + stamp.bDay;
  Day &day = days_[index % kRememberedDays];
  if (day.date != date || date == 0) {
    const std::optional<int64_t> midnight =
        instant_in_utc({stamp.bCentury, stamp.bYear, stamp.bMonth, stamp.bDay, 0, 0});
    if (!midnight) {
      return nullptr;
    }
    day = {date, steady_offset(*midnight), *midnight};
  }
  return &day;
}
