// Which entries the notes of a log close, against the rule as it reads, entry by entry and note by note.
#include "imlog/open_entries.h"

#include <random>

#include <gtest/gtest.h>

namespace {

LogTime at(int64_t instant, bool is_valid = true) {
  return {{}, is_valid, 0, instant};
}

struct Event {
  bool is_note;
  LogTime first;
  LogTime last;
};

bool is_closed_by(const Event &entry, const LogTime &note) {
  if (!entry.last.is_valid || !note.is_valid || entry.last.instant <= note.instant) {
    return true;
  }
  return entry.first.is_valid && entry.first.instant > note.instant &&
         entry.first.instant <= entry.last.instant;
}

std::vector<size_t> open_by_the_rule(const std::vector<Event> &log) {
  std::vector<size_t> open;
  for (size_t i = 0; i < log.size(); ++i) {
    bool is_open = !log[i].is_note;
    for (size_t note = i + 1; note < log.size() && is_open; ++note) {
      is_open = !log[note].is_note || !is_closed_by(log[i], log[note].last);
    }
    if (is_open) {
      open.push_back(i);
    }
  }
  return open;
}

TEST(OpenEntries, AreWhatNoNoteCloses) {
  std::mt19937 draw(1);
  const auto below = [&](unsigned bound) { return static_cast<int>(draw() % bound); };
  OpenEntries<size_t> entries;  // one object, so that what a log leaves would show in the next one
  size_t open = 0;
  for (int round = 0; round < 2000; ++round) {
    std::vector<Event> log(static_cast<size_t>(below(round % 100 == 0 ? 3000 : 12)));
    const unsigned notes = 1 + static_cast<unsigned>(below(40));
    const unsigned times = log.size() < 100 ? 6 : 3000;
    for (size_t i = 0; i < log.size(); ++i) {
      const int64_t drift = log.size() < 100 ? 0 : static_cast<int64_t>(i);  // so that some stay open
      log[i] = {draw() % notes == 0, at(below(times) + drift, draw() % 8 != 0),
                at(below(times) + drift, draw() % 500 != 0 && (times > 6 || draw() % 8 != 0))};
      if (log[i].is_note) {
        entries.close_before(log[i].last);
      } else {
        entries.add(log[i].first, log[i].last, i);
      }
    }
    const std::vector<size_t> expected = open_by_the_rule(log);
    ASSERT_EQ(entries.release(), expected) << "round " << round;
    open += expected.size();
  }
  EXPECT_GT(open, 1000U);
}

}  // namespace
