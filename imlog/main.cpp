// imlog: prints the Integrated Management Log for machines, and for people with many machines.
#include <cstdlib>
#include <ctime>
#include <new>
#include <unistd.h>

#include "imlog/exit_status.h"
#include "imlog/run.h"
#include "util/standard_streams.h"

namespace {

Options options;
bool is_check_asked_for = false;  // by the words of the command line, until it is read

// Ends a run that is out of memory: one with a cursor or another order holds the log. Nothing can be
// allocated here.
void run_out_of_memory() {
  const bool is_check = is_check_asked_for || options.format == &kCheckFormat;
  static constexpr char kMessage[] = "imlog: out of memory; read a part of the log, or free some memory\n";
  static constexpr char kLine[] = "IML UNKNOWN - out of memory\n";
  const ssize_t written = is_check ? write(STDOUT_FILENO, kLine, sizeof(kLine) - 1)
                                   : write(STDERR_FILENO, kMessage, sizeof(kMessage) - 1);
  static_cast<void>(written);  // the status reports it, too
  _exit(is_check ? int{kCheckUnknown} : int{kFailure});
}

}  // namespace

int main(int argc, char **argv) {
  is_check_asked_for = asks_for_check(argc, argv);
  std::set_new_handler(run_out_of_memory);
  const bool are_streams_held = hold_standard_streams();
  Calendar calendar;
  const Problem problem = parse_options(argc, argv, calendar, time(nullptr), options);
  if (problem.is_set()) {
    return end_with_problem(problem, *options.format, kWrongUsage);
  }
  is_check_asked_for = false;
  if (!are_streams_held) {
    return end_with_problem(
        Problem("cannot hold a closed standard stream").advise("raise the limit of open files"),
        *options.format, kFailure);
  }
  return options.text.empty() ? run(options, calendar) : print_text(options.text, *options.format);
}
