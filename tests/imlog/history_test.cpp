// What a reading finds new or repeated after earlier ones, each known from the text of the cursor alone.
#include "imlog/history.h"

#include <gtest/gtest.h>

#include "tests/imlog/record.h"

namespace {

using Records = std::vector<RecordFields>;

// The changes of a reading: n for new, r for repeated, = for none.
std::string read(std::string &cursor, const Records &records, bool is_complete = true) {
  History history;
  EXPECT_EQ(cursor.empty() ? nullptr : history.parse(cursor), nullptr);
  std::string changes;
  for (size_t i = 0; i < records.size(); ++i) {
    const Change change = history.add(make_record(records[i]), i);
    changes += change == Change::kNew ? 'n' : change == Change::kRepeated ? 'r' : '=';
  }
  const bool has_changed = history.finish(is_complete);
  EXPECT_EQ(has_changed, history.text() != cursor);
  cursor = history.text();
  return changes;
}

TEST(History, FindsWhatIsNewOrRepeated) {
  const RecordFields a, b = {.number = 1}, c = {.number = 2};
  const RecordFields again = {.number = 1, .last = stamp_of("2025-09-02T00:00"), .count = 2};
  const std::pair<Records, const char *> kReadings[] = {
      {{a, b}, "nn"},
      {{a, b}, "=="},
      {{a, again, c}, "=rn"},
      {{{.first = stamp_of("2025-09-03T00:00")}, {.number = 1, .code = 1}, {.number = 2, .event_class = 1}},
       "nnn"},
      {{}, ""},
      {{a, c}, "nn"},
      {{{.severity = 9}, b, {.number = UINT32_MAX}}, "rnn"},
  };
  std::string cursor;
  for (const auto &[records, changes] : kReadings) {
    EXPECT_EQ(read(cursor, records), changes) << cursor;
  }
  EXPECT_EQ(read(cursor, {a}, false), "r");
  EXPECT_EQ(read(cursor, {a, b, {.number = UINT32_MAX}}),
            "===");  // of a log that broke off, the rest is kept
}

TEST(History, RefusesADamagedCursor) {
  std::string good;
  read(good, {{}, {.number = 7}});
  const size_t first = good.find('\n') + 1;
  const size_t second = good.find('\n', first) + 1;
  const size_t last = good.find('\n', second) + 1;
  const std::string a = good.substr(first, second - first), b = good.substr(second, last - second);
  const std::string head = good.substr(0, first), tail = good.substr(last);
  for (const std::string &text :
       {std::string(), std::string("\n"), good.substr(0, good.size() - 1), good + "\n", head, a + b + tail,
        head + b + tail, head + a + a + b + tail, head + b + a + tail, "imlog-cursor 2" + good.substr(14),
        head + "0" + a + b + tail, head + a + "8" + b.substr(1) + tail, std::string(1000, '\0')}) {
    EXPECT_NE(History().parse(text), nullptr) << text;
  }
  EXPECT_STREQ(History().parse("imlog-cursor 2 x\n"), "is of another version");
  EXPECT_STREQ(History().parse(""), "is empty");
}

}  // namespace
