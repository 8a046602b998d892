#include "imlog/time_text.h"

#include <cstdlib>
#include <cstring>
#include <optional>

#include "iml/digits.h"
#include "platform/time_stamp.h"

namespace {

constexpr int64_t kLastInstant = 253'402'300'799;  // 9999-12-31T23:59:59 in UTC

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
