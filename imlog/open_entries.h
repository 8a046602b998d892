// The entries of a log that no maintenance note has closed.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "iml/iml_record.h"
#include "imlog/calendar.h"

// The numbers of the entries that a closing note names after the word "closes", as in "closes 62, #0063 and
// 70". Nothing if its text does not have this word: it is about all entries before it.
std::optional<std::vector<uint32_t>> named_entries(const EVT_LOG_ENTRY &note);

// Takes the records of one log in its order. The open entries are known at its end.
class OpenEntries {
 public:
  struct Answer {
    std::vector<bool> is_open;  // for each wanted record, in the order of the log
    // The last entry that shows that the clock was set back, so that plain notes may have closed too much.
    std::optional<uint32_t> clock_set_back_at;
  };

  explicit OpenEntries(Calendar &calendar) : calendar_(calendar) {}

  // Takes the next record of the log.
  void add(const EVT_LOG_ENTRY &record, bool is_wanted);

  // Ends the log, and starts over.
  Answer finish();

 private:
  // The instants from `earliest` to `latest`; by default none.
  struct Range {
    int64_t earliest = std::numeric_limits<int64_t>::max();
    int64_t latest = std::numeric_limits<int64_t>::min();

    void include(const Range &other);
    [[nodiscard]] bool includes(const Range &other) const;
  };

  enum class Kind : uint8_t { kEntry, kPlainNote, kNamingNote };
  enum class SetBack : uint8_t { kNo, kIfClosed, kYes };  // kIfClosed: by a plain note

  struct Event {
    Range range;  // of a closing note: its time; else the times of notes that do not close the entry
    uint32_t number;
    Kind kind;
    SetBack set_back;
    bool is_wanted;
    uint8_t names;  // of a naming note: how many numbers it has in names_
  };

  Range time_of_note(const LogTime &time);
  Range spared_by(const LogTime &first, const LogTime &last);
  SetBack shows_set_back(const EVT_HEADER &header, const LogTime &first, const LogTime &last);

  Calendar &calendar_;
  std::vector<Event> events_;
  std::vector<uint32_t> names_;            // of all naming notes
  std::optional<int64_t> previous_first_;  // valid first occurrence of the entry before
  bool has_plain_note_ = false;
};
