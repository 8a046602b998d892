// The severities of events: their codes, their order and their words. Whatever prints a severity takes its
// word from here.
#pragma once

#include <cstdint>

#include "iml/iml_record.h"

namespace iml {

// In rising order. The last is the rank of all codes that have no name.
enum SeverityRank { kInformation, kRepaired, kCaution, kCritical, kUnknown, kSeverities };

struct SeverityNames {
  const char *in_listing;  // of orvlog and imlog
  const char *in_library;  // TranslateEventLogSeverity
  const char *in_fields;   // of imlog's other formats, and on its command line
};

inline constexpr SeverityNames kSeverityNames[kSeverities] = {
    {"Information", "Informational", "information"},
    {"Repaired", "Repaired", "repaired"},
    {"Caution", "Caution", "caution"},
    {"Critical", "Critical", "critical"},
    {"Unknown", "Unknown", "unknown"},
};

// The rank of a record's severity code.
constexpr SeverityRank severity_rank(uint8_t code) {
  switch (code) {
    case IML_SEVERITY_INFORMATIONAL:
    case IML_SEVERITY_INFORMATIONAL_ALTERNATE: return kInformation;
    case IML_SEVERITY_REPAIRED: return kRepaired;
    case IML_SEVERITY_CAUTION: return kCaution;
    case IML_SEVERITY_CRITICAL: return kCritical;
    default: return kUnknown;
  }
}

}  // namespace iml
