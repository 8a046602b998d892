// A log to read: where it is, and the host that it came from.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "imlog/problem.h"

struct Log {
  std::optional<std::string> path = {};  // a file, a directory of logs, or "-" for standard input; none: live
  std::optional<std::string> host = {};  // may hold any bytes
  bool is_directory = false;
};

// The log, or the directory of logs, that a FILE of the command line names.
Log name_log(const char *path);

// The name of this machine; nothing if it cannot be read.
std::optional<std::string> host_of_machine();

// Calls `visit` for the log, or for each log in a directory: its "*.iml" but hidden ones, in the order of
// their names. Holds few names at a time, whatever the directory has. The result is set if it has no log, or
// could not be read to its end.
Problem visit_logs(const Log &log, const std::function<void(const Log &)> &visit);
