// The whole program over a scripted driver: what it prints, what it asks of the driver and in which order,
// and how it ends.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "driver/channel.h"
#include "iml/class_names.h"
#include "orvlog/event_class.h"
#include "tests/fake_driver.h"

int orvlog_main(int argc, char **argv);

// While set, calloc has no memory, and closing a stream fails for want of space. The linker's --wrap leads
// the calls here.
static bool fail_calloc;
static bool fail_fclose;
extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__wrap_calloc(size_t count, size_t size) {
  return fail_calloc ? nullptr : __real_calloc(count, size);
}
extern "C" int __real_fclose(FILE *file);
extern "C" int __wrap_fclose(FILE *file) {
  const int result = __real_fclose(file);
  errno = fail_fclose ? ENOSPC : errno;
  return fail_fclose ? EOF : result;
}

namespace {

// One run in a child: `line` holds the words of the command line, separated by '|'. No text is no word.
void check(const std::string &line, const FakeDriver &driver, const std::string &out, const std::string &err,
           const std::string &trace, int status = 0) {
  std::string words = line.empty() ? "orvlog" : "orvlog|" + line;
  std::vector<char *> argv;
  for (char *rest = words.data(); rest != nullptr;) {
    argv.push_back(strsep(&rest, "|"));
  }
  argv.push_back(nullptr);
  static const int files[] = {memfd_create("out", MFD_CLOEXEC), memfd_create("err", MFD_CLOEXEC)};
  fflush(nullptr);
  if (fork() == 0) {
    dup2(files[0], STDOUT_FILENO);
    dup2(files[1], STDERR_FILENO);
    fake_driver() = driver;
    driver.prepare();
    exit(orvlog_main(static_cast<int>(argv.size() - 1), argv.data()));
  }
  int ended;
  wait(&ended);
  EXPECT_EQ(take(files[0]), out) << line;
  EXPECT_EQ(take(files[1]), err) << line;
  EXPECT_EQ(take(), trace) << line;
  EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == status) << line << ": " << ended;
}

std::string usage_with(const std::string &watchdog) {
  return R"(usage: orvlog  [options]
	-s <severity> = call to set the severity of a maintenance note
		The -s option must precede the -l option.
		Supported values for severity are:
		REPAIRED, CAUTION, CRITICAL, and INFO
	-l <"your note"> = call to log a maintenance note.
		(The note typed must be in double quotes).
	-v = call to view the entire log
	-V <entrynum> = view the entire log starting at entrynum
	-t Display current thermal sensor data
	-f Display current fan data
	-p Display current power data
	-i Display pci route table
	-a <option> Control )" +
         watchdog + R"(
		Supported values for option are:
		STATUS, ENABLE, DISABLE, TIMEOUT=<val>
		val must be 5, 10, 15, 20 or 30 minutes.
)";
}
const std::string kUsage = usage_with("Automatic Server Recovery");
const std::string kIpmiUsage = usage_with("IPMI Watchdog Timer");
const std::string kProbe = "open cdt 2\nioctl cdt 69 22 5002 15\n";
const std::string kInit = "open cdt 0\nioctl cdt 69 22 51 3\nclose cdt\n";
const std::string kAskState = kProbe + "open casr 0\nioctl casr 6 4\nclose casr\nget_ev VXHCPR 8\n";
const std::string kReport = "%s%n\n";
const std::string kEmpty = "orvlog: The IML Log is empty.\n";
const std::string kInvalid = "orvlog: Invalid error code returned.\n";

std::string ask(const std::string &node, const std::string &request) {
  return "open " + node + " 0\nioctl " + node + " " + request + "\nclose " + node + "\n";
}

const std::string kTemp = ask("proc", "1 1");
const std::string kFan = ask("proc", "2 1");
const std::string kPower = ask("proc", "3 1");
const std::string kEnable = ask("casr", "4 0 null");
const std::string kDisable = ask("casr", "3 0 null");

using Numbers = std::initializer_list<int>;
std::string reads(Numbers numbers) {
  std::string trace;
  for (const int number : numbers) {
    trace += "ioctl cevt 81 256 read " + std::to_string(number) + "\n";
  }
  return trace + "close cevt\n";
}
std::string lists(Numbers numbers) {
  return kProbe + kInit + "open cevt 0\n" + reads(numbers);
}
std::string counts_and_lists(Numbers counted, Numbers listed) {  // each through its own channel
  return kProbe + kInit + "open cevt 0\nopen cevt 0\n" + reads(counted) + reads(listed);
}

std::string adds(uint8_t severity, const std::string &note) {
  _ioctlEntry request = {{static_cast<uint32_t>(note.size()) + 46, 1, 0, 0}, {}};
  request.Evt.Hdr.wEvtLength = static_cast<uint16_t>(note.size() + 30);
  request.Evt.Hdr.bSeverity = severity;
  request.Evt.Hdr.wClass = 0x21;
  request.Evt.Hdr.wCode = 2;
  request.Evt.Hdr.dwCount = 1;
  memcpy(request.Evt.Data.ExtendDataSize, note.data(), note.size());
  return kInit + ask("cevt", "81 256 " + to_hex(&request, sizeof(request)));
}

const FakeDriver kIpmi = {.controller = 18};
FakeDriver opening(const char *node, int times) {
  return {.opens = {{node, times}}};
}

// A log of notes: the text of entry n is the n-th character after '0'. `answer` may change the record and
// return a status other than 0 in the driver's place.
using Answer = std::function<int(int number, EVT_LOG_ENTRY &)>;
int answer_as_it_is(int /*number*/, EVT_LOG_ENTRY & /*record*/) {
  return 0;
}
FakeDriver log_of(int entries, const Answer &answer = answer_as_it_is) {
  return {.event = [=](_ioctlEntry &request) {
    const int number = request.info.EvtNumber;
    request.Evt = {{0, static_cast<uint32_t>(number), 0, 9, 0x21, 2, {20, 16, 3, 21, 14, 5}, {}, 1}, {}};
    request.Evt.Data.ExtendDataSize[0] = static_cast<uint8_t>('0' + number);
    const int status = answer(number, request.Evt);
    return status != 0 || number < entries ? status : 1;
  }};
}
// Four entries, with `status` in place of the answer to one number.
FakeDriver log_answering(int number, int status, int error = 0) {
  return log_of(4, [=](int asked, EVT_LOG_ENTRY &) {
    errno = asked != number ? kEventEndOfLog : error != 0 ? error : errno;
    return asked == number ? status : 0;
  });
}

std::string entry(const std::string &number, const std::string &note) {
  return number + " Caution        14:05  03/21/2016 00:00  00/00/0000 0001\nLOG: Maintenance note: " + note +
         "\n\n";
}
std::string listing(const std::string &entries) {
  return "\nID   Severity       Initial Time      Update Time       Count\n"
         "-------------------------------------------------------------\n" +
         entries;
}
const std::string kFirst = listing(entry("0000", "0"));

TEST(CommandLine, IsRefusedBeforeTheDriverIsAsked) {
  const std::string invalid = "orvlog: Invalid argument --> ";
  const std::string dash = ".\nPlease make sure the '-' character precedes your option.\n\n";
  const std::string length =
      ".\nThe options are limited to one character.\n"
      "Make sure there is a space between your option and the supported value.\n\n";
  const std::string numeric = "orvlog: Invalid Input for the -V option: please enter numeric value\n";
  const auto refuse = [](const char *line, const std::string &err) {
    check(line, {}, "", err + kUsage, "", 1);
  };
  refuse("", "");
  refuse("-V|1a", numeric);
  refuse("-V| 5", numeric);
  refuse("-V|3|-v", invalid + "-v.\n");
  refuse("-V|x|-v|-t", invalid + "-v.\n");
  refuse("v", invalid + "v" + dash);
  refuse("|-t", invalid + dash);
  refuse("STATUS|-a|-vt", invalid + "STATUS" + dash);
  refuse("-vt", invalid + "-vt" + length);
  refuse("-s|info|-lnote", invalid + "-lnote" + length);
  const FakeDriver real_user = {
      .prepare = [] { exit(setresuid(65534, 0, 0) == 0 ? orvlog_main(1, nullptr) : 99); }};
  check("", real_user, "", "orvlog: You must be root to run this utility\n", "", 1);
}

TEST(CommandLine, ProbeChoosesTheWordsAndMustOpen) {
  const std::string closed =
      "\nERROR: Could not open /dev/zythealth/cdt.\nPlease make sure the Health Monitor is started.";
  check("-t", opening("cdt", 0), closed, "", "open cdt 2\n", 1);
  // The second word is checked for -V alone. The parser finds no option in these first words.
  check("v-|x", kIpmi, "", kIpmiUsage, kProbe);
  check("-|x", kIpmi, "", kIpmiUsage, kProbe);
  const FakeDriver no_answer = {.controller = 18, .controller_status = -1};
  check("--|x", no_answer, "", kUsage, kProbe);
  const std::string missing = "orvlog: option requires an argument -- 'a'\n";
  check("-x|-t|-a", {}, kReport, "orvlog: invalid option -- 'x'\n" + kUsage + missing + kUsage,
        kProbe + kTemp);
}

TEST(Notes, NeedASeverityBeforeThem) {
  const std::string precede =
      "orvlog: The -s option for setting the severity must precede the -l option to log a maintenance "
      "note.\n\n";
  const std::string require = "orvlog: The -s option requires a -l option to log a maintenance note.\n\n";
  const std::string invalid = "orvlog:  Invalid '-s' option!\n\n" + kUsage;
  check("-l|note", {}, "", precede + kUsage, kProbe, 1);
  check("-s|crit|-l|x", {}, "", invalid + precede + kUsage, kProbe, 1);
  check("-s|info ", {}, "", invalid, kProbe);
  check("-s|info", {}, "", require + kUsage, kProbe, 1);
  check("-s|info|-l|note|-s|info", {}, "", "", kProbe + adds(2, "note"));
  // The severity is the second word and the note the fourth, wherever their options are.
  check("-v|info|-s|bogus", {}, kEmpty, require + kUsage, lists({0}), 1);
  check("-s|info|-t|-l|note", {}, kReport, "", kProbe + kTemp + adds(2, "-l"));
}

TEST(Notes, AreSentToTheByte) {
  const std::string longest(200, '%');
  check("-s|INFO|-l|", {}, "", "", kProbe + adds(2, ""));
  check("-s|REPAIRED|-l|" + longest, {}, "", "", kProbe + adds(6, longest));
  check("-s|INFO|-l|n" + longest, {}, "",
        "orvlog: The maintenance note feature has a character limit of 200.\norvlog: Please enter a new "
        "note.\n",
        kProbe);
  check("-s|info|-l|replaced *2* fans", {}, "",
        "orvlog: Please avoid using the '*' character in your maintenance notes.\n", kProbe + kInit);
  // Any status but -1 counts as success.
  check("-s|Caution|-l|n", log_answering(0, 3), "", "", kProbe + adds(9, "n"));
  check("-s|cRITICAL|-l|n", log_answering(0, -1, ENOSPC), "",
        "orvlog: Adding Maintenance Note failed: err=28h.\n", kProbe + adds(15, "n"));
}

TEST(Viewer, ListsEntriesAndAsksForThemByNumber) {
  const auto jump = [](int number, EVT_LOG_ENTRY &record) {  // a jump forward is followed
    if (number == 2) {
      record.Hdr.dwEvtNumber = 7;
      memcpy(record.Data.ExtendDataSize, "a\tb, then plain text\x80 more of it\x1f\x7f%n", 37);
    }
    return number == 1 ? 3 : 0;
  };
  const std::string entries =
      entry("0000", "0") + entry("0007", "a b, then plain text  more of it \x7f%n") + entry("0008", "8");
  check("-v", log_of(9, jump), listing(entries), "", lists({0, 1, 2, 8, 9}));
  check("-V|8", log_of(9, jump), listing(entry("0008", "8")), "",
        counts_and_lists({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {8, 9}));
}

std::string only(const char *total) {
  return std::string("orvlog: Invalid argument for the -V option; only ") + total + " events exist.\n";
}

TEST(Viewer, StartNumberIsCheckedAgainstTheLog) {
  const std::string refused = counts_and_lists({0, 1, 2}, {});
  check("-V|1", log_of(2), listing(entry("0001", "1")), "", counts_and_lists({0, 1, 2}, {1, 2}));
  check("-V|2", log_of(2), "", only("2"), refused);
  check("-V|4294967295", log_of(2), "", only("2"), refused);
  check("-V|99999999999999999999", log_of(2), "", only("2"), refused);
  check("-V|4294967297", log_of(2), listing(entry("0001", "1")), "", counts_and_lists({0, 1, 2}, {1, 2}));
  check("-V|", log_of(1), kFirst, "", counts_and_lists({0, 1}, {0, 1}));
  check("-V|0", log_of(0), kEmpty, "", counts_and_lists({0}, {0}));
  check("-V|7", log_of(0), "", "", counts_and_lists({0}, {7}));
  check("-V|3", log_answering(2, -1, EIO), "", kInvalid + only("2"), refused);
  // The node is closed before the message.
  FakeDriver one_stream = log_of(2);
  one_stream.prepare = [] { dup2(trace_fd, STDERR_FILENO); };
  check("-V|2", one_stream, "", "", refused + only("2"));
  const auto gaps = log_of(0, [](int number, EVT_LOG_ENTRY &) { return number < 2 ? 3 : 1; });
  check("-V|1", gaps, "", "", counts_and_lists({0, 1, 2}, {1, 2}));
}

// The count for -V goes on by one, whatever the records carry. It ends at a million, and then any start will
// do.
TEST(Viewer, CountsNumbers) {
  FakeDriver repeating = log_of(4, [](int, EVT_LOG_ENTRY &record) {
    record.Hdr.dwEvtNumber %= 2;
    return 0;
  });
  check("-V|4", repeating, "", only("4"), counts_and_lists({0, 1, 2, 3, 4}, {}));
  FakeDriver longest = log_of(999'999);
  FakeDriver too_long = log_of(1'000'000);
  longest.traces_events = too_long.traces_events = false;
  check("-V|1000000", longest, "", only("999999"), counts_and_lists({}, {}));
  check("-V|1000000", too_long, "", "", counts_and_lists({}, {}));
}

// The driver says it with the status or with the errno of a failed request. What it leaves alone says
// nothing: neither an older errno nor one that comes with another status.
TEST(Viewer, FollowsStatusOrErrno) {
  const std::string others = entry("0002", "2") + entry("0003", "3");
  const auto list = [](int status, int error, const std::string &out, const std::string &err, Numbers asked) {
    check("-v", log_answering(1, status, error), kFirst + out, err, lists(asked));
  };
  list(kEventNoEntry, 0, others, "", {0, 1, 2, 3, 4});
  list(-1, kEventNoEntry, others, "", {0, 1, 2, 3, 4});
  list(kEventEndOfLog, 0, "", "", {0, 1});
  list(-1, kEventEndOfLog, "", "", {0, 1});
  list(2, 0, "", kInvalid, {0, 1});
  list(-1, 0, "", kInvalid, {0, 1});
  list(-2, kEventEndOfLog, "", kInvalid, {0, 1});
}

// A listing ends where it would repeat itself, and in a gap of a million numbers.
TEST(Viewer, InsistsOnProgress) {
  const auto stuck = [](const char *at) {
    return std::string("orvlog: The IML does not advance past entry ") + at + ".\n";
  };
  const auto carrying = [](uint32_t lowest, uint32_t highest) {
    return log_of(3, [=](uint32_t number, EVT_LOG_ENTRY &record) {
      record.Hdr.dwEvtNumber = std::clamp(number, lowest, highest);
      return 0;
    });
  };
  const std::string repeated = entry("0001", "1") + entry("0001", "2");
  check("-v", carrying(0, 1), kFirst + repeated, stuck("2"), lists({0, 1, 2}));
  check("-V|1", carrying(0, 1), listing(repeated), stuck("2"), counts_and_lists({0, 1, 2, 3}, {1, 2}));
  check("-v", carrying(UINT32_MAX, UINT32_MAX), listing(entry("-0001", "0")), stuck("4294967295"),
        lists({0}));
  const auto last_are_gaps =
      log_of(0, [](int number, EVT_LOG_ENTRY &) { return number < 0 ? kEventNoEntry : kEventEndOfLog; });
  check("-V|4294967294", last_are_gaps, "", stuck("4294967295"), counts_and_lists({0}, {-2, -1}));
  // The first gap has one number less than the longest one.
  FakeDriver gaps = log_of(INT32_MAX, [](int number, EVT_LOG_ENTRY &) {
    return number == 0 || number == 1'000'000 ? kEventRead : kEventNoEntry;
  });
  gaps.traces_events = false;
  check("-v", gaps, kFirst + entry("1000000", "p"), stuck("2000000"), lists({}));
}

TEST(Reports, AreCopiedAsTheyAre) {
  check("-t|-f|-p", {}, kReport + kReport + kReport, "", kProbe + kTemp + kFan + kPower);
  const std::string longest(kReportSize, 'x');
  check("-f", {.report = longest}, longest + "\n", "", kProbe + kFan);
}

// Failures that an action reports before the run goes on: the exit status stays 0.
TEST(Failures, AreReportedAndTheRunExitsWithZero) {
  const FakeDriver no_memory = {.prepare = [] { fail_calloc = dup2(trace_fd, STDERR_FILENO) != -1; }};
  for (const char *line : {"-s|info|-l|note", "-v", "-V|2"}) {
    check(line, opening("cevt", 0), "", "orvlog: Unable to open the /dev/zythealth/cevt file.\n",
          kProbe + kInit + "open cevt 0\n");
    check(line, no_memory, "", "", lists({}) + "orvlog: Unable to allocate memory to log message.\n");
  }
  const std::string no_check = "orvlog: ioctl call failed to check for IML support.\n";
  check("-v", {.has_log = 0}, kEmpty, "orvlog: This server has no IML support.\n", lists({0}));
  check("-v", {.has_log = 0, .log_status = -1}, kEmpty, no_check, lists({0}));
  check("-v", {.log_status = 1}, kEmpty, no_check, lists({0}));
  check("-v", log_answering(0, -1, EIO), kEmpty, kInvalid, lists({0}));
  const std::string closed = "orvlog: Cannot open /dev/cdt.\nThe Health Monitor may not be activated.\n";
  check("-v", opening("cdt", 1), kEmpty, closed, kProbe + "open cdt 0\nopen cevt 0\n" + reads({0}));
  const std::string failed = "ioctl failed\n\n";
  check("-t", {.report_status = -1}, failed, "orvlog: GET_TEMP_PD ioctl failed\n", kProbe + kTemp);
  check("-f", {.report_status = 2}, failed, "orvlog: GET_FAN_PD ioctl failed\n", kProbe + kFan);
  check("-p", {.report_status = -1}, failed, "orvlog: GET_PWR_PD ioctl failed\n", kProbe + kPower);
  check("-f", opening("proc", 0),
        "Could not get temperature data. Make sure the health monitor is activated\n\n",
        "orvlog: Cannot open /dev/zythealth/proc.\n", kProbe + "open proc 0\n");
}

TEST(Failures, KeepTheirReasonWhenTheNodeIsClosed) {
  {
    const Channel node(kNodeEvents, kOpenRead);
    errno = EIO;
  }
  EXPECT_EQ(errno, EIO);
  take();
}

TEST(Watchdog, SubOptions) {
  const auto asr = [](const std::string &option, int state, const std::string &out,
                      const std::string &err = "", const std::string &trace = "") {
    check("-a|" + option, {.asr_state = state}, out, err, kAskState + trace);
  };
  const std::string enabled = "Current ASR Status is ENABLED and the timeout value is 15\n";
  check("-v|-a|STATUS", {}, kEmpty + enabled, "", lists({0}) + kAskState.substr(kProbe.size()));
  const std::string disabled =
      "ERROR: ASR status is currently disabled.\nASR must be enabled before setting timeout value.\n";
  asr("STATUS", 1, enabled);
  asr("STATUS", 2, enabled);
  asr("STATUS", 0, "Current ASR Status is DISABLED and the timeout value is 15\n");
  asr("ENABLE", 0, "Enabling ASR timer\n", "", kEnable);
  asr("DISABLE", 1, "Disabling ASR timer\n", "", kDisable);
  asr("TIMEOUT=30", 1, "Setting ASR timer to 30\n", "", "set_ev VXHCPR 01021e0405060708\n");
  asr("TIMEOUT=010abc", 1, "Setting ASR timer to 10\n", "", "set_ev VXHCPR 01020a0405060708\n");
  asr("TIMEOUT=4294967301", 1, "Setting ASR timer to 5\n", "", "set_ev VXHCPR 0102050405060708\n");
  for (const char *option : {"=25", "=0", "=37", "=-5", "=", "=x10"}) {
    asr(std::string("TIMEOUT") + option, 1, "", "val must be 5, 10, 15, 20 or 30 minutes.\n" + kUsage);
  }
  asr("xTIMEOUT=10", 1, "", "val must be 5, 10, 15, 20 or 30 minutes.\n" + kUsage);
  asr("TIMEOUT=10", 0, "", disabled);
  asr("TIMEOUT=10", 2, "", disabled);
  asr("status", 1, "", "Invalid -a option status\n" + kUsage);
  asr("TIMEOUT 5", 1, "", "Invalid -a option TIMEOUT 5\n" + kUsage);
}

TEST(Watchdog, WorksWithoutDriverOrVariable) {
  // A state that came with a failed request is ignored.
  check("-a|STATUS", {.asr_status = -1}, "Current ASR Status is DISABLED and the timeout value is 15\n", "",
        kAskState);
  const FakeDriver without = {.opens = {{"casr", 0}}, .get_status = 1};
  const std::string trace = kProbe + "open casr 0\nget_ev VXHCPR 8\n";
  check("-a|STATUS", without, "Current ASR Status is DISABLED and the timeout value is 0\n", "", trace);
  check("-a|ENABLE", without, "Enabling ASR timer\n", "", trace + "open casr 0\n");
  // After a failed read, the timeout is written with zeros around it, and the variable keeps its size.
  check("-a|TIMEOUT=5", {.get_status = 1, .set_status = -1}, "Setting ASR timer to 5\n",
        "orvlog: Set ASR Timeout failed\n", kAskState + "set_ev VXHCPR 0000050000000000\n");
}

TEST(Watchdog, IpmiWords) {
  check("-a|STATUS", kIpmi, "Current IPMI WatchDog Timer  Status is ENABLED and the timeout value is 15\n",
        "", kAskState);
  check("-a|ENABLE", kIpmi, "Enabling IPMI Watchdog  timer\n", "", kAskState + kEnable);
  check("-a|DISABLE", kIpmi, "Disabling IPMI Watchdog timer\n", "", kAskState + kDisable);
  check("-a|x", kIpmi, "", "Invalid -a option x\n" + kIpmiUsage, kAskState);
  check("-a|TIMEOUT=20", {.controller = 18, .set_status = 1}, "Setting IPMI Watchdog timer to 20\n",
        "orvlog: Set IPMI Watchdog Timeout failed\n", kAskState + "set_ev VXHCPR 0102140405060708\n");
  const std::string disabled =
      "ERROR: IPMI Watchdog status is currently disabled.\n"
      "IPMI Watchdog must be enabled before setting timeout value.\n";
  check("-a|TIMEOUT=20", {.controller = 18, .asr_state = 0}, "", disabled, kAskState);
}

TEST(Output, KeepsItsOrderWithTheMessages) {
  FakeDriver one_stream = log_answering(1, 2);
  one_stream.prepare = [] { dup2(STDOUT_FILENO, STDERR_FILENO); };
  check("-v", one_stream, kFirst + kInvalid, "", lists({0, 1}));
  check("-t|-x", one_stream, kReport + "orvlog: invalid option -- 'x'\n" + kUsage, "", kProbe + kTemp);
}

TEST(Output, ThatCannotBeWrittenEndsTheListingAndIsReportedOnce) {
  FakeDriver full = log_of(INT32_MAX);
  full.traces_events = false;
  full.prepare = [] { ASSERT_NE(freopen("/dev/full", "w", stdout), nullptr); };
  const std::string no_space = "orvlog: Cannot write standard output: No space left on device\n";
  check("-v", full, "", no_space, lists({}));
  check("-t|-f", full, "", no_space, kProbe + kTemp + kFan);
  check("-t", {.prepare = [] { fail_fclose = true; }}, kReport, no_space, kProbe + kTemp);
}

TEST(Output, NeverGoesIntoANode) {
  FakeDriver closed;
  closed.prepare = [] { close(STDERR_FILENO); };
  check("-t", closed, kReport, "", kProbe + kTemp);
  closed.prepare = [] { close(STDIN_FILENO), close(STDOUT_FILENO); };
  check("-t", closed, "", "orvlog: Cannot write standard output: Bad file descriptor\n", kProbe + kTemp);
  closed.prepare = [] {
    static constexpr rlimit kNone = {0, 64}, kSome = {64, 64};
    close(STDIN_FILENO);
    setrlimit(RLIMIT_NOFILE, &kNone);
    atexit([] { setrlimit(RLIMIT_NOFILE, &kSome); });  // the sanitizers look for leaks then
  };
  check("-t", closed, "", "orvlog: Cannot occupy a closed standard stream: Too many open files\n", "", 1);
}

TEST(EventClass, LabelsAreTheNamesOfTheClassesButForSome) {
  std::string others;
  for (uint16_t code = 0; code < std::size(EventClass); ++code) {
    const std::string label = EventClass[code];
    others += label == iml::class_name(code, "Not defined") ? "" : label + '|';
  }
  EXPECT_EQ(others, "EVT_CLASS_EMPTY|EVT_CLASS_TEST|ASR|OS Class|DIAGS|Maintenance Note|");
}

}  // namespace
