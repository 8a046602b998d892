// The Integrated Management Log, read entry by entry from the health driver.
#pragma once

#include <cstdint>

#include "driver/channel.h"
#include "platform/health_driver.h"
#include "util/ownership.h"

class EventReader {
 public:
  enum class Opening { kReady, kCannotOpen, kNoMemory };

  enum class Answer {
    kEntry,           // record() is the next entry
    kEndOfLog,        // there is no entry from number() on
    kInvalidCode,     // the driver answered number() with something else; see status() and error()
    kDoesNotAdvance,  // the last answer does not lead past number()
  };

  // The most consecutive numbers without an entry. Without a limit, a driver that has nothing to return would
  // be asked for every 32-bit number. No log has gaps this long.
  static constexpr uint32_t kLongestGap = 1'000'000;

  // Opens the log, to be walked from number `first` on. Nothing is read yet.
  explicit EventReader(uint32_t first);

  // Only a reader that is kReady may be asked for entries.
  [[nodiscard]] Opening opening() const {
    return opening_;
  }

  // Asks for one number. Returns the driver's status (EventStatus) or, where the request failed, its errno,
  // since the driver may answer in either way; a failure without a reason stays -1.
  int ask(uint32_t number);

  // Walks: asks for the next entry and skips the numbers without one. From an entry the walk goes to the
  // number after the one that its record carries. No driver can make it endless: each answer must lead to a
  // higher number, and the length of a gap is limited. After kDoesNotAdvance the walk is over; after
  // kEndOfLog and kInvalidCode the same number is asked for again.
  Answer next();

  // The record of the last entry, valid until the next request.
  [[nodiscard]] const EVT_LOG_ENTRY &record() const {
    return request_->Evt;
  }

  // The number to ask for next; after an answer other than kEntry also the last one asked for. After a record
  // with the highest number, which none can follow, that number.
  [[nodiscard]] uint32_t number() const {
    return number_;
  }

  // The result of the last request.
  [[nodiscard]] int status() const {
    return status_;
  }

  // The errno of a failed opening or request, else 0. It is also 0 when the driver gave no reason.
  [[nodiscard]] int error() const {
    return error_;
  }

  // Closes the log before the end of the scope.
  void close() {
    node_.close();
  }

 private:
  void advance(uint32_t answered);

  Channel node_;
  Allocated<_ioctlEntry> request_;  // kReadLength bytes
  Opening opening_ = Opening::kReady;
  uint32_t number_;
  uint32_t gap_ = 0;  // numbers without an entry, up to the current one
  bool stuck_ = false;
  int status_ = 0;
  int error_ = 0;
};
