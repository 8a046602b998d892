// Entries as the formats print them.
#include "imlog/format.h"

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/imlog/record.h"

namespace {

constexpr EVT_TIME_STAMP kNoTime = {255, 255, 255, 255, 255, 255};

// What a format prints of records, in the zone of Berlin.
std::string print(const FormatRow &row, const FormatContext &context,
                  const std::vector<RecordFields> &records, Change change = Change::kNone,
                  const Log &log = {}) {
  setenv("TZ", "Europe/Berlin", 1);
  Calendar calendar;
  Decoder decoder(calendar);
  const std::unique_ptr<Format> format = row.make(context);
  const int fd = memfd_create("output", 0);
  DescriptorSink sink(fd);
  Output output(sink);
  for (const RecordFields &fields : records) {
    const EVT_LOG_ENTRY record = make_record(fields);
    format->print_entry(decoder.decode(record, log, change), output);
  }
  output.flush();
  std::string text(4096, '\0');
  text.resize(static_cast<size_t>(pread(fd, text.data(), text.size(), 0)));
  close(fd);
  return text;
}

TEST(Short, PrintsALineForAnEntry) {
  const std::vector<RecordFields> records = {
      {.number = 5, .severity = 15, .payload = "a"},
      {.number = 123456,
       .severity = 9,
       .payload = "b",
       .first = stamp_of("2025-09-01T00:05"),
       .count = 70000},
      {.number = 7, .severity = 0, .payload = "c", .last = kNoTime},
      {.severity = 6, .payload = "d", .last = stamp_of("1970-01-01T00:59")},
      {.severity = 3, .payload = "e", .event_class = 0xFFFF},
  };
  EXPECT_EQ(print(kShortFormat, {}, records),
            "2025-09-01T13:05 Critical        5 x1    Maintenance note: a\n"
            "2025-09-01T00:05 Caution     123456 x70000 Maintenance note: b\n"
            "---------------- Unknown         7 x1    Maintenance note: c\n"
            "1970-01-01T00:59 Repaired        0 x1    Maintenance note: d\n"
            "2025-09-01T13:05 Information     0 x1    Unknown Event (Class 0xFFFF, Code 0x02)\n");
  EXPECT_EQ(print(kShortFormat, {.level_prefix = true, .in_utc = true, .has_color = true}, records),
            "<2>2025-09-01T11:05Z \x1B[1;31mCritical\x1B[0m        5 x1    Maintenance note: a\n"
            "<4>2025-08-31T22:05Z \x1B[33mCaution\x1B[0m     123456 x70000 Maintenance note: b\n"
            "<5>----------------  Unknown         7 x1    Maintenance note: c\n"
            "<5>1970-01-01T00:59  \x1B[32mRepaired\x1B[0m        0 x1    Maintenance note: d\n"
            "<6>2025-09-01T11:05Z Information     0 x1    Unknown Event (Class 0xFFFF, Code 0x02)\n");
}

TEST(Json, PrintsAnObjectForAnEntry) {
  const std::vector<RecordFields> known = {{.number = 14,
                                            .severity = 9,
                                            .payload = {"\1\0\0\x09", 4},
                                            .first = stamp_of("1970-01-01T00:14"),
                                            .last = stamp_of("2025-07-01T22:40"),
                                            .count = 5,
                                            .event_class = 2,
                                            .code = 6}};
  EXPECT_EQ(
      print(kJsonFormat, {.level_prefix = true, .has_color = true}, known, Change::kNone, {.host = "r17u04"}),
      R"(<4>{"schema":"iml/1","host":"r17u04","number":14,"severity":"caution","severity_code":9,)"
      R"("priority":4,"first":"1970-01-01T00:14:00+01:00","last":"2025-07-01T22:40:00+02:00",)"
      R"("first_unix":-2760,"last_unix":1751402400,"count":5,"class":2,"code":6,)"
      R"("class_name":"Machine Environment","known":true,)"
      "\"message\":\"System Fans Not Redundant (Location Chassis)\"}\n");
  const std::vector<RecordFields> unknown = {{.number = UINT32_MAX,
                                              .severity = 200,
                                              .first = stamp_of("2025-07-01T22:40"),
                                              .last = kNoTime,
                                              .count = UINT32_MAX,
                                              .event_class = 0xFFFF,
                                              .code = 0xABCD}};
  EXPECT_EQ(print(kJsonFormat, {.in_utc = true}, unknown, Change::kNew),
            R"({"schema":"iml/1","number":4294967295,"severity":"unknown","severity_code":200,"priority":5,)"
            R"("first":"2025-07-01T20:40:00Z","last":null,"first_unix":1751402400,"last_unix":null,)"
            R"("count":4294967295,"class":65535,"code":43981,"class_name":"Unknown","known":false,)"
            "\"message\":\"Unknown Event (Class 0xFFFF, Code 0xABCD)\",\"change\":\"new\"}\n");
}

}  // namespace
