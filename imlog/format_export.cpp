// The journal's export format, for systemd-journal-remote.
#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "imlog/format.h"
#include "imlog/text.h"

namespace {

// Of every entry of the log, whatever the event.
constexpr char kMessageId[] = "8c87242ae2964fe8ae541ffa16b208f2";

// The journal assumes that the times of one boot are in order, and each run counts from 1: so each is a boot
// of its own, identified by the host, its first entry and the time of the run.
std::string boot_id(const Entry &first_entry) {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  uint64_t hash = hash_bytes(first_entry.log.host.value_or(""));
  hash = hash_bytes({reinterpret_cast<const char *>(&first_entry.record), sizeof(EVT_LOG_ENTRY)}, hash);
  hash = hash_bytes({reinterpret_cast<const char *>(&now), sizeof(now)}, hash);
  char id[33];
  snprintf(id, sizeof(id), "%016" PRIx64 "%016" PRIx64, hash, hash_bytes("boot", hash));
  return id;
}

// Microseconds since 1970: the last update, or the first occurrence, or 1. The importer stops at a time that
// is 0 or needs more than 55 bits.
uint64_t journal_time(const LogTime &first, const LogTime &last) {
  constexpr int64_t kMicroseconds = 1'000'000;
  constexpr int64_t kEnd = int64_t{1} << 55;
  for (const LogTime *const time : {&last, &first}) {
    if (time->is_valid && time->instant > 0 && time->instant <= (kEnd - 1) / kMicroseconds) {
      return static_cast<uint64_t>(time->instant * kMicroseconds);
    }
  }
  return 1;
}

class ExportFormat : public Format {
 public:
  // No value has a line break, so none needs the format's binary form.
  void print_entry(const Entry &entry, Output &output) override {
    if (entries_ == 0) {
      boot_id_ = boot_id(entry);
    }
    const EVT_HEADER &header = entry.record.Hdr;
    const Severity &severity = kSeverityTable[entry.severity];
    put_number("__REALTIME_TIMESTAMP=", journal_time(entry.first, entry.last), output);
    put_number("__MONOTONIC_TIMESTAMP=", ++entries_, output);
    put_text("_BOOT_ID=", boot_id_, output);
    put_text("MESSAGE=", cleaner_.clean(entry.message), output);
    put_text("MESSAGE_ID=", kMessageId, output);
    put_text("PRIORITY=", {&severity.priority, 1}, output);
    put_text("SYSLOG_IDENTIFIER=", "imlog", output);
    if (entry.log.host) {
      put_text("_HOSTNAME=", host_cleaner_.clean(*entry.log.host), output);
    }
    put_number("IML_NUMBER=", header.dwEvtNumber, output);
    put_text("IML_SEVERITY=", severity.name, output);
    put_number("IML_CLASS=", header.wClass, output);
    put_number("IML_CODE=", header.wCode, output);
    put_number("IML_COUNT=", header.dwCount, output);
    put_time("IML_FIRST=", entry.first, output);
    put_time("IML_LAST=", entry.last, output);
    output.put('\n');
  }

 private:
  static void put_text(std::string_view field, std::string_view text, Output &output) {
    output.put(field);
    output.put(text);
    output.put('\n');
  }
  static void put_number(std::string_view field, uint64_t number, Output &output) {
    output.put(field);
    output.put_number(number);
    output.put('\n');
  }
  static void put_time(std::string_view field, const LogTime &time, Output &output) {
    if (time.is_valid) {
      const ZonedText text(time);
      put_text(field, {text.text, sizeof(text.text)}, output);
    }
  }

  TextCleaner cleaner_{Controls::kBlank, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
  std::string boot_id_;
  uint64_t entries_ = 0;
};

}  // namespace

const FormatRow kExportFormat = {
    "export",
    "the journal's export format",
    [](const FormatContext &) -> std::unique_ptr<Format> { return std::make_unique<ExportFormat>(); },
    kFollows | kRemembers | kMerges,
    journal_time,
};
