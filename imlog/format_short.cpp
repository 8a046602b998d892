// One line per entry, for people.
#include <algorithm>

#include "imlog/format.h"
#include "imlog/text.h"
#include "imlog/time_text.h"

namespace {

// The terminal's colors for the words of severities, by rank: green, yellow, bold red.
constexpr const char *kColors[kSeverities] = {"", "\x1B[32m", "\x1B[33m", "\x1B[1;31m", ""};

constexpr size_t kWordWidth = sizeof("Information") - 1;  // of the longest word of a severity

// The word of a severity, padded to kWordWidth.
std::string severity_text(int rank, bool has_color) {
  const std::string word = kSeverityNames[rank].in_listing;
  const std::string padding(kWordWidth - word.size(), ' ');
  const std::string color = has_color ? kColors[rank] : "";
  return color.empty() ? word + padding : color + word + "\x1B[0m" + padding;
}

class ShortFormat : public Format {
 public:
  explicit ShortFormat(const FormatContext &context) : Format(context) {
    for (int rank = 0; rank < kSeverities; ++rank) {
      severities_[rank] = severity_text(rank, context.has_color);
    }
    for (const Log &named : context.logs) {
      visit_logs(named, [this](const Log &log) {
        host_width_ = std::max(host_width_, count_characters(clean_host(log)));
      });
    }
  }

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    if (context_.level_prefix) {
      output.print("<%u>", syslog_priority(entry.severity));
    }
    const MinuteText time(entry.last, context_.in_utc);
    output.put(time.view());
    if (context_.in_utc && time.view().back() != 'Z') {
      output.put(' ');  // as wide as the others
    }
    output.put(' ');
    if (context_.is_merged()) {
      put_host(entry.log, output);
    }
    output.put(severities_[entry.severity]);
    output.put(' ');
    output.put_number(header.dwEvtNumber, 5);
    output.put(" x");
    output.put_number(header.dwCount, -4);
    output.put(' ');
    output.put(cleaner_.clean(entry.message));
    output.put('\n');
  }

 private:
  std::string_view clean_host(const Log &log) {
    return log.host ? host_cleaner_.clean(*log.host) : "-";
  }

  // As "%-*s ", but the width is in characters.
  void put_host(const Log &log, Output &output) {
    const std::string_view host = clean_host(log);
    const size_t width = count_characters(host);
    output.put(host);
    output.put(std::string(std::max(host_width_, width) - width + 1, ' '));
  }

  std::string severities_[kSeverities];  // by rank, padded
  size_t host_width_ = 0;                // characters
  TextCleaner cleaner_{Controls::kBlank, kQuestionMark};
  TextCleaner host_cleaner_ = cleaner_;
};

}  // namespace

const FormatRow kShortFormat = {
    .name = "short",
    .make = make_format<ShortFormat>,
    .traits = kFollows | kLevels | kRemembers | kReverses | kMerges | kHasTimes,
};
