// Stamps as instants, in zones with every kind of change; times from and as texts.
#include <array>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "imlog/calendar.h"
#include "imlog/parse_time.h"
#include "imlog/time_text.h"

namespace {

// The parts of a text that '|' separates.
std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> parts;
  std::istringstream rest(text + '|');
  for (std::string part; std::getline(rest, part, '|');) {
    parts.push_back(part);
  }
  return parts;
}

// The stamp of "2025-09-01T13:05" and whatever comes after it.
EVT_TIME_STAMP stamp_of(const char *text) {
  const auto byte = [&](int at, int end) {
    return static_cast<uint8_t>(atoi(std::string(text + at, text + end).c_str()));
  };
  return {byte(0, 2), byte(2, 4), byte(5, 7), byte(8, 10), byte(11, 13), byte(14, 16)};
}

Calendar calendar_of(const char *zone) {
  setenv("TZ", zone, 1);
  return Calendar();
}

std::string text_of(const LogTime &time) {
  return time.is_valid ? std::string(ZonedText(time, false).view()) : "invalid";
}

TEST(Calendar, FollowsTheZone) {
  static constexpr std::pair<const char *, const char *> kRows[] = {
      {"Europe/Berlin",
       "2025-03-30T01:59:00+01:00|2025-03-30T02:00:00+01:00|2025-03-30T02:59:00+01:00|2025-03-30T03:00:00+02:00|"
       "2025-10-26T01:59:00+02:00|2025-10-26T02:00:00+02:00|2025-10-26T02:59:00+02:00|2025-10-26T03:00:00+01:00|"
       "2024-12-31T23:59:00+01:00"},
      {"Australia/Lord_Howe", "2025-04-06T01:45:00+11:00|2025-10-05T02:15:00+10:30"},
      {"Africa/Monrovia", "1970-06-01T00:00:00-00:44|1972-06-01T00:00:00+00:00"},
      {"Asia/Colombo", "1996-05-24T23:59:00+05:30|1996-05-25T00:16:00+05:30|1996-05-25T01:00:00+06:30"},
      {"Antarctica/Davis", "2009-10-17T12:00:00+07:00|2009-10-18T01:56:00+07:00|2009-10-18T12:00:00+05:00"},
      {"Pacific/Apia", "2011-12-29T23:59:00-10:00|2011-12-30T15:46:00-10:00|2011-12-31T00:00:00+14:00"},
      {"America/Sao_Paulo", "2018-11-03T23:59:00-03:00|2018-11-04T00:30:00-03:00|2018-11-04T01:00:00-02:00"},
      {"Africa/Casablanca", "2025-02-23T01:59:00+01:00|2025-02-23T02:30:00+00:00|2025-02-23T03:00:00+00:00"},
      {":/no/such/zone", "2025-07-01T12:00:00+00:00"},
      {"Asia/Kolkata", "1970-01-01T00:00:00+05:30|9999-12-31T23:59:00+05:30"},
      {"AAA3:30BBB,M3.2.0,M11.1.0", "2025-01-01T00:00:00-03:30|2025-07-01T00:00:00-02:30"},
  };
  for (const auto &[zone, texts] : kRows) {
    const std::vector<std::string> times = split(texts);
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
       {"2025-00-01T00:00", "2025-13-01T00:00", "2025-04-31T00:00", "2025-01-32T00:00", "2025-02-29T00:00",
        "2100-02-29T00:00", "1969-12-31T23:59", "2025-01-00T00:00", "2025-01-01T24:00", "2025-01-01T00:60",
        "0000-00-00T00:00"}) {
    EXPECT_FALSE(calendar.at(stamp_of(text)).is_valid) << text;
  }
  for (const EVT_TIME_STAMP &stamp : std::initializer_list<EVT_TIME_STAMP>{
           {100, 0, 1, 1, 0, 0}, {20, 100, 1, 1, 0, 0}, {255, 255, 255, 255, 255, 255}}) {
    EXPECT_FALSE(calendar.at(stamp).is_valid) << testing::PrintToString(stamp);
  }
  EXPECT_EQ(text_of(calendar.at(stamp_of("2024-02-29T23:59"))), "2024-02-29T23:59:00+00:00");
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

TEST(Calendar, KnowsBothInstantsOfAnHourThatOccursTwice) {
  struct Row {
    const char *zone;
    const char *stamp;
    int64_t earlier;
    int64_t later;
  };
  static constexpr Row kRows[] = {
      {"Europe/Berlin", "2025-10-26T01:59", 1761436740, 1761436740},
      {"Europe/Berlin", "2025-10-26T02:00", 1761436800, 1761440400},
      {"Europe/Berlin", "2025-10-26T02:59", 1761440340, 1761443940},
      {"Europe/Berlin", "2025-10-26T03:00", 1761444000, 1761444000},
      {"Europe/Berlin", "2025-03-30T02:30", 1743298200, 1743298200},
      {"Europe/Berlin", "2025-09-01T13:05", 1756724700, 1756724700},
      {"Europe/Dublin", "2025-10-26T01:30", 1761438600, 1761442200},  // where winter is the special time
      {"Europe/Moscow", "2014-10-26T01:30", 1414272600, 1414276200},  // and where neither is
      {"Australia/Lord_Howe", "2025-04-06T01:45", 1743864300, 1743866100},
  };
  for (const auto &[zone, stamp, earlier, later] : kRows) {
    Calendar calendar = calendar_of(zone);
    const Calendar::Instants instants = calendar.instants_of(calendar.at(stamp_of(stamp)));
    EXPECT_EQ(instants.earlier, earlier) << zone << ' ' << stamp;
    EXPECT_EQ(instants.later, later) << zone << ' ' << stamp;
  }
}

TEST(Calendar, TrustsTimesToADayAfterTheStartOfTheReading) {
  Calendar calendar = calendar_of("UTC");
  const EVT_TIME_STAMP stamp = stamp_of("2025-09-02T13:05");
  constexpr int64_t kADayBefore = 1756731900;
  EXPECT_TRUE(calendar.at(stamp).is_trusted);
  calendar.start_reading(kADayBefore);
  EXPECT_TRUE(calendar.at(stamp).is_trusted);
  calendar.start_reading(kADayBefore - 1);
  EXPECT_FALSE(calendar.at(stamp).is_trusted);
  EXPECT_TRUE(calendar.at(stamp).is_valid);
  EXPECT_FALSE(calendar.at(EVT_TIME_STAMP()).is_trusted);
}

TEST(Calendar, ReadsTimesOfTheCommandLine) {
  constexpr int64_t kNow = 1761440400;  // 02:00 in Berlin for the second time of that night
  Calendar calendar = calendar_of("Europe/Berlin");
  static constexpr std::pair<const char *, int64_t> kTimes[] = {
      {"now", kNow},
      {"today", 1761429600},
      {"yesterday", 1761343200},
      {"-30m", kNow - 1800},
      {"-12h", kNow - 43200},
      {"-7d", kNow - 604800},
      {"-2w", kNow - 1209600},
      {"@0", 0},
      {"@253402300799", 253402300799},
      {"2025-10-06", 1759701600},
      {"2025-10-06 08:15|2025-10-06 06:15Z|2025-10-05T06:15-24:00|2025-10-07 06:15:00+24:00|"
       "2025-10-06T05:16:00-00:59",
       1759731300},
      {"2025-10-06T08:15:07|2025-10-06T08:15:07+02:00|2025-10-06T06:15:07Z", 1759731307},
      {"2025-10-26T02:30:00+01:00", 1761442200},
      {"1970-01-01T00:00:00+01:00", -3600},
      {"9999-12-31T23:59:59-01:00", 253402304399},
  };
  for (const auto &[texts, instant] : kTimes) {
    for (const std::string &text : split(texts)) {
      EXPECT_EQ(parse_time(text, kNow, calendar), instant) << text;
    }
  }
  // At half past midnight in Berlin it is still yesterday in UTC.
  EXPECT_EQ(parse_time("today", 1761431400, calendar), 1761429600);
  const char *const wrong =
      "|Now|tomorrow|-30|-m|-2W|--7d|-4294967296d|@|@-1|@+1|@1.5|@253402300800|2025-9-1|2025-09-01 1:05|2024-02-30|"
      "2025-09-01 24:00|2025-09-01 13:60|2025-09-01T13:05:60|1969-12-31|1969-12-31T23:59:59-01:00|2025-02-29T06:15Z|"
      "2025-10-06T06:60Z|2025-10-06T06:15:60Z|2025-10-06Z|2025-10-06+02:00|todayZ|2025-10-06T06:15z|2025-10-06T06:15 Z|"
      "2025-10-06T06Z|2025-10-06T06:15+0200|2025-10-06T06:15+02|2025-10-06T06:15+25:00|2025-10-06T06:15-02:60|"
      "2025-10-06T06:15Z+02:00|2025-10-06T06:15:00.5Z";
  for (const std::string &text : split(wrong)) {
    EXPECT_EQ(parse_time(text, kNow, calendar), std::nullopt) << text;
  }
}

TEST(LogTime, HasAFormInUtc) {
  static constexpr std::array<const char *, 4> kRows[] = {
      {"Europe/Berlin", "2025-10-26T02:59", "2025-10-26T00:59Z", "2025-10-26T00:59:00Z"},
      {"Europe/Berlin", "2025-10-26T03:00", "2025-10-26T02:00Z", "2025-10-26T02:00:00Z"},
      {"Africa/Monrovia", "1970-06-01T00:00", "1970-06-01T00:44Z", "1970-06-01T00:44:30Z"},
      {"Europe/Berlin", "1970-01-01T01:00", "1970-01-01T00:00Z", "1970-01-01T00:00:00Z"},
      {"Europe/Berlin", "1970-01-01T00:59", "1970-01-01T00:59", "1970-01-01T00:59:00+01:00"},
      {"AAA5", "9999-12-31T18:59", "9999-12-31T23:59Z", "9999-12-31T23:59:00Z"},
      {"AAA5", "9999-12-31T19:00", "9999-12-31T19:00", "9999-12-31T19:00:00-05:00"},
  };
  for (const auto &[zone, local, minute, zoned] : kRows) {
    const LogTime time = calendar_of(zone).at(stamp_of(local));
    EXPECT_EQ(MinuteText(time, true).view(), minute);
    EXPECT_EQ(ZonedText(time, true).view(), zoned);
    EXPECT_EQ(MinuteText(time, false).view(), local);
  }
}

}  // namespace
