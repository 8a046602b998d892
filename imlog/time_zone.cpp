#include "imlog/time_zone.h"

#include <cstdlib>
#include <fcntl.h>
#include <regex.h>
#include <string>
#include <string_view>

#include "util/file.h"
#include "util/ownership.h"

namespace {

// A rule of POSIX, such as CET-1CEST,M3.5.0,M10.5.0/3, which needs no file.
#define NAME "([A-Za-z]{3,}|<[A-Za-z0-9+-]{3,}>)"
#define OFFSET "[+-]?([01]?[0-9]|2[0-4])(:[0-5]?[0-9]){0,2}"
#define CHANGE "(J?[0-9]{1,3}|M(1[0-2]|0?[1-9])\\.[1-5]\\.[0-6])(/[+-]?[0-9]{1,3}(:[0-5]?[0-9]){0,2})?"
constexpr char kRule[] = "^" NAME OFFSET "(" NAME "(" OFFSET ")?(," CHANGE "," CHANGE ")?)?$";
#undef NAME
#undef OFFSET
#undef CHANGE

bool is_rule(const char *zone) {
  regex_t rule;
  if (regcomp(&rule, kRule, REG_EXTENDED | REG_NOSUB) != 0) {
    return true;  // out of memory: nothing is known against the zone
  }
  const bool matches = regexec(&rule, zone, 0, nullptr, 0) == 0;
  regfree(&rule);
  return matches;
}

bool is_zone_file(const std::string &path) {
  constexpr std::string_view kMagic = "TZif";
  char start[kMagic.size()];
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  const ssize_t length = file.is_open() ? read_at(file.fd(), start, sizeof(start), 0) : 0;
  return length == static_cast<ssize_t>(kMagic.size()) && kMagic == std::string_view(start, kMagic.size());
}

bool has_zone_file(const std::string &zone) {
  if (zone[0] == '/') {
    return is_zone_file(zone);
  }
  const char *const directory = getenv("TZDIR");
  const bool is_named = directory != nullptr && directory[0] != '\0';
  return is_zone_file((is_named ? directory : "/usr/share/zoneinfo") + ("/" + zone));
}

}  // namespace

Problem check_time_zone() {
  const char *const value = getenv("TZ");
  if (value == nullptr || value[0] == '\0') {
    return {};
  }
  const std::string zone = value + (value[0] == ':' ? 1 : 0);
  if (zone == "UTC" || zone == "GMT" || is_rule(zone.c_str()) || has_zone_file(zone)) {
    return {};
  }
  return Problem("TZ is unknown, and times are read as UTC")
      .advise("set '%s' to a zone such as Europe/Berlin, or install the package with its file", value);
}
