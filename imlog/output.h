// The output of a format: collected, and written to a sink in large pieces or entry by entry.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "imlog/sink.h"

class Output {
 public:
  // With `each_entry` every entry is written at once. `sink` outlives this object.
  explicit Output(Sink &sink, bool each_entry = false);

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

  // Writes a text and pads it with blanks to `width` characters.
  void put_padded(std::string_view text, size_t width);
  void put_number(uint64_t number, size_t width = 0);
  void put_signed(int64_t number);

  // Call this after each entry.
  void end_entry() {
    if (each_entry_) {
      flush();
    }
  }

  // Writes what is left. After a failure nothing more is written; error() keeps its errno.
  bool flush();

  // Flushes, and waits until what was written since the last call is on the disk.
  bool sync();

  // Waits for `milliseconds`, or until the output has lost its reader.
  bool wait(int milliseconds);

  // Flushes and closes.
  bool close();

  [[nodiscard]] int error() const {
    return error_;
  }

  // The failure, in words.
  [[nodiscard]] Problem problem() const {
    return sink_.problem(error_);
  }

 private:
  static constexpr size_t kPiece = size_t{64} << 10;

  void put_large(std::string_view text);
  void make_room();

  Sink &sink_;
  bool each_entry_;
  int error_ = 0;
  std::unique_ptr<char[]> text_;
  size_t size_ = 0;
};
