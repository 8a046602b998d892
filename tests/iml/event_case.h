// Rows of events for the translator's tests: class, code, payload, expected line.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

#include <gmock/gmock.h>

#include "iml/eventstr.h"

namespace event_case {

/// Bytes that stand in a payload as they are.
struct Raw {
  std::string bytes;
};
inline Raw U16(unsigned value) {
  return {{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)}};
}
inline Raw U32(std::uint32_t value) {
  return {U16(value & 0xFFFF).bytes + U16(value >> 16).bytes};
}
/// `count` times the same byte.
inline Raw Fill(std::size_t count, int byte) {
  return {std::string(count, static_cast<char>(byte))};
}

inline std::string Part(int byte) {
  return {static_cast<char>(byte)};
}
inline std::string Part(const char *text) {
  return {text, std::strlen(text) + 1};
}
inline std::string Part(const Raw &raw) {
  return raw.bytes;
}

/// A payload from its parts: a number is one byte, a text brings its terminator, Raw stands as it is.
template <class... Parts>
std::string P(const Parts &...parts) {
  return (std::string() + ... + Part(parts));
}

/// The payload's bytes in a record of its class and code; what the payload leaves free is filled with
/// `filler`.
inline EVT_LOG_ENTRY Record(int wClass, int wCode, const std::string &payload, int filler = 0) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wEvtLength = static_cast<std::uint16_t>(sizeof(EVT_HEADER) + payload.size());
  record.Hdr.wClass = static_cast<std::uint16_t>(wClass);
  record.Hdr.wCode = static_cast<std::uint16_t>(wCode);
  std::memset(&record.Data, filler, sizeof record.Data);
  EXPECT_LE(payload.size(), sizeof record.Data);
  std::memcpy(&record.Data, payload.data(), std::min(payload.size(), sizeof record.Data));
  return record;
}

/// Holds the line of any record; the longest ones list every byte of the payload.
inline constexpr std::size_t kLineSize = 2048;

/// The whole line of a record.
inline std::string Line(const EVT_LOG_ENTRY &record) {
  char text[kLineSize];
  TranslateEventLogMessage(&record, text, sizeof text);
  return text;
}
inline std::string Line(int wClass, int wCode, const std::string &payload) {
  return Line(Record(wClass, wCode, payload));
}

struct EventCase {
  int code;
  std::string payload;
  std::string line;
};

/// The line of an event that has none of its own.
inline std::string Fallback(int wClass, int wCode) {
  char text[64];
  std::snprintf(text, sizeof text, "Unknown Event (Class 0x%02X, Code 0x%02X)", wClass, wCode);
  return text;
}

inline void ExpectLines(int wClass, std::initializer_list<EventCase> cases) {
  for (const EventCase &c : cases) {
    EXPECT_EQ(Line(wClass, c.code, c.payload), c.line) << "class " << wClass << " code " << c.code;
  }
}

}  // namespace event_case
