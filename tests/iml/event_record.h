// Builds records for the translator's tests and translates them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "iml/eventstr.h"

// Bytes that hold the line of any record; the longest lines list every byte of the payload.
inline constexpr uint32_t kLineSize = 2048;

// A record that begins with `payload` and is filled with `filler`.
inline EVT_LOG_ENTRY record_of(unsigned event_class, unsigned code, const std::string &payload,
                               int filler = 0) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wEvtLength = static_cast<uint16_t>(sizeof(EVT_HEADER) + payload.size());
  record.Hdr.wClass = static_cast<uint16_t>(event_class);
  record.Hdr.wCode = static_cast<uint16_t>(code);
  memset(&record.Data, filler, sizeof(record.Data));
  memcpy(&record.Data, payload.data(), std::min(payload.size(), sizeof(record.Data)));
  return record;
}

// The whole line of a record.
inline std::string line_of(const EVT_LOG_ENTRY &record) {
  char text[kLineSize];
  TranslateEventLogMessage(&record, text, sizeof(text));
  return text;
}
