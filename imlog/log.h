// A log to read: where it is, and the host that it came from.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Log {
  const char *path = nullptr;       // a file, or "-" for standard input; null for the live log
  std::optional<std::string> host;  // may hold any bytes
};

// The host that a FILE came from: its name without directories and without ".iml" at the end. The names of
// standard input, of devices and of files in /proc say nothing about a host.
std::optional<std::string> host_of_file(std::string_view path);

// The name of this machine; nothing if it cannot be read.
std::optional<std::string> host_of_machine();
