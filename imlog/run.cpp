#include "imlog/run.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "imlog/cursor.h"
#include "imlog/exit_status.h"
#include "imlog/listing.h"
#include "imlog/request_library.h"
#include "imlog/text.h"

namespace {

constexpr time_t kSecondsBetweenReadings = 5;

// Ends the process at once, with nothing left to do: what was printed was flushed, and a cursor is replaced
// in one step. A handler that only left a mark would not end a write that blocks later.
void end_run(int /*signal*/) {
  _exit(kSuccess);
}

sigset_t end_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

void end_on_signals() {
  struct sigaction action = {};
  action.sa_handler = end_run;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  const sigset_t signals = end_signals();
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

void wait_for_next_reading() {
  timespec left = {kSecondsBetweenReadings, 0};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

bool is_for_monitors(const FormatRow &row) {
  return (row.traits & kForMonitors) != 0;
}

// Writes a problem to standard error, unless the format prints it.
void print_problem(const Problem &problem, const FormatRow &row) {
  if (problem.is_set() && !is_for_monitors(row)) {
    TextCleaner cleaner(Controls::kBlank, kQuestionMark);
    const std::string line = problem.what() + "; " + problem.advice();
    fprintf(stderr, "imlog: %s\n", std::string(cleaner.clean(line)).c_str());
  }
}

int failure_status(const FormatRow &row) {
  return is_for_monitors(row) ? int{kCheckUnknown} : int{kFailure};
}

// Returns false, after a message, when standard output could not be written.
bool close_output(Output &output, const FormatRow &row) {
  if (output.close()) {
    return true;
  }
  print_problem(Problem("cannot write the output: %s", strerror(output.error()))
                    .advise("check the device or program that standard output leads to"),
                row);
  return false;
}

class Run {
 public:
  Run(const Options &options, Calendar &calendar)
      : options_(options),
        format_(options.format->make({options.level_prefix, options.logs})),
        output_(STDOUT_FILENO, options.follow),
        listing_(options.selection, is_merged(), *options.format, remembers() ? &history_ : nullptr, calendar,
                 *format_, output_) {}

  int run() {
    if (options_.follow) {
      end_on_signals();
    }
    Reading reading;
    reading.problem = prepare();
    if (reading.problem.is_set()) {
      return finish_run(reading);
    }
    if (!options_.follow) {
      return finish_run(read_logs());
    }
    for (;;) {
      reading = read_logs();
      if (reading.problem.is_set() || !output_.flush()) {
        return finish_run(reading);
      }
      if (!save_cursor(reading)) {
        return kFailure;
      }
      wait_for_next_reading();
    }
  }

 private:
  [[nodiscard]] bool remembers() const {
    return options_.follow || options_.cursor_file != nullptr;
  }
  [[nodiscard]] bool is_merged() const {
    return options_.logs.size() > 1;
  }

  // What has to be in place before the log is opened.
  Problem prepare() {
    Problem problem;
    if (options_.cursor_file != nullptr) {
      problem = cursor_.open(options_.cursor_file, history_);
    }
    return problem.is_set() || options_.logs[0].path != nullptr ? problem : load_request_library();
  }

  // Reads all logs, one after the other, and prints their entries. The result has the first problem.
  Reading read_logs() {
    Reading all;
    for (const Log &log : options_.logs) {
      const Reading reading = read_log(log);
      all.records += reading.records;
      if (!reading.problem.is_set()) {
        continue;
      }
      if (is_merged()) {
        print_problem(reading.problem, *options_.format);
      }
      if (!all.problem.is_set()) {
        all.problem = is_merged() ? reading.problem.of_file(log.path) : reading.problem;
      }
    }
    listing_.print_held();
    return all;
  }

  Reading read_log(const Log &log) {
    if (log.path == nullptr) {
      errno = 0;  // an older reason must not pass for the library's
      LiveSource source;
      return read_source(source, log);
    }
    FileSource source(log.path);
    Reading reading = read_source(source, log);
    if (reading.records == 0 && !reading.problem.is_set() && is_for_monitors(*options_.format)) {
      reading.problem =
          Problem("the log has no entries");  // a copy that failed would pass for a healthy server
    }
    return reading;
  }

  Reading read_source(Source &source, const Log &log) {
    if (source.is_open()) {
      return listing_.read(source, log);
    }
    return {source.problem(), 0};
  }

  // Remembers what was read, on the disk too where a cursor is named. Everything printed has been written by
  // then.
  bool save_cursor(const Reading &reading) {
    if (!remembers() || (reading.problem.is_set() && reading.records == 0)) {
      return true;
    }
    const bool has_changed = history_.finish(!reading.problem.is_set());
    if (options_.cursor_file == nullptr || (!has_changed && cursor_.exists())) {
      return true;
    }
    const sigset_t signals = end_signals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);
    const Problem problem = cursor_.save(history_);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    print_problem(problem, *options_.format);
    return !problem.is_set();
  }

  int finish_run(const Reading &reading) {
    const int status = format_->finish(reading, output_);
    const int failure = failure_status(*options_.format);
    if (!close_output(output_, *options_.format)) {
      return failure;
    }
    const bool is_saved = save_cursor(reading);
    if (!is_merged()) {
      print_problem(reading.problem, *options_.format);
    }
    return reading.problem.is_set() || !is_saved ? failure : status;
  }

  const Options &options_;
  std::unique_ptr<Format> format_;
  Output output_;
  History history_;
  Cursor cursor_;
  Listing listing_;
};

}  // namespace

int run(const Options &options, Calendar &calendar) {
  return Run(options, calendar).run();
}

int print_text(std::string_view text, const FormatRow &row) {
  Output output(STDOUT_FILENO);
  output.put(text);
  return close_output(output, row) ? int{kSuccess} : failure_status(row);
}

int end_with_problem(const Problem &problem, const FormatRow &row, int status) {
  print_problem(problem, row);
  Output output(STDOUT_FILENO);
  row.make({false, {}})->finish({problem, 0}, output);
  output.close();
  return is_for_monitors(row) ? int{kCheckUnknown} : status;
}
