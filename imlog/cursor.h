// The cursor file: what a run found, kept for the next one.
//
// It is replaced in two steps, so that a run that dies in between repeats entries and loses none:
// write_temporary() before the first entry is printed, commit() when the output is safe.
#pragma once

#include <optional>
#include <string>

#include "imlog/history.h"
#include "imlog/problem.h"
#include "util/ownership.h"

class Cursor {
 public:
  ~Cursor();

  // Locks the cursor `path` against other runs until the end of the scope, and reads it into `history`, which
  // stays empty if there is no cursor yet. Removes the temporary file of a run that died.
  Problem open(const char *path, History &history);

  // Writes the next cursor to the disk, next to the file. The end of the scope removes it if it is not
  // committed.
  Problem write_temporary(const History &history);

  // Puts the temporary file in the place of the file. It is on the disk when this returns. Does nothing
  // without a temporary file.
  Problem commit();

  // False on the first run with this file, until it is committed.
  [[nodiscard]] bool exists() const {
    return exists_;
  }

 private:
  Problem lock();
  Problem load(History &history);
  [[nodiscard]] Problem refuse(const char *fault) const;
  [[nodiscard]] Problem refuse_kind(const char *fault) const;

  std::string path_;
  std::string temporary_;
  std::optional<Descriptor> lock_;
  std::optional<Descriptor> directory_;  // open while there is a temporary file
  bool exists_ = false;
};
