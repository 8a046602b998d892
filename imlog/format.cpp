#include "imlog/format.h"

void put_level_prefix(const Severity &severity, Output &output) {
  output.put('<');
  output.put(severity.priority);
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
