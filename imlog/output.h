// Standard output: collected, and written in large pieces or entry by entry.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

class Output {
 public:
  // With `each_entry` every entry is written at once.
  explicit Output(int fd, bool each_entry = false);

  void put(char character) {
    if (size_ == kPiece) {
      flush();
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

  // Writes a text and pads it with blanks to `width` characters.
  void put_padded(std::string_view text, size_t width);
  void put_number(uint64_t number, size_t width = 0);

  // Call this after each entry.
  void end_entry() {
    if (each_entry_) {
      flush();
    }
  }

  // Writes what is left. After a failure nothing more is written; error() keeps its errno.
  bool flush();

  // Flushes, and waits until what was written since the last call is on the disk. Pipes and terminals have
  // none.
  bool sync();

  // Waits for `milliseconds`, or until a pipe or terminal has lost its reader. That ends the process with
  // SIGPIPE, as a write would; where SIGPIPE is ignored it is a failure.
  bool wait(int milliseconds);

  // Flushes and closes. Some failures are only reported by closing.
  bool close();

  [[nodiscard]] int error() const {
    return error_;
  }

 private:
  static constexpr size_t kPiece = size_t{64} << 10;

  void put_large(std::string_view text);

  int fd_;
  bool each_entry_;
  int error_ = 0;
  bool is_synced_ = true;
  std::unique_ptr<char[]> text_;
  size_t size_ = 0;
};
