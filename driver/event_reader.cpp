#include "driver/event_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

EventReader::EventReader(uint32_t first) : node_(kNodeEvents, kOpenRead), number_(first) {
  if (!node_.is_open()) {
    opening_ = Opening::kCannotOpen;
    error_ = errno;
    return;
  }
  request_.reset(static_cast<_ioctlEntry *>(calloc(1, kReadLength)));
  if (request_ == nullptr) {
    opening_ = Opening::kNoMemory;
    error_ = errno;
    node_.close();
  }
}

int EventReader::ask(uint32_t number) {
  number_ = number;
  memset(request_.get(), 0, kReadLength);
  request_->info.length = kReadLength;
  request_->info.choice = kChoiceRead;
  request_->info.EvtNumber = static_cast<int32_t>(number);
  request_->Evt.Hdr.wEvtLength = kReadEvtLength;
  errno = 0;  // an older errno must not be taken for this request's
  status_ = node_.request(kRequestEventEntry, request_.get(), sizeof(*request_));
  error_ = status_ == -1 ? errno : 0;
  return error_ != 0 ? error_ : status_;
}

// Moves to the number after `answered`, the number of the record or of the gap.
void EventReader::advance(uint32_t answered) {
  stuck_ = answered < number_ || answered == UINT32_MAX || gap_ == kLongestGap;
  number_ = stuck_ ? std::max(number_, answered) : answered + 1;
}

EventReader::Answer EventReader::next() {
  while (!stuck_) {
    switch (ask(number_)) {
      case kEventRead:
        gap_ = 0;
        advance(record().Hdr.dwEvtNumber);
        return Answer::kEntry;
      case kEventNoEntry:
        ++gap_;
        advance(number_);
        break;
      case kEventEndOfLog: return Answer::kEndOfLog;
      default: return Answer::kInvalidCode;
    }
  }
  return Answer::kDoesNotAdvance;
}
