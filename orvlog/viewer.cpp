#include "orvlog/viewer.h"

#include <cstring>

#include "driver/event_reader.h"
#include "iml/event_text.h"
#include "iml/eventstr.h"
#include "iml/severities.h"
#include "orvlog/output.h"

namespace {

constexpr uint32_t kDescriptionSize = 256;
constexpr size_t kEntrySize = 512;  // the longest numbers and text take less

// The most numbers that a count asks for. Without a limit, a log without end would be counted forever.
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

// Writes an entry: its line, its text, an empty line. Returns whether standard output still takes what is
// written.
bool print_entry(const EVT_LOG_ENTRY &record) {
  char text[kDescriptionSize];
  TranslateEventLogMessage(&record, text, sizeof(text));
  // Text from firmware must neither control a terminal nor leave half a multi-byte character there.
  const size_t length = strlen(text);
  for (size_t i = 0; i < length; ++i) {
    text[i] = text[i] < ' ' ? ' ' : text[i];
  }
  const EVT_HEADER &header = record.Hdr;
  const EVT_TIME_STAMP &first = header.InitTime;
  const EVT_TIME_STAMP &last = header.UpdateTime;
  iml::OwnText<kEntrySize> entry;
  entry.format("%.4d %-14s %02u:%02u  %02u/%02u/%02u%02u %02u:%02u  %02u/%02u/%02u%02u %.4d\nLOG: %s\n\n",
               static_cast<int32_t>(header.dwEvtNumber), GetSeverity(header.bSeverity), first.bHour,
               first.bMinute, first.bMonth, first.bDay, first.bCentury, first.bYear, last.bHour, last.bMinute,
               last.bMonth, last.bDay, last.bCentury, last.bYear, static_cast<int32_t>(header.dwCount), text);
  return write_out(entry.view());
}

}  // namespace

const char *GetSeverity(uint8_t b_Severity) {
  return iml::kSeverityNames[iml::severity_rank(b_Severity)].in_listing;
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
