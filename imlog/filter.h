// Which entries are wanted. All conditions have to hold.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imlog/entry.h"

struct Filter {
  [[nodiscard]] bool passes(const EVT_LOG_ENTRY &record, Calendar &calendar) const;

  SeverityRank least_severity = kInformation;  // an unknown severity always passes
  std::optional<int64_t> since,
      until;                      // of the last update, both included; without a valid time an entry passes
  std::vector<uint16_t> classes;  // alternatives; none: every class
};
