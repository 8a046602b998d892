// A log to read: where it is, and the host that it came from.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Log {
  const char *path = nullptr;       // a file, or "-" for standard input; null for the live log
  std::optional<std::string> host;  // its bytes may be any
};

// The host that a FILE came from, by its name: without folders and without ".iml" at the end. Standard input,
// devices and what is open in a process have names that say nothing of a host.
std::optional<std::string> host_of_file(std::string_view path);

// The name of this machine; none where it cannot be had.
std::optional<std::string> host_of_machine();
