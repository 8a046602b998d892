// The entries that notes name and close, and those that show that the clock was set back. Drawn logs are
// compared with the rules as they read: entry by entry and note by note.
#include "imlog/open_entries.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

EVT_LOG_ENTRY make_note(const std::string &text) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.bSeverity = IML_SEVERITY_REPAIRED;
  record.Hdr.wClass = IML_CLASS_MAINTENANCE;
  record.Hdr.wCode = IML_MAINTENANCE_NOTE;
  memcpy(&record.Data, text.data(), std::min(text.size(), sizeof(record.Data)));
  return record;
}

using Numbers = std::optional<std::vector<uint32_t>>;

TEST(ClosingNote, NamesEntries) {
  const Numbers plain;
  const std::pair<std::string, Numbers> kRows[] = {
      {"PSU 2 replaced", plain},
      {"closes 62, #0063 and 70", {{62, 63, 70}}},
      {"Replaced DIMM 3, CLOSES: #62", {{62}}},
      {"(closes)", {{}}},
      {"closes", {{}}},
      {"closes nothing, 5", {{}}},
      {"closes:62,63\tand , and AND 64", {{62, 63, 64}}},
      {"closes:: 62", {{}}},
      {"closes : 62", {{}}},
      {"closes 62-64", {{62}}},
      {"closes 62#63", {{62}}},
      {"closes 62and 63", {{62}}},
      {"closes 62 and63", {{62}}},
      {"closes 62 band 63", {{62}}},
      {"closes 62; 63", {{62}}},
      {"closes 62\n63", {{62}}},
      {"closes ##62", {{}}},
      {"closes # 62", {{}}},
      {"closes -62", {{}}},
      {"closes +62", {{}}},
      {"closes 6x 7", {{6}}},
      {"closes 1, closes 2. It Closes 3 closes closes 4", {{1, 2, 3, 4}}},
      {"closes 4294967295 4294967296 18446744073709551616 5", {{4294967295, 5}}},
      {"closes " + std::string(100, '0') + "7 " + std::string(90, '9') + " 8", {{7, 8}}},
      {"discloses 1, closes2, closes_3, closes-4, -closes 5, 6closes 7, closesclosed 8", plain},
      {"closes\xC3\xA9 1, \xFF"
       "closes 2",
       plain},
      {std::string("x\0closes 1", 10), plain},
      {std::string("closes 1\0 2, closes 3", 21), {{1}}},
      {std::string(203, ' ') + "closes 62345", {{62}}},  // beyond the end of the record nothing is read
      {std::string(207, ' ') + "closes 1", plain},
      {std::string(206, ' ') + "closes", {{}}},
  };
  for (const auto &[text, numbers] : kRows) {
    EXPECT_EQ(named_entries(make_note(text)), numbers) << text;
  }
}

// Times are minutes after 2025 began. Negative ones are not valid.
constexpr int kTrustedUntil = 20'000;
constexpr int kToCome = 30'000;

EVT_TIME_STAMP minute(int number) {
  return number < 0 ? EVT_TIME_STAMP{}
                    : EVT_TIME_STAMP{20,
                                     25,
                                     1,
                                     static_cast<uint8_t>(1 + number / 1440),
                                     static_cast<uint8_t>(number / 60 % 24),
                                     static_cast<uint8_t>(number % 60)};
}

bool is_trusted(int time) {
  return time >= 0 && time <= kTrustedUntil;
}

enum Kind { kFaulty, kInformation, kPlainNote, kNamingNote };

struct Event {
  Kind kind;
  uint32_t number;
  int first;
  int last;
  std::vector<uint32_t> names;
};

using Log = std::vector<Event>;

bool is_after(const Event &entry, const Event &note) {
  return is_trusted(entry.last) && is_trusted(note.last) && entry.last > note.last;
}

bool is_closed_by_plain(const Event &entry, const Event &note) {
  const bool is_clock_set_back =
      is_trusted(entry.first) && entry.first > note.last && entry.first <= entry.last;
  return note.kind == kPlainNote && (!is_after(entry, note) || is_clock_set_back);
}

bool is_named_by(const Event &entry, const Event &note) {
  return note.kind == kNamingNote &&
         std::find(note.names.begin(), note.names.end(), entry.number) != note.names.end();
}

template <class Rule>
bool any_after(const Log &log, size_t entry, Rule rule) {
  return std::any_of(log.begin() + static_cast<std::ptrdiff_t>(entry) + 1, log.end(), rule);
}

bool is_open(const Log &log, size_t entry) {
  return log[entry].kind < kPlainNote && !any_after(log, entry, [&](const Event &note) {
           return is_closed_by_plain(log[entry], note) ||
                  (is_named_by(log[entry], note) && !is_after(log[entry], note));
         });
}

// True if the entry shows that the clock was set back, apart from the notes that take this back.
bool shows(const Log &log, size_t entry) {
  const auto &[kind, number, first, last, names] = log[entry];
  if (first < 0) {
    return false;
  }
  const bool is_closed =
      any_after(log, entry, [&](const Event &note) { return is_closed_by_plain(log[entry], note); });
  if (kind == kFaulty && is_closed && last >= 0 && last < first - 120) {
    return true;
  }
  bool has_plain_note = false;
  int before = -1;
  for (size_t i = 0; i < entry; ++i) {
    has_plain_note = has_plain_note || log[i].kind == kPlainNote;
    before = log[i].first >= 0 ? log[i].first : before;
  }
  return has_plain_note && first < before - 120;
}

std::optional<uint32_t> set_back_at(const Log &log) {
  std::optional<uint32_t> at;
  for (size_t i = 0; i < log.size(); ++i) {
    if (shows(log, i)) {
      at = log[i].number;
      if (any_after(log, i, [&](const Event &note) { return is_named_by(log[i], note); })) {
        at.reset();
      }
    }
  }
  return at;
}

EVT_LOG_ENTRY record_of(const Event &event) {
  static constexpr uint8_t kFaultySeverities[] = {15, 9, 77};
  std::string text = event.kind == kNamingNote ? "closes" : "closed all";
  for (const uint32_t name : event.names) {
    text += ' ' + std::to_string(name);
  }
  EVT_LOG_ENTRY record = make_note(text);
  record.Hdr.dwEvtNumber = event.number;
  record.Hdr.InitTime = minute(event.first);
  record.Hdr.UpdateTime = minute(event.last);
  if (event.kind < kPlainNote) {
    record.Hdr.bSeverity = event.kind == kFaulty ? kFaultySeverities[event.number % 3] : uint8_t{2};
  }
  return record;
}

TEST(OpenEntries, FollowTheRules) {
  setenv("TZ", "UTC", 1);
  Calendar calendar;
  calendar.start_reading(calendar.at(minute(kTrustedUntil)).instant - 86'400);
  std::mt19937 draw(1);
  const auto below = [&](size_t bound) { return static_cast<int>(draw() % bound); };
  OpenEntries entries(calendar);  // one object, so that what a log leaves would show in the next one
  size_t open = 0;
  size_t set_back = 0;
  for (int round = 0; round < 3000; ++round) {
    const bool is_long = round % 300 == 0;
    const unsigned notes = 1 + static_cast<unsigned>(below(20));
    const int step = below(2) == 0 ? 1 : 60;
    Log log(static_cast<size_t>(below(is_long ? 500 : 10)));
    const auto time = [&](size_t i) {
      const int kind = below(is_long ? size_t{500} : size_t{8});
      return kind == 0   ? -1
             : kind == 1 ? kToCome + 200 * below(2)
                         : (below(6) + (is_long ? static_cast<int>(i) : 0)) * step;  // some stay open
    };
    for (size_t i = 0; i < log.size(); ++i) {
      const Kind note = below(2) == 0 ? kPlainNote : kNamingNote;
      const Kind entry = below(8) == 0 ? kInformation : kFaulty;
      const size_t number = below(8) == 0 ? draw() % log.size() : i;
      log[i] = {draw() % notes == 0 ? note : entry, static_cast<uint32_t>(number), time(i), time(i), {}};
      for (int names = log[i].kind == kNamingNote ? below(6) : 0; names > 0; --names) {
        log[i].names.push_back(static_cast<uint32_t>(below(log.size() + 1)));
      }
    }
    // The others are filtered out, which changes nothing for the rest.
    std::vector<bool> expected;
    for (size_t i = 0; i < log.size(); ++i) {
      const bool is_wanted = below(4) != 0;
      entries.add(record_of(log[i]), is_wanted);
      if (is_wanted) {
        expected.push_back(is_open(log, i));
      }
    }
    const auto &[is_open, clock_set_back_at] = entries.finish();
    ASSERT_EQ(is_open, expected) << "round " << round;
    ASSERT_EQ(clock_set_back_at, set_back_at(log)) << "round " << round;
    open += static_cast<size_t>(std::count(expected.begin(), expected.end(), true));
    set_back += clock_set_back_at ? 1U : 0U;
  }
  EXPECT_GT(open, 1000U);
  EXPECT_GT(set_back, 100U);
}

}  // namespace
