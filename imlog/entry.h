// One decoded entry of the log: the input of every output format.
#pragma once

#include <string_view>

#include "iml/iml_record.h"
#include "iml/severities.h"
#include "imlog/calendar.h"
#include "imlog/log.h"

// The unknown severity is the last rank, so that it passes every filter.
using iml::kCaution;
using iml::kCritical;
using iml::kInformation;
using iml::kRepaired;
using iml::kSeverities;
using iml::kSeverityNames;
using iml::kUnknown;
using iml::severity_rank;
using iml::SeverityRank;

// The priority of a severity in syslog and in the journal.
unsigned syslog_priority(SeverityRank severity);

// The difference from the last reading; kNone if no reading is remembered.
enum class Change { kNone, kNew, kRepeated, kUnchanged };

// The word for a new or a repeated entry.
const char *change_word(Change change);

// Valid while it is printed.
struct Entry {
  const EVT_LOG_ENTRY &record;
  const Log &log;
  SeverityRank severity;
  LogTime first;
  LogTime last;
  bool is_known;             // the event has a text of its own
  std::string_view message;  // in full; may hold any bytes
  Change change;
};
