#include "imlog/usage.h"

const char kUsage[] = R"(Usage: imlog [OPTIONS] [FILE ...]

Prints a server's Integrated Management Log: its own, through the health driver
(as root), or a raw log of 240-byte records from FILE, - for standard input.
The entries of several FILEs are merged by time.

  -o, --output=FORMAT      short (default), json, export, raw, prometheus, check
  -p, --priority=SEVERITY  information, repaired, caution or critical: entries
                           of that severity and above
  -S, --since=TIME         entries whose last update is not before TIME
  -U, --until=TIME         entries whose last update is not after TIME
                           TIME: 2025-09-01, "2025-09-01 13:05", today,
                           2025-09-01T13:05:00, yesterday, -30m, -12h, -7d
  -c, --class=CLASS        entries of a class: a number, or a name such as
                           "Main Memory"; several -c are alternatives
  -u, --unserviced         entries that no maintenance note has closed
  -n, --lines=N            the last N of the entries that the others leave
  -r, --reverse            the last entry first
      --cursor-file=FILE   only entries that are new or have changed since the
                           last run with this FILE
  -f, --follow             print, stay, and print what is new or has changed
      --level-prefix       put <N> before each line, for a systemd service
      --host=NAME          the host of FILE, in place of its name
  -h, --help               print this text
      --version            print the version

Status: 0 the log was read and printed, 1 wrong usage, 2 failure.
With -o check: 0 ok, 1 caution, 2 critical, 3 unknown or wrong usage.
)";
