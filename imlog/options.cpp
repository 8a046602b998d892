#include "imlog/options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <map>
#include <strings.h>
#include <unistd.h>

#include "iml/class_names.h"
#include "imlog/help.h"
#include "imlog/parse_time.h"

namespace {

// "a, b or c".
std::string join_words(const Words &words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    text += i == 0 ? "" : i + 1 < words.size() ? ", " : " or ";
    text += words[i];
  }
  return text;
}

// The formats that have a trait; all for no trait.
Words formats_with(unsigned trait) {
  Words words;
  for (const FormatRow *const format : kFormats) {
    if ((format->traits & trait) == trait) {
      words.emplace_back(format->name);
    }
  }
  return words;
}

Words format_words() {
  return formats_with(0);
}

// The severities whose names begin with `beginning`, in upper or lower case.
std::vector<SeverityRank> severities_like(std::string_view beginning) {
  std::vector<SeverityRank> ranks;
  for (int rank = kInformation; rank <= kCritical; ++rank) {
    if (strncasecmp(kSeverityNames[rank].in_fields, beginning.data(), beginning.size()) == 0) {
      ranks.push_back(static_cast<SeverityRank>(rank));
    }
  }
  return ranks;
}

Words words_of(const std::vector<SeverityRank> &ranks) {
  Words words;
  words.reserve(ranks.size());
  for (const SeverityRank rank : ranks) {
    words.emplace_back(kSeverityNames[rank].in_fields);
  }
  return words;
}

Words severity_words() {
  return words_of(severities_like(""));
}

// "0x0B Power Subsystem" for each class with a name, then the word for all others.
Words class_words() {
  Words words;
  for (const iml::ClassName &row : iml::kClassNames) {
    char number[16];
    snprintf(number, sizeof(number), "0x%02X ", row.code);
    words.push_back(std::string(number) + row.name);
  }
  words.emplace_back(iml::kNamelessClass);
  return words;
}

struct NamedClass {
  const char *name;
  ClassSelector selector;
};

// The classes whose names begin with `beginning`, in upper or lower case; that of exactly this name wins.
std::vector<NamedClass> classes_like(const std::string &beginning) {
  std::vector<NamedClass> all;
  for (const iml::ClassName &row : iml::kClassNames) {
    all.push_back({row.name, {row.code, {}}});
  }
  all.push_back({iml::kNamelessClass, {}});
  std::vector<NamedClass> classes;
  for (const NamedClass &row : all) {
    if (strcasecmp(row.name, beginning.c_str()) == 0) {
      return {row};
    }
    if (!beginning.empty() && strncasecmp(row.name, beginning.c_str(), beginning.size()) == 0) {
      classes.push_back(row);
    }
  }
  return classes;
}

// Reads the `name` of a class, or its number, which is all of `argument` or begins it.
Problem parse_class(const std::string &name, const char *argument, ClassSelector &selector) {
  if (const std::optional<uint64_t> number = parse_number(name, UINT16_MAX, true)) {
    selector.event_class = static_cast<uint16_t>(*number);
    return {};
  }
  const std::vector<NamedClass> classes = classes_like(name);
  if (classes.empty()) {
    return Problem("unknown class '%s'", argument)
        .advise("use a number up to 0xFFFF, or a name that '-c help' prints");
  }
  if (classes.size() > 1) {
    Words names;
    for (const NamedClass &row : classes) {
      names.emplace_back(row.name);
    }
    return Problem("class '%s' is ambiguous", argument).advise("use %s", join_words(names).c_str());
  }
  selector = classes[0].selector;
  return {};
}

Problem read_format(const char *argument, CommandLine &line) {
  for (const FormatRow *const format : kFormats) {
    if (strcmp(format->name, argument) == 0) {
      line.options.format = format;
      return {};
    }
  }
  return Problem("unknown format '%s'", argument).advise("use %s", join_words(format_words()).c_str());
}

Problem read_severity(const char *argument, CommandLine &line) {
  const std::vector<SeverityRank> ranks = severities_like(argument);
  if (ranks.empty() || argument[0] == '\0') {
    return Problem("unknown severity '%s'", argument).advise("use %s", join_words(severity_words()).c_str());
  }
  if (ranks.size() > 1) {
    return Problem("severity '%s' is ambiguous", argument)
        .advise("use %s", join_words(words_of(ranks)).c_str());
  }
  line.options.filter.least_severity = ranks[0];
  return {};
}

template <std::optional<int64_t> Filter::*kBound>
Problem read_time(const char *argument, CommandLine &line) {
  std::optional<int64_t> &time = line.options.filter.*kBound;
  time = parse_time(argument, line.now, line.calendar);
  return time ? Problem() : Problem("invalid time '%s'", argument).advise("use %s", kTimeForms);
}

// No name of a class has a colon.
template <std::vector<ClassSelector> Filter::*kSelectors>
Problem read_class(const char *argument, CommandLine &line) {
  const std::string text = argument;
  const size_t colon = text.find(':');
  ClassSelector selector;
  if (Problem problem = parse_class(text.substr(0, colon), argument, selector); problem.is_set()) {
    return problem;
  }
  if (colon != std::string::npos) {
    const std::optional<uint64_t> code =
        parse_number(std::string_view(text).substr(colon + 1), UINT16_MAX, true);
    if (!code) {
      return Problem("invalid code in class '%s'", argument).advise("use a number up to 0xFFFF");
    }
    selector.code = static_cast<uint16_t>(*code);
  }
  (line.options.filter.*kSelectors).push_back(selector);
  return {};
}

Problem read_lines(const char *argument, CommandLine &line) {
  line.options.lines = parse_number(argument, UINT32_MAX);
  return line.options.lines ? Problem()
                            : Problem("invalid number of lines '%s'", argument).advise("use 0 to 4294967295");
}

Problem read_cursor_file(const char *argument, CommandLine &line) {
  line.options.cursor_file = argument;
  return argument[0] != '\0' ? Problem()
                             : Problem("option '--cursor-file' requires a file name").advise("name a file");
}

// True when standard output shows colors and the environment does not ask for none.
bool is_color_terminal() {
  const char *const terminal = getenv("TERM");
  const char *const no_color = getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && terminal != nullptr && terminal[0] != '\0' &&
         strcmp(terminal, "dumb") != 0 && (no_color == nullptr || no_color[0] == '\0');
}

Problem read_color(const char *argument, CommandLine &line) {
  const std::string_view when = argument;
  line.options.has_color = when == "always" || (when == "auto" && is_color_terminal());
  return when == "auto" || when == "always" || when == "never"
             ? Problem()
             : Problem("invalid argument '%s' of option '--color'", argument)
                   .advise("use auto, always or never");
}

Problem read_max_age(const char *argument, CommandLine &line) {
  const std::string_view span = argument;
  line.options.max_age = parse_span(span.substr(span.starts_with('-') ? 1 : 0));
  return line.options.max_age ? Problem()
                              : Problem("invalid age '%s'", argument).advise("use 30m, 12h, 7d or 2w");
}

Problem read_host(const char *argument, CommandLine &line) {
  line.options.host = argument;
  return {};
}

constexpr OptionRow kOptions[] = {
    {.name = "output", .letter = 'o', .argument = "FORMAT", .words = format_words, .read = read_format},
    {.name = "priority",
     .letter = 'p',
     .argument = "SEVERITY",
     .words = severity_words,
     .read = read_severity},
    {.name = "since", .letter = 'S', .argument = "TIME", .read = read_time<&Filter::since>},
    {.name = "until", .letter = 'U', .argument = "TIME", .read = read_time<&Filter::until>},
    {.name = "class",
     .letter = 'c',
     .argument = "CLASS[:CODE]",
     .words = class_words,
     .read = read_class<&Filter::classes>},
    {.name = "exclude",
     .letter = 'x',
     .argument = "CLASS[:CODE]",
     .words = class_words,
     .read = read_class<&Filter::excluded>},
    {.name = "unserviced", .letter = 'u', .flag = &Options::unserviced},
    {.name = "lines", .letter = 'n', .argument = "N", .read = read_lines},
    {.name = "reverse", .letter = 'r', .needs = kReverses, .flag = &Options::reverse},
    {.name = "utc", .needs = kHasTimes, .flag = &Options::in_utc},
    {.name = "color", .argument = "WHEN", .read = read_color},
    {.name = "cursor-file",
     .is_for_one_file = true,
     .needs = kRemembers,
     .argument = "FILE",
     .read = read_cursor_file},
    {.name = "follow", .letter = 'f', .needs = kFollows, .flag = &Options::follow},
    {.name = "level-prefix", .needs = kLevels, .flag = &Options::level_prefix},
    {.name = "max-age", .is_for_files = true, .argument = "TIME", .read = read_max_age},
    {.name = "host", .is_for_files = true, .is_for_one_file = true, .argument = "NAME", .read = read_host},
    {.name = "help", .letter = 'h', .text = kHelp},
    {.name = "version", .text = "imlog " IMLOG_VERSION "\n"},
};

// The value of getopt_long for the long form of row 0; those of the other rows follow.
constexpr int kFirstLong = 0x100;

// The rows as getopt_long takes them.
std::vector<option> long_options() {
  std::vector<option> options;
  for (const OptionRow &row : kOptions) {
    const int takes_argument = row.argument != nullptr ? required_argument : no_argument;
    options.push_back({row.name, takes_argument, nullptr, kFirstLong + static_cast<int>(options.size())});
  }
  options.push_back({nullptr, 0, nullptr, 0});
  return options;
}

std::string short_options() {
  std::string letters = ":";  // getopt_long must not print: with -o check nothing goes to standard error
  for (const OptionRow &row : kOptions) {
    if (row.letter != '\0') {
      letters += row.letter;
      letters += row.argument != nullptr ? ":" : "";
    }
  }
  return letters;
}

// The row of a value that getopt_long returns; null for none.
const OptionRow *find_row(int value) {
  if (value >= kFirstLong) {
    return &kOptions[value - kFirstLong];
  }
  for (const OptionRow &row : kOptions) {
    if (value != '\0' && row.letter == value) {
      return &row;
    }
  }
  return nullptr;
}

// True when `word` is the beginning of more than one long option.
bool is_ambiguous(std::string_view word) {
  const std::string_view start = word.substr(2, word.find('=') - 2);
  int matches = 0;
  for (const OptionRow &row : kOptions) {
    matches += std::string_view(row.name).starts_with(start) ? 1 : 0;
  }
  return matches > 1;
}

// The fault for which getopt_long returns ':' or '?'.
Problem parser_problem(int answer, const char *word) {
  const OptionRow *const row = find_row(optopt);
  if (answer == ':') {
    return Problem("option '--%s' requires an argument", row->name).advise("see 'imlog --help'");
  }
  if (row != nullptr) {
    return Problem("option '--%s' takes no argument", row->name).advise("see 'imlog --help'");
  }
  if (optopt != 0) {
    return Problem("invalid option -- '%c'", optopt).advise("see 'imlog --help'");
  }
  if (is_ambiguous(word)) {
    return Problem("option '%s' is ambiguous", word).advise("see 'imlog --help'");
  }
  return Problem("unrecognized option '%s'", word).advise("see 'imlog --help'");
}

// Finds what cannot be combined with several FILEs.
Problem check_several(const Options &options, const std::vector<const OptionRow *> &given) {
  if ((options.format->traits & kMerges) == 0) {
    return Problem("several FILEs cannot be used with format '%s'", options.format->name)
        .advise("name one FILE, or use %s", join_words(formats_with(kMerges)).c_str());
  }
  for (const OptionRow *const row : given) {
    if (row->is_for_one_file) {
      return Problem("option '--%s' is for one FILE", row->name)
          .advise("read the FILEs one by one, or leave the option out");
    }
  }
  std::map<std::string_view, const char *> paths;  // of each host
  bool has_input = false;
  for (const Log &log : options.logs) {
    if (has_input && log.path == "-") {
      return Problem("standard input is named twice").advise("give '-' once");
    }
    has_input = has_input || log.path == "-";
    const auto [known, is_new] =
        log.host ? paths.emplace(*log.host, log.path->c_str()) : std::pair(paths.end(), true);
    if (!is_new) {
      return Problem("'%s' and '%s' have the same host", known->second, log.path->c_str())
          .advise("rename one, or read them one by one");
    }
  }
  return {};
}

// Finds options, formats and FILEs that cannot be combined.
Problem check_combination(const Options &options, const std::vector<const OptionRow *> &given) {
  const bool is_live = !options.logs[0].path;
  if (options.follow && !is_live) {
    return Problem("option '--follow' is for the live log, not for FILE '%s'", options.logs[0].path->c_str())
        .advise("leave one of them out");
  }
  if (options.follow && options.reverse) {
    return Problem("option '--reverse' cannot be used with option '--follow'")
        .advise("leave one of them out");
  }
  for (const OptionRow *const row : given) {
    if (row->is_for_files && is_live) {
      return Problem("option '--%s' requires a FILE", row->name)
          .advise("name a FILE, or leave --%s out", row->name);
    }
    if ((options.format->traits & row->needs) != row->needs) {
      return Problem("option '--%s' cannot be used with format '%s'", row->name, options.format->name)
          .advise("use %s", join_words(formats_with(row->needs)).c_str());
    }
  }
  return options.is_merged() ? check_several(options, given) : Problem();
}

// The logs that the rest of the command line names.
std::vector<Log> name_logs(char **first, char **end, const char *host) {
  if (first == end) {
    return {{{}, host_of_machine()}};
  }
  std::vector<Log> logs;
  for (char **path = first; path != end; ++path) {
    logs.push_back(name_log(*path));
  }
  if (host != nullptr) {
    logs[0].host = host;  // the only one
  }
  return logs;
}

}  // namespace

std::span<const OptionRow> option_rows() {
  return kOptions;
}

Problem parse_options(int argc, char **argv, Calendar &calendar, int64_t now, Options &options) {
  CommandLine line = {options, calendar, now};
  options.has_color = is_color_terminal();
  const std::vector<option> known_options = long_options();
  const std::string letters = short_options();
  std::vector<const OptionRow *> given;
  for (int value = 0;
       (value = getopt_long(argc, argv, letters.c_str(), known_options.data(), nullptr)) != -1;) {
    if (value == ':' || value == '?') {
      return parser_problem(value, argv[optind - 1]);
    }
    const OptionRow &row = *find_row(value);
    if (row.words != nullptr && strcmp(optarg, "help") == 0) {
      for (const std::string &word : row.words()) {
        options.text += word + '\n';
      }
    } else if (row.text != nullptr) {
      options.text = row.text;
    } else if (row.flag != nullptr) {
      options.*row.flag = true;
    } else if (Problem problem = row.read(optarg, line); problem.is_set()) {
      return problem;
    }
    if (!options.text.empty()) {
      return {};
    }
    given.push_back(&row);
  }
  options.logs = name_logs(argv + optind, argv + argc, options.host);
  options.has_color = options.has_color && options.format == &kShortFormat;  // check has its lines, too
  return check_combination(options, given);
}
