// The built program over the simulator: round trips that involve several of its parts.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/capture.h"

namespace fs = std::filesystem;

namespace {

// Runs the program over a copy of the sample server. ORVLOG_UNDER may hold a command to run it under, such as
// valgrind with its options.
class EndToEnd : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "orvlog-server-XXXXXX";
    server_ = mkdtemp(name.data());
    fs::copy(SAMPLE_SERVER, server_, fs::copy_options::recursive);
    setenv("ORVLOG_SIMULATOR", server_.c_str(), 1);
  }
  void TearDown() override {
    fs::remove_all(server_);
  }

  static Outcome orvlog(const std::vector<std::string> &arguments) {
    const char *const under = getenv("ORVLOG_UNDER");
    std::istringstream list(under != nullptr ? under : "");
    std::vector<std::string> words(std::istream_iterator<std::string>(list), {});
    words.emplace_back(ORVLOG_PROGRAM);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return run(words);
  }

  void write_file(const std::string &name, const std::string &bytes) const {
    std::ofstream(server_ / name, std::ios::binary) << bytes;
  }

  fs::path server_;
};

std::vector<std::string> matches(const std::string &text, const char *pattern) {
  const std::regex regex(pattern);
  return {std::sregex_token_iterator(text.begin(), text.end(), regex, 1), {}};
}

const char *const kEntryLine =
    R"(\n(\d{4,}) [A-Z][a-z]+ +\d\d:\d\d  \d\d/\d\d/\d{4} \d\d:\d\d  \d\d/\d\d/\d{4} \d{4,}\n)";
const char *const kLogLine = "\nLOG: (.*)\n";

TEST_F(EndToEnd, NoteIsReadBack) {
  const std::string note = "Replaced fan 3; 100% \"done\" %s%n";
  const Outcome added = orvlog({"-s", "Repaired", "-l", note});
  EXPECT_EQ(added.out + added.err, "");
  const Outcome listing = orvlog({"-v"});
  EXPECT_EQ(listing.err, "");
  EXPECT_EQ(matches(listing.out, kLogLine).back(), "Maintenance note: " + note);
  const auto numbers = matches(listing.out, kEntryLine);
  EXPECT_GE(numbers.size(), 60U);
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  // A header of three lines, then three lines per entry: nothing else is printed.
  EXPECT_EQ(std::count(listing.out.begin(), listing.out.end(), '\n'), 3 + 3 * std::ssize(numbers));
  const std::string tail = orvlog({"-V", numbers.back()}).out;
  EXPECT_EQ(matches(tail, R"(\n(\d+ \w+))"), std::vector<std::string>{numbers.back() + " Repaired"});
}

TEST_F(EndToEnd, WatchdogKeepsItsStateAndReportsTheirOrder) {
  EXPECT_EQ(orvlog({"-a", "TIMEOUT=20"}).out, "Setting ASR timer to 20\n");
  orvlog({"-a", "DISABLE"});
  write_file("cdt/5002", "\x12" + std::string(14, '\0'));
  const Outcome outcome = orvlog({"-a", "STATUS", "-p", "-i", "-t"});
  EXPECT_EQ(outcome.err, "");
  const std::regex reports(
      "Current IPMI WatchDog Timer  Status is DISABLED and the timeout value is 20\n[^]*\nPower cap:[^]*\nBusNumber\t"
      "[^]*\n 5\t\t 0\t\t 0\t\t60\t\tdcb8\t\t 3\n[^]*\nSensor[^]*");
  EXPECT_TRUE(std::regex_match(outcome.out, reports)) << outcome.out;
}

}  // namespace
