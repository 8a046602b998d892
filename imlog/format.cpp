#include "imlog/format.h"

void put_minute(const LogTime &time, Output &output) {
  if (time.is_valid) {
    const MinuteText text(time.stamp);
    output.put(std::string_view(text.text, sizeof(text.text)));
  } else {
    output.put("----------------");
  }
}

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
