// The journal of this machine, in its native protocol.
#include "imlog/format.h"
#include "imlog/journal_fields.h"
#include "imlog/journal_socket.h"
#include "imlog/text.h"
#include "imlog/time_text.h"

namespace {

class JournalFormat : public Format {
 public:
  using Format::Format;

  // The journal drops fields whose names begin with an underscore, and its time is that of sending. So the
  // message has the time, and the host of a FILE has a field of its own.
  void print_entry(const Entry &entry, Output &output) override {
    const std::string_view text = cleaner_.clean(entry.message);
    std::optional<std::string_view> host;
    if (entry.log.path && entry.log.host) {
      host = host_cleaner_.clean(*entry.log.host);
    }
    output.put("MESSAGE=");
    output.put(MinuteText(entry.last, context_.in_utc).view());
    output.put(' ');
    if (host) {
      output.put(*host);
      output.put(' ');
    }
    output.put_number(entry.record.Hdr.dwEvtNumber);
    output.put(" x");
    output.put_number(entry.record.Hdr.dwCount);
    output.put(' ');
    output.put(text);
    output.put('\n');
    put_field("IML_MESSAGE=", text, output);
    put_entry_fields(entry, context_.in_utc, "IML_HOST=", host, output);
  }

 private:
  TextCleaner cleaner_{Controls::kBlank, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
};

}  // namespace

const FormatRow kJournalFormat = {
    .name = "journal",
    .make = make_format<JournalFormat>,
    .traits = kFollows | kRemembers | kMerges | kHasTimes,
    .make_sink = []() -> std::unique_ptr<Sink> { return std::make_unique<JournalSocket>(); },
};
