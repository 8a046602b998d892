#include "imlog/listing.h"

#include <algorithm>

Listing::Listing(const Filter &filter, const FormatRow &row, History *history, Calendar &calendar,
                 Format &format, Output &output)
    : filter_(filter),
      row_(row),
      history_(history),
      calendar_(calendar),
      format_(format),
      output_(output),
      decoder_(calendar) {}

Reading Listing::read(Source &source, std::optional<uint64_t> lines) {
  Reading reading;
  while (output_.error() == 0) {
    const EVT_LOG_ENTRY *const record = source.next();
    if (record == nullptr) {
      reading.problem = source.problem();
      break;
    }
    handle_record(*record, reading.records++, lines);
  }
  print_held(lines);
  return reading;
}

void Listing::handle_record(const EVT_LOG_ENTRY &record, uint64_t index, std::optional<uint64_t> lines) {
  const Change change = history_ != nullptr ? history_->add(record) : Change::kNone;
  if (change == Change::kUnchanged || !filter_.passes(record, calendar_)) {
    return;
  }
  // With a history, a later record may have the same number.
  if (history_ != nullptr || lines || row_.sort_key != nullptr) {
    hold(record, change, index, lines);
  } else {
    print_entry(record, change);
  }
}

void Listing::hold(const EVT_LOG_ENTRY &record, Change change, uint64_t index,
                   std::optional<uint64_t> lines) {
  uint64_t sort_key = 0;
  if (row_.sort_key != nullptr) {
    sort_key = row_.sort_key(calendar_.at(record.Hdr.InitTime), calendar_.at(record.Hdr.UpdateTime));
  }
  held_.push_back({record, change, index, sort_key});
  if (history_ == nullptr && lines && held_.size() > *lines) {
    held_.pop_front();
  }
}

// Prints what was held until the end of the reading.
void Listing::print_held(std::optional<uint64_t> lines) {
  if (history_ != nullptr) {
    const auto is_superseded = [&](const Held &entry) {
      return !history_->is_latest(entry.record.Hdr.dwEvtNumber, entry.index);
    };
    held_.erase(std::remove_if(held_.begin(), held_.end(), is_superseded), held_.end());
  }
  if (lines && held_.size() > *lines) {
    held_.erase(held_.begin(), held_.end() - static_cast<std::ptrdiff_t>(*lines));
  }
  if (row_.sort_key != nullptr) {
    std::stable_sort(held_.begin(), held_.end(),
                     [](const Held &a, const Held &b) { return a.sort_key < b.sort_key; });
  }
  for (const Held &entry : held_) {
    if (output_.error() != 0) {
      break;
    }
    print_entry(entry.record, entry.change);
  }
  held_.clear();
}

void Listing::print_entry(const EVT_LOG_ENTRY &record, Change change) {
  format_.print_entry(decoder_.decode(record, change), output_);
  output_.end_entry();
}
