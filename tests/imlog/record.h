// Records of the log, built in memory.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "iml/iml_record.h"

// The parts of a text that '|' separates.
inline std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> parts;
  std::istringstream rest(text + '|');
  for (std::string part; std::getline(rest, part, '|');) {
    parts.push_back(part);
  }
  return parts;
}

// The stamp of "2025-09-01T13:05" and whatever comes after it.
inline EVT_TIME_STAMP stamp_of(const char *text) {
  const auto byte = [&](int at, int end) {
    return static_cast<uint8_t>(atoi(std::string(text + at, text + end).c_str()));
  };
  return {byte(0, 2), byte(2, 4), byte(5, 7), byte(8, 10), byte(11, 13), byte(14, 16)};
}

// What a record says; by default it is a maintenance note.
struct RecordFields {
  uint32_t number = 0;
  uint8_t severity = 2;
  std::string_view payload = "x";
  EVT_TIME_STAMP first = {20, 25, 9, 1, 13, 5};
  std::optional<EVT_TIME_STAMP> last = {};  // nothing: as the first
  uint32_t count = 1;
  uint16_t event_class = 0x21;
  uint16_t code = 2;
};

inline EVT_LOG_ENTRY make_record(const RecordFields &fields) {
  EVT_LOG_ENTRY record = {};
  record.Hdr = {sizeof(record),
                fields.number,
                1,
                fields.severity,
                fields.event_class,
                fields.code,
                fields.first,
                fields.last.value_or(fields.first),
                fields.count};
  memcpy(&record.Data, fields.payload.data(), std::min(fields.payload.size(), sizeof(record.Data)));
  return record;
}
