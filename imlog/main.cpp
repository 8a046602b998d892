// imlog: the Integrated Management Log for machines and for people with many machines.
#include <cstdlib>
#include <ctime>
#include <new>
#include <unistd.h>

#include "driver/standard_streams.h"
#include "imlog/run.h"
#include "imlog/usage.h"

namespace {

constexpr int kWrongUsage = 1;
constexpr int kFailure = 2;
constexpr char kVersionText[] = "imlog " IMLOG_VERSION "\n";

Options options;

// Ends a run whose log, held for a cursor or an order, does not fit into memory. Nothing can be allocated
// here.
void run_out_of_memory() {
  const bool is_check = options.format == &kCheckFormat;
  static constexpr char kMessage[] = "imlog: out of memory; read a part of the log, or free some memory\n";
  static constexpr char kLine[] = "IML UNKNOWN - out of memory\n";
  const ssize_t written = is_check ? write(STDOUT_FILENO, kLine, sizeof(kLine) - 1)
                                   : write(STDERR_FILENO, kMessage, sizeof(kMessage) - 1);
  _exit(is_check || written < 0 ? 3 : 2);
}

}  // namespace

int main(int argc, char **argv) {
  std::set_new_handler(run_out_of_memory);
  const bool are_streams_held = hold_standard_streams();
  Calendar calendar;
  const Problem problem = parse_options(argc, argv, calendar, time(nullptr), options);
  if (problem.is_set()) {
    return report(problem, *options.format, kWrongUsage);
  }
  if (!are_streams_held) {
    return report(Problem("cannot hold a closed standard stream").advise("raise the limit of open files"),
                  *options.format, kFailure);
  }
  switch (options.action) {
    case Options::Action::kHelp: return print_text(kUsage, *options.format);
    case Options::Action::kVersion: return print_text(kVersionText, *options.format);
    case Options::Action::kRead: break;
  }
  return run(options, calendar);
}
