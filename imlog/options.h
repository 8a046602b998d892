// The command line.
#pragma once

#include <cstdint>
#include <vector>

#include "imlog/format.h"
#include "imlog/listing.h"
#include "imlog/log_time.h"
#include "imlog/problem.h"

struct Options {
  enum class Action { kRead, kHelp, kVersion };

  Action action = Action::kRead;
  const FormatRow *format = &kShortFormat;
  Selection selection;
  const char *cursor_file = nullptr;
  bool follow = false;
  bool level_prefix = false;
  const char *host = nullptr;  // of the only FILE
  std::vector<Log> logs;       // one at least
};

// Reads the command line. Where it is wrong, the result says how, and `options.format` is kCheckFormat if
// "-o check" stands anywhere on it. `now` is what a time such as "-7d" is counted from.
Problem parse_options(int argc, char **argv, Calendar &calendar, int64_t now, Options &options);
