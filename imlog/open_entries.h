// Which entries of a log no maintenance note has closed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "imlog/calendar.h"

// Holds the entries of one log, added in its order, that no note has closed yet. A note closes the entries
// before it, except those that were updated after it.
//
// Only the earliest and the latest of several notes matter to an entry. So the notes are kept as a range with
// the entry that they follow. Closed entries are dropped in sweeps, whose cost is linear in the length of the
// log.
template <class Item>
class OpenEntries {
 public:
  void add(const LogTime &first, const LogTime &last, Item item) {
    slots_.push_back({std::move(item), spared_by(first, last), {}});
  }

  // A note that was last updated at `time`. Without a valid time it closes everything before it.
  void close_before(const LogTime &time) {
    if (!time.is_valid) {
      slots_.clear();
    } else if (!slots_.empty()) {
      slots_.back().notes.include({time.instant, time.instant});
      if (slots_.size() >= sweep_at_) {
        sweep();
        sweep_at_ = std::max(kSmall, 2 * slots_.size());
      }
    }
  }

  // Returns the open entries in the order of the log, and starts over.
  std::vector<Item> release() {
    sweep();
    std::vector<Item> items;
    items.reserve(slots_.size());
    for (Slot &slot : slots_) {
      items.push_back(std::move(slot.item));
    }
    slots_.clear();
    sweep_at_ = kSmall;
    return items;
  }

 private:
  static constexpr size_t kSmall = 256;  // fewer entries are not worth a sweep

  // The instants from `earliest` to `latest`; by default none.
  struct Range {
    int64_t earliest = std::numeric_limits<int64_t>::max();
    int64_t latest = std::numeric_limits<int64_t>::min();

    void include(const Range &other) {
      earliest = std::min(earliest, other.earliest);
      latest = std::max(latest, other.latest);
    }
    [[nodiscard]] bool includes(const Range &other) const {
      return earliest <= other.earliest && other.latest <= latest;
    }
  };

  struct Slot {
    Item item;
    Range spared_by;  // notes of these times do not close the entry
    Range notes;      // that follow the entry; those after the next slot are there too, or only there
  };

  // The times of notes that do not close an entry: those before its last update. But a note that is older
  // than the first occurrence closes it: the note follows the entry, so the clock was set back in between.
  static Range spared_by(const LogTime &first, const LogTime &last) {
    if (!last.is_valid) {
      return {};
    }
    const bool is_first_known = first.is_valid && first.instant <= last.instant;
    return {is_first_known ? first.instant : std::numeric_limits<int64_t>::min(), last.instant - 1};
  }

  // Drops the closed entries.
  void sweep() {
    Range notes;  // after the slot under way
    auto kept = slots_.end();
    for (auto slot = slots_.end(); slot != slots_.begin();) {
      --slot;
      notes.include(slot->notes);
      if (slot->spared_by.includes(notes)) {
        --kept;
        if (kept != slot) {
          *kept = std::move(*slot);
        }
        kept->notes = notes;
      }
    }
    slots_.erase(slots_.begin(), kept);
  }

  std::vector<Slot> slots_;
  size_t sweep_at_ = kSmall;
};
