// The output formats. Each gets the same decoded entries and only formats them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "imlog/entry.h"
#include "imlog/exit_status.h"
#include "imlog/log.h"
#include "imlog/output.h"
#include "imlog/problem.h"

// What a format needs to know about the run.
struct FormatContext {
  bool level_prefix = false;
  std::span<const Log> logs;  // all that are read; more than one are merged
};

// How the reading ended.
struct Reading {
  Problem problem;       // not set when the log was read to its end
  uint64_t records = 0;  // read, whether or not they were wanted
};

class Format {
 public:
  virtual ~Format() = default;

  virtual void print_entry(const Entry &entry, Output &output) = 0;

  // Called once for each printed entry that no maintenance note has closed.
  virtual void count_unserviced(const EVT_HEADER & /*header*/) {}

  // Ends the output. Returns the exit status of a reading without a problem.
  virtual int finish(const Reading & /*reading*/, Output & /*output*/) {
    return kSuccess;
  }
};

// What a format has to do with the rest of the command line.
enum FormatTraits : unsigned {
  kFollows = 1,            // has lines that can go on, for --follow
  kLevels = 2,             // has lines that can begin with a level, for --level-prefix
  kWholeLog = 4,           // is about the whole log: a cursor would hide what is still broken
  kForMonitors = 8,        // puts problems into its output, and none on standard error
  kReverses = 16,          // has lines that make sense in any order, for --reverse
  kMerges = 32,            // says of each entry which log it is from, for several FILEs
  kCountsUnserviced = 64,  // needs count_unserviced()
};

struct FormatRow {
  const char *name;
  std::unique_ptr<Format> (*make)(const FormatContext &context);
  unsigned traits;
  // The order of the entries, smallest first; null for the log's. It needs all entries before the first is
  // put.
  uint64_t (*sort_key)(const LogTime &first, const LogTime &last);
};

// One row a format: each is defined in the format's own file.
#define IMLOG_FORMATS(ROW) ROW(Short) ROW(Json) ROW(Export) ROW(Raw) ROW(Prometheus) ROW(Check)

#define IMLOG_DECLARE_FORMAT(name) extern const FormatRow k##name##Format;
IMLOG_FORMATS(IMLOG_DECLARE_FORMAT)
#undef IMLOG_DECLARE_FORMAT

// The level prefix of a line, "<4>".
void put_level_prefix(const Severity &severity, Output &output);

// The format of a name, or null.
const FormatRow *find_format(std::string_view name);
