#include "imlog/filter.h"

#include <algorithm>

#include "iml/class_names.h"

namespace {

bool any_matches(const std::vector<ClassSelector> &selectors, const EVT_HEADER &header) {
  return std::any_of(selectors.begin(), selectors.end(),
                     [&](const ClassSelector &selector) { return selector.matches(header); });
}

}  // namespace

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
  if ((!classes.empty() && !any_matches(classes, header)) || any_matches(excluded, header)) {
    return false;
  }
  if (!since && !until) {
    return true;
  }
  const LogTime last = calendar.at(header.UpdateTime);
  return !last.is_valid || ((!since || last.instant >= *since) && (!until || last.instant <= *until));
}
