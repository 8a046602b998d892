#include "imlog/help.h"

#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "imlog/exit_status.h"
#include "imlog/options.h"
#include "imlog/parse_time.h"

// The help has the words of the tables in their order, within 80 columns.
TEST(Help, HasTheWordsOfTheTables) {
  const std::string text = kHelp;
  EXPECT_FALSE(std::regex_search(text, std::regex("[^\n]{81}")));
  const std::string in_one_line = std::regex_replace(text, std::regex("\\s+"), " ");
  for (const std::string &part : {
           std::string(" TIME: ") + kTimeForms + " -c,",
           std::string(" information, repaired, caution or critical; the beginning "),
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
