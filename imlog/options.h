// The command line: the table of options, and how the line is read.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "imlog/calendar.h"
#include "imlog/format.h"
#include "imlog/listing.h"
#include "imlog/problem.h"

// When short has colors; kAuto: on a terminal that shows them.
enum class Color { kAuto, kAlways, kNever };

struct Options {
  std::string text;  // printed in place of the log unless empty: the help, the version, an option's words
  const FormatRow *format = kFormats[0];
  Selection selection;
  const char *cursor_file = nullptr;
  bool follow = false;
  bool level_prefix = false;
  bool in_utc = false;
  Color color = Color::kAuto;
  const char *host = nullptr;  // of the only FILE
  std::vector<Log> logs;       // one at least
};

// Where an option stores its argument, and what it needs to read it.
struct CommandLine {
  Options &options;
  Calendar &calendar;
  int64_t now;  // what a time such as "-7d" is counted from
};

// A word that an option takes as its argument.
struct Word {
  std::string text;
  const char *meaning = nullptr;  // for the help; null where the word says it
};

// One option. getopt_long's arrays, the help, the completion and most messages are made from the rows.
struct OptionRow {
  const char *name;                // of the long form
  char letter = '\0';              // of the short form, if there is one
  bool is_for_one_file = false;    // cannot be combined with several FILEs
  unsigned needs = 0;              // the trait that its formats have; 0: every format
  const char *argument = nullptr;  // its name in the help; null: the option takes none
  const char *help;  // wrapped where it is printed; "%s" stands for the words or forms of the argument
  const char *forms = nullptr;             // how the argument can look
  std::vector<Word> (*words)() = nullptr;  // what the argument "help" prints; null: it has no such meaning
  Problem (*read)(const char *argument, CommandLine &line);
};

// All options, in the order of the help.
std::span<const OptionRow> option_rows();

// "a, b or c".
std::string join_words(const std::vector<Word> &words);

// Reads the command line up to its first fault, which the result says. `options.format` is then that of the
// options before the fault. `now` is what a time such as "-7d" is counted from.
Problem parse_options(int argc, char **argv, Calendar &calendar, int64_t now, Options &options);
