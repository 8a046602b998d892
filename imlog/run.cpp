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

FormatContext make_context(const Options &options) {
  char name[256] = "";
  const char *host = options.host;
  if (options.file == nullptr && gethostname(name, sizeof(name) - 1) == 0) {
    host = name;
  }
  return {options.level_prefix, host != nullptr, host != nullptr ? host : ""};
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
        format_(options.format->make(make_context(options))),
        output_(STDOUT_FILENO, options.follow),
        listing_(options.filter, *options.format, remembers() ? &history_ : nullptr, calendar, *format_,
                 output_) {}

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
      return finish_run(read_log(options_.lines));
    }
    for (std::optional<uint64_t> lines = options_.lines;; lines.reset()) {
      reading = read_log(lines);
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

  // What has to be in place before the log is opened.
  Problem prepare() {
    Problem problem;
    if (options_.cursor_file != nullptr) {
      problem = cursor_.open(options_.cursor_file, history_);
    }
    return problem.is_set() || options_.file != nullptr ? problem : load_request_library();
  }

  Reading read_log(std::optional<uint64_t> lines) {
    if (options_.file != nullptr) {
      FileSource source(options_.file);
      return read_source(source, lines);
    }
    errno = 0;  // an older reason must not pass for the library's
    LiveSource source;
    return read_source(source, lines);
  }

  Reading read_source(Source &source, std::optional<uint64_t> lines) {
    if (source.is_open()) {
      return listing_.read(source, lines);
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
    print_problem(reading.problem, *options_.format);
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
  row.make({})->finish({problem, 0}, output);
  output.close();
  return is_for_monitors(row) ? int{kCheckUnknown} : status;
}
