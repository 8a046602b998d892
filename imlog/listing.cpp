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
    take(*record, reading.records++, lines);
  }
  release(lines);
  return reading;
}

void Listing::take(const EVT_LOG_ENTRY &record, uint64_t index, std::optional<uint64_t> lines) {
  const Change change = history_ != nullptr ? history_->add(record) : Change::kNone;
  if (change == Change::kUnchanged || !filter_.passes(record, calendar_)) {
    return;
  }
  // With a history, a later record may have the same number.
  if (history_ != nullptr || lines || row_.sort_key != nullptr) {
    wait(record, change, index, lines);
  } else {
    print(record, change);
  }
}

void Listing::wait(const EVT_LOG_ENTRY &record, Change change, uint64_t index,
                   std::optional<uint64_t> lines) {
  uint64_t sort_key = 0;
  if (row_.sort_key != nullptr) {
    sort_key = row_.sort_key(calendar_.at(record.Hdr.InitTime), calendar_.at(record.Hdr.UpdateTime));
  }
  waiting_.push_back({record, change, index, sort_key});
  if (history_ == nullptr && lines && waiting_.size() > *lines) {
    waiting_.pop_front();
  }
}

// Prints what has waited for the end of the reading.
void Listing::release(std::optional<uint64_t> lines) {
  if (history_ != nullptr) {
    const auto is_superseded = [&](const Waiting &entry) {
      return !history_->is_latest(entry.record.Hdr.dwEvtNumber, entry.index);
    };
    waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), is_superseded), waiting_.end());
  }
  if (lines && waiting_.size() > *lines) {
    waiting_.erase(waiting_.begin(), waiting_.end() - static_cast<std::ptrdiff_t>(*lines));
  }
  if (row_.sort_key != nullptr) {
    std::stable_sort(waiting_.begin(), waiting_.end(),
                     [](const Waiting &a, const Waiting &b) { return a.sort_key < b.sort_key; });
  }
  for (const Waiting &entry : waiting_) {
    if (output_.error() != 0) {
      break;
    }
    print(entry.record, entry.change);
  }
  waiting_.clear();
}

void Listing::print(const EVT_LOG_ENTRY &record, Change change) {
  format_.put(decoder_.decode(record, change), output_);
  output_.end_entry();
}
