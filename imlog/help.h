// The text of --help. A test compares it with the tables of options, formats and severities.
#pragma once

inline constexpr char kHelp[] = R"(Usage: imlog [OPTIONS] [FILE ...]

Prints a server's Integrated Management Log: its own, through the health driver
(as root), or a raw log of 240-byte records from FILE, - for standard input.
The entries of several FILEs are merged by time. A directory stands for its
*.iml.

  -o, --output=FORMAT         how to print; the first is the default:
                                short       one line per entry
                                json        one JSON object per line
                                export      the journal's export format
                                journal     this machine's journal, with fields
                                raw         the records, as FILE holds them
                                prometheus  metrics for node_exporter
                                check       a line and a status for monitoring
  -p, --priority=SEVERITY     only entries of this severity and above:
                              information, repaired, caution or critical; the
                              beginning of a word is enough
  -S, --since=TIME            only entries whose last update is not before TIME
  -U, --until=TIME            only entries whose last update is not after TIME
                              TIME: 2025-09-01, '2025-09-01 13:05',
                              2025-09-01T13:05:00, 2025-09-01T13:05:00+02:00,
                              2025-09-01T11:05Z, @1756724700, now, today,
                              yesterday, -30m, -12h, -7d or -2w
  -c, --class=CLASS[:CODE]    only entries of this class, or of one code of it;
                              a class is a number, the beginning of a name such
                              as 'Main Memory', or Unknown for all without a
                              name, and a code is a number; several -c are
                              alternatives
  -x, --exclude=CLASS[:CODE]  no entries of this class, or of one code of it;
                              several -x add up
  -u, --unserviced            only entries that no maintenance note has closed
  -n, --lines=N               only the last N entries that pass all other
                              filters
  -r, --reverse               print the last entry first
      --utc                   print times in UTC
      --color=WHEN            print severities in color: auto, always or never;
                              auto, the default, does so on a terminal
      --cursor-file=FILE      only entries that are new or have changed since
                              the last run with this FILE
  -f, --follow                print the log, then keep printing entries that are
                              new or have changed
      --level-prefix          put <N> before each line, for a systemd service
      --max-age=TIME          read no FILE that was last written longer ago than
                              TIME, such as 90m, 12h, 7d or 2w: it is reported
      --host=NAME             the host of FILE, in place of its name
  -h, --help                  print this text
      --version               print the version

To print the words that an option takes: -o help, -p help, -c help or -x help.

Status: 0 the log was read and printed, 2 failure, 3 wrong usage.
With -o check: 0 ok, 1 caution, 2 critical, 3 unknown or wrong usage.
)";
