// The entries of earlier readings, and the difference of the next reading from them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "iml/iml_record.h"
#include "imlog/entry.h"

class History {
 public:
  // Replaces what is remembered by the text of a cursor. Returns nullptr, or what is wrong with the text.
  const char *parse(std::string_view text);

  // The text of the cursor.
  [[nodiscard]] std::string text() const;

  // Begins a reading. This is the first entry of the log, and no later one has its number. If another
  // entry had it before, the log was cleared: all that was known is forgotten.
  void begin_with(const EVT_HEADER &first);

  // Notes record `index` of the reading under way and returns how it differs from the reading before.
  Change add(const EVT_LOG_ENTRY &record, uint64_t index);

  // True when record `index` of the reading that ended last is the last with its number.
  [[nodiscard]] bool is_latest(uint32_t number, uint64_t index) const;

  // Ends the reading: it is what the next one is compared with. After one that broke off, what was known of
  // the rest is kept. Returns whether anything changed.
  bool finish(bool is_complete);

 private:
  struct Known {
    EVT_TIME_STAMP first;  // this, class and code are the entry's identity
    uint16_t event_class;
    uint16_t code;
    uint64_t fingerprint;  // of the whole record
    uint64_t index;        // of the record in its reading; no part of the cursor
  };

  static bool is_same_entry(const Known &a, const Known &b);
  static std::string line(uint32_t number, const Known &known);
  static bool parse_line(std::string_view line, uint32_t &number, Known &known);

  std::map<uint32_t, Known> before_;
  std::map<uint32_t, Known> now_;
};
