#include "imlog/time_text.h"

#include <cstdlib>
#include <optional>

#include "platform/time_stamp.h"

namespace {

// The time in UTC, if that lies in the years 1970 to 9999.
std::optional<tm> utc_form(const LogTime &time) {
  tm utc = {};
  if (time.instant < 0 || time.instant > kLastInstant || gmtime_r(&time.instant, &utc) == nullptr) {
    return std::nullopt;
  }
  return utc;
}

void put_minute(const EVT_TIME_STAMP &stamp, iml::EventText &text) {
  text.format("%02u%02u-%02u-%02uT%02u:%02u", stamp.bCentury, stamp.bYear, stamp.bMonth, stamp.bDay,
              stamp.bHour, stamp.bMinute);
}

}  // namespace

MinuteText::MinuteText(const LogTime &time, bool in_utc) {
  if (!time.is_valid) {
    append("----------------");
  } else if (const std::optional<tm> utc = in_utc ? utc_form(time) : std::nullopt) {
    put_minute(to_stamp(*utc), *this);
    append("Z");
  } else {
    put_minute(time.stamp, *this);
  }
}

ZonedText::ZonedText(const LogTime &time, bool in_utc) {
  if (const std::optional<tm> utc = in_utc ? utc_form(time) : std::nullopt) {
    put_minute(to_stamp(*utc), *this);
    format(":%02uZ", static_cast<unsigned>(utc->tm_sec));
  } else {
    const auto offset = static_cast<unsigned>(std::abs(time.offset_minutes));
    put_minute(time.stamp, *this);
    format(":00%s%02u:%02u", time.offset_minutes < 0 ? "-" : "+", offset / 60, offset % 60);
  }
}
