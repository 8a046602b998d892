// Start-up checks and the option loop.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <unistd.h>

#include "orvlog/notes.h"
#include "orvlog/orvlog.h"
#include "orvlog/output.h"
#include "orvlog/pci_report.h"
#include "orvlog/probe.h"
#include "orvlog/sensors.h"
#include "orvlog/usage.h"
#include "orvlog/viewer.h"
#include "orvlog/watchdog.h"
#include "util/standard_streams.h"

namespace {

constexpr size_t kNoteLimit = 200;  // bytes

[[noreturn]] void refuse(const char *progname) {
  print_usage(progname);
  finish(EXIT_FAILURE);
}

bool is_numeric(const char *word) {
  return word[strspn(word, "0123456789")] == '\0';
}

// Ends the process when `word` holds more than an option: a value must be a separate word.
void require_single_option(const char *progname, const char *word) {
  if (strlen(word) <= 2) {
    return;
  }
  print_err("orvlog: Invalid argument --> %s.\n", word);
  print_err("The options are limited to one character.\n");
  print_err("Make sure there is a space between your option and the supported value.\n\n");
  refuse(progname);
}

// Checks the shape of the command line before any option is parsed. Ends the process when it is wrong.
void check_command_line(int argc, char **argv) {
  if (argc < 2) {
    refuse(argc > 0 ? argv[0] : "orvlog");
  }
  const char *const progname = argv[0];
  const char *const first = argv[1];
  if (strcmp(first, "-V") == 0 && (argc > 3 || (argc == 3 && !is_numeric(argv[2])))) {
    if (argc == 3) {
      print_err("orvlog: Invalid Input for the -V option: please enter numeric value\n");
    } else {
      print_err("orvlog: Invalid argument --> %s.\n", argv[3]);
    }
    refuse(progname);
  }
  if (strchr(first, '-') == nullptr) {
    print_err("orvlog: Invalid argument --> %s.\n", first);
    print_err("Please make sure the '-' character precedes your option.\n\n");
    refuse(progname);
  }
  require_single_option(progname, first);
  if (argc > 3 && strcmp(first, "-v") != 0) {
    require_single_option(progname, argv[3]);
  }
}

void log_note(const char *note, int severity) {
  if (strlen(note) > kNoteLimit) {
    print_err("orvlog: The maintenance note feature has a character limit of 200.\n");
    print_err("orvlog: Please enter a new note.\n");
    return;
  }
  do_init();
  if (asterisk_found(note) == 0) {
    log_maintenance_note(note, severity);
  }
}

// Carries out the options in the order of the command line.
//
// Severity and note are read from fixed positions in argv as the parser has left it, not from the words after
// their options: the form to use is "-s <severity> -l <note>" as the first four words. No shorter command
// line that passes the checks makes the parser return these options, so the words exist.
void carry_out_options(int argc, char **argv) {
  int options = 0;  // returned by the parser, unknown options included
  int severity = kNoSeverity;
  bool has_note = false;
  for (int c = 0; (c = getopt(argc, argv, "l:s:vV:tfpia:")) != -1; flush_output()) {
    ++options;
    switch (c) {
      case 'v':
        do_init();
        view_entire_log('v', 0);
        break;
      case 'V':
        do_init();
        // Parsed in the widest type, then narrowed on purpose: entry numbers have 32 bits.
        view_entire_log('V', static_cast<uint32_t>(strtol(optarg, nullptr, 10)));
        break;
      case 't': print_proc_data(kReportThermal); break;
      case 'f': print_proc_data(kReportFan); break;
      case 'p': print_proc_data(kReportPower); break;
      case 'i': print_pci_data(); break;
      case 'a': ControlASR(optarg); break;
      case 's':
        if (const int code = set_severity(argv[2]); code != kNoSeverity) {
          severity = code;
        } else {
          print_err("orvlog:  Invalid '-s' option!\n\n");
          print_usage(argv[0]);
        }
        break;
      case 'l':
        if (severity == kNoSeverity) {
          print_err(
              "orvlog: The -s option for setting the severity must precede the -l option to log a maintenance note.\n\n");
          refuse(argv[0]);
        }
        has_note = true;
        log_note(argv[4], severity);
        break;
      default: print_usage(argv[0]); break;
    }
  }
  if (options == 0) {
    print_usage(argv[0]);
  } else if (severity != kNoSeverity && !has_note) {
    print_err("orvlog: The -s option requires a -l option to log a maintenance note.\n\n");
    refuse(argv[0]);
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (!hold_standard_streams()) {
    fprintf(stderr, "orvlog: Cannot occupy a closed standard stream: %s\n", strerror(errno));
    exit(EXIT_FAILURE);
  }
  if (getuid() != 0) {
    print_err("orvlog: You must be root to run this utility\n");
    finish(EXIT_FAILURE);
  }
  check_command_line(argc, argv);
  Get_Qm_100_Series();
  carry_out_options(argc, argv);
  finish(EXIT_SUCCESS);
}
