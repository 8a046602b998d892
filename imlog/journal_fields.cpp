#include "imlog/journal_fields.h"

#include "iml/class_names.h"
#include "imlog/time_text.h"

namespace {

// The same for every entry: it finds the log in a journal.
constexpr std::string_view kMessageId = "8c87242ae2964fe8ae541ffa16b208f2";

void put_time(std::string_view name, const LogTime &time, bool in_utc, Output &output) {
  if (time.is_valid) {
    put_field(name, ZonedText(time, in_utc).view(), output);
  }
}

void put_unix_time(std::string_view name, const LogTime &time, Output &output) {
  if (time.is_valid) {
    put_field(name, std::to_string(time.instant), output);
  }
}

}  // namespace

void put_field(std::string_view name, std::string_view value, Output &output) {
  output.put(name);
  output.put(value);
  output.put('\n');
}

void put_field(std::string_view name, uint64_t value, Output &output) {
  output.put(name);
  output.put_number(value);
  output.put('\n');
}

void put_entry_fields(const Entry &entry, bool in_utc, std::string_view host_name,
                      std::optional<std::string_view> host, Output &output) {
  const EVT_HEADER &header = entry.record.Hdr;
  put_field("MESSAGE_ID=", kMessageId, output);
  put_field("PRIORITY=", syslog_priority(entry.severity), output);
  put_field("SYSLOG_IDENTIFIER=", "imlog", output);
  if (host) {
    put_field(host_name, *host, output);
  }
  put_field("IML_NUMBER=", header.dwEvtNumber, output);
  put_field("IML_SEVERITY=", kSeverityNames[entry.severity].in_fields, output);
  put_field("IML_SEVERITY_CODE=", header.bSeverity, output);
  put_field("IML_CLASS=", header.wClass, output);
  put_field("IML_CODE=", header.wCode, output);
  put_field("IML_COUNT=", header.dwCount, output);
  put_time("IML_FIRST=", entry.first, in_utc, output);
  put_time("IML_LAST=", entry.last, in_utc, output);
  put_field("IML_CLASS_NAME=", iml::class_name(header.wClass), output);
  put_field("IML_KNOWN=", entry.is_known ? 1 : 0, output);
  put_unix_time("IML_FIRST_UNIX=", entry.first, output);
  put_unix_time("IML_LAST_UNIX=", entry.last, output);
  if (entry.change != Change::kNone) {
    put_field("IML_CHANGE=", change_word(entry.change), output);
  }
}
