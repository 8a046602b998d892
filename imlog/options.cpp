#include "imlog/options.h"

#include <charconv>
#include <cstring>
#include <getopt.h>
#include <map>
#include <strings.h>

#include "iml/eventstr.h"

namespace {

// Long options without a letter.
enum LongOption { kCursorFile = 0x100, kLevelPrefix, kHost, kVersion };

constexpr char kLetters[] = ":o:p:S:U:c:n:urfh";
const option kLongOptions[] = {
    {"output", required_argument, nullptr, 'o'},
    {"priority", required_argument, nullptr, 'p'},
    {"since", required_argument, nullptr, 'S'},
    {"until", required_argument, nullptr, 'U'},
    {"class", required_argument, nullptr, 'c'},
    {"lines", required_argument, nullptr, 'n'},
    {"unserviced", no_argument, nullptr, 'u'},
    {"reverse", no_argument, nullptr, 'r'},
    {"cursor-file", required_argument, nullptr, kCursorFile},
    {"follow", no_argument, nullptr, 'f'},
    {"level-prefix", no_argument, nullptr, kLevelPrefix},
    {"host", required_argument, nullptr, kHost},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

// Reads a whole number of at most `most`: decimal, or with "0x" where `hexadecimal` allows it.
std::optional<uint64_t> parse_number(std::string_view text, uint64_t most, bool hexadecimal) {
  const bool has_prefix = hexadecimal && (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X");
  text.remove_prefix(has_prefix ? 2 : 0);
  uint64_t number = 0;
  const char *const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number, has_prefix ? 16 : 10);
  if (error != std::errc() || next != end || number > most) {
    return std::nullopt;
  }
  return number;
}

std::optional<SeverityRank> parse_severity(const char *text) {
  for (int rank = kInformation; rank <= kCritical; ++rank) {
    if (strcasecmp(kSeverityTable[rank].name, text) == 0) {
      return static_cast<SeverityRank>(rank);
    }
  }
  return std::nullopt;
}

std::optional<uint16_t> parse_class(const char *text) {
  if (const std::optional<uint64_t> number = parse_number(text, UINT16_MAX, true)) {
    return static_cast<uint16_t>(*number);
  }
  for (uint32_t event_class = 0; event_class <= UINT16_MAX; ++event_class) {
    char name[64];
    if (TranslateEventLogClass(static_cast<uint16_t>(event_class), name, sizeof(name)) != 0 &&
        strcasecmp(name, text) == 0) {
      return static_cast<uint16_t>(event_class);
    }
  }
  return std::nullopt;
}

// The name of a long option by what getopt_long returns for it; null for none.
const char *option_name(int value) {
  for (const option &known : kLongOptions) {
    if (known.name != nullptr && known.val == value) {
      return known.name;
    }
  }
  return nullptr;
}

// True when more than one long option begins as `word` does.
bool is_ambiguous(std::string_view word) {
  const std::string_view start = word.substr(2, word.find('=') - 2);
  int matches = 0;
  for (const option &known : kLongOptions) {
    matches += known.name != nullptr && std::string_view(known.name).substr(0, start.size()) == start ? 1 : 0;
  }
  return matches > 1;
}

// What getopt_long has found wrong when it returns ':' or '?'.
Problem parser_problem(int answer, const char *word) {
  const char *const name = option_name(optopt);
  if (answer == ':') {
    return Problem("option '--%s' requires an argument", name).advise("see 'imlog --help'");
  }
  if (name != nullptr) {
    return Problem("option '--%s' takes no argument", name).advise("see 'imlog --help'");
  }
  if (optopt != 0) {
    return Problem("invalid option -- '%c'", optopt).advise("see 'imlog --help'");
  }
  if (is_ambiguous(word)) {
    return Problem("option '%s' is ambiguous", word).advise("see 'imlog --help'");
  }
  return Problem("unrecognized option '%s'", word).advise("see 'imlog --help'");
}

// True when the words "-o check" stand on the line in one of their forms, even where they pass for the
// argument of the option before them: a monitor must not take its own wrong command line for a warning.
bool asks_for_check(int argc, char **argv) {
  static constexpr std::string_view kLongName = "--output";
  for (int i = 1; i < argc && strcmp(argv[i], "--") != 0; ++i) {
    const std::string_view word = argv[i];
    const std::string_view name = word.substr(0, word.find('='));
    const bool is_long = name.size() > 2 && kLongName.substr(0, name.size()) == name;
    const bool is_next = (word == "-o" || (is_long && name == word)) && i + 1 < argc;
    if (word == "-ocheck" || (is_long && word.substr(name.size()) == "=check") ||
        (is_next && strcmp(argv[i + 1], "check") == 0)) {
      return true;
    }
  }
  return false;
}

// Puts one option into `options`.
Problem take_option(int letter, const char *value, Calendar &calendar, int64_t now, Options &options) {
  switch (letter) {
    case 'o':
      options.format = find_format(value);
      if (options.format == nullptr) {
        return Problem("unknown format '%s'", value)
            .advise("use short, json, export, raw, prometheus or check");
      }
      break;
    case 'p': {
      const std::optional<SeverityRank> severity = parse_severity(value);
      if (!severity) {
        return Problem("unknown severity '%s'", value)
            .advise("use information, repaired, caution or critical");
      }
      options.selection.filter.least_severity = *severity;
      break;
    }
    case 'S':
    case 'U': {
      const std::optional<int64_t> time = calendar.parse(value, now);
      if (!time) {
        return Problem("'%s' is no time of the years 1970 to 9999", value)
            .advise(
                "use 2025-09-01, '2025-09-01 13:05', 2025-09-01T13:05:00, today, yesterday, -30m, -12h or -7d");
      }
      (letter == 'S' ? options.selection.filter.since : options.selection.filter.until) = time;
      break;
    }
    case 'c': {
      const std::optional<uint16_t> event_class = parse_class(value);
      if (!event_class) {
        return Problem("unknown class '%s'", value)
            .advise("use a number up to 0xFFFF, or a name as in class_name of -o json");
      }
      options.selection.filter.classes.push_back(*event_class);
      break;
    }
    case 'n':
      options.selection.lines = parse_number(value, UINT32_MAX, false);
      if (!options.selection.lines) {
        return Problem("'%s' is no number of lines", value).advise("use 0 to 4294967295");
      }
      break;
    case kCursorFile:
      options.cursor_file = value;
      if (value[0] == '\0') {
        return Problem("option '--cursor-file' has an empty name").advise("name a file");
      }
      break;
    case 'f': options.follow = true; break;
    case 'u': options.selection.unserviced = true; break;
    case 'r': options.selection.reverse = true; break;
    case kLevelPrefix: options.level_prefix = true; break;
    case kHost: options.host = value; break;
    default: break;
  }
  return {};
}

// What several FILEs do not go with.
Problem check_several(const Options &options) {
  if ((options.format->traits & kMerges) == 0) {
    return Problem("several FILEs do not go with format '%s'", options.format->name)
        .advise("name one FILE, or use short, json, export or check");
  }
  if (options.host != nullptr || options.cursor_file != nullptr) {
    return Problem("option '--%s' is for one FILE", options.host != nullptr ? "host" : "cursor-file")
        .advise("read the FILEs one by one, or leave the option out");
  }
  std::map<std::string_view, const char *> paths;  // of each host
  const char *standard_input = nullptr;
  for (const Log &log : options.logs) {
    const bool is_input = strcmp(log.path, "-") == 0;
    if (is_input && standard_input != nullptr) {
      return Problem("standard input is named twice").advise("give '-' once");
    }
    standard_input = is_input ? log.path : standard_input;
    const auto [known, is_new] = log.host ? paths.emplace(*log.host, log.path) : std::pair(paths.end(), true);
    if (!is_new) {
      return Problem("'%s' and '%s' have the same host", known->second, log.path)
          .advise("rename one, or read them one by one");
    }
  }
  return {};
}

// What does not go together.
Problem check_combination(const Options &options) {
  const auto lacks = [&](unsigned trait) { return (options.format->traits & trait) == 0; };
  const char *const format = options.format->name;
  const bool is_live = options.logs[0].path == nullptr;
  if (options.follow && !is_live) {
    return Problem("option '--follow' is for the live log, not for FILE '%s'", options.logs[0].path)
        .advise("leave one of them out");
  }
  if (options.follow && options.selection.reverse) {
    return Problem("option '--reverse' does not go with option '--follow'").advise("leave one of them out");
  }
  if (options.selection.reverse && lacks(kReverses)) {
    return Problem("option '--reverse' does not go with format '%s'", format).advise("use short or json");
  }
  if (options.follow && lacks(kFollows)) {
    return Problem("option '--follow' does not go with format '%s'", format)
        .advise("use short, json or export");
  }
  if (options.level_prefix && lacks(kLevels)) {
    return Problem("option '--level-prefix' does not go with format '%s'", format)
        .advise("use short or json");
  }
  if (options.host != nullptr && is_live) {
    return Problem("option '--host' names the host of a FILE, and there is none for '%s'", options.host)
        .advise("name a FILE, or leave --host out");
  }
  if (options.logs.size() > 1) {
    return check_several(options);
  }
  if (options.cursor_file != nullptr && !lacks(kWholeLog)) {
    return Problem("option '--cursor-file' does not go with format '%s'", format)
        .advise("use short, json, export or raw");
  }
  return {};
}

// The logs that the rest of the command line names.
std::vector<Log> name_logs(char **first, char **end, const char *host) {
  if (first == end) {
    return {{nullptr, host_of_machine()}};
  }
  std::vector<Log> logs;
  for (char **path = first; path != end; ++path) {
    logs.push_back({*path, host != nullptr ? std::optional<std::string>(host) : host_of_file(*path)});
  }
  return logs;
}

}  // namespace

Problem parse_options(int argc, char **argv, Calendar &calendar, int64_t now, Options &options) {
  const bool has_check_words = asks_for_check(argc, argv);
  bool for_check = false;
  Problem problem;
  opterr = 0;  // what is wrong must not reach standard error before it is known for whom it is
  for (int letter = 0; (letter = getopt_long(argc, argv, kLetters, kLongOptions, nullptr)) != -1;) {
    for_check = for_check || (letter == 'o' && strcmp(optarg, kCheckFormat.name) == 0);
    if (problem.is_set()) {
      continue;  // only to see whether it is for a check
    }
    if (letter == 'h' || letter == kVersion) {
      options.action = letter == 'h' ? Options::Action::kHelp : Options::Action::kVersion;
      options.format = has_check_words ? &kCheckFormat : options.format;
      return {};
    }
    problem = letter == ':' || letter == '?' ? parser_problem(letter, argv[optind - 1])
                                             : take_option(letter, optarg, calendar, now, options);
  }
  if (!problem.is_set() && has_check_words && !for_check) {
    problem = Problem("'-o check' is taken for the argument of another option")
                  .advise("give that option its argument");
  }
  if (!problem.is_set()) {
    options.logs = name_logs(argv + optind, argv + argc, options.host);
    problem = check_combination(options);
  }
  if (problem.is_set()) {
    options.format = has_check_words || for_check ? &kCheckFormat : &kShortFormat;
  }
  return problem;
}
