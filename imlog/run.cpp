#include "imlog/run.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>

#include "imlog/cursor.h"
#include "imlog/exit_status.h"
#include "imlog/listing.h"
#include "imlog/request_library.h"
#include "imlog/text.h"
#include "imlog/time_zone.h"

namespace {

constexpr int kMillisecondsBetweenReadings = 5000;

// Ends the process at once. Nothing is left to do: what was printed was flushed, and a cursor is replaced in
// one step. A temporary file may stay; the next run removes it. A handler that only set a flag would not end
// a write that blocks later.
void end_run(int /*signal*/) {
  _exit(kSuccess);
}

void end_on_signals() {
  struct sigaction action = {};
  action.sa_handler = end_run;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
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

std::unique_ptr<Output> make_output(const FormatRow &row, bool each_entry) {
  if (row.make_output != nullptr) {
    return row.make_output();
  }
  return std::make_unique<DescriptorOutput>(STDOUT_FILENO, each_entry);
}

// Returns false, after a message, if the output could not be written.
bool close_output(Output &output, const FormatRow &row) {
  if (output.close()) {
    return true;
  }
  print_problem(output.problem(), row);
  return false;
}

class Run {
 public:
  Run(const Options &options, Calendar &calendar)
      : options_(options),
        calendar_(calendar),
        format_(options.format->make(options)),
        output_(make_output(*options.format, options.follow)),
        listing_(options, options.is_merged(), *options.format, remembers() ? &history_ : nullptr, calendar,
                 *format_, *output_) {}

  int run() {
    if (options_.follow) {
      end_on_signals();
    }
    Reading reading;
    reading.problem = prepare();
    if (reading.problem.is_set()) {
      return finish_run(reading);
    }
    print_problem(options_.zone_problem, *options_.format);
    if (!options_.follow) {
      return finish_run(read_logs());
    }
    for (;;) {
      reading = read_logs();
      if (reading.problem.is_set() || has_failed_ || !sync_output() || !commit_cursor() ||
          !output_->wait(kMillisecondsBetweenReadings)) {
        return finish_run(reading);
      }
    }
  }

 private:
  [[nodiscard]] bool remembers() const {
    return options_.follow || options_.cursor_file != nullptr;
  }

  // Makes the output, the cursor and the request library ready.
  Problem prepare() {
    Problem problem = output_->open();
    if (!problem.is_set() && options_.cursor_file != nullptr) {
      problem = cursor_.open(options_.cursor_file, history_);
    }
    return problem.is_set() || options_.logs[0].path ? problem : load_request_library();
  }

  // Reads all logs one after the other and prints their entries. The result has the first problem.
  Reading read_logs() {
    calendar_.start_reading(time(nullptr));
    Reading all;
    std::set<std::string> hosts;  // of all logs, where directories are several FILEs
    for (const Log &named : options_.logs) {
      const Problem problem = visit_logs(named, [&](const Log &log) {
        if (options_.logs.size() > 1 && log.host && !hosts.insert(*log.host).second) {
          add_reading({Problem("another log has its host")
                           .advise("rename '%s', or read it alone", log.path->c_str())},
                      log, all);
        } else {
          add_reading(read_log(std::make_shared<const Log>(log)), log, all);
        }
      });
      if (problem.is_set()) {
        add_reading({problem}, named, all);
      }
    }
    if (remember(all)) {
      listing_.print_held();
    }
    return all;
  }

  // Adds the reading of one of the logs.
  void add_reading(const Reading &reading, const Log &log, Reading &all) {
    all.records += reading.records;
    ++all.logs;
    if (!reading.problem.is_set()) {
      return;
    }
    ++all.unread;
    if (options_.is_merged()) {
      print_problem(reading.problem, *options_.format);
    }
    if (!all.problem.is_set()) {
      all.problem = options_.is_merged() ? reading.problem.of_file(log.path->c_str()) : reading.problem;
    }
  }

  Reading read_log(const std::shared_ptr<const Log> &log) {
    if (!log->path) {
      errno = 0;  // an older errno must not be taken for the library's
      LiveSource source;
      return listing_.read(source, log);
    }
    const std::optional<int64_t> oldest =
        options_.max_age ? std::optional(time(nullptr) - *options_.max_age) : std::nullopt;
    FileSource source(log->path->c_str(), oldest);
    Reading reading = listing_.read(source, log);
    if (reading.records == 0 && !reading.problem.is_set() && is_for_monitors(*options_.format)) {
      reading.problem =
          Problem("the log has no entries");  // a failed copy must not look like a healthy server
    }
    return reading;
  }

  // Ends the reading in the history, and writes the cursor where it has changed. Returns false, after a
  // message, when nothing may be printed because the next run could not know of it.
  bool remember(const Reading &reading) {
    if (!remembers() || (reading.problem.is_set() && reading.records == 0)) {
      return true;
    }
    const bool has_changed = history_.finish(!reading.problem.is_set());
    return options_.cursor_file == nullptr || (!has_changed && cursor_.exists()) ||
           succeeds(cursor_.write_temporary(history_));
  }

  bool commit_cursor() {
    return succeeds(cursor_.commit());
  }

  // Entries that the cursor knows have to be as safe as the cursor.
  bool sync_output() {
    return options_.cursor_file == nullptr ? output_->flush() : output_->sync();
  }

  // Reports a problem with the cursor.
  bool succeeds(const Problem &problem) {
    print_problem(problem, *options_.format);
    has_failed_ = has_failed_ || problem.is_set();
    return !problem.is_set();
  }

  int finish_run(const Reading &reading) {
    const int status = format_->finish(reading, *output_);
    sync_output();
    if (!close_output(*output_, *options_.format)) {
      return failure_status(*options_.format);
    }
    if (!has_failed_) {
      commit_cursor();
    }
    if (!options_.is_merged()) {
      print_problem(reading.problem, *options_.format);
    }
    return has_failed_ ? int{kFailure} : status;
  }

  const Options &options_;
  Calendar &calendar_;
  std::unique_ptr<Format> format_;
  std::unique_ptr<Output> output_;
  History history_;
  Cursor cursor_;
  Listing listing_;
  bool has_failed_ = false;  // apart from the reading
};

}  // namespace

int run(Options &options, Calendar &calendar) {
  if (options.format == &kRawFormat && isatty(STDOUT_FILENO) != 0) {
    return end_with_problem(Problem("format 'raw' is not for a terminal")
                                .advise("write to a file, or to a program that reads it"),
                            *options.format, kWrongUsage);
  }
  options.zone_problem = check_time_zone();
  return Run(options, calendar).run();
}

int print_text(std::string_view text, const FormatRow &row) {
  DescriptorOutput output(STDOUT_FILENO);
  output.put(text);
  return close_output(output, row) ? int{kSuccess} : failure_status(row);
}

int end_with_problem(const Problem &problem, const FormatRow &row, int status) {
  if (!is_for_monitors(row)) {
    print_problem(problem, row);
    return status;
  }
  DescriptorOutput output(STDOUT_FILENO);
  const FormatContext context;
  row.make(context)->finish({problem}, output);
  output.close();
  return kCheckUnknown;
}
