// The output of a format: collected, and written in large pieces or entry by entry.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <sys/stat.h>

#include "imlog/problem.h"

class Output {
 public:
  virtual ~Output() = default;

  // Makes the destination ready. Called once, before the log is read.
  virtual Problem open() {
    return {};
  }

  void put(char character) {
    if (size_ == kPiece) {
      make_room();
    }
    text_[size_++] = character;
  }
  void put(std::string_view text) {
    if (text.size() > kPiece - size_) {
      put_large(text);
      return;
    }
    memcpy(text_.get() + size_, text.data(), text.size());
    size_ += text.size();
  }
  // Puts a number as printf does: with "%u", with a positive width as with "%5u", with a negative one as
  // with "%-5u". With printf, a line of short would cost 40 % more.
  void put_number(uint64_t number, int width = 0);

  // Puts what printf would print.
  [[gnu::format(printf, 2, 3)]] void print(const char *format, ...);

  // Call this after each entry.
  void end_entry() {
    if (each_entry_) {
      flush();
    }
  }

  // Writes what is left. After a failure nothing more is written; error() keeps its errno. This and the
  // functions below return whether nothing has failed.
  bool flush();

  // Flushes, and waits until what was written since the last call is on the disk.
  virtual bool sync() {
    return flush();
  }

  // Waits for `milliseconds`, or until the output has lost its reader.
  virtual bool wait(int milliseconds);

  // Flushes and closes.
  virtual bool close() {
    return flush();
  }

  [[nodiscard]] int error() const {
    return error_;
  }

  // The failure, in words.
  [[nodiscard]] virtual Problem problem() const = 0;

 protected:
  // With `each_entry` every entry is written at once. With `keeps_pieces`, too, and no piece is divided: the
  // reader takes each for an entry.
  explicit Output(bool each_entry, bool keeps_pieces = false);

  // Writes all of `piece`, and waits for room where there is none. Returns 0 or an errno.
  virtual int write(std::string_view piece) = 0;

  // Keeps the first error. Returns whether there is none.
  bool note(int error);

 private:
  static constexpr size_t kPiece = size_t{64} << 10;

  void put_large(std::string_view text);
  void make_room();

  bool each_entry_;
  bool keeps_pieces_;
  int error_ = 0;
  std::unique_ptr<char[]> text_;
  size_t size_ = 0;
};

// Standard output.
class DescriptorOutput : public Output {
 public:
  explicit DescriptorOutput(int fd, bool each_entry = false) : Output(each_entry), fd_(fd) {}

  // Pipes and terminals have no disk to wait for.
  bool sync() override;

  // Ends the process with SIGPIPE, as a write would, if a pipe or terminal has lost its reader. Where SIGPIPE
  // is ignored that is a failure.
  bool wait(int milliseconds) override;

  // Some failures are only reported by closing.
  bool close() override;

  [[nodiscard]] Problem problem() const override;

 protected:
  int write(std::string_view piece) override;

 private:
  int fd_;
  bool is_synced_ = true;
};

// True if standard output leads to this file, and it is a regular one.
bool is_standard_output(const struct stat &file);
