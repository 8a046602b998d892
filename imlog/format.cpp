#include "imlog/format.h"

void put_level_prefix(SeverityRank severity, Output &output) {
  output.put('<');
  output.put_number(syslog_priority(severity));
  output.put('>');
}

const FormatRow *find_format(std::string_view name) {
  for (const FormatRow *const format : kFormats) {
    if (format->name == name) {
      return format;
    }
  }
  return nullptr;
}
