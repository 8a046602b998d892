// One line and a status for monitoring.
#include <algorithm>

#include "imlog/exit_status.h"
#include "imlog/format.h"
#include "imlog/text.h"

namespace {

class CheckFormat : public Format {
 public:
  using Format::Format;

  void print_entry(const Entry &entry, Output & /*output*/) override {
    ++entries_;
    critical_ += entry.severity == kCritical ? 1 : 0;
    caution_ += entry.severity == kCaution ? 1 : 0;
    if (entry.severity == kCritical || (entry.severity == kCaution && critical_ == 0)) {
      host_ = context_.is_merged() && entry.log.host ? *entry.log.host + ": " : "";
      number_ = entry.record.Hdr.dwEvtNumber;
      text_ = entry.message;
    }
  }

  int finish(const Reading &reading, Output &output) override {
    if (reading.problem.is_set()) {
      output.put("IML UNKNOWN - ");
      put_one_line(reading.problem.what(), output);
      output.put('\n');
      return kCheckUnknown;
    }
    const CheckStatus status = critical_ != 0 ? kCheckCritical : caution_ != 0 ? kCheckWarning : kCheckOk;
    static constexpr const char *kWords[] = {"IML OK - ", "IML WARNING - ", "IML CRITICAL - "};
    output.put(kWords[status]);
    output.put_number(critical_);
    output.put(" critical, ");
    output.put_number(caution_);
    output.put(" caution");
    if (status != kCheckOk) {
      output.put("; ");
      put_one_line(host_, output);
      output.put_number(number_);
      output.put(' ');
      put_one_line(text_, output);
    }
    output.put(" | critical=");
    output.put_number(critical_);
    output.put(";;0 caution=");
    output.put_number(caution_);
    output.put(";0; entries=");
    output.put_number(entries_);
    output.put('\n');
    return status;
  }

 private:
  // Monitors read what follows a "|" as performance data.
  void put_one_line(std::string_view text, Output &output) {
    std::string line(cleaner_.clean(text));
    std::replace(line.begin(), line.end(), '|', '/');
    output.put(line);
  }

  uint64_t critical_ = 0;
  uint64_t caution_ = 0;
  uint64_t entries_ = 0;
  // The last entry of the worst severity.
  std::string host_;  // with a colon and a blank after it, or empty
  uint32_t number_ = 0;
  std::string text_;
  TextCleaner cleaner_{Controls::kBlank, kQuestionMark};
};

}  // namespace

const FormatRow kCheckFormat = {
    .name = "check",
    .make = make_format<CheckFormat>,
    .traits = kForMonitors | kMerges,
};
