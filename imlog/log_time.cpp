#include "imlog/log_time.h"

#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "iml/digits.h"
#include "platform/time_stamp.h"

namespace {

static_assert(sizeof(time_t) >= sizeof(int64_t), "stamps reach the year 9999");

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;
constexpr int64_t kWeek = 7 * kDay;

constexpr int64_t kLastInstant = 253'402'300'799;  // 9999-12-31T23:59:59 in UTC

constexpr size_t kRememberedDays = 4096;  // a log of eleven years, and a power of two
// Values of offset_seconds.
constexpr int32_t kChanges = INT32_MIN;      // a day on which the zone's offset changes, or near one
constexpr int32_t kNoOffset = kChanges + 1;  // a day on which, or near which, it exceeds 24 hours

int year_of(const EVT_TIME_STAMP &stamp) {
  return stamp.bCentury * 100 + stamp.bYear;
}

bool is_date(const EVT_TIME_STAMP &stamp) {
  static constexpr uint8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int year = year_of(stamp);
  if (stamp.bYear > 99 || year < 1970 || year > 9999 || stamp.bMonth < 1 || stamp.bMonth > 12) {
    return false;
  }
  const bool is_leap_year = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  const int days = kDays[stamp.bMonth - 1] + (is_leap_year && stamp.bMonth == 2 ? 1 : 0);
  return stamp.bDay >= 1 && stamp.bDay <= days;
}

bool is_time_of_day(const EVT_TIME_STAMP &stamp) {
  return stamp.bHour <= 23 && stamp.bMinute <= 59;
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
  // Where an hour occurs twice and neither is summer time, the answer of mktime depends on its previous call.
  // Asking for the day before makes it use that day's offset.
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

// True if `text` has the form of `shape`: '0' stands for a digit, '_' for a blank or a "T".
bool has_shape(std::string_view text, std::string_view shape) {
  if (text.size() != shape.size()) {
    return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    const bool is_digit = text[i] >= '0' && text[i] <= '9';
    const bool fits = shape[i] == '0'   ? is_digit
                      : shape[i] == '_' ? text[i] == ' ' || text[i] == 'T'
                                        : text[i] == shape[i];
    if (!fits) {
      return false;
    }
  }
  return true;
}

// The number in the two digits at `at`; 0 after the end of `text`.
uint8_t two_digits(std::string_view text, size_t at) {
  return at < text.size() ? static_cast<uint8_t>((text[at] - '0') * 10 + (text[at + 1] - '0')) : 0;
}

// Reads a decimal number of at most `most`, which is all of `text`.
std::optional<int64_t> parse_seconds(std::string_view text, int64_t most) {
  uint64_t number = 0;
  const char *const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || next != end || number > static_cast<uint64_t>(most)) {
    return std::nullopt;
  }
  return static_cast<int64_t>(number);
}

// The seconds that "-30m", "-12h", "-7d" or "-2w" goes back.
std::optional<int64_t> parse_age(std::string_view text) {
  if (text.size() < 3 || text[0] != '-') {
    return std::nullopt;
  }
  const char unit = text.back();
  const int64_t seconds = unit == 'm'   ? kMinute
                          : unit == 'h' ? kHour
                          : unit == 'd' ? kDay
                          : unit == 'w' ? kWeek
                                        : 0;
  const std::optional<int64_t> count = parse_seconds(text.substr(1, text.size() - 2), UINT32_MAX);
  if (seconds == 0 || !count) {
    return std::nullopt;
  }
  return *count * seconds;
}

// Takes "Z" or an offset such as "+02:00" from the end of a date with a time of day. Returns the offset in
// seconds, or nothing, with `text` as it was, where there is none.
std::optional<int64_t> take_offset(std::string_view &text) {
  constexpr size_t kMinuteSize = sizeof("2024-12-05T22:40") - 1;
  if (text.size() > kMinuteSize && text.back() == 'Z') {
    text.remove_suffix(1);
    return 0;
  }
  constexpr size_t kOffsetSize = sizeof("+02:00") - 1;
  if (text.size() < kMinuteSize + kOffsetSize) {
    return std::nullopt;
  }
  const std::string_view offset = text.substr(text.size() - kOffsetSize);
  if (!has_shape(offset, "+00:00") && !has_shape(offset, "-00:00")) {
    return std::nullopt;
  }
  const uint8_t hours = two_digits(offset, 1);
  const uint8_t minutes = two_digits(offset, 4);
  if (hours > 24 || minutes > 59) {
    return std::nullopt;
  }
  text.remove_suffix(kOffsetSize);
  const int64_t seconds = hours * kHour + minutes * kMinute;
  return offset[0] == '-' ? -seconds : seconds;
}

// The time in UTC, if that lies in the years 1970 to 9999.
std::optional<tm> utc_form(const LogTime &time) {
  tm utc = {};
  if (time.instant < 0 || time.instant > kLastInstant || gmtime_r(&time.instant, &utc) == nullptr) {
    return std::nullopt;
  }
  return utc;
}

// "2024-12-05T22:40"
char *put_minute(char *text, const EVT_TIME_STAMP &stamp) {
  char *next = iml::write_digit_pair(text, stamp.bCentury);
  next = iml::write_digit_pair(next, stamp.bYear);
  *next++ = '-';
  next = iml::write_digit_pair(next, stamp.bMonth);
  *next++ = '-';
  next = iml::write_digit_pair(next, stamp.bDay);
  *next++ = 'T';
  next = iml::write_digit_pair(next, stamp.bHour);
  *next++ = ':';
  return iml::write_digit_pair(next, stamp.bMinute);
}

}  // namespace

MinuteText::MinuteText(const LogTime &time, bool in_utc) {
  constexpr std::string_view kNone = "----------------";
  char *end = text_;
  if (!time.is_valid) {
    memcpy(text_, kNone.data(), kNone.size());
    end += kNone.size();
  } else if (const std::optional<tm> utc = in_utc ? utc_form(time) : std::nullopt) {
    end = put_minute(text_, to_stamp(*utc));
    *end++ = 'Z';
  } else {
    end = put_minute(text_, time.stamp);
  }
  size_ = static_cast<size_t>(end - text_);
}

ZonedText::ZonedText(const LogTime &time, bool in_utc) {
  const std::optional<tm> utc = in_utc ? utc_form(time) : std::nullopt;
  char *next = put_minute(text_, utc ? to_stamp(*utc) : time.stamp);
  *next++ = ':';
  next = iml::write_digit_pair(next, utc ? static_cast<unsigned>(utc->tm_sec) : 0);
  if (utc) {
    *next++ = 'Z';
  } else {
    const auto offset = static_cast<unsigned>(std::abs(time.offset_minutes));
    *next++ = time.offset_minutes < 0 ? '-' : '+';
    next = iml::write_digit_pair(next, offset / 60);
    *next++ = ':';
    next = iml::write_digit_pair(next, offset % 60);
  }
  size_ = static_cast<size_t>(next - text_);
}

Calendar::Calendar() : days_(kRememberedDays) {
  tzset();
}

LogTime Calendar::at(const EVT_TIME_STAMP &stamp) {
  const Day *const day = find_day(stamp);
  if (day == nullptr || !is_time_of_day(stamp)) {
    return {stamp, false, 0, 0};
  }
  const int64_t local = day->midnight + stamp.bHour * kHour + stamp.bMinute * kMinute;
  int64_t offset = day->offset_seconds;
  if (offset == kChanges) {
    offset = local - instant_near_change(stamp, local);
  }
  if (std::abs(offset) > kDay) {
    return {stamp, false, 0, 0};
  }
  return {stamp, true, static_cast<int32_t>(offset / kMinute), local - offset};
}

const Calendar::Day *Calendar::find_day(const EVT_TIME_STAMP &stamp) {
  uint32_t date = 0;
  memcpy(&date, &stamp, sizeof(date));
  const size_t index = (static_cast<unsigned>(year_of(stamp)) * 12 + stamp.bMonth) * 31 + stamp.bDay;
  Day &day = days_[index % kRememberedDays];
  if (day.date != date || date == 0) {
    if (!is_date(stamp)) {
      return nullptr;
    }
    tm midnight = to_tm({stamp.bCentury, stamp.bYear, stamp.bMonth, stamp.bDay, 0, 0});
    day.date = date;
    day.midnight = timegm(&midnight);
    day.offset_seconds = steady_offset(day.midnight);
  }
  return &day;
}

std::optional<int64_t> Calendar::parse(std::string_view text, int64_t now) {
  if (text == "now") {
    return now;
  }
  if (!text.empty() && text[0] == '@') {
    return parse_seconds(text.substr(1), kLastInstant);
  }
  if (const std::optional<int64_t> age = parse_age(text)) {
    return now - *age;
  }
  const std::optional<int64_t> offset = take_offset(text);
  EVT_TIME_STAMP stamp = {};
  if (text == "today" || text == "yesterday") {
    tm date = {};
    localtime_r(&now, &date);
    date.tm_mday -= text == "yesterday" ? 1 : 0;
    timegm(&date);  // turns day 0 into the last day of the month before
    stamp = to_stamp(date);
    stamp.bHour = 0;
    stamp.bMinute = 0;
  } else if (has_shape(text, "0000-00-00") || has_shape(text, "0000-00-00_00:00") ||
             has_shape(text, "0000-00-00_00:00:00")) {
    stamp = {two_digits(text, 0), two_digits(text, 2),  two_digits(text, 5),
             two_digits(text, 8), two_digits(text, 11), two_digits(text, 14)};
  } else {
    return std::nullopt;
  }
  const uint8_t seconds = text.size() > 16 ? two_digits(text, 17) : 0;
  if (!is_date(stamp) || !is_time_of_day(stamp) || seconds > 59) {
    return std::nullopt;
  }
  if (offset) {
    tm local = to_tm(stamp);
    return timegm(&local) + seconds - *offset;
  }
  const LogTime time = at(stamp);
  return time.is_valid ? std::optional<int64_t>(time.instant + seconds) : std::nullopt;
}
