// One reading of the logs: history, filters, order, format.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "imlog/filter.h"
#include "imlog/format.h"
#include "imlog/history.h"
#include "imlog/log.h"
#include "imlog/open_entries.h"
#include "imlog/source.h"

// The choice of entries, and their order.
struct Selection {
  Filter filter;
  bool unserviced = false;        // only those that no maintenance note has closed
  std::optional<uint64_t> lines;  // only so many of them, the last ones
  bool reverse = false;           // the last one first, by the last update
};

// A record without the zeros at its end: most use little of the room for their payload.
class HeldRecord {
 public:
  explicit HeldRecord(const EVT_LOG_ENTRY &record);

  [[nodiscard]] const EVT_HEADER &header() const {
    return *reinterpret_cast<const EVT_HEADER *>(bytes_.data());
  }
  [[nodiscard]] EVT_LOG_ENTRY whole() const;

 private:
  std::string bytes_;  // at least the header
};

class Listing {
 public:
  // With `is_merged` entries of several logs are sorted by the time of their last update. With a `history`,
  // which may be null, only entries that are new or have changed are printed. All arguments must outlive this
  // object.
  Listing(const Selection &selection, bool is_merged, const FormatRow &row, History *history,
          Calendar &calendar, Format &format, Output &output);

  // Reads a log to its end, or until a write fails. Prints the entries whose place in the output is known and
  // holds the rest.
  Reading read(Source &source, const std::shared_ptr<const Log> &log);

  // Ends a reading: prints the entries that are held. The limit of lines is for the first reading only.
  void print_held();

 private:
  struct Origin {
    std::shared_ptr<const Log> log;
    Change change;
    uint64_t index;   // of the record among all of the reading
    int64_t updated;  // its last update, or the last trusted update before it
  };
  struct Held {
    HeldRecord record;
    Origin origin;
  };

  static bool is_read_before(const Origin &a, const Origin &b);
  static bool is_updated_before(const Origin &a, const Origin &b);

  void find_changes(std::vector<Held> &records);
  void process(const EVT_LOG_ENTRY &record, const Origin &origin);
  void end_log(const Log &log);
  void hold(Held entry);
  void sort_by_key(std::vector<const Held *> &entries);
  void print(const EVT_LOG_ENTRY &record, const Origin &origin);

  const Selection &selection_;
  const bool needs_open_;
  const bool is_by_update_;
  const bool prints_at_once_;
  std::optional<uint64_t> lines_;
  const FormatRow &row_;
  History *history_;
  Calendar &calendar_;
  Format &format_;
  Output &output_;
  std::string text_;  // room for the message of the entry that is printed
  uint64_t next_index_ = 0;
  OpenEntries open_;             // of the log under way
  std::vector<Held> undecided_;  // its entries that pass, until its end
  std::deque<Held> held_;        // if only the last ones are kept, a heap with the earliest in front
};
