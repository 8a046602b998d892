// The whole program over a scripted driver: what it says,
// what it asks of the driver and in which order, how it ends.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "orvlog/event_class.h"
#include "tests/orvlog/fake_driver.h"
#include "tests/support/capture.h"

int orvlog_main(int argc, char **argv);

namespace {

const std::string kUsage = R"(usage: orvlog  [options]
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
	-a <option> Control Automatic Server Recovery
		Supported values for option are:
		STATUS, ENABLE, DISABLE, TIMEOUT=<val>
		val must be 5, 10, 15, 20 or 30 minutes.
)";
const std::string kProbe = "open cdt 2\nioctl cdt 69 22\n";
const std::string kInit = "open cdt 0\nioctl cdt 69 22\nclose cdt\n";
const std::string kRead = "ioctl cevt 81 256\n";

std::string ipmi(std::string usage) {
  const std::string asr = "Control Automatic Server Recovery";
  return usage.replace(usage.find(asr), asr.size(), "Control IPMI Watchdog Timer");
}

/// Runs the program in a child, in which `script` sets up the driver first.
Outcome orvlog(const std::vector<std::string> &words, const std::function<void(FakeDriver &)> &script = {}) {
  return capture([&] {
    fake_driver().data_table = [](uint16_t type, void *data, uint32_t size) {
      if (type == 51 && size == 3) {
        memset(data, 1, size);
      } else if (type != 5002 || size != 15) {
        return -1;
      }
      return 0;
    };
    if (script) {
      script(fake_driver());
    }
    std::vector<std::string> copies = words;
    std::vector<char *> argv = {const_cast<char *>("orvlog")};
    for (std::string &word : copies) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    orvlog_main(static_cast<int>(argv.size()) - 1, argv.data());
  });
}

void use_ipmi(FakeDriver &driver) {
  driver.data_table = [](uint16_t type, void *data, uint32_t size) {
    memset(data, type == 5002 ? 18 : 1, size);
    return 0;
  };
}

/// A log of notes: entry n reads "n"; `status` may answer for a number in the driver's place.
std::function<int(_ioctlEntry &)> log_of(int entries, std::function<int(_ioctlEntry &)> status = {}) {
  return [=](_ioctlEntry &request) {
    trace_bytes("read", &request, 20);
    const int number = request.info.EvtNumber;
    EVT_LOG_ENTRY &record = request.Evt;
    record = {};
    record.Hdr.dwEvtNumber = static_cast<uint32_t>(number);
    record.Hdr.bSeverity = 9;
    record.Hdr.wClass = kClassMaintenance;
    record.Hdr.wCode = 2;
    record.Hdr.InitTime = {20, 16, 3, 21, 14, 5};
    record.Hdr.dwCount = 1;
    record.Data.ExtendDataSize[0] = static_cast<uint8_t>('0' + number);
    const int answer = status ? status(request) : 0;
    return answer != 0 ? answer : number < entries ? 0 : 1;
  };
}

std::string entry_text(const std::string &number, const std::string &severity, const std::string &note) {
  return number + " " + severity + std::string(14 - severity.size(), ' ') +
         " 14:05  03/21/2016 00:00  00/00/0000 0001\n" + "LOG: Maintenance note: " + note + "\n\n";
}

const std::string kHeader =
    "\nID   Severity       Initial Time      Update Time       Count\n"
    "-------------------------------------------------------------\n";

TEST(CommandLine, IsRefusedBeforeTheDriverIsAsked) {
  const std::string dash = "Please make sure the '-' character precedes your option.\n\n";
  const std::string length =
      "The options are limited to one character.\n"
      "Make sure there is a space between your option and the supported value.\n\n";
  const struct {
    std::vector<std::string> words;
    std::string err;
  } cases[] = {
      {{}, ""},
      {{"-V", "1a"}, "orvlog: Invalid Input for the -V option: please enter numeric value\n"},
      {{"-V", "-1"}, "orvlog: Invalid Input for the -V option: please enter numeric value\n"},
      {{"-V", "3", "-v"}, "orvlog: Invalid argument --> -v.\n"},
      {{"-V", "x", "-v", "-t"}, "orvlog: Invalid argument --> -v.\n"},
      {{"v"}, "orvlog: Invalid argument --> v.\n" + dash},
      {{""}, "orvlog: Invalid argument --> .\n" + dash},
      {{"STATUS", "-a", "-vt"}, "orvlog: Invalid argument --> STATUS.\n" + dash},
      {{"-vt"}, "orvlog: Invalid argument --> -vt.\n" + length},
      {{"-V5"}, "orvlog: Invalid argument --> -V5.\n" + length},
      {{"-s", "info", "-lnote"}, "orvlog: Invalid argument --> -lnote.\n" + length},
      {{"-t", "-f", "-vt"}, "orvlog: Invalid argument --> -vt.\n" + length},
  };
  for (const auto &c : cases) {
    const Outcome outcome = orvlog(c.words);
    EXPECT_EQ(outcome.err, c.err + kUsage);
    EXPECT_EQ(outcome.out + outcome.trace, "");
    EXPECT_EQ(outcome.status, 1);
  }
}

TEST(CommandLine, ProbeChoosesTheWordsAndMustOpen) {
  const Outcome closed = orvlog({"-t"}, [](FakeDriver &driver) { driver.open_errors["cdt"] = ENOENT; });
  EXPECT_EQ(closed.out,
            "\nERROR: Could not open /dev/zythealth/cdt.\nPlease make sure the Health Monitor is started.");
  EXPECT_EQ(closed.err, "");
  EXPECT_EQ(closed.trace, "open cdt 2\n");
  EXPECT_EQ(closed.status, 1);

  // The second word is looked at for -V alone; a lone dash or
  // none at the front leaves the parser without an option.
  for (const char *word : {"v-", "-", "--"}) {
    const Outcome none = orvlog({word, "x"}, use_ipmi);
    EXPECT_EQ(none.err, ipmi(kUsage));
    EXPECT_EQ(none.trace, kProbe);
    EXPECT_EQ(none.status, 0);
  }
  const Outcome failed = orvlog({"-"}, [](FakeDriver &driver) {
    use_ipmi(driver);
    driver.data_table = [](uint16_t, void *data, uint32_t size) {
      memset(data, 18, size);
      return -1;
    };
  });
  EXPECT_EQ(failed.err, kUsage);
}

TEST(CommandLine, UnknownOptionsShowTheUsageAndTheRunGoesOn) {
  const Outcome outcome = orvlog({"-x", "-t", "-a"});
  EXPECT_EQ(outcome.err, "orvlog: invalid option -- 'x'\n" + kUsage +
                             "orvlog: option requires an argument -- 'a'\n" + kUsage);
  EXPECT_EQ(outcome.out, "\n");
  EXPECT_EQ(outcome.trace, kProbe + "open proc 0\nioctl proc 1 1\nclose proc\n");
  EXPECT_EQ(outcome.status, 0);
}

TEST(CommandLine, NotesNeedTheirSeverityInFront) {
  const std::string precede =
      "orvlog: The -s option for setting the severity must precede the -l option to log a maintenance "
      "note.\n\n";
  const struct {
    std::vector<std::string> words;
    std::string err;
    int status;
  } cases[] = {
      {{"-l", "note"}, precede + kUsage, 1},
      {{"-s", "bogus", "-l", "x"}, "orvlog:  Invalid '-s' option!\n\n" + kUsage + precede + kUsage, 1},
      {{"-s", "infos"}, "orvlog:  Invalid '-s' option!\n\n" + kUsage, 0},
      {{"-s", "info"},
       "orvlog: The -s option requires a -l option to log a maintenance note.\n\n" + kUsage,
       1},
      {{"-s", "INFO", "-l", std::string(201, 'n')},
       "orvlog: The maintenance note feature has a character limit of 200.\norvlog: Please enter a new "
       "note.\n",
       0},
      // The severity is the second word, wherever -s stands.
      {{"-v", "info", "-s", "bogus"},
       "orvlog: The -s option requires a -l option to log a maintenance note.\n\n" + kUsage,
       1},
  };
  for (const auto &c : cases) {
    const Outcome outcome = orvlog(c.words);
    EXPECT_EQ(outcome.err, c.err);
    EXPECT_EQ(outcome.status, c.status);
    EXPECT_EQ(outcome.trace.find("open cevt 0\nioctl cevt 81 256\nioctl"), std::string::npos);
  }
}

TEST(CommandLine, IsForRootAlone) {
  const Outcome outcome = capture([] {
    if (setuid(65534) != 0) {
      exit(99);
    }
    char name[] = "orvlog";
    char *argv[] = {name, nullptr};
    orvlog_main(1, argv);
  });
  // Behind it, a build for coverage complains that it may not write its counters.
  const std::string refusal = "orvlog: You must be root to run this utility\n";
  EXPECT_EQ(outcome.err.substr(0, refusal.size()), refusal);
  EXPECT_EQ(outcome.err.find("usage: "), std::string::npos);
  EXPECT_EQ(outcome.status, 1);
}

TEST(Notes, AreSentToTheByte) {
  for (const size_t length : {0U, 1U, 200U}) {
    const std::string note(length, '%');
    const Outcome outcome = orvlog({"-s", "Critical", "-l", note}, [](FakeDriver &driver) {
      driver.event = [](_ioctlEntry &request) {
        trace_bytes("add", &request, sizeof request);
        return 3;  // any status but -1 is taken for success
      };
    });
    _ioctlEntry expected = {};
    expected.info.length = static_cast<uint32_t>(length) + 46;
    expected.info.choice = 1;
    expected.Evt.Hdr.wEvtLength = static_cast<uint16_t>(length + 30);
    expected.Evt.Hdr.bSeverity = 15;
    expected.Evt.Hdr.wClass = 0x21;
    expected.Evt.Hdr.wCode = 2;
    expected.Evt.Hdr.dwCount = 1;
    memset(expected.Evt.Data.ExtendDataSize, '%', length);
    const std::string add = capture([&] { trace_bytes("add", &expected, sizeof expected); }).trace;
    EXPECT_EQ(outcome.trace, kProbe + kInit + "open cevt 0\nioctl cevt 81 256\n" + add + "close cevt\n");
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(Notes, SeverityWordsAreWholeAndOfAnyCase) {
  const std::pair<const char *, const char *> cases[] = {
      {"info", "2"}, {"REPAIRED", "6"}, {"Caution", "9"}, {"cRITICAL", "15"}, {"crit", ""}, {"info ", ""}};
  for (const auto &[word, code] : cases) {
    const Outcome outcome = orvlog({"-s", word, "-l", "n"}, [](FakeDriver &driver) {
      driver.event = [](_ioctlEntry &request) { return printf("%d", request.Evt.Hdr.bSeverity) < 0; };
    });
    EXPECT_EQ(outcome.out, code) << word;
    EXPECT_EQ(outcome.status, *code == '\0');
  }
}

TEST(Viewer, ListsEntriesAndAsksForThemByNumber) {
  const Outcome outcome = orvlog({"-v"}, [](FakeDriver &driver) {
    driver.event = log_of(9, [](_ioctlEntry &request) {
      if (request.info.EvtNumber == 2) {  // a jump forward is followed
        request.Evt.Hdr.dwEvtNumber = 7;
        memcpy(request.Evt.Data.ExtendDataSize, "a\tb\x80\x1f\x7f%n", 9);
      }
      return request.info.EvtNumber == 1 ? 3 : 0;
    });
  });
  EXPECT_EQ(outcome.out, kHeader + entry_text("0000", "Caution", "0") +
                             entry_text("0007", "Caution", "a b  \x7f%n") +
                             entry_text("0008", "Caution", "8"));
  EXPECT_EQ(outcome.err, "");
  std::string trace = kProbe + kInit + "open cevt 0\n";
  for (const char *number : {"00", "01", "02", "08", "09"}) {
    trace += kRead + "read 00 02 00 00 02 00 00 00 00 00 00 00 " + number + " 00 00 00 1c 01 00 00\n";
  }
  EXPECT_EQ(outcome.trace, trace + "close cevt\n");
}

TEST(Viewer, NamesSeverities) {
  const std::map<int, std::string> names = {
      {2, "Information"}, {3, "Information"}, {6, "Repaired"}, {9, "Caution"}, {15, "Critical"}};
  for (int severity = 0; severity <= 16; ++severity) {
    const Outcome outcome = orvlog({"-v"}, [severity](FakeDriver &driver) {
      driver.event = log_of(1, [severity](_ioctlEntry &request) {
        request.Evt.Hdr.bSeverity = static_cast<uint8_t>(severity);
        return 0;
      });
    });
    const std::string name = names.count(severity) != 0 ? names.at(severity) : "Unknown";
    EXPECT_EQ(outcome.out, kHeader + entry_text("0000", name, "0"));
  }
}

TEST(Viewer, StartNumberIsCheckedAgainstTheLog) {
  const auto view = [](const char *start, int entries) {
    return orvlog({"-V", start}, [=](FakeDriver &driver) { driver.event = log_of(entries); });
  };
  EXPECT_EQ(view("4", 5).out, kHeader + entry_text("0004", "Caution", "4"));
  const std::string refused = "orvlog: Invalid argument for the -V option; only 5 events exist.\n";
  for (const char *start : {"5", "4294967295", "99999999999999999999"}) {
    const Outcome outcome = view(start, 5);
    EXPECT_EQ(outcome.err, refused) << start;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 0);
  }
  EXPECT_EQ(view("4294967297", 5).out.substr(0, kHeader.size() + 4), kHeader + "0001");
  EXPECT_EQ(view("", 1).out, kHeader + entry_text("0000", "Caution", "0"));
  EXPECT_EQ(view("0", 0).out, "orvlog: The IML Log is empty.\n");
  EXPECT_EQ(view("7", 0).out, "");

  // The count has a node of its own, and gaps count.
  const Outcome gap = orvlog({"-V", "1"}, [](FakeDriver &driver) {
    driver.event = [](_ioctlEntry &request) { return request.info.EvtNumber < 2 ? 3 : 1; };
  });
  EXPECT_EQ(gap.trace, kProbe + kInit + "open cevt 0\nopen cevt 0\n" + kRead + kRead + kRead +
                           "close cevt\n" + kRead + kRead + "close cevt\n");
  EXPECT_EQ(gap.out + gap.err, "");
}

TEST(Viewer, StatusMayComeThroughErrno) {
  const auto failing_at = [](int number, int error) {
    return [=](FakeDriver &driver) {
      driver.event = log_of(4, [=](_ioctlEntry &request) {
        if (request.info.EvtNumber != number) {
          return 0;
        }
        errno = error;
        return -1;
      });
    };
  };
  const std::string first = kHeader + entry_text("0000", "Caution", "0");
  const Outcome end = orvlog({"-v"}, failing_at(1, 1));
  EXPECT_EQ(end.out, first);
  EXPECT_EQ(end.err, "");
  const Outcome gap = orvlog({"-v"}, failing_at(1, 3));
  EXPECT_EQ(gap.out, first + entry_text("0002", "Caution", "2") + entry_text("0003", "Caution", "3"));
  const Outcome failed = orvlog({"-v"}, failing_at(1, EIO));
  EXPECT_EQ(failed.out, first);
  EXPECT_EQ(failed.err, "orvlog: Invalid error code returned.\n");
  EXPECT_EQ(failed.status, 0);
  const Outcome at_once = orvlog({"-v"}, failing_at(0, EIO));
  EXPECT_EQ(at_once.out, "orvlog: The IML Log is empty.\n");
  // Neither a failure without a reason nor a negative status takes over an errno that was there before.
  for (const int status : {-1, -2}) {
    const Outcome bare = orvlog({"-v"}, [status](FakeDriver &driver) {
      driver.event = [status](_ioctlEntry &) {
        errno = status == -1 ? errno : 1;
        return status;
      };
      errno = 1;
    });
    EXPECT_EQ(bare.out, "orvlog: The IML Log is empty.\n");
    EXPECT_EQ(bare.err, "orvlog: Invalid error code returned.\n");
  }
  const Outcome counted = orvlog({"-V", "3"}, failing_at(2, EIO));
  EXPECT_EQ(counted.err,
            "orvlog: Invalid error code returned.\n"
            "orvlog: Invalid argument for the -V option; only 2 events exist.\n");
}

TEST(Viewer, InsistsOnProgress) {
  const Outcome back = orvlog({"-v"}, [](FakeDriver &driver) {
    driver.event = log_of(9, [](_ioctlEntry &request) {
      request.Evt.Hdr.dwEvtNumber = request.info.EvtNumber == 2 ? 1 : request.Evt.Hdr.dwEvtNumber;
      return 0;
    });
  });
  EXPECT_EQ(back.err, "orvlog: The IML does not advance past entry 2.\n");
  EXPECT_EQ(back.out.substr(back.out.size() - 26), "LOG: Maintenance note: 2\n\n");
  const Outcome wrapped = orvlog({"-v"}, [](FakeDriver &driver) {
    driver.event = log_of(9, [](_ioctlEntry &request) {
      request.Evt.Hdr.dwEvtNumber = 0xFFFFFFFF;
      return 0;
    });
  });
  EXPECT_EQ(wrapped.err, "orvlog: The IML does not advance past entry 0.\n");
  EXPECT_EQ(wrapped.out, kHeader + entry_text("-0001", "Caution", "0"));
}

// The count for -V ends where the listing would, and does not refuse a start then.
TEST(Viewer, CountsNoFurtherThanTheLogAdvances) {
  const Outcome repeats = orvlog({"-V", "3"}, [](FakeDriver &driver) {
    driver.event = log_of(99, [](_ioctlEntry &request) {
      request.Evt.Hdr.dwEvtNumber = std::min(request.Evt.Hdr.dwEvtNumber, 4U);
      return 0;
    });
  });
  EXPECT_EQ(repeats.out, kHeader + entry_text("0003", "Caution", "3") + entry_text("0004", "Caution", "4") +
                             entry_text("0004", "Caution", "5"));
  EXPECT_EQ(repeats.err, "orvlog: The IML does not advance past entry 5.\n");

  const auto sparse = [](FakeDriver &driver) {
    driver.traces_requests = false;
    driver.event = [](_ioctlEntry &request) {
      const int number = request.info.EvtNumber;
      request.Evt.Hdr.dwEvtNumber = static_cast<uint32_t>(number);
      return number <= 1'200'000 && number % 600'000 == 0 ? 0 : 3;
    };
  };
  const Outcome gaps = orvlog({"-V", "1200000"}, sparse);
  EXPECT_EQ(gaps.out.substr(0, kHeader.size() + 8), kHeader + "1200000 ");
  EXPECT_EQ(gaps.err, "orvlog: The IML does not advance past entry 2200000.\n");
  const Outcome beyond = orvlog({"-V", "5000000"}, sparse);
  EXPECT_EQ(beyond.err, "orvlog: The IML does not advance past entry 5999999.\n");
  EXPECT_EQ(orvlog({"-v"}, sparse).err, gaps.err);
}

TEST(Reports, AreCopiedAsTheyAre) {
  const Outcome all = orvlog({"-t", "-f", "-p"}, [](FakeDriver &driver) {
    driver.report = [](unsigned code, char *text) {
      snprintf(text, kReportSize, "report %u %%s%%n", code);
      return 0;
    };
  });
  EXPECT_EQ(all.out, "report 1 %s%n\nreport 2 %s%n\nreport 3 %s%n\n");
  EXPECT_EQ(all.trace,
            kProbe +
                "open proc 0\nioctl proc 1 1\nclose proc\nopen proc 0\nioctl proc 2 1\nclose proc\n"
                "open proc 0\nioctl proc 3 1\nclose proc\n");
  const Outcome endless = orvlog({"-f"}, [](FakeDriver &driver) {
    driver.report = [](unsigned, char *text) {
      memset(text, 'x', kReportSize);
      return 0;
    };
  });
  EXPECT_EQ(endless.out, std::string(kReportSize, 'x') + "\n");
}

// Every failure that an action reports by itself, and goes on: the exit status stays 0.
TEST(Failures, AreSaidAndEndWell) {
  using Script = std::function<void(FakeDriver &)>;
  const auto closed = [](const char *node) -> Script {
    return [node](FakeDriver &driver) { driver.open_errors[node] = ENOENT; };
  };
  const auto table_answers = [](int status) -> Script {
    return [status](FakeDriver &driver) {
      driver.data_table = [status](uint16_t, void *, uint32_t) { return status; };
    };
  };
  const auto report_answers = [](int status) -> Script {
    return [status](FakeDriver &driver) {
      driver.report = [status](unsigned, char *text) {
        strcpy(text, "half a report that the driver left");
        return status;
      };
    };
  };
  const Script cdt_closed_after_probe = [](FakeDriver &driver) {
    driver.data_table = [&driver](uint16_t, void *, uint32_t) {
      driver.open_errors["cdt"] = EIO;
      return 0;
    };
  };
  const Script add_fails = [](FakeDriver &driver) {
    driver.event = [](_ioctlEntry &) {
      errno = ENOSPC;
      return -1;
    };
  };
  const Script no_memory = [](FakeDriver &) { fail_calloc = true; };

  const std::vector<std::string> note = {"-s", "info", "-l", "note"};
  const std::string no_log = "orvlog: Unable to open the /dev/zythealth/cevt file.\n";
  const std::string no_buffer = "orvlog: Unable to allocate memory to log message.\n";
  const std::string empty = "orvlog: The IML Log is empty.\n";
  const std::string no_report =
      "Could not get temperature data. Make sure the health monitor is activated\n\n";
  const std::string ask = "open cevt 0\n" + kRead + "close cevt\n";
  const struct {
    std::vector<std::string> words;
    Script script;
    std::string out, err, trace;
  } cases[] = {
      {{"-s", "info", "-l", "replaced *2* fans"},
       {},
       "",
       "orvlog: Please avoid using the '*' character in your maintenance notes.\n",
       kInit},
      {note, add_fails, "", "orvlog: Adding Maintenance Note failed: err=28h.\n", kInit + ask},
      {note, closed("cevt"), "", no_log, kInit + "open cevt 0\n"},
      {note, no_memory, "", no_buffer, kInit + "open cevt 0\nclose cevt\n"},
      {{"-v"}, table_answers(0), empty, "orvlog: This server has no IML support.\n", kInit + ask},
      {{"-v"},
       table_answers(-1),
       empty,
       "orvlog: ioctl call failed to check for IML support.\n",
       kInit + ask},
      {{"-v"}, table_answers(1), empty, "orvlog: ioctl call failed to check for IML support.\n", kInit + ask},
      {{"-v"},
       cdt_closed_after_probe,
       empty,
       "orvlog: Cannot open /dev/cdt.\nThe Health Monitor may not be activated.\n",
       "open cdt 0\n" + ask},
      {{"-v"}, closed("cevt"), "", no_log, kInit + "open cevt 0\n"},
      {{"-V", "2"}, closed("cevt"), "", no_log, kInit + "open cevt 0\n"},
      {{"-V", "2"}, no_memory, "", no_buffer, kInit + "open cevt 0\nclose cevt\n"},
      {{"-t"},
       report_answers(-1),
       "ioctl failed\n\n",
       "orvlog: GET_TEMP_PD ioctl failed\n",
       "open proc 0\nioctl proc 1 1\nclose proc\n"},
      {{"-f"},
       report_answers(2),
       "ioctl failed\n\n",
       "orvlog: GET_FAN_PD ioctl failed\n",
       "open proc 0\nioctl proc 2 1\nclose proc\n"},
      {{"-p"},
       report_answers(-1),
       "ioctl failed\n\n",
       "orvlog: GET_PWR_PD ioctl failed\n",
       "open proc 0\nioctl proc 3 1\nclose proc\n"},
      {{"-f"}, closed("proc"), no_report, "orvlog: Cannot open /dev/zythealth/proc.\n", "open proc 0\n"},
  };
  for (const auto &c : cases) {
    const Outcome outcome = orvlog(c.words, c.script);
    EXPECT_EQ(outcome.out, c.out) << c.words[0];
    EXPECT_EQ(outcome.err, c.err);
    EXPECT_EQ(outcome.trace, kProbe + c.trace);
    EXPECT_EQ(outcome.status, 0);
  }
}

const std::string kAskState = "open casr 0\nioctl casr 6 4\nclose casr\nget_ev VXHCPR 8\n";

void use_timeout(FakeDriver &driver) {
  driver.get_variable = [](ASREVSTRUCT &value, int &) {
    value = {1, 2, 15, 4, 0x0605, 0x0807};
    return 0;
  };
}

TEST(Watchdog, SubOptions) {
  const std::string asr_disabled =
      "ERROR: ASR status is currently disabled.\nASR must be enabled before setting timeout value.\n";
  const std::string minutes = "val must be 5, 10, 15, 20 or 30 minutes.\n" + kUsage;
  const struct {
    const char *option;
    int state;
    std::string out;
    std::string err;
    std::string trace;
  } cases[] = {
      {"STATUS", 1, "Current ASR Status is ENABLED and the timeout value is 15\n", "", ""},
      {"STATUS", 2, "Current ASR Status is ENABLED and the timeout value is 15\n", "", ""},
      {"STATUS", 0, "Current ASR Status is DISABLED and the timeout value is 15\n", "", ""},
      {"STATUS", -1, "Current ASR Status is DISABLED and the timeout value is 15\n", "", ""},
      {"TIMEOUT=10", -1, "", asr_disabled, ""},
      {"ENABLE", 0, "Enabling ASR timer\n", "", "open casr 0\nioctl casr 4 0\nclose casr\n"},
      {"DISABLE", 1, "Disabling ASR timer\n", "", "open casr 0\nioctl casr 3 0\nclose casr\n"},
      {"TIMEOUT=30", 1, "Setting ASR timer to 30\n", "", "set_ev VXHCPR 8\nvalue 01 02 1e 04 05 06 07 08\n"},
      {"TIMEOUT=10abc", 1, "Setting ASR timer to 10\n", "",
       "set_ev VXHCPR 8\nvalue 01 02 0a 04 05 06 07 08\n"},
      {"TIMEOUT=4294967301", 1, "Setting ASR timer to 5\n", "",
       "set_ev VXHCPR 8\nvalue 01 02 05 04 05 06 07 08\n"},
      {"TIMEOUT=25", 1, "", minutes, ""},
      {"TIMEOUT=0", 1, "", minutes, ""},
      {"TIMEOUT=37", 1, "", minutes, ""},
      {"TIMEOUT=-5", 1, "", minutes, ""},
      {"TIMEOUT=", 1, "", minutes, ""},
      {"xTIMEOUT=10", 1, "", minutes, ""},
      {"TIMEOUT=10", 0, "", asr_disabled, ""},
      {"TIMEOUT=10", 2, "", asr_disabled, ""},
      {"status", 1, "", "Invalid -a option status\n" + kUsage, ""},
      {"TIMEOUT 5", 1, "", "Invalid -a option TIMEOUT 5\n" + kUsage, ""},
  };
  for (const auto &c : cases) {
    const Outcome outcome = orvlog({"-a", c.option}, [&](FakeDriver &driver) {
      use_timeout(driver);
      driver.asr_state = c.state;
    });
    EXPECT_EQ(outcome.out, c.out) << c.option;
    EXPECT_EQ(outcome.err, c.err) << c.option;
    EXPECT_EQ(outcome.trace, kProbe + kAskState + c.trace) << c.option;
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(Watchdog, IpmiWords) {
  const struct {
    const char *option;
    int state;
    const char *text;
  } cases[] = {
      {"STATUS", 1, "Current IPMI WatchDog Timer  Status is ENABLED and the timeout value is 15\n"},
      {"ENABLE", 1, "Enabling IPMI Watchdog  timer\n"},
      {"DISABLE", 1, "Disabling IPMI Watchdog timer\n"},
      {"TIMEOUT=20", 1, "Setting IPMI Watchdog timer to 20\norvlog: Set IPMI Watchdog Timeout failed\n"},
      {"TIMEOUT=20", 0,
       "ERROR: IPMI Watchdog status is currently disabled.\n"
       "IPMI Watchdog must be enabled before setting timeout value.\n"},
  };
  for (const auto &c : cases) {
    const Outcome outcome = orvlog({"-a", c.option}, [&](FakeDriver &driver) {
      use_ipmi(driver);
      use_timeout(driver);
      driver.asr_state = c.state;
      driver.set_variable = [](const ASREVSTRUCT &, int) { return 1; };
    });
    EXPECT_EQ(outcome.out + outcome.err, c.text);
  }
  EXPECT_EQ(orvlog({"-a", "x"}, use_ipmi).err, "Invalid -a option x\n" + ipmi(kUsage));
}

TEST(Watchdog, GoesOnWithoutDriverOrVariable) {
  const auto without = [](FakeDriver &driver) {
    driver.open_errors["casr"] = ENOENT;
    driver.get_variable = [](ASREVSTRUCT &, int &size) {
      size = 0;
      return 1;
    };
  };
  const Outcome status = orvlog({"-a", "STATUS"}, without);
  EXPECT_EQ(status.out, "Current ASR Status is DISABLED and the timeout value is 0\n");
  const Outcome enable = orvlog({"-a", "ENABLE"}, without);
  EXPECT_EQ(enable.out, "Enabling ASR timer\n");
  EXPECT_EQ(enable.trace, kProbe + "open casr 0\nget_ev VXHCPR 8\nopen casr 0\n");
  // A timeout set after a failed read leaves zeros around it, and the variable its size.
  const Outcome timeout = orvlog({"-a", "TIMEOUT=5"}, [&](FakeDriver &driver) {
    without(driver);
    driver.open_errors.clear();
    driver.set_variable = [](const ASREVSTRUCT &, int) { return -1; };
  });
  EXPECT_EQ(timeout.trace, kProbe + kAskState + "set_ev VXHCPR 8\nvalue 00 00 05 00 00 00 00 00\n");
  EXPECT_EQ(timeout.out, "Setting ASR timer to 5\n");
  EXPECT_EQ(timeout.err, "orvlog: Set ASR Timeout failed\n");
}

TEST(Output, ThatCannotBeWrittenIsSaidOnce) {
  for (const auto &words : {std::vector<std::string>{"-v"}, {"-t", "-f", "-p"}, {"-a", "STATUS", "-v"}}) {
    const Outcome outcome = orvlog(words, [](FakeDriver &driver) {
      driver.event = log_of(60);
      if (freopen("/dev/full", "w", stdout) == nullptr) {
        exit(99);
      }
    });
    EXPECT_EQ(outcome.err, "orvlog: Cannot write standard output: No space left on device\n");
    EXPECT_EQ(outcome.status, 0);
  }
  const Outcome probe = orvlog({"-v"}, [](FakeDriver &driver) {
    driver.open_errors["cdt"] = ENOENT;
    close(STDOUT_FILENO);
  });
  EXPECT_EQ(probe.err, "orvlog: Cannot write standard output: Bad file descriptor\n");
  EXPECT_EQ(probe.status, 1);
}

TEST(EventClassLabels, StandAtTheirCodes) {
  EXPECT_STREQ(EventClass[kClassAsr], "ASR");
  EXPECT_STREQ(EventClass[kClassUnrecoverableSystemError], "Unrecoverable System Error");
  EXPECT_STREQ(EventClass[kClassInfrastructure], "Infrastructure Environment");
}

}  // namespace
