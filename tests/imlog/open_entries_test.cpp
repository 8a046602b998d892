// Which entries the notes of a log close, against the rule as it reads, entry by entry and note by note.
#include "imlog/open_entries.h"

#include <random>

#include <gtest/gtest.h>

#include "tests/imlog/record.h"

namespace {

// The stamp of a minute after 2025 began; of a negative one none that is valid.
EVT_TIME_STAMP minute(int number) {
  return number < 0 ? EVT_TIME_STAMP{}
                    : EVT_TIME_STAMP{20,
                                     25,
                                     1,
                                     static_cast<uint8_t>(1 + number / 1440),
                                     static_cast<uint8_t>(number / 60 % 24),
                                     static_cast<uint8_t>(number % 60)};
}

struct Event {
  bool is_note;
  int first;  // minutes; negative ones are not valid
  int last;
};

bool is_closed_by(const Event &entry, int note) {
  return entry.last < 0 || note < 0 || entry.last <= note ||
         (entry.first > note && entry.first <= entry.last);
}

std::vector<bool> open_by_the_rule(const std::vector<Event> &log) {
  std::vector<bool> open;
  for (size_t i = 0; i < log.size(); ++i) {
    open.push_back(!log[i].is_note);
    for (size_t note = i + 1; note < log.size(); ++note) {
      open[i] = open[i] && !(log[note].is_note && is_closed_by(log[i], log[note].last));
    }
  }
  return open;
}

TEST(OpenEntries, AreWhatNoNoteCloses) {
  setenv("TZ", "UTC", 1);
  Calendar calendar;
  std::mt19937 draw(1);
  const auto below = [&](unsigned bound) { return static_cast<int>(draw() % bound); };
  OpenEntries entries(calendar);  // one object, so that what a log leaves would show in the next one
  size_t open = 0;
  for (int round = 0; round < 2000; ++round) {
    std::vector<Event> log(static_cast<size_t>(below(round % 100 == 0 ? 1000 : 12)));
    const unsigned notes = 1 + static_cast<unsigned>(below(40));
    const bool is_long = log.size() > 12;
    for (size_t i = 0; i < log.size(); ++i) {
      const int drift = is_long ? static_cast<int>(i) : 0;  // so that some stay open
      const unsigned times = is_long ? 3000 : 6;
      log[i] = {draw() % notes == 0, draw() % 8 != 0 ? below(times) + drift : -1,
                draw() % (is_long ? 500 : 8) != 0 ? below(times) + drift : -1};
      const RecordFields fields = {.severity = static_cast<uint8_t>(log[i].is_note ? 6 : 15),
                                   .first = minute(log[i].first),
                                   .last = minute(log[i].last)};
      entries.add(make_record(fields).Hdr, true);
    }
    const std::vector<bool> expected = open_by_the_rule(log);
    ASSERT_EQ(entries.finish(), expected) << "round " << round;
    open += static_cast<size_t>(std::count(expected.begin(), expected.end(), true));
  }
  EXPECT_GT(open, 1000U);
}

}  // namespace
