#include "imlog/filter.h"

#include <algorithm>

#include "iml/class_names.h"

bool ClassSelector::matches(const EVT_HEADER &header) const {
  if (code && *code != header.wCode) {
    return false;
  }
  return event_class ? *event_class == header.wClass : iml::class_name(header.wClass, nullptr) == nullptr;
}

bool Filter::passes(const EVT_LOG_ENTRY &record, Calendar &calendar) const {
  const EVT_HEADER &header = record.Hdr;
  if (severity_rank(header.bSeverity) < least_severity) {
    return false;
  }
  const auto matches = [&](const ClassSelector &selector) { return selector.matches(header); };
  if ((!classes.empty() && std::none_of(classes.begin(), classes.end(), matches)) ||
      std::any_of(excluded.begin(), excluded.end(), matches)) {
    return false;
  }
  if (!since && !until) {
    return true;
  }
  const LogTime last = calendar.at(header.UpdateTime);
  return !last.is_valid || ((!since || last.instant >= *since) && (!until || last.instant <= *until));
}
