// The journal's export format, for systemd-journal-remote.
#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "imlog/format.h"
#include "imlog/journal_fields.h"
#include "imlog/text.h"
#include "util/hash.h"

namespace {

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
  using Format::Format;

  void print_entry(const Entry &entry, Output &output) override {
    if (entries_ == 0) {
      boot_id_ = boot_id(entry);
    }
    std::optional<std::string_view> host;
    if (entry.log.host) {
      host = host_cleaner_.clean(*entry.log.host);
    }
    put_field("__REALTIME_TIMESTAMP=", journal_time(entry.first, entry.last), output);
    put_field("__MONOTONIC_TIMESTAMP=", ++entries_, output);
    put_field("_BOOT_ID=", boot_id_, output);
    put_field("MESSAGE=", cleaner_.clean(entry.message), output);
    put_entry_fields(entry, context_.in_utc, "_HOSTNAME=", host, output);
    output.put('\n');
  }

 private:
  TextCleaner cleaner_{Controls::kBlank, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
  std::string boot_id_;
  uint64_t entries_ = 0;
};

}  // namespace

const FormatRow kExportFormat = {
    .name = "export",
    .make = make_format<ExportFormat>,
    .traits = kFollows | kRemembers | kMerges | kHasTimes,
    .sort_key = journal_time,
};
