#include "driver/event_reader.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

EventReader::EventReader(uint32_t first, Step step)
    : node_(kNodeEvents, kOpenRead), step_(step), number_(first) {
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

// Asks for the current number. Returns the driver's status or, where the request failed, its errno, since the
// driver may answer in either way; a failure without a reason stays -1.
int EventReader::ask() {
  memset(request_.get(), 0, kReadLength);
  request_->info.length = kReadLength;
  request_->info.choice = kChoiceRead;
  request_->info.EvtNumber = static_cast<int32_t>(number_);
  request_->Evt.Hdr.wEvtLength = kReadEvtLength;
  errno = 0;  // an older errno must not be taken for this request's
  status_ = node_.request(kRequestEventEntry, request_.get(), sizeof(*request_));
  error_ = status_ == -1 ? errno : 0;
  return error_ != 0 ? error_ : status_;
}

// Moves to the number after `answered`, the number of the record or of the gap. In 64 bits the highest number
// does not wrap.
void EventReader::advance(uint32_t answered) {
  const uint64_t next = uint64_t{answered} + 1;
  stuck_ = next <= number_ || next > UINT32_MAX || gap_ == kLongestGap;
  if (!stuck_) {
    number_ = step_ == Step::kByOne ? number_ + 1 : static_cast<uint32_t>(next);
  }
}

EventReader::Answer EventReader::next() {
  while (!stuck_) {
    switch (ask()) {
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
