#include "imlog/entry.h"

#include <cstring>

#include "iml/eventstr.h"

namespace {

// Longer than any text seen. The translator clears the whole buffer for every entry, so a larger one costs
// time.
constexpr size_t kUsualTextSize = 640;

}  // namespace

const Severity kSeverityTable[kSeverities] = {
    {iml::kSeverityNames[kInformation], '6'}, {iml::kSeverityNames[kRepaired], '5'},
    {iml::kSeverityNames[kCaution], '4'},     {iml::kSeverityNames[kCritical], '2'},
    {iml::kSeverityNames[kUnknown], '5'},
};

ClassName::ClassName(uint16_t event_class)
    : is_known(TranslateEventLogClass(event_class, text, sizeof(text)) != 0) {}

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
