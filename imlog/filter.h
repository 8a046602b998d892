// Which entries are wanted. An entry has to meet all conditions.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imlog/entry.h"

// A class of events, or one code of it.
struct ClassSelector {
  [[nodiscard]] bool matches(const EVT_HEADER &header) const;

  std::optional<uint16_t> event_class;  // none: every class without a name
  std::optional<uint16_t> code;         // none: every code
};

struct Filter {
  [[nodiscard]] bool passes(const EVT_LOG_ENTRY &record, Calendar &calendar) const;

  SeverityRank least_severity = kInformation;  // an unknown severity always passes
  // Bounds of the last update, both included. An entry without a valid time passes.
  std::optional<int64_t> since;
  std::optional<int64_t> until;
  std::vector<ClassSelector> classes;   // alternatives; empty: every class
  std::vector<ClassSelector> excluded;  // none of these
};
