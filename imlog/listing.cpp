#include "imlog/listing.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "iml/eventstr.h"

namespace {

// Longer than any text seen. The translator clears the whole buffer for every entry, so a larger one costs
// time.
constexpr size_t kUsualTextSize = 640;

}  // namespace

HeldRecord::HeldRecord(const EVT_LOG_ENTRY &record) {
  const std::string_view bytes(reinterpret_cast<const char *>(&record), sizeof(record));
  bytes_.assign(bytes.substr(0, std::max(sizeof(EVT_HEADER), bytes.find_last_not_of('\0') + 1)));
}

EVT_LOG_ENTRY HeldRecord::whole() const {
  EVT_LOG_ENTRY record = {};
  memcpy(&record, bytes_.data(), bytes_.size());
  return record;
}

Listing::Listing(const Selection &selection, bool is_merged, const FormatRow &row, History *history,
                 Calendar &calendar, Format &format, Output &output)
    : selection_(selection),
      needs_open_(selection.unserviced || (row.traits & kCountsUnserviced) != 0),
      is_by_update_(is_merged || selection.reverse || (row.traits & kByUpdate) != 0),
      // With a history, a later record may have the same number.
      prints_at_once_(history == nullptr && !selection.lines && !is_by_update_ && row.sort_key == nullptr),
      lines_(selection.lines),
      row_(row),
      history_(history),
      calendar_(calendar),
      format_(format),
      output_(output),
      text_(kUsualTextSize, '\0'),
      open_(calendar) {}

Reading Listing::read(Source &source, const std::shared_ptr<const Log> &log) {
  Reading reading = {source.problem()};
  if (reading.problem.is_set()) {  // it could not be opened
    return reading;
  }
  std::vector<Held> records;  // with a history: whether the log was cleared is known at its end
  int64_t updated = std::numeric_limits<int64_t>::min();
  while (output_.error() == 0) {
    const EVT_LOG_ENTRY *const record = source.next();
    if (record == nullptr) {
      reading.problem = source.problem();
      break;
    }
    if (!prints_at_once_) {
      const LogTime last = calendar_.at(record->Hdr.UpdateTime);
      updated = last.is_trusted ? last.instant : updated;
    }
    const Origin origin = {log, Change::kNone, next_index_++, updated};
    if (history_ != nullptr) {
      records.push_back({HeldRecord(*record), origin});
    } else {
      process(*record, origin);
    }
    ++reading.records;
  }
  find_changes(records);
  end_log(*log);
  return reading;
}

// Processes the records that are new or have changed.
void Listing::find_changes(std::vector<Held> &records) {
  const auto has_number_of_first = [&](const Held &entry) {
    return entry.record.header().dwEvtNumber == records[0].record.header().dwEvtNumber;
  };
  if (!records.empty() && std::none_of(records.begin() + 1, records.end(), has_number_of_first)) {
    history_->begin_with(records[0].record.header());
  }
  for (Held &entry : records) {
    const EVT_LOG_ENTRY record = entry.record.whole();
    entry.origin.change = history_->add(record, entry.origin.index);
    if (entry.origin.change != Change::kUnchanged) {
      process(record, entry.origin);
    }
  }
}

void Listing::process(const EVT_LOG_ENTRY &record, const Origin &origin) {
  const bool passes = selection_.filter.passes(record, calendar_);
  if (needs_open_) {
    open_.add(record, passes);
    if (passes) {
      undecided_.push_back({HeldRecord(record), origin});
    }
  }
  if (!passes || selection_.unserviced) {
    return;
  }
  if (prints_at_once_) {
    print(record, origin);
  } else {
    hold({HeldRecord(record), origin});
  }
}

// Entries that are still open at the end of their log are unserviced.
void Listing::end_log(const Log &log) {
  const OpenEntries::Answer answer = open_.finish();
  if (answer.clock_set_back_at) {
    format_.report_clock_set_back(log, *answer.clock_set_back_at);
  }
  for (size_t i = 0; i < answer.is_open.size(); ++i) {
    Held &entry = undecided_[i];
    if (!answer.is_open[i]) {
      continue;
    }
    if (selection_.unserviced && prints_at_once_) {
      print(entry.record.whole(), entry.origin);
    } else if (selection_.unserviced) {
      hold(std::move(entry));
    } else if (!lines_ || (!held_.empty() && !is_updated_before(entry.origin, held_.front().origin))) {
      format_.count_unserviced(entry.record.header());
    }
  }
  undecided_.clear();
}

// Holds an entry that others may precede or replace. With a history, the last ones are known only at the end.
void Listing::hold(Held entry) {
  held_.push_back(std::move(entry));
  if (history_ != nullptr || !lines_) {
    return;
  }
  const auto is_after = [](const Held &a, const Held &b) { return is_updated_before(b.origin, a.origin); };
  std::push_heap(held_.begin(), held_.end(), is_after);
  if (held_.size() > *lines_) {
    std::pop_heap(held_.begin(), held_.end(), is_after);
    held_.pop_back();
  }
}

bool Listing::is_read_before(const Origin &a, const Origin &b) {
  return a.index < b.index;
}

bool Listing::is_updated_before(const Origin &a, const Origin &b) {
  return a.updated != b.updated ? a.updated < b.updated : a.index < b.index;
}

void Listing::print_held() {
  std::vector<const Held *> entries;
  entries.reserve(held_.size());
  for (const Held &entry : held_) {
    if (history_ == nullptr || history_->is_latest(entry.record.header().dwEvtNumber, entry.origin.index)) {
      entries.push_back(&entry);
    }
  }
  const auto sort = [&](auto precedes) {
    std::sort(entries.begin(), entries.end(),
              [&](const Held *a, const Held *b) { return precedes(a->origin, b->origin); });
  };
  if (lines_ || is_by_update_) {
    sort(is_updated_before);
  }
  if (lines_ && entries.size() > *lines_) {
    entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(*lines_));
  }
  if (row_.sort_key != nullptr) {
    sort_by_key(entries);
  } else if (selection_.reverse) {
    std::reverse(entries.begin(), entries.end());
  } else if (!is_by_update_) {
    sort(is_read_before);
  }
  for (const Held *const entry : entries) {
    if (output_.error() != 0) {
      break;
    }
    print(entry->record.whole(), entry->origin);
  }
  held_.clear();
  next_index_ = 0;
  lines_.reset();
}

// Sorts by the key of the format. Entries with equal keys keep the order of their logs.
void Listing::sort_by_key(std::vector<const Held *> &entries) {
  std::sort(entries.begin(), entries.end(),
            [](const Held *a, const Held *b) { return is_read_before(a->origin, b->origin); });
  std::vector<std::pair<uint64_t, const Held *>> keyed;
  keyed.reserve(entries.size());
  for (const Held *const entry : entries) {
    const EVT_HEADER &header = entry->record.header();
    keyed.emplace_back(row_.sort_key(calendar_.at(header.InitTime), calendar_.at(header.UpdateTime)), entry);
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto &a, const auto &b) { return a.first < b.first; });
  std::transform(keyed.begin(), keyed.end(), entries.begin(), [](const auto &pair) { return pair.second; });
}

void Listing::print(const EVT_LOG_ENTRY &record, const Origin &origin) {
  uint8_t known = 0;
  size_t length = 0;
  for (;;) {
    known = TranslateEventLogMessage(&record, text_.data(), static_cast<uint32_t>(text_.size()));
    length = strlen(text_.data());
    if (length + 1 < text_.size()) {
      break;
    }
    text_.resize(2 * text_.size());  // the text may have been cut
  }
  format_.print_entry({.record = record,
                       .log = *origin.log,
                       .severity = severity_rank(record.Hdr.bSeverity),
                       .first = calendar_.at(record.Hdr.InitTime),
                       .last = calendar_.at(record.Hdr.UpdateTime),
                       .is_known = known != 0,
                       .message = {text_.data(), length},
                       .change = origin.change},
                      output_);
  if (selection_.unserviced) {
    format_.count_unserviced(record.Hdr);
  }
  output_.end_entry();
}
