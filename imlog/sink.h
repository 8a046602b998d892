// The destination of an output. All functions that return an int return 0 or an errno.
#pragma once

#include <string_view>
#include <sys/stat.h>

#include "imlog/problem.h"

class Sink {
 public:
  virtual ~Sink() = default;

  // Makes the sink ready. Called once, before the log is read.
  virtual Problem open() {
    return {};
  }

  // Writes all of `piece`, and waits for room where there is none.
  virtual int write(std::string_view piece) = 0;

  // Waits until what was written since the last call is on the disk.
  virtual int sync() {
    return 0;
  }

  // Waits for `milliseconds`, or until what is written has lost its reader.
  virtual int wait(int milliseconds);

  // Ends the writing. Some failures are only reported by closing.
  virtual int close() {
    return 0;
  }

  // A failure in words.
  [[nodiscard]] virtual Problem problem(int error) const = 0;

  // True if the reader takes each piece for an entry, so that no entry may be divided.
  [[nodiscard]] virtual bool keeps_pieces() const {
    return false;
  }
};

// True if standard output leads to this file, and it is a regular one.
bool is_standard_output(const struct stat &file);

// Standard output.
class DescriptorSink : public Sink {
 public:
  explicit DescriptorSink(int fd) : fd_(fd) {}

  int write(std::string_view piece) override;

  // Pipes and terminals have no disk to wait for.
  int sync() override;

  // Ends the process with SIGPIPE, as a write would, if a pipe or terminal has lost its reader. Where SIGPIPE
  // is ignored that is a failure.
  int wait(int milliseconds) override;

  int close() override;
  [[nodiscard]] Problem problem(int error) const override;

 private:
  int fd_;
  bool is_synced_ = true;
};
