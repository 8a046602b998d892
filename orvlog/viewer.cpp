#include "orvlog/viewer.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "iml/eventstr.h"
#include "orvlog/channel.h"
#include "orvlog/output.h"

namespace {

constexpr uint32_t kDescriptionSize = 256;

/// Numbers in a row that may have no entry. A driver that has nothing to return for more of them would have
/// the whole range of 32 bits asked for before the listing ends; no log has such gaps.
constexpr int kLongestGap = 1'000'000;

/// The event node with the buffer of its read requests.
class EventReader {
 public:
  EventReader() : node_(kNodeEvents, kOpenRead) {
    if (!node_.is_open()) {
      print_err("orvlog: Unable to open the /dev/zythealth/cevt file.\n");
      return;
    }
    buffer_.reset(calloc(1, kReadLength));
    if (buffer_ == nullptr) {
      node_.close();
      print_err("orvlog: Unable to allocate memory to log message.\n");
    }
  }

  [[nodiscard]] bool is_ready() const {
    return buffer_ != nullptr;
  }

  /// Reads one entry. Returns 0, a driver status, or the errno of a request that failed.
  int read(uint32_t number) {
    memset(buffer_.get(), 0, kReadLength);
    _ioctlEntry *const request = entry();
    request->info.length = kReadLength;
    request->info.choice = kChoiceRead;
    request->info.EvtNumber = static_cast<int32_t>(number);
    request->Evt.Hdr.wEvtLength = kReadEvtLength;
    const int status = node_.request(kRequestEventEntry, request, sizeof *request);
    return status == -1 ? errno : status;
  }

  /// The record that the last successful read returned.
  [[nodiscard]] const EVT_LOG_ENTRY &record() const {
    return entry()->Evt;
  }

  void close() {
    node_.close();
  }

 private:
  [[nodiscard]] _ioctlEntry *entry() const {
    return static_cast<_ioctlEntry *>(buffer_.get());
  }

  Channel node_;
  std::unique_ptr<void, FreeMemory> buffer_;
};

/// A time stamp as "hour:minute  month/day/year", each number of at least two digits. Written by hand, since
/// a listing spends more time on its numbers than on its texts.
class TimeText {
 public:
  explicit TimeText(const EVT_TIME_STAMP &time) {
    number(time.bHour);
    *end_++ = ':';
    number(time.bMinute);
    *end_++ = ' ';
    *end_++ = ' ';
    number(time.bMonth);
    *end_++ = '/';
    number(time.bDay);
    *end_++ = '/';
    number(time.bCentury);
    number(time.bYear);
    *end_ = '\0';
  }

  [[nodiscard]] const char *text() const {
    return text_;
  }

 private:
  void number(unsigned value) {
    if (value >= 100) {
      digit(value / 100);
    }
    digit(value / 10 % 10);
    digit(value % 10);
  }
  void digit(unsigned value) {
    *end_++ = static_cast<char>('0' + value);
  }

  char text_[sizeof "255:255  255/255/255255"];
  char *end_ = text_;
};

void print_entry(const EVT_LOG_ENTRY &record) {
  char description[kDescriptionSize];
  TranslateEventLogMessage(&record, description, sizeof description);
  // What firmware put into a text must not reach the terminal as control or half a multi-byte character.
  for (char *c = description; *c != '\0'; ++c) {
    if (static_cast<signed char>(*c) < ' ') {
      *c = ' ';
    }
  }
  const EVT_HEADER &header = record.Hdr;
  const TimeText s_InitTime(header.InitTime);
  const TimeText s_UpdateTime(header.UpdateTime);
  print_out("%.4d %-14s %16s %16s %.4d\nLOG: %s\n\n", static_cast<int>(header.dwEvtNumber),
            GetSeverity(header.bSeverity), s_InitTime.text(), s_UpdateTime.text(),
            static_cast<int>(header.dwCount), description);
}

}  // namespace

const char *GetSeverity(uint8_t b_Severity) {
  switch (b_Severity) {
    case kSeverityInformational:
    case kSeverityInformationalAlternate: return "Information";
    case kSeverityRepaired: return "Repaired";
    case kSeverityCaution: return "Caution";
    case kSeverityCritical: return "Critical";
    default: return "Unknown";
  }
}

int GetTotalIMLEntries() {
  EventReader log;
  if (!log.is_ready()) {
    return 0;
  }
  int total = 0;
  for (int gap = 0; total < INT_MAX && gap < kLongestGap; ++total) {
    const int status = log.read(static_cast<uint32_t>(total));
    if (status == kEventRead) {
      gap = 0;
    } else if (status == kEventNoEntry) {
      ++gap;
    } else {
      if (status != kEventEndOfLog) {
        print_err("orvlog: Invalid error code returned.\n");
      }
      break;
    }
  }
  return total;
}

int view_entire_log(char c, uint32_t offset) {
  EventReader log;
  if (!log.is_ready()) {
    return 0;
  }
  if (c == 'V') {
    const int total = GetTotalIMLEntries();
    if (total != 0 && offset >= static_cast<uint32_t>(total)) {
      log.close();
      print_err("orvlog: Invalid argument for the -V option; only %d events exist.\n", total);
      return 0;
    }
  }

  bool headerprinted = false;
  int gap = 0;
  uint32_t current_evt = offset;
  for (;;) {
    const int status = log.read(current_evt);
    if (status == kEventEndOfLog) {
      break;
    }
    uint32_t next_evt = current_evt + 1;
    ++gap;
    if (status == kEventRead) {
      gap = 0;
      if (!headerprinted) {
        print_out("\nID   Severity       Initial Time      Update Time       Count\n");
        print_out("-------------------------------------------------------------\n");
        headerprinted = true;
      }
      print_entry(log.record());
      next_evt = log.record().Hdr.dwEvtNumber + 1;
    } else if (status != kEventNoEntry) {
      print_err("orvlog: Invalid error code returned.\n");
      break;
    }
    if (next_evt <= current_evt || gap == kLongestGap) {  // the driver would keep us here for ever
      print_err("orvlog: The IML does not advance past entry %u.\n", current_evt);
      break;
    }
    current_evt = next_evt;
  }
  if (current_evt == 0 && !headerprinted) {
    print_out("orvlog: The IML Log is empty.\n");
  }
  return 1;
}
