// The origin of a log: a file with raw records, or the server's health driver.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "driver/event_reader.h"
#include "iml/iml_record.h"
#include "imlog/problem.h"
#include "util/ownership.h"

class Source {
 public:
  virtual ~Source() = default;

  // The next record, valid until the next call. Null at the end of the log, and after a failure, which sets
  // problem(). A log of more than ten million records is one, so that a reading always ends.
  virtual const EVT_LOG_ENTRY *next() = 0;

  // Also set if the log could not be opened. Then next() must not be called.
  [[nodiscard]] const Problem &problem() const {
    return problem_;
  }

 protected:
  // Counts a record that was read. Returns false, with the problem, when there are too many.
  bool count_record();

  Problem problem_;

 private:
  uint64_t count_ = 0;  // of records
};

// A sequence of 240-byte records. All-zero records are skipped. A file that does not begin with records is
// refused.
class FileSource : public Source {
 public:
  // `path` may be "-" for standard input. A file last written before `oldest`, in seconds since 1970, is
  // refused.
  explicit FileSource(const char *path, std::optional<int64_t> oldest = {});

  const EVT_LOG_ENTRY *next() override;

 private:
  bool fill();
  void read_up_to(size_t wanted);
  [[nodiscard]] bool looks_like_a_log() const;

  const char *path_;
  Descriptor file_;
  std::vector<EVT_LOG_ENTRY> records_;
  size_t size_ = 0;      // bytes read into records_
  size_t position_ = 0;  // records handed out
  bool is_checked_ = false;
  bool is_at_end_ = false;
  int error_ = 0;  // the errno that ended the reading
};

// The server's own log. The request library must be loaded.
class LiveSource : public Source {
 public:
  LiveSource();

  const EVT_LOG_ENTRY *next() override;

 private:
  EventReader reader_;
};
