// One line per entry, for people.
#include <algorithm>

#include "imlog/format.h"
#include "imlog/text.h"

namespace {

class ShortFormat : public Format {
 public:
  explicit ShortFormat(const FormatContext &context)
      : level_prefix_(context.level_prefix), is_merged_(context.logs.size() > 1) {
    for (const Log &log : context.logs) {
      host_width_ = std::max(host_width_, count_characters(clean_host(log)));
    }
  }

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    const Severity &severity = kSeverityTable[entry.severity];
    if (level_prefix_) {
      put_level_prefix(severity, output);
    }
    put_minute(entry.last, output);
    output.put(' ');
    if (is_merged_) {
      put_host(entry.log, output);
    }
    output.put_padded(severity.word, 11);
    output.put(' ');
    put_number(header.dwEvtNumber, output);
    output.put(" x");
    output.put_number(header.dwCount, 4);
    output.put(' ');
    output.put(cleaner_.clean(entry.message));
    output.put('\n');
  }

 private:
  // As "%5u".
  static void put_number(uint32_t number, Output &output) {
    for (uint32_t bound = 10000; bound > 1 && number < bound; bound /= 10) {
      output.put(' ');
    }
    output.put_number(number);
  }

  std::string_view clean_host(const Log &log) {
    return log.host ? host_cleaner_.clean(*log.host) : "-";
  }

  // As "%-*s ", but the width is in characters.
  void put_host(const Log &log, Output &output) {
    const std::string_view host = clean_host(log);
    output.put_padded(host, host_width_ + host.size() - count_characters(host));
    output.put(' ');
  }

  bool level_prefix_;
  bool is_merged_;
  size_t host_width_ = 0;  // characters
  TextCleaner cleaner_{Controls::kBlank, kQuestionMark};
  TextCleaner host_cleaner_ = cleaner_;
};

}  // namespace

const FormatRow kShortFormat = {
    "short",
    "one line per entry",
    [](const FormatContext &context) -> std::unique_ptr<Format> {
      return std::make_unique<ShortFormat>(context);
    },
    kFollows | kLevels | kRemembers | kReverses | kMerges,
    nullptr,
};
