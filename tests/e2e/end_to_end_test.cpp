// The built program over the simulator: the round trips that no part of it can promise alone.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "iml/iml_record.h"
#include "tests/support/capture.h"

namespace fs = std::filesystem;

namespace {

/// The program with what it runs under: the words of the
/// environment's ORVLOG_UNDER (a checker's command), if any.
std::vector<std::string> program(const std::vector<std::string> &arguments) {
  std::vector<std::string> words;
  if (const char *const under = getenv("ORVLOG_UNDER")) {
    std::istringstream list(under);
    words.assign(std::istream_iterator<std::string>(list), {});
  }
  words.emplace_back(ORVLOG_PROGRAM);
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

/// A copy of the sample server, thrown away at the end of the test.
class EndToEnd : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "orvlog-server-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    server_ = name;
    fs::copy(SAMPLE_SERVER, server_, fs::copy_options::recursive);
  }
  void TearDown() override {
    fs::remove_all(server_);
  }

  Outcome orvlog(const std::vector<std::string> &arguments) const {
    return run(program(arguments), [this] { setenv("ORVLOG_SIMULATOR", server_.c_str(), 1); });
  }

  void write_file(const std::string &name, const std::string &bytes) const {
    std::ofstream(server_ / name, std::ios::binary) << bytes;
  }

  fs::path server_;
};

std::vector<std::string> matches(const std::string &text, const char *pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  std::istringstream lines(text);
  std::smatch match;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, match, regex)) {
      found.push_back(match[1]);
    }
  }
  return found;
}

const char *const kEntryLine =
    R"(^(\d{4,}) [A-Z][a-z]+ +\d\d:\d\d  \d\d/\d\d/\d{4} \d\d:\d\d  \d\d/\d\d/\d{4} \d{4,}$)";
const char *const kLogLine = "^LOG: (.*)$";

TEST_F(EndToEnd, ListsTheSampleServer) {
  const Outcome outcome = orvlog({"-v"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  const auto numbers = matches(outcome.out, kEntryLine);
  const auto lines = matches(outcome.out, kLogLine);
  EXPECT_GE(numbers.size(), 60U);
  EXPECT_EQ(numbers.size(), lines.size());
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  // A header of three lines, then three lines an entry: nothing else is printed.
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'),
            3 + 3 * static_cast<long>(numbers.size()));

  // A class that has event text shows its text.
  std::set<int> known = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 17, 18, 19, 20};
  for (int c : {0x20, 0x21, 0x22, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A}) {
    known.insert(c);
  }
  for (const std::string &c : matches(outcome.out, "^LOG: Unknown Event .Class 0x([0-9A-F]+),")) {
    EXPECT_EQ(known.count(std::stoi(c, nullptr, 16)), 0U) << c;
  }
}

TEST_F(EndToEnd, PrintsReportsInTheOrderOfTheOptions) {
  const Outcome outcome = orvlog({"-p", "-i", "-t"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  const size_t power = outcome.out.find("Power cap:");
  const size_t routing = outcome.out.find("\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\t");
  const size_t thermal = outcome.out.find("\nSensor");
  ASSERT_NE(thermal, std::string::npos);
  EXPECT_LT(power, routing);
  EXPECT_LT(routing, thermal);
  EXPECT_NE(outcome.out.find("\n 5\t\t 0\t\t 0\t\t60\t\tdcb8\t\t 3\n"), std::string::npos);
}

TEST_F(EndToEnd, NoteIsReadBack) {
  const std::string note = "Replaced fan 3; 100% \"done\" %s%n";
  const Outcome added = orvlog({"-s", "Repaired", "-l", note});
  EXPECT_EQ(added.out + added.err, "");
  const std::string listing = orvlog({"-v"}).out;
  EXPECT_EQ(matches(listing, kLogLine).back(), "Maintenance note: " + note);
  const std::string number = matches(listing, kEntryLine).back();
  const std::string tail = orvlog({"-V", number}).out;
  EXPECT_EQ(matches(tail, kEntryLine), std::vector<std::string>{number});
  EXPECT_NE(tail.find("\n" + number + " Repaired "), std::string::npos);

  const std::string longest(200, 'n');
  orvlog({"-s", "info", "-l", longest});
  EXPECT_EQ(matches(orvlog({"-v"}).out, kLogLine).back(), "Maintenance note: " + longest);
}

TEST_F(EndToEnd, NotesAddedAtOnceAreAllKept) {
  constexpr int kNotes = 50;
  const auto before = matches(orvlog({"-v"}).out, kEntryLine);
  std::vector<pid_t> children;
  for (int i = 0; i < kNotes; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(orvlog({"-s", "info", "-l", "note " + std::to_string(i)}).status);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const std::string listing = orvlog({"-v"}).out;
  const auto numbers = matches(listing, kEntryLine);
  EXPECT_EQ(std::set<std::string>(numbers.begin(), numbers.end()).size(), before.size() + kNotes);
  const auto lines = matches(listing, kLogLine);
  for (int i = 0; i < kNotes; ++i) {
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Maintenance note: note " + std::to_string(i)), 1) << i;
  }
}

TEST_F(EndToEnd, WatchdogKeepsItsState) {
  EXPECT_EQ(orvlog({"-a", "TIMEOUT=20"}).out, "Setting ASR timer to 20\n");
  EXPECT_EQ(orvlog({"-a", "STATUS"}).out, "Current ASR Status is ENABLED and the timeout value is 20\n");
  orvlog({"-a", "DISABLE"});
  write_file("cdt/5002", "\x12" + std::string(14, '\0'));
  EXPECT_EQ(orvlog({"-a", "STATUS"}).out,
            "Current IPMI WatchDog Timer  Status is DISABLED and the timeout value is 20\n");
}

TEST_F(EndToEnd, HostileRecordsGiveOneCleanLineEach) {
  std::string log;
  std::mt19937 random(1);
  for (uint32_t number = 0; number < 600; ++number) {
    std::string slot(sizeof(EVT_LOG_ENTRY), '\0');
    std::generate(slot.begin(), slot.end(), [&] { return static_cast<char>(random()); });
    if (number % 3 == 1) {
      slot.assign(slot.size(), '\xFF');
    }
    EVT_HEADER header;
    slot.copy(reinterpret_cast<char *>(&header), sizeof header);
    header.dwEvtNumber = number;
    header.wClass = static_cast<uint16_t>(number % 3 == 2 ? header.wClass : number % 0x30);
    header.wCode = static_cast<uint16_t>(header.wCode % 0x42);
    slot.replace(0, sizeof header, reinterpret_cast<const char *>(&header), sizeof header);
    log += slot;
  }
  write_file("cevt", log);
  const Outcome outcome = orvlog({"-v"});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(matches(outcome.out, kLogLine).size(), 600U);
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 3 + 3 * 600);
  EXPECT_TRUE(
      std::all_of(outcome.out.begin(), outcome.out.end(), [](char c) { return c == '\n' || c >= ' '; }));
}

TEST_F(EndToEnd, MachineWithoutDriver) {
  const Outcome outcome = run(program({"-v"}), [] { unsetenv("ORVLOG_SIMULATOR"); });
  EXPECT_EQ(outcome.out,
            "\nERROR: Could not open /dev/zythealth/cdt.\nPlease make sure the Health Monitor is started.");
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(EndToEnd, MakersLibrariesComeFirstOnTheLoadersPath) {
  const Outcome outcome = run(program({"-v"}), [] { setenv("LD_LIBRARY_PATH", OTHER_DRIVER_DIR, 1); });
  EXPECT_EQ(outcome.err, "orvlog: This server has no IML support.\n");
  EXPECT_EQ(outcome.out, "orvlog: The IML Log is empty.\n");
}

TEST_F(EndToEnd, DriverThatSkipsForEverEndsTheListing) {
  const Outcome outcome = run(program({"-v"}), [] {
    setenv("LD_LIBRARY_PATH", OTHER_DRIVER_DIR, 1);
    setenv("OTHER_DRIVER_STATUS", "3", 1);
  });
  EXPECT_EQ(outcome.err,
            "orvlog: This server has no IML support.\norvlog: The IML does not advance past entry 999999.\n");
  EXPECT_EQ(outcome.out, "");
}

}  // namespace
