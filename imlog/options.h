// The command line: the table of options, and how the line is read.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "imlog/calendar.h"
#include "imlog/format.h"
#include "imlog/listing.h"
#include "imlog/problem.h"

struct Options : Selection, FormatContext {
  std::string text;  // printed in place of the log unless empty: the help, the version, an option's words
  const FormatRow *format = kFormats[0];
  const char *cursor_file = nullptr;
  bool follow = false;
  const char *host = nullptr;      // of the only FILE
  std::optional<int64_t> max_age;  // seconds since a FILE was last written; older ones are not read
};

// The place where an option stores its argument, and the means to read it.
struct CommandLine {
  Options &options;
  Calendar &calendar;
  int64_t now;  // what a time such as "-7d" is counted from
};

using Words = std::vector<std::string>;

// One option, for getopt_long and for the messages about it. It has one of `flag`, `text` and `read`.
struct OptionRow {
  const char *name;                // of the long form
  char letter = '\0';              // of the short form, if there is one
  bool is_for_files = false;       // cannot be used without a FILE
  bool is_for_one_file = false;    // cannot be combined with several FILEs
  unsigned needs = 0;              // the trait that its formats have; 0: every format
  const char *argument = nullptr;  // its name in the help; null: the option takes none
  Words (*words)() = nullptr;      // what the argument "help" prints; null: it has no such meaning
  bool Options::*flag = nullptr;   // what the option turns on
  const char *text = nullptr;      // what it prints in place of the log
  Problem (*read)(const char *argument, CommandLine &line) = nullptr;
};

// All options, in the order of the help.
std::span<const OptionRow> option_rows();

// Reads the command line up to its first fault, which the result says. `options.format` is then that of the
// options before the fault. `now` is what a time such as "-7d" is counted from.
Problem parse_options(int argc, char **argv, Calendar &calendar, int64_t now, Options &options);
