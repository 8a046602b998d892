// The command line and the filters that it sets, without a log.
#include "imlog/options.h"

#include <getopt.h>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "imlog/parse_time.h"
#include "tests/imlog/record.h"

namespace {

// Options read from a line whose words are separated by '|'.
struct Parsed {
  explicit Parsed(const std::string &line) : words(split("imlog" + (line.empty() ? "" : '|' + line))) {
    std::vector<char *> argv;
    for (std::string &word : words) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    optind = 0;  // restarts the C library's parser
    setenv("TZ", "Europe/Berlin", 1);
    Calendar calendar;
    const Problem problem = parse_options(static_cast<int>(words.size()), argv.data(), calendar, 0, options);
    error = problem.is_set() ? problem.what() + "; " + problem.advice() : "";
  }

  std::vector<std::string> words;
  Options options;
  std::string error;
};

TEST(Options, WrongUsage) {
  const std::pair<const char *, const char *> kRows[] = {
      {"--bogus|-o|bad", "unrecognized option '--bogus'; see 'imlog --help'"},
      {"--l=2", "option '--l=2' is ambiguous; see 'imlog --help'"},
      {"--u|x", "option '--u' is ambiguous; see 'imlog --help'"},
      {"-fz", "invalid option -- 'z'; see 'imlog --help'"},
      {"-o", "option '--output' requires an argument; see 'imlog --help'"},
      {"--follow=x", "option '--follow' takes no argument; see 'imlog --help'"},
      {"-o|CHECK", "unknown format 'CHECK'; use short, json, "},
      {"--output=", "unknown format ''; use short, json, "},
      {"-p|bad", "unknown severity 'bad'; use information, repaired, caution or critical"},
      {"-p|C", "severity 'C' is ambiguous; use caution or critical"},
      {"-c|0x:1", "unknown class '0x:1'; use a number up to 0xFFFF, or a name that '-c help' prints"},
      {"--exclude=", "unknown class ''; use a number up to 0xFFFF, or a name that '-c help' prints"},
      {"-c|p",
       "class 'p' is ambiguous; use PCI Bus, POST Messages, Power Subsystem, Pellory or Power Capping"},
      {"-x|Unk:", "invalid code in class 'Unk:'; use a number up to 0xFFFF"},
      {"-c|un:2", "class 'un:2' is ambiguous; use Unrecoverable System Error or Unknown"},
      {"-x|CPU:0x10000", "invalid code in class 'CPU:0x10000'; use a number up to 0xFFFF"},
      {"-n|-5", "invalid number of lines '-5'; use 0 to 4294967295"},
      {"-n|4294967296", "invalid number of lines '4294967296'; use 0 to 4294967295"},
      {"-S|help", "invalid time 'help'; use 2025-09-01, "},
      {"--color=help", "invalid argument 'help' of option '--color'; use auto, always or never"},
      {"--color=Always", "invalid argument 'Always' of option '--color'; use auto, always or never"},
      {"--utc|-o|prometheus",
       "option '--utc' cannot be used with format 'prometheus'; use short, json, export, journal or check"},
      {"-f|log", "option '--follow' is for the live log, not for FILE 'log'; leave one of them out"},
      {"-rf", "option '--reverse' cannot be used with option '--follow'; leave one of them out"},
      {"-ro|export|log", "option '--reverse' cannot be used with format 'export'; use short or json"},
      {"--level|-o|journal|log",
       "option '--level-prefix' cannot be used with format 'journal'; use short or json"},
      {"--host|a", "option '--host' requires a FILE; name a FILE, or leave --host out"},
      {"--cursor-file=|log", "option '--cursor-file' requires a file name; name a file"},
      {"--cursor-file|c|-o|prometheus",
       "option '--cursor-file' cannot be used with format 'prometheus'; use short, json, export"},
      {"-|log|-", "standard input is named twice; give '-' once"},
      {"--host|x|log|b",
       "option '--host' is for one FILE; read the FILEs one by one, or leave the option out"},
      {"a/x.iml|log|b/x", "'a/x.iml' and 'b/x' have the same host; rename one, or read them one by one"},
      {"-o|bad|--|-o|check", "unknown format 'bad'; use "},
  };
  for (const auto &[line, error] : kRows) {
    const Parsed parsed(line);
    EXPECT_EQ(parsed.error.rfind(error, 0), 0U) << line << ": " << parsed.error;
  }
}

TEST(Options, Filters) {
  const std::vector<RecordFields> records = {
      {.severity = 2, .event_class = 2, .code = 6},       {.severity = 6, .event_class = 3, .code = 1},
      {.severity = 9, .event_class = 0x21, .code = 2},    {.severity = 15, .event_class = 0xFFFF, .code = 1},
      {.severity = 33, .event_class = 2, .code = 0xFFFF}, {.severity = 3, .event_class = 0x10, .code = 2},
  };
  std::vector<RecordFields> times;  // for rows with a time
  for (const std::string &last :
       split("2025-08-31T23:59|2025-09-01T00:00|2025-09-01T13:05|2025-09-01T13:06|0000-00-00T00:00")) {
    times.push_back({.last = stamp_of(last.c_str())});
  }
  const std::pair<const char *, const char *> kRows[] = {
      {"", "012345"},
      {"-p|information", "012345"},
      {"-p|REPAIRED", "1234"},
      {"--pri=Ca", "234"},
      {"-p|crit", "34"},
      {"-p|critical|-p|i|-c|2", "04"},
      {"-c|2", "04"},
      {"-c|0x21|-c|0XFFFF", "23"},
      {"-c|010", ""},
      {"-c|main MEMORY|-c|Maintenance", "12"},
      {"-c|2:0x6|-c|MAINTENANCE:2", "02"},
      {"-c|2:7|-c|2:65535", "4"},
      {"-c|unknown", "35"},
      {"-c|main m|-c|mAINT:2", "12"},
      {"-x|unk|-c|Unknown|-c|mac:6", "0"},
      {"-c|Unknown:2", "5"},
      {"-x|Unknown|-x|2", "12"},
      {"-x|2:6|-x|3:2|-x|unknown:1", "1245"},
      {"-c|2|-c|3|-x|3", "04"},
      {"-S|2025-09-01", "1234"},
      {"-U|2025-09-01", "014"},
      {"-S|2025-09-01 13:05", "234"},
      {"-U|2025-09-01T13:05", "0124"},
      {"-S|2025-09-01T13:05:01", "34"},
      {"-S|9999-12-31", "4"},
      {"-S|2025-09-01 13:05:00|-U|2025-09-01 13:05:59", "24"},
  };
  Calendar calendar;
  for (const auto &[line, expected] : kRows) {
    const Parsed parsed(line);
    EXPECT_EQ(parsed.error, "") << line;
    const Filter &filter = parsed.options.filter;
    std::string passing;
    const std::vector<RecordFields> &tried = filter.since || filter.until ? times : records;
    for (size_t i = 0; i < tried.size(); ++i) {
      passing += filter.passes(make_record(tried[i]), calendar) ? std::to_string(i) : "";
    }
    EXPECT_EQ(passing, expected) << line;
  }
}

// Each class that "help" prints is one, by its name and by its number.
TEST(Options, Words) {
  EXPECT_EQ(Parsed("-p|help|-x|bad").options.text, "information\nrepaired\ncaution\ncritical\n");
  const auto class_of = [](const std::string &word) {
    return Parsed("-c|" + word).options.filter.classes.at(0).event_class;
  };
  std::istringstream lines(Parsed("--exclude=help").options.text);
  int classes = 0;
  std::string line;
  for (; std::getline(lines, line) && line != "Unknown"; ++classes) {
    EXPECT_EQ(class_of(line.substr(0, 4)), class_of(line.substr(5))) << line;
  }
  EXPECT_EQ(classes, 29);
  EXPECT_EQ(class_of(line), std::nullopt);
}

// The help has the words of the tables in their order, within 80 columns.
TEST(Options, Help) {
  const std::string text = Parsed("--help|-o|bad").options.text;
  EXPECT_FALSE(std::regex_search(text, std::regex("[^\n]{81}")));
  const std::string in_one_line = std::regex_replace(text, std::regex("\\s+"), " ");
  for (const std::string &part : {
           std::string(" TIME: ") + kTimeForms + " -c,",
           std::to_string(kFailure) + " failure, " + std::to_string(kWrongUsage) +
               " wrong usage. With -o check: ",
           std::to_string(kCheckOk) + " ok, " + std::to_string(kCheckWarning) + " caution, " +
               std::to_string(kCheckCritical) + " critical, " + std::to_string(kCheckUnknown) + " unknown ",
       }) {
    EXPECT_NE(in_one_line.find(part), std::string::npos) << part;
  }
  size_t place = 0;
  const auto expect_next = [&](const std::string &part) {
    place = text.find(part, place);
    EXPECT_NE(place, std::string::npos) << part;
  };
  for (const OptionRow &row : option_rows()) {
    const std::string letter = row.letter != '\0' ? std::string("-") + row.letter + ", " : "    ";
    const std::string argument = row.argument != nullptr ? std::string("=") + row.argument : "";
    expect_next("\n  " + letter + "--" + row.name + argument + "  ");
    const std::string help = std::string(" -") + row.letter + " help";
    EXPECT_EQ(text.find(help) != std::string::npos, row.words != nullptr) << help;
  }
  place = 0;
  for (const FormatRow *const format : kFormats) {
    expect_next("\n                                " + std::string(format->name) + "  ");
  }
}

}  // namespace
