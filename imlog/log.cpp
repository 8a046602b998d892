#include "imlog/log.h"

#include <unistd.h>

namespace {

bool begins_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

}  // namespace

std::optional<std::string> host_of_file(std::string_view path) {
  if (path == "-" || begins_with(path, "/dev/") || begins_with(path, "/proc/")) {
    return std::nullopt;
  }
  static constexpr std::string_view kSuffix = ".iml";
  std::string_view name = path.substr(path.rfind('/') + 1);  // the whole path if there is no slash
  if (name.size() > kSuffix.size() && name.substr(name.size() - kSuffix.size()) == kSuffix) {
    name.remove_suffix(kSuffix.size());
  }
  return name.empty() ? std::nullopt : std::optional<std::string>(name);
}

std::optional<std::string> host_of_machine() {
  char name[256] = "";
  return gethostname(name, sizeof(name) - 1) == 0 ? std::optional<std::string>(name) : std::nullopt;
}
