// The output formats. Each gets the same decoded entries, and only formats them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "imlog/entry.h"
#include "imlog/exit_status.h"
#include "imlog/log.h"
#include "imlog/output.h"
#include "imlog/problem.h"

// The options of the run that formats know.
struct FormatContext {
  bool level_prefix = false;
  bool in_utc = false;     // times are printed in UTC
  bool has_color = false;  // lines for a terminal that shows colors
  std::vector<Log> logs;   // the FILEs that are read, or the live log; a directory stands for several
  Problem zone_problem;    // set if TZ names no known zone

  // True when the logs may be more than one.
  [[nodiscard]] bool is_merged() const {
    return logs.size() > 1 || (!logs.empty() && logs[0].is_directory);
  }
};

// The end of a reading.
struct Reading {
  Problem problem;       // of the first log that was not read to its end; not set where there is none
  uint64_t records = 0;  // read, whether or not they were wanted
  size_t logs = 0;       // as found, those of directories among them
  size_t unread = 0;     // logs that were not read to their end
};

class Format {
 public:
  // `context` outlives this object.
  explicit Format(const FormatContext &context) : context_(context) {}
  virtual ~Format() = default;

  virtual void print_entry(const Entry &entry, Output &output) = 0;

  // Called once for each printed entry that no maintenance note has closed.
  virtual void count_unserviced(const EVT_HEADER & /*header*/) {}

  // Called at the end of a log where the clock was set back; entry `number` is the last that shows it.
  virtual void report_clock_set_back(const Log & /*log*/, uint32_t /*number*/) {}

  // Ends the output. Returns the exit status.
  virtual int finish(const Reading &reading, Output & /*output*/) {
    return reading.problem.is_set() ? kFailure : kSuccess;
  }

 protected:
  const FormatContext &context_;
};

// Abilities of a format. An option that only some formats have names the trait that it needs.
enum FormatTraits : unsigned {
  kFollows = 1,            // prints entry by entry without an end, for --follow
  kLevels = 2,             // prints lines that can begin with a level, for --level-prefix
  kRemembers = 4,          // may leave out what it printed before, for --cursor-file
  kForMonitors = 8,        // prints problems in its output, and none on standard error
  kReverses = 16,          // prints lines that make sense in any order, for --reverse
  kMerges = 32,            // says of each entry which log it is from, for several FILEs
  kCountsUnserviced = 64,  // needs count_unserviced()
  kHasTimes = 128,         // prints the times of an entry, for --utc
  kByUpdate = 256,         // gets the entries of one log in the order of several
};

struct FormatRow {
  const char *name;
  std::unique_ptr<Format> (*make)(const FormatContext &context);
  unsigned traits = 0;
  // The order of the entries, smallest first; null for that of the listing. The entries of a format with a
  // key are held until the whole log is read.
  uint64_t (*sort_key)(const LogTime &first, const LogTime &last) = nullptr;
  std::unique_ptr<Output> (*make_output)() = nullptr;  // where the entries go; null for standard output
};

// The `make` of a row whose format is of class `Kind`.
template <class Kind>
std::unique_ptr<Format> make_format(const FormatContext &context) {
  return std::make_unique<Kind>(context);
}

// The rows, each at the end of its format's file, and their list in the order of the help. The first is the
// default.
extern const FormatRow kShortFormat, kJsonFormat, kExportFormat, kJournalFormat, kRawFormat,
    kPrometheusFormat, kCheckFormat;
inline constexpr const FormatRow *kFormats[] = {&kShortFormat,   &kJsonFormat, &kExportFormat,
                                                &kJournalFormat, &kRawFormat,  &kPrometheusFormat,
                                                &kCheckFormat};
