#include "imlog/output.h"

#include <cerrno>
#include <charconv>

Output::Output(Sink &sink, bool each_entry)
    : sink_(sink), each_entry_(each_entry || sink.keeps_pieces()), text_(new char[kPiece]) {}

void Output::put_large(std::string_view text) {
  while (!text.empty()) {
    if (size_ == kPiece) {
      make_room();
    }
    const std::string_view piece = text.substr(0, kPiece - size_);
    put(piece);
    text.remove_prefix(piece.size());
  }
}

void Output::put_padded(std::string_view text, size_t width) {
  put(text);
  for (size_t length = text.size(); length < width; ++length) {
    put(' ');
  }
}

void Output::put_number(uint64_t number, size_t width) {
  char digits[20];
  const char *const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  put_padded({digits, static_cast<size_t>(end - digits)}, width);
}

void Output::put_signed(int64_t number) {
  if (number < 0) {
    put('-');
  }
  put_number(static_cast<uint64_t>(number < 0 ? -number : number));
}

// Called within an entry.
void Output::make_room() {
  if (sink_.keeps_pieces() && error_ == 0) {
    error_ = EMSGSIZE;
  }
  flush();
}

bool Output::flush() {
  if (error_ == 0 && size_ != 0) {
    error_ = sink_.write({text_.get(), size_});
  }
  size_ = 0;
  return error_ == 0;
}

bool Output::sync() {
  if (flush()) {
    error_ = sink_.sync();
  }
  return error_ == 0;
}

bool Output::wait(int milliseconds) {
  if (error_ == 0) {
    error_ = sink_.wait(milliseconds);
  }
  return error_ == 0;
}

bool Output::close() {
  flush();
  const int error = sink_.close();
  error_ = error_ != 0 ? error_ : error;
  return error_ == 0;
}
