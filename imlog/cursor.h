// The cursor file: what a run found, kept for the next one.
#pragma once

#include <optional>
#include <string>

#include "driver/channel.h"
#include "imlog/history.h"
#include "imlog/problem.h"

class Cursor {
 public:
  // Locks the cursor `path` against other runs until the end of the scope, and reads it into `history`. A
  // cursor that is not there yet leaves that empty.
  Problem open(const char *path, History &history);

  // Replaces the file in one step, on the disk when this returns.
  Problem save(const History &history);

  // False on the first run with this file, until it was saved.
  [[nodiscard]] bool exists() const {
    return exists_;
  }

 private:
  Problem lock();
  Problem load(History &history);
  [[nodiscard]] bool write_draft(const std::string &text) const;
  [[nodiscard]] Problem refuse(const char *fault) const;
  [[nodiscard]] Problem refuse_kind(const char *fault) const;

  std::string path_;
  std::string draft_;
  std::optional<Descriptor> lock_;
  bool exists_ = false;
};
