#include "imlog/entry.h"

#include <syslog.h>

unsigned syslog_priority(SeverityRank severity) {
  switch (severity) {
    case kInformation: return LOG_INFO;
    case kCaution: return LOG_WARNING;
    case kCritical: return LOG_CRIT;
    default: return LOG_NOTICE;
  }
}

const char *change_word(Change change) {
  return change == Change::kNew ? "new" : "repeated";
}
