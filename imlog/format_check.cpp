// A line and a status for monitoring, and the worst entries below it.
#include <algorithm>
#include <deque>
#include <set>

#include "imlog/exit_status.h"
#include "imlog/format.h"
#include "imlog/text.h"

namespace {

constexpr size_t kMostEntries = 10;  // below the line

// The text that is put.
class TextOutput : public Output {
 public:
  TextOutput() : Output(false) {}
  [[nodiscard]] Problem problem() const override {
    return {};
  }

  std::string text;

 private:
  int write(std::string_view piece) override {
    text += piece;
    return 0;
  }
};

class CheckFormat : public Format {
 public:
  explicit CheckFormat(const FormatContext &context)
      : Format(context), short_format_(kShortFormat.make(context)) {}

  // An unknown severity may be a bad one: it counts as caution.
  void print_entry(const Entry &entry, Output & /*output*/) override {
    ++entries_;
    if (entry.severity == kCritical) {
      add(entry, critical_);
    } else if (entry.severity == kCaution || entry.severity == kUnknown) {
      add(entry, caution_);
    }
  }

  void report_clock_set_back(const Log &log, uint32_t number) override {
    set_back_ = "; clock set back at " + (context_.is_merged() && log.host ? *log.host + ": " : "") +
                std::to_string(number);
  }

  int finish(const Reading &reading, Output &output) override {
    const std::string &problem = reading.problem.what();
    const std::string zone = context_.zone_problem.is_set() ? "; TZ is unknown" : "";
    const std::string logs = " of " + std::to_string(reading.logs) + " logs";
    if (reading.problem.is_set() && reading.records == 0) {
      put_line("IML UNKNOWN - " + problem + zone, output);
      output.put('\n');
      return kCheckUnknown;
    }
    const CheckStatus status = critical_.count != 0                        ? kCheckCritical
                               : reading.problem.is_set()                  ? kCheckUnknown
                               : caution_.count != 0 || !set_back_.empty() ? kCheckWarning
                                                                           : kCheckOk;
    static constexpr const char *kWords[] = {"IML OK - ", "IML WARNING - ", "IML CRITICAL - ",
                                             "IML UNKNOWN - "};
    const std::string critical = std::to_string(critical_.count);
    const std::string caution = std::to_string(caution_.count);
    std::string line = kWords[status] + critical + " critical, " + caution + " caution";
    const std::vector<const Bad *> worst = worst_entries();
    if (!worst.empty()) {
      if (context_.is_merged()) {
        line += " on " + std::to_string(bad_logs_.size()) + logs;
      }
      line += "; " + worst[0]->head;
    }
    line += set_back_;
    if (reading.problem.is_set()) {
      line += context_.is_merged() ? "; " + std::to_string(reading.unread) + logs + " not read: " + problem
                                   : "; not all was read: " + problem;
    }
    put_line(line + zone, output);
    output.put(" | critical=" + critical + ";;0 caution=" + caution +
               ";0; entries=" + std::to_string(entries_) + '\n');
    for (const Bad *const entry : worst) {
      put_line(entry->line, output);
      output.put('\n');
    }
    return status;
  }

 private:
  struct Bad {
    std::string head;  // the host, the number and the text
    std::string line;  // as short prints it
  };

  // The entries of a severity. They come in the order of their last updates.
  struct Total {
    uint64_t count = 0;
    std::deque<Bad> latest;  // the last one first
  };

  void add(const Entry &entry, Total &total) {
    ++total.count;
    bad_logs_.insert(&entry.log);
    TextOutput line;
    short_format_->print_entry(entry, line);
    line.flush();
    line.text.pop_back();  // the line break
    std::string host = context_.is_merged() && entry.log.host ? *entry.log.host + ": " : "";
    total.latest.push_front(
        {host + std::to_string(entry.record.Hdr.dwEvtNumber) + ' ' + std::string(entry.message), line.text});
    if (total.latest.size() > kMostEntries) {
      total.latest.pop_back();
    }
  }

  // Critical ones first, of each severity the last update first.
  [[nodiscard]] std::vector<const Bad *> worst_entries() const {
    std::vector<const Bad *> worst;
    for (const Total *const total : {&critical_, &caution_}) {
      for (const Bad &entry : total->latest) {
        worst.push_back(&entry);
      }
    }
    worst.resize(std::min(worst.size(), kMostEntries));
    return worst;
  }

  // Monitors read what follows a "|" as performance data.
  void put_line(std::string_view text, Output &output) {
    std::string line(cleaner_.clean(text));
    std::replace(line.begin(), line.end(), '|', '/');
    output.put(line);
  }

  std::unique_ptr<Format> short_format_;
  Total critical_;
  Total caution_;
  uint64_t entries_ = 0;
  std::set<const Log *> bad_logs_;
  std::string set_back_;  // of the last log whose clock was set back, or empty
  TextCleaner cleaner_{Controls::kBlank, kQuestionMark};
};

}  // namespace

const FormatRow kCheckFormat = {
    .name = "check",
    .make = make_format<CheckFormat>,
    .traits = kForMonitors | kMerges | kHasTimes | kByUpdate,
};
