#include "imlog/filter.h"

#include <algorithm>

bool Filter::passes(const EVT_LOG_ENTRY &record, Calendar &calendar) const {
  const EVT_HEADER &header = record.Hdr;
  const uint16_t event_class = header.wClass;  // a field of a packed record has no address to hand out
  if (severity_rank(header.bSeverity) < least_severity) {
    return false;
  }
  if (!classes.empty() && std::find(classes.begin(), classes.end(), event_class) == classes.end()) {
    return false;
  }
  if (!since && !until) {
    return true;
  }
  const LogTime last = calendar.at(header.UpdateTime);
  return !last.is_valid || ((!since || last.instant >= *since) && (!until || last.instant <= *until));
}
