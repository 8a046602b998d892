#include "orvlog/viewer.h"

#include <cstring>
#include <string_view>

#include "driver/event_reader.h"
#include "iml/digits.h"
#include "iml/eventstr.h"
#include "iml/severities.h"
#include "orvlog/output.h"
#include "util/printable.h"

namespace {

constexpr uint32_t kDescriptionSize = 256;
constexpr size_t kSeverityWidth = 14;
constexpr size_t kNumberSize = 11;  // -2147483648
constexpr size_t kTimeSize = 23;    // of numbers of three digits: "255:255  255/255/255255"
constexpr size_t kEntrySize = 512;
static_assert(kEntrySize >= 2 * (kNumberSize + 1) + kSeverityWidth + 1 + 2 * (kTimeSize + 1) +
                                sizeof("LOG: ") - 1 + kDescriptionSize + sizeof("\n\n") - 1);

// A driver that names no end of the log is asked for no more numbers when they are counted.
constexpr int kLongestCount = 1'000'000;

// Reports why the log could not be opened. Returns whether it is ready to be read.
bool is_ready(const EventReader &log) {
  switch (log.opening()) {
    case EventReader::Opening::kReady: return true;
    case EventReader::Opening::kCannotOpen: report_closed_event_node(); break;
    case EventReader::Opening::kNoMemory: report_no_memory(); break;
  }
  return false;
}

void report_invalid_code() {
  print_err("orvlog: Invalid error code returned.\n");
}

// Replaces control characters and bytes above 0x7F by blanks: text from firmware must neither control a
// terminal nor leave half a multi-byte character there.
void blank_unprintable(char *text, size_t length) {
  char *const end = text + length;
  for (;;) {
    text += printable_length({text, static_cast<size_t>(end - text)});
    if (text == end) {
      return;
    }
    if (*text != '\x7F') {
      *text = ' ';
    }
    ++text;
  }
}

// The functions below write at `to` and return the end of what they have written.

char *write_text(char *to, std::string_view text) {
  memcpy(to, text.data(), text.size());
  return to + text.size();
}

char *write_number(char *to, uint32_t number) {  // as %.4d
  const bool negative = static_cast<int32_t>(number) < 0;
  if (negative) {
    *to++ = '-';
  }
  return iml::write_decimal(to, negative ? 0U - number : number, 4);
}

char *write_time(char *to, const EVT_TIME_STAMP &time) {
  to = iml::write_two_digits(to, time.bHour);
  *to++ = ':';
  to = iml::write_two_digits(to, time.bMinute);
  to = write_text(to, "  ");
  to = iml::write_two_digits(to, time.bMonth);
  *to++ = '/';
  to = iml::write_two_digits(to, time.bDay);
  *to++ = '/';
  to = iml::write_two_digits(to, time.bCentury);
  return iml::write_two_digits(to, time.bYear);
}

char *write_description(char *to, const EVT_LOG_ENTRY &record) {
  TranslateEventLogMessage(&record, to, kDescriptionSize);
  const size_t length = strlen(to);
  blank_unprintable(to, length);
  return to + length;
}

// Returns whether standard output still takes what is written.
bool print_entry(const EVT_LOG_ENTRY &record) {
  const EVT_HEADER &header = record.Hdr;
  char line[kEntrySize];
  char *end = write_number(line, header.dwEvtNumber);
  *end++ = ' ';
  memset(end, ' ', kSeverityWidth + 1);
  write_text(end, GetSeverity(header.bSeverity));
  end += kSeverityWidth + 1;
  end = write_time(end, header.InitTime);
  *end++ = ' ';
  end = write_time(end, header.UpdateTime);
  *end++ = ' ';
  end = write_number(end, header.dwCount);
  end = write_text(end, "\nLOG: ");
  end = write_description(end, record);
  end = write_text(end, "\n\n");
  return write_out({line, static_cast<size_t>(end - line)});
}

}  // namespace

const char *GetSeverity(uint8_t b_Severity) {
  return iml::kSeverityNames[iml::severity_rank(b_Severity)].word;
}

int GetTotalIMLEntries() {
  EventReader log(0);
  if (!is_ready(log)) {
    return 0;
  }
  for (int number = 0; number < kLongestCount; ++number) {
    const int status = log.ask(static_cast<uint32_t>(number));
    if (status == kEventEndOfLog) {
      return number;
    }
    if (status != kEventRead && status != kEventNoEntry) {
      report_invalid_code();
      return number;
    }
  }
  return 0;
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
    report_invalid_code();
  } else if (answer == EventReader::Answer::kDoesNotAdvance) {
    print_err("orvlog: The IML does not advance past entry %u.\n", log.number());
  }
  if (log.number() == 0 && !headerprinted) {
    print_out("orvlog: The IML Log is empty.\n");
  }
  return 1;
}
