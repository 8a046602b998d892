#include "orvlog/viewer.h"

#include <climits>

#include "driver/event_reader.h"
#include "iml/eventstr.h"
#include "orvlog/output.h"

namespace {

constexpr uint32_t kDescriptionSize = 256;

// Reports why the log could not be opened. Returns whether it is ready to be read.
bool is_ready(const EventReader &log) {
  switch (log.opening()) {
    case EventReader::Opening::kReady: return true;
    case EventReader::Opening::kCannotOpen:
      print_err("orvlog: Unable to open the /dev/zythealth/cevt file.\n");
      break;
    case EventReader::Opening::kNoMemory:
      print_err("orvlog: Unable to allocate memory to log message.\n");
      break;
  }
  return false;
}

// A time stamp as "hour:minute  month/day/year", each number of at least two digits. Written by hand because
// a listing spends more time on its numbers than on its texts.
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

  char text_[sizeof("255:255  255/255/255255")];
  char *end_ = text_;
};

// Returns whether standard output still takes what is written.
bool print_entry(const EVT_LOG_ENTRY &record) {
  char description[kDescriptionSize];
  TranslateEventLogMessage(&record, description, sizeof(description));
  // Text from firmware must not reach the terminal as a control character or half a multi-byte character.
  for (char *c = description; *c != '\0'; ++c) {
    if (static_cast<signed char>(*c) < ' ') {
      *c = ' ';
    }
  }
  const EVT_HEADER &header = record.Hdr;
  const TimeText s_InitTime(header.InitTime);
  const TimeText s_UpdateTime(header.UpdateTime);
  return print_out("%.4d %-14s %16s %16s %.4d\nLOG: %s\n\n", static_cast<int>(header.dwEvtNumber),
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
  EventReader log(0, EventReader::Step::kByOne);
  if (!is_ready(log)) {
    return 0;
  }
  EventReader::Answer answer = EventReader::Answer::kEntry;
  while (answer == EventReader::Answer::kEntry && log.number() < INT_MAX) {
    answer = log.next();
  }
  if (answer == EventReader::Answer::kDoesNotAdvance || log.number() >= INT_MAX) {
    return 0;
  }
  if (answer == EventReader::Answer::kInvalidCode) {
    print_err("orvlog: Invalid error code returned.\n");
  }
  return static_cast<int>(log.number());
}

int view_entire_log(char c, uint32_t offset) {
  EventReader log(offset);
  if (!is_ready(log)) {
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
  EventReader::Answer answer = log.next();
  for (; answer == EventReader::Answer::kEntry; answer = log.next()) {
    if (!headerprinted) {
      print_out("\nID   Severity       Initial Time      Update Time       Count\n");
      print_out("-------------------------------------------------------------\n");
      headerprinted = true;
    }
    if (!print_entry(log.record())) {
      break;
    }
  }
  if (answer == EventReader::Answer::kInvalidCode) {
    print_err("orvlog: Invalid error code returned.\n");
  } else if (answer == EventReader::Answer::kDoesNotAdvance) {
    print_err("orvlog: The IML does not advance past entry %u.\n", log.number());
  }
  if (log.number() == 0 && !headerprinted) {
    print_out("orvlog: The IML Log is empty.\n");
  }
  return 1;
}
