// Stamps as instants, in zones with every kind of change.
#include "imlog/log_time.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/imlog/record.h"

namespace {

Calendar calendar_of(const char *zone) {
  setenv("TZ", zone, 1);
  return Calendar();
}

std::string text_of(const LogTime &time) {
  const ZonedText text(time);
  return time.is_valid ? std::string(text.text, sizeof(text.text)) : "invalid";
}

tm broken_down(const EVT_TIME_STAMP &stamp, int is_summer) {
  tm time = {};
  time.tm_year = stamp.bCentury * 100 + stamp.bYear - 1900;
  time.tm_mon = stamp.bMonth - 1;
  time.tm_mday = stamp.bDay;
  time.tm_hour = stamp.bHour;
  time.tm_min = stamp.bMinute;
  time.tm_isdst = is_summer;
  time.tm_wday = -1;  // stays where mktime has no answer
  return time;
}

// The C library's instant: in summer time if there is one that has this stamp, else in standard time.
int64_t instant_of(const EVT_TIME_STAMP &stamp) {
  int64_t instant = 0;
  for (const int is_summer : {1, 0}) {
    tm time = broken_down(stamp, is_summer);
    const time_t answer = mktime(&time);
    if (time.tm_wday != -1) {
      instant = answer;
      if (time.tm_hour == stamp.bHour && time.tm_min == stamp.bMinute && time.tm_mday == stamp.bDay) {
        break;
      }
    }
  }
  return instant;
}

TEST(Calendar, FollowsTheZone) {
  struct {
    const char *zone;
    std::vector<std::string> times;
  } static const kRows[] = {
      {"Europe/Berlin",
       {"2025-03-30T01:59:00+01:00", "2025-03-30T02:00:00+01:00", "2025-03-30T02:59:00+01:00",
        "2025-03-30T03:00:00+02:00", "2025-10-26T01:59:00+02:00", "2025-10-26T02:00:00+02:00",
        "2025-10-26T02:59:00+02:00", "2025-10-26T03:00:00+01:00", "2024-12-31T23:59:00+01:00"}},
      {"Australia/Lord_Howe", {"2025-04-06T01:45:00+11:00", "2025-10-05T02:15:00+10:30"}},
      {"Africa/Monrovia", {"1970-06-01T00:00:00-00:44", "1972-06-01T00:00:00+00:00"}},
      {"Asia/Colombo",
       {"1996-05-24T23:59:00+05:30", "1996-05-25T00:16:00+05:30", "1996-05-25T01:00:00+06:30"}},
      {"Antarctica/Davis",
       {"2009-10-17T12:00:00+07:00", "2009-10-18T01:56:00+07:00", "2009-10-18T12:00:00+05:00"}},
      {"Asia/Kolkata", {"1970-01-01T00:00:00+05:30", "9999-12-31T23:59:00+05:30"}},
      {"AAA3:30BBB,M3.2.0,M11.1.0", {"2025-01-01T00:00:00-03:30", "2025-07-01T00:00:00-02:30"}},
  };
  for (const auto &[zone, times] : kRows) {
    Calendar forward = calendar_of(zone);
    Calendar backward = calendar_of(zone);
    for (size_t i = 0; i < times.size(); ++i) {
      for (Calendar *const calendar : {&forward, &backward}) {
        const std::string &text = times[calendar == &forward ? i : times.size() - 1 - i];
        EXPECT_EQ(text_of(calendar->at(stamp_of(text.c_str()))), text) << zone;
      }
    }
  }
}

TEST(Calendar, KnowsWhichTimesThereAre) {
  Calendar calendar = calendar_of("UTC");
  for (const char *const text :
       {"2025-00-01T00:00", "2025-13-01T00:00", "2025-04-31T00:00", "2025-02-29T00:00", "2100-02-29T00:00",
        "1969-12-31T23:59", "2025-01-00T00:00", "2025-01-01T24:00", "2025-01-01T00:60", "0000-00-00T00:00"}) {
    EXPECT_FALSE(calendar.at(stamp_of(text)).is_valid) << text;
  }
  static constexpr EVT_TIME_STAMP kNoDigits[] = {
      {100, 0, 1, 1, 0, 0}, {20, 100, 1, 1, 0, 0}, {255, 255, 255, 255, 255, 255}};
  for (const EVT_TIME_STAMP &stamp : kNoDigits) {
    EXPECT_FALSE(calendar.at(stamp).is_valid) << testing::PrintToString(stamp);
  }
  for (const char *const text :
       {"2024-02-29T23:59:00+00:00", "2100-02-28T00:00:00+00:00", "9999-12-31T00:00:00+00:00"}) {
    EXPECT_EQ(text_of(calendar.at(stamp_of(text))), text);
  }
}

TEST(Calendar, TakesAnOffsetOfMoreThanADayForNone) {
  for (const auto &[zone, count] : {std::pair("AAA24:00", 28), std::pair("AAA24:01", 0),
                                    std::pair("AAA-24:01", 0), std::pair("AAA1BBB24:01,J10,J20", 15)}) {
    Calendar calendar = calendar_of(zone);
    int valid = 0;
    for (uint8_t day = 1; day <= 28; ++day) {
      valid += calendar.at({20, 25, 1, day, 12, 0}).is_valid ? 1 : 0;
    }
    EXPECT_EQ(valid, count) << zone;
  }
}

TEST(Calendar, AgreesWithTheCLibrary) {
  std::mt19937 draw(3);
  const std::string too_long(500, '<');
  for (const char *const zone :
       {"Europe/Berlin", "America/New_York", "Europe/Dublin", "Africa/Casablanca", "Pacific/Apia",
        "Europe/Moscow", "Australia/Lord_Howe", "America/Sao_Paulo", ":/no/such/zone", too_long.c_str()}) {
    Calendar calendar = calendar_of(zone);
    // mktime's answer depends on its previous call, so Calendar's calls come after all of these.
    std::vector<std::pair<EVT_TIME_STAMP, int64_t>> rows;
    for (const char *const year : {"1971", "2011", "2014", "2025"}) {
      for (const char *const month : {"03", "04", "09", "10", "12"}) {
        for (uint8_t day = 1; day <= 30; ++day) {
          EVT_TIME_STAMP stamp = stamp_of((std::string(year) + '-' + month + "-00T00:00").c_str());
          stamp.bDay = day;
          stamp.bHour = static_cast<uint8_t>(draw() % 24);
          stamp.bMinute = static_cast<uint8_t>(draw() % 60);
          rows.emplace_back(stamp, instant_of(stamp));
        }
      }
    }
    for (const auto &[stamp, instant] : rows) {
      const LogTime time = calendar.at(stamp);
      tm local = broken_down(stamp, 0);
      EXPECT_EQ(time.instant, instant) << zone << testing::PrintToString(stamp);
      EXPECT_EQ(time.offset_minutes, (timegm(&local) - instant) / 60)
          << zone << testing::PrintToString(stamp);
    }
  }
}

}  // namespace
