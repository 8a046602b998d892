// One line an entry, for people.
#include "imlog/format.h"
#include "imlog/text.h"

namespace {

class ShortFormat : public Format {
 public:
  explicit ShortFormat(const FormatContext &context) : level_prefix_(context.level_prefix) {}

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    const Severity &severity = kSeverityTable[entry.severity];
    if (level_prefix_) {
      put_level_prefix(severity, output);
    }
    if (entry.last.is_valid) {
      const MinuteText time(entry.last.stamp);
      output.put(std::string_view(time.text, sizeof(time.text)));
    } else {
      output.put("----------------");
    }
    output.put(' ');
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
  // As "%5u" would.
  static void put_number(uint32_t number, Output &output) {
    for (uint32_t bound = 10000; bound > 1 && number < bound; bound /= 10) {
      output.put(' ');
    }
    output.put_number(number);
  }

  bool level_prefix_;
  TextCleaner cleaner_{Controls::kBlank, kQuestionMark};
};

}  // namespace

const FormatRow kShortFormat = {
    "short",
    [](const FormatContext &context) -> std::unique_ptr<Format> {
      return std::make_unique<ShortFormat>(context);
    },
    kFollows | kLevels,
    nullptr,
};
