#include "imlog/open_entries.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <string_view>
#include <strings.h>
#include <system_error>

#include "iml/severities.h"

namespace {

constexpr int64_t kBeginning = std::numeric_limits<int64_t>::min();
constexpr int64_t kEnd = std::numeric_limits<int64_t>::max();

// More than the hour by which zones set the clock back.
constexpr int64_t kSetBackBy = int64_t{2} * 60 * 60;

constexpr std::string_view kCloses = "closes";
constexpr std::string_view kAnd = "and";
constexpr std::string_view kBlanks = " \t,";

// True for a byte that would belong to the word beside it.
bool is_of_word(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' ||
         static_cast<unsigned char>(c) > 0x7F;
}

// True if `word` begins at `at`, in upper or lower case.
bool has_word(std::string_view text, size_t at, std::string_view word) {
  const size_t end = at + word.size();
  return end <= text.size() && strncasecmp(text.data() + at, word.data(), word.size()) == 0 &&
         (at == 0 || !is_of_word(text[at - 1])) && (end == text.size() || !is_of_word(text[end]));
}

// The end of the blanks, tabs, commas and words "and" that begin at `at`.
size_t skip_separators(std::string_view text, size_t at) {
  for (;;) {
    if (at < text.size() && kBlanks.find(text[at]) != kBlanks.npos) {
      ++at;
    } else if (has_word(text, at, kAnd)) {
      at += kAnd.size();
    } else {
      return at;
    }
  }
}

// Adds the numbers of the list that begins at `at`, right after its word.
void read_list(std::string_view text, size_t at, std::vector<uint32_t> &numbers) {
  if (at < text.size() && text[at] == ':') {
    ++at;
  }
  for (bool is_first = true;; is_first = false) {
    const size_t start = skip_separators(text, at);
    if (start == at && !is_first) {
      return;
    }
    const size_t digits = start < text.size() && text[start] == '#' ? start + 1 : start;
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data() + digits, text.data() + text.size(), number);
    if (error == std::errc::invalid_argument) {
      return;
    }
    if (error == std::errc()) {  // else it is too large for an entry
      numbers.push_back(number);
    }
    at = static_cast<size_t>(end - text.data());
  }
}

bool is_closing_note(const EVT_HEADER &header) {
  return header.wClass == IML_CLASS_MAINTENANCE && header.wCode == IML_MAINTENANCE_NOTE &&
         header.bSeverity == IML_SEVERITY_REPAIRED;
}

}  // namespace

std::optional<std::vector<uint32_t>> named_entries(const EVT_LOG_ENTRY &note) {
  const char *const start = reinterpret_cast<const char *>(&note.Data);
  const std::string_view text(start, strnlen(start, sizeof(note.Data)));
  std::optional<std::vector<uint32_t>> numbers;
  for (size_t at = 0; at < text.size(); ++at) {
    if (has_word(text, at, kCloses)) {
      at += kCloses.size();
      read_list(text, at, numbers ? *numbers : numbers.emplace());
    }
  }
  return numbers;
}

void OpenEntries::Range::include(const Range &other) {
  earliest = std::min(earliest, other.earliest);
  latest = std::max(latest, other.latest);
}

bool OpenEntries::Range::includes(const Range &other) const {
  return earliest <= other.earliest && other.latest <= latest;
}

// Without a trusted time a note closes what precedes it, as if it had been written at all times.
OpenEntries::Range OpenEntries::time_of_note(const LogTime &time) {
  if (!time.is_trusted) {
    return {kBeginning, kEnd};
  }
  const int64_t instant = calendar_.instants_of(time).earlier;
  return {instant, instant};
}

// The times of plain notes that do not close an entry: those before its last update. But a note that is older
// than the first occurrence closes it: the note follows the entry, so the clock was set back in between.
OpenEntries::Range OpenEntries::spared_by(const LogTime &first, const LogTime &last) {
  if (!last.is_trusted) {
    return {};
  }
  const int64_t latest = calendar_.instants_of(last).later;
  const int64_t earliest = first.is_trusted ? calendar_.instants_of(first).earlier : kEnd;
  return {earliest <= latest ? earliest : kBeginning, latest - 1};
}

// A clock that was set back before the first plain note has misled none.
OpenEntries::SetBack OpenEntries::shows_set_back(const EVT_HEADER &header, const LogTime &first,
                                                 const LogTime &last) {
  if (!first.is_valid) {
    return SetBack::kNo;
  }
  const bool precedes_previous = previous_first_ && first.instant < *previous_first_ - kSetBackBy;
  previous_first_ = first.instant;
  if (precedes_previous && has_plain_note_) {
    return SetBack::kYes;
  }
  const bool precedes_itself = last.is_valid && last.instant < first.instant - kSetBackBy;
  return precedes_itself && iml::severity_rank(header.bSeverity) >= iml::kCaution ? SetBack::kIfClosed
                                                                                  : SetBack::kNo;
}

void OpenEntries::add(const EVT_LOG_ENTRY &record, bool is_wanted) {
  const EVT_HEADER &header = record.Hdr;
  const LogTime first = calendar_.at(header.InitTime);
  const LogTime last = calendar_.at(header.UpdateTime);
  Event event = {{}, header.dwEvtNumber, Kind::kEntry, shows_set_back(header, first, last), is_wanted, 0};
  if (is_closing_note(header)) {
    event.range = time_of_note(last);
    if (const auto names = named_entries(record)) {
      event.kind = Kind::kNamingNote;
      event.names = static_cast<uint8_t>(names->size());
      names_.insert(names_.end(), names->begin(), names->end());
    } else {
      event.kind = Kind::kPlainNote;
      has_plain_note_ = true;
    }
  } else if (is_wanted || event.set_back != SetBack::kNo) {
    event.range = spared_by(first, last);
  } else {
    return;
  }
  events_.push_back(event);
}

// Only the earliest and the latest of the plain notes after an entry matter to it, and the latest of those
// that name it.
OpenEntries::Answer OpenEntries::finish() {
  Answer answer;
  Range plain_notes;                         // after the event under way
  std::map<uint32_t, int64_t> naming_notes;  // the same; the latest for each number
  bool is_clock_known = false;
  std::reverse(events_.begin(), events_.end());
  for (Event &event : events_) {
    const bool is_closed_by_plain = !event.range.includes(plain_notes);
    const auto naming = naming_notes.find(event.number);
    const bool is_named = naming != naming_notes.end();
    // Only the last entry that shows it matters: a note that names it takes back what earlier ones show, too.
    if (!is_clock_known &&
        (event.set_back == SetBack::kYes || (event.set_back == SetBack::kIfClosed && is_closed_by_plain))) {
      is_clock_known = true;
      if (!is_named) {
        answer.clock_set_back_at = event.number;
      }
    }
    if (event.is_wanted) {  // a closing note closes itself, too
      answer.is_open.push_back(event.kind == Kind::kEntry && !is_closed_by_plain &&
                               !(is_named && naming->second > event.range.latest));
    }
    if (event.kind == Kind::kPlainNote) {
      plain_notes.include(event.range);
    }
    for (; event.names != 0; --event.names) {
      int64_t &latest = naming_notes.try_emplace(names_.back(), kBeginning).first->second;
      latest = std::max(latest, event.range.latest);
      names_.pop_back();
    }
  }
  events_.clear();
  previous_first_.reset();
  has_plain_note_ = false;
  std::reverse(answer.is_open.begin(), answer.is_open.end());
  return answer;
}
