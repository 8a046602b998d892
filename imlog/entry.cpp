#include "imlog/entry.h"

#include <cstring>
#include <syslog.h>

#include "iml/eventstr.h"

namespace {

// Longer than any text seen. The translator clears the whole buffer for every entry, so a larger one costs
// time.
constexpr size_t kUsualTextSize = 640;

}  // namespace

unsigned syslog_priority(SeverityRank severity) {
  switch (severity) {
    case kInformation: return LOG_INFO;
    case kCaution: return LOG_WARNING;
    case kCritical: return LOG_CRIT;
    default: return LOG_NOTICE;
  }
}

const char *change_word(Change change) {
  return change == Change::kNew ? "new" : "repeated";
}

Decoder::Decoder(Calendar &calendar) : calendar_(calendar), text_(kUsualTextSize, '\0') {}

Entry Decoder::decode(const EVT_LOG_ENTRY &record, const Log &log, Change change) {
  for (;;) {
    const uint8_t known =
        TranslateEventLogMessage(&record, text_.data(), static_cast<uint32_t>(text_.size()));
    const size_t length = strlen(text_.data());
    if (length + 1 < text_.size()) {
      return {record,
              log,
              severity_rank(record.Hdr.bSeverity),
              calendar_.at(record.Hdr.InitTime),
              calendar_.at(record.Hdr.UpdateTime),
              known != 0,
              {text_.data(), length},
              change};
    }
    text_.resize(2 * text_.size());  // the text may have been cut
  }
}
