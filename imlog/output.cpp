#include "imlog/output.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <poll.h>
#include <unistd.h>

Output::Output(bool each_entry, bool keeps_pieces)
    : each_entry_(each_entry || keeps_pieces), keeps_pieces_(keeps_pieces), text_(new char[kPiece]) {}

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

void Output::put_number(uint64_t number, int width) {
  char digits[20];
  const char *const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  const auto length = static_cast<int>(end - digits);
  for (int column = length; column < width; ++column) {
    put(' ');
  }
  put({digits, static_cast<size_t>(length)});
  for (int column = length; column < -width; ++column) {
    put(' ');
  }
}

void Output::print(const char *format, ...) {
  va_list args;
  va_start(args, format);
  put(format_text(format, args));
  va_end(args);
}

// Called within an entry.
void Output::make_room() {
  note(keeps_pieces_ ? EMSGSIZE : 0);
  flush();
}

bool Output::flush() {
  if (error_ == 0 && size_ != 0) {
    error_ = write({text_.get(), size_});
  }
  size_ = 0;
  return error_ == 0;
}

bool Output::wait(int milliseconds) {
  poll(nullptr, 0, milliseconds);
  return error_ == 0;
}

bool Output::note(int error) {
  error_ = error_ != 0 ? error_ : error;
  return error_ == 0;
}

int DescriptorOutput::write(std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t count = ::write(fd_, piece.data(), piece.size());
    if (count >= 0) {
      piece.remove_prefix(static_cast<size_t>(count));
      is_synced_ = false;
    } else if (errno == EAGAIN) {  // the descriptor is non-blocking: wait until it takes more
      pollfd output = {fd_, POLLOUT, 0};
      poll(&output, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool DescriptorOutput::sync() {
  while (flush() && !is_synced_) {
    is_synced_ = fsync(fd_) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
    note(is_synced_ || errno == EINTR ? 0 : errno);
  }
  return error() == 0;
}

bool DescriptorOutput::wait(int milliseconds) {
  pollfd output = {fd_, 0, 0};
  if (poll(&output, 1, milliseconds) <= 0) {
    return true;
  }
  if ((output.revents & POLLNVAL) != 0) {
    return note(EBADF);
  }
  raise(SIGPIPE);
  return note(EPIPE);
}

bool DescriptorOutput::close() {
  flush();
  return note(::close(fd_) == 0 || errno == EINTR ? 0 : errno);
}

Problem DescriptorOutput::problem() const {
  return Problem("cannot write the output: %s", strerror(error()))
      .advise("check the device or program that standard output leads to");
}

bool is_standard_output(const struct stat &file) {
  struct stat output = {};
  return S_ISREG(file.st_mode) && fstat(STDOUT_FILENO, &output) == 0 && file.st_dev == output.st_dev &&
         file.st_ino == output.st_ino;
}
