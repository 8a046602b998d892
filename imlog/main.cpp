// imlog: prints the Integrated Management Log for machines, and for people with many machines.
#include <ctime>

#include "imlog/exit_status.h"
#include "imlog/run.h"
#include "util/standard_streams.h"

int main(int argc, char **argv) {
  const bool are_streams_held = hold_standard_streams();
  Options options;
  Calendar calendar;
  const Problem problem = parse_options(argc, argv, calendar, time(nullptr), options);
  if (problem.is_set()) {
    return end_with_problem(problem, *options.format, kWrongUsage);
  }
  if (!are_streams_held) {
    return end_with_problem(
        Problem("cannot occupy a closed standard stream").advise("raise the limit of open files"),
        *options.format, kFailure);
  }
  return options.text.empty() ? run(options, calendar) : print_text(options.text, *options.format);
}
