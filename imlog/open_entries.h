// Which entries of a log no maintenance note has closed.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "iml/iml_record.h"
#include "imlog/calendar.h"

// Takes the records of one log in its order. What is open can be told at its end.
class OpenEntries {
 public:
  explicit OpenEntries(Calendar &calendar) : calendar_(calendar) {}

  // Takes the next record. With `is_wanted` finish() says whether it is open.
  void add(const EVT_HEADER &header, bool is_wanted);

  // Says of each wanted record, in the order of the log, whether it is open, and starts over.
  std::vector<bool> finish();

 private:
  // The instants from `earliest` to `latest`; by default none.
  struct Range {
    int64_t earliest = std::numeric_limits<int64_t>::max();
    int64_t latest = std::numeric_limits<int64_t>::min();

    void include(const Range &other);
    [[nodiscard]] bool includes(const Range &other) const;
  };

  struct Event {
    Range range;  // of a closing note: its time; of another entry: times of notes that do not close it
    bool is_closing_note;
    bool is_wanted;
  };

  static Range time_of_note(const LogTime &time);
  static Range spared_by(const LogTime &first, const LogTime &last);

  Calendar &calendar_;
  std::vector<Event> events_;
};
