#include "orvlog/notes.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "driver/channel.h"
#include "orvlog/orvlog.h"
#include "orvlog/output.h"
#include "util/ownership.h"

namespace {

// The header, the terminator after the note, and one byte more that the driver expects.
constexpr size_t kRecordOverhead = sizeof(EVT_HEADER) + 2;

}  // namespace

int set_severity(char *Severity) {
  static constexpr struct {
    const char *word;
    int code;
  } kSeverities[] = {
      {"info", IML_SEVERITY_INFORMATIONAL},
      {"repaired", IML_SEVERITY_REPAIRED},
      {"caution", IML_SEVERITY_CAUTION},
      {"critical", IML_SEVERITY_CRITICAL},
  };
  for (char *c = Severity; *c != '\0'; ++c) {
    *c = static_cast<char>(tolower(static_cast<unsigned char>(*c)));
  }
  for (const auto &severity : kSeverities) {
    if (strcmp(Severity, severity.word) == 0) {
      return severity.code;
    }
  }
  return kNoSeverity;
}

int16_t asterisk_found(const char *str) {
  if (strchr(str, '*') == nullptr) {
    return 0;
  }
  print_err("orvlog: Please avoid using the '*' character in your maintenance notes.\n");
  return 1;
}

int log_maintenance_note(const char *str, int severity) {
  Channel node(kNodeEvents, kOpenRead);
  if (!node.is_open()) {
    report_closed_event_node();
    return 0;
  }
  const size_t length = strlen(str);
  const Allocated<char> buffer(static_cast<char *>(calloc(1, length + sizeof(_ioctlEntry) + 1)));
  if (buffer == nullptr) {
    node.close();
    report_no_memory();
    return 0;
  }
  auto *const request = reinterpret_cast<PEVT_IOCTL_ENTRY>(buffer.get());
  const auto record_length = static_cast<uint16_t>(length + kRecordOverhead);
  request->info.length = record_length + static_cast<uint32_t>(sizeof(LOG_INFO));
  request->info.choice = kChoiceAdd;
  EVT_HEADER &header = request->Evt.Hdr;
  header.wEvtLength = record_length;
  header.bSeverity = static_cast<uint8_t>(severity);
  header.wClass = IML_CLASS_MAINTENANCE;
  header.wCode = IML_MAINTENANCE_NOTE;
  header.dwCount = 1;
  memcpy(buffer.get() + offsetof(_ioctlEntry, Evt.Data), str, length + 1);
  if (node.request(kRequestEventEntry, request, sizeof(*request)) == -1) {
    print_err("orvlog: Adding Maintenance Note failed: err=%dh.\n", errno);
  }
  return 1;
}
