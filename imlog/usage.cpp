#include "imlog/usage.h"

#include <algorithm>
#include <string_view>

#include "imlog/exit_status.h"
#include "imlog/options.h"

namespace {

constexpr size_t kLineLength = 80;
constexpr size_t kGap = 2;  // between an option and what it does

constexpr char kHead[] = R"(Usage: imlog [OPTIONS] [FILE ...]

Prints a server's Integrated Management Log: its own, through the health driver
(as root), or a raw log of 240-byte records from FILE, - for standard input.
The entries of several FILEs are merged by time.

)";

// "  -o, --output=FORMAT", or "      --version".
std::string option_head(const OptionRow &row) {
  std::string head = row.letter != '\0' ? std::string("  -") + row.letter + ", --" : "      --";
  head += row.name;
  return row.argument != nullptr ? head + '=' + row.argument : head;
}

// What replaces the "%s" in an option's help: a list of its words, or a table if they have meanings.
std::string words_text(const std::vector<Word> &words) {
  if (words.empty() || words[0].meaning == nullptr) {
    return join_words(words);
  }
  size_t width = 0;
  for (const Word &word : words) {
    width = std::max(width, word.text.size());
  }
  std::string table;
  for (const Word &word : words) {
    table += "\n  " + word.text + std::string(width - word.text.size() + kGap, ' ') + word.meaning;
  }
  return table;
}

std::string help_text(const OptionRow &row) {
  std::string text = row.help;
  if (const size_t place = text.find("%s"); place != std::string::npos) {
    text.replace(place, 2, row.words != nullptr ? words_text(row.words()) : row.forms);
  }
  return text;
}

// Appends a line that begins at `column`. It is broken at blanks where it is longer than kLineLength.
void append_wrapped(std::string_view line, size_t column, std::string &text) {
  while (line.size() > kLineLength - column) {
    const size_t end = line.rfind(' ', kLineLength - column);
    text.append(line.substr(0, end)).append("\n").append(column, ' ');
    line.remove_prefix(end + 1);
  }
  text.append(line).append("\n");
}

void append_option(const OptionRow &row, size_t column, std::string &text) {
  const std::string head = option_head(row);
  text += head + std::string(column - head.size(), ' ');
  const std::string help = help_text(row);
  std::string_view rest = help;
  for (size_t end = 0; (end = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(end + 1)) {
    append_wrapped(rest.substr(0, end), column, text);
    text.append(column, ' ');
  }
  append_wrapped(rest, column, text);
}

// "-o help, -p help or --color=help"
std::string help_arguments() {
  std::vector<Word> arguments;
  for (const OptionRow &row : option_rows()) {
    if (row.words != nullptr) {
      arguments.push_back({row.letter != '\0' ? std::string("-") + row.letter + " help"
                                              : std::string("--") + row.name + "=help"});
    }
  }
  return join_words(arguments);
}

template <size_t kCount>
std::string statuses_text(const StatusRow (&rows)[kCount]) {
  std::string text;
  for (const StatusRow &row : rows) {
    text += (text.empty() ? "" : ", ") + std::to_string(row.status) + ' ' + row.meaning;
  }
  return text + ".";
}

}  // namespace

std::string usage_text() {
  size_t column = 0;
  for (const OptionRow &row : option_rows()) {
    column = std::max(column, option_head(row).size() + kGap);
  }
  std::string text = kHead;
  for (const OptionRow &row : option_rows()) {
    append_option(row, column, text);
  }
  text += '\n';
  append_wrapped("To print the words that an option takes: " + help_arguments() + ".", 0, text);
  text += '\n';
  append_wrapped("Status: " + statuses_text(kExitStatuses), 0, text);
  append_wrapped(std::string("With -o ") + kCheckFormat.name + ": " + statuses_text(kCheckStatuses), 0, text);
  return text;
}

std::string version_text() {
  return "imlog " IMLOG_VERSION "\n";
}
