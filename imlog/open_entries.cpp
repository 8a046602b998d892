#include "imlog/open_entries.h"

#include <algorithm>

namespace {

constexpr int64_t kBeginning = std::numeric_limits<int64_t>::min();
constexpr int64_t kEnd = std::numeric_limits<int64_t>::max();

bool is_closing_note(const EVT_HEADER &header) {
  return header.wClass == IML_CLASS_MAINTENANCE && header.wCode == IML_MAINTENANCE_NOTE &&
         header.bSeverity == IML_SEVERITY_REPAIRED;
}

}  // namespace

void OpenEntries::Range::include(const Range &other) {
  earliest = std::min(earliest, other.earliest);
  latest = std::max(latest, other.latest);
}

bool OpenEntries::Range::includes(const Range &other) const {
  return earliest <= other.earliest && other.latest <= latest;
}

// Without a valid time a note closes everything before it, as if it had been written at all times.
OpenEntries::Range OpenEntries::time_of_note(const LogTime &time) {
  return time.is_valid ? Range{time.instant, time.instant} : Range{kBeginning, kEnd};
}

// The times of notes that do not close an entry: those before its last update. But a note that is older than
// the first occurrence closes it: the note follows the entry, so the clock was set back in between.
OpenEntries::Range OpenEntries::spared_by(const LogTime &first, const LogTime &last) {
  if (!last.is_valid) {
    return {};
  }
  const bool is_first_known = first.is_valid && first.instant <= last.instant;
  return {is_first_known ? first.instant : kBeginning, last.instant - 1};
}

void OpenEntries::add(const EVT_HEADER &header, bool is_wanted) {
  const LogTime last = calendar_.at(header.UpdateTime);
  if (is_closing_note(header)) {
    events_.push_back({time_of_note(last), true, is_wanted});
  } else if (is_wanted) {
    events_.push_back({spared_by(calendar_.at(header.InitTime), last), false, true});
  }
}

// Only the earliest and the latest of the notes after an entry matter to it.
std::vector<bool> OpenEntries::finish() {
  std::vector<bool> is_open;
  Range notes;  // after the event under way
  for (auto event = events_.rbegin(); event != events_.rend(); ++event) {
    if (event->is_wanted) {  // a note closes itself, too
      is_open.push_back(!event->is_closing_note && event->range.includes(notes));
    }
    if (event->is_closing_note) {
      notes.include(event->range);
    }
  }
  events_.clear();
  std::reverse(is_open.begin(), is_open.end());
  return is_open;
}
