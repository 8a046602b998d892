// The way of the entries through one reading: from the source through the filters to the format.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "imlog/filter.h"
#include "imlog/format.h"
#include "imlog/history.h"
#include "imlog/source.h"

class Listing {
 public:
  // With a `history` only entries pass that are new or have changed; it may be null. All others outlive this
  // object.
  Listing(const Filter &filter, const FormatRow &row, History *history, Calendar &calendar, Format &format,
          Output &output);

  // Reads the log to its end, or until nothing can be written any more. Only the last `lines` entries are
  // printed.
  Reading read(Source &source, std::optional<uint64_t> lines);

 private:
  // An entry held until the end of the reading.
  struct Held {
    EVT_LOG_ENTRY record;
    Change change;
    uint64_t index;  // of the record in the reading
    uint64_t sort_key;
  };

  void handle_record(const EVT_LOG_ENTRY &record, uint64_t index, std::optional<uint64_t> lines);
  void hold(const EVT_LOG_ENTRY &record, Change change, uint64_t index, std::optional<uint64_t> lines);
  void print_held(std::optional<uint64_t> lines);
  void print_entry(const EVT_LOG_ENTRY &record, Change change);

  const Filter &filter_;
  const FormatRow &row_;
  History *history_;
  Calendar &calendar_;
  Format &format_;
  Output &output_;
  Decoder decoder_;
  std::deque<Held> held_;
};
