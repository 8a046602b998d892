#include "imlog/listing.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// Orders by the last update, entries without a valid time first.
uint64_t update_key(const LogTime & /*first*/, const LogTime &last) {
  constexpr int64_t kBeforeEveryTime = -1'000'000;  // a zone moves 1970 back by less
  return last.is_valid ? static_cast<uint64_t>(last.instant - kBeforeEveryTime) : 0;
}

}  // namespace

HeldRecord::HeldRecord(const EVT_LOG_ENTRY &record) {
  const char *const bytes = reinterpret_cast<const char *>(&record);
  size_t size = sizeof(record);
  uint64_t end = 0;
  while (size >= sizeof(EVT_HEADER) + sizeof(end)) {
    memcpy(&end, bytes + size - sizeof(end), sizeof(end));
    if (end != 0) {
      break;
    }
    size -= sizeof(end);
  }
  bytes_.assign(bytes, size);
}

EVT_LOG_ENTRY HeldRecord::whole() const {
  EVT_LOG_ENTRY record = {};
  memcpy(&record, bytes_.data(), bytes_.size());
  return record;
}

Listing::Listing(const Selection &selection, bool is_merged, const FormatRow &row, History *history,
                 Calendar &calendar, Format &format, Output &output)
    : filter_(selection.filter),
      unserviced_(selection.unserviced),
      needs_open_(unserviced_ || (row.traits & kCountsUnserviced) != 0),
      reverse_(selection.reverse),
      is_merged_(is_merged),
      // With a history, a later record may have the same number.
      prints_at_once_(history == nullptr && !selection.lines && !is_merged && !reverse_ &&
                      row.sort_key == nullptr),
      lines_(selection.lines),
      row_(row),
      history_(history),
      calendar_(calendar),
      format_(format),
      output_(output),
      decoder_(calendar),
      open_(calendar) {}

Reading Listing::read(Source &source, const std::shared_ptr<const Log> &log) {
  Reading reading;
  std::vector<Held> records;  // with a history: whether the log was cleared is known at its end
  while (output_.error() == 0) {
    const EVT_LOG_ENTRY *const record = source.next();
    if (record == nullptr) {
      reading.problem = source.problem();
      break;
    }
    const Origin origin = {log, Change::kNone, reading.records};
    if (history_ != nullptr) {
      records.push_back({HeldRecord(*record), origin});
    } else {
      process(*record, origin);
    }
    ++reading.records;
  }
  find_changes(records);
  end_log();
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
  const bool passes = filter_.passes(record, calendar_);
  if (needs_open_) {
    open_.add(record.Hdr, passes);
    if (passes) {
      undecided_.push_back({HeldRecord(record), origin});
    }
  }
  if (!passes || unserviced_) {
    return;
  }
  if (prints_at_once_) {
    print(record, origin);
  } else {
    hold({HeldRecord(record), origin});
  }
}

// What is still open at the end of its log is unserviced.
void Listing::end_log() {
  const std::vector<bool> is_open = open_.finish();
  for (size_t i = 0; i < is_open.size(); ++i) {
    Held &entry = undecided_[i];
    if (!is_open[i]) {
      continue;
    }
    if (unserviced_ && prints_at_once_) {
      print(entry.record.whole(), entry.origin);
    } else if (unserviced_) {
      hold(std::move(entry));
    } else if (!lines_ || (!held_.empty() && entry.origin.index >= held_.front().origin.index)) {
      format_.count_unserviced(entry.record.header());
    }
  }
  undecided_.clear();
}

// Holds an entry that others may precede or replace.
void Listing::hold(Held entry) {
  held_.push_back(std::move(entry));
  if (history_ == nullptr && !is_merged_ && lines_ && held_.size() > *lines_) {
    held_.pop_front();
  }
}

void Listing::print_held() {
  std::vector<const Held *> entries;
  entries.reserve(held_.size());
  for (const Held &entry : held_) {
    if (history_ == nullptr || history_->is_latest(entry.record.header().dwEvtNumber, entry.origin.index)) {
      entries.push_back(&entry);
    }
  }
  if (is_merged_) {
    sort(entries, update_key);
  }
  if (lines_ && entries.size() > *lines_) {
    entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(*lines_));
  }
  if (row_.sort_key != nullptr) {
    sort(entries, row_.sort_key);
  }
  if (reverse_) {
    std::reverse(entries.begin(), entries.end());
  }
  for (const Held *const entry : entries) {
    if (output_.error() != 0) {
      break;
    }
    print(entry->record.whole(), entry->origin);
  }
  held_.clear();
  lines_.reset();
}

// Sorts by `key`, smallest first. Entries with equal keys keep their order.
void Listing::sort(std::vector<const Held *> &entries, Key key) {
  std::vector<std::pair<uint64_t, const Held *>> keyed;
  keyed.reserve(entries.size());
  for (const Held *const entry : entries) {
    const EVT_HEADER &header = entry->record.header();
    keyed.emplace_back(key(calendar_.at(header.InitTime), calendar_.at(header.UpdateTime)), entry);
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto &a, const auto &b) { return a.first < b.first; });
  std::transform(keyed.begin(), keyed.end(), entries.begin(), [](const auto &pair) { return pair.second; });
}

void Listing::print(const EVT_LOG_ENTRY &record, const Origin &origin) {
  format_.print_entry(decoder_.decode(record, *origin.log, origin.change), output_);
  if (unserviced_) {
    format_.count_unserviced(record.Hdr);
  }
  output_.end_entry();
}
